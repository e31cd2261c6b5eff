// Where records stand in their source, in 64 bits.
//
// A record of the library counts in 32 bits. One that stands behind 4 GiB, or whose value has 2 GiB or
// more, has its place outside: `data_pos` says so, `pos` and `spare` lead to what the source keeps.
#ifndef LIB_MEND_PLACES_H
#define LIB_MEND_PLACES_H

#include "mend/io/source.h"

#include <cstdint>

namespace lib_mend {

/** The value of `data_pos` by which records that have their place outside are known. */
inline constexpr unsigned int Far_Mark = 0xFFFFFFFF;
/** The `size` of a value that has its size outside is this, or this and one where that is odd. */
inline constexpr int Far_Size = 0x7FFFFFFE;

/** The place of a record outside; null for one that holds it itself. */
inline const Far_Place* Far_Place_Of(const DICOM_List& record)
{
    if (record.data_pos != Far_Mark) {
        return nullptr;
    }
    const std::uint64_t address = std::uint64_t{record.spare} << 32 | record.pos;
    return reinterpret_cast<const Far_Place*>(static_cast<std::uintptr_t>(address));
}

/** Position of the tag in the source. */
inline std::int64_t Position_Of(const DICOM_List& record)
{
    const Far_Place* const far = Far_Place_Of(record);
    return far != nullptr ? far->position : std::int64_t{record.pos};
}

/** Position of the first value byte in the source. */
inline std::int64_t Value_Position_Of(const DICOM_List& record)
{
    const Far_Place* const far = Far_Place_Of(record);
    return far != nullptr ? far->value : std::int64_t{record.data_pos};
}

/** Length of the value in bytes, or DICOM_Undefined_Length. */
inline std::int64_t Size_Of(const DICOM_List& record)
{
    if (record.size < Far_Size || record.data != nullptr) {
        return record.size;
    }
    const Far_Place* const far = Far_Place_Of(record);
    return far != nullptr ? far->size : std::int64_t{record.size};
}

/** Number of bytes of a value that was left in the source that do stand there: zeros follow them. */
inline std::int64_t Stored_Size_Of(const DICOM_List& record)
{
    const Far_Place* const far = Far_Place_Of(record);
    return Size_Of(record) - (far != nullptr ? far->zeros : 0);
}

/** The length that the header claimed where it is not that of the value, 0 otherwise. */
inline std::int64_t Claim_Of(const DICOM_List& record)
{
    const Far_Place* const far = Far_Place_Of(record);
    return far != nullptr ? far->claim : std::int64_t{record.spare};
}

/** Puts a record at a place of the source, with nothing claimed. */
void Set_Place(const Source& source, DICOM_List& record, std::int64_t position, std::int64_t value,
               std::int64_t size);
/** Gives a record that stands in the source another size. */
void Set_Size(const Source& source, DICOM_List& record, std::int64_t size);
/** Puts zeros behind a value that was left in the source, up to another size. */
void Fill_Up(const Source& source, DICOM_List& record, std::int64_t size);
/** @param claim  the length in a header, so that 32 bits hold it */
void Set_Claim(const Source& source, DICOM_List& record, std::int64_t claim);
/** Puts a record where another one stands; its size stays. */
void Take_Place(DICOM_List& record, const DICOM_List& other);

}  // namespace lib_mend

#endif
