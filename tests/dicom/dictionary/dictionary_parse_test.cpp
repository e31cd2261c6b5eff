#include "dictionary/parse_table.h"
#include "support/message_log.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using namespace lib_dicom;

/** Chains of all groups: "[group/mask element/mask number of VRs 'name' multiplicity ...]". */
std::string Describe(Dictionary& dictionary)
{
    std::string text;
    char part[200];
    for (const TAG_db_Group& node : dictionary.Groups()) {
        std::snprintf(part, sizeof part, "[%04x/%04x", node.group, node.group_mask);
        text += part;
        for (const TAG_db_Elems* entry = node.slots.front().entry; entry != nullptr;
             entry = entry->next) {
            std::snprintf(part, sizeof part, " %04x/%04x %d '%s' %d-%d", entry->element,
                          entry->elem_mask, entry->nb_vr, entry->name, entry->vm[0].vm_min,
                          entry->vm[0].vm_max);
            text += part;
        }
        text += "]";
    }
    return text;
}

TEST(Dictionary_Parse, FollowsTheLineGrammar)
{
    const std::string long_line = "(0008,0001) " + std::string(200, 'N') + " LO 1";
    const std::string syntax = "    \361\005WARNING:\002 Syntax error in definition file for ";
    const struct {
        std::vector<const char*> lines;
        std::string entries;
        std::string warnings;
    } Cases[] = {
        {{"(0008,0001) A LO 1-3 RET", "(0008,0002) B US 10", "(0008,0003) C FD 3-3n"},
         "[0008/ffff 0001/ffff -1 'A' 1-3 0002/ffff 1 'B' 10-10 0003/ffff 1 'C' 3-65535]",
         ""},
        // A faulty line ends its table and keeps what stands before it.
        {{"(0008,0001) A LO 1", "(0008,0002) B US 1) or (SS 1)", "(0008,0003) C LO 1"},
         "[0008/ffff 0001/ffff 1 'A' 1-1]",
         syntax + "(0008,0002) \n"},
        {{"(0008,0001) A (US 1) or (SS 1) or (OW 1) or (OB 1)", "(0008,0003) C LO 1"},
         "",
         syntax + "(0008,0001) \n"},
        {{")"}, "", syntax + "           )\n"},
        // Without a VM at the end there is no VR, and no retired mark either.
        {{"(0008,0001) A LO n", "(0008,0002) B LO 1   RET", "(0008,0003) C RET"},
         "[0008/ffff 0001/ffff 0 'A LO n' 65535-0 0002/ffff 0 'B LO 1' 65535-0 0003/ffff 0 'C' "
         "65535-0]",
         ""},
        // Any digit of a tag may be open.
        {{"(60xx,0010) A US 1", "(0x18,1x2x) B US 1"},
         "[0018/f0ff 1020/f0f0 1 'B' 1-1][6000/ff00 0010/ffff 1 'A' 1-1]",
         ""},
        {{"(0008,0002) A LO 1", "(0008,0005) B LO 1", "(0008,0005) C LO 1", "(0008,0004) D LO 1"},
         "[0008/ffff 0002/ffff 1 'A' 1-1 0004/ffff 1 'D' 1-1 0005/ffff 1 'B' 1-1]",
         "    \361\005WARNING:\002 duplicate tag (0008,0005) in definition file\n"},
        // The first entry is neither displaced nor compared.
        {{"(0008,0005) A LO 1", "(0008,0005) B LO 1", "(0008,0003) C LO 1", "(0006,0001) D LO 1"},
         "[0006/ffff 0001/ffff 1 'D' 1-1]"
         "[0008/ffff 0005/ffff 1 'A' 1-1 0003/ffff 1 'C' 1-1 0005/ffff 1 'B' 1-1]",
         ""},
        {{"", "(", "(0008,xx"},
         "[0000/0000 0000/0000 0 '' 65535-0 0000/0000 0 '' 65535-0][0008/ffff 0000/0000 0 '' "
         "65535-0]",
         ""},
        {{long_line.c_str()}, "[0008/ffff 0001/ffff 0 '" + std::string(79, 'N') + "' 65535-0]", ""},
    };
    for (const auto& table : Cases) {
        Message_Log log;
        Dictionary dictionary;
        NEMA_db_Parse_Table(nullptr, dictionary, table.lines);
        EXPECT_EQ(Describe(dictionary), table.entries);
        EXPECT_EQ(log.Text(), table.warnings);
    }
}

TEST(Dictionary_Parse, LookupIsTheWalkAlongTheChain)
{
    Dictionary dictionary;
    const char* const lines[] = {"(50xx,0005) First LO 1",    "(50xx,0003) Hidden LO 1",
                                 "(50xx,0005) Hidden LO 1",   "(50xx,0007) Third LO 1",
                                 "(5010,0003) Specific LO 1", "(5012,0007) Covered LO 1"};
    NEMA_db_Parse_Table(nullptr, dictionary, lines);
    const auto name = [&](unsigned short group, unsigned short element) {
        const TAG_db_Elems* const entry = dictionary.Find(group, element);
        return entry == nullptr ? "-" : entry->name;
    };
    EXPECT_STREQ(name(0x5000, 0x0005), "First");
    EXPECT_STREQ(name(0x5000, 0x0003), "-");
    EXPECT_STREQ(name(0x5010, 0x0003), "Specific");
    EXPECT_STREQ(name(0x5012, 0x0007), "Third");
    EXPECT_STREQ(name(0x5100, 0x0005), "-");
}

}  // namespace
