// The text of JSON on its way to a taker.
#ifndef LIB_MEND_TEXT_WRITER_H
#define LIB_MEND_TEXT_WRITER_H

#include "mend/json/to_json.h"

#include <string>
#include <string_view>

namespace lib_mend {

/** Collects text and hands it on in blocks. */
class Text_Writer {
public:
    Text_Writer(const JSON_Taker& take, bool pretty) : take_(take), pretty_(pretty)
    {
    }
    Text_Writer(const Text_Writer&) = delete;
    Text_Writer& operator=(const Text_Writer&) = delete;

    void Put(std::string_view text);
    /** A string with its quotes; `text` is UTF-8. */
    void Put_String(std::string_view text);
    /** A line end and indentation, or nothing. */
    void Break(std::size_t depth);
    /** A blank, where the text is for people. */
    void Blank()
    {
        Put(pretty_ ? " " : "");
    }
    /** For what writes its letters itself; to be followed by Put. */
    std::string& Buffer()
    {
        return buffer_;
    }
    void Flush();
    /** False once the taker stopped. */
    bool Is_Taken() const
    {
        return is_taken_;
    }

private:
    static constexpr std::size_t Block = 65536;

    const JSON_Taker& take_;
    std::string buffer_;
    bool pretty_;
    bool is_taken_ = true;
};

}  // namespace lib_mend

#endif
