// Formatting: the flat list of a stream's elements becomes a nested one.
#include "attributes/complete/vr_completion.h"
#include "attributes/list/attribute_lists.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/dictionary.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

using namespace lib_dicom;

namespace {

/** Position at which a sequence or an item ends is not known. */
constexpr std::int64_t Unknown = -1;

bool Is_Tag(const DICOM_List* record, unsigned short group, unsigned short element)
{
    return record != nullptr && record->group == group && record->element == element;
}

bool Is_Item(const DICOM_List* record)
{
    return Is_Tag(record, Item_Group, Item_Element);
}

/** End of the contents of a record; a negative size, undefined or damaged, gives none. */
std::int64_t End_Of(const DICOM_List& record)
{
    return record.size < 0 ? Unknown : static_cast<std::int64_t>(record.data_pos) + record.size;
}

class Formatter {
public:
    explicit Formatter(HWND handle) : handle_(handle)
    {
        std::fill(std::begin(end_of_sequence_), std::end(end_of_sequence_), Unknown);
        std::fill(std::begin(end_of_item_), std::end(end_of_item_), Unknown);
    }

    /** Takes the next record of the flat list; false without memory. */
    bool Take(DICOM_List& record);

    DICOM_List* Result() const
    {
        return result_;
    }

private:
    void Mark(DICOM_List& record) const;
    void Close_By_Size(const DICOM_List& record);
    void Open_Or_Close(const DICOM_List& record);
    void Check_Order(const DICOM_List& record);
    void Start_Sequence(const DICOM_List& record);
    void Follow(const DICOM_List& record, DICOM_List& copy);
    void Follow_Sequence(const DICOM_List& record, DICOM_List& copy);
    void Follow_Undefined_Length(const DICOM_List& record, DICOM_List& copy, unsigned short vr);
    bool Follow_Hidden_Sequence(const DICOM_List& record, DICOM_List& copy);
    void Follow_Item_End(const DICOM_List& record);
    void Stop_Item_By_Size(const DICOM_List& record);
    void Stop_Sequence()
    {
        DICOM_Attribute_Sequence_Stop(handle_, &root_, Trace_Structure);
    }
    int Depth() const
    {
        return root_.Sequence_Depth;
    }
    int Shown_End(std::int64_t end) const
    {
        return static_cast<int>(end);
    }

