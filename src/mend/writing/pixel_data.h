// Group 7FE0 on its way from the source to the output: the image callback of this client.
#ifndef LIB_MEND_PIXEL_DATA_H
#define LIB_MEND_PIXEL_DATA_H

#include "mend/reading/data_set.h"

#include <exception>

namespace lib_mend {

/** What the callback needs; handed through the writer as its parameter. */
struct Pixel_Job {
    const Data_Set& set;
    Findings& findings;
    /** Write a group length in front of the group. */
    bool group_lengths = false;
    /** What the callback threw; it must not cross the library. */
    std::exception_ptr failure;
};

/** Reports what the callback will change: VRs, odd lengths, fragments made of a plain value. */
void Report_Pixel_Changes(const Data_Set& set, Findings& findings);

/** The callback for DICOM_Write_Image_Fct; `param` is a Pixel_Job. */
int Write_Pixel_Data(HWND handle, char code, unsigned int offset, char** buffer, void* param);

}  // namespace lib_mend

#endif
