// Texts of a data set in UTF-8.
#ifndef CLIENT_CHARACTER_SET_H
#define CLIENT_CHARACTER_SET_H

#include <string>
#include <string_view>

namespace dicom_client {

/** Takes every text for UTF-8, as the default repertoire and ISO_IR 192 are. */
class Character_Set {
public:
    Character_Set() = default;
    explicit Character_Set(std::string_view)
    {
    }
    std::string To_UTF_8(std::string_view value, unsigned short) const
    {
        return std::string(value);
    }
};

}  // namespace dicom_client

#endif
