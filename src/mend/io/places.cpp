#include "mend/io/places.h"

#include <limits>

namespace lib_mend {

namespace {

constexpr std::int64_t Largest_Position = Far_Mark - 1;

/** Puts the place of a record outside. Copies of the record may share the old one, which stays. */
void Move_Out(const Source& source, DICOM_List& record, const Far_Place& place)
{
    const std::uint64_t address = reinterpret_cast<std::uintptr_t>(&source.Keep(place));
    record.data_pos = Far_Mark;
    record.pos = static_cast<unsigned int>(address & std::numeric_limits<std::uint32_t>::max());
    record.spare = static_cast<unsigned int>(address >> 32);
}

/** The size that stands in the record; what is asked about it most, whether it is odd, stays true. */
int Size_Inside(std::int64_t size)
{
    return size < Far_Size ? static_cast<int>(size) : Far_Size + static_cast<int>(size % 2);
}

}  // namespace

void Set_Place(const Source& source, DICOM_List& record, std::int64_t position, std::int64_t value,
               std::int64_t size)
{
    record.size = Size_Inside(size);
    if (position <= Largest_Position && value <= Largest_Position && size < Far_Size) {
        record.pos = static_cast<unsigned int>(position);
        record.data_pos = static_cast<unsigned int>(value);
        record.spare = 0;
    } else {
        Move_Out(source, record, {position, value, size});
    }
}

void Set_Size(const Source& source, DICOM_List& record, std::int64_t size)
{
    if (size >= Far_Size) {
        Move_Out(source, record,
                 {Position_Of(record), Value_Position_Of(record), size, Claim_Of(record)});
    }
    record.size = Size_Inside(size);
}

void Fill_Up(const Source& source, DICOM_List& record, std::int64_t size)
{
    Move_Out(source, record,
             {Position_Of(record), Value_Position_Of(record), size, Claim_Of(record),
              size - Stored_Size_Of(record)});
    record.size = Size_Inside(size);
}

void Set_Claim(const Source& source, DICOM_List& record, std::int64_t claim)
{
    const Far_Place* const far = Far_Place_Of(record);
    if (far == nullptr) {
        record.spare = static_cast<std::uint32_t>(claim);
    } else if (far->claim != claim) {
        Move_Out(source, record, {far->position, far->value, far->size, claim});
    }
}

void Take_Place(DICOM_List& record, const DICOM_List& other)
{
    const bool is_far = Far_Place_Of(other) != nullptr;
    record.pos = other.pos;
    record.data_pos = other.data_pos;
    record.spare = is_far ? other.spare : 0;
}

}  // namespace lib_mend
