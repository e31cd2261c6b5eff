#include "mend/findings/privacy.h"

#include "mend/findings/attributes.h"
#include "terms.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace lib_mend {

namespace {

bool Has_Persons(unsigned short group)
{
    constexpr unsigned short Groups[] = {0x0010, 0x0012, 0x0032, 0x0038, 0x4008};
    return group % 2 != 0 ||
           std::find(std::begin(Groups), std::end(Groups), group) != std::end(Groups);
}

std::string_view After(std::string_view text, std::string_view letters)
{
    return text.substr(std::min(text.find_first_not_of(letters), text.size()));
}

std::string_view After_Sign(std::string_view text)
{
    return text.substr(text.starts_with('+') || text.starts_with('-') ? 1 : 0);
}

/** A decimal number and nothing else: "1960-01-02" and "01.02.1960" are none. */
bool Is_Number(std::string_view text)
{
    constexpr std::string_view Digits = "0123456789";
    text = After_Sign(text);
    const std::size_t size = text.size();
    text = After(text, Digits);
    std::size_t digits = size - text.size();
    if (text.starts_with('.')) {
        const std::string_view fraction = After(text.substr(1), Digits);
        digits += text.size() - 1 - fraction.size();
        text = fraction;
    }
    if (digits > 0 && (text.starts_with('E') || text.starts_with('e'))) {
        const std::string_view exponent = After_Sign(text.substr(1));
        text = exponent.empty() ? text : After(exponent, Digits);
    }
    return digits > 0 && text.empty();
}

/** "gggg,eeee" with or without brackets. */
bool Is_Tag(std::string_view text)
{
    constexpr std::size_t Size = 9;
    if (text.size() == Size + 2 && text.starts_with('(') && text.ends_with(')')) {
        text = text.substr(1, Size);
    }
    return text.size() == Size && text[4] == ',' &&
           After(text, "0123456789abcdefABCDEF,").empty() && text.find(',') == text.rfind(',');
}

bool Is_Term(Tag tag, std::string_view text)
{
    const unsigned int high = tag.group & 0xFF00U;
    if (high == 0x5000 || high == 0x6000) {
        // The groups of curves and overlays repeat; the first stands for all.
        tag.group = static_cast<unsigned short>(high);
    }
    const auto* const row =
        std::lower_bound(std::begin(Terms), std::end(Terms), tag,
                         [](const Term_Row& entry, Tag wanted) { return entry.tag < wanted; });
    if (row == std::end(Terms) || row->tag != tag || text.empty()) {
        return false;
    }
    std::string_view terms = row->terms;
    while (!terms.empty()) {
        const std::size_t end = std::min(terms.find('|'), terms.size());
        if (terms.substr(0, end) == text) {
            return true;
        }
        terms.remove_prefix(std::min(end + 1, terms.size()));
    }
    return false;
}

bool Is_One_Harmless(Tag tag, unsigned short vr, std::string_view text)
{
    switch (vr) {
    case VR_DS:
    case VR_IS:
    case VR_FD:
    case VR_FL:
    case VR_SL:
    case VR_SS:
    case VR_SV:
    case VR_UL:
    case VR_US:
    case VR_UV:
        return Is_Number(text);
    case VR_AT:
        return Is_Tag(text);
    case VR_UI:
        return DICOM_UID_Get(std::string(text).c_str()) != nullptr;
    case VR_CS:
        return Is_Term(tag, text);
    default:
        return false;
    }
}

std::string_view Without_Padding(std::string_view text)
{
    constexpr std::string_view Padding(" \0", 2);
    const std::size_t first = text.find_first_not_of(Padding);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(Padding) + 1 - first);
}

}  // namespace

bool Is_Harmless(Tag tag, unsigned short vr, std::string_view value)
{
    if (Has_Persons(tag.group)) {
        return false;
    }
    const std::optional<Attribute> attribute = Find_Attribute(tag);
    if (vr == 0 && attribute && !attribute->vrs.empty()) {
        vr = attribute->vrs.front();
    }
    while (true) {
        const std::size_t end = std::min(value.find('\\'), value.size());
        const std::string_view one = Without_Padding(value.substr(0, end));
        if (!one.empty() && !Is_One_Harmless(tag, vr, one)) {
            return false;
        }
        if (end == value.size()) {
            return true;
        }
        value.remove_prefix(end + 1);
    }
}

bool Is_About_Person(Tag sequence)
{
    // Person Identification Code Sequence stands in groups of all kinds.
    constexpr Tag Person_Codes = {0x0040, 0x1101};
    return Has_Persons(sequence.group) || sequence == Person_Codes;
}

bool Is_Harmless_Match(Tag tag, std::string_view text)
{
    constexpr Tag Code_Value = {0x0008, 0x0100};
    const std::optional<Attribute> attribute = Find_Attribute(tag);
    const unsigned short vr = attribute && !attribute->vrs.empty() ? attribute->vrs.front()
                                                                   : static_cast<unsigned short>(0);
    if (Has_Persons(tag.group)) {
        // What is done for a trial, or how a visit stands, is not who it is done for.
        constexpr unsigned short Patients = 0x0010;
        return vr == VR_CS && tag.group != Patients && Is_Term(tag, text);
    }
    return Is_Harmless(tag, vr, text) || vr == VR_CS || vr == VR_AT || tag == Code_Value;
}

bool Is_Harmless_Choice(Tag tag, std::string_view text)
{
    return Is_Harmless_Match(tag, text) || Is_Term(tag, text);
}

}  // namespace lib_mend
