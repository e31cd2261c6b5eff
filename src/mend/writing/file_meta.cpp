#include "mend/writing/file_meta.h"

#include "mend/healing/order.h"
#include "mend/healing/repair.h"
#include "mend/writing/new_uid.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace lib_mend {

namespace {

constexpr Tag Group_Length_Tag = {0x0002, 0x0000};
constexpr Tag Version_Tag = {0x0002, 0x0001};
constexpr Tag Class_Tag = {0x0002, 0x0002};
constexpr Tag Instance_Tag = {0x0002, 0x0003};
constexpr Tag Syntax_Tag = {0x0002, 0x0010};
constexpr Tag Implementation_Tag = {0x0002, 0x0012};
constexpr Tag Implementation_Name_Tag = {0x0002, 0x0013};
constexpr Tag SOP_Class_Tag = {0x0008, 0x0016};
constexpr Tag SOP_Instance_Tag = {0x0008, 0x0018};

constexpr char Directory_Class_UID[] = "1.2.840.10008.1.3.10";
constexpr char Implementation_Name[] = "LIB_DICOM_21_9";

void Set_Value(Data_Set& set, Tag tag, unsigned short vr, std::string value)
{
    if (value.size() % 2 != 0) {
        value += vr == VR_UI ? '\0' : ' ';
    }
    DICOM_Root root = {};
    DICOM_List* const record =
        DICOM_Attribute_Find(nullptr, &root, set.meta.Address(), tag.group, tag.element);
    auto* const data =
        record != nullptr ? static_cast<unsigned char*>(std::malloc(value.size())) : nullptr;
    if (data == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(data, value.data(), value.size());
    std::free(record->data);
    record->data = data;
    record->size = static_cast<int>(value.size());
    record->vr = vr;
    record->flags = DICOM_Origin_Library;
    record->byte_order = DICOM_Order_Explicit_VR;
}

std::string Current_Value(const Data_Set& set, Tag tag)
{
    const DICOM_List* const record = Find_Record(set.meta.Head(), tag);
    return record != nullptr ? Trimmed(set.Value(*record)) : std::string();
}

/** Sets the elements of group 0002, and tells of those that were missing in one line. */
class Completion {
public:
    Completion(Data_Set& set, Findings& findings)
        : set_(set), findings_(findings), is_new_(set.meta.Head() == nullptr)
    {
    }
    Completion(const Completion&) = delete;
    Completion& operator=(const Completion&) = delete;

    void Supply(Tag tag, unsigned short vr, const std::string& value)
    {
        Set_Value(set_, tag, vr, value);
        names_ += (names_.empty() ? "" : ", ") + Tag_Name(tag);
    }
    /**
     * Brings a UID in line with the data set's. Of two that were read, neither is lost: which of
     * them is the right one nobody can tell.
     */
    void Settle(Tag tag, const std::string& value, bool was_read)
    {
        const std::string current = Current_Value(set_, tag);
        const Place place = {.has_tag = true, .tag = tag, .vr = VR_UI};
        if (current.empty()) {
            Supply(tag, VR_UI, value);
        } else if (current != value && was_read) {
            findings_.Report(Fault::Meta_Differs, Level::Kept, place,
                             "is another than in the data set", {current, {}});
        } else if (current != value) {
            Set_Value(set_, tag, VR_UI, value);
            findings_.Report(Fault::Meta_Differs, Level::Change, place,
                             "follows the data set, which was given another", {current, value});
        }
    }
    /** A group that was missing as a whole was said while reading. */
    void Report() const
    {
        if (!names_.empty() && !is_new_) {
            findings_.Report(Fault::Meta_Missing, Level::Change, {},
                             "the file meta information is completed: " + names_);
        }
    }

private:
    Data_Set& set_;
    Findings& findings_;
    bool is_new_;
    std::string names_;
};

/** Tells whether an element has the value that was read, and not one that was asked for. */
bool Was_Read(const Data_Set& set, Tag tag)
{
    constexpr unsigned short Given =
        DICOM_Mark_Forced | DICOM_Mark_Default | DICOM_Mark_Append | DICOM_Origin_Library;
    const DICOM_List* const record = Find_Record(set.records.Head(), tag);
    return record == nullptr || (record->flags & Given) == 0;
}

void Settle_Identity(Data_Set& set, Completion& completion, Findings& findings)
{
    const bool has_class = !Current_Value(set, Class_Tag).empty();
    const std::string sop_class = set.Text(SOP_Class_Tag);
    if (!sop_class.empty() && (has_class || Is_UID(sop_class))) {
        completion.Settle(Class_Tag, sop_class, Was_Read(set, SOP_Class_Tag));
    } else if (!has_class && Find_Record(set.records.Head(), Directory_Sequence_Tag) != nullptr) {
        completion.Settle(Class_Tag, Directory_Class_UID, true);
    } else if (!has_class) {
        findings.Report(Fault::Meta_Missing, Level::Kept, {true, Class_Tag, VR_UI},
                        "stays empty: the data set names no SOP class");
    }
    // One that is no valid UID is still the one by which the object is known.
    constexpr std::size_t Most = 1024;
    const std::string instance = set.Text(SOP_Instance_Tag);
    if (!instance.empty() && instance.size() <= Most) {
        completion.Settle(Instance_Tag, instance, Was_Read(set, SOP_Instance_Tag));
    } else if (Current_Value(set, Instance_Tag).empty()) {
        completion.Settle(Instance_Tag, Make_UID(set, Instance_Tag), true);
    }
}

}  // namespace

void Complete_Meta(Data_Set& set, std::string_view syntax, Findings& findings)
{
    Heal_Order(set, set.meta, findings);
    Remove_Marked(set.meta);
    DICOM_Root root = {};
    DICOM_Attribute_Delete(nullptr, &root, set.meta.Address(), Group_Length_Tag.group,
                           Group_Length_Tag.element);

    Completion completion(set, findings);
    const DICOM_List* const version = Find_Record(set.meta.Head(), Version_Tag);
    if (version == nullptr || version->size == 0) {
        completion.Supply(Version_Tag, VR_OB, std::string("\0\1", 2));
    }
    Settle_Identity(set, completion, findings);
    // Another syntax than the one that was declared was asked for, or said while reading.
    if (Current_Value(set, Syntax_Tag) != syntax) {
        Set_Value(set, Syntax_Tag, VR_UI, std::string(syntax));
    }
    if (Current_Value(set, Implementation_Tag).empty()) {
        completion.Supply(Implementation_Tag, VR_UI, std::string(OrisWare_UID) + ".1");
        if (Current_Value(set, Implementation_Name_Tag).empty()) {
            completion.Supply(Implementation_Name_Tag, VR_SH, Implementation_Name);
        }
    }
    completion.Report();
}

}  // namespace lib_mend
