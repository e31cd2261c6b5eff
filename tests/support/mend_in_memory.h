// Mends and checks files in memory.
#ifndef TESTS_MEND_IN_MEMORY_H
#define TESTS_MEND_IN_MEMORY_H

#include "mend/findings/faults.h"
#include "mend/interface/check.h"
#include "mend/interface/mend.h"
#include "mend/reading/reader.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

struct Mended_File {
    bool done = false;
    std::string bytes;
    std::vector<lib_mend::Finding> findings;

    /** Findings of errors and warnings, one a line: "error kind (gggg,eeee) text". */
    std::string Faults() const
    {
        std::string lines;
        for (const lib_mend::Finding& finding : findings) {
            if (Severity_Of(finding) != lib_mend::Severity::Info) {
                lines += std::string(Severity_Name(Severity_Of(finding))) + " " +
                         Kind_Of(finding).name + " (" +
                         (finding.path.empty() ? Tag_Text(finding.tag) : finding.path) + ") " +
                         Shown_Text(finding, true) + "\n";
            }
        }
        return lines;
    }
    /** All findings with what becomes of the fault: "kept kind (path) text: values". */
    std::string Lines() const
    {
        constexpr const char* Levels[] = {"info", "change", "kept", "error"};
        std::string lines;
        for (const lib_mend::Finding& finding : findings) {
            lines += std::string(Levels[static_cast<int>(finding.level)]) + " " +
                     Kind_Of(finding).name + " (" +
                     (finding.path.empty() ? Tag_Text(finding.tag) : finding.path) + ") " +
                     Shown_Text(finding, true) + "\n";
        }
        return lines;
    }
};

/** The findings that name no section of the standard, "PS3.3 C.7.1.1". */
inline std::string Without_Section(const std::vector<lib_mend::Finding>& findings)
{
    Mended_File file;
    std::copy_if(findings.begin(), findings.end(), std::back_inserter(file.findings),
                 [](const lib_mend::Finding& finding) {
                     const std::string_view clause = Clause_Of(finding);
                     return !clause.starts_with("PS3.") || clause.find(' ') == clause.npos;
                 });
    return file.Lines();
}

inline std::shared_ptr<lib_mend::Source> Source_Of(const std::string& bytes)
{
    return lib_mend::Source::From_Image(
        {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}, "test");
}

inline Mended_File Mend_In_Memory(const std::string& bytes,
                                  const lib_mend::Mend_Options& options = {})
{
    lib_mend::Findings findings;
    const lib_mend::Library_Session session(findings);
    lib_mend::Data_Set set = Read_Data_Set(Source_Of(bytes), findings);
    lib_mend::Encoded_File file;
    Mended_File mended;
    mended.done = Mend(set, options, findings, file);
    const lib_mend::Bytes joined = file.Joined();
    mended.bytes.assign(joined.begin(), joined.end());
    mended.findings = findings.All();
    return mended;
}

inline Mended_File Check_In_Memory(const std::string& bytes,
                                   const lib_mend::Heal_Options& options = {})
{
    lib_mend::Findings findings;
    const lib_mend::Library_Session session(findings);
    lib_mend::Data_Set set = Read_Data_Set(Source_Of(bytes), findings);
    Check(set, options, findings);
    Mended_File checked;
    checked.done = true;
    checked.findings = findings.All();
    return checked;
}

#endif
