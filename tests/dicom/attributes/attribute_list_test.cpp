#include "support/message_log.h"
#include "support/record_builder.h"

#include <gmock/gmock.h>

namespace {

/** A list with its records appended one by one, as a reader builds it. */
struct Inserted_List : Record_List {
    explicit Inserted_List(const std::string& notation)
    {
        const Record_List flat(notation);
        for (DICOM_List* record = flat.head; record != nullptr; record = record->next) {
            DICOM_Attribute_Insert(nullptr, &root, &head, record, 0);
        }
    }
    DICOM_Root root = {};
};

/** Gives a record one item for each notation. */
void Add_Items(DICOM_List& record, std::initializer_list<const char*> items)
{
    record.vr = VR_SQ;
    record.nb_item = static_cast<int>(items.size());
    record.item = static_cast<DICOM_List**>(std::calloc(items.size(), sizeof(DICOM_List*)));
    DICOM_List** slot = record.item;
    for (const char* notation : items) {
        Record_List item(notation);
        for (DICOM_List* inner = item.head; inner != nullptr; inner = inner->next) {
            inner->depth = static_cast<unsigned char>(record.depth + 1);
        }
        *slot++ = std::exchange(item.head, nullptr);
    }
}

TEST(Attribute_List, FindKeepsTheOrderAndRemembersWhatItCreated)
{
    Record_List list;
    DICOM_Root root = {};
    DICOM_List* const first = DICOM_Attribute_Find(nullptr, &root, &list.head, 0x0010, 0x0010);
    EXPECT_EQ(first->last, first);
    for (const unsigned short group :
         std::initializer_list<unsigned short>{0x0020, 0x0008, 0x0018}) {
        DICOM_List* const created = DICOM_Attribute_Find(nullptr, &root, &list.head, group, 0x0010);
        EXPECT_EQ(list.head->last, created);
    }
    EXPECT_EQ(Tags(list.head), "0008,0010 0010,0010 0018,0010 0020,0010");
    EXPECT_EQ(DICOM_Attribute_Find(nullptr, &root, &list.head, 0x0010, 0x0010), first);
    EXPECT_EQ(root.Sequence_Group[0], 0x0010);

    // The next record goes behind the one created last, and what stood there is cut off.
    Record_List cut_off(list.head->next->next->next);
    Record_List record("0040,0001");
    DICOM_Attribute_Insert(nullptr, &root, &list.head, record.head, 0);
    EXPECT_EQ(Tags(list.head), "0008,0010 0010,0010 0018,0010 0040,0001");
}

// The search starts behind the head where it may; lists out of order show that it may not.
TEST(Attribute_List, FindGoesByTheFirstHigherTagInListsOutOfOrder)
{
    const struct {
        const char* list;
        unsigned short element;
        const char* expected;
    } cases[] = {
        {"0008,0001 0008,0003", 4, "0008,0001 0008,0003 0008,0004"},
        {"0008,0001 0008,0009 0008,0003", 4, "0008,0001 0008,0004 0008,0009 0008,0003"},
        {"0008,0001 0008,0005 0008,0009 0008,0003", 5, "0008,0001 0008,0005 0008,0009 0008,0003"},
        {"0008,0001 0008,0009 0008,0003", 9, "0008,0001 0008,0009 0008,0003 0008,0009"},
        {"0008,0009 0008,0003", 4, "0008,0004 0008,0009 0008,0003"},
    };
    for (const auto& test : cases) {
        Inserted_List found(test.list);
        Inserted_List merged(test.list);
        const Record_List source("0008,000" + std::to_string(test.element));
        DICOM_Root root = {};
        DICOM_Attribute_Find(nullptr, &root, &found.head, 0x0008, test.element);
        DICOM_Attribute_Copy(nullptr, &root, &merged.head, source.head);
        EXPECT_EQ(Tags(found.head), test.expected);
        EXPECT_EQ(Tags(merged.head), test.expected);
    }
}

TEST(Attribute_List, GetTakesWildcardsAndPatterns)
{
    DICOM_Root root = {};
    const Record_List list("0008,0005 0009,0010 0010,0010 60A2,0010");
    const auto get = [&](auto group, auto element) {
        DICOM_List* const found = DICOM_Attribute_Get(nullptr, &root, list.head, group, element, 1);
        return found != nullptr ? Tags(found).substr(0, 9) : "";
    };
    using Number = unsigned short;
    EXPECT_EQ(get(Number{0xFFFF}, Number{0xFFFF}), "0008,0005");
    EXPECT_EQ(get(Number{0xFFFF}, Number{0x0010}), "0009,0010");
    EXPECT_EQ(get(Number{0x0010}, Number{0xFFFF}), "0010,0010");
    EXPECT_EQ(get(Number{0x0010}, Number{0x0011}), "");
    EXPECT_EQ(get("60??", "0010"), "60A2,0010");
    EXPECT_EQ(get("*A2", "*"), "60A2,0010");
    EXPECT_EQ(get("001", "*"), "");
    EXPECT_EQ(DICOM_Attribute_Get(nullptr, &root, nullptr, "*", "*", 0), nullptr);
}

struct Append_Case {
    const char* target;
    const char* source;
    std::string expected;
    long warnings = 0;
};

TEST(Attribute_List, AppendingJoinsValuesByTheirVR)
{
    const Append_Case cases[] = {
        {"0008,0008:CS=A_!1", "0008,0008:CS=B_!8000", "A \\B  "},
        {"0008,0008~CS=A!1", "0008,0008~CS=B!8000", "A\\B "},
        {"0010,4000:LT=A!1", "0010,4000:LT=B!8000", "A\nB "},
        {"0029,1010:UN=A!1", "0029,1010:UN=B!8000", "AB"},
        {"0008,0020:DA=A!1", "0008,0020:DA=B!8000", "A", 1},
        {"0008,0018:UI=1.2!1", "0008,0018:UI=3!8000", "1.2", 1},
        {"0008,0018:ZZ=A!1", "0008,0018:ZZ=B!8000", "A"},
        // Without the mark what is there stays; an empty value takes the first one.
        {"0008,0008:CS=A!1", "0008,0008:CS=B!2", "A"},
        {"0008,0008:CS!1", "0008,0008:CS=B!8000", "B"},
        {"0008,0008:CS=A", "0008,0008:CS=B!2", "B"},
        {"0008,0008:CS=A!1000", "0008,0008:CS=B!8000", "A"},
        // Values of unknown length, or not in memory, cannot grow.
        {"0029,1010:UN*!1", "0029,1010:UN=B!8000", "", 1},
        {"0029,1010:UN#2!1", "0029,1010:UN=B!8000", "", 1},
        {"0029,1010:UN=A!1", "0029,1010:UN#2147483647!8000", "A", 1},
    };
    for (const Append_Case& test : cases) {
        SCOPED_TRACE(std::string(test.target) + " + " + test.source);
        Message_Log log;
        DICOM_Root root = {};
        Record_List target(test.target);
        const Record_List source(test.source);
        EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
        EXPECT_EQ(Value_Of(*target.head), test.expected);
        EXPECT_EQ(log.Count("Unable to append to tag"), test.warnings);
    }
}

TEST(Attribute_List, AppendingAValueLeftInTheFileCountsItsSize)
{
    DICOM_Root root = {};
    Record_List target("0008,0008:CS=A_!1");
    const Record_List source("0008,0008:CS#4!8000");
    DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head);
    EXPECT_EQ(target.head->size, 8);
    EXPECT_EQ(Value_Of(*target.head), "A       ");
}

