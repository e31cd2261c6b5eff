// Values of elements as users want them: one by one, as text in UTF-8 or as numbers.
#ifndef LIB_MEND_ELEMENT_VALUE_H
#define LIB_MEND_ELEMENT_VALUE_H

#include "mend/healing/character_set.h"
#include "mend/reading/data_set.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace lib_mend {

/** Bytes of a value, numbers in little endian; as many as there are. */
Bytes Little_Endian_Bytes(const Data_Set& set, const DICOM_List& record, std::size_t offset,
                          std::size_t size);

/**
 * Reads the values of one data set. It remembers which character sets are declared where, and the
 * text that was asked about last, so that going through many values costs no more than their bytes.
 */
class Value_Reader {
public:
    explicit Value_Reader(const Data_Set& set) : set_(set)
    {
    }

    /** Values between backslashes, or of the width of the VR. */
    std::size_t Count(DICOM_List& record);
    /** Without padding; nothing when there is no such value. */
    std::optional<std::string> Text(DICOM_List& record, std::size_t index);
    /** Nothing when the value is not there or no number. */
    std::optional<double> Real(DICOM_List& record, std::size_t index);
    /** Nothing when the value is not there, no whole number, or too large. */
    std::optional<std::int64_t> Integer(DICOM_List& record, std::size_t index);

    /** The character sets that texts next to a record are in. */
    const Character_Set& Characters_Of(DICOM_List& record);

    /** The data set is another now. */
    void Forget();

private:
    const std::vector<std::string_view>& Pieces_Of(DICOM_List& record);
    void Learn_Characters();

    const Data_Set& set_;
    DICOM_List* last_ = nullptr;
    std::string text_;
    std::vector<std::string_view> pieces_;
    bool knows_characters_ = false;
    /** Of the top level, and of the records of items that declare others. */
    Character_Set top_;
    std::unordered_map<const DICOM_List*, std::shared_ptr<const Character_Set>> others_;
};

}  // namespace lib_mend

#endif
