// Declared character sets against the bytes of the texts: what is declared, converted, kept and said.
#include "mend/healing/character_sets.h"

#include "mend/findings/faults.h"
#include "mend/healing/character_set.h"
#include "mend/reading/reader.h"
#include "mend/reading/tree.h"
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr char Explicit_Little[] = "1.2.840.10008.1.2.1";

/** A data set of what follows (0008,0005), which is left out for a null pointer. */
class Texts {
public:
    explicit Texts(const char* terms)
    {
        Declare(terms);
    }

    Texts& Declare(const char* terms)
    {
        if (terms != nullptr) {
            stream_.Element(0x0008, 0x0005, "CS", Even(terms));
        }
        return *this;
    }
    Texts& Name(const std::string& name)
    {
        stream_.Element(0x0010, 0x0010, "PN", Even(name));
        return *this;
    }
    Texts& Comment(const std::string& text)
    {
        stream_.Element(0x0010, 0x4000, "LT", Even(text));
        return *this;
    }
    /** An item of Original Attributes, or of Request Attributes. */
    Texts& Item(unsigned short group, unsigned short element, const char* terms,
                const std::string& name)
    {
        stream_.Sequence(group, element).Item();
        Declare(terms).Name(name);
        stream_.Item_End().Sequence_End();
        return *this;
    }
    std::string File() const
    {
        return Part10_Head(Explicit_Little) + stream_.Bytes();
    }

private:
    static std::string Even(const std::string& text)
    {
        return text + std::string(text.size() % 2, ' ');
    }

    Stream_Builder stream_;
};

struct Healed {
    /** "path value" of every element, separated by "|". */
    std::string values;
    /** "level path text" of every finding, a line each. */
    std::string findings;
};

Healed Heal_Texts(const std::string& file, const Heal_Options& options)
{
    constexpr const char* Levels[] = {"info", "change", "kept", "error"};
    Healed healed;
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read_Data_Set(Source_Of(file), findings);
    EXPECT_TRUE(findings.All().empty());
    Heal_Character_Sets(set, options, findings);
    for (const Finding& finding : findings.All()) {
        healed.findings += Levels[static_cast<int>(finding.level)] + " "s + finding.path + " " +
                           Kind_Of(finding).name + ": " + Shown_Text(finding, true) + "\n";
    }
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path& path) {
        if (VR_Of(record) != VR_SQ) {
            const Bytes value = set.Value(record);
            healed.values += Path_Text(path, Tag_Of(record)) + " " +
                             std::string(value.begin(), value.end()) + "|";
        }
    });
    // What is healed stays as it is when it is healed again.
    Findings repeated;
    Heal_Character_Sets(set, options, repeated);
    for (const Finding& finding : repeated.All()) {
        EXPECT_NE(finding.level, Level::Change) << finding.text;
    }
    return healed;
}

