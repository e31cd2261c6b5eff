// Walks over the tree of a data set. Sequences may nest as deep as memory allows, so that no walk
// calls itself.
//
// Each item is a list whose first record is the item header, (FFFE,E000): it holds the place and the
// length of the item, and keeps an item without elements apart from the end of the items. A fragment
// of encapsulated data is such a record with VR OB and a value.
#ifndef LIB_MEND_TREE_H
#define LIB_MEND_TREE_H

#include "mend/reading/data_set.h"

#include <vector>

namespace lib_mend {

/** Goes through the records of a list and of all items below, a sequence before its contents. */
class Tree_Walk {
public:
    explicit Tree_Walk(DICOM_List* list)
    {
        levels_.push_back({list, nullptr, 0});
    }

    /**
     * The next record, item headers included; null at the end. The record that was returned last may
     * have changed, but has to be there still.
     */
    DICOM_List* Next()
    {
        Level& level = levels_.back();
        const bool goes_on = level.last != nullptr && level.last->next != nullptr &&
                             (skip_ || level.last->nb_item == 0);
        if (!goes_on) {
            return Next_Elsewhere();
        }
        skip_ = false;
        level.last = level.last->next;
        return level.last;
    }

    /** The way to the list of the record that was returned last. */
    const Path& Way() const
    {
        return way_;
    }
    /** Tells whether that record is the first of its list. */
    bool Is_First() const
    {
        return levels_.back().last == levels_.back().next;
    }
    /** The record of the sequence around it, null at the top level. */
    DICOM_List* Around() const
    {
        return levels_.size() > 1 ? levels_[levels_.size() - 2].last : nullptr;
    }
    /**
     * Calls `visit(list, path)` for the address of the list of each item of the record that was
     * returned last. The path is not kept.
     */
    template <class Visit>
    void For_Each_Item(DICOM_List& record, Visit&& visit)
    {
        for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
            way_.push_back({Tag_Of(record), i});
            visit(&record.item[i], way_);
            way_.pop_back();
        }
    }
    /** The way to an item of that record, until Step_Out. */
    const Path& Step_Into(int item)
    {
        way_.push_back({Tag_Of(*levels_.back().last), item});
        return way_;
    }
    void Step_Out()
    {
        way_.pop_back();
    }
    /** Leaves the items of the record that was returned last out. */
    void Skip_Items()
    {
        skip_ = true;
    }

private:
    struct Level {
        DICOM_List* next;
        DICOM_List* last;
        int item;
    };

    bool Enter_Item(DICOM_List* sequence, int item);
    /** The next record where it does not simply follow the last. */
    DICOM_List* Next_Elsewhere();

    std::vector<Level> levels_;
    Path way_;
    bool skip_ = false;
};

/** Calls `visit(record, path)` for the elements of a list and of all items below. */
template <class Visit>
void For_Each_Element(DICOM_List* list, Visit&& visit)
{
    Tree_Walk walk(list);
    while (DICOM_List* const record = walk.Next()) {
        if (!Is_Delimiter(*record)) {
            visit(*record, walk.Way());
        }
    }
}

/** The elements of a list in the order of their tags; equal ones in the order of the list. */
std::vector<DICOM_List*> Sorted_Elements(DICOM_List* list);

/** Calls `visit(fragment)` for each fragment of encapsulated data, the offset table first. */
template <class Visit>
void For_Each_Fragment(const DICOM_List& record, Visit&& visit)
{
    for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
        if (Tag_Of(*Item_Of(record, i)) == Item_Tag) {
            visit(*Item_Of(record, i));
        }
    }
}

/** Tells whether a list of this record's items is written, and not a value. */
bool Holds_Items(const DICOM_List& record);

/**
 * Tells whether an element (gggg,0000) is a group length, which is made anew when it is written. One that
 * holds anything else than four bytes of UL, or nothing, is an element like any other.
 */
bool Is_Group_Length(const DICOM_List& record);

/** Tells whether the items of a record are fragments of encapsulated data. */
bool Holds_Fragments(const DICOM_List& record);

/** The first record of the list of an item; null when the way does not lead to one. */
DICOM_List* Item_At(DICOM_List* list, const Path& way);

/** Calls `visit(list, path)` for the address of each list, the one around before those inside. */
template <class Visit>
void For_Each_List(DICOM_List** list, Visit&& visit)
{
    visit(list, Path());
    Tree_Walk walk(*list);
    while (DICOM_List* const record = walk.Next()) {
        walk.For_Each_Item(*record, visit);
    }
}

}  // namespace lib_mend

#endif
