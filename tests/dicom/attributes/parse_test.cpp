// Handlers of the client: which record goes to which, and when the walk ends.
#include "support/message_log.h"
#include "support/record_builder.h"

#include <Lib_DICOM/Lib_DICOM.h>
#include <gmock/gmock.h>

#include <string>

namespace {

/** The user value: what the handlers were called for, and where they are to stop. */
struct Calls {
    std::string text;
    std::string stop_at;
    DICOM_List* list = nullptr;
};

template <char Name>
void* Take(HWND, DICOM_Root*, DICOM_List* record, void* user)
{
    auto* const calls = static_cast<Calls*>(user);
    char call[16];
    std::snprintf(call, sizeof call, "%c%04x,%04x ", Name, record->group, record->element);
    calls->text += call;
    return calls->stop_at == call ? nullptr : user;
}

/** Deletes the creator of block 10 when it comes to (0029,1014). */
void* Delete_Creator(HWND handle, DICOM_Root* root, DICOM_List* record, void* user)
{
    auto* const calls = static_cast<Calls*>(user);
    if (record->element == 0x1014) {
        DICOM_Attribute_Delete(handle, root, &calls->list, 0x0029, 0x0010);
    }
    return Take<'d'>(handle, root, record, user);
}

class Parse : public testing::Test {
protected:
    ~Parse() override
    {
        DICOM_Attribute_List_Cleanup();
    }
    std::string Handled(const std::string& notation, const std::string& stop_at = "")
    {
        Record_List list(notation);
        DICOM_Root root = {};
        Calls calls = {{}, stop_at, list.head};
        void* const result = DICOM_Attribute_Parse(nullptr, &root, list.head, &calls);
        EXPECT_EQ(result, stop_at.empty() ? &calls : nullptr);
        return calls.text;
    }
};

TEST_F(Parse, HandsEachRecordToTheFirstHandlerThatFits)
{
    DICOM_Attribute_List_Group_Grow(0x0010, &Take<'p'>);
    DICOM_Attribute_List_Group_Grow(0x0028, &Take<'i'>);
    DICOM_Attribute_List_Group_Grow(0x0010, &Take<'n'>);
    DICOM_Attribute_List_Private_Grow("ACME CT HEADER V2", &Take<'2'>);
    DICOM_Attribute_List_Private_Grow("ACME CT", &Take<'a'>);
    const std::string list = "0008,0060=CT 0010,0010=A 0010,0020=B 0028,0010=ab "
                             "0029,0010=_ACME_CT_HEADER__ 0029,0011=OTHER 0029,1010=x!0040 "
                             "0029,1110=y 0029,1210=z 0031,1010=w";
    EXPECT_EQ(Handled(list), "p0010,0010 p0010,0020 i0028,0010 a0029,1010 ");
    EXPECT_EQ(Handled(list, "p0010,0020 "), "p0010,0010 p0010,0020 ");
    // A vendor's group comes first, of odd and of even number, but takes private records only.
    DICOM_Attribute_List_SPI_Grow(0x0029, &Take<'v'>);
    DICOM_Attribute_List_SPI_Grow(0x7F00, &Take<'c'>);
    EXPECT_EQ(Handled("0028,0010=ab!0040 0029,0010=ACME_CT 0029,1010=x!0040 0029,1011=y "
                      "7F00,0010=c!0040 7F00,0011=d"),
              "i0028,0010 v0029,1010 a0029,1011 c7f00,0010 ");
    DICOM_Attribute_List_Cleanup();
    EXPECT_EQ(Handled(list), "");

    // A creator of blanks is one, of the empty name; without a value it is none.
    DICOM_Attribute_List_Private_Grow("", &Take<'e'>);
    EXPECT_EQ(Handled("0029,0010=__ 0029,0011 0029,0FFF 0029,1000=x 0029,1110=y"), "e0029,1000 ");
}

TEST_F(Parse, TakesSixtyFourBytesOfACreator)
{
    DICOM_Attribute_List_Private_Grow(std::string(65, 'x').c_str(), &Take<'5'>);
    DICOM_Attribute_List_Private_Grow(std::string(64, 'x').c_str(), &Take<'4'>);
    EXPECT_EQ(Handled("0029,0010=" + std::string(70, 'x') + " 0029,1010=x"), "40029,1010 ");
}

TEST_F(Parse, LooksForTheCreatorAnewWhenAHandlerChangedTheList)
{
    DICOM_Attribute_List_Private_Grow("ACME", &Delete_Creator);
    // So long that searches for the creator would be worth an index.
    std::string list;
    for (int i = 0; i < 100; ++i) {
        list += "0008,0001 ";
    }
    list += "0029,0010=ACME ";
    std::string expected;
    for (int i = 0; i < 30; ++i) {
        const std::string tag =
            "0029,10" + std::string(i < 16 ? "0" : "1") + "0123456789abcdef"[i % 16];
        list += tag + "=x ";
        expected += i <= 0x14 ? "d" + tag + " " : "";
    }
    EXPECT_EQ(Handled(list), expected);
}

TEST_F(Parse, RefusesACreatorThatNoEntryHolds)
{
    const Message_Log log;
    EXPECT_EQ(DICOM_Attribute_List_Private_Grow(std::string(71, 'x').c_str(), &Take<'x'>), 1);
    EXPECT_EQ(DICOM_Attribute_List_Private_Grow(std::string(72, 'x').c_str(), &Take<'x'>), 0);
    EXPECT_EQ(log.Count("is longer than 71 bytes"), 1);
}

}  // namespace
