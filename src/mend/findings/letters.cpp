#include "mend/findings/letters.h"

#include "util/utf8_decoding.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace lib_mend {

Letter First_Letter(std::string_view text)
{
    const lib_util::Utf8_Char first = lib_util::Decode_Utf8(text);
    return {first.size, first.code};
}

bool Is_Plain_ASCII(std::string_view text)
{
    // Most texts are shorter than what a loop over many bytes at once begins to pay for.
    constexpr std::uint64_t Each = 0x0101010101010101;
    constexpr std::uint64_t Highest = 0x80 * Each;
    const auto has_others = [](std::uint64_t eight) {
        // What is below a blank borrows from its highest bit, and only '\x7F' and more carry into it.
        return ((eight | (eight - ' ' * Each) | (eight + Each)) & Highest) != 0;
    };
    while (text.size() >= sizeof Each) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data(), sizeof eight);
        if (has_others(eight)) {
            return false;
        }
        text.remove_prefix(sizeof eight);
    }
    if (text.empty()) {
        return true;
    }
    std::uint64_t rest = ' ' * Each;
    std::memcpy(&rest, text.data(), text.size());
    return !has_others(rest);
}

bool Is_In(std::span<const Code_Range> ranges, char32_t code)
{
    return std::any_of(ranges.begin(), ranges.end(), [code](const Code_Range& range) {
        return code >= range.first && code <= range.last;
    });
}

bool Is_Control(char32_t code)
{
    static constexpr Code_Range Controls[] = {
        {0x0000, 0x001F},   {0x007F, 0x009F},  // C0 and C1
        {0x00AD, 0x00AD},                      // soft hyphen
        {0x061C, 0x061C},   {0x180E, 0x180E},  // marks of direction and of Mongolian
        {0x200B, 0x200F},                      // of no width, and marks of direction
        {0x2028, 0x202E},                      // ends of lines, and changes of direction
        {0x2060, 0x206F},                      // invisible operators, isolates of direction
        {0xFEFF, 0xFEFF},   {0xFFF9, 0xFFFB},  // byte order mark, annotations
        {0xE0000, 0xE007F},                    // tags
    };
    return Is_In(Controls, code);
}

Shown_Letter First_Shown(std::string_view text)
{
    /** Invisible letters from here on are shown by their code, controls by their bytes. */
    constexpr char32_t First_Long_Code = 0x00A0;
    const Letter letter = First_Letter(text);
    if (letter.size != 0 && !Is_Control(letter.code)) {
        return {letter.size, std::string(text.substr(0, letter.size)), true};
    }
    char escape[16];
    if (letter.code >= First_Long_Code) {
        std::snprintf(escape, sizeof escape, "\\u{%X}", static_cast<unsigned int>(letter.code));
        return {letter.size, escape, false};
    }
    std::snprintf(escape, sizeof escape, "\\x%02X",
                  static_cast<unsigned int>(static_cast<unsigned char>(text[0])));
    return {1, escape, false};
}

void Append_Printable(std::string& out, std::string_view text)
{
    if (Is_Plain_ASCII(text)) {
        out += text;
        return;
    }
    while (!text.empty()) {
        const Shown_Letter letter = First_Shown(text);
        out += letter.shown;
        text.remove_prefix(letter.size);
    }
}

std::string Printable(std::string_view text)
{
    std::string shown;
    Append_Printable(shown, text);
    return shown;
}

}  // namespace lib_mend
