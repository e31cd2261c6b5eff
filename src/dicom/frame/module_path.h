// The file that the library was loaded from.
#ifndef LIB_DICOM_SRC_FRAME_MODULE_PATH_H
#define LIB_DICOM_SRC_FRAME_MODULE_PATH_H

#include <filesystem>

namespace lib_dicom {

/** Tells whether the library is a part of the program itself, not a file of its own. */
bool Is_In_Program();

/** Path of the file that this library was loaded from; empty when the system does not tell. */
std::filesystem::path Module_Path();

}  // namespace lib_dicom

#endif
