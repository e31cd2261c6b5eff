// Completion of records for people: dictionary entries, default VRs and descriptions.
#include "attributes/complete/private_creators.h"
#include "attributes/list/attribute_lists.h"
#include "frame/c_memory.h"
#include "frame/record_codes.h"

#include <Lib_DICOM/definitions.h>
#include <Lib_DICOM/dictionary.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Complement";

constexpr unsigned short Any_Group = 0xFFFF;
constexpr unsigned short Keep_VR = 0;

/** What one element of a fixed meaning is called. */
struct Fixed_Name {
    unsigned short group;
    unsigned short element;
    unsigned short vr;
    const char* text;
};

constexpr Fixed_Name Group_Banners[] = {
    {0x0002, 0x0000, VR_UL, "\361\002===== Group 0002 (File) =============="},
    {0x0008, 0x0000, VR_UL, "\361\002===== Group 0008 (Identifying) ======="},
    {0x0010, 0x0000, VR_UL, "\361\002===== Group 0010 (Patient) ==========="},
    {0x0018, 0x0000, VR_UL, "\361\002===== Group 0018 (Acquisition) ======="},
    {0x0020, 0x0000, VR_UL, "\361\002===== Group 0020 (Relationship) ======"},
    {0x0028, 0x0000, VR_UL, "\361\002===== Group 0028 (Presentation) ======"},
    {0x7FE0, 0x0000, VR_UL, "\361\002===== Group 7FE0 (Image Data) ========"},
};

constexpr Fixed_Name Named_Elements[] = {
    {0x7FE0, 0x0010, VR_OB, "Pixel Data"},
    {Item_Group, Item_Element, Keep_VR, "\001Item"},
    {Item_Group, Item_End_Element, Keep_VR, "\001Item Delimitation Item"},
    {Item_Group, Sequence_End_Element, Keep_VR, "\001Sequence Delimitation Item"},
};

constexpr Fixed_Name Compression_1000[] = {
    {0x1000, 0x0000, VR_LT, "\361\002---- ---- Group 1000: Compression Info ---- ----\360\001"},
    {0x1000, 0x0010, VR_US, "Huffman:"},
    {0x1000, 0x0012, VR_US, "Nb. Huffman Values:"},
    {0x1000, 0x0013, VR_SS, "Huffman Values:"},
};

constexpr Fixed_Name Compression_7Fxx[] = {
    {Any_Group, 0x0000, VR_UL, "Siemens Compression: Group Name"},
    {Any_Group, 0x0010, VR_OB, "Siemens Compression: Data"},
    {Any_Group, 0x0011, VR_OW, "Siemens Compression: Next Group"},
};

/** Names a record by the table that its tag stands in; false when it does not. */
template <std::size_t Size>
bool Name_By_Table(HWND handle, DICOM_List* record, const Fixed_Name (&table)[Size])
{
    const auto* const name =
        std::find_if(std::begin(table), std::end(table), [record](const Fixed_Name& entry) {
            return (entry.group == Any_Group || entry.group == record->group) &&
                   entry.element == record->element;
        });
    if (name == std::end(table)) {
        return false;
    }
    DICOM_Attribute_Complement_Tag(handle, record, name->vr, "%s", name->text);
    return true;
}

void Complete_From_Dictionary(DICOM_List* record)
{
    if (record->dict == nullptr) {
        record->dict = NEMA_db_Locate(record->group, record->element);
    }
    if (record->dict != nullptr && record->vr_default == 0) {
        record->vr_default = record->dict->vr[0];
    }
}

void Complete_Group_Length(HWND handle, DICOM_List* record)
{
    constexpr int Group_Length_Size = 4;
    if (record->element != 0x0000 || record->description != nullptr ||
        Name_By_Table(handle, record, Group_Banners)) {
        return;
    }
    if (record->size == Group_Length_Size) {
        DICOM_Attribute_Complement_Tag(
            handle, record, VR_UL, "\361\002===== Group %04x =====================", record->group);
    }
}

