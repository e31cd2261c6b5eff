#include "support/promises.h"

#include "mend/reading/tree.h"
#include "support/plain_reader.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace {

using namespace lib_mend;

/** Bytes of a unit that turns round between byte orders. */
std::size_t Unit_Of(const std::string& vr)
{
    static const std::map<std::string, std::size_t> units = {
        {"AT", 2}, {"OW", 2}, {"SS", 2}, {"US", 2}, {"FL", 4}, {"OF", 4}, {"OL", 4},
        {"SL", 4}, {"UL", 4}, {"FD", 8}, {"OD", 8}, {"OV", 8}, {"SV", 8}, {"UV", 8}};
    const auto unit = units.find(vr);
    return unit == units.end() ? 1 : unit->second;
}

std::string In_Little_Endian(std::string value, const std::string& vr, bool is_big)
{
    const std::size_t unit = Unit_Of(vr);
    for (std::size_t at = 0; is_big && unit > 1 && at + unit <= value.size(); at += unit) {
        std::reverse(value.begin() + static_cast<std::ptrdiff_t>(at),
                     value.begin() + static_cast<std::ptrdiff_t>(at + unit));
    }
    return value;
}

std::string VR_Letters(unsigned short vr)
{
    return vr == 0 ? "" : std::string{static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

/** Values are compared without the padding at their end, which an odd length calls for. */
std::string Without_Padding(std::string value)
{
    while (!value.empty() && (value.back() == ' ' || value.back() == '\0')) {
        value.pop_back();
    }
    return value;
}

struct Held {
    std::string vr;
    std::string value;
};
using Contents = std::map<std::string, Held>;

/** What reading finds in a file, group lengths left out: their values are those of the encoding. */
Contents Contents_Of(const Data_Set& set)
{
    Contents contents;
    std::map<std::string, int> fragments;
    Tree_Walk walk(set.records.Head());
    while (const DICOM_List* const record = walk.Next()) {
        const bool is_fragment = Is_Delimiter(*record) && VR_Of(*record) == VR_OB;
        if ((Is_Delimiter(*record) && !is_fragment) || !Has_Value(*record) ||
            record->element == 0x0000) {
            continue;
        }
        std::string path = Path_Text(walk.Way(), Tag_Of(*record));
        if (is_fragment) {
            path.resize(path.rfind('/'));
        }
        const Bytes value = set.Value(*record);
        const std::string vr = VR_Letters(VR_Of(*record));
        contents[path] = {
            vr, In_Little_Endian({value.begin(), value.end()}, vr, (record->byte_order & 1) != 0)};
    }
    return contents;
}

/** Tells whether a finding names an element, or a sequence around it. */
bool Is_Named(const std::vector<Finding>& findings, const std::string& path, bool as_lost)
{
    return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        const bool is_summary = finding.text.find(" more like this") != std::string::npos;
        const bool names = is_summary || (!finding.path.empty() && path.starts_with(finding.path));
        return names && (!as_lost || finding.level == Level::Error);
    });
}

/** An element of an odd group, or in one. */
bool Is_Private(const std::string& path)
{
    for (std::size_t step = 0; step != std::string::npos && step < path.size();) {
        if (std::string_view("13579bdf").find(path[step + 3]) != std::string_view::npos) {
            return true;
        }
        step = path.find('/', step);
        step += step != std::string::npos ? 1 : 0;
    }
    return false;
}

bool Is_Offset_Table(const std::string& path)
{
    return path == "7fe0,0010[0]";
}

std::string Compare(const Contents& before, const Plain_File& after,
                    const std::vector<Finding>& findings, bool drops_private)
{
    std::string broken;
    std::map<std::string, const Plain_Element*> there;
    for (const Plain_Element& element : after.elements) {
        there.emplace(element.path, &element);
    }
    for (const auto& [path, held] : before) {
        const auto found = there.find(path);
        if (found == there.end()) {
            if (!Is_Named(findings, path, true) && !(drops_private && Is_Private(path))) {
                broken += "whole: " + path + " is gone, and no error names it\n";
            }
            continue;
        }
        const std::string vr = found->second->vr.empty() ? held.vr : found->second->vr;
        const std::string value = In_Little_Endian(found->second->value, vr, after.is_big);
        if (value != held.value && Without_Padding(value) != Without_Padding(held.value) &&
            !Is_Offset_Table(path) && !Is_Named(findings, path, false)) {
            broken += "same: " + path + " changed, and no finding names it\n";
        }
    }
    return broken;
}

