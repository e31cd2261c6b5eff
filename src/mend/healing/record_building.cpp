#include "mend/healing/record_building.h"

#include "mend/healing/records.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace lib_mend {

DICOM_List* New_Record(Tag tag, unsigned short vr)
{
    auto* const record = static_cast<DICOM_List*>(std::calloc(1, sizeof(DICOM_List)));
    if (record == nullptr) {
        throw std::bad_alloc();
    }
    record->group = tag.group;
    record->element = tag.element;
    record->vr = vr;
    record->vr_default = vr;
    record->flags = DICOM_Origin_Library;
    record->byte_order = DICOM_Order_Explicit_VR;
    record->dict = NEMA_db_Locate(tag.group, tag.element);
    record->last = record;
    return record;
}

void Set_Bytes(DICOM_List& record, std::span<const unsigned char> bytes)
{
    Set_Bytes(record, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    record.byte_order =
        static_cast<unsigned char>(record.byte_order & ~unsigned{DICOM_Order_Big_Endian});
}

void Set_Items(DICOM_List& record, const std::vector<DICOM_List*>& items)
{
    auto** const slots = static_cast<DICOM_List**>(
        std::calloc(std::max<std::size_t>(items.size(), 1), sizeof(void*)));
    if (slots == nullptr) {
        throw std::bad_alloc();
    }
    std::copy(items.begin(), items.end(), slots);
    std::free(record.item);
    record.item = slots;
    record.nb_item = static_cast<int>(items.size());
    record.size = DICOM_Undefined_Length;
    std::free(record.data);
    record.data = nullptr;
}

}  // namespace lib_mend
