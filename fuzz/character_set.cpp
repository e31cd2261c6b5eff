// Texts in UTF-8: whatever the bytes and the declared sets are, the result is UTF-8, and what is
// UTF-8 already stays as it is.
//
// Input: the VR; the length of the declared sets; these; the text.
#include "mend/healing/character_set.h"
#include "fuzz_target.h"

namespace {

using lib_mend::Character_Set;

/** Length of the UTF-8 letter at the front of a text; 0 when there is none. */
std::size_t Letter_Size(std::string_view text)
{
    const auto byte = [&](std::size_t i) {
        return static_cast<unsigned char>(text[i]);
    };
    const std::size_t size = byte(0) < 0x80   ? 1
                             : byte(0) < 0xC2 ? 0
                             : byte(0) < 0xE0 ? 2
                             : byte(0) < 0xF0 ? 3
                             : byte(0) < 0xF5 ? 4
                                              : 0;
    if (size > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const bool is_long = (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
    const bool is_no_letter =
        (byte(0) == 0xED && byte(1) >= 0xA0) || (byte(0) == 0xF4 && byte(1) >= 0x90);
    return is_long || is_no_letter ? 0 : size;
}

bool Is_UTF_8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t size = Letter_Size(text);
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Silence silence;
    fuzz::Input input(data, size);
    const unsigned short vr = fuzz::Pick_VR(input.Byte());
    const std::size_t length = input.Byte();
    const std::string all = input.Text();
    const std::string terms = all.substr(0, length);
    const std::string text = all.substr(terms.size());

    const Character_Set set(terms);
    const std::string converted = set.To_UTF_8(text, vr);
    fuzz::Require(Is_UTF_8(converted), "the result is UTF-8");
    // "\xHH" is the longest that one byte becomes.
    fuzz::Require(converted.size() <= 4 * text.size(), "the result is in proportion");
    fuzz::Require(set.To_UTF_8(text, vr) == converted, "a value does not depend on the one before");
    // An ESC is no letter of a text in UTF-8.
    const bool plain = converted.find('\033') == std::string::npos;
    fuzz::Require(!plain || Character_Set("ISO_IR 192").To_UTF_8(converted, VR_LO) == converted,
                  "UTF-8 stays as it is");
    return 0;
}
