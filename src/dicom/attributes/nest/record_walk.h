// The way through a list and all lists inside it, for what looks at each record once. It needs no
// stack: clients may nest lists deeper than any stack reaches.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_NEST_RECORD_WALK_H
#define LIB_DICOM_SRC_ATTRIBUTES_NEST_RECORD_WALK_H

#include "attributes/list/attribute_lists.h"

#include <deque>
#include <optional>

namespace lib_dicom {

/** A walk with its sequences and items open in the context, traced as one call for each list. */
class Record_Walk {
public:
    /** @param call  the name that each list is traced under, with "()" behind it */
    Record_Walk(HWND handle, DICOM_Root* root, unsigned int severity, const char* call)
        : handle_(handle), root_(root), severity_(severity), call_(call)
    {
    }
    Record_Walk(const Record_Walk&) = delete;
    Record_Walk& operator=(const Record_Walk&) = delete;
    ~Record_Walk()
    {
        while (!open_.empty()) {
            open_.pop_back();
        }
    }

    /** Calls `visit` for each record, before the items up to the record's first empty slot. */
    template <class Visit>
    void Run(DICOM_List* list, Visit&& visit)
    {
        Enter(list);
        while (!open_.empty()) {
            Level& level = open_.back();
            if (level.record == nullptr) {
                Leave();
            } else if (!level.sequence) {
                visit(level.record);
                Open(level);
            } else if (level.item < level.record->nb_item &&
                       level.record->item[level.item] != nullptr) {
                DICOM_Attribute_Item_Start(handle_, root_, Trace_Entry);
                Enter(level.record->item[level.item++]);
            } else {
                level.sequence.reset();
                level.record = level.record->next;
            }
        }
    }

private:
    /** A list on the way: the record that is at work, and the item that comes next. */
    struct Level {
        Level(const Record_Walk& walk, DICOM_List* list)
            : trace(walk.handle_, walk.severity_, walk.call_), record(list)
        {
        }

        Trace_Scope trace;
        DICOM_List* record;
        std::optional<Open_Sequence> sequence;
        int item = 0;
    };

    void Enter(DICOM_List* list)
    {
        open_.emplace_back(*this, list);
    }
    void Leave()
    {
        open_.pop_back();
        if (!open_.empty()) {
            DICOM_Attribute_Item_Stop(handle_, root_, Trace_Entry);
        }
    }
    void Open(Level& level)
    {
        if (level.record->item == nullptr) {
            level.record = level.record->next;
            return;
        }
        level.sequence.emplace(handle_, root_, *level.record);
        level.item = 0;
    }

    HWND handle_;
    DICOM_Root* root_;
    unsigned int severity_;
    const char* call_;
    std::deque<Level> open_;
};

}  // namespace lib_dicom

#endif
