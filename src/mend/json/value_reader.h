// The values of one element in JSON, on their way into the bytes of a VR.
#ifndef LIB_MEND_VALUE_READER_H
#define LIB_MEND_VALUE_READER_H

#include "mend/findings/findings.h"
#include "mend/io/source.h"
#include "mend/json/json_events.h"
#include "mend/json/value_forms.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lib_mend {

/** What stands in the array of a Value. Objects are collected apart; their order is here. */
class JSON_Values {
public:
    enum class Kind : unsigned char { Null, Boolean, Number, String, Name, Item, Empty_Object };

    struct Entry {
        /** Offset in the text. */
        std::size_t at;
        Kind kind;
        std::string_view text;
    };

    void Add(Kind kind, std::string_view text, std::size_t at);
    std::size_t Count() const
    {
        return entries_.size();
    }
    Entry operator[](std::size_t index) const;
    void Clear();

private:
    /** There may be a million of them, each of two letters of JSON. */
    struct Place {
        std::uint32_t at;
        std::uint32_t text_end;
        Kind kind;
    };

    std::vector<Place> entries_;
    std::string texts_;
};

/** What is to be said of a value. */
struct JSON_Problem {
    std::size_t at = 0;
    /** Empty for none. */
    std::string what = {};
    /** The value is there all the same, but for errors. */
    Level level = Level::Error;
};

/**
 * The values as the bytes of a VR that holds no items, in little endian and without padding.
 *
 * @param out  receives them, unless the problem is an error
 */
JSON_Problem Read_JSON_Values(const JSON_Values& values, const JSON_Form& form, Bytes& out);

}  // namespace lib_mend

#endif
