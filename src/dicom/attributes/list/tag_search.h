// How the operations on lists look for tags: by walking, or with an index that lives as long as one
// call.
#ifndef LIB_DICOM_SRC_ATTRIBUTES_TAG_SEARCH_H
#define LIB_DICOM_SRC_ATTRIBUTES_TAG_SEARCH_H

#include "frame/record_codes.h"

#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>

namespace lib_dicom {

/** Searches by walking a list from its head. */
class Tag_Search {
public:
    virtual ~Tag_Search() = default;

    /** The first record with a tag; null when there is none. */
    virtual DICOM_List* First(DICOM_List* head, std::uint32_t tag);
    /**
     * The record at which a search for the place of a tag ends: from the head on, the last before a
     * record with a higher tag. The head itself is not compared. Null in an empty list.
     */
    virtual DICOM_List* Reached(DICOM_List* head, std::uint32_t tag);

    /* What became of a list that was searched. */

    /** A record was put before the head. */
    virtual void Added_Head(DICOM_List*, DICOM_List*)
    {
    }
    /** A record was put where Reached ended. */
    virtual void Added_In_Place(DICOM_List*, DICOM_List*)
    {
    }
    /** A record with a tag, which it does not hold yet, was put at the end. */
    virtual void Added_Last(DICOM_List*, DICOM_List*, std::uint32_t)
    {
    }
    /** Records were cut off. */
    virtual void Cut(DICOM_List*)
    {
    }
};

/**
 * The same with an index of each list that long searches are made in, for one call during which
 * nobody else changes the lists.
 */
class Indexed_Search final : public Tag_Search {
public:
    DICOM_List* First(DICOM_List* head, std::uint32_t tag) override;
    DICOM_List* Reached(DICOM_List* head, std::uint32_t tag) override;
    void Added_Head(DICOM_List* old_head, DICOM_List* head) override;
    void Added_In_Place(DICOM_List* head, DICOM_List* record) override;
    void Added_Last(DICOM_List* head, DICOM_List* record, std::uint32_t tag) override;
    void Cut(DICOM_List* head) override;
    /** Forgets all lists. */
    void Clear()
    {
        lists_.clear();
    }

private:
    /** Index of one list, whose records are never taken out. */
    class Index {
    public:
        explicit Index(DICOM_List* head);

        DICOM_List* First(std::uint32_t tag) const;
        DICOM_List* Reached(DICOM_List* head, std::uint32_t tag) const;
        void Added_Head(DICOM_List* old_head, DICOM_List* head);
        void Added_In_Place(DICOM_List* record);
        void Added_Last(DICOM_List* record, std::uint32_t tag);

    private:
        struct First_Record {
            DICOM_List* record;
            /** It is the head, or was. */
            bool is_head;
            /** When it was taken up, a record between the head and it had a higher tag. */
            bool is_behind_higher;
            /** Tag of the head at that time. */
            std::uint32_t head;
        };
        bool Is_Behind_Place(const First_Record& first, std::uint32_t tag) const;

        std::unordered_map<std::uint32_t, First_Record> first_;
        /**
         * A search passes records as long as the highest tag behind the head that it came by is not
         * above the one that it looks for. For each highest tag: the last record up to which it is
         * that.
         */
        std::map<std::uint32_t, DICOM_List*> last_;
        /** Tag of the head. New heads have ever lower tags. */
        std::uint32_t head_;
    };

    struct Entry {
        int long_searches = 0;
        std::optional<Index> index;
    };

    /** The index of a list; null as long as its searches are few, and without memory. */
    const Index* Index_Of(DICOM_List* head);
    template <class Change>
    void Keep_Up(DICOM_List* head, Change&& change);

    std::unordered_map<const DICOM_List*, Entry> lists_;
};

}  // namespace lib_dicom

#endif
