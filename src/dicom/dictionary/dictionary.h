// A data dictionary in memory: groups in ascending order, each with its entries.
#ifndef LIB_DICOM_SRC_DICTIONARY_DICTIONARY_H
#define LIB_DICOM_SRC_DICTIONARY_DICTIONARY_H

#include <Lib_DICOM/dictionary.h>

#include <deque>
#include <span>
#include <string_view>
#include <vector>

namespace lib_dicom {

/** Largest number of VR alternatives of an entry. */
inline constexpr int Max_Alternatives = 3;

/** One "VR VM" of a line. */
struct Alternative {
    unsigned short vr = 0;
    std::string_view vm;
};

/** One line of a table, taken apart. */
struct Dictionary_Line {
    unsigned short group = 0;
    /** 0xF in each hexadecimal position of the group that holds a real digit, 0 for "x". */
    unsigned short group_mask = 0;
    unsigned short element = 0;
    unsigned short elem_mask = 0;
    std::string_view name;
    bool is_retired = false;
    int nb_alternative = 0;
    /** The alternatives in the order in which they were found, from the end of the line. */
    Alternative alternatives[Max_Alternatives];
};

using Dictionary_Lines = std::span<const char* const>;

/** One group. */
struct TAG_db_Group {
    /** Place of an entry; the element stands here too so that a search stays within the array. */
    struct Slot {
        unsigned short element;
        TAG_db_Elems* entry;
    };

    unsigned short group;
    unsigned short group_mask;
    /** The chain of entries in its order; behind the first, the elements ascend. */
    std::vector<Slot> slots;
    /** Lines that nobody has asked for yet. */
    Dictionary_Lines unread;

    /** Walks the chain up to `element`: null when the walk ends or meets a higher element. */
    TAG_db_Elems* Find(unsigned short element) const;
};

class Dictionary {
public:
    /**
     * Inserts the entry of one line.
     *
     * @return false after a warning when the tag is there already
     */
    bool NEMA_db_Add_Entry(HWND handle, const Dictionary_Line& line);

    /**
     * Takes the lines of one group, which are parsed when the group is first asked for: most programs
     * ask for a few. Groups come in ascending order.
     */
    void Add_Group(const TAG_db_Group& group);

    /** Finds the entry of a tag, null when there is none. Without memory the next call tries again. */
    TAG_db_Elems* Find(unsigned short group, unsigned short element);

    /** All groups, with their entries. */
    const std::vector<TAG_db_Group>& Groups();

private:
    TAG_db_Group& Open_Group(unsigned short group, unsigned short group_mask);
    void Read(TAG_db_Group& group);
    /** The first group that is not below another. */
    std::size_t Place_Of(unsigned short group) const;

    std::vector<TAG_db_Group> groups_;
    /** The group that was asked for last, and the first of `groups_` that may be it. */
    unsigned short last_group_ = 0;
    std::size_t last_place_ = 0;
    /** Owner of the entries, which never move. */
    std::deque<TAG_db_Elems> entries_;
};

/** Changes whenever NEMA_db_Cleanup releases the entries that were handed out before. */
unsigned int Dictionary_Generation();

}  // namespace lib_dicom

#endif
