#include "mend/reading/straight.h"

#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

constexpr std::size_t Most_Levels = 64;
/** So many sound headers behind each other are no chance. */
constexpr int Several = 4;

/** One walk over headers. Values, items and sequences of defined length are passed over. */
class Walk {
public:
    Walk(Window& window, std::vector<Level_View> levels, std::int64_t at, bool is_lenient)
        : window_(window), levels_(std::move(levels)), at_(at), is_lenient_(is_lenient)
    {
    }

    Straight_Reading Run(int most)
    {
        Straight_Reading result;
        int sound = 0;
        std::int64_t run_from = at_;
        const std::int64_t end = levels_.front().limit;
        while (at_ != end || levels_.size() > 1) {
            const std::int64_t here = at_;
            if (levels_.size() > Most_Levels || result.headers == most ||
                at_ > levels_.back().limit || !Step()) {
                result.to = here;
                result.sound = all_sound_;
                return result;
            }
            ++result.headers;
            sound = is_sound_ ? sound + 1 : 0;
            run_from = sound <= 1 ? here : run_from;
            result.sound_from = sound >= Several ? run_from : result.sound_from;
        }
        result.holds = true;
        result.to = at_;
        result.sound = all_sound_;
        return result;
    }

private:
    bool Step()
    {
        Level_View& level = levels_.back();
        if (level.end == at_ && levels_.size() > 1) {
            levels_.pop_back();
            return true;
        }
        const Element_Header header = Decode_Header(window_.At(at_, Longest_Header), level.mode);
        if (header.size == 0) {
            return false;
        }
        if (header.tag.group == Delimiter_Group) {
            return Step_Delimiter(header);
        }
        return level.kind == Level_Kind::List && Step_Element(header);
    }

    bool Step_Delimiter(const Element_Header& header)
    {
        const Level_View level = levels_.back();
        const std::int64_t content = at_ + header.size;
        if (header.tag == Item_Tag) {
            if (level.kind == Level_Kind::List) {
                return false;
            }
            at_ = content;
            if (!header.Is_Undefined() && !is_lenient_) {
                at_ += header.length;
                return true;
            }
            if (level.kind == Level_Kind::Fragments) {
                at_ += header.Is_Undefined() ? 0 : header.length;
                return !header.Is_Undefined();
            }
            Level_View item = level;
            item.kind = Level_Kind::List;
            item.last = {};
            item.end = header.Is_Undefined() ? Level_View::Open : content + header.length;
            item.limit = header.Is_Undefined() ? level.limit : item.end;
            item.mode = Mode_In_Item(window_, content, item);
            levels_.push_back(item);
            return item.limit <= level.limit;
        }
        const bool is_open = level.end == Level_View::Open && levels_.size() > 1;
        const Tag wanted = level.kind == Level_Kind::List ? Item_End_Tag : Sequence_End_Tag;
        const bool is_spare = is_lenient_ && content == level.end && header.tag == wanted;
        if (header.tag != wanted || header.length != 0 || (!is_open && !is_spare)) {
            return false;
        }
        at_ = content;
        levels_.pop_back();
        return !levels_.empty();
    }

    bool Step_Element(const Element_Header& header)
    {
        Level_View& list = levels_.back();
        const TAG_db_Elems* const entry = header.Entry();
        if (!Is_Possible(header, entry, list)) {
            return false;
        }
        is_sound_ = Judge(header, at_, list) == Grade::Sound;
        all_sound_ += is_sound_ ? 1 : 0;
        list.last = header.tag;
        at_ += header.size;
        if (!header.Is_Undefined()) {
            const bool is_sequence = Has_Nested_Content(header, entry) && header.length != 0;
            const Tag first = is_sequence
                                  ? Decode_Header(window_.At(at_, Item_Header_Size), list.mode).tag
                                  : Item_Tag;
            at_ += header.length;
            return is_lenient_ || first == Item_Tag;
        }
        Level_View inside = list;
        const bool is_pixels = header.tag == Pixel_Data_Tag;
        inside.kind = is_pixels ? Level_Kind::Fragments : Level_Kind::Sequence;
        inside.end = Level_View::Open;
        inside.mode = header.vr == VR_UN ? static_cast<unsigned char>(0) : list.mode;
        levels_.push_back(inside);
        return true;
    }

    bool Is_Possible(const Element_Header& header, const TAG_db_Elems* entry,
                     const Level_View& list) const
    {
        const bool is_explicit = header.form != Header_Form::Implicit;
        const bool fits = header.Is_Undefined() ? Has_Nested_Content(header, entry)
                                                : at_ + header.size + header.length <= list.limit;
        if (!fits || header.tag.group == 0xFFFF || header.reserved != 0 ||
            (is_explicit && !Is_Known_VR(header.vr))) {
            return false;
        }
        if (is_lenient_) {
            return header.tag.group != 0;
        }
        const bool is_even = header.Is_Undefined() || header.length % 2 == 0;
        return is_even && header.tag > list.last;
    }

    Window& window_;
    std::vector<Level_View> levels_;
    std::int64_t at_;
    bool is_lenient_;
    bool is_sound_ = false;
    int all_sound_ = 0;
};

}  // namespace

Straight_Reading Read_Straight(Window& window, std::vector<Level_View> levels, std::int64_t at,
                               int most)
{
    return Walk(window, std::move(levels), at, false).Run(most);
}

bool Are_Items(Window& window, std::int64_t at, std::int64_t end, unsigned char mode)
{
    Level_View value;
    value.kind = Level_Kind::Sequence;
    value.mode = mode;
    value.end = end;
    value.limit = end;
    // A delimiter behind the items needs not be there.
    Level_View around = value;
    around.kind = Level_Kind::List;
    return Walk(window, {around, value}, at, true).Run(std::numeric_limits<int>::max()).holds;
}

}  // namespace lib_mend
