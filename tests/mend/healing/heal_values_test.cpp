// Values in their data set: VRs, numbers of values, byte orders, options, and values left in the
// source.
#include "mend/findings/faults.h"
#include "mend/healing/values.h"
#include "mend/healing/vrs.h"
#include "mend/reading/reader.h"
#include "mend/reading/tree.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

/** What healing of VRs and values makes of a data set and says about it. */
struct Outcome {
    /** "PATH VR VALUE", one a line. */
    std::string elements;
    /** "level kind PATH text", with the values before and after. */
    std::string said;
};

std::string VR_Text(unsigned short vr)
{
    return {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

std::string Said(const Finding& finding)
{
    constexpr const char* Levels[] = {"info", "change", "kept", "error"};
    std::string said = Levels[static_cast<int>(finding.level)] + " "s + Kind_Of(finding).name +
                       " " + finding.path + " " + finding.text;
    said += finding.before.empty() ? "" : " [" + finding.before + "]";
    said += finding.after.empty() ? "" : " -> [" + finding.after + "]";
    return said + "\n";
}

Outcome Heal_Bytes(const std::string& bytes, const Heal_Options& options = {})
{
    Findings reading;
    Findings findings;
    const Library_Session session(reading);
    const std::span<const unsigned char> image(reinterpret_cast<const unsigned char*>(bytes.data()),
                                               bytes.size());
    Data_Set set = Read_Data_Set(Source::From_Image(image, "test"), reading);
    Settle_VRs(set, options, findings);
    Heal_Values(set, set.records, options, findings);
    Outcome outcome;
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path& way) {
        const Bytes value = Has_Value(record) ? set.Value(record) : Bytes();
        outcome.elements += Path_Text(way, Tag_Of(record)) + " " + VR_Text(VR_Of(record)) + " " +
                            std::string(value.begin(), value.end()) + "\n";
    });
    for (const Finding& finding : findings.All()) {
        outcome.said += Said(finding);
    }
    return outcome;
}

using Build = std::function<void(Stream_Builder&)>;