TEST(Declarations, AreRespeltWhereTheirMeaningIsClear)
{
    struct Case {
        std::string before;
        std::string after;
        std::string findings;
    };
    const auto respelt = [](const std::string& before, const std::string& after) {
        return "change 0008,0005 character-set: the defined term is respelt: \"" + before +
               "\" becomes \"" + after + "\"\n";
    };
    const auto unknown = [](const std::string& terms) {
        return "kept 0008,0005 character-set: a character set is declared that is none of the "
               "standard: \"" +
               terms + "\"\n";
    };
    const auto crowded = [](const std::string& terms) {
        return "kept 0008,0005 character-set: a character set that has to stand alone is declared "
               "beside others: \"" +
               terms + "\"\n";
    };
    const Case cases[] = {
        // Defined terms stay.
        {"ISO_IR 100", "ISO_IR 100", ""},
        {"ISO_IR 6", "ISO_IR 6", ""},
        {" ISO_IR 203", " ISO_IR 203", ""},
        {"ISO_IR 192", "ISO_IR 192", ""},
        {"GB18030", "GB18030 ", ""},
        {"\\ISO 2022 IR 87", "\\ISO 2022 IR 87", ""},
        {"ISO 2022 IR 6\\ISO 2022 IR 149", "ISO 2022 IR 6\\ISO 2022 IR 149 ", ""},
        {"ISO 2022 IR 87", "ISO 2022 IR 87", ""},
        // Misspelt ones.
        {"ISO IR 192", "ISO_IR 192", respelt("ISO IR 192", "ISO_IR 192")},
        {"ISO_IR192", "ISO_IR 192", respelt("ISO_IR192", "ISO_IR 192")},
        {"UTF-8", "ISO_IR 192", respelt("UTF-8", "ISO_IR 192")},
        {"utf8", "ISO_IR 192", respelt("utf8", "ISO_IR 192")},
        {"ISO 2022 IR 192", "ISO_IR 192", respelt("ISO 2022 IR 192", "ISO_IR 192")},
        {"iso_ir 100", "ISO_IR 100", respelt("iso_ir 100", "ISO_IR 100")},
        {"ISO_IR  100", "ISO_IR 100", respelt("ISO_IR  100", "ISO_IR 100")},
        {"ISO-8859-1", "ISO_IR 100", respelt("ISO-8859-1", "ISO_IR 100")},
        {"ISO 2022 IR100", "ISO 2022 IR 100 ", respelt("ISO 2022 IR100", "ISO 2022 IR 100")},
        {"ISO IR 6", "ISO 2022 IR 6 ", respelt("ISO IR 6", "ISO 2022 IR 6")},
        {"ISO_IR 87", "ISO 2022 IR 87", respelt("ISO_IR 87", "ISO 2022 IR 87")},
        {"gbk", "GBK ", respelt("gbk", "GBK")},
        // One of several, and one that is written as it would be alone.
        {"\\ISO2022 IR 87\\ISO 2022 IR 159", "\\ISO 2022 IR 87\\ISO 2022 IR 159",
         respelt("\\ISO2022 IR 87\\ISO 2022 IR 159", "\\ISO 2022 IR 87\\ISO 2022 IR 159")},
        {"ISO_IR 100\\ISO 2022 IR 144", "ISO 2022 IR 100\\ISO 2022 IR 144 ",
         respelt("ISO_IR 100\\ISO 2022 IR 144", "ISO 2022 IR 100\\ISO 2022 IR 144")},
        {"ISO_IR 6\\ISO_IR 87", "ISO 2022 IR 6\\ISO 2022 IR 87",
         respelt("ISO_IR 6\\ISO_IR 87", "ISO 2022 IR 6\\ISO 2022 IR 87")},
        // Unknown ones, alone and beside misspelt ones.
        {"NONE", "NONE", unknown("NONE")},
        {"windows-1252", "windows-1252", unknown("windows-1252")},
        {"EUC-JP", "EUC-JP", unknown("EUC-JP")},
        {"ISO_IR 999\\iso 2022 ir 87", "ISO_IR 999\\ISO 2022 IR 87",
         respelt("ISO_IR 999\\iso 2022 ir 87", "ISO_IR 999\\ISO 2022 IR 87") +
             unknown("ISO_IR 999\\ISO 2022 IR 87")},
        // Sets without escape sequences beside others.
        {"ISO_IR 100\\ISO_IR 192", "ISO_IR 100\\ISO_IR 192 ", crowded("ISO_IR 100\\ISO_IR 192")},
        {"\\gb18030", "\\GB18030", respelt("\\gb18030", "\\GB18030") + crowded("\\GB18030")},
    };
    for (const Case& each : cases) {
        const Healed healed = Heal_Texts(Texts(each.before.c_str()).File(), {});
        const std::string even = each.after + std::string(each.after.size() % 2, ' ');
        EXPECT_EQ(healed.values, "0008,0005 " + even + "|") << each.before;
        EXPECT_EQ(healed.findings, each.findings) << each.before;
    }
}

