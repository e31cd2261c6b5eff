#include "mend/verify/condition.h"

#include "mend/findings/attributes.h"
#include "mend/findings/privacy.h"
#include "mend/verify/value_view.h"
#include "mend/verify/verify.h"

#include <algorithm>
#include <optional>

namespace lib_mend {

namespace {

Truth Not(Truth truth)
{
    return truth == Truth::Unknown ? truth : truth == Truth::True ? Truth::False : Truth::True;
}

Truth Truth_Of(bool is_true)
{
    return is_true ? Truth::True : Truth::False;
}

bool Compares(double value, DICOM_Step::Relation relation, double with)
{
    switch (relation) {
    case DICOM_Step::Equal:
        return value == with;
    case DICOM_Step::Unequal:
        return value != with;
    case DICOM_Step::Greater:
        return value > with;
    case DICOM_Step::At_Least:
        return value >= with;
    case DICOM_Step::Less:
        return value < with;
    case DICOM_Step::At_Most:
        return value <= with;
    }
    return false;
}

const char* Relation_Text(DICOM_Step::Relation relation)
{
    switch (relation) {
    case DICOM_Step::Equal:
        return "";
    case DICOM_Step::Unequal:
        return "other than ";
    case DICOM_Step::Greater:
        return "above ";
    case DICOM_Step::At_Least:
        return "at least ";
    case DICOM_Step::Less:
        return "below ";
    case DICOM_Step::At_Most:
        return "at most ";
    }
    return "";
}

/** The indices of the values that a step compares: one, or all. */
template <class Test>
bool Any_Value(const Value_View& value, const DICOM_Step& step, Test&& test)
{
    const int first = step.value_number != 0 ? step.value_number - 1 : 0;
    const int end = step.value_number != 0 ? std::min(first + 1, value.Count()) : value.Count();
    for (int i = first; i < end; ++i) {
        if (test(i)) {
            return true;
        }
    }
    return false;
}

/** The first text of a step that a value equals; null for none. */
const char* Equal_Text(const Value_View& value, int index, const DICOM_Step& step)
{
    return value.Equal_Of(index, step.texts, step.text_count);
}

/** What a comparison comes to in one of the elements that an operand stands for; nothing without a value. */
std::optional<Truth> Compared(const DICOM_Step& step, const Data_Set& set, const DICOM_List& record)
{
    const auto with = static_cast<double>(step.number);
    if (step.kind == DICOM_Step::Count) {
        const std::optional<int> count = Value_Count(set, record);
        return count ? Truth_Of(Compares(*count, step.relation, with)) : Truth::Unknown;
    }
    const Value_View value(set, record);
    const bool found = Any_Value(value, step, [&](int i) {
        if (step.kind == DICOM_Step::Text) {
            return Equal_Text(value, i, step) != nullptr;
        }
        const std::optional<double> number = value.Number(i);
        return number && Compares(*number, step.relation, with);
    });
    const bool is_unequal = step.kind == DICOM_Step::Text && step.relation == DICOM_Step::Unequal;
    if (found) {
        return Truth_Of(!is_unequal);
    }
    if (!value.Is_Known()) {
        return Truth::Unknown;
    }
    const bool is_there = value.Count() >= std::max<int>(step.value_number, 1);
    return is_there ? std::optional(Truth_Of(is_unequal)) : std::nullopt;
}

/** Adds the texts that are not there yet. */
void Append_New(std::vector<std::string>& texts, std::vector<std::string> more)
{
    for (std::string& text : more) {
        if (!text.empty() && std::find(texts.begin(), texts.end(), text) == texts.end()) {
            texts.push_back(std::move(text));
        }
    }
}

/** "a, b and c"; of many reasons the first ones. */
std::string Spoken(const std::vector<std::string>& texts)
{
    constexpr std::size_t Most = 5;
    std::string spoken;
    for (std::size_t i = 0; i < std::min(texts.size(), Most); ++i) {
        const bool is_last = i + 1 == texts.size();
        spoken += (i == 0 ? "" : is_last ? " and " : ", ") + texts[i];
    }
    return spoken + (texts.size() > Most ? " and more" : "");
}

constexpr char Not_Quoted[] = "what the rule names";

/** Tells whether one of the sequences around an attribute says something of a person. */
bool Is_In_Person(const Path& way)
{
    return std::any_of(way.begin(), way.end(),
                       [](const Path_Step& step) { return Is_About_Person(step.sequence); });
}

/** "A", "A or B", "A, B or C"; of many the first ones. */
std::string Joined(const char* const* texts, int count)
{
    constexpr int Most = 12;
    std::string joined;
    for (int i = 0; i < std::min(count, Most); ++i) {
        const bool is_last = i == count - 1;
        joined += (i == 0 ? "" : is_last ? " or " : ", ") + std::string(texts[i]);
    }
    return joined + (count > Most ? ", ..." : "");
}

/** The attribute that a step compares. */
Tag Operand_Of(const DICOM_Step& step, unsigned short group)
{
    const unsigned int last = step.tags[step.tag_count - 1];
    const auto named = static_cast<unsigned short>(last >> 16U);
    return {named == 0x60FF || named == 0x50FF ? group : named,
            static_cast<unsigned short>(last & 0xFFFFU)};
}

bool Names_Private(const Value_View& value)
{
    for (int i = 0; i < value.Count(); ++i) {
        const std::string tag = value.Text(i);
        if (tag.size() == 8 &&
            std::string_view("13579BDF").find(tag[3]) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string Spoken_Name(Tag tag)
{
    const std::optional<Attribute> attribute = Find_Attribute(tag);
    return attribute ? attribute->name : "(" + Tag_Text(tag) + ")";
}

std::string Spoken_Choices(Tag tag, const Path& way, const char* const* texts, int count)
{
    // That it is not the only one may tell as much as that it is.
    const bool is_harmless =
        !Is_In_Person(way) && std::all_of(texts, texts + count, [=](const char* text) {
            return count == 1 ? Is_Harmless_Match(tag, text) : Is_Harmless_Choice(tag, text);
        });
    return is_harmless ? Joined(texts, count) : Not_Quoted;
}

Verdict Conditions::Evaluate(const DICOM_Condition& condition, unsigned short group)
{
    // No recursion: the steps stand in the order in which they are evaluated.
    const std::size_t bottom = stack_.size();
    for (int i = 0; i < condition.step_count; ++i) {
        const DICOM_Step& step = condition.steps[i];
        if (step.kind == DICOM_Step::Not) {
            stack_.back().truth = Not(stack_.back().truth);
        } else if (step.kind == DICOM_Step::And || step.kind == DICOM_Step::Or) {
            const Verdict right = stack_.back();
            stack_.pop_back();
            Verdict& left = stack_.back();
            left.truth = step.kind == DICOM_Step::And ? std::min(left.truth, right.truth)
                                                      : std::max(left.truth, right.truth);
            left.lacks_operand = left.lacks_operand || right.lacks_operand;
        } else {
            stack_.push_back(Test(step, group));
        }
    }
    const Verdict verdict = stack_.size() > bottom ? stack_.back() : Verdict();
    stack_.resize(bottom);
    return verdict;
}

Verdict Conditions::Test(const DICOM_Step& step, unsigned short group)
{
    if (!object_.Is_Same_Everywhere(step)) {
        return Test_Now(step, group);
    }
    const auto known = known_.find(&step);
    return known != known_.end() ? known->second
                                 : known_.emplace(&step, Test_Now(step, group)).first->second;
}

Verdict Conditions::Test_Now(const DICOM_Step& step, unsigned short group)
{
    switch (step.kind) {
    case DICOM_Step::Always:
        return {Truth::True};
    case DICOM_Step::Class: {
        const std::string& uid = object_.SOP_Class();
        return {uid.empty() ? Truth::Unknown
                            : Truth_Of(std::find(step.texts, step.texts + step.text_count, uid) !=
                                       step.texts + step.text_count)};
    }
    case DICOM_Step::Present:
        return {Truth_Of(object_.Any_Of(step, group, [](const DICOM_List&) { return true; }))};
    case DICOM_Step::Valued:
        return {Truth_Of(object_.Any_Of(step, group, [&](const DICOM_List& record) {
            return !Is_Empty(object_.Set(), record);
        }))};
    case DICOM_Step::Private:
        return {Truth_Of(object_.Any_Of(step, group, [&](const DICOM_List& record) {
            return VR_Of(record) == VR_AT && Names_Private(Value_View(object_.Set(), record));
        }))};
    case DICOM_Step::Text:
    case DICOM_Step::Number:
    case DICOM_Step::Count:
        return Compare(step, group);
    default:
        return {Truth::Unknown};
    }
}

Verdict Conditions::Compare(const DICOM_Step& step, unsigned short group)
{
    bool is_there = false;
    Truth truth = Truth::False;
    object_.Any_Of(step, group, [&](const DICOM_List& record) {
        const std::optional<Truth> here = Compared(step, object_.Set(), record);
        is_there = is_there || here.has_value();
        truth = std::max(truth, here.value_or(Truth::False));
        return truth == Truth::True;
    });
    if (!is_there) {
        const bool is_count = step.kind == DICOM_Step::Count;
        const bool zero_fits =
            is_count && Compares(0, step.relation, static_cast<double>(step.number));
        return {Truth_Of(zero_fits), !is_count};
    }
    return {truth};
}

std::string Conditions::Reason(const DICOM_Condition& condition, unsigned short group,
                               const DICOM_Condition* other)
{
    std::vector<std::string> reasons = Reasons(condition, group);
    if (other != nullptr) {
        Append_New(reasons, Reasons(*other, group));
    }
    return Spoken(reasons);
}

std::vector<std::string> Conditions::Reasons(const DICOM_Condition& condition, unsigned short group)
{
    struct Part {
        Truth truth;
        std::vector<std::string> texts;
    };
    std::vector<Part> parts;
    for (int i = 0; i < condition.step_count; ++i) {
        const DICOM_Step& step = condition.steps[i];
        if (step.kind == DICOM_Step::Not) {
            parts.back().truth = Not(parts.back().truth);
        } else if (step.kind == DICOM_Step::And || step.kind == DICOM_Step::Or) {
            Part right = std::move(parts.back());
            parts.pop_back();
            Part& left = parts.back();
            // One side is enough to make a sum true, or a product false.
            const Truth enough = step.kind == DICOM_Step::Or ? Truth::True : Truth::False;
            if (right.truth == enough && left.truth != enough) {
                left = std::move(right);
            } else if (left.truth != enough) {
                left.truth = step.kind == DICOM_Step::And ? std::min(left.truth, right.truth)
                                                          : std::max(left.truth, right.truth);
                Append_New(left.texts, std::move(right.texts));
            }
        } else {
            const Truth truth = Test(step, group).truth;
            parts.push_back({truth, {}});
            Append_New(parts.back().texts, {Describe(step, truth, group)});
        }
    }
    return parts.empty() ? std::vector<std::string>() : std::move(parts.back().texts);
}

std::string Conditions::Matched(const DICOM_Step& step, unsigned short group)
{
    std::string matched;
    object_.Any_Of(step, group, [&](const DICOM_List& record) {
        const Value_View value(object_.Set(), record);
        return Any_Value(value, step, [&](int i) {
            const char* const text = Equal_Text(value, i, step);
            matched = text != nullptr ? text : "";
            return text != nullptr;
        });
    });
    return matched;
}

std::string Conditions::Describe(const DICOM_Step& step, Truth truth, unsigned short group)
{
    if (step.kind == DICOM_Step::Always || step.kind == DICOM_Step::Unknown) {
        return {};
    }
    const bool holds = truth == Truth::True;
    const std::string is = holds ? " is " : " is not ";
    if (step.kind == DICOM_Step::Class) {
        const char* const name = DICOM_UID_Name(object_.SOP_Class().c_str());
        return "the SOP class is " + (name != nullptr ? std::string(name) : "another");
    }
    const std::string name =
        (step.value_number != 0 ? "value " + std::to_string(step.value_number) + " of "
                                : std::string()) +
        Spoken_Name(Operand_Of(step, group)) + (step.up != 0 ? " of the item around" : "");
    switch (step.kind) {
    case DICOM_Step::Present:
        return name + is + "there";
    case DICOM_Step::Valued:
        return name + (holds ? " has a value" : " has no value");
    case DICOM_Step::Private:
        return name + (holds ? " names a private attribute" : " names no private attribute");
    case DICOM_Step::Count:
        return name + (holds ? " has " : " does not have ") + Relation_Text(step.relation) +
               std::to_string(step.number) +
               (step.number == 1 ? " value or item" : " values or items");
    case DICOM_Step::Number:
        return name + is +
               (May_Be_Quoted(step, group)
                    ? Relation_Text(step.relation) + std::to_string(step.number)
                    : Not_Quoted);
    default:
        return Describe_Comparison(step, truth, name, group);
    }
}

Path Conditions::Way_Of(const DICOM_Step& step) const
{
    Path way = step.origin == DICOM_Step::Here ? object_.Way() : Path();
    for (int i = 0; i + 1 < step.tag_count; ++i) {
        way.push_back({{static_cast<unsigned short>(step.tags[i] >> 16U),
                        static_cast<unsigned short>(step.tags[i] & 0xFFFFU)}});
    }
    return way;
}

bool Conditions::May_Be_Quoted(const DICOM_Step& step, unsigned short group) const
{
    if (step.kind != DICOM_Step::Number && step.kind != DICOM_Step::Text) {
        return true;
    }
    const Tag tag = Operand_Of(step, group);
    const bool is_harmless =
        step.kind == DICOM_Step::Number
            ? Is_Harmless_Match(tag, std::to_string(step.number))
            : std::all_of(step.texts, step.texts + step.text_count,
                          [=](const char* text) { return Is_Harmless_Match(tag, text); });
    return is_harmless && !Is_In_Person(Way_Of(step));
}

std::string Conditions::Words(const DICOM_Condition& condition, unsigned short group) const
{
    const bool may_be_quoted =
        std::all_of(condition.steps, condition.steps + condition.step_count,
                    [&](const DICOM_Step& step) { return May_Be_Quoted(step, group); });
    return may_be_quoted
               ? std::string(condition.text, static_cast<std::size_t>(condition.text_size))
               : "what its line says of values that may identify a person";
}

std::string Conditions::Describe_Comparison(const DICOM_Step& step, Truth truth,
                                            const std::string& name, unsigned short group)
{
    const bool is_same = object_.Is_Same_Everywhere(step);
    const auto known = described_.find(&step);
    if (is_same && known != described_.end()) {
        return known->second;
    }
    // That one item differs is told, whatever others hold.
    const bool differs = step.relation == DICOM_Step::Unequal && truth == Truth::True;
    const std::string matched = differs ? std::string() : Matched(step, group);
    const Tag tag = Operand_Of(step, group);
    const Path way = Way_Of(step);
    const bool is_harmless = Is_Harmless_Match(tag, matched) && !Is_In_Person(way);
    std::string text =
        name + (matched.empty() ? " is not " + Spoken_Choices(tag, way, step.texts, step.text_count)
                                : " is " + (is_harmless ? matched : Not_Quoted));
    if (is_same) {
        described_.emplace(&step, text);
    }
    return text;
}

}  // namespace lib_mend
