// The repair of one value: it marks what it changes.
//
// Input: the VR; options, bit 0 the current standard, 1 a VR of the stream, 2 big endian;
// the tag; the value.
#include "fuzz_target.h"

namespace {

void Require_Consistent(const DICOM_List& record)
{
    fuzz::Require(record.size >= 0, "a value has a size");
    fuzz::Require((record.data == nullptr) == (record.size == 0), "a value has as many bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Silence silence;
    fuzz::Input input(data, size);
    const unsigned short vr = fuzz::Pick_VR(input.Byte());
    const std::uint8_t options = input.Byte();
    DICOM_Flag_Current_Standard = (options & 1) != 0 ? 1 : 0;

    fuzz::Owned_Record record;
    record->group = input.Short();
    record->element = input.Short();
    record->dict = NEMA_db_Locate(record->group, record->element);
    ((options & 2) != 0 ? record->vr : record->vr_default) = vr;
    record->byte_order = (options & 4) != 0 ? DICOM_Order_Big_Endian : 0;
    record.Set_Value(input.Rest());

    DICOM_Attribute_Cleanup_Swab(nullptr, record.Get());
    Require_Consistent(*record.Get());
    const std::string swapped = record.Value();
    DICOM_Attribute_Cleanup_Tag(nullptr, record.Get());
    Require_Consistent(*record.Get());
    const bool marked = (record->flags & DICOM_Mark_Changed) != 0;
    fuzz::Require(record->data == nullptr || (record.Value() != swapped) == marked,
                  "what is changed is marked, and nothing else");
    return 0;
}
