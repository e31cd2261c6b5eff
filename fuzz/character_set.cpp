// Texts by their character sets: whatever the bytes and the declared sets are, the result in UTF-8 is
// UTF-8, what is UTF-8 already stays as it is, and the parts of a text are all of it.
//
// Input: the VR; the length of the declared sets; these; the text.
#include "mend/healing/character_set.h"
#include "fuzz_target.h"
#include "mend/healing/character_terms.h"

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

void Check_Parts(const Character_Set& set, std::string_view text, unsigned short vr)
{
    fuzz::Require(set.Count(text, vr) <= text.size(), "each character has a byte");
    for (const char separator : {'\\', '^', '='}) {
        std::string joined;
        std::size_t count = 0;
        for (const std::string_view part : set.Split(text, separator, vr)) {
            joined += (count > 0 ? std::string(1, separator) : std::string()) + std::string(part);
            count += set.Count(part, vr) + 1;
            const std::size_t parts = set.Split(part, separator, vr).size();
            fuzz::Require(parts == 1, "a part is not split again");
        }
        fuzz::Require(joined == text, "the parts are all of the text");
        fuzz::Require(count == set.Count(text, vr) + 1,
                      "the parts have the characters of the text");
    }
}

void Check_Conversion(const Character_Set& set, std::string_view text, unsigned short vr)
{
    const std::size_t invalid = set.First_Invalid(text, vr);
    fuzz::Require(invalid == text.npos || invalid < text.size(),
                  "an invalid byte is one of the text");
    const std::optional<std::string> converted = set.To_UTF_8_Without_Loss(text, vr);
    fuzz::Require(!converted || *converted == set.To_UTF_8(text, vr), "both conversions agree");
}

void Check_Terms(std::string_view terms)
{
    const lib_mend::Character_Terms once = lib_mend::Read_Character_Terms(terms);
    const lib_mend::Character_Terms twice = lib_mend::Read_Character_Terms(once.value);
    fuzz::Require(!twice.respelt, "what is respelt stays");
    fuzz::Require(once.has_unknown == twice.has_unknown,
                  "a term becomes known by its meaning only");
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
    Check_Terms(terms);
    Check_Parts(set, text, vr);
    Check_Conversion(set, text, vr);
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
