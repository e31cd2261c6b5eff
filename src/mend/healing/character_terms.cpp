#include "mend/healing/character_terms.h"

#include <algorithm>
#include <vector>

namespace lib_mend {

namespace {

constexpr std::string_view Blank_Bytes(" \0", 2);

std::string_view Without_Blanks(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(Blank_Bytes);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(Blank_Bytes) - first + 1);
}

std::vector<std::string_view> Values_Of(std::string_view value)
{
    std::vector<std::string_view> values;
    for (;;) {
        const std::size_t end = std::min(value.find('\\'), value.size());
        values.push_back(value.substr(0, end));
        if (end == value.size()) {
            return values;
        }
        value.remove_prefix(end + 1);
    }
}

/** Tells whether the name of the encoding means the same set, and not one in other bytes. */
bool Is_Told_By_Encoding(const Repertoire& set)
{
    return set.kind != Character_Kind::Single_94 && set.kind != Character_Kind::Double;
}

const Repertoire* Set_Of(std::string_view term)
{
    const std::string key = Term_Key(term);
    for (const Repertoire& set : Repertoires()) {
        if (key == Term_Key(set.term) || (Is_Told_By_Encoding(set) && Is_Key_Of(key, set))) {
            return &set;
        }
    }
    return nullptr;
}

/** @param extended  as the term of a set that escape sequences lead to */
std::string Defined_Term(const Repertoire& set, bool extended)
{
    if (set.kind == Character_Kind::UTF_8) {
        return std::string(UTF_8_Term);
    }
    if (set.Stands_Alone()) {
        return std::string(set.term);
    }
    // The default repertoire has a term for use with others only.
    const bool is_extension =
        extended || set.kind == Character_Kind::Double || &set == &Default_Repertoire();
    return (is_extension ? "ISO 2022 IR " : "ISO_IR ") + std::string(set.term);
}

bool Is_Written_As_Extension(std::string_view term)
{
    return term.find("2022") != term.npos;
}

/** Number of terms, the empty first one that stands for the default repertoire included. */
std::size_t Count_Of(const std::vector<std::string_view>& values)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        count = Without_Blanks(values[i]).empty() ? count : i + 1;
    }
    return count;
}

/** A value with its term respelt; its blanks around go with the term. */
std::string Respelt(std::string_view value, bool has_many)
{
    const std::string_view term = Without_Blanks(value);
    const Repertoire* const set = Set_Of(term);
    if (set == nullptr) {
        return std::string(value);
    }
    if (set == &Default_Repertoire() && !has_many && !Is_Written_As_Extension(term)) {
        // "ISO_IR 6" follows the rule of the terms, but is none of them: no value stands for it.
        return {};
    }
    std::string defined = Defined_Term(*set, has_many || Is_Written_As_Extension(term));
    return term == defined ? std::string(value) : defined;
}

}  // namespace

Character_Terms Read_Character_Terms(std::string_view value)
{
    Character_Terms terms;
    const std::vector<std::string_view> values = Values_Of(value);
    const bool has_several = Count_Of(values) > 1;
    for (const std::string_view each : values) {
        const std::string_view term = Without_Blanks(each);
        const Repertoire* const set = Set_Of(term);
        terms.has_unknown = terms.has_unknown || (set == nullptr && !term.empty());
        terms.is_crowded = terms.is_crowded || (has_several && set && set->Stands_Alone());
    }
    for (const std::string_view each : values) {
        terms.value += Respelt(each, has_several && !terms.is_crowded);
        terms.value += '\\';
    }
    terms.value.pop_back();
    terms.respelt = terms.value != value;
    return terms;
}

const Repertoire* Single_Repertoire(std::string_view value)
{
    const std::vector<std::string_view> values = Values_Of(value);
    const std::size_t count = Count_Of(values);
    return count == 0 ? &Default_Repertoire() : count == 1 ? Set_Of(values[0]) : nullptr;
}

bool Is_Character_Set(std::string_view value)
{
    const Character_Terms terms = Read_Character_Terms(value);
    return !terms.has_unknown && !terms.is_crowded && Count_Of(Values_Of(value)) > 0;
}

}  // namespace lib_mend
