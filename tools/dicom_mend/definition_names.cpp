#include "definition_names.h"

#include "mend/io/system_files.h"
#include "suggestions.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace dicom_mend {

namespace {

namespace fs = std::filesystem;

/** The path of what stands in the directory of the definitions. */
std::string Place_Of(const std::string& name)
{
    const wchar_t* const directory = DICOM_Module_Setup(nullptr, nullptr);
    return (directory != nullptr ? fs::path(directory).string() : "") + name;
}

constexpr char Ending[] = ".txt";

/** Names of the text files in a part of the definition directory, without their ending. */
std::vector<std::string> Files_Of(const char* part)
{
    std::vector<std::string> names;
    for (const std::string& name : lib_mend::Names_In(Place_Of(part))) {
        if (name.ends_with(Ending) && name != std::string("index") + Ending) {
            names.push_back(name.substr(0, name.size() - std::size(Ending) + 1));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/** Titles of the IODs by their codes: what stands first and last, in quotes, in a line of the index. */
std::map<std::string, std::string> Titles()
{
    std::map<std::string, std::string> titles;
    std::ifstream index(lib_mend::Native_Path(Place_Of("iods/index.txt")));
    for (std::string line; std::getline(index, line);) {
        const std::size_t begin = line.find('"');
        const std::size_t end = line.rfind('"');
        if (!line.starts_with('#') && begin != end) {
            titles.emplace(line.substr(0, line.find_first_of(" \t")),
                           line.substr(begin + 1, end - begin - 1));
        }
    }
    return titles;
}

/** The first line of a table is "# CID 29 Acquisition Modality". */
std::string Title_Of_Table(const std::string& file)
{
    std::ifstream table(lib_mend::Native_Path(Place_Of("codes/" + file + ".txt")));
    std::string line;
    std::getline(table, line);
    const std::string head = "# CID ";
    const std::size_t title = line.find(' ', head.size());
    return line.starts_with(head) && title != line.npos ? line.substr(title + 1) : std::string();
}

std::vector<std::string> Names_Of(const std::vector<Definition_Name>& definitions)
{
    std::vector<std::string> names;
    for (const Definition_Name& each : definitions) {
        names.push_back(each.name);
    }
    return names;
}

bool Is_Number(const std::string& text)
{
    constexpr std::size_t Longest = 4;
    return !text.empty() && text.size() <= Longest &&
           text.find_first_not_of("0123456789") == text.npos;
}

/** Names whose titles hold a text, or words that are near it, the shortest titles first. */
std::vector<std::string> Titled(const std::string& text,
                                const std::vector<Definition_Name>& definitions)
{
    std::vector<std::string> titles;
    for (const Definition_Name& each : definitions) {
        titles.push_back(each.title);
    }
    std::vector<std::string> names;
    for (const std::string& title : Nearest(text, titles)) {
        const auto& [name, whole] =
            *std::find_if(definitions.begin(), definitions.end(),
                          [&](const Definition_Name& each) { return each.title == title; });
        // A number alone tells nobody what it is about.
        names.push_back(Is_Number(name) ? name + " (" + whole + ")" : name);
    }
    return names;
}

}  // namespace

std::string Suggestion_For(const std::string& text, const std::vector<Definition_Name>& definitions)
{
    const std::string near = Suggestion(text, Names_Of(definitions));
    // Of a text with blanks nobody thinks as of a code.
    const bool is_title = text.find(' ') != text.npos;
    const std::vector<std::string> titled =
        near.empty() || is_title ? Titled(text, definitions) : std::vector<std::string>();
    return titled.empty() ? near : Listed(titled);
}

namespace {

}  // namespace

std::string Definition_Directory()
{
    const std::string directory = Place_Of("");
    return directory.empty() ? "no place" : directory;
}

std::vector<Definition_Name> Modules()
{
    std::map<std::string, std::string> titles = Titles();
    std::vector<Definition_Name> modules;
    for (const std::string& code : Files_Of("iods")) {
        modules.push_back({code, titles[code]});
    }
    return modules;
}

std::vector<Definition_Name> Tables()
{
    constexpr std::size_t Head = 4;
    std::map<int, Definition_Name> tables;
    std::vector<Definition_Name> others;
    for (const std::string& file : Files_Of("codes")) {
        // "cid-0029"; "cid-0029-srt" has the same concepts in other codes.
        int number = 0;
        const char* const end = file.data() + file.size();
        if (file.starts_with("cid-") &&
            std::from_chars(file.data() + Head, end, number).ptr == end) {
            const std::string text = std::to_string(number);
            tables[number] = {text, Title_Of_Table(file)};
        } else {
            others.push_back({"codes/" + file + ".txt", Title_Of_Table(file)});
        }
    }
    std::vector<Definition_Name> named;
    for (const auto& [number, table] : tables) {
        named.push_back(table);
    }
    named.insert(named.end(), others.begin(), others.end());
    return named;
}

std::string Module_Fault(const std::string& code)
{
    const std::vector<Definition_Name> modules = Modules();
    const std::vector<std::string> codes = Names_Of(modules);
    if (code == "auto" || std::find(codes.begin(), codes.end(), code) != codes.end()) {
        return {};
    }
    return code + ": there is no such IOD" + Suggestion_For(code, modules) +
           "\ndicom-mend modules lists all of them.";
}

std::string Table_File(const std::string& table)
{
    constexpr std::size_t Digits = 4;
    // The standard calls them "CID 4021".
    const bool has_letters = table.starts_with("CID") || table.starts_with("cid");
    const std::size_t begin = has_letters ? table.find_first_not_of(" -_", 3) : 0;
    const std::string number = table.substr(std::min(begin, table.size()));
    return Is_Number(number)
               ? "codes/cid-" + std::string(Digits - number.size(), '0') + number + ".txt"
               : table;
}

std::string Table_Fault(const std::string& table)
{
    if (lib_mend::File_Size(Place_Of(Table_File(table))) >= 0) {
        return {};
    }
    return table + ": there is no such table" + Suggestion_For(table, Tables()) +
           "\ndicom-mend tables lists all of them.";
}

}  // namespace dicom_mend
