#include "mend/findings/report_html.h"

#include "mend/findings/letters.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

namespace lib_mend {

namespace {

/**
 * The filters are boxes in front of everything that they hide, so that no script is needed. The policy
 * below allows this style by its hash and nothing else.
 */
constexpr char Style[] =
    "body{font:14px/1.45 system-ui,sans-serif;margin:1.5em;color:#1b1b1b;background:#fff;"
    "display:flex;flex-direction:column}"
    "h1{font-size:1.5em;order:-3}h2{font-size:1.2em;margin:1.5em 0 .4em}"
    "h3{font-size:1em;margin:1.2em 0 .3em;overflow-wrap:anywhere}"
    ".filter{order:-1;margin-top:1.5em}.summary{order:-2}"
    "table{border-collapse:collapse;width:100%}"
    "th,td{text-align:left;vertical-align:top;padding:.25em .6em;border-bottom:1px solid #ccc;"
    "overflow-wrap:anywhere}"
    "th{background:#f0f0f0;overflow-wrap:normal}td.n,th.n{text-align:right;white-space:nowrap}"
    "code{font:12px/1.4 ui-monospace,monospace}"
    ".error td:first-child{color:#a40000;font-weight:bold}"
    ".warning td:first-child{color:#7a4a00;font-weight:bold}"
    ".error td:first-child,.warning td:first-child,.info td:first-child{overflow-wrap:normal}"
    ".info td:first-child{color:#004a80}.clause{color:#444}.note{color:#a40000}"
    "body:has(#show-error:not(:checked)) .findings .error,"
    "body:has(#show-warning:not(:checked)) .findings .warning,"
    "body:has(#show-info:not(:checked)) .findings .info{display:none}"
    "@media print{body{margin:0;font-size:11px}.filter{display:none}tr,h3{break-inside:avoid}"
    "h3{break-after:avoid}a{color:inherit;text-decoration:none}}";

constexpr char Style_Hash[] = "sha256-MCvvkZhGPrb1cUEAwQG8qVQpgIzD3suz7Mt19sel7qQ=";

constexpr Severity Severities[] = {Severity::Error, Severity::Warning, Severity::Info};

std::size_t Index_Of(Severity severity)
{
    return static_cast<std::size_t>(
        std::find(std::begin(Severities), std::end(Severities), severity) - std::begin(Severities));
}

/** Text of a file, as text: what HTML would take for more is an escape. */
std::string Html(std::string_view text)
{
    std::string html;
    for (const char c : Printable(text)) {
        switch (c) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '"':
            html += "&quot;";
            break;
        case '\'':
            html += "&#39;";
            break;
        default:
            html += c;
        }
    }
    return html;
}

std::string Cell(const std::string& html)
{
    return "<td>" + html + "</td>";
}

std::string Number_Cell(std::size_t number)
{
    return "<td class=\"n\">" + std::to_string(number) + "</td>";
}

std::string Hex(std::string_view bytes)
{
    constexpr std::size_t Shown = 64;
    std::string text;
    for (const char c : bytes.substr(0, Shown)) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X",
                      static_cast<unsigned int>(static_cast<unsigned char>(c)));
        text.append(text.empty() ? "" : " ").append(digits);
    }
    return bytes.size() > Shown ? text + " ..." : text;
}

std::string Place_Of(const Finding& finding)
{
    if (!finding.has_tag) {
        return finding.offset == Finding::Nowhere ? "the file" : "";
    }
    const std::string path = finding.path.empty() ? Tag_Text(finding.tag) : finding.path;
    return Html(Tag_Name(finding.tag)) + "<br><code>" + Html(path) + "</code>";
}

std::string Bytes_Of_Finding(const Finding_In_Page& each, bool show_values)
{
    const Finding& finding = *each.finding;
    std::string html;
    if (finding.offset != Finding::Nowhere) {
        char offset[32];
        std::snprintf(offset, sizeof offset, "at 0x%llX",
                      static_cast<unsigned long long>(finding.offset));
        html += offset;
    }
    if (finding.length != Finding::Nowhere) {
        html += (html.empty() ? "" : ", ") + std::to_string(finding.length) + " bytes";
    }
    if (!each.header.empty()) {
        html += "<br><code>" + Hex(each.header) + "</code>";
    }
    if (!finding.before.empty() && Shows_Values(finding, show_values)) {
        html += "<br><code>" + Hex(finding.before) + "</code>";
    }
    return html;
}

