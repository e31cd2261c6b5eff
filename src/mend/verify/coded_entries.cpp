#include "mend/verify/coded_entries.h"

#include "mend/reading/tree.h"

#include <map>
#include <string>
#include <string_view>
#include <unordered_set>

namespace lib_mend {

namespace {

constexpr Tag Code_Value = {0x0008, 0x0100};
constexpr Tag Scheme = {0x0008, 0x0102};
constexpr Tag Mapping_Resource = {0x0008, 0x0105};
constexpr Tag Context_UID = {0x0008, 0x0117};
constexpr Tag Extension_Flag = {0x0008, 0x010B};
constexpr Tag Context_Identifier = {0x0008, 0x010F};
constexpr Tag Long_Code_Value = {0x0008, 0x0119};

/** Calls `visit(line)` for the lines of a definition file that are no comments. */
template <class Visit>
void For_Each_Line(const char* text, Visit&& visit)
{
    std::string_view rest = text != nullptr ? text : "";
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (!line.empty() && line.front() != '#') {
            visit(line);
        }
    }
}

std::string_view Word(std::string_view& line)
{
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(word.size());
    return word;
}

/** The designators of old schemes, as the tables call them. */
std::string_view Table_Scheme(std::string_view scheme)
{
    return scheme == "SNM3" ? std::string_view("99SDM") : scheme;
}

/** The tables of context groups: those that were asked for, as "scheme value". */
class Context_Groups {
public:
    using Codes = std::unordered_set<std::string>;

    Context_Groups()
    {
        For_Each_Line(DICOM_Module_Include_Get(nullptr, "codes/index"), [&](std::string_view line) {
            const std::string number(Word(line));
            files_.emplace(number, Word(line));
        });
    }
    /** Empty for a group that is not known. */
    const Codes& Of(const std::string& number)
    {
        const auto [place, is_new] = codes_.try_emplace(number);
        if (is_new) {
            const auto [first, end] = files_.equal_range(number);
            for (auto file = first; file != end; ++file) {
                Read("codes/" + file->second, place->second);
            }
        }
        return place->second;
    }

private:
    static void Read(const std::string& file, Codes& codes)
    {
        For_Each_Line(DICOM_Module_Include_Get(nullptr, file.c_str()), [&](std::string_view line) {
            const std::string scheme(Word(line));
            codes.insert(scheme + " " + std::string(Word(line)));
        });
    }

    std::multimap<std::string, std::string> files_;
    std::map<std::string, Codes> codes_;
};

std::string Text_Of(const Data_Set& set, DICOM_List* item, Tag tag)
{
    constexpr std::size_t Longest = 256;
    const DICOM_List* const record = Find_Record(item, tag);
    return record != nullptr ? Trimmed(set.Value(*record, Longest)) : std::string();
}

/** The code of an entry that names a group of the standard and does not extend it. */
struct Named_Code {
    std::string group;
    std::string code;
};

/** The number of a context group: "4" of an identifier "0004". */
std::string Without_Zeros(std::string number)
{
    return number.erase(0, std::min(number.find_first_not_of('0'), number.size()));
}

/** "4" of a UID that the registry names "Anatomic Region (4)"; empty for none. */
std::string Group_Of_UID(const std::string& uid)
{
    const DICOM_UID_Entry* const entry = uid.empty() ? nullptr : DICOM_UID_Get(uid.c_str());
    const std::string_view name = entry != nullptr ? entry->name : "";
    const std::size_t open = name.rfind('(');
    const bool is_group = entry != nullptr && std::string_view(entry->kind) == "Context Group" &&
                          open != name.npos && name.ends_with(')');
    return is_group ? std::string(name.substr(open + 1, name.size() - open - 2)) : std::string();
}

/** The group of the standard that an entry names by its identifier, or else by its UID alone. */
std::string Group_Of(const Data_Set& set, DICOM_List* item)
{
    const std::string number = Text_Of(set, item, Context_Identifier);
    if (number.empty()) {
        return Group_Of_UID(Text_Of(set, item, Context_UID));
    }
    return Text_Of(set, item, Mapping_Resource) == "DCMR" ? Without_Zeros(number) : std::string();
}

Named_Code Code_Of(const Data_Set& set, DICOM_List* item)
{
    const std::string group = Group_Of(set, item);
    if (group.empty() || Text_Of(set, item, Extension_Flag) == "Y") {
        return {};
    }
    std::string value = Text_Of(set, item, Code_Value);
    value = value.empty() ? Text_Of(set, item, Long_Code_Value) : value;
    const std::string scheme = Text_Of(set, item, Scheme);
    return {group, value.empty() || scheme.empty()
                       ? std::string()
                       : std::string(Table_Scheme(scheme)) + " " + value};
}

}  // namespace

void Check_Coded_Entries(const Data_Set& set, Findings& findings)
{
    std::optional<Context_Groups> groups;
    Tree_Walk walk(set.records.Head());
    while (DICOM_List* const record = walk.Next()) {
        const Tag tag = Tag_Of(*record);
        if ((tag != Context_Identifier && tag != Context_UID) || walk.Around() == nullptr) {
            continue;
        }
        DICOM_List* const item = Item_Of(*walk.Around(), walk.Way().back().item);
        if (tag == Context_UID && Find_Record(item, Context_Identifier) != nullptr) {
            continue;
        }
        const Named_Code named = Code_Of(set, item);
        if (named.code.empty()) {
            continue;
        }
        if (!groups) {
            groups.emplace();
        }
        const Context_Groups::Codes& codes = groups->Of(named.group);
        if (!codes.empty() && codes.count(named.code) == 0) {
            const DICOM_List* const code = Find_Record(item, Code_Value);
            findings.Report(Fault::Context_Group, Level::Kept,
                            At(code != nullptr ? *code : *record, walk.Way()),
                            "the code is none of the context group that it names, and is not "
                            "said to extend it");
        }
    }
}

}  // namespace lib_mend
