#include "definitions/clause_reader.h"

#include "definitions/module_value.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"
#include "util/utf8_decoding.h"

#include <Lib_DICOM/dictionary.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

/** Parentheses and negations inside each other; a bound for the stack. */
constexpr int Max_Nesting = 32;
/** Tags of one operand, and enclosing items that it goes up: more than a data set has levels. */
constexpr std::size_t Max_Way = 16;

struct Relation_Sign {
    std::string_view sign;
    DICOM_Step::Relation relation;
};
/** Longer signs before those that they begin with. */
constexpr Relation_Sign Relation_Signs[] = {
    {"!=", DICOM_Step::Unequal}, {">=", DICOM_Step::At_Least}, {"<=", DICOM_Step::At_Most},
    {"=", DICOM_Step::Equal},    {">", DICOM_Step::Greater},   {"<", DICOM_Step::Less}};

struct State_Word {
    std::string_view word;
    DICOM_Step::Kind kind;
};
constexpr State_Word State_Words[] = {{"present", DICOM_Step::Present},
                                      {"valued", DICOM_Step::Valued},
                                      {"private", DICOM_Step::Private}};

/** The groups that repeat (PS3.5 section 7.6), as a condition writes them. */
constexpr std::pair<std::string_view, unsigned short> Repeating_Groups[] = {{"50xx", 0x50FF},
                                                                            {"60xx", 0x60FF}};

/** The VRs that the dictionary has for the attribute of a condition; none where it knows none. */
std::span<const unsigned short> VRs_Of(unsigned int tag)
{
    const unsigned int group = tag >> 16U;
    const bool repeats = group == 0x50FF || group == 0x60FF;
    const TAG_db_Elems* const entry =
        NEMA_db_Locate(static_cast<unsigned short>(repeats ? group & 0xFF00U : group),
                       static_cast<unsigned short>(tag & 0xFFFFU));
    if (entry == nullptr) {
        return {};
    }
    const auto count = static_cast<std::size_t>(std::abs(entry->nb_vr));
    const std::span<const unsigned short> vrs(entry->vr, count);
    return std::all_of(vrs.begin(), vrs.end(),
                       [](unsigned short vr) { return Find_Any_VR_Rule(vr) != nullptr; })
               ? vrs
               : std::span<const unsigned short>();
}

}  // namespace

Clauses Clause_Reader::Read(const char* expected, unsigned short vr, unsigned short group)
{
    group_ = group;
    Clauses clauses;
    std::vector<DICOM_Value_Set> sets;
    std::vector<DICOM_Item_Count> counts;
    while (!cursor_.At_End()) {
        const std::size_t column = cursor_.Column();
        if (cursor_.Take_Name("if")) {
            if (clauses.required.step_count != 0) {
                throw Definition_Fault{This_Unit, column, "a line has one condition"};
            }
            clauses.required = Read_Condition();
            Read_Otherwise(clauses);
        } else if (cursor_.Take_Name("in")) {
            sets.push_back(Read_Values(false, vr));
        } else if (cursor_.Take_Name("like")) {
            sets.push_back(Read_Values(true, vr));
        } else if (cursor_.Take_Name("items")) {
            counts.push_back(Read_Items());
        } else {
            cursor_.Expected(This_Unit, expected, column);
        }
        expected = "a clause (if, in, like or items) or the end of the line";
    }
    clauses.value_set_count = static_cast<int>(sets.size());
    clauses.value_sets = arena_.Keep(sets);
    clauses.item_count_count = static_cast<int>(counts.size());
    clauses.item_counts = arena_.Keep(counts);
    return clauses;
}

void Clause_Reader::Read_Otherwise(Clauses& clauses)
{
    if (!cursor_.Take_Name("else")) {
        return;
    }
    if (cursor_.Take_Name("free")) {
        clauses.otherwise = DICOM_Rule::Free;
    } else if (cursor_.Take_Name("absent")) {
        clauses.otherwise = DICOM_Rule::Absent;
    } else if (cursor_.Take_Name("if")) {
        clauses.otherwise = DICOM_Rule::Limited;
        clauses.allowed = Read_Condition();
    } else {
        cursor_.Expected(This_Unit, "what holds otherwise (free, absent or if)");
    }
}

DICOM_Value_Set Clause_Reader::Read_Values(bool is_extensible, unsigned short vr)
{
    DICOM_Value_Set set = {};
    set.is_extensible = is_extensible ? 1 : 0;
    set.value_number = Read_Value_Number();
    std::vector<const char*> values;
    // That a sequence has none is said of the clause.
    const std::span<const unsigned short> vrs(&vr, vr == VR_SQ ? 0 : 1);
    do {
        if (!values.empty() && cursor_.Take_Sign("...")) {
            set.has_more = 1;
            break;
        }
        values.push_back(Read_Compared("a value", vrs));
    } while (cursor_.Take('|'));
    set.count = static_cast<int>(values.size());
    set.values = arena_.Keep(values);
    set.when = Read_When();
    return set;
}

