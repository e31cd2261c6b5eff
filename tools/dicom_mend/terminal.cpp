#include "terminal.h"

#include "mend/findings/letters.h"
#include "process.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <unistd.h>

namespace dicom_mend {

namespace {

using lib_mend::Code_Range;
using lib_mend::First_Letter;
using lib_mend::Is_In;

constexpr std::string_view Dots = "...";

/** Columns of one letter: East Asian ones two, marks on the letter before them none. */
std::size_t Columns_Of(char32_t code)
{
    static constexpr Code_Range Marks[] = {{0x0300, 0x036F}, {0x0591, 0x05BD}, {0x064B, 0x065F},
                                           {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E},
                                           {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0x3099, 0x309A},
                                           {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};
    static constexpr Code_Range Wide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},  {0x3041, 0xA4CF},
                                          {0xA960, 0xA97F},   {0xAC00, 0xD7A3},  {0xF900, 0xFAFF},
                                          {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6},
                                          {0x1F300, 0x1F64F}, {0x20000, 0x3FFFD}};
    if (Is_In(Marks, code)) {
        return 0;
    }
    return Is_In(Wide, code) ? 2 : 1;
}

/** The front of a text: a letter, or a sequence for a colour. */
struct Piece {
    std::size_t size;
    std::size_t columns;
};

Piece First_Piece(std::string_view text)
{
    if (text[0] == '\033') {
        return {std::min(text.find('m'), text.size() - 1) + 1, 0};
    }
    const lib_mend::Letter letter = First_Letter(text);
    return {std::max<std::size_t>(letter.size, 1), Columns_Of(letter.code)};
}

}  // namespace

Terminal Look_At(int descriptor, Colours colours)
{
    Terminal terminal;
    terminal.is_terminal = isatty(descriptor) != 0;
    // An empty value does not count, see no-color.org.
    const char* const refused = std::getenv("NO_COLOR");
    const char* const kind = std::getenv("TERM");
    const bool has_colours = (refused == nullptr || *refused == '\0') &&
                             (kind == nullptr || std::string_view(kind) != "dumb");
    terminal.colours = colours == Colours::Always ||
                       (colours == Colours::Auto && terminal.is_terminal && has_colours);
    const std::size_t width = terminal.is_terminal ? Terminal_Width(descriptor) : 0;
    if (width > 0) {
        terminal.width = width;
    }
    return terminal;
}

std::size_t Columns_Of(std::string_view text)
{
    if (lib_mend::Is_Plain_ASCII(text)) {
        return text.size();
    }
    std::size_t columns = 0;
    while (!text.empty()) {
        const Piece piece = First_Piece(text);
        columns += piece.columns;
        text.remove_prefix(piece.size);
    }
    return columns;
}

std::string Fitted(std::string_view text, std::size_t width)
{
    const std::size_t room = width - std::min(width, Dots.size());
    std::size_t columns = 0;
    // Where the dots go, should the text turn out to be too long.
    std::size_t cut = 0;
    bool has_colours = false;
    for (std::size_t at = 0; at < text.size();) {
        const Piece piece = First_Piece(text.substr(at));
        has_colours = has_colours || text[at] == '\033';
        columns += piece.columns;
        at += piece.size;
        cut = columns <= room ? at : cut;
        if (columns > width) {
            return std::string(text.substr(0, cut))
                .append(Dots)
                .append(has_colours ? "\033[0m" : "");
        }
    }
    return std::string(text);
}

}  // namespace dicom_mend
