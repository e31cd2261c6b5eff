#include "mend/healing/order.h"

#include "mend/reading/tree.h"
#include "mend/writing/encoder.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace lib_mend {

namespace {

/** The header of an item stands in front of its elements. */
Tag Key_Of(const DICOM_List& record)
{
    const Tag tag = Tag_Of(record);
    return tag == Item_Tag ? Tag() : tag;
}

bool Precedes(const DICOM_List* record, const DICOM_List* other)
{
    return Key_Of(*record) < Key_Of(*other);
}

/** The end of a list of items, wherever it stands. */
bool Is_End(const DICOM_List& record)
{
    return Is_Delimiter(record) && Tag_Of(record) != Item_Tag;
}

/** The first record that does not follow the one before it; null when all do. */
const DICOM_List* First_Out_Of_Order(const DICOM_List* list, bool repeats_count)
{
    const DICOM_List* before = nullptr;
    for (const DICOM_List* record = list; record != nullptr; record = record->next) {
        if (Is_End(*record)) {
            continue;
        }
        if (before != nullptr &&
            (Precedes(record, before) || (repeats_count && !Precedes(before, record)))) {
            return record;
        }
        before = record;
    }
    return nullptr;
}

bool Is_Empty_Record(const DICOM_List& record)
{
    return record.size == 0 || (Holds_Items(record) && Item_Of(record, 0) == nullptr);
}

/** Compares an element with later ones of its tag; what it takes is the size of those. */
class Original {
public:
    Original(const Data_Set& set, const DICOM_List& record) : set_(set), record_(record)
    {
    }

    bool Equals(const DICOM_List& other)
    {
        const bool has_items = Holds_Items(record_) || Holds_Fragments(record_);
        if (VR_Of(record_) != VR_Of(other) ||
            has_items != (Holds_Items(other) || Holds_Fragments(other))) {
            return false;
        }
        return has_items ? Same_Items(other) : Same_Value(other);
    }

private:
    bool Same_Value(const DICOM_List& other) const
    {
        const std::int64_t whole = Size_Of(other);
        if (Size_Of(record_) != whole || record_.byte_order != other.byte_order) {
            return false;
        }
        std::array<unsigned char, 4096> first;
        std::array<unsigned char, 4096> second;
        for (std::int64_t at = 0; at < whole; at += std::ssize(first)) {
            const auto size =
                static_cast<std::size_t>(std::min<std::int64_t>(whole - at, std::ssize(first)));
            if (!Read(record_, at, {first.data(), size}) ||
                !Read(other, at, {second.data(), size}) ||
                !std::equal(first.begin(), first.begin() + size, second.begin())) {
                return false;
            }
        }
        return true;
    }
    bool Read(const DICOM_List& record, std::int64_t at, std::span<unsigned char> out) const
    {
        return set_.Read(record, at, out) == out.size();
    }

    bool Same_Items(const DICOM_List& other)
    {
        const Bytes bytes = Encoded(other);
        if (!encoded_.has_value()) {
            encoded_ = Encoded(record_);
        }
        return bytes == *encoded_;
    }
    Bytes Encoded(const DICOM_List& record) const
    {
        DICOM_List alone = record;
        alone.next = nullptr;
        Encoded_File out;
        Encode_List(set_.source, &alone, {Encoding_Of(Explicit_Little_UID)}, out);
        return out.Joined();
    }

    const Data_Set& set_;
    const DICOM_List& record_;
    std::optional<Bytes> encoded_;
};

/** Puts one list in order. */
class Orderer {
public:
    Orderer(const Data_Set& set, Findings& findings) : set_(set), findings_(findings)
    {
    }

