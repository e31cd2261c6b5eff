// Sessions and their options.
#include "mend/findings/faults.h"
#include "mend/healing/character_terms.h"
#include "mend/interface/handles.h"

#include <iterator>

namespace lib_mend {

std::recursive_mutex& Interface_Lock()
{
    static std::recursive_mutex lock;
    return lock;
}

std::string Reason_In(const Findings& findings, std::size_t before)
{
    for (std::size_t i = findings.All().size(); i > before; --i) {
        const Finding& finding = findings.All()[i - 1];
        if (finding.level == Level::Error) {
            return std::string(": ") + Text_Without_Values(finding);
        }
    }
    return {};
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
    "the data set cannot be written",
    "it is not there",
    "the value is none of its VR",
    "it is no DICOM JSON model",
    "fault of the library",
};

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
    if (session == nullptr || session->status == DICOM_MEND_OK) {
        return "";
    }
    return session->error.empty() ? dicom_mend_status_text(session->status)
                                  : session->error.c_str();
}
