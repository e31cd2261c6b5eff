#include "lookup.h"

#include "definition_names.h"
#include "mend/findings/attributes.h"
#include "mend/findings/letters.h"
#include "mend/interface/element_path.h"
#include "suggestions.h"
#include "terminal.h"
#include "value_text.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <set>

namespace dicom_mend {

namespace {

using lib_mend::Printable;

using lib_mend::Attribute;
using lib_mend::Tag;
using lib_mend::Tag_Text;

/** Letters and digits of a name: what the library's search compares. */
std::size_t Count_Letters(const std::string& name)
{
    return static_cast<std::size_t>(std::count_if(name.begin(), name.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    }));
}

/** All UIDs whose name contains a text; those with no other name stand in front. */
std::vector<DICOM_UID_Entry> Find_All(const std::string& term)
{
    std::vector<DICOM_UID_Entry> entries;
    const DICOM_UID_Entry* entry = nullptr;
    while ((entry = DICOM_UID_Find(term.c_str(), entry)) != nullptr) {
        entries.push_back(*entry);
    }
    const std::size_t letters = Count_Letters(term);
    std::stable_partition(entries.begin(), entries.end(), [letters](const DICOM_UID_Entry& found) {
        return Count_Letters(found.name) == letters;
    });
    return entries;
}

/** The tag of an attribute, with "x" for the digits that may be any. */
std::string Attribute_Tag_Text(const Attribute& attribute)
{
    std::string text = "(" + Tag_Text(attribute.tag) + ")";
    const int high = attribute.tag.group >> 8;
    if (high == 0x50 || high == 0x60) {
        text.replace(3, 2, "xx");
    }
    for (std::size_t i = 0; i < 4; ++i) {
        if ((attribute.elem_mask & (0xF000U >> 4 * i)) == 0) {
            text[6 + i] = 'x';
        }
    }
    return text;
}

std::string VM_Text(const Attribute& attribute)
{
    std::string least = std::to_string(attribute.vm_min);
    if (attribute.vm_min == attribute.vm_max) {
        return least;
    }
    return least + "-" +
           (attribute.vm_max == Attribute::Unbounded ? "n" : std::to_string(attribute.vm_max));
}

void Print(const Attribute& attribute)
{
    std::string vrs;
    for (const unsigned short vr : attribute.vrs) {
        vrs += vrs.empty() ? "" : " or ";
        Append_VR(vrs, vr);
    }
    const bool has_vr = !vrs.empty();
    std::printf("%s %-8s %-4s %s%s\n", Attribute_Tag_Text(attribute).c_str(),
                has_vr ? vrs.c_str() : "--", has_vr ? VM_Text(attribute).c_str() : "--",
                attribute.name.c_str(), attribute.retired ? " (retired)" : "");
}

void Print(const DICOM_UID_Entry& entry)
{
    std::printf("%-30s %-15s %s%s\n", entry.uid, entry.kind,
                *entry.name != '\0' ? entry.name : "--", entry.retired != 0 ? " (retired)" : "");
}

std::vector<Attribute> Attributes_Of(const std::string& term)
{
    // Of a path the attribute that it leads to.
    const std::optional<lib_mend::Element_Path> path = lib_mend::Parse_Path(term);
    if (!path || (path->way.empty() && !lib_mend::Parse_Tag_Digits(term))) {
        return lib_mend::Search_Attributes(term);
    }
    const std::optional<Attribute> attribute = lib_mend::Find_Attribute(path->tag);
    return attribute ? std::vector{*attribute} : std::vector<Attribute>();
}

std::vector<DICOM_UID_Entry> UIDs_Of(const std::string& term)
{
    if (term.find_first_not_of("0123456789.") != term.npos) {
        return Find_All(term);
    }
    const DICOM_UID_Entry* const entry = DICOM_UID_Get(term.c_str());
    return entry != nullptr ? std::vector{*entry} : std::vector<DICOM_UID_Entry>();
}

std::string Nearest_Attributes(const std::string& term)
{
    const std::optional<Tag> tag = lib_mend::Parse_Tag_Digits(term);
    // Who made a private element decides what it is called.
    if (tag && tag->group % 2 != 0) {
        return {};
    }
    if (term.find_first_of("[/") != term.npos) {
        const std::string fault = Path_Fault(term);
        return fault.empty() ? fault : "; " + fault;
    }
    const bool is_tag = term.find_first_of("0123456789") == 0;
    return tag || is_tag ? Tag_Suggestion(term) : Suggestion(term, lib_mend::Keywords());
}

std::string Nearest_UIDs(const std::string& term)
{
    const bool is_number = term.find_first_not_of("0123456789.") == term.npos;
    std::vector<std::string> names;
    // Every name has one of the letters.
    for (char part[] = "a"; part[0] <= 'z'; ++part[0]) {
        for (const DICOM_UID_Entry& entry : Find_All(part)) {
            names.emplace_back(is_number ? entry.uid : entry.name);
        }
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return Suggestion(term, names);
}

template <class Entries, class Suggest>
Exit_Status Look_Up(const std::vector<std::string>& terms, Entries entries_of, Suggest nearest_to)
{
    lib_mend::Findings findings;
    const lib_mend::Library_Session session(findings);
    Exit_Status status = Exit_Clean;
    for (const std::string& term : terms) {
        const auto entries = entries_of(term);
        for (const auto& entry : entries) {
            Print(entry);
        }
        if (entries.empty()) {
            std::fflush(stdout);
            std::fprintf(stderr, "%s: not found%s\n", Printable(term).c_str(),
                         Printable(nearest_to(term)).c_str());
            status = Exit_Findings;
        }
    }
    return Finish_Output(status);
}

void Print_Code(const char* label, const Code_Seq& code, const std::string& score)
{
    const auto text = [](const char* part) {
        return Printable(part != nullptr ? part : "");
    };
    std::printf("  %-8s %5s  %-7s %-14s %s\n", label, score.c_str(),
                text(code.coding_scheme).c_str(), text(code.code_value).c_str(),
                text(code.code_meaning).c_str());
}

/** Prints the concept of one name and what else fits it. */
Exit_Status Print_Concepts(const std::string& table, const std::string& name)
{
    constexpr int Shown = 5;
    std::string original = name;
    Code_Seq code = {nullptr, nullptr, nullptr, original.data()};
    Code_Match* matches = nullptr;
    const bool coded = DICOM_Macro_CodeSequence_Set(&code, table.c_str()) != 0;
    const int count = DICOM_Macro_CodeSequence_Rank(name.c_str(), table.c_str(), &matches);
    if (count < 0 && !coded) {
        return Exit_Failure;
    }
    std::printf("%s\n", Printable(name).c_str());
    if (coded) {
        Print_Code("code", code, count > 0 ? std::to_string(matches[0].score) : "");
    }
    for (int i = 1; i < std::min(count, Shown + 1); ++i) {
        const bool tie = matches[i].score == matches[0].score;
        Print_Code(tie ? "tie" : "next", matches[i].code, std::to_string(matches[i].score));
    }
    DICOM_Macro_CodeSequence_Free(&matches, count);
    DICOM_Lib_Free(&code.code_value);
    DICOM_Lib_Free(&code.coding_scheme);
    DICOM_Lib_Free(&code.code_meaning);
    return coded ? Exit_Clean : Exit_Findings;
}

/** Letters, whatever their case. */
bool Holds(const std::string& text, const std::string& part)
{
    const auto lower = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    return std::search(text.begin(), text.end(), part.begin(), part.end(),
                       [&](char a, char b) { return lower(a) == lower(b); }) != text.end();
}

/** Those whose name or title holds one of the parts; all where there is none. */
Exit_Status Print_Names(const std::vector<Definition_Name>& definitions,
                        const std::vector<std::string>& parts)
{
    std::size_t width = 0;
    for (const Definition_Name& each : definitions) {
        width = std::max(width, each.name.size());
    }
    std::set<std::string> found;
    for (const Definition_Name& each : definitions) {
        bool is_asked_for = parts.empty();
        for (const std::string& part : parts) {
            if (Holds(each.name, part) || Holds(each.title, part)) {
                found.insert(part);
                is_asked_for = true;
            }
        }
        if (is_asked_for) {
            std::printf("%-*s  %s\n", static_cast<int>(width), each.name.c_str(),
                        Printable(each.title).c_str());
        }
    }
    std::fflush(stdout);
    Exit_Status status = Exit_Clean;
    for (const std::string& part : parts) {
        if (!found.contains(part)) {
            std::fprintf(stderr, "%s: neither a name nor a title holds this%s\n",
                         Printable(part).c_str(), Suggestion_For(part, definitions).c_str());
            status = Exit_Findings;
        }
    }
    return Finish_Output(status);
}

}  // namespace

Exit_Status Run_Modules(const std::vector<std::string>& parts)
{
    return Print_Names(Modules(), parts);
}

Exit_Status Run_Tables(const std::vector<std::string>& parts)
{
    return Print_Names(Tables(), parts);
}

Exit_Status Run_Dict(const Lookup_Request& request)
{
    return Look_Up(request.terms, &Attributes_Of, &Nearest_Attributes);
}

Exit_Status Run_UID(const Lookup_Request& request)
{
    return Look_Up(request.terms, &UIDs_Of, &Nearest_UIDs);
}

Exit_Status Run_Code(const Code_Request& request)
{
    lib_mend::Findings findings;
    const lib_mend::Library_Session session(findings);
    const std::string table = Table_File(request.table);
    Exit_Status status = Exit_Clean;
    for (const std::string& name : request.names) {
        const Exit_Status result = Print_Concepts(table, name);
        const std::string errors = findings.Take_Errors();
        if (result == Exit_Failure) {
            Report_Failure(table, errors.empty() ? "cannot be read as a code table" : errors);
            return result;
        }
        if (result == Exit_Findings) {
            Report_Failure(name, "no entry of " + table + " fits");
        }
        status = std::max(status, result);
    }
    return Finish_Output(status);
}

}  // namespace dicom_mend