TEST(Declarations, AreNoCodeStringsLikeOthers)
{
    // Small letters of a term that nobody knows stay, and are one fault.
    const std::string file = Texts("windows-1252").Name("a").File();
    const Mended_File mended = Mend_In_Memory(file);
    EXPECT_NE(mended.bytes.find("CS\x0C\0windows-1252"s), std::string::npos);
    int count = 0;
    for (const Finding& finding : mended.findings) {
        count += finding.path == "0008,0005" ? 1 : 0;
    }
    EXPECT_EQ(count, 1);
}

TEST(Declarations, OfUTF8AreMadeWhereEveryTextIsUTF8AndHardlyAnythingElse)
{
    const std::string declares = "character-set: the texts are UTF-8";
    const std::string holds =
        "character-set-bytes: the text holds bytes that are no characters of its character set\n";
    struct Case {
        const char* terms;
        std::string name;
        std::string comment;
        /** Of the declaration; "" when there is none. */
        std::string after;
        std::string findings;
    };
    const Case cases[] = {
        {nullptr, "A^B", "c", "", ""},
        {nullptr, "Jérôme", "c", "ISO_IR 192",
         "change 0008,0005 " + declares + ": \"ISO_IR 192\"\n"},
        {"", "王", "小", "ISO_IR 192", "change 0008,0005 " + declares + ": \"ISO_IR 192\"\n"},
        {"ISO_IR 6", "é", "c", "ISO_IR 192",
         "change 0008,0005 " + declares + ": \"ISO_IR 6\" becomes \"ISO_IR 192\"\n"},
        {"ISO_IR 100", "é", "c", "ISO_IR 192",
         "change 0008,0005 " + declares + ": \"ISO_IR 100\" becomes \"ISO_IR 192\"\n"},
        // One byte that is no UTF-8 stands against it.
        {"ISO_IR 100", "é", "\xE9", "ISO_IR 100", ""},
        {nullptr, "é", "\xE9", "", "kept 0010,0010 " + holds + "kept 0010,4000 " + holds},
        {nullptr, "\xE9", "c", "", "kept 0010,0010 " + holds},
        // Bytes that may be words of a set with letters throughout; those that are none of it.
        {"ISO_IR 101", "Kr\xC3\xB3l", "c", "ISO_IR 101", ""},
        {"ISO_IR 101", "Wałęsa", "c", "ISO_IR 192",
         "change 0008,0005 " + declares + ": \"ISO_IR 101\" becomes \"ISO_IR 192\"\n"},
        {"ISO_IR 166", "\xC2\xA1", "c", "ISO_IR 166", ""},
        // Sets of several bytes, several sets, and unknown ones are believed.
        {"GBK", "\xC3\xA9", "c", "GBK ", ""},
        {"GB18030", "\xFF", "c", "GB18030 ", "kept 0010,0010 " + holds},
        {"\\ISO 2022 IR 87", "é", "c", "\\ISO 2022 IR 87 ", "kept 0010,0010 " + holds},
        {"ISO_IR 192", "\xE9", "é", "ISO_IR 192", "kept 0010,0010 " + holds},
        {nullptr, "\033$B;3\033(B", "é", "", "kept 0010,0010 " + holds + "kept 0010,4000 " + holds},
        {"NONE", "é", "c", "NONE",
         "kept 0008,0005 character-set: a character set is declared that is none of the standard: "
         "\"NONE\"\nkept 0010,0010 " +
             holds},
    };
    for (const Case& each : cases) {
        const std::string file = Texts(each.terms).Name(each.name).Comment(each.comment).File();
        const Healed healed = Heal_Texts(file, {});
        EXPECT_EQ(healed.findings, each.findings) << each.name;
        const std::string declared = healed.values.substr(0, healed.values.find("0010,0010"));
        EXPECT_EQ(declared, each.after.empty() && each.terms == nullptr
                                ? ""
                                : "0008,0005 " + each.after + "|")
            << each.name;
    }
}

