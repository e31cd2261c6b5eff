// What a run comes to: files by what became of them, findings by kind, and which device writes which fault.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_TOTALS_H
#define TOOLS_DICOM_MEND_ARCHIVE_TOTALS_H

#include "archive/file_record.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace dicom_mend {

struct Totals {
    struct Kind_Count {
        std::uint64_t findings = 0;
        std::uint64_t files = 0;
    };
    using Kinds = std::map<std::pair<lib_mend::Severity, std::string>, Kind_Count>;
    struct Device_Count {
        std::uint64_t files = 0;
        /** Of these, so many with findings, and so many not whole. */
        std::uint64_t with_findings = 0;
        std::uint64_t failed = 0;
        Kinds kinds;
    };

    std::uint64_t files = 0;
    std::int64_t bytes = 0;
    std::uint64_t clean = 0;
    std::uint64_t with_findings = 0;
    /** Something was lost, or could not be read or written. */
    std::uint64_t failed = 0;
    /** No DICOM files, which are left where they are and are not among the others. */
    std::uint64_t foreign = 0;
    Kinds kinds;
    std::map<Device, Device_Count> devices;

    void Add(const File_Record& record);
};

/** One object of JSON. */
std::string Totals_JSON(const Totals& totals);
/** Tables for people. */
std::string Totals_Text(const Totals& totals);
/** "Manufacturer Model, Software". */
std::string Device_Name(const Device& device);
/** "clean", "findings", "failed" or "left". */
const char* Status_Name(const File_Record& record);

}  // namespace dicom_mend

#endif
