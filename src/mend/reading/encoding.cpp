#include "mend/reading/encoding.h"

#include "mend/reading/evidence.h"

#include <algorithm>
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

/** What speaks for each of the four forms of headers. */
struct Votes {
    std::array<int, std::size(Header_Forms)> scores = {};
    std::array<int, std::size(Header_Forms)> pairs = {};
};

std::size_t Form_Of(const Encoding& encoding)
{
    std::size_t form = 0;
    while (Header_Forms[form].Code() != encoding.Code()) {
        ++form;
    }
    return form;
}

std::size_t Best_Of(const std::array<int, std::size(Header_Forms)>& counts)
{
    return static_cast<std::size_t>(std::max_element(counts.begin(), counts.end()) -
                                    counts.begin());
}

Votes Count_Votes(const Source& source, std::int64_t offset)
{
    Votes votes;
    for (std::size_t i = 0; i < std::size(Header_Forms); ++i) {
        votes.scores[i] = Score_Of(source, offset, Header_Forms[i]);
        votes.pairs[i] = Survey_Of(source, offset, Header_Forms[i]).pairs;
    }
    return votes;
}

/** The form that the first elements have; when they do not tell, that of most pairs of headers. */
std::size_t Chosen_Form(const Votes& votes, const Encoding* expected)
{
    const std::size_t first = Best_Of(votes.scores);
    const std::size_t most = Best_Of(votes.pairs);
    if (expected == nullptr) {
        return votes.scores[first] >= Sure_Score || votes.pairs[most] == 0 ? first : most;
    }
    const std::size_t declared = Form_Of(*expected);
    const bool first_tells = votes.scores[first] >= Sure_Score &&
                             votes.scores[first] > 2 * votes.scores[declared] &&
                             votes.pairs[first] >= votes.pairs[declared];
    const bool pairs_tell = votes.pairs[most] >= 2 &&
                            votes.pairs[most] > 2 * votes.pairs[declared] &&
                            votes.scores[declared] < Sure_Score;
    return first_tells ? first : pairs_tell ? most : declared;
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
    if (expected != nullptr && Score_Of(source, offset, *expected) >= Sure_Score) {
        encoding = Header_Forms[Form_Of(*expected)];
        return true;
    }
    const Votes votes = Count_Votes(source, offset);
    encoding = Header_Forms[Chosen_Form(votes, expected)];
    return votes.scores[Best_Of(votes.scores)] > 0 || votes.pairs[Best_Of(votes.pairs)] > 0;
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
