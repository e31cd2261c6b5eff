#include "terminal.h"

#include <cstdio>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

/** Width of lines that go to a file or a pipe. */
constexpr std::size_t Default_Width = 100;

/** Length of the UTF-8 letter at the front of a text, 0 when there is none. */
std::size_t Letter_Size(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t size = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
    if (size > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < size; ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // The controls of Latin-1, which some terminals obey, stand at U+0080 to U+009F.
    const bool is_control =
        size == 2 && first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0;
    return is_control ? 0 : size;
}

}  // namespace

Terminal Look_At(int descriptor)
{
    Terminal terminal;
    terminal.is_terminal = isatty(descriptor) != 0;
    terminal.colours = terminal.is_terminal && std::getenv("NO_COLOR") == nullptr;
    terminal.width = Default_Width;
    winsize size = {};
    if (terminal.is_terminal && ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        terminal.width = size.ws_col;
    }
    return terminal;
}

std::string Printable(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const auto first = static_cast<unsigned char>(text[0]);
        std::size_t size = Letter_Size(text);
        if (size == 0 || first < 0x20 || first == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", first);
            shown += escape;
            size = 1;
        } else {
            shown += text.substr(0, size);
        }
        text.remove_prefix(size);
    }
    return shown;
}

std::string Cut(const std::string& text, std::size_t width)
{
    constexpr std::string_view Dots = "...";
    std::size_t letters = 0;
    std::size_t end_of_kept = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool starts_letter = (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80;
        if (!starts_letter) {
            continue;
        }
        if (letters + Dots.size() <= width) {
            end_of_kept = i;
        }
        if (letters == width) {
            return text.substr(0, end_of_kept).append(width < Dots.size() ? "" : Dots);
        }
        ++letters;
    }
    return text;
}

}  // namespace dicom_mend