/** Names a private element by the definitions of its creator, or by the creator itself. */
void Name_By_Creator(HWND handle, DICOM_List* record, const DICOM_List* creator)
{
    if (creator == nullptr) {
        return;
    }
    const std::string text = Creator_Text(*creator);
    // The one call upwards of this folder, through the public header: a hook that the definitions
    // would have to register in time could be missing without anyone noticing.
    if (DICOM_Module_Read_Private(handle, text.c_str(), record) == 0) {
        DICOM_Attribute_Complement_Tag(handle, record, Keep_VR, "%s", text.c_str());
    }
}

int Complement_Private(HWND handle, DICOM_List* list, DICOM_List* record, Creators& creators)
{
    const Trace_Scope trace(handle, Trace_Entry,
                            "Lib_DICOM: DICOM_Attribute_Complement_Private(%04x,%04x)",
                            record->group, record->element);
    if (Is_Creator_Element(record->element)) {
        DICOM_Attribute_Complement_Tag(handle, record, VR_LO, "Private Creator Data Element");
    } else if (record->element >= First_Private_Element) {
        Name_By_Creator(handle, record, creators.Get(list, *record));
    }
    return 1;
}

void Complement_Compression(HWND handle, DICOM_List* record)
{
    if ((record->flags & DICOM_Mark_Private) == 0) {
        return;
    }
    if (record->group == 0x1000) {
        SPI_Complement_1000(handle, record);
    } else if (record->group >= 0x7F00 && record->group <= 0x7FDF) {
        SPI_Complement_7Fxx(handle, record);
    }
}

void Complement_Record(HWND handle, DICOM_List* list, DICOM_List* record, Creators& creators)
{
    Trace(handle, Trace_Step, "-> DICOM_Attribute_Complement(%04x,%04x)", record->group,
          record->element);
    Complete_From_Dictionary(record);
    Complete_Group_Length(handle, record);
    if (record->group % 2 != 0) {
        Complement_Private(handle, list, record, creators);
    }
    Complement_Compression(handle, record);
    Name_By_Table(handle, record, Named_Elements);
}

}  // namespace

int DICOM_Attribute_Complement(HWND handle, DICOM_Root* root, DICOM_List* list)
{
    Creators creators(handle, root);
    Visit_Records(handle, This_Unit, {.root = root},
                  {Trace_Step, "Lib_DICOM: DICOM_Attribute_Complement()"}, list,
                  [&](DICOM_List* record, DICOM_List* in) {
                      Complement_Record(handle, in, record, creators);
                  });
    return 0;
}

int DICOM_Attribute_Complement_Private(HWND handle, DICOM_Root* root, DICOM_List* list,
                                       DICOM_List* record)
{
    return Guarded(handle, This_Unit, 1, [=] {
        Creators creators(handle, root);
        return Complement_Private(handle, list, record, creators);
    });
}

int DICOM_Attribute_Complement_Tag(HWND handle, DICOM_List* record, unsigned short vr,
                                   const char* format, ...)
{
    const Trace_Scope trace(handle, Trace_List,
                            "Lib_DICOM: DICOM_Attribute_Complement_Tag(%04x,%04x)", record->group,
                            record->element);
    // Descriptions stay under a hundred characters.
    char text[256] = "";
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (vr != 0) {
        record->vr_default = vr;
    }
    std::free(record->description);
    record->description = nullptr;
    if (text[0] == '\0') {
        return 1;
    }
    record->description = C_Strdup(handle, This_Unit, text, "tag->description").release();
    return record->description != nullptr ? 1 : 0;
}

int SPI_Complement_1000(HWND handle, DICOM_List* record)
{
    Trace(handle, Trace_Structure, "in SPI_Complement_1000(%04x,%04x)", record->group,
          record->element);
    Name_By_Table(handle, record, Compression_1000);
    return 1;
}

int SPI_Complement_7Fxx(HWND handle, DICOM_List* record)
{
    Trace(handle, Trace_Structure, "in SPI_Complement_7Fxx(%04x,%04x)", record->group,
          record->element);
    Name_By_Table(handle, record, Compression_7Fxx);
    return 1;
}
