// Transfer syntaxes (PS3.5 section 10 and annex A), by their UIDs and by the look of the bytes.
#ifndef LIB_MEND_ENCODING_H
#define LIB_MEND_ENCODING_H

#include "mend/io/source.h"

#include <string>
#include <string_view>

namespace lib_mend {

inline constexpr std::string_view Implicit_Little_UID = "1.2.840.10008.1.2";
inline constexpr std::string_view Explicit_Little_UID = "1.2.840.10008.1.2.1";
inline constexpr std::string_view Deflated_Little_UID = "1.2.840.10008.1.2.1.99";
inline constexpr std::string_view Explicit_Big_UID = "1.2.840.10008.1.2.2";
/** Frames as they are, one a fragment. */
inline constexpr std::string_view Encapsulated_Uncompressed_UID = "1.2.840.10008.1.2.1.98";

/** How the elements of a data set are encoded. */
struct Encoding {
    bool explicit_vr = false;
    bool big_endian = false;
    bool deflated = false;
    /** The transfer syntax encapsulates the pixel data. */
    bool encapsulated = false;

    /** The byte-order code of the library. */
    unsigned char Code() const
    {
        return static_cast<unsigned char>((explicit_vr ? DICOM_Order_Explicit_VR : 0) |
                                          (big_endian ? DICOM_Order_Big_Endian : 0));
    }
    bool operator==(const Encoding&) const = default;
};

/** Encoding that a transfer syntax UID stands for; one that is not known encapsulates. */
Encoding Encoding_Of(std::string_view uid);

/** UID of an encoding without encapsulated pixel data. */
std::string_view UID_Of(const Encoding& encoding);

/** Encoding in words: "explicit VR little endian". */
std::string Encoding_Text(const Encoding& encoding);

/**
 * Looks at the first elements of a data set.
 *
 * @param expected  the encoding that is declared, null for none; it is kept unless the bytes speak
 *                  clearly against it
 * @param encoding  receives VR form and byte order
 * @return false when the bytes are no likely elements in any encoding
 */
bool Guess_Encoding(const Source& source, std::int64_t offset, const Encoding* expected,
                    Encoding& encoding);

/** Transfer syntax of a compressed frame, by its first bytes; empty when they are not known. */
std::string_view Guess_Pixel_Syntax(std::span<const unsigned char> frame);

}  // namespace lib_mend

#endif
