#include "terminal.h"

#include "mend/findings/letters.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

using lib_mend::Code_Range;
using lib_mend::First_Letter;
using lib_mend::Is_In;

constexpr std::string_view Dots = "...";

/** Columns that a letter takes: East Asian ones two, marks on the letter before them none. */
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

/** What is shown for the front of a text. */
struct Piece {
    /** Bytes of the text that it stands for. */
    std::size_t size;
    std::string shown;
    std::size_t columns;
};

Piece First_Piece(std::string_view text)
{
    lib_mend::Shown_Letter front = lib_mend::First_Shown(text);
    const std::size_t columns =
        front.is_plain ? Columns_Of(First_Letter(text).code) : front.shown.size();
    return {front.size, std::move(front.shown), columns};
}

/** The terminal's sequence for the markup byte at the front of a line, null when there is none. */
const char* Colour_Of(std::string_view line)
{
    switch (line[0]) {
    case '\001':
        return "\033[36m";
    case '\002':
        return "\033[39m";
    case '\004':
        return "\033[35m";
    case '\005':
        return "\033[33m";
    case '\006':
        return "\033[32m";
    case '\360':
    case '\361':
        // The emphasis codes also lead letters of four bytes, which are text.
        return First_Letter(line).size != 0 ? nullptr : line[0] == '\361' ? "\033[1m" : "\033[22m";
    default:
        return nullptr;
    }
}

/** A line in two forms: as it is without a limit, and cut where dots still fit behind it. */
struct Cut_Line {
    std::string whole;
    std::string front;
    bool fits = true;
};

Cut_Line Cut(std::string_view line, const Terminal& terminal)
{
    const std::size_t room = terminal.width - std::min(terminal.width, Dots.size());
    Cut_Line result;
    std::size_t columns = 0;
    while (result.fits && !line.empty()) {
        const char* const colour = Colour_Of(line);
        const Piece piece = colour == nullptr  ? First_Piece(line)
                            : terminal.colours ? Piece{1, colour, 0}
                                               : Piece{1, "", 0};
        line.remove_prefix(piece.size);
        columns += piece.columns;
        result.whole += piece.shown;
        result.front += columns <= room ? piece.shown : "";
        result.fits = columns <= terminal.width;
    }
    return result;
}

}  // namespace

Terminal Look_At(int descriptor)
{
    Terminal terminal;
    terminal.is_terminal = isatty(descriptor) != 0;
    terminal.colours = terminal.is_terminal && std::getenv("NO_COLOR") == nullptr;
    winsize size = {};
    if (terminal.is_terminal && ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        terminal.width = size.ws_col;
    }
    return terminal;
}

std::string Rendered(std::string_view line, const Terminal& terminal)
{
    Cut_Line cut = Cut(line, terminal);
    std::string shown = cut.fits ? cut.whole : cut.front.append(Dots);
    return shown.append(terminal.colours ? "\033[0m" : "");
}

}  // namespace dicom_mend
