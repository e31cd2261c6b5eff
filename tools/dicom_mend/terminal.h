// What the output goes to: its width, its colours, and what may be shown on it.
#ifndef TOOLS_DICOM_MEND_TERMINAL_H
#define TOOLS_DICOM_MEND_TERMINAL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace dicom_mend {

/** The usual colour again. */
inline constexpr std::string_view No_Colour = "\033[39m";

/** When text has colours: on a terminal, unless NO_COLOR is in the environment. */
enum class Colours { Auto, Always, Never };

/** How users want to see text. */
struct Looks {
    Colours colours = Colours::Auto;
    bool pager = true;
};

struct Terminal {
    bool is_terminal = false;
    bool colours = false;
    /** Columns of a line; no limit for what is no terminal. */
    std::size_t width = SIZE_MAX;
};

Terminal Look_At(int descriptor, Colours colours = Colours::Auto);

/** Columns of a printable text in UTF-8. */
std::size_t Columns_Of(std::string_view text);

/**
 * A printable text that takes no more than a number of columns: one that is longer ends in "...", and
 * in the usual colours. Sequences for colours take no columns.
 */
std::string Fitted(std::string_view text, std::size_t width);

}  // namespace dicom_mend

#endif