    HWND handle_;
    DICOM_Root root_ = {};
    DICOM_List* result_ = nullptr;
    Indexed_Search search_;
    std::int64_t end_of_sequence_[DICOM_Max_Depth];
    std::int64_t end_of_item_[DICOM_Max_Depth];
    bool unsorted_reported_ = false;
};

bool Formatter::Take(DICOM_List& record)
{
    Trace(handle_, Trace_Entry, "-> DICOM_Attribute_Format (%04x,%04x) (pos:%04X)", record.group,
          record.element, record.pos);
    Mark(record);
    Close_By_Size(record);
    Open_Or_Close(record);
    Check_Order(record);
    // The VR is completed in a copy: the flat list stays as it was read.
    DICOM_List completed = record;
    Complete_VR(handle_, completed);
    DICOM_List* const copy = Insert_Record(handle_, &root_, &result_, &completed, 0, search_);
    if (copy == nullptr) {
        return false;
    }
    Follow(completed, *copy);
    return true;
}

void Formatter::Mark(DICOM_List& record) const
{
    if (record.dict != nullptr && record.dict->nb_vr <= 0) {
        record.flags |= DICOM_Mark_Retired;
        Report_Note(handle_, "\002    (\001%04x\002,\001%04x\002) Retired from DICOM (\001%hs\002)",
                    record.group, record.element, static_cast<const char*>(record.dict->name));
    }
    if (record.group % 2 != 0) {
        record.flags |= DICOM_Mark_Private;
    }
}

void Formatter::Stop_Item_By_Size(const DICOM_List& record)
{
    std::int64_t& end = end_of_item_[Depth()];
    if (end >= 0 && end <= record.pos) {
        end = Unknown;
        DICOM_Attribute_Item_Stop(handle_, &root_, Trace_Structure);
        Trace(handle_, Trace_Structure, "-> \"Stop of Item\" from size");
    }
}

void Formatter::Close_By_Size(const DICOM_List& record)
{
    while (end_of_sequence_[Depth()] >= 0 && end_of_sequence_[Depth()] <= record.pos) {
        end_of_sequence_[Depth()] = Unknown;
        Stop_Sequence();
        Trace(handle_, Trace_Structure, "-> \"Stop of Sequence\" from size");
    }
    Stop_Item_By_Size(record);
}

void Formatter::Open_Or_Close(const DICOM_List& record)
{
    if (Is_Tag(&record, Item_Group, Sequence_End_Element)) {
        Stop_Sequence();
        Trace(handle_, Trace_Structure,
              "-> \"Stop of Sequence\" tag (%04x,%04x) size=%d (End_Of_Item:%04X)", record.group,
              record.element, record.size, Shown_End(end_of_item_[Depth()]));
    } else if (Is_Item(&record)) {
        DICOM_Attribute_Item_Start(handle_, &root_, Trace_Entry);
        if (record.size != DICOM_Undefined_Length) {
            end_of_item_[Depth()] = End_Of(record);
        }
        Trace(handle_, Trace_Structure,
              "-> \"Start of Item\" tag (%04x,%04x) size=%d (End_Of_Item[%d]:%04X)", record.group,
              record.element, record.size, Depth(), Shown_End(end_of_item_[Depth()]));
    }
}

void Formatter::Check_Order(const DICOM_List& record)
{
    if ((record.flags & DICOM_Origin_Stream) == 0) {
        return;
    }
    unsigned short group = 0;
    unsigned short element = 0;
    DICOM_Attribute_Sequence_Get(handle_, &root_, Depth(), &group, &element, nullptr);
    const bool is_smaller =
        record.group < group || (record.group == group && record.element < element);
    if (record.group == Item_Group || group == Item_Group || !is_smaller) {
        return;
    }
    if (Depth() == 0) {
        if (!unsorted_reported_) {
            Report_Warning(handle_,
                           "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) tags should be "
                           "sorted!",
                           record.group, record.element);
        }
        unsorted_reported_ = true;
    } else if (end_of_sequence_[Depth()] < 1) {
        Report_Warning(handle_,
                       "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) missing end of "
                       "sequence tag!",
                       record.group, record.element);
        end_of_sequence_[Depth()] = Unknown;
        Stop_Sequence();
    }
}

void Formatter::Start_Sequence(const DICOM_List& record)
{
    DICOM_Attribute_Sequence_Start(handle_, &root_, record.group, record.element, record.flags,
                                   Trace_Entry);
    // What an earlier sequence of this depth left behind must not end this one.
    end_of_sequence_[Depth()] = End_Of(record);
    end_of_item_[Depth()] = Unknown;
}

void Formatter::Follow(const DICOM_List& record, DICOM_List& copy)
{
    const unsigned short vr = Effective_VR(record);
    if (vr == VR_SQ) {
        Follow_Sequence(record, copy);
    } else if (record.size == DICOM_Undefined_Length && vr != 0) {
        Follow_Undefined_Length(record, copy, vr);
    } else if (vr == 0 && Follow_Hidden_Sequence(record, copy)) {
        return;
    }
    Follow_Item_End(record);
    Stop_Item_By_Size(record);
}

void Formatter::Follow_Sequence(const DICOM_List& record, DICOM_List& copy)
{
    Start_Sequence(record);
    const int depth = Depth();
    if (record.size == DICOM_Undefined_Length &&
        (record.next == nullptr || record.next->group != Item_Group)) {
        Report_Warning(handle_,
                       "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) Syntax Error! VR=SQ "
                       "should be followed by an \"item\" tag",
                       record.group, record.element);
        Stop_Sequence();
        copy.flags |= DICOM_Mark_Deleted;
    }
    Trace(handle_, Trace_Structure,
          "-> \"Start of Sequence\" tag (%04x,%04x) size=%d (End_Of_Sequence[%d]:%04X)",
          record.group, record.element, record.size, depth, Shown_End(end_of_sequence_[depth]));
}

void Formatter::Follow_Undefined_Length(const DICOM_List& record, DICOM_List& copy,
                                        unsigned short vr)
{
    if (vr == VR_UT) {
        Report_Warning(handle_,
                       "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) Syntax Error! "
                       "Variable length tag is not allowed for VR=%hc%hc",
                       record.group, record.element, vr >> 8, vr & 0xFF);
        copy.flags |= DICOM_Mark_Deleted;
    }
    if (vr != VR_OB && vr != VR_OW && vr != VR_UN) {
        return;
    }
    Start_Sequence(record);
    if (!Is_Item(record.next)) {
        Report_Warning(handle_,
                       "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) Syntax Error! "
                       "VR=%hc%hc Variable length tag should be followed by an \"item\" tag",
                       record.group, record.element, vr >> 8, vr & 0xFF);
        Stop_Sequence();
        copy.flags |= DICOM_Mark_Deleted;
    }
    Trace(handle_, Trace_Structure,
          "-> \"Start of Sequence\" tag (%04x,%04x) size=%d (End_Of_Sequence:%04X)", record.group,
          record.element, record.size, Shown_End(end_of_sequence_[Depth()]));
}

/** A data element of unknown VR that an item follows can only be a sequence. */
bool Formatter::Follow_Hidden_Sequence(const DICOM_List& record, DICOM_List& copy)
{
    if (record.group == Item_Group || !Is_Item(record.next) ||
        end_of_item_[Depth()] == record.next->pos) {
        return false;
    }
    Start_Sequence(record);
    copy.size = DICOM_Undefined_Length;
    return true;
}

void Formatter::Follow_Item_End(const DICOM_List& record)
{
    if (Is_Tag(&record, Item_Group, Item_End_Element)) {
        DICOM_Attribute_Item_Stop(handle_, &root_, Trace_Structure);
        Trace(handle_, Trace_Structure,
              "-> \"Stop of Item\" tag (%04x,%04x) size=%d (End_Of_Item:%04X)", record.group,
              record.element, record.size, Shown_End(end_of_item_[Depth()]));
    }
}

}  // namespace

DICOM_List* DICOM_Attribute_Format(HWND handle, DICOM_List* list)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Format()");
    Formatter formatter(handle);
    for (; list != nullptr; list = list->next) {
        if (!formatter.Take(*list)) {
            // The beginning of a data set could not be told from a whole one.
            Free_List(handle, formatter.Result());
            return trace.Leave<DICOM_List*>(nullptr, "! DICOM_Attribute_Insert");
        }
    }
    return formatter.Result();
}
