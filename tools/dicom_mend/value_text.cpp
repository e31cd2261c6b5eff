#include "value_text.h"

namespace dicom_mend {

std::string VR_Text(unsigned short vr)
{
    if (vr == 0) {
        return "--";
    }
    return {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

std::string Hexadecimal(const lib_mend::Bytes& bytes)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += Digits[byte >> 4];
        text += Digits[byte & 0xF];
    }
    return text;
}

}  // namespace dicom_mend
