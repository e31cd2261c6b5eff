// The formatted texts that the library keeps for its callers, in slots that are used in turn.
#ifndef LIB_DICOM_SRC_VALUES_RESULT_RING_H
#define LIB_DICOM_SRC_VALUES_RESULT_RING_H

#include "frame/report.h"

#include <string>

namespace lib_dicom {

/** Keeps a text until as many more were kept as there are slots. */
const char* Keep_Result(std::string text);

/** Releases all kept texts. */
void Result_Ring_Cleanup();

/** The body of a formatter: keeps the text that `make` returns; null after the memory message. */
template <class Make>
const char* Formatted(Place place, Make&& make)
{
    return Guarded(
        hwnd, place, static_cast<const char*>(nullptr), [&make] { return Keep_Result(make()); },
        "text");
}

}  // namespace lib_dicom

#endif
