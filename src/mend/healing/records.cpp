#include "mend/healing/records.h"

#include <algorithm>
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

}  // namespace lib_mend
