// One header of group 0002, sound or damaged.
//
//   sound             02 00 10 00  U I  14 00               value
//                     02 00 01 00  O B  00 00  02 00 00 00  value
//   small letters     02 00 10 00  u i  14 00               value
//   unknown VR        02 00 10 00  - -  14 00               value     or with 4 bytes of length
//   other width       02 00 10 00  U I  00 00  14 00 00 00  value
//   implicit VR       02 00 10 00  14 00 00 00              value
//   big endian        00 02 00 10  U I  00 14               value
//   wrong length      02 00 10 00  U I  13 00               value
//   wrong tag         03 00 10 00  U I  14 00               value
//
// Of all readings of a header the first counts behind whose value something follows that makes sense:
// another header of the group, the place where the group ends by its length, or a data set. When
// there is none, the value ends where the next header of the group stands.
#ifndef LIB_MEND_META_HEADER_H
#define LIB_MEND_META_HEADER_H

#include "mend/findings/findings.h"
#include "mend/io/source.h"

namespace lib_mend {

inline constexpr unsigned short Meta_Group = 0x0002;
inline constexpr Tag Transfer_Syntax_Tag = {Meta_Group, 0x0010};
/** In front of the prefix and the group. */
inline constexpr std::int64_t Preamble_Size = 128;

struct Meta_Header {
    /** What is wrong with the way in which the VR and the length are given. */
    enum class Form { Sound, Small_Letters, Unknown_VR, Other_Width, Implicit };

    Tag tag = {};
    Form form = Form::Sound;
    bool big_endian = false;
    /** As it stands in the header, 0 when there is none of the standard. */
    unsigned short vr = 0;
    /** The reserved bytes in front of a length of four bytes are not zero. */
    bool reserved_in_use = false;
    std::int64_t value = 0;
    std::int64_t length = 0;
    /** What the header says. */
    std::int64_t claimed = 0;

    std::int64_t Next() const
    {
        return value + length;
    }
};

/** Finds out where the elements of the group stand. */
class Meta_Headers {
public:
    /** @param start  of the group; all of it is in the byte order of its first header */
    Meta_Headers(const Source& source, std::int64_t start);

    /** The place where the group ends by its length. */
    void Set_End(std::int64_t end)
    {
        end_ = end;
    }
    std::int64_t End() const
    {
        return end_;
    }

    /** Tells whether the tag of an element of the group stands at a place. */
    bool Is_Tag(std::int64_t at) const;
    /** Tells whether a data set begins at a place. */
    bool Is_Data_Set(std::int64_t at) const;
    /** Reads a header of the group; false when the file ends before its value does. */
    bool Read(std::int64_t at, Meta_Header& header) const;
    /** Reads a header of another group that stands between those of this one. */
    bool Read_Foreign(std::int64_t at, Meta_Header& header) const;
    /**
     * The next place where the group or the data set goes on.
     *
     * @return the place, -1 when there is none
     */
    std::int64_t Find_Next(std::int64_t at, Tag after) const;

private:
    bool Tag_At(std::int64_t at, Tag& tag) const;
    bool Follows(std::int64_t next, Tag after) const;
    bool Is_Sound_Behind(std::int64_t next) const;
    bool Settle_Length(Meta_Header& header) const;
    bool May_Be_Value(const Meta_Header& header, std::int64_t end) const;

    const Source& source_;
    bool big_endian_ = false;
    std::int64_t end_ = -1;
    /** Searches that found nothing cost much, and more than a few are those of a hostile file. */
    mutable int searches_left_ = 16;
};

/**
 * The tag of the group that a tag of another group was before one of its bytes changed: it has the VR
 * of the header, and stands behind `after`.
 *
 * @return the tag; 0000,0000 when there is none, or more than one
 */
Tag Undamaged_Tag(const Meta_Header& header, Tag after);

/** VR that the registry gives an element of the group, UN for one that it does not know. */
unsigned short Registered_VR(Tag tag);

}  // namespace lib_mend

#endif
