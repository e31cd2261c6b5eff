#include "report_command.h"

#include "archive/run_report.h"

#include <algorithm>
#include <cstdio>

namespace dicom_mend {

Exit_Status Run_Report_Command(const Report_Request& request)
{
    lib_mend::Findings unasked;
    const lib_mend::Library_Session session(unasked);
    Totals totals;
    Run_Report report;
    Exit_Status status = Exit_Clean;
    if (!request.to.empty()) {
        const std::string error =
            report.Open(request.to, "report", request.show_values, request.force);
        if (!error.empty()) {
            Report_Failure(request.to, error);
            return Exit_Failure;
        }
    }
    bool is_whole = true;
    for (const std::string& run : request.runs) {
        const std::string error = Read_Run(run, request.verbose, [&](File_Record&& record) {
            status = std::max(status, record.status);
            Add_Failure(record);
            totals.Add(record);
            report.Add(record);
        });
        if (!error.empty()) {
            Report_Failure(run, error);
            status = Exit_Failure;
            is_whole = false;
        }
    }
    std::fputs((request.json ? Totals_JSON(totals) + "\n" : Totals_Text(totals)).c_str(), stdout);
    const std::string error = report.Close(totals, is_whole);
    if (!error.empty()) {
        Report_Failure(request.to, error);
        status = Exit_Failure;
    }
    return Finish_Output(status);
}

}  // namespace dicom_mend
