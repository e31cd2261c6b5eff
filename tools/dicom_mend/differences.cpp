#include "differences.h"

#include "mend/interface/element_value.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace dicom_mend {

namespace {

using lib_mend::Bytes;
using lib_mend::Data_Set;
using lib_mend::Item_Of;
using lib_mend::Tag_Of;
using lib_mend::VR_Of;

using Elements = std::vector<DICOM_List*>;

Elements Compared_Elements(DICOM_List* list)
{
    Elements elements = lib_mend::Sorted_Elements(list);
    std::erase_if(elements,
                  [](const DICOM_List* record) { return lib_mend::Is_Group_Length(*record); });
    return elements;
}

/** The bytes of a value, or of all fragments one behind the other, block by block. */
class Value_Bytes {
public:
    Value_Bytes(const Data_Set& set, const DICOM_List& record) : set_(set)
    {
        if (lib_mend::Holds_Fragments(record)) {
            lib_mend::For_Each_Fragment(
                record, [this](const DICOM_List& fragment) { parts_.push_back(&fragment); });
        } else {
            parts_.push_back(&record);
        }
    }
    /** Where each part ends makes a difference too. */
    std::vector<std::int64_t> Sizes() const
    {
        std::vector<std::int64_t> sizes;
        for (const DICOM_List* const part : parts_) {
            sizes.push_back(lib_mend::Size_Of(*part));
        }
        return sizes;
    }
    /** No bytes at the end, or when they cannot be read. */
    Bytes Next()
    {
        constexpr std::int64_t Block = std::int64_t{1} << 16;
        while (part_ < parts_.size() && at_ >= lib_mend::Size_Of(*parts_[part_])) {
            ++part_;
            at_ = 0;
        }
        if (part_ == parts_.size()) {
            return {};
        }
        const DICOM_List& part = *parts_[part_];
        const std::int64_t count = std::min(Block, lib_mend::Size_Of(part) - at_);
        Bytes bytes = lib_mend::Little_Endian_Bytes(set_, part, static_cast<std::size_t>(at_),
                                                    static_cast<std::size_t>(count));
        at_ += count;
        return bytes;
    }

private:
    const Data_Set& set_;
    std::vector<const DICOM_List*> parts_;
    std::size_t part_ = 0;
    std::int64_t at_ = 0;
};

/** Whether what is left of a value means nothing: blanks and NULs of a text, or one NUL behind bytes. */
class Rest {
public:
    explicit Rest(bool is_text) : is_text_(is_text)
    {
    }
    bool Take(std::span<const unsigned char> bytes)
    {
        size_ += bytes.size();
        return (is_text_ || size_ <= 1) &&
               std::all_of(bytes.begin(), bytes.end(), [this](unsigned char byte) {
                   return byte == 0 || (is_text_ && byte == ' ');
               });
    }

private:
    bool is_text_;
    std::size_t size_ = 0;
};

bool Is_Padding(Value_Bytes& value, Bytes begun, bool is_text)
{
    Rest rest(is_text);
    for (Bytes bytes = std::move(begun); !bytes.empty(); bytes = value.Next()) {
        if (!rest.Take(bytes)) {
            return false;
        }
    }
    return true;
}

/** Where two values differ; nothing when they are the same. */
std::optional<std::int64_t> Differs_At(Value_Bytes before, Value_Bytes after, bool is_text)
{
    std::int64_t at = 0;
    Bytes left;
    Bytes right;
    while (true) {
        left = left.empty() ? before.Next() : std::move(left);
        right = right.empty() ? after.Next() : std::move(right);
        const std::size_t both = std::min(left.size(), right.size());
        const auto here =
            std::mismatch(left.begin(), left.begin() + std::ptrdiff_t(both), right.begin());
        const std::ptrdiff_t same = here.first - left.begin();
        at += same;
        left.erase(left.begin(), here.first);
        right.erase(right.begin(), here.second);
        if (both == 0 || same < std::ptrdiff_t(both)) {
            break;
        }
    }
    const bool is_same = Is_Padding(before, std::move(left), is_text) &&
                         Is_Padding(after, std::move(right), is_text);
    return is_same ? std::nullopt : std::optional(at);
}

class Difference_Search {
public:
    Difference_Search(const Data_Set& before, const Data_Set& after,
                      const std::function<void(const Difference&)>& tell)
        : before_(before), after_(after), tell_(tell)
    {
    }

