// Changes of single elements by users.
#ifndef LIB_MEND_ELEMENT_CHANGE_H
#define LIB_MEND_ELEMENT_CHANGE_H

#include "mend/reading/data_set.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace lib_mend {

/** Where an element stands or is put: in an item, named by the first record of its list, or at the top. */
struct Target {
    DICOM_List* item = nullptr;
    Tag tag;
};

/**
 * The VR for an element: what a user says, that of the element that is there, that of the registry,
 * LO for private creators, what the definitions of its creator say of a private element.
 *
 * @param vr  two letters, or empty
 * @return 0 when nobody knows it, and for letters that are no VR
 */
unsigned short VR_For(const Data_Set& set, const Target& target, std::string_view vr);

/**
 * Gives an element a value, numbers in little endian; an odd length is padded. It comes into being in
 * the place of its tag, with whatever it held before gone. Throws std::bad_alloc.
 */
DICOM_List& Set_Value(Data_Set& set, const Target& target, unsigned short vr,
                      std::span<const unsigned char> bytes);

/** Bytes of numbers as a VR has them, texts for DS and IS; nothing when one does not fit. */
std::optional<Bytes> Encoded_Numbers(unsigned short vr, std::span<const double> numbers);
std::optional<Bytes> Encoded_Numbers(unsigned short vr, std::span<const std::int64_t> numbers);

/** The same from their texts, with backslashes between them; tags as "0010,0010" for AT. */
std::optional<Bytes> Encoded_Text_Of_Numbers(unsigned short vr, std::string_view text);

/** Adds an item to a sequence, which comes into being; the header record of the item. */
DICOM_List* Add_Item(Data_Set& set, const Target& target);

/** False when there is no such element. */
bool Remove_Element(Data_Set& set, const Target& target);

}  // namespace lib_mend

#endif
