// Bytes as base64 (RFC 4648 section 4).
#ifndef LIB_MEND_BASE64_H
#define LIB_MEND_BASE64_H

#include "mend/io/source.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace lib_mend {

/** Encodes pieces that follow each other. */
class Base64_Encoder {
public:
    /** Appends the letters of all whole groups of three bytes. */
    void Put(std::span<const unsigned char> bytes, std::string& out);
    /** Appends what is left, with its padding. */
    void Finish(std::string& out);

private:
    void Put_Group(std::string& out);

    unsigned int group_ = 0;
    int count_ = 0;
};

/** Nothing where a letter is none, or the padding is missing or wrong. */
std::optional<Bytes> Decode_Base64(std::string_view text);

}  // namespace lib_mend

#endif
