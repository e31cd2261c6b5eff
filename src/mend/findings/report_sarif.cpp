#include "mend/findings/report_sarif.h"

#include "mend/findings/fnv.h"
#include "mend/findings/json_text.h"

#include <Lib_DICOM_Mend/dicom_mend.h>

#include <cinttypes>
#include <cstdio>
#include <string_view>

namespace lib_mend {

namespace {

const char* Level_Name(Severity severity)
{
    return severity == Severity::Info ? "note" : Severity_Name(severity);
}

std::string Message(std::string_view text)
{
    return "{\"text\":" + JSON_Text(text) + "}";
}

/** Code hosts refuse rules that do not have all of this. */
std::string Rule(const Finding_Kind& kind)
{
    const std::string full = *kind.rule != '\0' ? kind.rule : kind.what;
    const bool has_clause = *kind.clause != '\0';
    const std::string help = has_clause ? full + " (" + kind.clause + ")" : full;
    return "{\"id\":" + JSON_Text(kind.name) + ",\"shortDescription\":" + Message(kind.what) +
           ",\"fullDescription\":" + Message(full) + ",\"help\":" + Message(help) +
           ",\"defaultConfiguration\":{\"level\":" + JSON_Text(Level_Name(kind.severity)) + "}" +
           (has_clause ? ",\"properties\":{\"clause\":" + JSON_Text(kind.clause) + "}}" : "}");
}

/**
 * What makes two findings of a file the same one when the file is checked again, in the form in which code
 * hosts ask for it. Offsets move, kind and path stay.
 */
std::string Fingerprint(const Finding_Kind& kind, const Finding& finding)
{
    char text[24];
    std::snprintf(text, sizeof text, "%016" PRIx64 ":1",
                  FNV_1a(std::string(kind.name) + ' ' + finding.path));
    return text;
}

std::string Location(const std::string& file, const Finding& finding)
{
    std::string location = "{\"physicalLocation\":{\"artifactLocation\":{\"uri\":" +
                           JSON_Text(Sarif_Log::URI_Of(file)) + "}";
    if (finding.offset != Finding::Nowhere) {
        location += ",\"region\":{\"byteOffset\":" + std::to_string(finding.offset) + "}";
    }
    location += "}";
    if (finding.has_tag) {
        location += ",\"logicalLocations\":[{\"name\":" + JSON_Text(Tag_Name(finding.tag)) +
                    ",\"fullyQualifiedName\":" +
                    JSON_Text(finding.path.empty() ? Tag_Text(finding.tag) : finding.path) +
                    ",\"kind\":\"member\"}]";
    }
    return location + "}";
}

}  // namespace

std::string Sarif_Log::URI_Of(std::string_view file)
{
    // Bytes that stand for themselves in a path stay.
    constexpr std::string_view Plain = "-._~/!$&'()*+,;=@";
    // A colon in the first part would make it a scheme, a slash in front is no relative reference.
    std::string uri = file.starts_with('/')                                   ? "file://"
                      : file.substr(0, file.find('/')).find(':') != file.npos ? "./"
                                                                              : "";
    for (const char c : file) {
        const bool is_letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                               (c >= '0' && c <= '9') || Plain.find(c) != Plain.npos;
        char escape[8];
        std::snprintf(escape, sizeof escape, "%%%02X",
                      static_cast<unsigned int>(static_cast<unsigned char>(c)));
        uri += is_letter ? std::string(1, c) : escape;
    }
    return uri;
}

std::string Sarif_Log::Head() const
{
    std::string head =
        "{\"$schema\":\"https://json.schemastore.org/sarif-2.1.0.json\",\"version\":\"2.1.0\","
        "\"runs\":[{\"tool\":{\"driver\":{\"name\":\"dicom-mend\",\"version\":" +
        JSON_Text(DICOM_MEND_VERSION) + ",\"rules\":[";
    for (const Finding_Kind& kind : All_Kinds()) {
        head += (&kind == All_Kinds().data() ? "" : ",") + Rule(kind);
    }
    return head + "]}},\"results\":[";
}

std::string Sarif_Log::Result(const std::string& file, const Finding& finding)
{
    const Finding_Kind& kind = Kind_Of(finding);
    std::string result = is_first_ ? "\n" : ",\n";
    is_first_ = false;
    result += "{\"ruleId\":" + JSON_Text(kind.name) +
              ",\"ruleIndex\":" + std::to_string(&kind - All_Kinds().data()) +
              ",\"level\":" + JSON_Text(Level_Name(Severity_Of(finding))) +
              ",\"message\":" + Message(Shown_Text(finding, show_values_)) + ",\"locations\":[" +
              Location(file, finding) +
              "],\"partialFingerprints\":{\"primaryLocationLineHash\":\"" +
              Fingerprint(kind, finding) + "\"}";
    std::string properties;
    if (finding.length != Finding::Nowhere) {
        properties += ",\"length\":" + std::to_string(finding.length);
    }
    if (Shows_Values(finding, show_values_)) {
        properties +=
            ",\"before\":" + JSON_Text(finding.before) + ",\"after\":" + JSON_Text(finding.after);
    }
    if (finding.clause != nullptr) {
        properties += ",\"clause\":" + JSON_Text(finding.clause);
    }
    if (!properties.empty()) {
        result += ",\"properties\":{" + properties.substr(1) + "}";
    }
    return result + "}";
}

std::string Sarif_Log::Tail(bool complete, const std::string& artifacts,
                            const std::string& totals) const
{
    return "\n]," + (artifacts.empty() ? "" : "\"artifacts\":[" + artifacts + "\n],") +
           (totals.empty() ? "" : "\"properties\":{\"totals\":" + totals + "},") +
           "\"invocations\":[{\"executionSuccessful\":" + (complete ? "true" : "false") + "}]}]}\n";
}

}  // namespace lib_mend
