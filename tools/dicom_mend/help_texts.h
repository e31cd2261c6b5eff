// What stands at the foot of the help of each command: examples, and where its output goes.
#ifndef TOOLS_DICOM_MEND_HELP_TEXTS_H
#define TOOLS_DICOM_MEND_HELP_TEXTS_H

#include <utility>

namespace dicom_mend {

inline constexpr char Foot[] =
    "dicom-mend help COMMAND shows the options of a command, with examples.\n"
    "\n"
    "Findings go to standard error, one a line, those of check to standard output.\n"
    "Exit status: 0 nothing to report, 1 findings, 2 something could not be read or\n"
    "written.";

/** By the names of the commands. */
inline constexpr std::pair<const char*, const char*> Feet[] = {
    {"list", "Examples:\n"
             "  dicom-mend list image.dcm                what a file holds, for people\n"
             "  dicom-mend list --format tsv image.dcm   for programs\n"
             "  dicom-mend list --format json image.dcm  in the DICOM JSON model\n"
             "\n"
             "The listing goes to standard output, findings to standard error."},
    {"check",
     "Examples:\n"
     "  dicom-mend check image.dcm               what is wrong with a file\n"
     "  dicom-mend check --module auto --study folder\n"
     "                                           also against the standard, and each other\n"
     "  dicom-mend check --format html folder >findings.html\n"
     "\n"
     "Findings go to standard output."},
    {"mend", "Examples:\n"
             "  dicom-mend mend old.dcm new.dcm          a clean copy of a file\n"
             "  dicom-mend mend --to clean --report clean.jsonl archive\n"
             "                                           of all files of a folder\n"
             "  dicom-mend mend --syntax explicit-little --record old.dcm new.dcm\n"
             "\n"
             "Findings go to standard error."},
    {"undo", "Examples:\n"
             "  dicom-mend mend --record old.dcm new.dcm\n"
             "  dicom-mend undo new.dcm old-values.dcm"},
    {"from-json", "Examples:\n"
                  "  dicom-mend list --format json image.dcm >image.json\n"
                  "  dicom-mend from-json image.json image.dcm"},
    {"complete",
     "Examples:\n"
     "  dicom-mend complete old.dcm new.dcm      supply what its kind of image requires\n"
     "  dicom-mend complete --module SC --set ConversionType=WSD old.dcm new.dcm\n"
     "\n"
     "What is supplied and what is still missing goes to standard error."},
    {"report", "Examples:\n"
               "  dicom-mend report clean.jsonl            what a run came to\n"
               "  dicom-mend report --to all.html shard-*.jsonl"},
    {"dict", "Examples:\n"
             "  dicom-mend dict 0010,0010 WindowCenter"},
    {"uid", "Examples:\n"
            "  dicom-mend uid 1.2.840.10008.1.2 \"CT Image\""},
    {"code", "Examples:\n"
             "  dicom-mend code 4021 fluorodeoxyglucose  of a context group, by its number"},
    {"explain", "Examples:\n"
                "  dicom-mend explain                       all kinds\n"
                "  dicom-mend explain offset-table duplicate"},
};

}  // namespace dicom_mend

#endif
