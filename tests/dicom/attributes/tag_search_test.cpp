// Searches with an index find what searches by walking find, in lists of any order that grow.
#include "attributes/list/attribute_lists.h"

#include "support/record_builder.h"

#include <gtest/gtest.h>

#include <random>

using namespace lib_dicom;

namespace {

/** A list, and how it is searched; its records are numbered in the order of their creation. */
struct Searched {
    explicit Searched(Tag_Search& search_) : search(search_)
    {
    }

    std::string Number_Of(DICOM_List* record)
    {
        if (record == nullptr) {
            return "none";
        }
        record->spare = record->spare != 0 ? record->spare : ++count;
        return std::to_string(record->spare);
    }

    Tag_Search& search;
    Record_List list;
    DICOM_Root root = {};
    unsigned int count = 0;
};

/** Does one thing with a list, and tells what was found. */
std::string Do(Searched& at, unsigned int what, unsigned short element)
{
    DICOM_List*& head = at.list.head;
    if (what % 8 == 0) {
        Record_List record("0008,0000");
        record.head->element = element;
        // A tail that is none: what stands behind it is cut off.
        const bool cuts = what % 512 == 0 && head != nullptr && head->last != nullptr;
        const Record_List cut(cuts ? head->last->next : nullptr);
        if (head != nullptr && !cuts) {
            head->last = nullptr;
        }
        return at.Number_Of(Insert_Record(nullptr, &at.root, &head, record.head, 0, at.search));
    }
    return at.Number_Of(what % 2 == 0
                            ? Get_Record(nullptr, &at.root, head, 0x0008, element, at.search)
                            : Find_Record(nullptr, &at.root, &head, 0x0008, element, at.search));
}

TEST(Tag_Search, FindsWithAnIndexWhatWalkingFinds)
{
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const unsigned int tags = seed % 3 == 0 ? 2000 : 150;
        Tag_Search walking;
        Indexed_Search indexed;
        Searched plain(walking);
        Searched fast(indexed);
        for (int i = 0; i < 2000; ++i) {
            const auto what = static_cast<unsigned int>(random());
            const auto element = static_cast<unsigned short>(1 + random() % tags);
            ASSERT_EQ(Do(fast, what, element), Do(plain, what, element)) << i;
        }
        ASSERT_EQ(Tags(fast.list.head), Tags(plain.list.head));
    }
}

}  // namespace