    void Compare(DICOM_List* before, DICOM_List* after)
    {
        levels_.push_back({Compared_Elements(before), Compared_Elements(after)});
        while (!levels_.empty()) {
            if (!Go_On()) {
                levels_.pop_back();
                if (!levels_.empty()) {
                    way_.pop_back();
                    Enter_Item(levels_.back().item + 1);
                }
            }
        }
    }

private:
    /** Two lists that are being compared, and the sequences of them that are open. */
    struct Level {
        Elements before = {};
        Elements after = {};
        std::size_t i = 0;
        std::size_t j = 0;
        const DICOM_List* left = nullptr;
        const DICOM_List* right = nullptr;
        int item = 0;
    };

    bool Go_On()
    {
        Level& level = levels_.back();
        const DICOM_List* left = level.i < level.before.size() ? level.before[level.i] : nullptr;
        const DICOM_List* right = level.j < level.after.size() ? level.after[level.j] : nullptr;
        if (left == nullptr && right == nullptr) {
            return false;
        }
        if (left != nullptr && right != nullptr) {
            right = Tag_Of(*left) < Tag_Of(*right) ? nullptr : right;
            left = right != nullptr && Tag_Of(*right) < Tag_Of(*left) ? nullptr : left;
        }
        level.i += left != nullptr ? 1 : 0;
        level.j += right != nullptr ? 1 : 0;
        if (left == nullptr || right == nullptr) {
            Tell_Alone(left != nullptr ? *left : *right, left != nullptr, 0);
            return true;
        }
        Compare_Elements(*left, *right);
        return true;
    }

    void Compare_Elements(const DICOM_List& left, const DICOM_List& right)
    {
        const bool have_items = lib_mend::Holds_Items(left) && lib_mend::Holds_Items(right);
        if (have_items) {
            if (VR_Of(left) != VR_Of(right)) {
                tell_({.way = way_, .before = &left, .after = &right});
            }
            levels_.back().left = &left;
            levels_.back().right = &right;
            Enter_Item(0);
            return;
        }
        const bool are_alike = VR_Of(left) == VR_Of(right) &&
                               lib_mend::Holds_Items(left) == lib_mend::Holds_Items(right) &&
                               lib_mend::Holds_Fragments(left) == lib_mend::Holds_Fragments(right);
        std::optional<std::int64_t> at = are_alike ? std::nullopt : std::optional<std::int64_t>(0);
        if (are_alike) {
            const Value_Bytes before(before_, left);
            const Value_Bytes after(after_, right);
            at = Differs_At(before, after, lib_mend::Is_Text(VR_Of(left)));
            if (!at && lib_mend::Holds_Fragments(left) && before.Sizes() != after.Sizes()) {
                at = 0;
            }
        }
        if (at) {
            tell_({.way = way_, .before = &left, .after = &right, .offset = *at});
        }
    }

    /** Goes on with an item of the open sequences, or with those behind that only one of them has. */
    void Enter_Item(int item)
    {
        Level& level = levels_.back();
        DICOM_List* const left = Item_Of(*level.left, item);
        DICOM_List* const right = Item_Of(*level.right, item);
        level.item = item;
        if (left != nullptr && right != nullptr) {
            way_.push_back({Tag_Of(*level.left), item});
            levels_.push_back({Compared_Elements(left), Compared_Elements(right)});
            return;
        }
        Tell_Items(*level.left, item, true, 0);
        Tell_Items(*level.right, item, false, 0);
    }

    /** Tells of a record that only one of the two has. */
    void Tell_Of(const DICOM_List& record, bool is_before)
    {
        tell_({.way = way_,
               .before = is_before ? &record : nullptr,
               .after = is_before ? nullptr : &record});
    }

    /** The same, and of what it holds: so many levels down, behind which their number is enough. */
    void Tell_Alone(const DICOM_List& record, bool is_before, int depth)
    {
        constexpr int Deepest = 16;
        Tell_Of(record, is_before);
        if (lib_mend::Holds_Items(record) && depth < Deepest) {
            Tell_Items(record, 0, is_before, depth + 1);
        }
    }

    void Tell_Items(const DICOM_List& sequence, int item, bool is_before, int depth)
    {
        for (; DICOM_List* const header = Item_Of(sequence, item); ++item) {
            way_.push_back({Tag_Of(sequence), item});
            Tell_Of(*header, is_before);
            for (const DICOM_List* const element : Compared_Elements(header)) {
                Tell_Alone(*element, is_before, depth);
            }
            way_.pop_back();
        }
    }

    const Data_Set& before_;
    const Data_Set& after_;
    const std::function<void(const Difference&)>& tell_;
    std::vector<Level> levels_;
    lib_mend::Path way_;
};

}  // namespace

void Find_Differences(const Data_Set& before, const Data_Set& after,
                      const std::function<void(const Difference&)>& tell)
{
    Difference_Search search(before, after, tell);
    search.Compare(before.meta.Head(), after.meta.Head());
    search.Compare(before.records.Head(), after.records.Head());
}

}  // namespace dicom_mend