TEST(Declarations, OfItemsHoldForWhatIsInThem)
{
    const std::string holds =
        "character-set-bytes: the text holds bytes that are no characters of its character set\n";
    struct Case {
        const char* outer;
        const char* inner;
        std::string outer_name;
        std::string inner_name;
        std::string findings;
    };
    const Case cases[] = {
        {"ISO_IR 100", nullptr, "\xE9", "\xE9", ""},
        {"ISO_IR 100", "ISO_IR 192", "\xE9", "é", ""},
        {"ISO_IR 192", "ISO_IR 100", "é", "\xE9", ""},
        {"ISO_IR 192", nullptr, "é", "\xE9", "kept 0040,0275[0]/0010,0010 " + holds},
        {"ISO_IR 192", "", "é", "\xE9", "kept 0040,0275[0]/0010,0010 " + holds},
        {nullptr, "ISO_IR 100", "é", "\xE9",
         "change 0008,0005 character-set: the texts are UTF-8: \"ISO_IR 192\"\n"},
        {nullptr, nullptr, "é", "\xE9",
         "kept 0010,0010 " + holds + "kept 0040,0275[0]/0010,0010 " + holds},
        {"ISO_IR 192", "utf8", "é", "é",
         "change 0040,0275[0]/0008,0005 character-set: the defined term is respelt: \"utf8\" "
         "becomes \"ISO_IR 192\"\n"},
        {"ISO_IR 144", "ISO_IR 100", "\xBB", "é",
         "change 0040,0275[0]/0008,0005 character-set: the texts are UTF-8: \"ISO_IR 100\" becomes "
         "\"ISO_IR 192\"\n"},
    };
    for (const Case& each : cases) {
        const std::string file = Texts(each.outer)
                                     .Name(each.outer_name)
                                     .Item(0x0040, 0x0275, each.inner, each.inner_name)
                                     .File();
        EXPECT_EQ(Heal_Texts(file, {}).findings, each.findings) << each.inner_name;
    }
}

TEST(Declarations, AreWhatTheUserTells)
{
    const std::string file = Texts("ISO_IR 100")
                                 .Name("\xD5\x5C^\xD5\x5E")
                                 .Item(0x0040, 0x0275, "ISO_IR 6", "\xD5\x5C")
                                 .Item(0x0400, 0x0561, "ISO_IR 101", "\xD5 ")
                                 .File();
    const Healed told = Heal_Texts(file, {.charset = "gb18030"});
    EXPECT_EQ(told.values, "0008,0005 GB18030 |0010,0010 \xD5\x5C^\xD5\x5E |"
                           "0040,0275[0]/0008,0005 GB18030 |0040,0275[0]/0010,0010 \xD5\x5C|"
                           "0400,0561[0]/0008,0005 ISO_IR 101|0400,0561[0]/0010,0010 \xD5 |");
    EXPECT_EQ(told.findings, "change 0008,0005 character-set: the character set is declared as "
                             "told: \"ISO_IR 100\" becomes \"GB18030\"\n"
                             "change 0040,0275[0]/0008,0005 character-set: the character set is "
                             "declared as told: \"ISO_IR 6\" becomes \"GB18030\"\n");
    const Healed wrong = Heal_Texts(Texts(nullptr).Name("\xE9").File(), {.charset = "ISO_IR 192"});
    EXPECT_EQ(wrong.findings,
              "change 0008,0005 character-set: the character set is declared as told: "
              "\"ISO_IR 192\"\n"
              "kept 0010,0010 character-set-bytes: the text holds bytes that are no characters of "
              "its character set\n");
    for (const char* const known : {"ISO_IR 192", "utf-8", "\\ISO 2022 IR 87", "GBK"}) {
        EXPECT_TRUE(Is_Character_Set(known)) << known;
    }
    for (const char* const unknown : {"", " ", "\\", "LATIN", "ISO_IR 100\\GBK", "ISO_IR 100\\X"}) {
        EXPECT_FALSE(Is_Character_Set(unknown)) << unknown;
    }
}

