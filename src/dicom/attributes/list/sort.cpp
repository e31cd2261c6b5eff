// Sorting a list by tag, with the merge of records that carry the same one.
#include "attributes/list/attribute_lists.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Copy";

bool Has(const DICOM_List& record, unsigned short mark)
{
    return (record.flags & mark) != 0;
}

bool Same_Tag(const DICOM_List& a, const DICOM_List& b)
{
    return a.group == b.group && a.element == b.element;
}

/** Gives two records with the same tag what they share. */
void Merge_Status(HWND handle, DICOM_List& a, DICOM_List& b)
{
    a.type = b.type = std::min(a.type, b.type);
    if (Has(a, DICOM_Mark_Forced) && Has(b, DICOM_Mark_Forced)) {
        Report_Warning(handle,
                       "    \361\005WARNING:\002 (\001%04x\002,\001%04x\002) Tag is defined as "
                       "OVERRIDE twice!",
                       a.group, a.element);
        return;
    }
    constexpr unsigned short Shared =
        DICOM_Mark_Delete_Request | DICOM_Mark_Deleted | DICOM_Mark_Invalid;
    const unsigned short marks = (a.flags | b.flags) & Shared;
    a.flags |= marks;
    b.flags |= marks;
    if (a.vr_default == 0) {
        a.vr_default = b.vr_default;
    } else if (b.vr_default == 0) {
        b.vr_default = a.vr_default;
    }
}

/** The order of records: by tag, then forced, with data, not by default, described. */
auto Rank(const DICOM_List& record)
{
    const bool forced = Has(record, DICOM_Mark_Forced);
    // Two forced records keep their order, whatever else they have.
    return std::tuple(record.group, record.element, !forced, !forced && record.data == nullptr,
                      !forced && Has(record, DICOM_Mark_Default),
                      !forced && record.description == nullptr);
}

bool Must_Swap(HWND handle, DICOM_List& a, DICOM_List& b)
{
    if (Same_Tag(a, b)) {
        Merge_Status(handle, a, b);
    }
    return Rank(b) < Rank(a);
}

/** Compares each adjacent pair once and swaps it where needed; tells whether any was. */
bool Pass(HWND handle, DICOM_List** list)
{
    bool swapped = false;
    for (DICOM_List** link = list; (*link)->next != nullptr; link = &(*link)->next) {
        DICOM_List* const a = *link;
        DICOM_List* const b = a->next;
        if (Must_Swap(handle, *a, *b)) {
            a->next = b->next;
            b->next = a;
            *link = b;
            swapped = true;
        }
    }
    return swapped;
}

/** Relinks a list in a stable order by rank; leaves it alone after the memory message. */
void Sort_At_Once(HWND handle, DICOM_List** list)
{
    Guarded(handle, This_Unit, false, [list] {
        std::vector<DICOM_List*> records;
        for (DICOM_List* record = *list; record != nullptr; record = record->next) {
            records.push_back(record);
        }
        std::stable_sort(
            records.begin(), records.end(),
            [](const DICOM_List* a, const DICOM_List* b) { return Rank(*a) < Rank(*b); });
        DICOM_List** link = list;
        for (DICOM_List* const record : records) {
            *link = record;
            link = &record->next;
        }
        *link = nullptr;
        return true;
    });
}

void Sort_List(HWND handle, DICOM_List** list)
{
    // A sorted list takes one pass, one that is nearly sorted a few. Lists that no real data set
    // has would take as many passes as they have records, so the rest is then sorted at once; the
    // order is the same, and the last pass merges what has come to stand side by side.
    constexpr int Most_Passes = 64;
    for (int pass = 1; Pass(handle, list); ++pass) {
        if (pass == Most_Passes) {
            Sort_At_Once(handle, list);
        }
    }
}

}  // namespace

int DICOM_Attribute_Sort(HWND handle, DICOM_Root* root, DICOM_List** list)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Sort()");
    if (*list == nullptr) {
        return trace.Leave(0, "! head");
    }
    if (Is_Outer_List(*root, *list)) {
        DICOM_List** const slot = DICOM_Attribute_Dig(handle, root, *list, 0);
        return slot == nullptr ? trace.Leave(0, "! DICOM_Attribute_Dig")
                               : DICOM_Attribute_Sort(handle, root, slot);
    }
    Sort_List(handle, list);
    for (DICOM_List* record = *list; record != nullptr; record = record->next) {
        For_Each_Item(handle, root, record,
                      [=](DICOM_List** item) { DICOM_Attribute_Sort(handle, root, item); });
    }
    (*list)->last = nullptr;
    return 1;
}