TEST(Attribute_List, CopyMergesFieldsAndReplacesWhatIsNotProtected)
{
    DICOM_Root root = {};
    Record_List target("0008,0008:CS=OLD 0010,0010=OLD!1000");
    Record_List source("0008,0008~LO#6!401 0010,0010:PN=NEW!1");
    source.head->type = DICOM_VR('1', 'C');
    source.head->description = strdup("name");
    source.head->next->description = strdup("name");
    EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);

    const DICOM_List& replaced = *target.head;
    EXPECT_EQ(replaced.data, nullptr);
    EXPECT_EQ(replaced.size, 6);
    EXPECT_EQ(replaced.vr, VR_CS);
    EXPECT_EQ(replaced.vr_default, VR_UN);
    EXPECT_EQ(replaced.flags, 0x0401);
    EXPECT_EQ(replaced.type, DICOM_VR('1', 'C'));
    EXPECT_STREQ(replaced.description, "name");
    EXPECT_EQ(Value_Of(*replaced.next), "OLD");
    EXPECT_EQ(replaced.next->vr, 0);
    EXPECT_EQ(replaced.next->flags, 0x1000);
    EXPECT_EQ(replaced.next->description, nullptr);

    source.head->description[0] = '\0';
    target.head->size = 0;
    DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head);
    EXPECT_EQ(target.head->description, nullptr);
}

