// What a list has of its own, or else of the list around it.
#ifndef LIB_MEND_INHERITED_H
#define LIB_MEND_INHERITED_H

#include "mend/findings/findings.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace lib_mend {

/**
 * Follows a walk through a tree with something that each list has: the character sets, the sign of
 * its pixels. To be asked about the elements of the whole tree in their order, For_Each_Element's.
 */
template <class Value>
class Inherited {
public:
    explicit Inherited(Value outermost) : outermost_(std::move(outermost))
    {
    }

    /**
     * The value for the list that a record is in.
     *
     * @param find  find(record, around) makes the value of a list of which `record` is the first
     *              element, from that of the list around it
     */
    template <class Find>
    const Value& At(DICOM_List& record, const Path& way, Find&& find)
    {
        const int item = way.empty() ? 0 : way.back().item;
        // A walk visits a sequence before its items, which drops the levels of the last one.
        if (levels_.size() > way.size() + 1) {
            levels_.erase(levels_.begin() + static_cast<std::ptrdiff_t>(way.size()) + 1,
                          levels_.end());
        }
        if (levels_.size() == way.size() + 1) {
            if (levels_.back().item == item) {
                return levels_.back().value;
            }
            levels_.pop_back();
        }
        const Value& around = levels_.empty() ? outermost_ : levels_.back().value;
        levels_.push_back({item, find(record, around)});
        return levels_.back().value;
    }

private:
    struct Level {
        int item;
        Value value;
    };

    Value outermost_;
    std::vector<Level> levels_;
};

}  // namespace lib_mend

#endif