template <class Names>
std::string Head_Of_Table(const Names& names)
{
    std::string html = "<table><thead><tr>";
    for (const std::string_view name : names) {
        // A sign in front tells of a column of numbers.
        const bool is_number = name.starts_with('#');
        html += is_number ? "<th class=\"n\">" : "<th>";
        html += std::string(name.substr(is_number ? 1 : 0)) + "</th>";
    }
    return html + "</tr></thead><tbody>\n";
}

std::string Head_Of_Table(std::initializer_list<const char*> names)
{
    return Head_Of_Table<std::initializer_list<const char*>>(names);
}

constexpr char End_Of_Table[] = "</tbody></table>\n";

bool Has_Long_Length(std::string_view header)
{
    constexpr std::string_view VRs = "OB OD OF OL OV OW SQ SV UC UN UR UT UV";
    const std::string_view vr = header.substr(4, 2);
    return vr[0] >= 'A' && vr[1] >= 'A' && VRs.find(vr) != VRs.npos && header[6] == 0 &&
           header[7] == 0;
}

}  // namespace

std::string Header_Bytes(const Source& source, const Finding& finding)
{
    constexpr std::size_t Short = 8;
    constexpr std::size_t Long = 12;
    std::array<unsigned char, Long> bytes = {};
    if (!finding.has_tag || finding.offset == Finding::Nowhere ||
        source.Read(finding.offset, bytes) != Long) {
        return {};
    }
    const auto is_tag = [&](unsigned char order) {
        return Get_UShort(order, bytes.data()) == finding.tag.group &&
               Get_UShort(order, bytes.data() + 2) == finding.tag.element;
    };
    const std::string header(bytes.begin(), bytes.end());
    if (!is_tag(0) && !is_tag(DICOM_Order_Big_Endian)) {
        // Something else stands there, which may be a value.
        return {};
    }
    return Has_Long_Length(header) ? header : header.substr(0, Short);
}

