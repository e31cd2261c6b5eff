// What the attributes of a list say about its image (PS3.3 section C.7.6.3).
#ifndef LIB_MEND_IMAGE_H
#define LIB_MEND_IMAGE_H

#include "mend/reading/data_set.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace lib_mend {

inline constexpr Tag Samples_Tag = {0x0028, 0x0002};
inline constexpr Tag Photometric_Tag = {0x0028, 0x0004};
inline constexpr Tag Planar_Tag = {0x0028, 0x0006};
inline constexpr Tag Frames_Tag = {0x0028, 0x0008};
inline constexpr Tag Rows_Tag = {0x0028, 0x0010};
inline constexpr Tag Columns_Tag = {0x0028, 0x0011};
inline constexpr Tag Bits_Allocated_Tag = {0x0028, 0x0100};
inline constexpr Tag Bits_Stored_Tag = {0x0028, 0x0101};
inline constexpr Tag High_Bit_Tag = {0x0028, 0x0102};
inline constexpr Tag Representation_Tag = {0x0028, 0x0103};

/** The number at an index of a value of integers or of a text of them; none when there is none. */
std::optional<std::int64_t> Number_In(const Data_Set& set, const DICOM_List* list, Tag tag,
                                      int index = 0);

/** A text without padding; empty when there is none. */
std::string Text_In(const Data_Set& set, const DICOM_List* list, Tag tag);

/** Numbers of a list; what is missing has no value. */
struct Image {
    std::optional<std::int64_t> rows;
    std::optional<std::int64_t> columns;
    std::optional<std::int64_t> samples;
    std::optional<std::int64_t> bits_allocated;
    std::string photometric;
    /** 1 when there is no number of frames. */
    std::int64_t frames = 1;

    /**
     * Bytes of native pixel data, without the padding to an even length; none when the attributes do
     * not tell. Products that 64 bits do not hold give the largest number.
     */
    std::optional<std::uint64_t> Size() const;

    static constexpr std::uint64_t Too_Large = std::numeric_limits<std::uint64_t>::max();
};

Image Image_Of(const Data_Set& set, const DICOM_List* list);

/** The product, or Image::Too_Large where 64 bits do not hold it. */
std::uint64_t Product(std::initializer_list<std::uint64_t> factors);

}  // namespace lib_mend

#endif