DICOM_Item_Count Clause_Reader::Read_Items()
{
    cursor_.At_End();
    const std::size_t column = cursor_.Column();
    const auto number = [&] {
        return static_cast<int>(std::min<long long>(Read_Number("a number of items"), INT_MAX));
    };
    DICOM_Item_Count count = {};
    count.min = number();
    count.max = !cursor_.Take_Sign("..") ? count.min : cursor_.Take('*') ? -1 : number();
    if (count.min < 0 || (count.max != -1 && count.max < count.min)) {
        throw Definition_Fault{This_Unit, column,
                               "the numbers of items begin at 0 and do not descend"};
    }
    count.when = Read_When();
    return count;
}

DICOM_Condition Clause_Reader::Read_When()
{
    return cursor_.Take_Name("when") ? Read_Condition() : DICOM_Condition{};
}

DICOM_Condition Clause_Reader::Read_Condition()
{
    steps_.clear();
    depth_ = 0;
    cursor_.At_End();
    const std::size_t begin = cursor_.Column();
    Read_Sum();
    const std::string_view text = cursor_.Text_From(begin);
    return {static_cast<int>(steps_.size()), arena_.Keep(steps_), arena_.Keep(text),
            static_cast<int>(text.size())};
}

void Clause_Reader::Put(DICOM_Step::Kind kind)
{
    DICOM_Step step = {};
    step.kind = kind;
    steps_.push_back(step);
}

void Clause_Reader::Read_Sum()
{
    Read_Product();
    while (cursor_.Take_Name("or")) {
        Read_Product();
        Put(DICOM_Step::Or);
    }
}

void Clause_Reader::Read_Product()
{
    Read_Factor();
    while (cursor_.Take_Name("and")) {
        Read_Factor();
        Put(DICOM_Step::And);
    }
}

void Clause_Reader::Read_Factor()
{
    cursor_.At_End();
    if (depth_ == Max_Nesting) {
        throw Definition_Fault{This_Unit, cursor_.Column(),
                               "expected at most " + std::to_string(Max_Nesting) +
                                   " parentheses and negations inside each other"};
    }
    ++depth_;
    if (cursor_.Take_Name("not")) {
        Read_Factor();
        Put(DICOM_Step::Not);
    } else if (cursor_.Take_Name("true")) {
        Put(DICOM_Step::Always);
    } else if (cursor_.Take_Name("unknown")) {
        Put(DICOM_Step::Unknown);
    } else if (cursor_.Take_Name("sop")) {
        Read_Class();
    } else if (cursor_.Peek() == '(' && !cursor_.Is_Tag()) {
        cursor_.Take('(');
        Read_Sum();
        if (!cursor_.Take(')')) {
            cursor_.Expected(This_Unit, "a closing parenthesis");
        }
    } else {
        Read_Test();
    }
    --depth_;
}

void Clause_Reader::Read_Class()
{
    if (!cursor_.Take('=')) {
        cursor_.Expected(This_Unit, "\"=\" and the UID of a SOP class");
    }
    std::vector<const char*> uids;
    do {
        cursor_.At_End();
        const std::size_t column = cursor_.Column();
        const std::string_view uid = cursor_.Run("0123456789.");
        if (uid.empty()) {
            cursor_.Expected(This_Unit, "the UID of a SOP class");
        }
        try {
            Check_Compared(VR_UI, uid);
        } catch (const Value_Fault& fault) {
            throw Definition_Fault{fault.place, column, fault.text};
        }
        uids.push_back(arena_.Keep(uid));
    } while (cursor_.Take('|'));
    Put(DICOM_Step::Class);
    steps_.back().text_count = static_cast<int>(uids.size());
    steps_.back().texts = arena_.Keep(uids);
}

void Clause_Reader::Read_Test()
{
    DICOM_Step step = {};
    cursor_.At_End();
    const std::size_t operand = cursor_.Column();
    Read_Operand(step);
    const bool is_state = Read_State(step);
    const bool is_count = !is_state && cursor_.Take_Name("count");
    if ((is_state || is_count) && step.value_number != 0) {
        throw Definition_Fault{This_Unit, operand, "a value by its number can only be compared"};
    }
    if (!is_state) {
        cursor_.At_End();
        const std::size_t column = cursor_.Column();
        if (!Read_Relation(step.relation)) {
            cursor_.Expected(This_Unit, "a test (present, valued, private, count or a comparison)",
                             column);
        }
        if (is_count) {
            step.kind = DICOM_Step::Count;
            step.number = Read_Number("a number");
        } else {
            Read_Comparison(step);
        }
    }
    steps_.push_back(step);
}

void Clause_Reader::Read_Comparison(DICOM_Step& step)
{
    const std::span<const unsigned short> vrs = VRs_Of(step.tags[step.tag_count - 1]);
    if (step.relation == DICOM_Step::Equal || step.relation == DICOM_Step::Unequal) {
        step.kind = DICOM_Step::Text;
        std::vector<const char*> texts;
        do {
            texts.push_back(Read_Compared("a text", vrs));
        } while (cursor_.Take('|'));
        step.text_count = static_cast<int>(texts.size());
        step.texts = arena_.Keep(texts);
        return;
    }
    cursor_.At_End();
    const std::size_t column = cursor_.Column();
    step.kind = DICOM_Step::Number;
    step.number = Read_Number("a number");
    if (!vrs.empty() && std::none_of(vrs.begin(), vrs.end(), Is_Number_VR)) {
        throw Definition_Fault{This_Unit, column,
                               "an attribute of VR " + VR_Text(vrs.front()) +
                                   " has no numbers to be compared with"};
    }
}

