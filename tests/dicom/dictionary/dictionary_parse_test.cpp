#include "dictionary/parse_table.h"
#include "support/case_page.h"
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
    For_Each_Case("dicom/dictionary/dictionary_parse.cases", "lines", 3, [](const Case_Row& row) {
        std::string text = row[0] + "\n";
        std::vector<const char*> lines;
        for (std::size_t at = 0, end = 0; at < text.size(); at = end + 1) {
            end = text.find('\n', at);
            text[end] = '\0';
            lines.push_back(&text[at]);
        }
        const Message_Log log;
        Dictionary dictionary;
        NEMA_db_Parse_Table(nullptr, dictionary, lines);
        EXPECT_EQ(Describe(dictionary), row[1]);
        EXPECT_EQ(log.Text(), row[2]);
    });
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
