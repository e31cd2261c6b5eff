// Single values of every VR: what becomes of them, and what is said.
#include "mend/findings/faults.h"
#include "mend/healing/forms.h"
#include "mend/healing/sha256.h"
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

TEST(Hash, IsSHA256)
{
    const auto text = [](const SHA256_Digest& digest) {
        std::string hex;
        for (const unsigned char byte : digest) {
            constexpr char Digits[] = "0123456789abcdef";
            hex += {Digits[byte >> 4], Digits[byte & 15]};
        }
        return hex;
    };
    // FIPS 180-4, and the lengths around the padding of a block.
    EXPECT_EQ(text(SHA256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(text(SHA256("abc")),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(text(SHA256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(text(SHA256(std::string(55, 'a'))),
              "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318");
    EXPECT_EQ(text(SHA256(std::string(64, 'a'))),
              "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb");
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
