// Whole, same meaning, found, stable: over made files and faults of every kind, and over the samples
// when LIB_DICOM_SAMPLES names a folder of them.
#include "support/promises.h"

#include "support/fault_generator.h"
#include "support/plain_converter.h"
#include "support/recovery.h"
#include "support/samples.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

void Expect_Promises(const std::string& name, const std::string& bytes)
{
    for (const lib_mend::Mend_Options& options : All_Output_Options()) {
        EXPECT_EQ(Broken_Promises(bytes, options), "") << name << ", " << Options_Text(options);
    }
}

TEST(Promises, HoldForSoundFiles)
{
    for (const Sound_File& sound : Made_Sound_Files()) {
        ASSERT_EQ(sound.plain.error, "") << sound.name;
        EXPECT_EQ(Check_In_Memory(sound.bytes).Faults(), "") << sound.name;
        Expect_Promises(sound.name, sound.bytes);
    }
}

/** Values of every kind, as the file has them and as their definitions do not. */
TEST(Promises, HoldForPrivateElements)
{
    Stream_Builder s;
    s.Raw(Part10_Head("1.2.840.10008.1.2.1")).Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0009, 0x0010, "LO", "GEMS_IDEN_01");
    s.Element(0x0009, 0x1001, "UN", std::string(100, 'n'));
    s.Element(0x0009, 0x1027, "LO", "7,IMAGE_TYPE,TEXT ").Element(0x0009, 0x10FF, "US", "\1\2");
    s.Element(0x0009, 0x10FE, "UT", std::string(70000, 't'));
    s.Header(0x0009, 0x10FD, "SQ", 26).Item(18).Element(0x0009, 0x0010, "LO", "OTHER BLK ");
    Expect_Promises("private elements", s.Element(0x8001, 0x0010, "LO", "EF").Bytes());
}

TEST(Promises, HoldForFaultsOfEveryKind)
{
    // Known gaps, listed in docs/faults.md: bytes that look like items or like none, in implicit VR, and
    // damage that moves the pixel data into a sequence.
    constexpr int Known_Gaps = 0;
    int cases = 0;
    std::string broken;
    int broken_cases = 0;
    for (const Sound_File& sound : Made_Sound_Files()) {
        For_Each_Fault(sound, 2, [&](const Fault_Case& fault) {
            const std::string lines = Broken_Promises(fault.bytes, {});
            ++cases;
            if (!lines.empty()) {
                ++broken_cases;
                broken += sound.name + ", " + fault.kind + " at " + fault.damaged + "\n" + lines;
            }
        });
    }
    EXPECT_GT(cases, 400);
    EXPECT_LE(broken_cases, Known_Gaps) << broken;
}

TEST(Recovery, IsMeasuredBesideAConverterThatLosesNothing)
{
    for (const Sound_File& sound : Made_Sound_Files()) {
        const std::string converted = Convert_Plainly(sound.bytes);
        EXPECT_TRUE(Read_Plain(converted).Values() == sound.plain.Values()) << sound.name;
        EXPECT_NE(converted, sound.bytes) << sound.name;
        EXPECT_EQ(Convert_Plainly(sound.bytes.substr(0, sound.bytes.size() - 1)), "") << sound.name;
    }
}

TEST(Recovery, BringsNearlyAllElementsBack)
{
    const Kind_Of_Fault_Count all = Count_Recovery(Made_Sound_Files(), 3).back();
    EXPECT_GT(all.cases, 600U);
    EXPECT_GE(all.Average(all.recovered), 0.97);
    EXPECT_GE(static_cast<double>(all.pictures_recovered),
              0.93 * static_cast<double>(all.pictures));
}

TEST(Promises, HoldForSamples)
{
    For_Each_Sample(&Expect_Promises);
}

}  // namespace
