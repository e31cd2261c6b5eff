// Texts: tokens, patterns, edits in place, wide and narrow copies, parts of paths.
#include <Lib_Util/Lib_Util.h>

#include "utf8.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

using namespace lib_util;

namespace {

constexpr char Small_Letter(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

/** Appends a character in the platform's wide form. */
wchar_t* Put_Wide(wchar_t* end, char32_t code)
{
    if constexpr (sizeof(wchar_t) == 2) {
        if (code > 0xFFFF) {
            *end++ = static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
            code = 0xDC00 + (code & 0x3FF);
        }
    }
    *end++ = static_cast<wchar_t>(code);
    return end;
}

struct Path_Parts {
    std::string_view directory;
    std::string_view base;
    std::string_view extension;
};

Path_Parts Split_Path(std::string_view path)
{
    const std::size_t name_begin = path.find_last_of("/\\") + 1;
    const std::string_view name = path.substr(name_begin);
    const std::size_t dot = name.rfind('.');
    const std::size_t base_size = dot == 0 ? name.size() : std::min(dot, name.size());
    return {path.substr(0, name_begin), name.substr(0, base_size), name.substr(base_size)};
}

void Copy_Part(std::string_view part, char* buffer)
{
    if (buffer != nullptr) {
        buffer[part.copy(buffer, part.size())] = '\0';
    }
}

/** A copy on the C heap, null without memory. */
char* Copy_Text(std::string_view text)
{
    auto* const copy = static_cast<char*>(std::calloc(text.size() + 1, 1));
    Copy_Part(text, copy);
    return copy;
}

/** Keeps a text for the thread's caller. */
char* Keep_Text(std::string_view text) noexcept
{
    thread_local std::string kept;

    try {
        kept = text;
    } catch (const std::bad_alloc&) {
        kept.clear();
    }
    return kept.data();
}

}  // namespace

char* Str_Strtok(char* text, const char* delimiters)
{
    thread_local char* next = nullptr;

    if (text != nullptr) {
        next = text;
    }
    if (next == nullptr) {
        return nullptr;
    }
    char* const token = next + std::strspn(next, delimiters);
    if (*token == '\0') {
        next = nullptr;
        return nullptr;
    }
    char* const end = token + std::strcspn(token, delimiters);
    next = *end == '\0' ? nullptr : end + 1;
    *end = '\0';
    return token;
}

int Str_Match(const char* pattern, const char* text)
{
    if (pattern == nullptr || text == nullptr) {
        return 0;
    }
    // Only the last star needs a second try: what an earlier one took leaves the later stars no
    // less to choose from. That bounds the time by the product of the lengths.
    const char* star = nullptr;
    const char* star_text = nullptr;
    while (*text != '\0') {
        if (*pattern == '*') {
            star = pattern++;
            star_text = text;
        } else if (*pattern != '\0' &&
                   (*pattern == '?' || Small_Letter(*pattern) == Small_Letter(*text))) {
            ++pattern;
            ++text;
        } else if (star != nullptr) {
            pattern = star + 1;
            text = ++star_text;
        } else {
            return 0;
        }
    }
    return pattern[std::strspn(pattern, "*")] == '\0';
}

char* Str_Strip_Quotes(char* text)
{
    if (text != nullptr) {
        *std::remove(text, text + std::strlen(text), '"') = '\0';
    }
    return text;
}

char* Str_Strip_Spaces(char* text)
{
    if (text != nullptr) {
        const char* const begin = text + std::strspn(text, " ");
        std::size_t size = std::strlen(begin);
        while (size > 0 && begin[size - 1] == ' ') {
            --size;
        }
        std::memmove(text, begin, size);
        text[size] = '\0';
    }
    return text;
}

char* Str_To_Lower(char* text)
{
    if (text != nullptr) {
        std::transform(text, text + std::strlen(text), text, Small_Letter);
    }
    return text;
}

wchar_t* Char_2_Wchar(const char* text)
{
    if (text == nullptr) {
        return nullptr;
    }
    // No character has more wide units than it has bytes.
    std::string_view rest(text);
    auto* const wide = static_cast<wchar_t*>(std::calloc(rest.size() + 1, sizeof(wchar_t)));
    if (wide == nullptr) {
        return nullptr;
    }
    wchar_t* end = wide;
    while (!rest.empty()) {
        const Utf8_Char character = Decode_Utf8(rest);
        const bool is_utf8 = character.size != 0;
        end = Put_Wide(end,
                       is_utf8 ? character.code : Wide_Byte(static_cast<unsigned char>(rest[0])));
        rest.remove_prefix(is_utf8 ? character.size : 1);
    }
    return wide;
}

char* Wchar_2_Char(const wchar_t* text)
{
    if (text == nullptr) {
        return nullptr;
    }
    try {
        std::string narrow;
        for (std::wstring_view rest = text; !rest.empty();) {
            const char32_t code = Take_Wide(rest);
            if (Is_Wide_Byte(code)) {
                narrow += static_cast<char>(code & 0xFF);
            } else if (Is_Character(code)) {
                Append_Utf8(narrow, code);
            } else {
                return nullptr;
            }
        }
        return Copy_Text(narrow);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

char* Get_Generic_Name(const char* path, char* directory, char* base, char* extension)
{
    const Path_Parts parts = Split_Path(path != nullptr ? path : "");
    Copy_Part(parts.directory, directory);
    Copy_Part(parts.base, base);
    Copy_Part(parts.extension, extension);
    return base != nullptr ? base : Keep_Text(parts.base);
}
