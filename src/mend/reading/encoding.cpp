#include "mend/reading/encoding.h"

#include <array>
#include <iterator>

namespace lib_mend {

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

/** Number of elements that a guess looks at. */
constexpr int Enough_Elements = 4;

bool Is_Capital(unsigned char byte)
{
    return byte >= 'A' && byte <= 'Z';
}

/** VRs whose explicit header has a reserved field and a 4-byte length. */
bool Has_Long_Header(const unsigned char* letters)
{
    constexpr std::string_view Long = "OB OD OF OL OV OW SQ SV UC UN UR UT UV";
    return Long.find({reinterpret_cast<const char*>(letters), 2}) != std::string_view::npos;
}

/** A step over one element, as far as a guess needs it. */
struct Step {
    unsigned int group = 0;
    std::int64_t next = -1;
};

/** Steps over the header, and over the value unless it holds items; false when it is unlikely. */
bool Step_Over(const Source& source, std::int64_t at, const Encoding& encoding, Step& step)
{
    constexpr unsigned int Delimiter_Group = 0xFFFE;
    std::array<unsigned char, 12> bytes = {};
    const std::size_t count = source.Read(at, bytes);
    if (count < 8) {
        return false;
    }
    const unsigned char order = encoding.Code();
    step.group = Get_UShort(order, bytes.data());
    std::int64_t header = 8;
    std::int64_t length = Get_Int(order, bytes.data() + 4);
    bool holds_items = step.group == Delimiter_Group;
    if (encoding.explicit_vr && step.group != Delimiter_Group) {
        const bool is_long = Has_Long_Header(bytes.data() + 4);
        if (!Is_Capital(bytes[4]) || !Is_Capital(bytes[5]) || (is_long && count < 12)) {
            return false;
        }
        header = is_long ? 12 : 8;
        length = is_long ? Get_Int(order, bytes.data() + 8) : Get_UShort(order, bytes.data() + 6);
        holds_items = bytes[4] == 'S' && bytes[5] == 'Q';
    }
    holds_items = holds_items || length == DICOM_Undefined_Length;
    step.next = at + header + (holds_items ? 0 : length);
    return length >= DICOM_Undefined_Length && step.next <= source.Size();
}

/** The first groups of real data sets are low ones; others are those of the wrong byte order. */
constexpr unsigned int Highest_First_Group = 0x00FF;
constexpr unsigned int Any_Group = 0xFFFF;

/** Number of likely elements at an offset, up to Enough_Elements. */
int Count_Likely(const Source& source, std::int64_t offset, const Encoding& encoding,
                 unsigned int highest_first_group)
{
    int count = 0;
    for (std::int64_t at = offset; count < Enough_Elements; ++count) {
        Step step;
        if (!Step_Over(source, at, encoding, step) ||
            (count == 0 && step.group > highest_first_group)) {
            return count;
        }
        at = step.next;
        if (at == source.Size()) {
            return Enough_Elements;
        }
    }
    return count;
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

bool Guess_Encoding(const Source& source, std::int64_t offset, const Encoding* expected,
                    Encoding& encoding)
{
    constexpr Encoding Candidates[] = {
        {true, false, false, false},
        {false, false, false, false},
        {true, true, false, false},
        {false, true, false, false},
    };
    const int as_expected =
        expected != nullptr ? Count_Likely(source, offset, *expected, Any_Group) : 0;
    int most = as_expected;
    for (const Encoding& candidate : Candidates) {
        const int count = Count_Likely(source, offset, candidate, Highest_First_Group);
        if (count > most) {
            most = count;
            encoding = candidate;
        }
    }
    // One likely element alone is no proof against what is declared.
    if (expected != nullptr && (most == as_expected || most < 2)) {
        encoding = {expected->explicit_vr, expected->big_endian, false, false};
    }
    return most > 0;
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

}  // namespace lib_mend
