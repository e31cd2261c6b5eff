// Values as people and programs read them.
#ifndef TOOLS_DICOM_MEND_VALUE_TEXT_H
#define TOOLS_DICOM_MEND_VALUE_TEXT_H

#include "mend/healing/character_set.h"
#include "mend/reading/data_set.h"

#include <cstdint>
#include <span>
#include <string>

namespace dicom_mend {

/** "--" for a VR that is not known. */
void Append_VR(std::string& out, unsigned short vr);

/** A number in decimal digits. */
void Append_Number(std::string& out, std::int64_t number);

/** "gggg,eeee" in small hexadecimal letters. */
void Append_Tag(std::string& out, lib_mend::Tag tag);

/** Bytes in small hexadecimal digits. */
void Append_Hexadecimal(std::string& out, std::span<const unsigned char> bytes);

/**
 * Length as the header gave it, -1 where it is not defined: a value that the end of the file cuts off
 * keeps it aside.
 */
inline std::int64_t Given_Length(const DICOM_List& record)
{
    const std::int64_t claim = lib_mend::Claim_Of(record);
    return claim == 0 ? lib_mend::Size_Of(record) : claim != UINT32_MAX ? claim : -1;
}

/** The bytes at the front of a value, without a copy where they are in memory. */
class Front_Of_Value {
public:
    Front_Of_Value(const lib_mend::Data_Set& set, const DICOM_List& record, std::size_t most);

    std::span<const unsigned char> Bytes() const
    {
        return bytes_;
    }
    /** There are more than that. */
    bool Is_Cut() const
    {
        return is_cut_;
    }

private:
    lib_mend::Bytes read_;
    std::span<const unsigned char> bytes_;
    bool is_cut_ = false;
};

/** What of a UID of the registry stands first: what stands behind may be cut off. */
enum class UID_Form { Number_First, Name_First };

/**
 * A value as it is written, for one line: texts in UTF-8 and without padding, numbers in decimal
 * digits, other bytes in hexadecimal ones. Long values end in "...". Private numbers that the file has
 * as UN are numbers where their definition says so.
 */
void Append_Value(std::string& out, const lib_mend::Data_Set& set, const DICOM_List& record,
                  const lib_mend::Character_Set& characters, UID_Form form);

}  // namespace dicom_mend

#endif
