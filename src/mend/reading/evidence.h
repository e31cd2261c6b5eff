// What speaks for an encoding: headers that follow each other as those of a data set do.
//
//   explicit VR   gggg eeee V R llll            value ...      most VRs
//                 gggg eeee V R 0000 llllllll   value ...      OB OD OF OL OV OW SQ SV UC UN UR UT UV
//   implicit VR   gggg eeee llllllll            value ...      and items in every encoding
//
// One header may look sound by chance. Two that follow each other hardly do: the tag has to be one of
// the registry, the VR the one that the registry gives it, and the length has to lead to the next.
#ifndef LIB_MEND_EVIDENCE_H
#define LIB_MEND_EVIDENCE_H

#include "mend/findings/findings.h"
#include "mend/reading/encoding.h"

namespace lib_mend {

/** A header as one encoding gives it. */
struct Plain_Header {
    Tag tag;
    /** Letters of the VR, 0 where the encoding has none. */
    unsigned short vr = 0;
    std::int64_t length = 0;
    int size = 0;
};

/** Reads a header; false when the source ends too early, or explicit VR has no VR of the standard. */
bool Read_Plain_Header(const Source& source, std::int64_t at, const Encoding& encoding,
                       Plain_Header& header);

/** How well the elements from an offset on fit an encoding, by the first sixteen; 0 for not at all. */
int Score_Of(const Source& source, std::int64_t offset, const Encoding& encoding);

/** A score that chance does not reach. */
inline constexpr int Sure_Score = 5;

/** Tells whether the first elements in a source speak for one of the encodings. */
bool Is_Data_Set(const Source& source, std::int64_t at);

/** Pairs of headers that follow each other, wherever they stand behind an offset. */
struct Survey {
    int pairs = 0;
    /** Place of the first, -1 for none. */
    std::int64_t first = -1;
};

/** Looks through the first 64 KiB behind an offset. */
Survey Survey_Of(const Source& source, std::int64_t offset, const Encoding& encoding);

/** The four forms of headers. */
inline constexpr Encoding Header_Forms[] = {
    {true, false, false, false},
    {false, false, false, false},
    {true, true, false, false},
    {false, true, false, false},
};

}  // namespace lib_mend

#endif