    void Order(DICOM_List** list, const Path& path)
    {
        if (*list == nullptr || First_Out_Of_Order(*list, true) == nullptr || Is_Fragment(**list)) {
            return;
        }
        if (const DICOM_List* const first = First_Out_Of_Order(*list, false)) {
            Report_Order(*first, path);
        }
        std::vector<DICOM_List*> records;
        for (DICOM_List& record : Records(*list)) {
            records.push_back(&record);
        }
        std::stable_sort(records.begin(), records.end(), Precedes);
        // Nothing is freed before all is said and linked, which may fail for want of memory.
        std::vector<DICOM_List*> repeated;
        Take_Out_Repeated(records, repeated, path);
        Link(list, records);
        for (DICOM_List* const record : repeated) {
            DICOM_Attribute_Free(nullptr, record);
        }
    }

private:
    static bool Is_Fragment(const DICOM_List& first)
    {
        return Tag_Of(first) == Item_Tag && VR_Of(first) == VR_OB;
    }

    void Report_Order(const DICOM_List& record, const Path& path)
    {
        if (!said_) {
            findings_.Report(Fault::Order, Level::Change, At(record, path),
                             "stands out of order; the elements are sorted by their tags");
        }
        said_ = true;
    }

    /** Keeps one of the records of each tag. */
    void Take_Out_Repeated(std::vector<DICOM_List*>& records, std::vector<DICOM_List*>& repeated,
                           const Path& path)
    {
        std::size_t kept_count = 0;
        for (std::size_t at = 0; at < records.size();) {
            std::size_t end = at + 1;
            while (end < records.size() && !Is_Delimiter(*records[at]) &&
                   Tag_Of(*records[end]) == Tag_Of(*records[at])) {
                ++end;
            }
            DICOM_List* const kept = Keep_One({records.data() + at, end - at}, repeated, path);
            records[kept_count++] = kept;
            at = end;
        }
        records.resize(kept_count);
    }

    DICOM_List* Keep_One(std::span<DICOM_List* const> same, std::vector<DICOM_List*>& repeated,
                         const Path& path)
    {
        const auto filled = std::find_if(same.begin(), same.end(), [](const DICOM_List* record) {
            return !Is_Empty_Record(*record);
        });
        DICOM_List* const kept = filled != same.end() ? *filled : same.front();
        Original original(set_, *kept);
        for (DICOM_List* const record : same) {
            if (record != kept) {
                Report_Repeated(*record, original, path);
                repeated.push_back(record);
            }
        }
        return kept;
    }

    void Report_Repeated(const DICOM_List& record, Original& original, const Path& path)
    {
        if (Is_Empty_Record(record)) {
            findings_.Report(Fault::Duplicate, Level::Change, At(record, path),
                             "occurs twice; one without a value is left out");
        } else if (Is_Group_Length(record)) {
            findings_.Report(Fault::Duplicate, Level::Change, At(record, path),
                             "occurs twice; one group length is enough");
        } else if (original.Equals(record)) {
            findings_.Report(Fault::Duplicate, Level::Change, At(record, path),
                             "occurs twice with the same value; the first one is kept");
        } else {
            findings_.Report(Fault::Duplicate, Level::Error, At(record, path),
                             "occurs twice with different values; the first one is kept, and this "
                             "one of " +
                                 std::to_string(Size_Of(record)) + " bytes is lost");
        }
    }

    static void Link(DICOM_List** list, const std::vector<DICOM_List*>& records)
    {
        for (std::size_t i = 0; i < records.size(); ++i) {
            records[i]->next = i + 1 < records.size() ? records[i + 1] : nullptr;
        }
        *list = records.front();
        (*list)->last = records.back();
    }

    const Data_Set& set_;
    Findings& findings_;
    bool said_ = false;
};

}  // namespace

bool Order_Watch::Follows(const DICOM_List& record)
{
    if (Is_End(record)) {
        return true;
    }
    const Tag key = Key_Of(record);
    const bool follows = is_first_ || before_ < key;
    is_first_ = false;
    before_ = key;
    return follows;
}

void Heal_Order(const Data_Set& set, Record_List& list, Findings& findings)
{
    Orderer orderer(set, findings);
    For_Each_List(list.Address(),
                  [&](DICOM_List** records, const Path& path) { orderer.Order(records, path); });
}

}  // namespace lib_mend
