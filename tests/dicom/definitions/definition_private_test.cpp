#include "support/case_page.h"
#include "support/definition_directory.h"
#include "support/message_log.h"

#include <gmock/gmock.h>

namespace {

TEST(Definition_Private, RecordsAreCompletedByTheirCreator)
{
    const Definition_Directory directory;
    directory.Write("private/index", "\"ACME \"\"CT\"\"\" acme\n\"ACME MR\" acme\n\"LOST\" acme\n");
    directory.Write("private/acme",
                    "creator \"ACME \"\"CT\"\"\"\n(0029,xx08) CS 1 \"Header Type\"\n"
                    "(0029,1009) DS 2-2n \"First\"\n(0029,1109) IS 1-n \"Second\"\n"
                    "(0029,xx0a) UL 1-3 \"Unknown\"\n(0029,xx0b) UC 1 \"Long\"\n"
                    "creator \"ACME MR\"\n(0029,xx08) LO 1 \"MR Header\"\n");
    const Message_Log log;
    For_Each_Case("dicom/definitions/private.cases", "completed", 5, [](const Case_Row& row) {
        const Record_List list(row[1]);
        EXPECT_EQ(DICOM_Module_Read_Private(nullptr, row.Text(0), list.head), row.Number(2));
        EXPECT_EQ(list.head->vr_default, row.VR(3));
        EXPECT_STREQ(list.head->description, row.Text(4));
    });
    Record_List list("0029,0010=ACME_MR_ 0029,1008");
    DICOM_Root root = {};
    DICOM_Attribute_Complement(nullptr, &root, list.head);
    EXPECT_STREQ(list.head->next->description, "MR Header");
    EXPECT_EQ(log.Count("private/acme.txt has no definitions of the creator \"LOST\""), 1);
    EXPECT_EQ(log.Count("ERROR"), 1) << "the lost creator is named once: " << log.Text();
}

TEST(Definition_Private, DamageIsReportedAndTheRestRead)
{
    const Definition_Directory directory;
    directory.Write("private/index", "\"A\" a\nA a\n\"B\" ../iods/T\n\"C\" a\n\"D\" none");
    directory.Write("private/a",
                    "(0029,xx01) CS 1 \"First\"\ncreator A\n(0029,xx02) CS 1 \"Left out\"\n"
                    "creator \"A\"\n(0028,xx03) CS 1 \"Even\"\n(0029,xx03) -- 1 \"VR\"\n"
                    "(0029,xx03) CS n \"VM\"\n(0029,xx03) CS 1 \"\"\n(0029,0010) LO 1 \"x\"\n"
                    "(0029,xx03) CS 1 \"Good\"\ncreator \"C\"\n\001\377\ncreator "
                    "\"D\"\n(0029,xx03) CS 1 \"Not here\"\n");
    const Message_Log log;
    Record_List list("0029,1003 0029,1002 0029,1001");
    EXPECT_EQ(DICOM_Module_Read_Private(nullptr, "A", list.head), 1);
    EXPECT_STREQ(list.head->description, "Good");
    EXPECT_EQ(DICOM_Module_Read_Private(nullptr, "A", list.head->next), 0);
    EXPECT_EQ(DICOM_Module_Read_Private(nullptr, "A", list.head->next->next), 0);
    for (const char* const place :
         {"index.txt:2:1", "index.txt:3:5", "a.txt:1:1", "a.txt:2:9", "a.txt:5:1", "a.txt:6:13",
          "a.txt:7:16", "a.txt:8:18", "a.txt:9:1", "a.txt:12:1", "a.txt:13:1"}) {
        EXPECT_EQ(log.Count(std::string(place) + ": "), 1) << place << "\n" << log.Text();
    }
    EXPECT_EQ(log.Count("ERROR"), 11) << log.Text();
    DICOM_Module_Read_Private(nullptr, "D", list.head);
    DICOM_Module_Read_Private(nullptr, "D", list.head);
    EXPECT_EQ(log.Count("private/none.txt is no file"), 1) << log.Text();
    EXPECT_EQ(log.Count("ERROR"), 12) << log.Text();
}

TEST(Definition_Private, NothingIsSaidWithoutDefinitions)
{
    const Definition_Directory directory;
    const Message_Log log;
    Record_List list("0029,0010=ACME 0029,1008");
    DICOM_Root root = {};
    DICOM_Attribute_Complement(nullptr, &root, list.head);
    DICOM_Module_Cleanup();
    ::setenv("LIB_DICOM_DEFINITIONS", "/no/such/directory", 1);
    DICOM_Attribute_Complement(nullptr, &root, list.head);
    ::unsetenv("LIB_DICOM_DEFINITIONS");
    EXPECT_STREQ(list.head->next->description, "ACME");
    EXPECT_EQ(log.Text(), "");
}

}  // namespace
