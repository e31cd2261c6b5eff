// A data set in memory: the lists of its records, where their values lie, and how it was encoded.
#ifndef LIB_MEND_DATA_SET_H
#define LIB_MEND_DATA_SET_H

#include "mend/findings/findings.h"
#include "mend/reading/encoding.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lib_mend {

/** An owned list of records. */
class Record_List {
public:
    Record_List() = default;
    explicit Record_List(DICOM_List* head) : head_(head)
    {
    }
    Record_List(Record_List&& other) noexcept : head_(std::exchange(other.head_, nullptr))
    {
    }
    Record_List& operator=(Record_List&& other) noexcept
    {
        std::swap(head_, other.head_);
        return *this;
    }
    ~Record_List();

    DICOM_List* Head() const
    {
        return head_;
    }
    /** Gives the list away. */
    DICOM_List* Release()
    {
        return std::exchange(head_, nullptr);
    }
    /** For the library's operations that may replace the first record. */
    DICOM_List** Address()
    {
        return &head_;
    }

private:
    DICOM_List* head_ = nullptr;
};

/** Iterates over one list with a range-based for statement. */
class Records {
public:
    class Iterator {
    public:
        explicit Iterator(DICOM_List* record) : record_(record)
        {
        }
        DICOM_List& operator*() const
        {
            return *record_;
        }
        Iterator& operator++()
        {
            record_ = record_->next;
            return *this;
        }
        bool operator!=(const Iterator& other) const
        {
            return record_ != other.record_;
        }

    private:
        DICOM_List* record_;
    };

    explicit Records(DICOM_List* head) : head_(head)
    {
    }
    Iterator begin() const
    {
        return Iterator(head_);
    }
    Iterator end() const
    {
        return Iterator(nullptr);
    }

private:
    DICOM_List* head_;
};

/** The list of an item; null for an empty one, and behind the last. */
inline DICOM_List* Item_Of(const DICOM_List& record, int index)
{
    return index < record.nb_item ? record.item[index] : nullptr;
}

/** Number of items: a null slot ends the used part. */
int Item_Count(const DICOM_List& record);

/** Calls `visit` for every record of a list and of its items, a sequence before its contents. */
void For_Each_Record(DICOM_List* list, const std::function<void(DICOM_List&)>& visit);

/** First record of a list with a tag, null when there is none. */
DICOM_List* Find_Record(DICOM_List* list, Tag tag);

inline Tag Tag_Of(const DICOM_List& record)
{
    return {record.group, record.element};
}

/** Item and delimitation tags, which are no elements of their own. */
inline bool Is_Delimiter(const DICOM_List& record)
{
    return record.group == 0xFFFE;
}

/** Tells whether the bytes of a record are a value, and not those of the records inside it. */
inline bool Has_Value(const DICOM_List& record)
{
    const bool is_fragment = Is_Delimiter(record) && VR_Of(record) == VR_OB;
    return record.size >= 0 && VR_Of(record) != VR_SQ && (!Is_Delimiter(record) || is_fragment);
}

/** Bytes of a source that are no elements. */
struct Skipped {
    std::int64_t offset = 0;
    std::int64_t size = 0;
    /** Where they stand, null for the source of the data set. */
    std::shared_ptr<Source> source = nullptr;
};

struct Data_Set {
    /** Group 0002 in file order, and the data set nested. */
    Record_List meta;
    Record_List records;
    /** Elements of other groups that stand in group 0002, until the data set is read. */
    Record_List strays;
    /** What the positions of `records` refer to: the file, or the inflated data set. */
    std::shared_ptr<Source> source;
    /** What was skipped while reading, in the order of the source. */
    std::vector<Skipped> skipped;
    /** Neither preamble nor group 0002 is there, and that was said. */
    bool bare = false;
    /** The file is no DICOM file, and that was said: there is nothing else to find or to write. */
    bool foreign = false;
    /** The file could not be read: what is here may be wrong, and not only incomplete. */
    bool unreadable = false;
    /** Reading found something to mend: what is written of it may be read in another way once more. */
    bool was_damaged = false;
    /** Heal went over it. */
    bool healed = false;
    /** Transfer syntax as it stands in group 0002; empty when it does not. */
    std::string declared_syntax;
    /** Transfer syntax that the bytes have; empty when pixel data are in one that is not known. */
    std::string syntax;
    Encoding encoding;
    /** Sums over all values, once a UID was made of them. */
    std::optional<std::array<std::uint64_t, 2>> sums;

    /** The bytes of a value from an offset on, read from the source when they were left there. */
    Bytes Value(const DICOM_List& record, std::size_t most = SIZE_MAX, std::size_t from = 0) const;
    /**
     * Copies bytes of a value out, wherever they are, from an offset inside it on.
     *
     * @return number of bytes copied; less than asked for when the source holds less
     */
    std::size_t Read(const DICOM_List& record, std::int64_t offset,
                     std::span<unsigned char> out) const;
    /** A text value without its padding. */
    std::string Text(Tag tag) const;
    /** A US value; `otherwise` when there is none. */
    unsigned int Number(Tag tag, unsigned int otherwise) const;
    /**
     * Brings a value that was left in the source into the record; false when it cannot be read, or
     * has 2 GiB or more.
     * Throws std::bad_alloc, like everything here that needs memory.
     */
    bool Load(DICOM_List& record) const;
};

/** A value that may be long, and whose bytes nothing is known about but the width of its numbers. */
bool Is_Bulk(const DICOM_List& record);

/** Digits and dots, 64 at the most (PS3.5 section 9.1). */
bool Is_UID(std::string_view text);

/** The text of a value without leading and trailing padding. */
std::string Trimmed(const Bytes& value);

}  // namespace lib_mend

#endif
