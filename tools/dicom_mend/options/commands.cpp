#include "options/command.h"

namespace dicom_mend {

namespace {

constexpr Command Commands[] = {
    {.name = "list",
     .description = "Show the elements of files",
     .foot = "Examples:\n"
             "  dicom-mend list image.dcm                what a file holds, for people\n"
             "  dicom-mend list --only PatientID --only StudyDate --format tsv folder\n"
             "  dicom-mend list --format json image.dcm  in the DICOM JSON model\n"
             "\n"
             "The listing goes to standard output, findings to standard error.",
     .set_up = &Set_Up_List},
    {.name = "check",
     .description = "Report what is wrong with files, and change nothing",
     .foot =
         "Examples:\n"
         "  dicom-mend check image.dcm               what is wrong with a file\n"
         "  dicom-mend check --module auto --study folder\n"
         "                                           also against the standard, and each other\n"
         "  dicom-mend check --format html folder >findings.html\n"
         "\n"
         "Findings go to standard output.",
     .set_up = &Set_Up_Check},
    {.name = "mend",
     .description = "Write a clean copy of a file",
     .foot = "Examples:\n"
             "  dicom-mend mend old.dcm new.dcm          a clean copy of a file\n"
             "  dicom-mend mend --dry-run old.dcm        what would be other in it\n"
             "  dicom-mend mend --to clean --report clean.jsonl archive\n"
             "                                           of all files of a folder\n"
             "\n"
             "Findings go to standard error, what --dry-run shows to standard output.",
     .set_up = &Set_Up_Mend},
    {.name = "undo",
     .description = "Put the values back that the last mending with --record changed",
     .foot = "Examples:\n"
             "  dicom-mend mend --record old.dcm new.dcm\n"
             "  dicom-mend undo new.dcm old-values.dcm\n"
             "\n"
             "Findings go to standard error.",
     .set_up = &Set_Up_Undo},
    {.name = "complete",
     .description = "Write a clean copy that has what its kind of image or document requires",
     .foot = "Examples:\n"
             "  dicom-mend complete old.dcm new.dcm      supply what such images require\n"
             "  dicom-mend complete --module SC --set ConversionType=WSD old.dcm new.dcm\n"
             "\n"
             "What is supplied and what is still missing goes to standard error, what\n"
             "--dry-run shows to standard output.",
     .set_up = &Set_Up_Complete},
    {.name = "diff",
     .description = "Show what is added, gone and changed from one file to another",
     .foot = "Examples:\n"
             "  dicom-mend diff old.dcm new.dcm\n"
             "  dicom-mend diff --format json old.dcm new.dcm\n"
             "  dicom-mend mend --dry-run old.dcm        before and after mending\n"
             "\n"
             "The differences go to standard output. Lengths of groups, padding, the byte\n"
             "order and the forms of lengths are none.\n"
             "Exit status: 0 no difference, 1 differences, 2 a file could not be read.",
     .set_up = &Set_Up_Diff},
    {.name = "from-json",
     .description = "Write a file of what a text in the DICOM JSON model says",
     .foot = "Examples:\n"
             "  dicom-mend list --format json image.dcm >image.json\n"
             "  dicom-mend from-json image.json image.dcm\n"
             "\n"
             "Findings go to standard error.",
     .set_up = &Set_Up_From_JSON},
    {.name = "report",
     .description = "Print what runs came to, and merge their reports",
     .foot = "Examples:\n"
             "  dicom-mend report clean.jsonl            what a run came to\n"
             "  dicom-mend report --to all.html shard-*.jsonl\n"
             "\n"
             "The totals go to standard output.",
     .set_up = &Set_Up_Report},
    {.name = "explain",
     .description = "Tell what a kind of finding is, or which kinds there are",
     .foot = "Examples:\n"
             "  dicom-mend explain                       all kinds\n"
             "  dicom-mend explain offset-table duplicate\n"
             "\n"
             "What is explained goes to standard output.",
     .set_up = &Set_Up_Explain},
    {.name = "dict",
     .description = "Look up data elements",
     .foot = "Examples:\n"
             "  dicom-mend dict 0010,0010 WindowCenter\n"
             "\n"
             "What is found goes to standard output: tag, VR, number of values, name.",
     .set_up = &Set_Up_Dict},
    {.name = "uid",
     .description = "Look up unique identifiers",
     .foot = "Examples:\n"
             "  dicom-mend uid 1.2.840.10008.1.2 \"CT Image\"\n"
             "\n"
             "What is found goes to standard output: UID, type, name.",
     .set_up = &Set_Up_UID},
    {.name = "modules",
     .description = "List the IODs that --module takes",
     .foot = "Examples:\n"
             "  dicom-mend modules                       all of them\n"
             "  dicom-mend modules enhanced\n"
             "\n"
             "The list goes to standard output.",
     .set_up = &Set_Up_Modules},
    {.name = "code",
     .description = "Find the coded concept of a free text",
     .foot = "Examples:\n"
             "  dicom-mend code 4021 fluorodeoxyglucose  of a context group, by its number\n"
             "\n"
             "Concepts go to standard output: how well they fit, scheme, value, meaning.",
     .set_up = &Set_Up_Code},
    {.name = "tables",
     .description = "List the tables of coded concepts that code takes",
     .foot = "Examples:\n"
             "  dicom-mend tables                        all of them\n"
             "  dicom-mend tables anatomic\n"
             "\n"
             "The list goes to standard output.",
     .set_up = &Set_Up_Tables},
};

}  // namespace

std::span<const Command> All_Commands()
{
    return Commands;
}

}  // namespace dicom_mend
