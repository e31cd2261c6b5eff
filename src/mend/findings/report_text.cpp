#include "mend/findings/report_text.h"

#include "mend/findings/letters.h"

#include <cstdio>

namespace lib_mend {

namespace {

/** "dates are YYYYMMDD, PS3.5 6.2", as far as the standard says anything. */
std::string Rule_Text(const Finding& finding)
{
    const std::string rule = Kind_Of(finding).rule;
    const std::string clause = Clause_Of(finding);
    return rule.empty() || clause.empty() ? rule + clause : rule + ", " + clause;
}

/** The sequences and items around an element: its path without the element itself. */
std::string Around_Text(const Finding& finding)
{
    const std::size_t slash = finding.path.rfind('/');
    return slash == std::string::npos ? std::string() : finding.path.substr(0, slash);
}

std::string Place_Text(const Finding& finding)
{
    std::string text;
    if (finding.has_tag) {
        text.append("(").append(Tag_Text(finding.tag)).append(") ").append(Tag_Name(finding.tag));
    }
    if (const std::string around = Around_Text(finding); !around.empty()) {
        text.append(text.empty() ? "in " : " in ").append(around);
    }
    if (finding.offset != Finding::Nowhere) {
        char offset[32];
        std::snprintf(offset, sizeof offset, "at 0x%llX",
                      static_cast<unsigned long long>(finding.offset));
        text.append(text.empty() ? "" : " ").append(offset);
    }
    return text.empty() ? text : text + ": ";
}

}  // namespace

std::string Finding_Line(const std::string& file, const Finding& finding, bool show_values)
{
    const std::string rule = Rule_Text(finding);
    return Printable(file) + ": " + Severity_Name(Severity_Of(finding)) + ": " +
           Place_Text(finding) + Printable(Shown_Text(finding, show_values)) +
           (rule.empty() ? "" : " (" + rule + ")");
}

}  // namespace lib_mend
