#include "mend/healing/records.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace lib_mend {

void Set_Bytes(DICOM_List& record, std::string_view bytes)
{
    unsigned char* data = nullptr;
    if (!bytes.empty()) {
        data = static_cast<unsigned char*>(std::malloc(bytes.size()));
        if (data == nullptr) {
            throw std::bad_alloc();
        }
        std::memcpy(data, bytes.data(), bytes.size());
    }
    std::free(std::exchange(record.data, data));
    record.size = static_cast<int>(bytes.size());
}

Loaded::Loaded(const Data_Set& set, DICOM_List& record)
    : record_(record), was_left_(record.data == nullptr && record.size > 0),
      ready_(set.Load(record))
{
}

Loaded::~Loaded()
{
    if (was_left_) {
        std::free(std::exchange(record_.data, nullptr));
    }
}

bool Is_Bulk(const DICOM_List& record)
{
    constexpr int Longest_To_Look_At = 16 << 20;
    constexpr std::array VRs = {VR_OB, VR_OD, VR_OF, VR_OL, VR_OV, VR_OW, VR_UN};
    return record.data == nullptr && record.size > Longest_To_Look_At &&
           std::find(VRs.begin(), VRs.end(), VR_Of(record)) != VRs.end();
}

}  // namespace lib_mend
