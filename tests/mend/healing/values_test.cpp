// Single values of every VR: what becomes of them, and what is said.
#include "mend/findings/faults.h"
#include "mend/healing/forms.h"
#include "mend/healing/value.h"
#include "support/case_page.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

std::string Said(const Notes& notes)
{
    std::string said;
    for (const Note& note : notes) {
        Finding finding;
        finding.fault = note.fault;
        said += (said.empty() ? "" : "\n") +
                std::string(note.level == Level::Change ? "change " : "kept ") +
                Kind_Of(finding).name + ": " + note.text;
    }
    return said;
}

/** Heals each value, and what came out of it again: only what is kept is said twice. */
TEST(Values, AreHealedAsTheirRowsSay)
{
    For_Each_Case("mend/healing/values.cases", "", 5, [](const Case_Row& row) {
        const Character_Set characters(row[4]);
        const Healed_Value once = Heal_Value({row[1], row.VR(0), characters});
        EXPECT_EQ(once.bytes, row[2]);
        EXPECT_EQ(Said(once.notes), row[3]);
        const Healed_Value twice = Heal_Value({once.bytes, row.VR(0), characters});
        EXPECT_EQ(twice.bytes, once.bytes);
        EXPECT_FALSE(Has_Level(twice.notes, Level::Change)) << Said(twice.notes);
        for (const Note& note : twice.notes) {
            EXPECT_NE(std::find(once.notes.begin(), once.notes.end(), note), once.notes.end())
                << note.text;
        }
    });
}

TEST(UIDs, AreReplacedOnRequest)
{
    const Character_Set characters;
    const Healed_Value replaced = Heal_Value({"1.2.3\\1.2.a \\1.2.a"s, VR_UI, characters, true});
    EXPECT_EQ(Said(replaced.notes),
              "change uid-replaced: no valid UID; one made from it takes its place");
    // The first 16 bytes of the hash of "1.2.a", with version 8 and variant 2.
    const std::string uid = Replacement_UID("1.2.a");
    EXPECT_EQ(uid, "2.25.192827484366458540330219900809050661940");
    EXPECT_EQ(replaced.bytes.substr(0, replaced.bytes.find('\0')), "1.2.3\\" + uid + "\\" + uid);
    EXPECT_TRUE(Is_Fit_UID(uid));
    EXPECT_NE(Replacement_UID("1.2.b"), uid);
}

TEST(Values, AreCountedByTheirVR)
{
    const Character_Set characters;
    const auto count = [&](unsigned short vr, std::string_view bytes) {
        return Heal_Value({bytes, vr, characters}).count;
    };
    EXPECT_EQ(count(VR_US, "abcd"), 2U);
    EXPECT_EQ(count(VR_OW, "abcd"), 1U);
    EXPECT_EQ(count(VR_US, ""), 0U);
    EXPECT_EQ(count(VR_DS, "9\\6\\"), 3U);
    EXPECT_EQ(count(VR_LT, "9\\6\\"), 1U);
    EXPECT_EQ(count(VR_LO, ""), 0U);
}

}  // namespace
