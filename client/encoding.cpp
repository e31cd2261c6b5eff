#include "client/encoding.h"

#include <array>
#include <iterator>

namespace dicom_client {

namespace {

struct Native_Syntax {
    std::string_view uid;
    Encoding encoding;
};

constexpr Native_Syntax Native_Syntaxes[] = {
    {Implicit_Little_UID, {false, false, false, false}},
    {Explicit_Little_UID, {true, false, false, false}},
    {Deflated_Little_UID, {true, false, true, false}},
    {Explicit_Big_UID, {true, true, false, false}},
};

/** Groups with which data sets begin; a likely one tells the byte order. */
constexpr unsigned int Highest_First_Group = 0x00FF;

bool Is_Capital(unsigned char byte)
{
    return byte >= 'A' && byte <= 'Z';
}

unsigned short Read_Short(const unsigned char* bytes, bool big_endian)
{
    return Get_UShort(big_endian ? DICOM_Order_Big_Endian : 0, bytes);
}

/** Likely length of an element in implicit VR: it fits in the source, or is undefined. */
bool Is_Likely_Length(const unsigned char* bytes, bool big_endian, std::int64_t room)
{
    const int length = Get_Int(big_endian ? DICOM_Order_Big_Endian : 0, bytes);
    return length == DICOM_Undefined_Length || (length >= 0 && length <= room);
}

/** SOF markers of the JPEG processes that DICOM knows (PS3.5 section 8.2.1). */
std::string_view Guess_JPEG(std::span<const unsigned char> frame)
{
    constexpr unsigned char Start_Of_Scan = 0xDA;
    std::size_t at = 2;
    unsigned char frame_type = 0;
    while (at + 4 <= frame.size() && frame[at] == 0xFF) {
        const unsigned char marker = frame[at + 1];
        const std::size_t length = static_cast<std::size_t>(frame[at + 2]) << 8 | frame[at + 3];
        const bool is_frame = (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 &&
                               marker != 0xC8 && marker != 0xCC) ||
                              marker == 0xF7;
        if (is_frame) {
            frame_type = marker;
        }
        if (marker == Start_Of_Scan) {
            break;
        }
        at += 2 + length;
    }
    // In a scan header the byte behind the components gives the predictor of lossless JPEG and the
    // permitted error of JPEG-LS.
    const std::size_t components = at + 4 < frame.size() ? frame[at + 4] : 0;
    const std::size_t parameter = at + 5 + 2 * components;
    const int predictor = parameter < frame.size() ? frame[parameter] : 0;
    switch (frame_type) {
    case 0xC0:
        return "1.2.840.10008.1.2.4.50";
    case 0xC1:
        return "1.2.840.10008.1.2.4.51";
    case 0xC3:
        return predictor == 1 ? "1.2.840.10008.1.2.4.70" : "1.2.840.10008.1.2.4.57";
    case 0xF7:
        return predictor == 0 ? "1.2.840.10008.1.2.4.80" : "1.2.840.10008.1.2.4.81";
    default:
        return {};
    }
}

/** The coding style marker of JPEG 2000 tells whether the wavelet is the reversible one. */
std::string_view Guess_JPEG_2000(std::span<const unsigned char> frame)
{
    std::size_t at = 2;
    while (at + 14 <= frame.size() && frame[at] == 0xFF) {
        if (frame[at + 1] == 0x52) {
            return frame[at + 13] == 1 ? "1.2.840.10008.1.2.4.90" : "1.2.840.10008.1.2.4.91";
        }
        at += 2 + (static_cast<std::size_t>(frame[at + 2]) << 8 | frame[at + 3]);
    }
    return "1.2.840.10008.1.2.4.91";
}

/** An RLE header holds the number of segments, 1 to 15, and the offset of the first: 64. */
bool Is_RLE(std::span<const unsigned char> frame)
{
    constexpr int Header_Size = 64;
    if (frame.size() < Header_Size) {
        return false;
    }
    const int segments = Get_Int(0, frame.data());
    return segments >= 1 && segments <= 15 && Get_Int(0, frame.data() + 4) == Header_Size;
}

}  // namespace

Encoding Encoding_Of(std::string_view uid)
{
    for (const Native_Syntax& syntax : Native_Syntaxes) {
        if (syntax.uid == uid) {
            return syntax.encoding;
        }
    }
    return {true, false, false, true};
}

std::string_view UID_Of(const Encoding& encoding)
{
    for (const Native_Syntax& syntax : Native_Syntaxes) {
        if (syntax.encoding.Code() == encoding.Code() &&
            syntax.encoding.deflated == encoding.deflated) {
            return syntax.uid;
        }
    }
    return Explicit_Little_UID;
}

std::string Encoding_Text(const Encoding& encoding)
{
    return std::string(encoding.deflated ? "deflated " : "") +
           (encoding.explicit_vr ? "explicit" : "implicit") + " VR " +
           (encoding.big_endian ? "big" : "little") + " endian";
}

bool Guess_Encoding(const Source& source, std::int64_t offset, Encoding& encoding)
{
    std::array<unsigned char, 8> bytes = {};
    if (source.Read(offset, bytes) != bytes.size()) {
        return false;
    }
    const std::int64_t room = source.Size() - offset - static_cast<std::int64_t>(bytes.size());
    const bool explicit_vr = Is_Capital(bytes[4]) && Is_Capital(bytes[5]);
    const unsigned int little = Read_Short(bytes.data(), false);
    const unsigned int big = Read_Short(bytes.data(), true);
    const bool big_endian = big < little;
    encoding = {explicit_vr, big_endian, false, false};
    return (big_endian ? big : little) <= Highest_First_Group &&
           (explicit_vr || Is_Likely_Length(bytes.data() + 4, big_endian, room));
}

std::string_view Guess_Pixel_Syntax(std::span<const unsigned char> frame)
{
    if (frame.size() < 4) {
        return {};
    }
    if (frame[0] == 0xFF && frame[1] == 0xD8) {
        return Guess_JPEG(frame);
    }
    if (frame[0] == 0xFF && frame[1] == 0x4F) {
        return Guess_JPEG_2000(frame);
    }
    return Is_RLE(frame) ? "1.2.840.10008.1.2.5" : std::string_view();
}

}  // namespace dicom_client