std::string Html_Page::Head()
{
    return std::string("<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                       "style-src '") +
           Style_Hash +
           "'; base-uri 'none'; form-action 'none'\">\n"
           "<meta name=\"viewport\" content=\"width=device-width\">\n"
           "<title>Findings in DICOM files</title>\n<style>" +
           Style +
           "</style></head>\n<body>\n<h1>Findings in DICOM files</h1>\n"
           "<p class=\"filter\">Show "
           "<label><input type=\"checkbox\" id=\"show-error\" checked> errors</label> "
           "<label><input type=\"checkbox\" id=\"show-warning\" checked> warnings</label> "
           "<label><input type=\"checkbox\" id=\"show-info\" checked> information</label></p>\n"
           "<main class=\"findings\">\n";
}

Html_Page::File& Html_Page::File_Of(const std::string& name)
{
    const auto [entry, is_new] = numbers_.emplace(name, files_.size());
    if (is_new) {
        files_.push_back({name});
    }
    return files_[entry->second];
}

void Html_Page::Count(const std::string& file, const Finding& finding)
{
    File& counted = File_Of(file);
    ++counted.counts[Index_Of(Severity_Of(finding))];
    Kind_Count& kind = kinds_[{Severity_Of(finding), &Kind_Of(finding)}];
    const auto number = static_cast<std::size_t>(&counted - files_.data()) + 1;
    ++kind.findings;
    kind.files += kind.last != number ? 1 : 0;
    kind.last = number;
}

void Html_Page::Belongs_To(const std::string& file, const std::string& study)
{
    const auto [entry, is_new] = study_numbers_.emplace(study, studies_.size());
    if (is_new) {
        studies_.push_back(study);
    }
    File_Of(file).study = entry->second;
}

std::string Html_Page::Row(const Finding_In_Page& each) const
{
    const Finding& finding = *each.finding;
    const Finding_Kind& kind = Kind_Of(finding);
    const std::string severity = Severity_Name(Severity_Of(finding));
    const std::string clause = Clause_Of(finding);
    return "<tr class=\"" + severity + "\">" +
           Cell(severity + "<br><code>" + kind.name + "</code>") + Cell(Place_Of(finding)) +
           Cell(Html(Shown_Text(finding, show_values_))) +
           Cell(Bytes_Of_Finding(each, show_values_)) + "<td class=\"clause\">" + Html(kind.rule) +
           (*kind.rule != '\0' && !clause.empty() ? "<br>" : "") + Html(clause) + "</td></tr>\n";
}

std::string Html_Page::Findings_Of(const std::string& file,
                                   const std::vector<Finding_In_Page>& findings)
{
    if (findings.empty()) {
        return {};
    }
    File& section = File_Of(file);
    std::string html = "<section><h3";
    if (!section.has_section) {
        html += " id=\"f" + std::to_string(&section - files_.data()) + "\"";
        section.has_section = true;
    }
    html += ">" + Html(file) + "</h3>\n" +
            Head_Of_Table({"Severity", "Element", "What is wrong", "Bytes", "The standard"});
    for (const Finding_In_Page& each : findings) {
        html += Row(each);
    }
    return html + End_Of_Table + "</section>\n";
}

std::string Html_Page::Kind_Table() const
{
    std::string html = "<h2>By kind</h2>\n" +
                       Head_Of_Table({"Severity", "Kind", "Meaning", "#Findings", "#Files"});
    for (auto entry = kinds_.rbegin(); entry != kinds_.rend(); ++entry) {
        const auto& [severity, kind] = entry->first;
        const std::string name = Severity_Name(severity);
        html += "<tr class=\"" + name + "\">" + Cell(name) +
                Cell(std::string("<code>") + kind->name + "</code>") + Cell(Html(kind->what)) +
                Number_Cell(entry->second.findings) + Number_Cell(entry->second.files) + "</tr>\n";
    }
    return html + End_Of_Table;
}

std::string Html_Page::Study_Table() const
{
    std::vector<std::array<std::size_t, 4>> studies(studies_.size());
    for (const File& file : files_) {
        ++studies[file.study][0];
        for (std::size_t i = 0; i < file.counts.size(); ++i) {
            studies[file.study][i + 1] += file.counts[i];
        }
    }
    std::string html = "<h2>By study</h2>\n" +
                       Head_Of_Table({"Study", "#Files", "#Errors", "#Warnings", "#Information"});
    for (std::size_t i = 1; i <= studies.size(); ++i) {
        // What belongs to none comes last.
        const std::size_t study = i % studies.size();
        if (studies[study][0] == 0) {
            continue;
        }
        std::string name = study == 0 ? "no study" : "study " + std::to_string(study);
        if (show_values_ && study != 0) {
            name += "<br><code>" + Html(studies_[study]) + "</code>";
        }
        html += "<tr>" + Cell(name);
        for (const std::size_t count : studies[study]) {
            html += Number_Cell(count);
        }
        html += "</tr>\n";
    }
    return html + End_Of_Table;
}

std::string Html_Page::File_Table() const
{
    std::string html = "<h2>By file</h2>\n" +
                       Head_Of_Table({"File", "Study", "#Errors", "#Warnings", "#Information"});
    for (std::size_t i = 0; i < files_.size(); ++i) {
        const File& file = files_[i];
        const std::string name = Html(file.name);
        html += "<tr>" +
                Cell(file.has_section ? "<a href=\"#f" + std::to_string(i) + "\">" + name + "</a>"
                                      : name) +
                Cell(file.study == 0 ? "" : "study " + std::to_string(file.study));
        for (const std::size_t count : file.counts) {
            html += Number_Cell(count);
        }
        html += "</tr>\n";
    }
    return html + End_Of_Table;
}

void Html_Page::Add_Table(const std::string& title, const std::vector<std::string>& columns,
                          const std::vector<std::vector<std::string>>& rows)
{
    tables_ += "<h2>" + Html(title) + "</h2>\n" + Head_Of_Table(columns);
    for (const std::vector<std::string>& row : rows) {
        tables_ += "<tr>";
        for (std::size_t i = 0; i < row.size(); ++i) {
            tables_ += (columns[i].starts_with('#') ? "<td class=\"n\">" : "<td>") + Html(row[i]) +
                       "</td>";
        }
        tables_ += "</tr>\n";
    }
    tables_ += End_Of_Table;
}

std::string Html_Page::Tail(bool complete) const
{
    return std::string("</main>\n<section class=\"summary\">\n") +
           (complete ? ""
                     : "<p class=\"note\">Something was lost or could not be read; see the "
                       "errors, and what the command said.</p>\n") +
           Kind_Table() + Study_Table() + File_Table() + tables_ + "</section>\n</body></html>\n";
}

}  // namespace lib_mend
