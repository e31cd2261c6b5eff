#include "explain_kind.h"

#include "kinds_explained.h"
#include "mend/findings/faults.h"
#include "mend/interface/element_path.h"
#include "suggestions.h"

#include <algorithm>
#include <cstdio>

namespace dicom_mend {

namespace {

using lib_mend::Finding_Kind;

void Print(const Finding_Kind& kind)
{
    std::printf("%s (%s)\n  %s\n", kind.name, lib_mend::Severity_Name(kind.severity), kind.what);
    if (const Kind_Explained* const explained = Find_Kind_Explained(kind.name)) {
        std::printf("  Comes from: %s\n  Mending: %s\n", explained->origin, explained->mending);
    }
    if (*kind.rule != '\0') {
        std::printf("  The standard: %s%s%s%s\n", kind.rule, *kind.clause != '\0' ? " (" : "",
                    kind.clause, *kind.clause != '\0' ? ")" : "");
    } else {
        std::printf("  The standard: %s\n",
                    *kind.clause != '\0' ? kind.clause : "says nothing of it");
    }
}

}  // namespace

Exit_Status Run_Explain(const std::vector<std::string>& kinds)
{
    std::vector<std::string> names;
    for (const Finding_Kind& kind : lib_mend::All_Kinds()) {
        names.emplace_back(kind.name);
        if (kinds.empty()) {
            std::printf("%-24s %-7s  %s\n", kind.name, lib_mend::Severity_Name(kind.severity),
                        kind.what);
        }
    }
    Exit_Status status = Exit_Clean;
    for (const std::string& name : kinds) {
        const auto all = lib_mend::All_Kinds();
        const auto kind = std::find_if(all.begin(), all.end(),
                                       [&](const Finding_Kind& each) { return each.name == name; });
        if (kind != all.end()) {
            Print(*kind);
        } else {
            std::fflush(stdout);
            const std::string near = Suggestion(name, names);
            const bool is_attribute = near.empty() && lib_mend::Parse_Path(name);
            Report_Failure(name, "there is no such kind of finding" + near +
                                     (is_attribute ? "; dict tells of attributes, and check "
                                                     "--explain of their rules"
                                                   : ""));
            status = Exit_Failure;
        }
    }
    return Finish_Output(status);
}

}  // namespace dicom_mend