TEST(Attribute_List, CopyEndsAtTheFunctionalGroups)
{
    const std::pair<const char*, const char*> cases[] = {
        {"0040,0001 0008,0005 5200,9229 0010,0010", "0008,0005 0040,0001"},
        {"5200,9229 5400,0010", ""},
        {"", ""},
        // Out of order and twice: the later of equal tags finds the earlier one.
        {"0010,0020 0008,0005 0010,0010 0008,0005 0009,0010",
         "0008,0005 0009,0010 0010,0010 0010,0020"},
    };
    for (const auto& [notation, expected] : cases) {
        DICOM_Root root = {};
        Record_List target;
        const Record_List source(notation);
        EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
        EXPECT_EQ(Tags(target.head), expected) << notation;
    }
}

struct Item_Case {
    unsigned short target_flags;
    unsigned short source_flags;
    const char* expected;
    int slots;
};

TEST(Attribute_List, CopyMergesItems)
{
    const Item_Case cases[] = {
        {0x0001, 0x0001, "0008,1140[0008,0100 0008,0102][0008,0104]", 2},
        {0x1000, 0x0001, "0008,1140[0008,0100 0008,0102][0008,0104]", 2},
        {0x0001, 0x1000, "0008,1140[0008,0102]", 2},
        {0x0001, 0x8000, "0008,1140[0008,0102][0008,0100][0008,0104]", 3},
    };
    for (const Item_Case& test : cases) {
        SCOPED_TRACE(test.source_flags);
        DICOM_Root root = {};
        Record_List target("0008,1140");
        Add_Items(*target.head, {"0008,0102"});
        target.head->flags = test.target_flags;
        Record_List source("0008,1140");
        Add_Items(*source.head, {"0008,0100", "0008,0104"});
        source.head->flags = test.source_flags;
        EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
        EXPECT_EQ(Tags(target.head), test.expected);
        EXPECT_EQ(target.head->nb_item, test.slots);
        EXPECT_EQ(root.Sequence_Depth, 0);
    }
}

struct Delete_Case {
    const char* list;
    unsigned short group;
    unsigned short element;
    const char* expected;
};

TEST(Attribute_List, DeleteTakesWildcards)
{
    const Delete_Case cases[] = {
        {"0008,0005 0010,0010 0010,0020", 0x0010, 0x0020, "0008,0005 0010,0010"},
        {"0008,0005 0010,0010 0010,0020", 0x0010, 0xFFFF, "0008,0005"},
        {"0008,0010 0010,0010 0010,0020", 0xFFFF, 0x0010, "0010,0020"},
        {"0008,0010 0010,0010", 0xFFFF, 0xFFFF, ""},
        {"0009,0010 0011,0010 0020,0013", 0xFFF1, 0xFFFF, "0020,0013"},
        // The oddness of the first record that stays decides for those behind it.
        {"0008,0005 0009,0010 0011,0010", 0xFFF1, 0xFFFF, "0008,0005 0009,0010 0011,0010"},
        {"0009,0011 0010,0010 0011,0010", 0xFFF1, 0x0010, "0009,0011"},
    };
    for (const Delete_Case& test : cases) {
        DICOM_Root root = {};
        Record_List list(test.list);
        EXPECT_EQ(DICOM_Attribute_Delete(nullptr, &root, &list.head, test.group, test.element), 1);
        EXPECT_EQ(Tags(list.head), test.expected) << test.list;
        EXPECT_EQ(DICOM_Attribute_Delete(nullptr, &root, &list.head, test.group, test.element),
                  list.head != nullptr ? 1 : 0);
    }
}

