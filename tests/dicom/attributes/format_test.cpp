#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/dictionary.h>

#include <gmock/gmock.h>

#include <numeric>
#include <random>

namespace {

struct Format_Case {
    std::string flat;
    std::string expected;
    /** Part of the one warning, none when empty. */
    std::string warning = "";
};

TEST(Format, NestsAFlatList)
{
    const Format_Case cases[] = {
        {"", ""},
        {"0008,1140:SQ* FFFE,E000* 0008,1150 0008,1155 FFFE,E00D FFFE,E0DD 0010,0010",
         "0008,1140[FFFE,E000 0008,1150 0008,1155 FFFE,E00D] FFFE,E0DD 0010,0010"},
        {"0008,1140:SQ#24 FFFE,E000#16 0008,1150=12345678 0010,0010",
         "0008,1140[FFFE,E000 0008,1150] 0010,0010"},
        {"0008,1140:SQ#0 0010,0010", "0008,1140 0010,0010"},
        // Sequences of known length inside an item of undefined length, and the other way round.
        {"0040,0275:SQ* FFFE,E000* 0040,0008:SQ#8 FFFE,E000#0 0040,1001 FFFE,E00D FFFE,E0DD",
         "0040,0275[FFFE,E000 0040,0008[FFFE,E000] 0040,1001 FFFE,E00D] FFFE,E0DD"},
        {"0040,0275:SQ#48 FFFE,E000#32 0040,0008:SQ* FFFE,E000* FFFE,E00D FFFE,E0DD FFFE,E000#0 "
         "0040,1001",
         "0040,0275[FFFE,E000 0040,0008[FFFE,E000 FFFE,E00D] FFFE,E0DD][FFFE,E000] 0040,1001"},
        // A delimiter in front of the announced end leaves nothing that ends the next sequence.
        {"0008,1140:SQ#60 FFFE,E000* FFFE,E00D FFFE,E0DD 0040,0275:SQ* FFFE,E000* "
         "0040,0008=34567890123456 0040,0009 FFFE,E00D FFFE,E0DD",
         "0008,1140[FFFE,E000 FFFE,E00D] FFFE,E0DD 0040,0275[FFFE,E000 0040,0008 0040,0009 "
         "FFFE,E00D] FFFE,E0DD"},
        {"7FE0,0010:OB* FFFE,E000=AB FFFE,E000=CD FFFE,E0DD",
         "7FE0,0010[FFFE,E000][FFFE,E000] FFFE,E0DD"},
        // Only a sequence stands in front of an item; the item around it may have ended, though.
        {"0029,1010* FFFE,E000* 0029,1011 FFFE,E00D FFFE,E000* FFFE,E00D FFFE,E0DD 0029,1012",
         "0029,1010[FFFE,E000 0029,1011 FFFE,E00D][FFFE,E000 FFFE,E00D] FFFE,E0DD 0029,1012"},
        {"0029,1010#16 FFFE,E000#8 0029,1011 0029,1012",
         "0029,1010[FFFE,E000 0029,1011] 0029,1012"},
        {"0008,1140:SQ#32 FFFE,E000#8 0029,1010 FFFE,E000#8 0029,1010",
         "0008,1140[FFFE,E000 0029,1010][FFFE,E000 0029,1010]"},
        {"0008,1140:SQ*!1 FFFE,E000*!1 0040,0001!1 0010,0010!1 0010,0020!1",
         "0008,1140[FFFE,E000 0040,0001] 0010,0010 0010,0020",
         "(\001"
         "0010\002,\001"
         "0010\002) missing end of sequence tag!"},
        {"0010,0010!1 0008,0005!1 0008,0001!1", "0010,0010 0008,0005 0008,0001",
         "(\001"
         "0008\002,\001"
         "0005\002) tags should be sorted!"},
        {"0010,0010!2 0008,0005!2", "0010,0010 0008,0005"},
        {"FFFE,E0DD 0010,0010", "FFFE,E0DD 0010,0010", "To many \"out of sequences\""},
        {"FFFE,E00D FFFE,E000 0010,0010", "FFFE,E00D FFFE,E000 0010,0010"},
        // A length that cannot be one ends nothing.
        {"0008,1140:SQ#-5 FFFE,E000#-2 0008,1150", "0008,1140[FFFE,E000 0008,1150]"},
    };
    for (const Format_Case& test : cases) {
        SCOPED_TRACE(test.flat);
        Message_Log log;
        const Record_List flat(test.flat);
        const Record_List nested(DICOM_Attribute_Format(nullptr, flat.head));
        EXPECT_EQ(Tags(nested.head), test.expected);
        EXPECT_EQ(log.All().size(), test.warning.empty() ? 0U : 1U) << log.Text();
        EXPECT_EQ(log.Count(test.warning), static_cast<long>(log.All().size()));
    }
}

TEST(Format, MarksCopiesThatBreakTheSyntax)
{
    const Format_Case cases[] = {
        {"0008,1140:SQ*", "", "Syntax Error! VR=SQ should be followed by an \"item\" tag"},
        {"0008,1140:SQ* 0010,0010", "", "Syntax Error! VR=SQ should be followed by"},
        {"0040,A160:UT* FFFE,E000", "", "Variable length tag is not allowed for VR=UT"},
        {"7FE0,0010:OW* FFFE,E0DD!1", "",
         "VR=OW Variable length tag should be followed by an \"item\" tag"},
        {"0029,1010:UN*", "", "VR=UN Variable length tag should be followed by"},
    };
    for (const Format_Case& test : cases) {
        SCOPED_TRACE(test.flat);
        Message_Log log;
        const Record_List flat(test.flat);
        const Record_List nested(DICOM_Attribute_Format(nullptr, flat.head));
        EXPECT_EQ(nested.head->flags & 0x0100, 0x0100);
        EXPECT_EQ(flat.head->flags & 0x0100, 0);
        EXPECT_EQ(log.Count(test.warning), 1) << log.Text();
    }
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
