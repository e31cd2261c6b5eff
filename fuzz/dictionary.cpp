// The parser of dictionary lines: whatever the lines are, what is kept can be found.
//
// Input: the lines.
#include "dictionary/parse_table.h"
#include "fuzz_target.h"

#include <sstream>
#include <vector>

namespace {

using namespace lib_dicom;

void Check_Entry(const TAG_db_Elems& entry)
{
    fuzz::Require(std::memchr(entry.name, '\0', sizeof entry.name) != nullptr, "a name has an end");
    fuzz::Require(std::abs(entry.nb_vr) <= Max_Alternatives, "an entry has three VRs at most");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Silence silence;
    std::istringstream text(fuzz::Input(data, size).Text());
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    std::vector<const char*> table;
    for (const std::string& line : lines) {
        table.push_back(line.c_str());
    }
    Dictionary dictionary;
    NEMA_db_Parse_Table(nullptr, dictionary, table);
    for (const TAG_db_Group& group : dictionary.Groups()) {
        fuzz::Require(!group.slots.empty(), "a group has entries");
        std::size_t count = 0;
        for (const TAG_db_Elems* entry = group.slots.front().entry; entry != nullptr;
             entry = entry->next) {
            Check_Entry(*entry);
            dictionary.Find(entry->group, entry->element);
            ++count;
        }
        fuzz::Require(count == group.slots.size(), "the chain of a group has all its entries");
    }
    return 0;
}