/** Findings as lines, without those about what only writing does. */
std::set<std::string> Lines_Of(const std::vector<Finding>& findings, bool of_faults_only)
{
    std::set<std::string> lines;
    for (const Finding& finding : findings) {
        if (!of_faults_only || Severity_Of(finding) != Severity::Info) {
            lines.insert(finding.path + " " + Kind_Of(finding).name + " " +
                         Shown_Text(finding, true));
        }
    }
    return lines;
}

/** @param drops_private  what is not written is not fitted to the output */
std::string Compare_Findings(const Mended_File& checked, const Mended_File& mended,
                             bool drops_private)
{
    std::string broken;
    const auto of_check = Lines_Of(checked.findings, true);
    const auto of_mend = Lines_Of(mended.findings, true);
    for (const std::string& line : of_check) {
        const std::string path = line.substr(0, line.find(' '));
        if (of_mend.count(line) == 0 && !(drops_private && Is_Private(path))) {
            broken += "found: only check says " + line + "\n";
        }
    }
    for (const std::string& line : of_mend) {
        if (of_check.count(line) == 0) {
            broken += "found: only mend says " + line + "\n";
        }
    }
    return broken;
}

}  // namespace

std::vector<Mend_Options> All_Output_Options()
{
    std::vector<Mend_Options> all;
    for (const Output_Syntax syntax :
         {Output_Syntax::Keep, Output_Syntax::Implicit_Little, Output_Syntax::Explicit_Little,
          Output_Syntax::Explicit_Big}) {
        for (int flags = 0; flags < 4; ++flags) {
            Mend_Options options;
            options.syntax = syntax;
            options.group_lengths = (flags & 1) != 0;
            options.defined_lengths = (flags & 2) != 0;
            all.push_back(options);
        }
    }
    return all;
}

std::string Options_Text(const Mend_Options& options)
{
    constexpr const char* Names[] = {"keep", "implicit-little", "explicit-little", "explicit-big"};
    return std::string(Names[static_cast<int>(options.syntax)]) +
           (options.group_lengths ? ", group lengths" : "") +
           (options.defined_lengths ? ", defined lengths" : "");
}

std::string Broken_Promises(const std::string& file, const Mend_Options& options)
{
    Contents before;
    {
        Findings findings;
        const Library_Session session(findings);
        before = Contents_Of(Read_Data_Set(Source_Of(file), findings));
    }
    const Mended_File mended = Mend_In_Memory(file, options);
    if (!mended.done) {
        const bool has_reason =
            std::any_of(mended.findings.begin(), mended.findings.end(),
                        [](const Finding& finding) { return finding.level == Level::Error; });
        return has_reason ? "" : "whole: nothing is written, and no error says why\n";
    }
    std::string broken;
    const Plain_File after = Read_Plain(mended.bytes);
    // The plain reader inflates nothing, and goes down a few hundred levels only.
    const bool is_judged =
        after.syntax != "1.2.840.10008.1.2.1.99" && !after.error.starts_with("too deep");
    if (is_judged && !after.error.empty()) {
        broken += "whole: a plain reader refuses the output: " + after.error + "\n";
    } else if (is_judged) {
        broken += Compare(before, after, mended.findings, options.drop_private);
    }
    const Mended_File again = Mend_In_Memory(mended.bytes, options);
    if (!again.done || again.bytes != mended.bytes) {
        broken += "stable: mending again changes the file\n" + again.Faults();
    }
    for (const Finding& finding : again.findings) {
        if (finding.level == Level::Change) {
            broken +=
                "stable: mending again finds to mend: " + finding.path + " " + finding.text + "\n";
        }
    }
    if (options.syntax == Output_Syntax::Keep) {
        Heal_Options heal = options.heal;
        heal.without_private = options.drop_private;
        broken += Compare_Findings(Check_In_Memory(file, heal), mended, options.drop_private);
    }
    return broken;
}
