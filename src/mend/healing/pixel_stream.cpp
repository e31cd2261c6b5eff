#include "mend/healing/pixel_data.h"
#include "mend/healing/record_building.h"

namespace lib_mend {

namespace {

constexpr Tag Item_Tag = {0xFFFE, 0xE000};

/** Makes one fragment of the value, behind an empty offset table. */
void Encapsulate(DICOM_List& pixels)
{
    Record_List table(New_Record(Item_Tag, VR_OB));
    Record_List fragment(New_Record(Item_Tag, VR_OB));
    DICOM_List& stream = *fragment.Head();
    stream.pos = pixels.pos;
    stream.data_pos = pixels.data_pos;
    stream.size = pixels.size;
    stream.byte_order = pixels.byte_order;
    stream.flags = pixels.flags;
    std::swap(stream.data, pixels.data);
    Set_Items(pixels, {table.Head(), fragment.Head()});
    table.Release();
    fragment.Release();
    pixels.vr = VR_OB;
}

}  // namespace

void Encapsulate_Stream(Data_Set& set, Findings& findings)
{
    DICOM_List* const pixels = Find_Record(set.records.Head(), Pixel_Data_Tag);
    if (pixels == nullptr || pixels->size <= 0 || !set.encoding.encapsulated) {
        return;
    }
    findings.Report(Fault::Fragments, Level::Change, At(*pixels, {}),
                    "compressed pixel data is encapsulated");
    Encapsulate(*pixels);
}

}  // namespace lib_mend
