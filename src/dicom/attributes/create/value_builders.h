// Builders of value bytes: C values become the value of a record.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_VALUE_BUILDERS_H
#define LIB_DICOM_SRC_ATTRIBUTES_VALUE_BUILDERS_H

#include <Lib_DICOM/frame.h>

#include <cstdarg>

namespace lib_dicom {

/** The variable arguments of a call; a class, so that handing it on means the same everywhere. */
struct Arguments {
    std::va_list list;
};

/** How the values of a VR are built. */
struct Builder_Rule;

/** The rule of a VR; null when there is none. */
const Builder_Rule* Find_Builder_Rule(unsigned short vr);

/**
 * Builds a value.
 *
 * @param size    the record's size, to which the length of each value is added as it is built
 * @param nb_arg  number of values that follow, or the negative number of elements of an array that
 *                the one argument points to
 * @return a buffer of the C heap, null for an empty value and after a failure
 */
unsigned char* Build_Value(HWND handle, const Builder_Rule& rule, int* size, int nb_arg,
                           Arguments& args);

}  // namespace lib_dicom

#endif
