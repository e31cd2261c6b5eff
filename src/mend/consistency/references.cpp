// References inside a data set: whether what is called by a name is there.
#include "mend/consistency/reference_names.h"
#include "mend/consistency/rules.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace lib_mend {

namespace {

static_assert(std::is_sorted(std::begin(Name_Rows), std::end(Name_Rows),
                             [](const Name_Row& a, const Name_Row& b) { return a.tag < b.tag; }));

constexpr std::array<Tag, std::size(Name_Rows)> Tags_Of_Rows()
{
    std::array<Tag, std::size(Name_Rows)> tags;
    std::transform(std::begin(Name_Rows), std::end(Name_Rows), tags.begin(),
                   [](const Name_Row& row) { return row.tag; });
    return tags;
}

constexpr std::array Tags = Tags_Of_Rows();

bool Stands_There(const Watched& element, const Name_Row& row)
{
    const bool is_in = row.sequence == Top_Level
                           ? element.Is_Outermost()
                           : row.sequence == Any || row.sequence == element.sequence;
    return is_in && (row.outermost == Any || row.outermost == element.outermost);
}

const Name_Row* Row_Of(const Watched& element)
{
    Tag tag = element.tag;
    if ((tag.group & 0xFF00U) == 0x6000) {
        tag.group = 0x6000;
    }
    const auto* row =
        std::lower_bound(std::begin(Name_Rows), std::end(Name_Rows), tag,
                         [](const Name_Row& each, Tag wanted) { return each.tag < wanted; });
    while (row != std::end(Name_Rows) && row->tag == tag && !Stands_There(element, *row)) {
        ++row;
    }
    return row != std::end(Name_Rows) && row->tag == tag ? row : nullptr;
}

/** A number without its signs and zeros, a text without padding; empty for no value. */
std::string Name_In(const Subject_Set& subject, const DICOM_List& record)
{
    const Numbers numbers = subject.Whole_Numbers(record);
    return numbers.size() == 1 ? Text_Of(numbers) : std::string(subject.Text(record));
}

/** The names of a space, each with the item that it is of. */
using Names_Of_Space = std::set<std::pair<int, std::string>>;

struct Use {
    const Watched* element;
    const Name_Row* row;
    std::pair<int, std::string> name;
};

void Check(Subject_Set& subject)
{
    std::map<Space, Names_Of_Space> names;
    std::vector<Use> uses;
    subject.For_Each([&](const Watched& element) {
        const Name_Row* const row = Row_Of(element);
        if (row == nullptr) {
            return;
        }
        std::pair name(row->of_item ? element.item : 0, Name_In(subject, *element.record));
        if (name.second.empty()) {
            return;
        }
        if (row->role == Role::Refers || row->role == Role::Refers_If_Any) {
            uses.push_back({&element, row, std::move(name)});
        } else if (!names[row->space].insert(name).second && row->role == Role::Names_Once) {
            subject.doubts.push_back({element.record, Fault::Reference, Level::Kept, row->text,
                                      row->clause, name.second});
        }
    });
    for (const Use& use : uses) {
        const Names_Of_Space& known = names[use.row->space];
        const bool may_be_elsewhere = use.row->role == Role::Refers_If_Any && known.empty();
        if (!may_be_elsewhere && known.count(use.name) == 0) {
            subject.doubts.push_back({use.element->record, Fault::Reference, Level::Kept,
                                      use.row->text, use.row->clause, use.name.second});
        }
    }
}

}  // namespace

constinit const Rule Reference_Rule = {Tags, Check};

}  // namespace lib_mend
