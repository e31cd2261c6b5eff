#include "mend/healing/frame_stream.h"

namespace lib_mend {

namespace {

std::int64_t Big_Number(std::span<const unsigned char> bytes, std::size_t at, std::size_t size)
{
    std::int64_t number = 0;
    for (std::size_t i = at; i < at + size; ++i) {
        number = number << 8 | bytes[i];
    }
    return number;
}

/** SOF markers of JPEG, and that of JPEG-LS. */
bool Is_Frame_Header(unsigned char marker)
{
    const bool is_other = marker == 0xC4 || marker == 0xC8 || marker == 0xCC;
    return (marker >= 0xC0 && marker <= 0xCF && !is_other) || marker == 0xF7;
}

}  // namespace

bool Begins_Frame(std::span<const unsigned char> bytes)
{
    if (bytes.size() < 3 || bytes[0] != 0xFF) {
        return false;
    }
    return (bytes[1] == 0xD8 && bytes[2] == 0xFF) || (bytes[1] == 0x4F && bytes[2] == 0xFF);
}

std::optional<Frame_Size> Size_In_Stream(std::span<const unsigned char> bytes)
{
    constexpr unsigned char Start_Of_Scan = 0xDA;
    constexpr unsigned char Image_Size = 0x51;
    if (!Begins_Frame(bytes)) {
        return std::nullopt;
    }
    const bool is_jpeg_2000 = bytes[1] == 0x4F;
    // As far as the columns in the header of a frame, or the offset in that of an image.
    const std::size_t needed = is_jpeg_2000 ? 22 : 9;
    for (std::size_t at = 2; at + needed <= bytes.size() && bytes[at] == 0xFF;) {
        const unsigned char marker = bytes[at + 1];
        if (!is_jpeg_2000 && Is_Frame_Header(marker)) {
            return Frame_Size{Big_Number(bytes, at + 5, 2), Big_Number(bytes, at + 7, 2)};
        }
        if (is_jpeg_2000 && marker == Image_Size) {
            // The image reaches from its offset to its far corner on the reference grid.
            return Frame_Size{Big_Number(bytes, at + 10, 4) - Big_Number(bytes, at + 18, 4),
                              Big_Number(bytes, at + 6, 4) - Big_Number(bytes, at + 14, 4)};
        }
        if (marker == Start_Of_Scan) {
            break;
        }
        at += 2 + static_cast<std::size_t>(Big_Number(bytes, at + 2, 2));
    }
    return std::nullopt;
}

}  // namespace lib_mend
