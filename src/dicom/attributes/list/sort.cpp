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

/** Sorts lists by the letter as long as that takes no more than some ten million comparisons. */
class Sorter final : public Open_Item_Visitor {
public:
    Sorter(HWND handle, DICOM_Root* root)
        : Open_Item_Visitor(handle, root, "Lib_DICOM: DICOM_Attribute_Sort()")
    {
    }

private:
    void Work_On(DICOM_List** list) override
    {
        Sort_List(list);
        (*list)->last = nullptr;
    }
    void Sort_List(DICOM_List** list)
    {
        while (Pass(list)) {
            // A list that no real data set has, in an order that takes as many passes as it has
            // records, is sorted at once in the end. The order is the same, and the last pass
            // merges what has come to stand side by side.
            if (comparisons_ > Most_Comparisons && !Sort_At_Once(list)) {
                return;
            }
        }
    }
    /** Compares each adjacent pair once and swaps it where needed; tells whether any was. */
    bool Pass(DICOM_List** list)
    {
        bool swapped = false;
        for (DICOM_List** link = list; (*link)->next != nullptr; link = &(*link)->next) {
            DICOM_List* const a = *link;
            DICOM_List* const b = a->next;
            ++comparisons_;
            if (Must_Swap(Handle(), *a, *b)) {
                a->next = b->next;
                b->next = a;
                *link = b;
                swapped = true;
            }
        }
        return swapped;
    }
    /** Relinks a list in a stable order by rank; leaves it alone after the memory message. */
    bool Sort_At_Once(DICOM_List** list) const
    {
        return Guarded(
            Handle(), This_Unit, false,
            [list] {
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
            },
            "records");
    }

    static constexpr long long Most_Comparisons = 10'000'000;

    long long comparisons_ = 0;
};

}  // namespace

int DICOM_Attribute_Sort(HWND handle, DICOM_Root* root, DICOM_List** list)
{
    Sorter sorter(handle, root);
    return Walk_Lists(handle, This_Unit, {.root = root}, list, sorter) ? sorter.Result() : 0;
}
