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

bool Is_Number(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789+-.Ee ") == text.npos &&
           text.find_first_of("0123456789") != text.npos;
}

/** "gggg,eeee" with or without brackets. */
bool Is_Tag(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789abcdefABCDEF,() ") == text.npos;
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

}  // namespace lib_mend
