#include "mend/interface/element_path.h"

#include "mend/findings/attributes.h"
#include "mend/reading/tree.h"
#include "mend/writing/encoder.h"

#include <charconv>

namespace lib_mend {

namespace {

template <class Number>
bool Parse_Number(std::string_view text, int base, Number& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && !text.empty() && end == text.data() + text.size();
}

}  // namespace

std::optional<Tag> Parse_Tag_Digits(std::string_view text)
{
    constexpr std::size_t Plain = 8;
    constexpr std::size_t Half = 4;
    if (text.size() > 2 && text.front() == '(' && text.back() == ')') {
        text = text.substr(1, text.size() - 2);
    }
    const bool has_comma = text.size() == Plain + 1 && text[Half] == ',';
    if (!has_comma && text.size() != Plain) {
        return std::nullopt;
    }
    Tag tag;
    const bool are_digits = Parse_Number(text.substr(0, Half), 16, tag.group) &&
                            Parse_Number(text.substr(text.size() - Half), 16, tag.element);
    return are_digits ? std::make_optional(tag) : std::nullopt;
}

std::optional<Tag> Parse_Tag(std::string_view text)
{
    const std::optional<Tag> tag = Parse_Tag_Digits(text);
    return tag ? tag : Tag_Of_Keyword(text);
}

std::optional<Element_Path> Parse_Path(std::string_view text)
{
    Element_Path path;
    for (std::size_t slash = text.find('/'); slash != text.npos; slash = text.find('/')) {
        std::string_view step = text.substr(0, slash);
        text.remove_prefix(slash + 1);
        const std::size_t bracket = step.find('[');
        if (bracket == step.npos || step.back() != ']') {
            return std::nullopt;
        }
        int item = 0;
        const std::optional<Tag> sequence = Parse_Tag(step.substr(0, bracket));
        const std::string_view number = step.substr(bracket + 1, step.size() - bracket - 2);
        if (!sequence || !Parse_Number(number, 10, item) || item < 0) {
            return std::nullopt;
        }
        path.way.push_back({*sequence, item});
    }
    const std::optional<Tag> tag = Parse_Tag(text);
    if (!tag) {
        return std::nullopt;
    }
    path.tag = *tag;
    return path;
}

Found_Element Find_Element(const Data_Set& set, const Element_Path& path)
{
    constexpr unsigned short Meta_Group = 0x0002;
    if (!path.way.empty()) {
        DICOM_List* const item = Item_At(set.records.Head(), path.way);
        return {item, item != nullptr ? Find_Record(item, path.tag) : nullptr};
    }
    const Record_List& top = path.tag.group == Meta_Group ? set.meta : set.records;
    return {nullptr, Find_Record(top.Head(), path.tag)};
}

}  // namespace lib_mend
