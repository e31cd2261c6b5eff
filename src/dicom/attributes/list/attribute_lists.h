// What the operations on attribute lists share: the way down into the open sequence, the merge of
// two records, and taking records out.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_ATTRIBUTE_LISTS_H
#define LIB_DICOM_SRC_ATTRIBUTES_ATTRIBUTE_LISTS_H

#include "attributes/list/tag_search.h"
#include "attributes/list/walk.h"
#include "frame/report.h"

#include <Lib_DICOM/attributes.h>

/**
 * The item slot of the open sequence one level below a list. Creates the sequence record when the
 * list does not hold it.
 *
 * @param unused  without effect
 * @return the address of the slot; null when no sequence is open there, or without memory
 */
DICOM_List** DICOM_Attribute_Dig(HWND handle, DICOM_Root* root, DICOM_List* list, char unused);

namespace lib_dicom {

/** Stands for any group or any element in a search. */
inline constexpr unsigned short Any_Number = 0xFFFF;

inline bool Has_Tag(const DICOM_List& record, unsigned short group, unsigned short element)
{
    return record.group == group && record.element == element;
}

/** Tells whether the context has a sequence open inside the list, so that it is worked on there. */
inline bool Is_Outer_List(HWND handle, DICOM_Root* root, const DICOM_List* list)
{
    return list != nullptr && list->depth < DICOM_Attribute_Sequence_Query(handle, root);
}

/* ---- operations of the interface, with a search that lives as long as the caller's call ---- */

DICOM_List** Dig(HWND handle, DICOM_Root* root, DICOM_List* list, Tag_Search& search);
DICOM_List* Find_Record(HWND handle, DICOM_Root* root, DICOM_List** list, unsigned short group,
                        unsigned short element, Tag_Search& search);
DICOM_List* Get_Record(HWND handle, DICOM_Root* root, DICOM_List* list, unsigned short group,
                       unsigned short element, Tag_Search& search);
DICOM_List* Insert_Record(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* record,
                          int level, Tag_Search& search);
bool DICOM_Attribute_Copy_Tag(HWND handle, DICOM_Root* root, DICOM_List** list, DICOM_List* target,
                              DICOM_List* source, Tag_Search& search);

/** Works on the list of the item that the context has open, and on all lists inside it. */
class Open_Item_Visitor : public List_Visitor {
public:
    /** @param call  the name that each list is traced under */
    Open_Item_Visitor(HWND handle, DICOM_Root* root, const char* call)
        : handle_(handle), root_(root), call_(call)
    {
    }

    /** 1 when the list of the open item was worked on, 0 when it is empty or was not found. */
    int Result() const
    {
        return result_;
    }

    Way_In Enter(DICOM_List** list) override;
    void Leave() override;

protected:
    HWND Handle() const
    {
        return handle_;
    }

private:
    virtual void Trace_Call() const
    {
        Trace_In(handle_, Trace_Entry, call_);
    }
    /** Works on one list, which is not empty. */
    virtual void Work_On(DICOM_List** list) = 0;
    Way_In Refuse(const char* reason);

    HWND handle_;
    DICOM_Root* root_;
    const char* call_;
    const char* reason_ = "";
    int result_ = 0;
};

/* ---- records ---- */

/** The part of a merge that is not in items: value, status and description. False without memory. */
bool Merge_Value(HWND handle, const DICOM_Root* root, DICOM_List* target, const DICOM_List* source);

/** Makes room for a number of items; new slots are empty. False after the memory message. */
bool Grow_Items(HWND handle, Place place, DICOM_List* record, int count, const char* variable);

/**
 * Unlinks the record that a link points to and frees it.
 *
 * @param head  the list's head pointer; where Insert appends is looked for anew when it was here
 */
void Unlink_Record(HWND handle, DICOM_List** head, DICOM_List** link);

/** Releases all records of a list. */
void Free_List(HWND handle, DICOM_List* list);

/**
 * The list of the item that the context has open, found without creating what is absent.
 *
 * @param list  the list at the top level of the context
 * @return null when that item is empty, or does not exist
 */
DICOM_List* Look_Into_Open_Item(HWND handle, DICOM_Root* root, DICOM_List* list,
                                Tag_Search& search);

}  // namespace lib_dicom

#endif