/** A data set of explicit VR little endian that begins soundly. */
std::string File_With(const Build& build, unsigned char code = DICOM_Order_Explicit_VR)
{
    Stream_Builder s(code);
    s.Raw(Part10_Head(code == 0         ? "1.2.840.10008.1.2"
                      : (code & 1) != 0 ? "1.2.840.10008.1.2.2"
                                        : "1.2.840.10008.1.2.1"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    build(s);
    return s.Bytes();
}

constexpr char Start[] = "0008,0018 UI 1.2.3.4\0";

struct Case {
    Build build;
    std::string elements;
    std::string said;
};

void Expect(const std::vector<Case>& cases, const Heal_Options& options = {},
            unsigned char code = DICOM_Order_Explicit_VR)
{
    for (const Case& each : cases) {
        SCOPED_TRACE(each.elements);
        const Outcome outcome = Heal_Bytes(File_With(each.build, code), options);
        EXPECT_EQ(outcome.elements, std::string(Start, sizeof Start - 1) + "\n" + each.elements);
        EXPECT_EQ(outcome.said, each.said);
    }
}

TEST(Foreign_VRs, BecomeTheRegistrysWhereThatSaysTheSame)
{
    Expect({
        {[](auto& s) { s.Element(0x0028, 0x0010, "IS", "16961 "); }, "0028,0010 US AB\n",
         "change value-vr 0028,0010 VR=IS is replaced by VR=US of the registry [16961] -> "
         "[16961]\n"},
        {[](auto& s) { s.Element(0x0028, 0x0010, "UL", "AB\0\0"s); }, "0028,0010 US AB\n",
         "change value-vr 0028,0010 VR=UL is replaced by VR=US of the registry [16961] -> "
         "[16961]\n"},
        {[](auto& s) { s.Element(0x0028, 0x0010, "UL", "AB\1\0"s); }, "0028,0010 UL AB\1\0\n"s,
         "kept vr-other 0028,0010 VR=UL instead of VR=US\n"},
        {[](auto& s) { s.Element(0x0028, 0x0010, "DS", "16961.0 "); }, "0028,0010 US AB\n",
         "change value-vr 0028,0010 VR=DS is replaced by VR=US of the registry [16961] -> "
         "[16961]\n"},
        {[](auto& s) { s.Element(0x0028, 0x0010, "DS", "16961.5 "); }, "0028,0010 DS 16961.5 \n",
         "kept vr-other 0028,0010 VR=DS instead of VR=US\n"},
        {[](auto& s) { s.Element(0x0028, 0x0010, "IS", "-1"); }, "0028,0010 IS -1\n",
         "kept vr-other 0028,0010 VR=IS instead of VR=US\n"},
        {[](auto& s) { s.Element(0x0028, 0x0010, "LO", "many"); }, "0028,0010 LO many\n",
         "kept vr-other 0028,0010 VR=LO instead of VR=US\n"},
        // Two numbers where one is wanted are not taken for the right ones.
        {[](auto& s) { s.Element(0x0028, 0x0010, "SS", "ABCD"); }, "0028,0010 SS ABCD\n",
         "kept vr-other 0028,0010 VR=SS instead of VR=US\n"
         "kept multiplicity 0028,0010 2 values instead of 1\n"},
        {[](auto& s) { s.Element(0x0020, 0x0013, "SS", "\xFE\xFF"s); }, "0020,0013 IS -2\n",
         "change value-vr 0020,0013 VR=SS is replaced by VR=IS of the registry [-2] -> [-2]\n"},
        {[](auto& s) { s.Element(0x0028, 0x0030, "US", "\5\0\x0C\0"s); }, "0028,0030 DS 5\\12\n",
         "change value-vr 0028,0030 VR=US is replaced by VR=DS of the registry [5\\12] -> "
         "[5\\12]\n"},
        {[](auto& s) { s.Element(0x0008, 0x103E, "UT", "Head"); }, "0008,103e LO Head\n",
         "change value-vr 0008,103e VR=UT is replaced by VR=LO of the registry [Head] -> [Head]\n"},
        {[](auto& s) { s.Element(0x0008, 0x103E, "LT", "A\\B "); }, "0008,103e LT A\\B \n",
         "kept vr-other 0008,103e VR=LT instead of VR=LO\n"},
        {[](auto& s) { s.Element(0x0008, 0x103E, "UT", std::string(66, 'x')); },
         "0008,103e UT " + std::string(66, 'x') + "\n",
         "kept vr-other 0008,103e VR=UT instead of VR=LO\n"},
        {[](auto& s) { s.Element(0x0020, 0x000D, "LO", "1.2.3 "); }, "0020,000d UI 1.2.3\0\n"s,
         "change value-vr 0020,000d VR=LO is replaced by VR=UI of the registry [1.2.3 ] -> "
         "[1.2.3\0]\n"s},
        {[](auto& s) { s.Element(0x0020, 0x000D, "LO", "1.2.x "); }, "0020,000d LO 1.2.x \n",
         "kept vr-other 0020,000d VR=LO instead of VR=UI\n"},
        {[](auto& s) { s.Element(0x0028, 0x0010, "UL", ""); }, "0028,0010 US \n",
         "change value-vr 0028,0010 VR=UL is replaced by VR=US of the registry\n"},
        // Either VR of the registry is right, whatever Pixel Representation says.
        {[](auto& s) { s.US(0x0028, 0x0103, 0).Element(0x0028, 0x0106, "SS", "AB"); },
         "0028,0103 US \0\0\n0028,0106 SS AB\n"s, ""},
        {[](auto& s) { s.US(0x0028, 0x0103, 1).Element(0x0028, 0x0106, "UL", "AB\0\0"s); },
         "0028,0103 US \1\0\n0028,0106 SS AB\n"s,
         "change value-vr 0028,0106 VR=UL is replaced by VR=SS of the registry [16961] -> "
         "[16961]\n"},
        {[](auto& s) { s.Element(0x0010, 0x0010, "UN", "DOE^JOHN"); }, "0010,0010 PN DOE^JOHN\n",
         "change vr-unknown 0010,0010 VR=UN is replaced by VR=PN of the registry\n"},
        {[](auto& s) {
             s.Element(0x0028, 0x0010, "UN", "abcd").Element(0x0028, 0x9001, "UN", "ab");
         },
         "0028,0010 US abcd\n0028,9001 UN ab\n",
         "change vr-unknown 0028,0010 VR=UN is replaced by VR=US of the registry\n"
         "kept multiplicity 0028,0010 2 values instead of 1\n"},
    });
}

TEST(Foreign_VRs, KeepTheirByteOrder)
{
    constexpr unsigned char Big = 9;
    Expect(
        {
            {[](auto& s) { s.Element(0x0028, 0x0010, "UL", "\0\0BA"s); }, "0028,0010 US BA\n",
             "change value-vr 0028,0010 VR=UL is replaced by VR=US of the registry [16961] -> "
             "[16961]\n"},
            {[](auto& s) { s.Element(0x0020, 0x0013, "SS", "\xFF\xFE"s); }, "0020,0013 IS -2\n",
             "change value-vr 0020,0013 VR=SS is replaced by VR=IS of the registry [-2] -> [-2]\n"},
        },
        {}, Big);
}

TEST(Numbers_Of_Values, AreSaidAndNothingIsRemoved)
{
    const std::string contour = [] {
        std::string text = "1.25";
        while (text.size() < 107000) {
            text += "\\1.25";
        }
        return text + "\\1";
    }();
    Expect({
        {[](auto& s) { s.Element(0x0008, 0x0080, "LO", "A\\B "); }, "0008,0080 LO A\\B \n",
         "kept multiplicity 0008,0080 2 values instead of 1 [A\\B ]\n"},
        {[](auto& s) { s.Element(0x0028, 0x0030, "DS", "1\\2\\3 "); }, "0028,0030 DS 1\\2\\3 \n",
         "kept multiplicity 0028,0030 3 values instead of 2 [1\\2\\3 ]\n"},
        {[](auto& s) { s.Element(0x0008, 0x0008, "CS", "ORIGINAL"); }, "0008,0008 CS ORIGINAL\n",
         "kept multiplicity 0008,0008 1 value instead of 2 or more [ORIGINAL]\n"},
        {[](auto& s) { s.Element(0x0018, 0x0050, "DS", "1.5\\"); }, "0018,0050 DS 1.5\\\n",
         "kept multiplicity 0018,0050 2 values instead of 1 [1.5\\]\n"},
        {[](auto& s) { s.Element(0x0018, 0x5010, "LO", "9d\\6L3\\ "); },
         "0018,5010 LO 9d\\6L3\\ \n", ""},
        {[](auto& s) { s.Element(0x0008, 0x0080, "LO", "").Element(0x0028, 0x0030, "DS", ""); },
         "0008,0080 LO \n0028,0030 DS \n", ""},
        {[](auto& s) { s.Element(0x0028, 0x0009, "AT", "abcdefgh"); }, "0028,0009 AT abcdefgh\n",
         ""},
        // Too long for a header of DS.
        {[&](auto& s) { s.Element(0x3006, 0x0050, "UN", contour); },
         "3006,0050 UN " + contour + "\n", ""},
    });
}

TEST(Strictness, CutsFiltersAndDeletesAndSaysSo)
{
    Heal_Options strict;
    strict.strict = true;
    const std::string sixteen(16, 'x');
    Expect(
        {
            {[](auto& s) { s.Element(0x0008, 0x0020, "DA", "20241301"); },
             "0008,0020 DA 20241301\n", "kept date 0008,0020 no date that there is [20241301]\n"},
            {[](auto& s) { s.Element(0x0008, 0x0020, "DA", "11.11.11AB"); },
             "0008,0020 DA 11.11.11\n",
             "kept date 0008,0020 no date that there is [11.11.11AB]\n"
             "error strict 0008,0020 repaired at the cost of what it says [11.11.11AB] -> "
             "[11.11.11]\n"},
            {[&](auto& s) { s.Element(0x0008, 0x0050, "SH", sixteen + "yz"); },
             "0008,0050 SH " + sixteen + "\n",
             "kept length 0008,0050 longer than its VR allows [" + sixteen + "yz]\n" +
                 "error strict 0008,0050 repaired at the cost of what it says [" + sixteen +
                 "yz] -> [" + sixteen + "]\n"},
            {[](auto& s) { s.Element(0x0010, 0x1010, "AS", "045X"); }, "0010,1010 AS 045Y\n",
             "kept form 0010,1010 no age [045X]\n"
             "error strict 0010,1010 repaired at the cost of what it says [045X] -> [045Y]\n"},
            {[](auto& s) { s.Element(0x0020, 0x0013, "IS", "99999999999 ").US(0x0028, 0x0010, 1); },
             "0028,0010 US \1\0\n"s,
             "kept range 0020,0013 beyond 32 bits [99999999999 ]\n"
             "error strict 0020,0013 the value cannot be repaired; the element is left out "
             "[99999999999 ]\n"},
            {[](auto& s) { s.Element(0x0008, 0x0080, "LO", "A\\B "); }, "0008,0080 LO A\\B \n",
             "kept multiplicity 0008,0080 2 values instead of 1 [A\\B ]\n"},
        },
        strict);
}

TEST(Values, AreHealedInItemsByTheirCharacterSets)
{
    Expect({
        {[](auto& s) {
             s.Element(0x0008, 0x0080, "LO", "\xD5\\a ");
             s.Sequence(0x0008, 0x1140).Item().Element(0x0008, 0x0005, "CS", "GBK ");
             s.Element(0x0008, 0x0080, "LO", "\xD5\\a ").Sequence(0x0008, 0x1140).Item();
             s.Element(0x0008, 0x0080, "LO", "\xD5\\a\0"s).Item_End().Sequence_End().Item_End();
             s.Item().Element(0x0008, 0x0080, "LO", "\xD5\\a ").Item_End().Sequence_End();
         },
         "0008,0080 LO \xD5\\a \n0008,1140 SQ \n0008,1140[0]/0008,0005 CS GBK \n"
         "0008,1140[0]/0008,0080 LO \xD5\\a \n0008,1140[0]/0008,1140 SQ \n"
         "0008,1140[0]/0008,1140[0]/0008,0080 LO \xD5\\a \n0008,1140[1]/0008,0080 LO \xD5\\a \n",
         "kept multiplicity 0008,0080 2 values instead of 1 [\xD5\\a ]\n"
         "change padding 0008,1140[0]/0008,1140[0]/0008,0080 wrong padding, put right [\xD5\\a\0] "
         "-> [\xD5\\a ]\n"
         "kept multiplicity 0008,1140[1]/0008,0080 2 values instead of 1 [\xD5\\a ]\n"s},
    });
}

TEST(Values, StayInTheSourceUnlessTheyChange)
{
    const std::string sound(2000, 'x');
    const std::string padded = sound + "\0\0"s;
    const std::string bytes = File_With([&](auto& s) {
        s.Element(0x0010, 0x4000, "LT", sound).Element(0x0020, 0x4000, "LT", padded);
        s.Element(0x0029, 0x1000, "OB", sound);
    });
    Findings findings;
    const Library_Session session(findings);
    const std::span<const unsigned char> image(reinterpret_cast<const unsigned char*>(bytes.data()),
                                               bytes.size());
    Data_Set set = Read_Data_Set(Source::From_Image(image, "test"), findings);
    Heal_Values(set, set.records, {}, findings);
    EXPECT_EQ(Find_Record(set.records.Head(), {0x0010, 0x4000})->data, nullptr);
    EXPECT_EQ(Find_Record(set.records.Head(), {0x0029, 0x1000})->data, nullptr);
    const DICOM_List* const healed = Find_Record(set.records.Head(), {0x0020, 0x4000});
    ASSERT_NE(healed->data, nullptr);
    EXPECT_EQ(healed->size, 2000);
}

}  // namespace
