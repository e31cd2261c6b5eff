// Text values in UTF-8, by the character sets that a data set declares.
#ifndef LIB_MEND_CHARACTER_SET_H
#define LIB_MEND_CHARACTER_SET_H

#include <memory>
#include <string>
#include <string_view>

namespace lib_mend {

/**
 * Converts text values to UTF-8 by the value of (0008,0005), PS3.3 section C.12.1.1.2 and PS3.5
 * section 6.1. Copies share their converters; a set and its copies are for one thread at a time.
 */
class Character_Set {
public:
    /** The default repertoire. */
    Character_Set() : Character_Set(std::string_view())
    {
    }
    /**
     * @param terms  the value of (0008,0005), padding and misspellings included; terms that are not
     *               known count as the default repertoire
     */
    explicit Character_Set(std::string_view terms);

    /**
     * Converts a whole value, its separators included. Escape sequences that designate a known
     * character set are taken out, whether the set is declared or not. Every other byte that does
     * not convert, an ESC included, becomes "\xHH"; nothing is dropped. Control characters stay.
     */
    std::string To_UTF_8(std::string_view value, unsigned short vr) const;

private:
    class Converters;
    class Decoder;
    struct Repertoire;

    static const Repertoire Repertoires[];

    /** What G0 and G1 hold at the start of a value, and again behind each delimiter. */
    const Repertoire* g0_;
    const Repertoire* g1_;
    std::shared_ptr<Converters> converters_;
};

}  // namespace lib_mend

#endif
