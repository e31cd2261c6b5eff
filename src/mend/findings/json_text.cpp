#include "mend/findings/json_text.h"

#include "mend/findings/letters.h"

#include <cstdio>

namespace lib_mend {

namespace {

/** "\uHHHH", in two for letters beyond the first plane. */
std::string Escaped(char32_t code)
{
    char text[16];
    if (code < 0x10000) {
        std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned int>(code));
    } else {
        const auto rest = static_cast<unsigned int>(code - 0x10000);
        std::snprintf(text, sizeof text, "\\u%04x\\u%04x", 0xD800U + (rest >> 10),
                      0xDC00U + (rest & 0x3FF));
    }
    return text;
}

/** @param replaced  what stands for a byte that is no UTF-8 */
template <class Replaced>
std::string Quoted(std::string_view text, Replaced&& replaced)
{
    std::string quoted = "\"";
    while (!text.empty()) {
        const Letter letter = First_Letter(text);
        const std::string_view bytes = text.substr(0, letter.size);
        if (letter.size == 0) {
            quoted += replaced(static_cast<unsigned char>(text[0]));
        } else if (bytes == "\"" || bytes == "\\") {
            quoted.append("\\").append(bytes);
        } else {
            quoted += Is_Control(letter.code) ? Escaped(letter.code) : std::string(bytes);
        }
        text.remove_prefix(letter.size == 0 ? 1 : letter.size);
    }
    return quoted + '"';
}

}  // namespace

std::string JSON_Name(std::string_view name)
{
    return Quoted(name, [](unsigned char) { return std::string("\xEF\xBF\xBD"); });
}

std::string JSON_Text(std::string_view text)
{
    return Quoted(text, [](unsigned char byte) {
        char shown[8];
        std::snprintf(shown, sizeof shown, "\\\\x%02X", static_cast<unsigned int>(byte));
        return std::string(shown);
    });
}

}  // namespace lib_mend
