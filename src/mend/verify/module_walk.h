// Goes through a data set beside a module list: each line of the list with the element it is about.
#ifndef LIB_MEND_MODULE_WALK_H
#define LIB_MEND_MODULE_WALK_H

#include "mend/verify/object.h"

#include <vector>

namespace lib_mend {

/** Sequences may nest as deep as memory allows, so that the walk does not call itself. */
class Module_Walk {
public:
    Module_Walk(Object& object, DICOM_List* module) : object_(object)
    {
        levels_.push_back({module, module});
    }

    /**
     * Calls `visit(node, record, group)` for each record of the module list, at the top level and in
     * each item that is there; `record` is null where the item in hand, which the object tells, does
     * not hold the attribute. `group` is its group: one line describes all groups that repeat.
     */
    template <class Visit>
    void Run(Visit&& visit)
    {
        while (const DICOM_List* const node = Next()) {
            if (!Object::Repeats(node->group)) {
                visit(*node, Open(*node), node->group);
                continue;
            }
            for (const unsigned short group : object_.Repetitions(node->group)) {
                visit(*node, object_.Find({group, node->element}), group);
            }
        }
    }

private:
    /** An item in hand, and the sequence in it whose items are being gone through. */
    struct Level {
        const DICOM_List* node;
        /** What the item is made of, for sequences that nest in themselves. */
        DICOM_List* nodes;
        const DICOM_List* sequence = nullptr;
        DICOM_List* inner = nullptr;
        int item = 0;
        bool has_nested = false;
    };

    const DICOM_List* Next();
    /** The element of a record of the list; its items come next. */
    const DICOM_List* Open(const DICOM_List& node);
    /** Turns to the items of an item that hold what it holds itself, once. */
    bool Nests(Level& level);
    void Next_Item();
    void Leave();

    Object& object_;
    std::vector<Level> levels_;
};

}  // namespace lib_mend

#endif
