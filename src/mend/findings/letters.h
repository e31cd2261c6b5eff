// The letters of a text in UTF-8, and which of them must not reach a terminal.
#ifndef LIB_MEND_LETTERS_H
#define LIB_MEND_LETTERS_H

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace lib_mend {

struct Letter {
    /** Number of bytes, 0 when the bytes are no UTF-8. */
    std::size_t size = 0;
    char32_t code = 0;
};

/** The letter at the front of a text, which is not empty. */
Letter First_Letter(std::string_view text);

/** Nothing but letters, digits and signs of ASCII: the same in nearly every character set. */
bool Is_Plain_ASCII(std::string_view text);

struct Code_Range {
    char32_t first;
    char32_t last;
};

bool Is_In(std::span<const Code_Range> ranges, char32_t code);

/**
 * Controls, and letters that show nothing but change what is seen: they turn the direction of what
 * follows, join or part words without a sign, end lines, or spell out hidden tags.
 */
bool Is_Control(char32_t code);

/** What is shown for the front of a text. */
struct Shown_Letter {
    /** Bytes of the text that it stands for. */
    std::size_t size;
    std::string shown;
    /** The letter is shown as it is, not by an escape. */
    bool is_plain;
};

/** The letter at the front of a text, which is not empty, as Printable shows it. */
Shown_Letter First_Shown(std::string_view text);

/**
 * Text of a file as it may be shown: valid UTF-8 stays. Control characters and other bytes become
 * escapes \xHH, invisible letters that change what is seen become \u{HHHH}.
 */
std::string Printable(std::string_view text);
void Append_Printable(std::string& out, std::string_view text);

}  // namespace lib_mend

#endif
