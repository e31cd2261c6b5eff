// `--report`: what became of each file of a run, in the form that the ending of the name asks for.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_RUN_REPORT_H
#define TOOLS_DICOM_MEND_ARCHIVE_RUN_REPORT_H

#include "archive/totals.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace dicom_mend {

/** One form of a report; the texts one after the other are the document. */
class Report_Form {
public:
    virtual ~Report_Form() = default;

    virtual std::string Head() = 0;
    virtual std::string Record(const File_Record& record) = 0;
    virtual std::string Tail(const Totals& totals, bool complete) = 0;
};

/**
 * The form of a name: ".jsonl" (also ".json" and ".ndjson"), ".csv", ".sarif", ".html". Null for others.
 *
 * @param command      of the run
 * @param show_values  also those that may identify a person
 */
std::unique_ptr<Report_Form> Form_Of(const std::string& name, const std::string& command,
                                     bool show_values);

/** A report as a file, which is in its place when it is whole. */
class Run_Report {
public:
    Run_Report() = default;
    Run_Report(const Run_Report&) = delete;
    Run_Report& operator=(const Run_Report&) = delete;
    ~Run_Report();

    /** @return the reason of a failure */
    std::string Open(const std::string& path, const std::string& command, bool show_values,
                     bool replace);
    bool Is_Open() const
    {
        return file_ != nullptr;
    }
    void Add(const File_Record& record);
    /** @return the reason of a failure */
    std::string Close(const Totals& totals, bool complete);

private:
    void Put(const std::string& text);

    std::string path_;
    std::string part_;
    std::unique_ptr<Report_Form> form_;
    std::FILE* file_ = nullptr;
};

/**
 * Goes through the files of a report in JSON lines, of the state of a run, or of the folder that a run
 * wrote to, which may hold the states of several.
 *
 * @param verbose  the state of a run gives also what is no fault
 * @return the reason of a failure
 */
std::string Read_Run(const std::string& path, bool verbose,
                     const std::function<void(File_Record&&)>& take);

}  // namespace dicom_mend

#endif
