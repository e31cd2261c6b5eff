// Findings of sessions, one by one, all at once, and as reports.
#include "mend/findings/faults.h"
#include "mend/findings/report_json.h"
#include "mend/findings/report_sarif.h"
#include "mend/findings/report_text.h"
#include "mend/interface/handles.h"

#include <iterator>

namespace lib_mend {

namespace {

std::string Sarif_Of(const std::string& file, const Findings& findings, bool show_values)
{
    Sarif_Log log(show_values);
    std::string text = log.Head();
    for (const Finding& finding : findings.All()) {
        text += log.Result(file, finding);
    }
    return text + log.Tail(Outcome_Of(findings) != Outcome::Loss);
}

std::string Report_Of(const std::string& file, const Findings& findings, int format,
                      bool show_values)
{
    if (format == DICOM_MEND_SARIF) {
        return Sarif_Of(file, findings, show_values);
    }
    std::string text;
    for (const Finding& finding : findings.All()) {
        text +=
            (format == DICOM_MEND_JSON ? Finding_JSON : Finding_Line)(file, finding, show_values) +
            '\n';
    }
    return text;
}

/** A finding as the interface shows it; its texts belong to the finding. */
dicom_mend_finding_data Data_Of(const Finding& finding)
{
    const Finding_Kind& kind = Kind_Of(finding);
    const auto bytes_of = [](const std::string& value) {
        return value.empty() ? nullptr : reinterpret_cast<const unsigned char*>(value.data());
    };
    return {.code = static_cast<int>(kind.fault),
            .severity = static_cast<int>(Severity_Of(finding)),
            .level = static_cast<int>(finding.level),
            .has_tag = finding.has_tag ? 1 : 0,
            .tag = finding.has_tag ? Number_Of(finding.tag) : 0,
            .is_harmless = Shows_Values(finding, false) ? 1 : 0,
            .offset = finding.offset,
            .length = finding.length,
            .kind = kind.name,
            .path = finding.path.c_str(),
            .message = Text_Without_Values(finding),
            .rule = kind.rule,
            .clause = Clause_Of(finding),
            .before = bytes_of(finding.before),
            .before_size = finding.before.size(),
            .after = bytes_of(finding.after),
            .after_size = finding.after.size()};
}

/** The same; for none one without anything. */
dicom_mend_finding_data Data_Of(const dicom_mend_finding* finding)
{
    static const Finding None;
    dicom_mend_finding_data data = Data_Of(finding != nullptr ? *Of(finding) : None);
    if (finding == nullptr) {
        data.code = -1;
        data.kind = data.rule = data.clause = "";
    }
    return data;
}

}  // namespace

}  // namespace lib_mend

using namespace lib_mend;

size_t dicom_mend_finding_count(const dicom_mend_session* session)
{
    return session != nullptr ? session->findings.All().size() : 0;
}

const dicom_mend_finding* dicom_mend_first_finding(const dicom_mend_session* session)
{
    const bool any = dicom_mend_finding_count(session) != 0;
    return any ? reinterpret_cast<const dicom_mend_finding*>(session->findings.All().data())
               : nullptr;
}

const dicom_mend_finding* dicom_mend_next_finding(const dicom_mend_session* session,
                                                  const dicom_mend_finding* finding)
{
    if (session == nullptr || finding == nullptr) {
        return nullptr;
    }
    const auto& all = session->findings.All();
    const std::ptrdiff_t next = Of(finding) - all.data() + 1;
    return next < std::ssize(all) ? reinterpret_cast<const dicom_mend_finding*>(all.data() + next)
                                  : nullptr;
}

void dicom_mend_clear_findings(dicom_mend_session* session)
{
    With(session, [&] {
        session->findings = Findings();
        return DICOM_MEND_OK;
    });
}

int dicom_mend_outcome(const dicom_mend_session* session)
{
    return session != nullptr ? static_cast<int>(Outcome_Of(session->findings)) : 0;
}

int dicom_mend_finding_code(const dicom_mend_finding* finding)
{
    return Data_Of(finding).code;
}

const char* dicom_mend_finding_kind(const dicom_mend_finding* finding)
{
    return Data_Of(finding).kind;
}

dicom_mend_severity dicom_mend_finding_severity(const dicom_mend_finding* finding)
{
    return static_cast<dicom_mend_severity>(Data_Of(finding).severity);
}

dicom_mend_level dicom_mend_finding_level(const dicom_mend_finding* finding)
{
    return static_cast<dicom_mend_level>(Data_Of(finding).level);
}

int dicom_mend_finding_tag(const dicom_mend_finding* finding, uint32_t* tag)
{
    const dicom_mend_finding_data data = Data_Of(finding);
    if (tag != nullptr) {
        *tag = data.tag;
    }
    return data.has_tag;
}

const char* dicom_mend_finding_path(const dicom_mend_finding* finding)
{
    return Data_Of(finding).path;
}

int64_t dicom_mend_finding_offset(const dicom_mend_finding* finding)
{
    return Data_Of(finding).offset;
}

int64_t dicom_mend_finding_length(const dicom_mend_finding* finding)
{
    return Data_Of(finding).length;
}

const char* dicom_mend_finding_message(const dicom_mend_finding* finding)
{
    return Data_Of(finding).message;
}

const unsigned char* dicom_mend_finding_before(const dicom_mend_finding* finding, size_t* size)
{
    const dicom_mend_finding_data data = Data_Of(finding);
    if (size != nullptr) {
        *size = data.before_size;
    }
    return data.before;
}

const unsigned char* dicom_mend_finding_after(const dicom_mend_finding* finding, size_t* size)
{
    const dicom_mend_finding_data data = Data_Of(finding);
    if (size != nullptr) {
        *size = data.after_size;
    }
    return data.after;
}

int dicom_mend_finding_is_harmless(const dicom_mend_finding* finding)
{
    return Data_Of(finding).is_harmless;
}

const char* dicom_mend_finding_rule(const dicom_mend_finding* finding)
{
    return Data_Of(finding).rule;
}

const char* dicom_mend_finding_clause(const dicom_mend_finding* finding)
{
    return Data_Of(finding).clause;
}

size_t dicom_mend_get_findings(const dicom_mend_session* session, size_t first,
                               dicom_mend_finding_data* data, size_t size_of_one, size_t count)
{
    const size_t all = dicom_mend_finding_count(session);
    if (data == nullptr || size_of_one == 0 || first >= all) {
        return 0;
    }
    count = std::min(count, all - first);
    auto* out = reinterpret_cast<unsigned char*>(data);
    for (size_t i = 0; i < count; ++i, out += size_of_one) {
        const dicom_mend_finding_data one = Data_Of(session->findings.All()[first + i]);
        // A caller of an earlier version knows fewer members, one of a later version more.
        std::memset(out, 0, size_of_one);
        std::memcpy(out, &one, std::min(size_of_one, sizeof one));
    }
    return count;
}

dicom_mend_status dicom_mend_report(dicom_mend_session* session, const char* file, int format,
                                    int show_values, char** text, size_t* size)
{
    Clear(text, size);
    return With(session, [&] {
        if (file == nullptr || text == nullptr || size == nullptr || format < DICOM_MEND_TEXT ||
            format > DICOM_MEND_SARIF) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        const std::string report = Report_Of(file, session->findings, format, show_values != 0);
        *text = Copied_Out<char>(report);
        *size = report.size();
        return DICOM_MEND_OK;
    });
}
