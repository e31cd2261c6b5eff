// Walks over a list and the lists of its items, however deep they nest.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_WALK_H
#define LIB_DICOM_SRC_ATTRIBUTES_WALK_H

#include "frame/report.h"

#include <Lib_DICOM/attributes.h>

#include <type_traits>

namespace lib_dicom {

/** What a walk over items changes in a context, to be put back behind it. */
struct Context_Mark {
    int depth;
    int item;
};

/** Opens a record's sequence in the context. @param trace  severity word of the banner, or 0 */
Context_Mark Open_Items(HWND handle, DICOM_Root* root, const DICOM_List& record,
                        unsigned int trace);

/**
 * Closes it again. A sequence below the deepest level shares that level with the one around it,
 * which is still open.
 */
void Close_Items(HWND handle, DICOM_Root* root, const Context_Mark& mark, unsigned int trace);

/** Where a walk goes in a list that it has come to. */
struct Way_In {
    /** First record to visit, null to leave the list at once. */
    DICOM_List* first = nullptr;
    /** The list to walk instead of this one, one level deeper; null for none. */
    DICOM_List** instead = nullptr;
};

/** What an operation does on its walk; see Walk_Lists for the order. */
class List_Visitor {
public:
    virtual ~List_Visitor() = default;

    /** Comes to a list, by the address of its head. */
    virtual Way_In Enter(DICOM_List** list)
    {
        return {.first = *list};
    }
    /**
     * Comes to a record, before its items.
     *
     * @param owner  the record whose item the list is, null for the list that the walk began with
     * @return false to leave out its items
     */
    virtual bool Visit_Record(DICOM_List** list, DICOM_List* record, const DICOM_List* owner)
    {
        static_cast<void>(list);
        static_cast<void>(record);
        static_cast<void>(owner);
        return true;
    }
    /** Leaves a record, behind its items. What follows it may be unlinked. */
    virtual void Leave_Record(DICOM_List** list, DICOM_List* record)
    {
        static_cast<void>(list);
        static_cast<void>(record);
    }
    /** Leaves a list, whether it was walked or not. */
    virtual void Leave()
    {
    }
};

/** How a walk keeps the context on its way. */
struct Walk_Context {
    /** Null for a walk outside any context. */
    DICOM_Root* root;
    /** One item is started for all items of a record. */
    bool one_item_for_all = false;
    /** Severity word of the banner lines, 0 for none. */
    unsigned int trace = Trace_Entry;
};

/**
 * Walks a list in the order that a function would which calls itself for the list of each item, up
 * to the first empty slot of a record.
 *
 * @param place  where the memory message comes from
 * @return false after that message: the walk ended in the middle, the context is as it was
 */
bool Walk_Lists(HWND handle, Place place, const Walk_Context& context, DICOM_List** list,
                List_Visitor& visitor);

/** How a walk is traced: as one call for each list. */
struct Walk_Trace {
    unsigned int severity;
    /** The name of the call with "()" behind it. */
    const char* call;
    /** The reason of leaving a list. */
    const char* reason = "";
};

/** A walk that is traced. */
class Traced_Visitor : public List_Visitor {
public:
    Traced_Visitor(HWND handle, const Walk_Trace& trace) : handle_(handle), trace_(trace)
    {
    }

    Way_In Enter(DICOM_List** list) override
    {
        Trace_In(handle_, trace_.severity, trace_.call);
        return {.first = *list};
    }
    void Leave() override
    {
        Trace_Out(handle_, trace_.severity, trace_.call, trace_.reason);
    }

private:
    HWND handle_;
    Walk_Trace trace_;
};

/**
 * Calls `visit` with each record of a list and of the lists of its items, and with the list that it
 * stands in. Where it returns false the items are left out.
 *
 * @return false after the memory message
 */
template <class Visit>
bool Visit_Records(HWND handle, Place place, const Walk_Context& context, const Walk_Trace& trace,
                   DICOM_List* list, Visit&& visit)
{
    class Visitor final : public Traced_Visitor {
    public:
        Visitor(HWND window, const Walk_Trace& step, Visit& call)
            : Traced_Visitor(window, step), call_(call)
        {
        }
        bool Visit_Record(DICOM_List** in, DICOM_List* record, const DICOM_List*) override
        {
            if constexpr (std::is_void_v<decltype(call_(record, *in))>) {
                call_(record, *in);
                return true;
            } else {
                return call_(record, *in);
            }
        }

    private:
        Visit& call_;
    };
    Visitor visitor(handle, trace, visit);
    return Walk_Lists(handle, place, context, &list, visitor);
}

}  // namespace lib_dicom

#endif