TEST(Attribute_List, DeleteReachesItemsAndKeepsTheListUsable)
{
    Inserted_List list("0008,1140 0010,0010 0020,0013");
    Add_Items(*list.head, {"0020,0013", "0008,1150 0020,0013"});
    EXPECT_EQ(DICOM_Attribute_Delete(nullptr, &list.root, &list.head, "002?", "00*"), 1);
    // The item that became empty does not hide the one behind it.
    EXPECT_EQ(Tags(list.head), "0008,1140[0008,1150] 0010,0010");
    Record_List record("0040,0001");
    DICOM_Attribute_Insert(nullptr, &list.root, &list.head, record.head, 0);
    EXPECT_EQ(Tags(list.head), "0008,1140[0008,1150] 0010,0010 0040,0001");
    EXPECT_EQ(list.root.Sequence_Depth, 0);
}

TEST(Attribute_List, FreeStopsAtAnEmptySlot)
{
    Record_List list("0008,1140");
    Add_Items(*list.head, {"0008,0100", "", "0008,0104"});
    const Record_List behind(list.head->item[2]);
    DICOM_Attribute_Free(nullptr, std::exchange(list.head, nullptr));
    EXPECT_EQ(Tags(behind.head), "0008,0104");
}

TEST(Attribute_List, RemoveFollowsTheStatus)
{
    constexpr char List[] = "0008,0000 0008,0001!20 0008,0002!100 0008,0003!800 0009,0004!40 "
                            "FFFE,E000~I- FFFE,E00D~Ia 0010,0010";
    const std::pair<unsigned char, const char*> cases[] = {
        {0, "0008,0000 0008,0001 0008,0002 0009,0004 FFFE,E000 FFFE,E00D 0010,0010"},
        {0x01, "0008,0001 0008,0002 0009,0004 FFFE,E000 FFFE,E00D 0010,0010"},
        {0x02, "0008,0000 0008,0001 0009,0004 FFFE,E000 FFFE,E00D 0010,0010"},
        {0x04, "0008,0000 0008,0002 0009,0004 FFFE,E000 FFFE,E00D 0010,0010"},
        {0x08, "0008,0000 0008,0001 0008,0002 0009,0004 0010,0010"},
        {0x10, "0008,0000 0008,0001 0008,0002 FFFE,E000 FFFE,E00D 0010,0010"},
        {0x1F, "0010,0010"},
    };
    for (const auto& [mode, expected] : cases) {
        Inserted_List list(List);
        Add_Items(*list.head->last, {"0008,0003!800", List});
        EXPECT_EQ(DICOM_Attribute_Remove(nullptr, &list.head, mode), 0);
        EXPECT_EQ(Tags(list.head), expected + ("[" + std::string(expected) + "]"));
        Record_List record("0040,0001");
        DICOM_Attribute_Insert(nullptr, &list.root, &list.head, record.head, 0);
        EXPECT_THAT(Tags(list.head), testing::EndsWith("] 0040,0001"));
    }
    Flag_DICOM_Propriatery = 1;
    Record_List kept("0009,0010!40");
    DICOM_Attribute_Remove(nullptr, &kept.head, 0x10);
    Flag_DICOM_Propriatery = 0;
    EXPECT_EQ(Tags(kept.head), "0009,0010");
}

