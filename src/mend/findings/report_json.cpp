#include "mend/findings/report_json.h"

#include "mend/findings/json_text.h"

#include <utility>

namespace lib_mend {

std::string Finding_JSON(const std::string& file, const Finding& finding, bool show_values)
{
    const Finding_Kind& kind = Kind_Of(finding);
    std::string line = "{\"file\":" + JSON_Name(file);
    if (finding.offset != Finding::Nowhere) {
        line += ",\"offset\":" + std::to_string(finding.offset);
    }
    if (finding.has_tag) {
        line += ",\"tag\":" + JSON_Text(Tag_Text(finding.tag)) +
                ",\"name\":" + JSON_Text(Tag_Name(finding.tag));
    }
    if (!finding.path.empty()) {
        line += ",\"path\":" + JSON_Text(finding.path);
    }
    if (finding.length != Finding::Nowhere) {
        line += ",\"length\":" + std::to_string(finding.length);
    }
    line += std::string(",\"severity\":") + JSON_Text(Severity_Name(Severity_Of(finding))) +
            ",\"kind\":" + JSON_Text(kind.name) +
            ",\"text\":" + JSON_Text(Shown_Text(finding, show_values));
    for (const auto& [name, value] :
         {std::pair("before", &finding.before), {"after", &finding.after}}) {
        if (!value->empty() && Shows_Values(finding, show_values)) {
            line += std::string(",\"") + name + "\":" + JSON_Text(*value);
        }
    }
    return line + ",\"rule\":" + JSON_Text(kind.rule) +
           ",\"clause\":" + JSON_Text(Clause_Of(finding)) + "}";
}

}  // namespace lib_mend
