#include "mend/reading/header.h"

#include "mend/reading/encoding.h"

namespace lib_mend {

std::string VR_Text(unsigned short vr)
{
    const auto letter = [](int byte) {
        return byte > ' ' && byte < 0x7F ? static_cast<char>(byte) : '-';
    };
    return {letter(vr >> 8), letter(vr & 0xFF)};
}

std::string Mode_Text(unsigned char mode)
{
    return Encoding_Text({Is_Explicit(mode), Is_Big_Endian(mode), false, false});
}

}  // namespace lib_mend
