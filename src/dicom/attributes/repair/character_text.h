// Texts in the character sets of the current standard: where values end, and what fits.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_CHARACTER_TEXT_H
#define LIB_DICOM_SRC_ATTRIBUTES_CHARACTER_TEXT_H

#include <cstddef>
#include <string_view>

namespace lib_dicom {

/**
 * Place of the backslash that ends the value at the front. In the two-byte character sets of
 * ISO 2022 the same byte is half of a letter (PS3.5 section 6.1.2.5); each value starts anew.
 */
std::size_t Find_Separator_In_Letters(std::string_view text);

/**
 * Bytes of a text that fit into a number of characters. The current standard counts characters,
 * not bytes. Where the character set cannot be told nothing is cut: half a letter is no repair.
 */
std::size_t Fitting_Size(std::string_view text, std::size_t max);

}  // namespace lib_dicom

#endif
