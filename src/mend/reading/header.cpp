#include "mend/reading/header.h"

#include "mend/reading/encoding.h"
#include "mend/reading/vr_forms.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace lib_mend {

namespace {

unsigned short Number_16(const unsigned char* bytes, bool big)
{
    return static_cast<unsigned short>(big ? bytes[0] << 8 | bytes[1] : bytes[1] << 8 | bytes[0]);
}

std::uint32_t Number_32(const unsigned char* bytes, bool big)
{
    const std::uint32_t first = Number_16(bytes, big);
    const std::uint32_t second = Number_16(bytes + 2, big);
    return big ? first << 16 | second : second << 16 | first;
}

}  // namespace

std::string VR_Text(unsigned short vr)
{
    const auto letter = [](int byte) {
        return byte > ' ' && byte < 0x7F ? static_cast<char>(byte) : '-';
    };
    return {letter(vr >> 8), letter(vr & 0xFF)};
}

Element_Header Decode_Header_As(std::span<const unsigned char> bytes, unsigned char mode,
                                Header_Form form)
{
    constexpr int Sizes[] = {8, 12, 8, 10};
    Element_Header header;
    header.mode = mode;
    header.form = form;
    const int size = Sizes[static_cast<std::size_t>(form)];
    if (std::ssize(bytes) < size) {
        return header;
    }
    const bool big = Is_Big_Endian(mode);
    const unsigned char* const at = bytes.data();
    header.size = size;
    header.tag = {Number_16(at, big), Number_16(at + 2, big)};
    header.vr = form == Header_Form::Implicit ? static_cast<unsigned short>(0)
                                              : static_cast<unsigned short>(at[4] << 8 | at[5]);
    header.reserved =
        form == Header_Form::Long ? Number_16(at + 6, big) : static_cast<unsigned short>(0);
    header.length =
        form == Header_Form::Short ? Number_16(at + 6, big) : Number_32(at + size - 4, big);
    return header;
}

Element_Header Decode_Header(std::span<const unsigned char> bytes, unsigned char mode)
{
    if (bytes.size() < 8) {
        return {};
    }
    const bool is_delimiter = Number_16(bytes.data(), Is_Big_Endian(mode)) == Delimiter_Group;
    if (!Is_Explicit(mode) || is_delimiter) {
        return Decode_Header_As(bytes, mode, Header_Form::Implicit);
    }
    const auto vr = static_cast<unsigned short>(bytes[4] << 8 | bytes[5]);
    return Decode_Header_As(bytes, mode, Is_Long_VR(vr) ? Header_Form::Long : Header_Form::Short);
}

std::string Mode_Text(unsigned char mode)
{
    return Encoding_Text({Is_Explicit(mode), Is_Big_Endian(mode), false, false});
}

}  // namespace lib_mend
