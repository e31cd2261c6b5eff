#include "attributes/repair/character_text.h"

#include <algorithm>

namespace lib_dicom {

namespace {

constexpr char Escape = '\033';

/** Length of the escape sequence at the front; tells whether two-byte characters follow it. */
std::size_t Escape_Size(std::string_view text, bool& two_bytes)
{
    if (text.size() > 1 && text[1] == '$') {
        const bool names_set = text.size() > 2 && (text[2] == '(' || text[2] == ')');
        // A set in G1 has the high bits set, so that its bytes are no backslashes.
        two_bytes = !names_set || text[2] == '(';
        return names_set ? 4 : 3;
    }
    two_bytes = false;
    return 3;
}

bool Is_Continuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

bool Is_UTF_8(std::string_view text)
{
    while (!text.empty()) {
        const auto first = static_cast<unsigned char>(text[0]);
        const std::size_t size = first < 0x80                    ? 1
                                 : first >= 0xC2 && first < 0xE0 ? 2
                                 : first >= 0xE0 && first < 0xF0 ? 3
                                 : first >= 0xF0 && first < 0xF5 ? 4
                                                                 : 0;
        if (size == 0 || size > text.size() ||
            !std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(size),
                         Is_Continuation)) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

}  // namespace

std::size_t Find_Separator_In_Letters(std::string_view text)
{
    const std::size_t first = text.find('\\');
    if (first == text.npos || text.substr(0, first).find(Escape) == text.npos) {
        return first;
    }
    bool two_bytes = false;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == Escape) {
            at += Escape_Size(text.substr(at), two_bytes);
        } else if (two_bytes) {
            at += 2;
        } else if (text[at] == '\\') {
            return at;
        } else {
            ++at;
        }
    }
    return text.npos;
}

std::size_t Fitting_Size(std::string_view text, std::size_t max)
{
    const bool is_plain = std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x80 && c != Escape;
    });
    if (is_plain) {
        return std::min(max, text.size());
    }
    if (!Is_UTF_8(text)) {
        return text.size();
    }
    std::size_t size = 0;
    for (std::size_t letters = 0; size < text.size(); ++size) {
        letters += Is_Continuation(text[size]) ? 0U : 1U;
        if (letters > max) {
            break;
        }
    }
    return size;
}

}  // namespace lib_dicom
