// The values of a record as conditions and sets of values see them: texts without padding, numbers.
#ifndef LIB_MEND_VALUE_VIEW_H
#define LIB_MEND_VALUE_VIEW_H

#include "mend/reading/data_set.h"

#include <Lib_DICOM/rules.h>

#include <optional>
#include <string>
#include <string_view>

namespace lib_mend {

class Value_View {
public:
    Value_View(const Data_Set& set, const DICOM_List& record);

    /** False for values that are too long to be any that a rule names; nothing is known of them. */
    bool Is_Known() const
    {
        return is_known_;
    }
    /** Empty ones in between count. */
    int Count() const
    {
        return count_;
    }
    /** Value `index`, from 0, without padding; a binary number in decimal, AT as eight digits. */
    std::string Text(int index) const;
    std::optional<double> Number(int index) const;
    bool Is_Empty(int index) const
    {
        return width_ == 0 && Part(index).empty();
    }
    /** The first of some texts that a value equals; null for none. Texts are compared letter by
     *  letter, numbers by their number. */
    const char* Equal_Of(int index, const char* const* texts, int count) const;

private:
    /** A text value as it stands in the bytes, without padding. */
    std::string_view Part(int index) const;
    double Binary(int index) const;
    bool Equals(int index, std::string_view text) const;

    const DICOM_List& record_;
    unsigned short vr_;
    Bytes loaded_;
    std::string_view bytes_;
    int width_ = 0;
    int count_ = 0;
    bool is_known_ = true;
};

/** The first value that a set does not name, as its number from 1; 0 when there is none. */
int First_Outside(const Value_View& value, const DICOM_Value_Set& set);

/** The number of values of a record, or of its items; nothing where it cannot be told. */
std::optional<int> Value_Count(const Data_Set& set, const DICOM_List& record);

}  // namespace lib_mend

#endif
