// Values as text for people.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_VALUE_TEXT_H
#define LIB_DICOM_SRC_ATTRIBUTES_VALUE_TEXT_H

#include <Lib_DICOM/frame.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace lib_dicom {

/** Number of bytes of a value that are looked at. */
struct Value_Limit {
    std::size_t text;
    std::size_t other;
};

/** What a line shows. */
inline constexpr Value_Limit Line_Limit = {256, 64};
inline constexpr Value_Limit No_Limit = {static_cast<std::size_t>(-1),
                                         static_cast<std::size_t>(-1)};

struct Value_Text {
    std::string text;
    /** The value goes on behind the text. */
    bool is_cut = false;
};

/**
 * The value of a record. Texts keep their own bytes, with control characters made visible; dates,
 * times and names are in the form for people, UIDs have their name behind them. Numbers are decimal
 * in the record's byte order, a rest that is no whole number follows in hexadecimal. A value of
 * unknown VR is a text when all its bytes are printable ASCII; all others are in hexadecimal.
 */
Value_Text Text_Of_Value(const DICOM_List& record, const Value_Limit& limit);

/**
 * Makes control characters visible as "\xHH". The escape character stays where it begins a
 * designation of a character set (ISO 2022), which whoever converts the text needs.
 */
std::string Visible(std::string_view text);

}  // namespace lib_dicom

#endif