TEST(Texts_To_UTF_8, AreConvertedAllOrNone)
{
    const auto texts = [](const std::string& inner) {
        return Texts("ISO_IR 100")
            .Name("J\xE9^\xF4")
            .Comment("a\xFC ")
            .Item(0x0040, 0x0275, "\\ISO 2022 IR 87", inner)
            .Item(0x0400, 0x0561, "ISO_IR 101", "\xEA ")
            .File();
    };
    const Healed all = Heal_Texts(texts("\033$B;3\033(B"), {.to_utf8 = true});
    EXPECT_EQ(all.values, "0008,0005 ISO_IR 192|0010,0010 Jé^ô|0010,4000 aü |"
                          "0040,0275[0]/0008,0005 ISO_IR 192|0040,0275[0]/0010,0010 山 |"
                          "0400,0561[0]/0008,0005 ISO_IR 101|0400,0561[0]/0010,0010 \xEA |");
    const std::string converted = "character-set: the text is converted to UTF-8: ";
    EXPECT_EQ(all.findings,
              "change 0010,0010 " + converted +
                  "\"J\xE9^\xF4\" becomes \"Jé^ô\"\n"
                  "change 0010,4000 " +
                  converted +
                  "\"a\xFC  \" becomes \"aü \"\n"
                  "change 0040,0275[0]/0010,0010 " +
                  converted +
                  "\"\033$B;3\033(B\" becomes \"山\"\n"
                  "change 0008,0005 character-set: the texts are UTF-8: \"ISO_IR 100\" becomes "
                  "\"ISO_IR 192\"\n"
                  "change 0040,0275[0]/0008,0005 character-set: the texts are UTF-8: "
                  "\"\\ISO 2022 IR 87\" becomes \"ISO_IR 192\"\n");

    const Healed none = Heal_Texts(texts("\033$B)!"), {.to_utf8 = true});
    EXPECT_EQ(none.values, Heal_Texts(texts("\033$B)!"), {}).values);
    EXPECT_EQ(
        none.findings,
        "kept 0040,0275[0]/0010,0010 character-set-bytes: the text holds bytes that are no "
        "characters of its character set\n"
        "error 0040,0275[0]/0010,0010 character-set-bytes: the text does not convert to UTF-8 "
        "without loss; no text is converted\n");
}

TEST(Texts_To_UTF_8, AreNotConvertedTwice)
{
    const Heal_Options told = {.charset = "GBK", .to_utf8 = true};
    const std::string file = Texts(nullptr).Name("\xD5\x5C").File();
    EXPECT_EQ(Heal_Texts(file, told).values, "0008,0005 ISO_IR 192|0010,0010 誠 |");
    // A file that says that it is in UTF-8 and is not.
    const std::string wrong = Texts("ISO_IR 192").Name("\xD5\x5C").File();
    EXPECT_EQ(Heal_Texts(wrong, told).values, "0008,0005 ISO_IR 192|0010,0010 誠 |");
}

TEST(Texts_To_UTF_8, FitTheirHeaders)
{
    // The longest value of LT in explicit VR, and one character past it.
    for (const std::size_t count : {32767U, 32768U}) {
        const std::string file = Texts("ISO_IR 100").Comment(std::string(count, '\xE9')).File();
        const Healed healed = Heal_Texts(file, {.to_utf8 = true});
        const bool fits = count == 32767;
        EXPECT_EQ(healed.values.substr(0, 20),
                  fits ? "0008,0005 ISO_IR 192" : "0008,0005 ISO_IR 100");
        EXPECT_EQ(healed.findings.find("error 0010,4000 length: the text would be too long in "
                                       "UTF-8; no text is converted\n") == 0,
                  !fits);
    }
}

}  // namespace
