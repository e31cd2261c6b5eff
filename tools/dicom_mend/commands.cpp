#include "commands.h"

#include "client/reader.h"
#include "client/safe_file.h"
#include "list.h"
#include "terminal.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include <unistd.h>

namespace dicom_mend {

namespace {

using dicom_client::Findings;
using dicom_client::Library_Session;
using dicom_client::Source;

Exit_Status List_File(const std::string& path, const List_Request& request,
                      const Terminal& terminal)
{
    Findings findings;
    const Library_Session session(findings);
    const std::shared_ptr<Source> source = Open(path);
    if (source == nullptr) {
        return Exit_Failure;
    }
    const dicom_client::Data_Set set = dicom_client::Read_Data_Set(source, findings);
    if (request.tsv) {
        Print_TSV(set);
    } else {
        if (request.files.size() > 1) {
            std::printf("%s\n", Printable(path).c_str());
        }
        Print_Text(set, findings, terminal);
    }
    Report(path, findings, request.verbosity, request.show_values);
    return Status_Of(findings);
}

/** Finds out before the work what would make the writing fail. */
std::string Refusal(const Mend_Request& request)
{
    if (dicom_client::Is_Same_File(request.input, request.output)) {
        return "is the input, which is never overwritten";
    }
    if (!request.force && access(request.output.c_str(), F_OK) == 0) {
        return "exists already; --force replaces it";
    }
    return {};
}

}  // namespace

std::shared_ptr<Source> Open(const std::string& path)
{
    std::string error;
    std::shared_ptr<Source> source = Source::Open(path, Source::Access::Map, error);
    if (source == nullptr) {
        Report_Failure(path, error);
    }
    return source;
}

Exit_Status Run_List(const List_Request& request)
{
    const Terminal terminal = Look_At(STDOUT_FILENO);
    Exit_Status status = Exit_Clean;
    for (const std::string& path : request.files) {
        status = std::max(status, List_File(path, request, terminal));
    }
    return Finish_Output(status);
}

Exit_Status Run_Mend(const Mend_Request& request)
{
    Findings findings;
    const Library_Session session(findings);
    const std::string refusal = Refusal(request);
    if (!refusal.empty()) {
        Report_Failure(request.output, refusal);
        return Exit_Failure;
    }
    const std::shared_ptr<Source> source = Open(request.input);
    if (source == nullptr) {
        return Exit_Failure;
    }
    dicom_client::Data_Set set = dicom_client::Read_Data_Set(source, findings);
    dicom_client::Encoded_File file;
    const bool mended = dicom_client::Mend(set, request.options, findings, file);
    Report(request.input, findings, request.verbosity, request.show_values);
    if (!mended) {
        return Exit_Failure;
    }
    const std::string error =
        dicom_client::Write_Safely(request.output, file.Pieces(), request.force);
    if (!error.empty()) {
        Report_Failure(request.output, error);
        return Exit_Failure;
    }
    return Status_Of(findings);
}

}  // namespace dicom_mend
