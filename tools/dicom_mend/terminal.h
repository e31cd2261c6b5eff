// What the output goes to: its width, its colours, and what may be shown on it.
#ifndef TOOLS_DICOM_MEND_TERMINAL_H
#define TOOLS_DICOM_MEND_TERMINAL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace dicom_mend {

struct Terminal {
    bool is_terminal = false;
    bool colours = false;
    /** Columns of a line; no limit for what is no terminal. */
    std::size_t width = SIZE_MAX;
};

/** Looks at a file descriptor; NO_COLOR in the environment turns colours off. */
Terminal Look_At(int descriptor);

/**
 * A line with the markup bytes of the library's messages as the terminal shows it: markup turns into
 * colours or is dropped, text is made printable, and a line wider than the terminal ends in "...".
 */
std::string Rendered(std::string_view line, const Terminal& terminal);

}  // namespace dicom_mend

#endif
