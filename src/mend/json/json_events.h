// The text of JSON taken apart: what it holds, piece by piece, with the place of each piece.
#ifndef LIB_MEND_JSON_EVENTS_H
#define LIB_MEND_JSON_EVENTS_H

#include "mend/json/text_source.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace lib_mend {

enum class JSON_Scalar { Null, Boolean, Number, String };

/** Takes what is in a text in its order. `at` is the offset of the first byte of a piece. */
class JSON_Events {
public:
    virtual ~JSON_Events() = default;

    /** @param text  a string without its escapes, or a number as it stands there */
    virtual void Scalar(JSON_Scalar kind, std::string_view text, std::size_t at) = 0;
    virtual void Key(std::string_view name, std::size_t at) = 0;
    /**
     * Whether the string behind the last key may come as the bytes that it holds in base64. If it is a long
     * one, and faultless, it does: piece by piece, and then its end.
     */
    virtual bool Takes_Bytes() const = 0;
    virtual void Put_Bytes(std::span<const unsigned char> bytes) = 0;
    virtual void End_Bytes(std::size_t at) = 0;
    virtual void Begin_Object(std::size_t at) = 0;
    virtual void End_Object() = 0;
    virtual void Begin_Array(std::size_t at) = 0;
    virtual void End_Array() = 0;
};

/** Where a text stops to be JSON, and why. */
struct JSON_Fault {
    std::size_t at = 0;
    std::string why;
};

/** Nothing when the whole text is JSON. Memory grows neither with the depth of nesting nor with bytes. */
std::optional<JSON_Fault> Parse_JSON(const Source& source, JSON_Events& events);

/** Lines and columns of offsets; those behind the last one that was asked for cost little. */
class Text_Places {
public:
    explicit Text_Places(const Source& source) : text_(source)
    {
    }

    /** "line 3, column 14: ", counted from 1, columns in characters. */
    std::string Line_And_Column(std::size_t at);

private:
    void Pass(std::string_view piece);
    void Go_Back(std::size_t at);

    Text_Source text_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
    std::size_t column_ = 1;
};

}  // namespace lib_mend

#endif
