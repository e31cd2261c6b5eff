// What became of one file of a run: what its worker hands over, and what the log and reports keep.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_FILE_RECORD_H
#define TOOLS_DICOM_MEND_ARCHIVE_FILE_RECORD_H

#include "archive/packing.h"
#include "archive/printed.h"
#include "mend/consistency/study.h"
#include "mend/findings/faults.h"
#include "report.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace dicom_mend {

/** A file that is to be worked on. */
struct Work_Item {
    /** Counts from 0 in the order of the run. */
    std::uint64_t index = 0;
    /** The file as it can be opened, and as messages name it. */
    std::string path;
    /** Its place below OUT_DIR, and its name in the log of a run. */
    std::string relative;
    std::int64_t size = 0;
    /** Time of the last change in nanoseconds. */
    std::int64_t modified = 0;
    /** It stands in a folder that was named, and was not named itself. */
    bool is_found = false;
    /** Another one has the name that its place would have; a number tells them apart. */
    bool is_numbered = false;
    /** Where the worker leaves its output; empty for none. */
    std::string staged;
};

/** Which machine made an image, as far as the file tells. */
struct Device {
    std::string manufacturer;
    std::string model;
    std::string software;

    auto operator<=>(const Device&) const = default;
};

struct File_Record {
    std::string path;
    std::string relative;
    std::int64_t size = 0;
    std::int64_t modified = 0;
    Exit_Status status = Exit_Clean;
    /** It is no DICOM file and was not named: it is left where it is. */
    bool is_foreign = false;
    /** Why nothing could be found out; empty when something could. */
    std::string failure;
    /** Without values that are not to be shown. */
    std::vector<lib_mend::Finding> findings;
    /** Bytes of the header that each finding is about, where a page shows them. */
    std::vector<std::string> headers;
    std::string sop_class;
    std::string study;
    Device device;
    /** In hexadecimal; empty where nobody asked. */
    std::string sum_in;
    std::string sum_out;
    std::int64_t microseconds = 0;
    /** Not the file itself is to blame: its output could not be written, or its worker died. */
    bool try_again = false;
    /** The mended file waits at the staged place. */
    bool has_output = false;
    std::int64_t output_size = 0;
    /** The place below OUT_DIR that the layout gives; empty for that of the input. */
    std::string layout;
    /** What the comparison of a study needs; nothing when it is not asked for. */
    lib_mend::Study_Facts facts;
    bool has_facts = false;
    /** The worker's standard output. */
    Printed printed;
    /** How many of the findings are of the worker; those of placing the output stand behind. */
    std::size_t found = 0;
    /** Path of the output, once it is in its place. */
    std::string output;
};

void Pack(const Work_Item& item, Packer& packer);
Work_Item Unpack_Item(Unpacker& bytes);

/** All but what is printed, which goes another way. */
void Pack(const File_Record& record, Packer& packer);
File_Record Unpack_Record(Unpacker& bytes);

/** A clause for as long as the process lives, as findings have it; null for an empty one. */
const char* Kept_Clause(const std::string& clause);

/** Takes the values out of findings that may identify a person; the texts name none then. */
void Leave_Out_Values(std::vector<lib_mend::Finding>& findings);

/** Prints what was found in a file, and why nothing could be. */
void Report(const File_Record& record, Verbosity verbosity, bool show_values);

/** Adds a finding that says why nothing could be found out, for reports that know of findings only. */
void Add_Failure(File_Record& record);

/** What is done with one file; what it prints is handed over with the record. */
using File_Work = std::function<void(const Work_Item&, File_Record&)>;

/** Adds a finding about the file as a whole, which decides about the status too. */
void Add_Finding(File_Record& record, lib_mend::Fault fault, lib_mend::Level level,
                 std::string text);

}  // namespace dicom_mend

#endif