void Clause_Reader::Read_Operand(DICOM_Step& step)
{
    cursor_.At_End();
    const std::size_t column = cursor_.Column();
    if (cursor_.Take('/')) {
        step.origin = DICOM_Step::Top;
    } else if (cursor_.Take('@')) {
        step.origin = DICOM_Step::Frame;
    }
    while (step.origin == DICOM_Step::Here && step.up < Max_Way && cursor_.Take_Sign("../")) {
        ++step.up;
    }
    std::vector<unsigned int> tags;
    do {
        tags.push_back(Read_Tag());
    } while (tags.size() < Max_Way && cursor_.Take('/'));
    if (tags.size() == Max_Way || step.up == Max_Way) {
        throw Definition_Fault{This_Unit, column,
                               "expected less than " + std::to_string(Max_Way) +
                                   " steps from one attribute to another"};
    }
    step.tag_count = static_cast<int>(tags.size());
    step.tags = arena_.Keep(tags);
    step.value_number = Read_Value_Number();
}

unsigned int Clause_Reader::Read_Tag()
{
    cursor_.At_End();
    const std::size_t column = cursor_.Column();
    const std::string_view tag = cursor_.Tag();
    std::optional<unsigned short> group = Hex_Number(tag.substr(1, 4));
    for (const auto& [word, number] : Repeating_Groups) {
        if (tag.substr(1, 4) == word) {
            Check_Repeating(number, word, column);
            group = number;
        }
    }
    const std::optional<unsigned short> element = Hex_Number(tag.substr(6, 4));
    if (!group || !element) {
        cursor_.Expected(This_Unit, "the tag (gggg,eeee) of an attribute", column);
    }
    return static_cast<unsigned int>(*group) << 16U | *element;
}

void Clause_Reader::Check_Repeating(unsigned short number, std::string_view word,
                                    std::size_t column) const
{
    if ((group_ & 0xFF00U) != (number & 0xFF00U)) {
        throw Definition_Fault{
            This_Unit, column,
            std::string(word) + " stands for the repeating group of the attribute of the line, " +
                (group_ == 0 ? "and this line has none" : "whose group does not repeat so")};
    }
}

bool Clause_Reader::Read_State(DICOM_Step& step)
{
    const auto* const state =
        std::find_if(std::begin(State_Words), std::end(State_Words),
                     [&](const State_Word& known) { return cursor_.Take_Name(known.word); });
    if (state == std::end(State_Words)) {
        return false;
    }
    step.kind = state->kind;
    return true;
}

bool Clause_Reader::Read_Relation(DICOM_Step::Relation& relation)
{
    const auto* const sign =
        std::find_if(std::begin(Relation_Signs), std::end(Relation_Signs),
                     [&](const Relation_Sign& known) { return cursor_.Take_Sign(known.sign); });
    if (sign == std::end(Relation_Signs)) {
        return false;
    }
    relation = sign->relation;
    return true;
}

long long Clause_Reader::Read_Number(const char* what)
{
    cursor_.At_End();
    const std::size_t column = cursor_.Column();
    const std::string_view digits = cursor_.Run("-0123456789");
    long long number = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        cursor_.Expected(This_Unit, what, column);
    }
    return number;
}

unsigned short Clause_Reader::Read_Value_Number()
{
    if (!cursor_.Take('[')) {
        return 0;
    }
    const std::size_t column = cursor_.Column();
    const long long number = Read_Number("the number of a value");
    if (number < 1 || number > USHRT_MAX || !cursor_.Take(']')) {
        cursor_.Expected(This_Unit, "the number of a value, from 1, and \"]\"", column);
    }
    return static_cast<unsigned short>(number);
}

const char* Clause_Reader::Read_Compared(const char* what, std::span<const unsigned short> vrs)
{
    cursor_.At_End();
    const std::size_t column = cursor_.Column();
    const std::string text = cursor_.Quoted(what);
    if (text.empty()) {
        throw Definition_Fault{This_Unit, column,
                               "an empty text is no value; \"valued\" asks whether there is one"};
    }
    if (!lib_util::Is_Utf8(text)) {
        throw Definition_Fault{This_Unit, column, "the text is no UTF-8"};
    }
    std::optional<Value_Fault> fault;
    for (const unsigned short vr : vrs) {
        try {
            Check_Compared(vr, text);
            return arena_.Keep(text);
        } catch (const Value_Fault& thrown) {
            fault = fault ? fault : thrown;
        }
    }
    if (fault) {
        throw Definition_Fault{fault->place, column, fault->text};
    }
    return arena_.Keep(text);
}

}  // namespace lib_dicom