TEST(Attribute_List, SortMergesTheStatusOfEqualTags)
{
    Message_Log log;
    DICOM_Root root = {};
    Record_List list("0020,0013 0010,0010=A!100 0010,0010~PN!1000 0008,0005!1000 0008,0005!1000");
    DICOM_List* const plain = list.head->next;
    DICOM_List* const forced = plain->next;
    plain->type = DICOM_VR('1', ' ');
    forced->type = DICOM_VR('2', ' ');
    list.head->last = forced;
    Add_Items(*list.head, {"0008,0005 0008,0001"});
    EXPECT_EQ(DICOM_Attribute_Sort(nullptr, &root, &list.head), 1);
    EXPECT_EQ(Tags(list.head),
              "0008,0005 0008,0005 0010,0010 0010,0010 0020,0013[0008,0001 0008,0005]");
    EXPECT_EQ(forced->next, plain);
    EXPECT_EQ(forced->type, DICOM_VR('1', ' '));
    EXPECT_EQ(forced->flags, 0x1100);
    EXPECT_EQ(plain->vr_default, VR_PN);
    EXPECT_EQ(list.head->last, nullptr);
    EXPECT_GE(log.Count("(\001"
                        "0008\002,\001"
                        "0005\002) Tag is defined as OVERRIDE twice!"),
              1);

    Record_List empty;
    EXPECT_EQ(DICOM_Attribute_Sort(nullptr, &root, &empty.head), 0);
}

TEST(Attribute_List, SortOfALongReversedListKeepsThePrecedence)
{
    constexpr unsigned short Tags_Used = 750;
    Record_List list;
    for (unsigned short i = Tags_Used; i-- > 0;) {
        // In the order of precedence from the back; equals keep the order they came in.
        for (const char* marks : {"!2001", "!1", "=A!2001", "=A!1", "!1000"}) {
            char tag[16];
            std::snprintf(tag, sizeof tag, "0010,%04X", i);
            list.Add(tag + std::string(marks));
        }
    }
    DICOM_Root root = {};
    EXPECT_EQ(DICOM_Attribute_Sort(nullptr, &root, &list.head), 1);
    const DICOM_List* record = list.head;
    for (unsigned short i = 0; i < Tags_Used; ++i) {
        for (const int flags : {0x1000, 0x0001, 0x2001, 0x0001, 0x2001}) {
            ASSERT_NE(record, nullptr);
            ASSERT_EQ(record->element, i);
            ASSERT_EQ(record->flags, flags);
            record = record->next;
        }
    }
    EXPECT_EQ(record, nullptr);
}

TEST(Attribute_List, CleanupRepairsBigEndianValuesInItems)
{
    Message_Log log;
    DICOM_Root root = {};
    Record_List list("0008,1140 0008,0008:CS=A__");
    Add_Items(*list.head, {"0028,0010:US=12"});
    list.head->item[0]->byte_order = DICOM_Order_Big_Endian;
    EXPECT_EQ(DICOM_Attribute_Cleanup(nullptr, &root, list.head), 1);
    EXPECT_EQ(Value_Of(*list.head->item[0]), "21");
    EXPECT_EQ(Value_Of(*list.head->next), "A ");
}

TEST(Attribute_List, AssignInfoMatchesEveryItemWithTheFirstOfTheReference)
{
    DICOM_Root root = {};
    Record_List reference("0008,1140~SQ 0010,0010~PN");
    Add_Items(*reference.head, {"0008,0100~SH", "0008,0102~SH"});
    reference.head->item[0]->type = DICOM_VR('1', 'C');
    Record_List target("0008,1140 0010,0010~LO 0020,0013");
    target.head->next->type = DICOM_VR('2', ' ');
    Add_Items(*target.head, {"0008,0100", "0008,0100 0008,0102"});
    DICOM_Attribute_Assign_Info(nullptr, &root, reference.head, target.head);
    EXPECT_EQ(target.head->next->vr_default, VR_LO);
    EXPECT_EQ(target.head->next->type, 0);
    EXPECT_EQ(target.head->item[1]->vr_default, VR_SH);
    EXPECT_EQ(target.head->item[1]->type, DICOM_VR('1', 'C'));
    EXPECT_EQ(target.head->item[1]->next->vr_default, 0);
    EXPECT_EQ(root.Sequence_Depth, 0);
}

}  // namespace
