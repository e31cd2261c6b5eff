// Values that were left in the source. What becomes of values in their data set is in examples.md.
#include "mend/findings/report_text.h"
#include "mend/healing/character_sets.h"
#include "mend/healing/values.h"
#include "mend/writing/encoder.h"
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

TEST(Values, StayInTheSourceUnlessTheyChange)
{
    const std::string sound(2000, 'x');
    const std::string padded = sound + "\0\0"s;
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID)).Element(0x0010, 0x4000, "LT", sound);
    s.Element(0x0020, 0x4000, "LT", padded).Element(0x0029, 0x1000, "OB", sound);
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read_Data_Set(Source_Of(s.Bytes()), findings);
    Heal_Values(set, set.records, {}, findings);
    EXPECT_EQ(Find_Record(set.records.Head(), {0x0010, 0x4000})->data, nullptr);
    EXPECT_EQ(Find_Record(set.records.Head(), {0x0029, 0x1000})->data, nullptr);
    const DICOM_List* const healed = Find_Record(set.records.Head(), {0x0020, 0x4000});
    ASSERT_NE(healed->data, nullptr);
    EXPECT_EQ(healed->size, 2000);
}

struct Long_Text_Case {
    const char* name;
    const char* terms;
    const char* vr;
    std::string text;
    /** It has to be in memory for what becomes of it. */
    bool is_held = false;
};

/** What repeats a text up to a size that is never held for a judgement. */
std::string Long_Text(const std::string& part, const std::string& end = {},
                      const std::string& front = {})
{
    constexpr std::size_t Size = (std::size_t{1} << 20) + 3;
    std::string text = front;
    while (text.size() < Size) {
        text += part;
    }
    return text + end;
}

/** What is found in a text, and what becomes of it; `held` when it was in memory from the start. */
std::string Story_Of(const Long_Text_Case& each, bool held, bool& is_left)
{
    Stream_Builder s(0);
    s.Raw(Part10_Head(Implicit_Little_UID));
    s.Element(0x0008, 0x0005, "CS", each.terms);
    s.Element(0x0040, 0xA160, "UT", each.text);
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read_Data_Set(Source_Of(s.Bytes()), findings);
    DICOM_List& text = *Find_Record(set.records.Head(), {0x0040, 0xA160});
    text.vr = DICOM_VR(each.vr[0], each.vr[1]);
    if (held) {
        set.Load(text);
    }
    Heal_Character_Sets(set, {}, findings);
    Heal_Values(set, set.records, {}, findings);
    is_left = text.data == nullptr;
    std::string story;
    for (const Finding& finding : findings.All()) {
        story += Finding_Line("", finding, true) + '\n';
    }
    Encoded_File out;
    Encode_List(set.source, set.records.Head(), {Encoding_Of(Explicit_Little_UID)}, out);
    const Bytes written = out.Joined();
    return story + std::string(written.begin(), written.end());
}

TEST(Values, LongTextsAreJudgedWhereTheyStand)
{
    const std::string kanji = "Yamada \x1B$B;3ED\x1B(B\n";
    const Long_Text_Case Cases[] = {
        {"sound", "ISO_IR 192", "UT", Long_Text("\xE4\xB8\xAD\xE6\x96\x87 ", "", "a")},
        {"of odd length", "ISO_IR 192", "UT", Long_Text("\xE4\xB8\xAD ", "x", "ab")},
        {"padded by NULs", "ISO_IR 100", "UT",
         Long_Text("plain ", " \0 \0"s + std::string(70000, '\0'))},
        {"NULs alone", "ISO_IR 100", "UT", Long_Text("\0"s)},
        {"blanks alone", "ISO_IR 100", "UT", Long_Text(" ")},
        {"NULs behind blanks", "ISO_IR 100", "UT", Long_Text(" ", "\0"s)},
        {"a control character last", "ISO_IR 100", "UT", Long_Text("plain ", "\x01")},
        {"a NUL in front of the end", "ISO_IR 100", "UT", Long_Text("plain ", "\0x"s)},
        {"a control character and NULs", "ISO_IR 192", "UT",
         Long_Text("\xC3\xA4 ", "\0\0"s, "\x02")},
        {"lines", "ISO_IR 100", "UT", Long_Text("a\r\n\f\t")},
        {"half a character last", "ISO_IR 192", "UT", Long_Text("\xE4\xB8\xAD", "\xE4\xB8")},
        {"other sets by escapes", "\\ISO 2022 IR 87", "UT", Long_Text(kanji)},
        {"a set that is not declared", "\\ISO 2022 IR 13", "UT", Long_Text(kanji)},
        {"half an escape last", "\\ISO 2022 IR 87", "UT", Long_Text(kanji, "\x1B$")},
        {"bytes of no character", "ISO_IR 192", "UT", Long_Text("plain ", "\xFC")},
        {"UTF-8 by another name", "ISO_IR 100", "UT", Long_Text("\xC3\xA4 ")},
        {"longer than its VR", "ISO_IR 192", "LT", Long_Text("\xE4\xB8\xAD ")},
        {"and of odd length", "ISO_IR 100", "ST", Long_Text("plain ", "x")},
        {"long by blanks", "ISO_IR 100", "LT", Long_Text(" ", "", "short"), true},
        {"as long as its VR allows", "ISO_IR 100", "LT",
         Long_Text(" ", "", std::string(10240, 'x')), true},
        {"one character longer", "ISO_IR 100", "LT", Long_Text(" ", "", std::string(10241, 'x')),
         true},
    };
    for (const Long_Text_Case& each : Cases) {
        bool is_left = false;
        bool is_left_when_held = false;
        const std::string story = Story_Of(each, false, is_left);
        EXPECT_TRUE(story == Story_Of(each, true, is_left_when_held)) << each.name;
        EXPECT_EQ(is_left, !each.is_held) << each.name;
    }
}

}  // namespace
