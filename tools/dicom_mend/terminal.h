// What the output goes to: its width, its colours, and what may be shown on it.
#ifndef TOOLS_DICOM_MEND_TERMINAL_H
#define TOOLS_DICOM_MEND_TERMINAL_H

#include <cstddef>
#include <string>
#include <string_view>

namespace dicom_mend {

struct Terminal {
    bool is_terminal = false;
    bool colours = false;
    std::size_t width = 0;
};

/** Looks at a file descriptor; NO_COLOR in the environment turns colours off. */
Terminal Look_At(int descriptor);

/**
 * Text of a file as it may be shown: valid UTF-8 stays, control characters and other bytes become
 * escapes.
 */
std::string Printable(std::string_view text);

/** Cuts a text in UTF-8 to a number of characters; a cut one ends in "...". */
std::string Cut(const std::string& text, std::size_t width);

}  // namespace dicom_mend

#endif
