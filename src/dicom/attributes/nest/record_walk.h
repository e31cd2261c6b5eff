// The way through a list and all lists inside it. It is kept on the heap: clients may nest lists
// deeper than any stack reaches.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_NEST_RECORD_WALK_H
#define LIB_DICOM_SRC_ATTRIBUTES_NEST_RECORD_WALK_H

#include "attributes/list/attribute_lists.h"

#include <deque>
#include <optional>
#include <type_traits>
#include <utility>

namespace lib_dicom {

/** How a walk is traced: as one call for each list. */
struct Walk_Trace {
    unsigned int severity;
    /** The name of the call with "()" behind it. */
    const char* call;
    /** The reason of leaving a list. */
    const char* reason = "";
    /** Severity word of the banner lines of sequences and items, 0 for none. */
    unsigned int banners = Trace_Entry;
};

/**
 * What a walk does in one list. A walk has a level class of its own and makes one of it for each
 * list that it enters: for the outermost from the arguments of Nested_Walk::Over, for the others
 * from the level around and the sequence record. A level is neither copied nor moved.
 */
struct Walk_Level {
    /** Comes to a record; true to enter its items. */
    bool Enter(DICOM_List&)
    {
        return true;
    }
    /** Leaves a record, behind its items. */
    void Leave(DICOM_List&)
    {
    }
};

/**
 * Comes to the records of a list in order, each followed by its items up to the first empty slot,
 * with the sequence and the item open in the context. What it throws leaves the context as it was.
 */
template <class Level>
class Nested_Walk {
public:
    Nested_Walk(HWND handle, DICOM_Root* root, const Walk_Trace& trace)
        : handle_(handle), root_(root), trace_(trace)
    {
    }
    Nested_Walk(const Nested_Walk&) = delete;
    Nested_Walk& operator=(const Nested_Walk&) = delete;
    ~Nested_Walk()
    {
        while (!open_.empty()) {
            open_.pop_back();
        }
    }

    template <class... Args>
    void Over(DICOM_List* list, Args&&... args)
    {
        open_.emplace_back(*this, list, std::forward<Args>(args)...);
        while (!open_.empty()) {
            List& top = open_.back();
            if (top.record == nullptr) {
                Leave_List(top);
            } else if (!top.is_inside) {
                Enter_Record(top);
            } else if (top.sequence && top.item < top.record->nb_item &&
                       top.record->item[top.item] != nullptr) {
                DICOM_Attribute_Item_Start(handle_, root_, trace_.banners);
                open_.emplace_back(*this, top.record->item[top.item++], top.level, *top.record);
            } else {
                Leave_Record(top);
            }
        }
    }

private:
    /** A list on the way: the record that is at work, and the item that comes next. */
    struct List {
        template <class... Args>
        List(const Nested_Walk& walk, DICOM_List* list, Args&&... args)
            : trace(walk.handle_, walk.trace_.severity, walk.trace_.call), record(list),
              level(std::forward<Args>(args)...)
        {
        }

        Trace_Scope trace;
        DICOM_List* record;
        bool is_inside = false;
        int item = 0;
        Level level;
        std::optional<Open_Sequence> sequence;
    };

    void Enter_Record(List& list)
    {
        list.is_inside = true;
        list.item = 0;
        if (list.level.Enter(*list.record) && list.record->item != nullptr) {
            list.sequence.emplace(handle_, root_, *list.record, trace_.banners);
        }
    }
    void Leave_Record(List& list)
    {
        list.sequence.reset();
        list.level.Leave(*list.record);
        list.is_inside = false;
        list.record = list.record->next;
    }
    void Leave_List(List& list)
    {
        list.trace.Leave(1, trace_.reason);
        open_.pop_back();
        if (!open_.empty()) {
            DICOM_Attribute_Item_Stop(handle_, root_, trace_.banners);
        }
    }

    HWND handle_;
    DICOM_Root* root_;
    Walk_Trace trace_;
    std::deque<List> open_;
};

/** A walk that does the same with every record. */
class Record_Walk {
public:
    /** @param call  the name that each list is traced under, with "()" behind it */
    Record_Walk(HWND handle, DICOM_Root* root, unsigned int severity, const char* call)
        : Record_Walk(handle, root, Walk_Trace{severity, call})
    {
    }
    Record_Walk(HWND handle, DICOM_Root* root, const Walk_Trace& trace)
        : handle_(handle), root_(root), trace_(trace)
    {
    }

    /**
     * Calls `visit` for each record, before the items up to the record's first empty slot. Where it
     * returns false the items are left out.
     */
    template <class Visit>
    void Run(DICOM_List* list, Visit&& visit)
    {
        struct Level : Walk_Level {
            explicit Level(Visit& visit_) : visit(visit_)
            {
            }
            Level(const Level& around, const DICOM_List&) : visit(around.visit)
            {
            }
            bool Enter(DICOM_List& record)
            {
                if constexpr (std::is_void_v<decltype(visit(&record))>) {
                    visit(&record);
                    return true;
                } else {
                    return visit(&record);
                }
            }
            Visit& visit;
        };
        Nested_Walk<Level>(handle_, root_, trace_).Over(list, visit);
    }

private:
    HWND handle_;
    DICOM_Root* root_;
    Walk_Trace trace_;
};

}  // namespace lib_dicom

#endif
