// The elements that the rules on whole data sets look at, gathered in one walk: a rule goes through
// these few, and never through the tree.
#ifndef LIB_MEND_WATCHED_H
#define LIB_MEND_WATCHED_H

#include "mend/healing/numbers.h"
#include "mend/reading/data_set.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lib_mend {

/** An element with its place: the same tag gives a name in one sequence, and uses one in another. */
struct Watched {
    const DICOM_List* record = nullptr;
    Tag tag = {};
    /** The sequence around it and the outermost one, (0000,0000) at the top level. */
    Tag sequence = {};
    Tag outermost = {};
    /** The sequence around the item that holds `sequence`. */
    Tag around = {};
    /** Item of the outermost sequence. */
    int item = 0;
    /** A bit for each rule that wants it. */
    unsigned int rules = 0;

    bool Is_Outermost() const
    {
        return outermost == Tag{};
    }
};

/** What a rule found in an element; it is told of in the order of the tree. */
struct Doubt {
    const DICOM_List* record = nullptr;
    Fault fault = Fault::Other;
    Level level = Level::Kept;
    std::string text;
    /** Null for that of the kind. */
    const char* clause = nullptr;
    /** The value that is wrong; empty for none. */
    std::string value = {};
};

/** A data set as rules see it. */
struct Subject_Set {
    const Data_Set& set;
    /** In the order of the tree. */
    std::vector<Watched> watched = {};
    /** Those of the top level, by tag. */
    std::vector<const DICOM_List*> top = {};
    /** The bit of the rule that is at work. */
    unsigned int rule = 0;
    std::vector<Doubt> doubts = {};

    /** Calls `visit(element)` for the elements that the rule wants. */
    template <class Visit>
    void For_Each(Visit&& visit) const
    {
        for (const Watched& element : watched) {
            if ((element.rules & rule) != 0) {
                visit(element);
            }
        }
    }
    /** The element of the top level with a tag; null when there is none. It has to be watched. */
    const DICOM_List* Top(Tag tag) const;
    /** The text of an element without padding; empty for one that is too long for a name of anything. */
    std::string_view Text(const DICOM_List& record) const;
    /** The text of an element of the top level; empty when there is none. */
    std::string_view Top_Text(Tag tag) const;
    /** The whole numbers of an element; none when it holds anything else, or very many. */
    Numbers Whole_Numbers(const DICOM_List& record) const;
    /** Number of values without reading those of numbers; nothing when there are very many. */
    std::optional<std::size_t> Count(const DICOM_List& record) const;
};

/** The element at or behind another one, in the same item, that has a tag; null for none. */
const DICOM_List* Behind(const DICOM_List& record, Tag tag);

/** Collects an element if it is watched; to be asked about all elements in the order of a walk. */
void Watch(Subject_Set& subject, const DICOM_List& record, const Path& path);

/** Collects what is watched. */
void Watch(Subject_Set& subject);

/** Tells of the doubts. */
void Report_Doubts(const Subject_Set& subject, Findings& findings);

}  // namespace lib_mend

#endif
