// The form in which a record is written: as a value, as a sequence or as fragments, and under which
// header (PS3.5 section 7). Sizes are held in 64 bits because the lengths in a list are the file's
// own claims.
#ifndef LIB_DICOM_SRC_WRITE_RECORD_FORM_H
#define LIB_DICOM_SRC_WRITE_RECORD_FORM_H

#include "frame/record_codes.h"

#include <span>

namespace lib_dicom {

enum class Form {
    Value,
    Sequence,
    Fragments  ///< encapsulated data: items that hold bytes (PS3.5 section A.4)
};

/** An item or delimitation tag with its length. */
inline constexpr int Structure_Size = 8;
inline constexpr int Length_Size = 4;
inline constexpr unsigned int Undefined_Length = 0xFFFFFFFFU;

inline bool Is_Explicit(char code)
{
    return (static_cast<unsigned char>(code) & DICOM_Order_Explicit_VR) != 0;
}

inline bool Is_Big_Endian(char code)
{
    return (static_cast<unsigned char>(code) & DICOM_Order_Big_Endian) != 0;
}

inline bool Is_Fragment(const DICOM_List& record)
{
    return record.group == Item_Group && record.element == Item_Element;
}

inline long long Even(long long size)
{
    return size + (size & 1);
}

Form Form_Of(const DICOM_List& record);

/**
 * Item and delimitation tags in a list are those of the stream that it was read from. By the
 * current standard they are left out, since the writer makes its own: a list may keep them, which
 * is what tells an empty item from none.
 */
bool Is_Left_Out(const DICOM_List& record);

/** The VR that an explicit header shows. */
unsigned short Header_VR(const DICOM_List& record, Form form);
/** Tells whether an explicit header has the long form. */
bool Has_Long_Header(const DICOM_List& record, Form form);
int Header_Size(char code, const DICOM_List& record, Form form);

/** Number of bytes that a record holds. A negative length tells none. */
long long Stored_Size(const DICOM_List& record);
/** The same of a fragment, whose bytes may have been left in the source. */
long long Fragment_Size(const DICOM_List& fragment);
/** Size of the value of a Form::Value as written. */
long long Value_Size(const DICOM_List& record);

/** The lists of the items, up to the first empty slot. */
std::span<DICOM_List* const> Items(const DICOM_List& record);

/** Calls `visit` for each fragment of encapsulated data. */
template <class Visit>
void For_Each_Fragment(const DICOM_List& record, Visit&& visit)
{
    for (const DICOM_List* list : Items(record)) {
        for (; list != nullptr; list = list->next) {
            if (Is_Fragment(*list)) {
                visit(*list);
            }
        }
    }
}

}  // namespace lib_dicom

#endif
