// Sessions, their options and their findings.
#include "mend/findings/report_json.h"
#include "mend/findings/report_sarif.h"
#include "mend/findings/report_text.h"
#include "mend/healing/character_terms.h"
#include "mend/interface/handles.h"

#include <iterator>

namespace lib_mend {

std::recursive_mutex& Interface_Lock()
{
    static std::recursive_mutex lock;
    return lock;
}

namespace {

struct Flag_Place {
    dicom_mend_flag flag;
    bool& (*place)(Mend_Options&);
};

constexpr Flag_Place Flags[] = {
    {DICOM_MEND_STRICT,
     [](Mend_Options& o) -> bool& {
         return o.heal.strict;
     }},
    {DICOM_MEND_REPLACE_UIDS,
     [](Mend_Options& o) -> bool& {
         return o.heal.replace_uids;
     }},
    {DICOM_MEND_PAD_PIXELS,
     [](Mend_Options& o) -> bool& {
         return o.heal.pad_pixels;
     }},
    {DICOM_MEND_TO_UTF8,
     [](Mend_Options& o) -> bool& {
         return o.heal.to_utf8;
     }},
    {DICOM_MEND_RECORD,
     [](Mend_Options& o) -> bool& {
         return o.heal.record;
     }},
    {DICOM_MEND_DROP_PRIVATE,
     [](Mend_Options& o) -> bool& {
         return o.drop_private;
     }},
    {DICOM_MEND_GROUP_LENGTHS,
     [](Mend_Options& o) -> bool& {
         return o.group_lengths;
     }},
    {DICOM_MEND_DEFINED_LENGTHS,
     [](Mend_Options& o) -> bool& {
         return o.defined_lengths;
     }},
};

constexpr const char* Status_Texts[] = {
    "success",
    "an argument is null or out of range",
    "there is not enough memory",
    "the file cannot be read",
    "the file cannot be written",
    "it is no DICOM data set",
    "the data set cannot be written; a finding tells why",
    "it is not there",
    "the value is none of its VR",
    "it is no DICOM JSON model; findings tell line and column",
    "fault of the library",
};

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

const unsigned char* Quoted(const std::string& value, size_t* size)
{
    if (size != nullptr) {
        *size = value.size();
    }
    return value.empty() ? nullptr : reinterpret_cast<const unsigned char*>(value.data());
}

}  // namespace

}  // namespace lib_mend

using namespace lib_mend;

const char* dicom_mend_version(void)
{
    return DICOM_MEND_VERSION;
}

const char* dicom_mend_status_text(int status)
{
    const auto index = static_cast<std::size_t>(status);
    return index < std::size(Status_Texts) ? Status_Texts[index] : "unknown status";
}

void dicom_mend_free(void* memory)
{
    std::free(memory);
}

dicom_mend_session* dicom_mend_session_new(void)
{
    return new (std::nothrow) dicom_mend_session;
}

void dicom_mend_session_free(dicom_mend_session* session)
{
    delete session;
}

dicom_mend_status dicom_mend_set_flag(dicom_mend_session* session, int flag, int on)
{
    return With(session, [&] {
        const auto* const row =
            std::find_if(std::begin(Flags), std::end(Flags),
                         [flag](const Flag_Place& place) { return int{place.flag} == flag; });
        if (row == std::end(Flags)) {
            throw Failure{DICOM_MEND_BAD_ARGUMENT, "no such flag"};
        }
        row->place(session->options) = on != 0;
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_set_syntax(dicom_mend_session* session, int syntax)
{
    return With(session, [&] {
        if (syntax < DICOM_MEND_SYNTAX_KEEP || syntax > DICOM_MEND_SYNTAX_EXPLICIT_BIG) {
            throw Failure{DICOM_MEND_BAD_ARGUMENT, "no such transfer syntax"};
        }
        session->options.syntax = static_cast<Output_Syntax>(syntax);
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_set_charset(dicom_mend_session* session, const char* terms)
{
    return With(session, [&] {
        if (terms == nullptr || (*terms != '\0' && !Is_Character_Set(terms))) {
            throw Failure{DICOM_MEND_BAD_ARGUMENT, "no defined term of a character set"};
        }
        session->options.heal.charset = terms;
        return DICOM_MEND_OK;
    });
}

const char* dicom_mend_last_error(const dicom_mend_session* session)
{
    return session != nullptr ? session->error.c_str() : "";
}

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
    return static_cast<int>(Kind_Of(*Of(finding)).fault);
}

const char* dicom_mend_finding_kind(const dicom_mend_finding* finding)
{
    return Kind_Of(*Of(finding)).name;
}

dicom_mend_severity dicom_mend_finding_severity(const dicom_mend_finding* finding)
{
    return static_cast<dicom_mend_severity>(Severity_Of(*Of(finding)));
}

dicom_mend_level dicom_mend_finding_level(const dicom_mend_finding* finding)
{
    return static_cast<dicom_mend_level>(Of(finding)->level);
}

int dicom_mend_finding_tag(const dicom_mend_finding* finding, uint32_t* tag)
{
    if (tag != nullptr) {
        *tag = Of(finding)->has_tag ? Number_Of(Of(finding)->tag) : 0;
    }
    return Of(finding)->has_tag ? 1 : 0;
}

const char* dicom_mend_finding_path(const dicom_mend_finding* finding)
{
    return Of(finding)->path.c_str();
}

int64_t dicom_mend_finding_offset(const dicom_mend_finding* finding)
{
    return Of(finding)->offset;
}

int64_t dicom_mend_finding_length(const dicom_mend_finding* finding)
{
    return Of(finding)->length;
}

const char* dicom_mend_finding_message(const dicom_mend_finding* finding)
{
    return Of(finding)->text.c_str();
}

const unsigned char* dicom_mend_finding_before(const dicom_mend_finding* finding, size_t* size)
{
    return Quoted(Of(finding)->before, size);
}

const unsigned char* dicom_mend_finding_after(const dicom_mend_finding* finding, size_t* size)
{
    return Quoted(Of(finding)->after, size);
}

int dicom_mend_finding_is_harmless(const dicom_mend_finding* finding)
{
    return Shows_Values(*Of(finding), false) ? 1 : 0;
}

const char* dicom_mend_finding_rule(const dicom_mend_finding* finding)
{
    return Kind_Of(*Of(finding)).rule;
}

const char* dicom_mend_finding_clause(const dicom_mend_finding* finding)
{
    return Kind_Of(*Of(finding)).clause;
}

dicom_mend_status dicom_mend_report(dicom_mend_session* session, const char* file, int format,
                                    int show_values, char** text, size_t* size)
{
    return With(session, [&] {
        if (file == nullptr || text == nullptr || size == nullptr || format < DICOM_MEND_TEXT ||
            format > DICOM_MEND_SARIF) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        *text = nullptr;
        *size = 0;
        const std::string report = Report_Of(file, session->findings, format, show_values != 0);
        *text = Copied_Out<char>(report);
        *size = report.size();
        return DICOM_MEND_OK;
    });
}
