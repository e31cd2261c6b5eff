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

/** Decodes pieces of one text that follow each other. */
class Base64_Decoder {
public:
    /** Appends the bytes of a piece; false where a letter is none, or stands behind the padding. */
    bool Put(std::string_view letters, Bytes& out);
    /** False when the text ended in the middle of a byte, or without its padding. */
    bool Is_Whole() const;

private:
    std::string_view Put_Groups(std::string_view letters, Bytes& out);

    unsigned int bits_ = 0;
    int bit_count_ = 0;
    std::size_t letters_ = 0;
    std::size_t padding_ = 0;
};

/** Nothing where a letter is none, or the padding is missing or wrong. */
std::optional<Bytes> Decode_Base64(std::string_view text);

}  // namespace lib_mend

#endif
