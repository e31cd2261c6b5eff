#include "support/case_page.h"
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/dictionary.h>

#include <gmock/gmock.h>

#include <numeric>
#include <random>

namespace {

TEST(Format, NestsAFlatList)
{
    For_Each_Case("dicom/attributes/format.cases", "nested", 3, [](const Case_Row& row) {
        const Message_Log log;
        const Record_List flat(row[0]);
        const Record_List nested(DICOM_Attribute_Format(nullptr, flat.head));
        EXPECT_EQ(Tags(nested.head), row[1]);
        EXPECT_EQ(log.All().size(), row[2].empty() ? 0U : 1U) << log.Text();
        EXPECT_EQ(log.Count(row[2]), static_cast<long>(log.All().size()));
    });
}

TEST(Format, MarksCopiesThatBreakTheSyntax)
{
    For_Each_Case("dicom/attributes/format.cases", "faults", 3, [](const Case_Row& row) {
        const Message_Log log;
        const Record_List flat(row[0]);
        const Record_List nested(DICOM_Attribute_Format(nullptr, flat.head));
        EXPECT_EQ(nested.head->flags & 0x0100, 0x0100);
        EXPECT_EQ(flat.head->flags & 0x0100, 0);
        EXPECT_EQ(log.Count(row[2]), 1) << log.Text();
    });
}

TEST(Format, MarksTheFlatListAndCompletesTheCopies)
{
    Message_Log log;
    const Record_List flat("0008,0001~UL 0009,0010=ACME 0029,1010#16 FFFE,E000#8 0028,0010:QQ");
    flat.head->dict = NEMA_db_Locate(0x0008, 0x0001);
    const Record_List nested(DICOM_Attribute_Format(nullptr, flat.head));
    EXPECT_EQ(log.Text(), "\002    (\001"
                          "0008\002,\001"
                          "0001\002) Retired from DICOM (\001Length "
                          "to End\002)\n");
    EXPECT_EQ(flat.head->flags, 0x0020);
    EXPECT_EQ(flat.head->next->flags, 0x0040);
    EXPECT_EQ(flat.head->next->vr_default, 0);
    EXPECT_EQ(nested.head->next->flags, 0x0440);
    EXPECT_EQ(nested.head->next->vr_default, VR_UN);
    EXPECT_EQ(nested.head->next->next->size, DICOM_Undefined_Length);
    EXPECT_EQ(flat.head->next->next->size, 16);
    EXPECT_EQ(nested.head->next->next->item[0]->next->vr, 0);
}

TEST(Format, PositionsBeyond32BitsDoNotWrap)
{
    const Record_List flat("0008,1140:SQ#32 FFFE,E000#24 0008,1150:UI");
    unsigned int position = 0xFFFFFFE8U;
    for (DICOM_List* record = flat.head; record != nullptr; record = record->next) {
        record->pos = position;
        record->data_pos = position += 8;
    }
    const Record_List nested(DICOM_Attribute_Format(nullptr, flat.head));
    EXPECT_EQ(Tags(nested.head), "0008,1140[FFFE,E000 0008,1150]");
}

void Collect(const DICOM_List* list, std::vector<unsigned int>& numbers)
{
    for (; list != nullptr; list = list->next) {
        numbers.push_back(list->spare);
        for (int i = 0; i < list->nb_item && list->item[i] != nullptr; ++i) {
            Collect(list->item[i], numbers);
        }
    }
}

void Expect_Every_Record_Once(const Record_List& flat, unsigned int count)
{
    unsigned int number = 0;
    for (DICOM_List* record = flat.head; record != nullptr; record = record->next) {
        record->spare = ++number;
    }
    const Record_List nested(DICOM_Attribute_Format(nullptr, flat.head));
    std::vector<unsigned int> expected(count);
    std::iota(expected.begin(), expected.end(), 1U);
    std::vector<unsigned int> numbers;
    Collect(nested.head, numbers);
    EXPECT_THAT(numbers, testing::UnorderedElementsAreArray(expected));
}

TEST(Format, NoRecordOfAnyFlatListIsLostOrDoubled)
{
    const char* const words[] = {
        "0008,1140:SQ*", "0008,1140:SQ#16", "0040,0275:SQ*", "0040,0275:SQ#90", "FFFE,E000*",
        "FFFE,E000*",    "FFFE,E000#0",     "FFFE,E000#24",  "FFFE,E00D~Ia",    "FFFE,E0DD~Ia",
        "7FE0,0010:OB*", "0029,1010*",      "0029,1010#40",  "0008,1150:UI=1",  "0010,0010=A!1",
        "0008,0005!1",   "0009,0010=A_B!1", "0040,A160:UT*", "5200,9229:SQ*!1"};
    const Message_Log log;
    for (unsigned int seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto count = static_cast<unsigned int>(1 + random() % 60);
        Record_List flat;
        for (unsigned int i = 0; i < count; ++i) {
            DICOM_List& record = flat.Add(words[random() % std::size(words)]);
            if (random() % 16 == 0) {
                record.pos = static_cast<unsigned int>(random());
            }
            if (random() % 16 == 0 && record.data == nullptr) {
                record.size = static_cast<int>(random());
            }
        }
        Expect_Every_Record_Once(flat, count);
        if (HasFailure()) {
            return;
        }
    }
}

TEST(Format, SequencesDeeperThanTheContextKeepTheirRecords)
{
    Message_Log log;
    Record_List flat;
    for (int depth = 0; depth < 12; ++depth) {
        flat.Add("0008,1140:SQ*");
        flat.Add("FFFE,E000*");
    }
    Expect_Every_Record_Once(flat, 24);
    EXPECT_EQ(log.Count("To many \"sequences\" in DICOM stream"), 3);
}

}  // namespace
