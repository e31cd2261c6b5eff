#include "mend/findings/faults.h"

#include "mend/findings/privacy.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace lib_mend {

namespace {

constexpr Finding_Kind Kinds[] = {
    {Fault::Padding, "padding", Severity::Warning, "wrong padding character",
     "texts are padded with a blank, UIDs with NUL", "PS3.5 6.2", true},
    {Fault::Characters, "characters", Severity::Error, "characters that the VR does not allow",
     "each VR has its own set of characters", "PS3.5 6.2", true},
    {Fault::Old_Syntax, "old-syntax", Severity::Warning, "date or time in an old form",
     "dates are YYYYMMDD, times HHMMSS.FFFFFF", "PS3.5 6.2", true},
    {Fault::Form, "form", Severity::Warning, "value in another form",
     "ages are nnnD, nnnW, nnnM or nnnY", "PS3.5 6.2", false},
    {Fault::Control_Characters, "control-characters", Severity::Warning,
     "control characters in a text", "a text holds no control characters but those of its VR",
     "PS3.5 6.1.3", false},
    {Fault::Number, "number", Severity::Error, "no number of its VR",
     "DS holds decimal numbers, IS whole ones", "PS3.5 6.2", false},
    {Fault::Date, "date", Severity::Error, "no date or time that there is",
     "dates are YYYYMMDD, times HHMMSS.FFFFFF", "PS3.5 6.2", false},
    {Fault::Name, "name", Severity::Warning, "person name of another form",
     "names have up to five components in up to three groups", "PS3.5 6.2.1", false},
    {Fault::UID, "uid", Severity::Warning, "no valid UID",
     "UIDs are numbers without leading zeros between dots, 64 characters at the most", "PS3.5 9.1",
     false},
    {Fault::UID_Replaced, "uid-replaced", Severity::Warning, "an unfit UID is replaced", "",
     "PS3.5 B.2", false},
    {Fault::Strict, "strict", Severity::Error, "the fixed repairs change what the value says", "",
     "PS3.5 6.2", false},
    {Fault::Length, "length", Severity::Error, "value longer than the VR allows",
     "each VR limits the length of a value", "PS3.5 6.2", true},
    {Fault::Size, "size", Severity::Error, "size that the VR does not allow",
     "the size is a multiple of the VR's width", "PS3.5 6.2", false},
    {Fault::Multiplicity, "multiplicity", Severity::Error, "wrong number of values",
     "the registry gives the number of values", "PS3.6 6", false},
    {Fault::Value_VR, "value-vr", Severity::Error, "numbers of another VR than the registry gives",
     "the registry gives the VR", "PS3.6 6", false},
    {Fault::Range, "range", Severity::Error, "number out of range", "IS holds 32-bit integers",
     "PS3.5 6.2", true},
    {Fault::Integer, "integer", Severity::Error, "decimals in an integer",
     "IS holds no decimal point", "PS3.5 6.2", true},
    {Fault::Year_2000, "year-2000", Severity::Error, "date with a year of five digits",
     "dates are YYYYMMDD", "PS3.5 6.2", true},
    {Fault::Last_Backslash, "last-backslash", Severity::Warning, "backslash at the end",
     "a backslash stands between two values", "PS3.5 6.4", false},
    {Fault::Character_Set, "character-set", Severity::Warning,
     "the declared character set is misspelt or wrong",
     "(0008,0005) names the character sets of the texts", "PS3.3 C.12.1.1.2", false},
    {Fault::Character_Set_Bytes, "character-set-bytes", Severity::Error,
     "bytes that the declared character set does not hold",
     "(0008,0005) names the character sets of the texts", "PS3.5 6.1", false},
    {Fault::Odd_Length, "odd-length", Severity::Error, "odd length", "every length is even",
     "PS3.5 7.1.1", false},
    {Fault::VR, "vr", Severity::Error, "VR that is wrong or missing", "the registry gives the VR",
     "PS3.5 7.1.2", false},
    {Fault::VR_Unknown, "vr-unknown", Severity::Warning, "VR=UN though the element is known",
     "UN is for elements whose VR is not known", "PS3.5 6.2.2", false},
    {Fault::VR_Other, "vr-other", Severity::Warning, "VR other than the registry's",
     "the registry gives the VR", "PS3.6 6", false},
    {Fault::Encoding, "encoding", Severity::Error, "fault of a known encoder",
     "headers follow the transfer syntax", "PS3.5 7.1", false},
    {Fault::Header, "header", Severity::Error, "a header that makes no sense as it stands",
     "headers follow the transfer syntax", "PS3.5 7.1", false},
    {Fault::Value_Length, "value-length", Severity::Error,
     "a length that does not fit what follows", "the length is that of the value", "PS3.5 7.1.1",
     false},
    {Fault::Garbage, "garbage", Severity::Error, "bytes that are no elements",
     "elements follow each other without a gap", "PS3.5 7.1", false},
    {Fault::Private_Definition, "private-definition", Severity::Info,
     "a private value does not fit its definition", "", "PS3.5 7.8", false},
    {Fault::Unreadable, "unreadable", Severity::Error, "part that cannot be read",
     "headers follow the transfer syntax", "PS3.5 7.1", false},
    {Fault::Truncated, "truncated", Severity::Error, "the file ends too early",
     "the value has the length of its header", "PS3.5 7.1.1", false},
    {Fault::Order, "order", Severity::Error, "elements out of order",
     "tags ascend, each occurs once", "PS3.5 7.1", false},
    {Fault::Duplicate, "duplicate", Severity::Error, "an element that occurs twice",
     "each tag occurs once", "PS3.5 7.1", false},
    {Fault::Lost, "lost", Severity::Error, "something is not in the output", "", "PS3.10 7.1",
     false},
    {Fault::Foreign_Group, "foreign-group", Severity::Error, "group that does not belong here",
     "command and file meta groups stand outside a data set", "PS3.5 7.1", false},
    {Fault::Nesting, "nesting", Severity::Error, "sequence, item or delimiter in the wrong place",
     "sequences hold items, and are closed", "PS3.5 7.5", false},
    {Fault::Depth, "depth", Severity::Error, "sequences nested too deeply", "", "PS3.5 7.5", false},
    {Fault::Fragments, "fragments", Severity::Error, "fault in encapsulated pixel data",
     "fragments of even length, closed by a delimiter", "PS3.5 A.4", false},
    {Fault::Pixel_VR, "pixel-vr", Severity::Error, "VR of the pixel data does not fit",
     "OB in fragments, OW above 8 bits allocated", "PS3.5 8.2", false},
    {Fault::Pixel_Size, "pixel-size", Severity::Error, "pixel data of another size than the image",
     "Rows x Columns x Samples x Bits x Frames", "PS3.5 8.1.1", false},
    {Fault::Pixel_Excess, "pixel-excess", Severity::Warning,
     "more bytes of pixel data than the image has", "Rows x Columns x Samples x Bits x Frames",
     "PS3.5 8.1.1", false},
    {Fault::Pixel_Attributes, "pixel-attributes", Severity::Error,
     "attributes of the image contradict each other", "the Image Pixel module ties them together",
     "PS3.3 C.7.6.3", false},
    {Fault::Image_Values, "image-values", Severity::Warning,
     "directions, distances or values of the image that are none",
     "directions are perpendicular and of length one, distances and windows above zero",
     "PS3.3 C.7.6.2.1.1", false},
    {Fault::Frames, "frames", Severity::Error, "the number of frames does not fit the pixel data",
     "Number of Frames counts them", "PS3.5 A.4", false},
    {Fault::Offset_Table, "offset-table", Severity::Error, "offset table is missing or wrong",
     "it gives the place of each frame", "PS3.5 A.4", false},
    {Fault::Overlay, "overlay", Severity::Warning, "overlay data does not fit the image", "",
     "PS3.3 C.9.2", false},
    {Fault::Undefined_Length, "undefined-length", Severity::Error,
     "undefined length of a VR that has none",
     "only SQ, UN and encapsulated data have an undefined length", "PS3.5 7.1.1", false},
    {Fault::Preamble, "preamble", Severity::Error, "no preamble or prefix",
     "128 bytes and \"DICM\" begin a file", "PS3.10 7.1", false},
    {Fault::Not_DICOM, "not-dicom", Severity::Error, "no DICOM file", "", "PS3.10 7.1", false},
    {Fault::Wrapper, "wrapper", Severity::Error, "the file stands inside another format",
     "a file begins with its preamble", "PS3.10 7.1", false},
    {Fault::Preamble_Used, "preamble-used", Severity::Info, "the preamble is in use", "",
     "PS3.10 7.1", false},
    {Fault::Preamble_Program, "preamble-program", Severity::Warning,
     "the preamble begins as a program does", "the preamble tells other formats of images",
     "PS3.10 7.1", false},
    {Fault::File_Meta, "file-meta", Severity::Error, "file meta information is missing or wrong",
     "group 0002 describes the file", "PS3.10 7.1", false},
    {Fault::Meta_Missing, "meta-missing", Severity::Error, "missing in the file meta information",
     "group 0002 describes the file", "PS3.10 7.1", true},
    {Fault::Meta_Differs, "meta-differs", Severity::Warning,
     "other in the file meta information than in the data set",
     "group 0002 repeats the UIDs of the data set", "PS3.10 7.1", true},
    {Fault::Transfer_Syntax, "transfer-syntax", Severity::Error,
     "transfer syntax is missing or another", "(0002,0010) names the encoding", "PS3.10 7.1",
     false},
    {Fault::Deflated, "deflated", Severity::Warning, "bytes around the deflated data set",
     "the stream is the rest of the file", "PS3.5 A.5", false},
    {Fault::Trailing, "trailing", Severity::Info, "bytes behind the data set", "", "PS3.10 7.2",
     false},
    {Fault::Directory, "directory", Severity::Error, "offset in a directory that leads nowhere",
     "offsets are those of directory records", "PS3.3 F.3.2.2", false},
    {Fault::Directory_Moved, "directory-moved", Severity::Info,
     "a directory record stands at another place of the output", "", "PS3.3 F.3.2.2", false},
    {Fault::Retired, "retired", Severity::Info, "retired element", "", "PS3.6 6", false},
    {Fault::Group_Length, "group-length", Severity::Warning, "wrong group length",
     "a group length counts the bytes of its group", "PS3.5 7.2", false},
    {Fault::Creator, "creator", Severity::Warning, "private element without a creator",
     "a creator element reserves the block", "PS3.5 7.8.1", false},
    {Fault::Unknown_Tag, "unknown-tag", Severity::Warning, "tag that the registry does not know",
     "elements of even groups are those of the registry", "PS3.5 7.1", false},
    {Fault::Removed, "removed", Severity::Info, "left out", "", "", false},
    {Fault::Missing, "missing", Severity::Error, "a required attribute is missing",
     "type 1 and 2 attributes are present", "PS3.5 7.4", false},
    {Fault::Empty, "empty", Severity::Error, "a required value is missing",
     "type 1 attributes have a value", "PS3.5 7.4.1", false},
    {Fault::Not_Allowed, "not-allowed", Severity::Error, "an attribute that is not allowed here",
     "conditional attributes are absent where the module forbids them", "PS3.5 7.4.2", false},
    {Fault::Not_Expected, "not-expected", Severity::Warning,
     "an attribute whose condition does not hold",
     "conditional attributes are absent unless the module says otherwise", "PS3.5 7.4.2", false},
    {Fault::Enumerated_Value, "enumerated-value", Severity::Error,
     "a value that is none of the enumerated ones", "enumerated values are the only ones allowed",
     "PS3.5 7.4", false},
    {Fault::Defined_Term, "defined-term", Severity::Info, "a value that is no defined term",
     "defined terms may be extended", "PS3.5 7.4", false},
    {Fault::Item_Number, "item-number", Severity::Error, "too many or too few items",
     "the module gives the number of items", "PS3.5 7.5", false},
    {Fault::Module, "module", Severity::Error, "a required module is missing",
     "mandatory modules are there, conditional ones under their condition", "PS3.3 A.1.3", false},
    {Fault::Module_Incomplete, "module-incomplete", Severity::Warning,
     "an attribute is missing if its module is there, which is not certain",
     "a module that is there has its type 1 and 2 attributes", "PS3.5 7.4", false},
    {Fault::Functional_Group, "functional-group", Severity::Error,
     "a required functional group is missing",
     "a group stands in the shared item or in the item of each frame", "PS3.3 C.7.6.16", false},
    {Fault::Content_Item, "content-item", Severity::Error,
     "content items that are related as none may be",
     "each relationship leads from certain value types to certain others", "PS3.3 C.17.3", false},
    {Fault::Context_Group, "context-group", Severity::Warning,
     "a code that is not in its context group",
     "codes outside of a group are marked as its extension", "PS3.3 8.7", false},
    {Fault::IOD, "iod", Severity::Warning, "the IOD is not known", "the SOP class tells the IOD",
     "PS3.4 B.5", false},
    {Fault::Definitions, "definitions", Severity::Error, "fault in the definition files", "", "",
     false},
    {Fault::Set, "set", Severity::Info, "supplied", "", "", false},
    {Fault::Original_Attributes, "original-attributes", Severity::Info,
     "the original value is kept in Original Attributes", "", "PS3.3 C.12.1.1.9", false},
    {Fault::JSON, "json", Severity::Error, "a JSON text that is no DICOM JSON model",
     "each element has a VR, and values in the form of that VR", "PS3.18 F.2", false},
    {Fault::Not_Written, "not-written", Severity::Error, "the data set cannot be written", "", "",
     false},
    {Fault::Memory, "memory", Severity::Error, "there was not enough memory", "", "", false},
    {Fault::Reference, "reference", Severity::Error,
     "a reference inside the data set that leads nowhere, or to two things",
     "what is referred to by a number or a UID is there, once", "PS3.3", false},
    {Fault::Unlisted, "not-listed", Severity::Warning,
     "an instance that is referred to, and missing in the list of those that are",
     "documents and presentations list the instances that they refer to", "PS3.3 C.17.2", false},
    {Fault::Frame_Number, "frame-number", Severity::Error, "number of a frame that is not there",
     "frames are counted from 1 to Number of Frames", "PS3.3 C.7.6.6", false},
    {Fault::Item_Count, "item-count", Severity::Error,
     "items or values that are not as many as what they stand for",
     "there is one for each frame or dimension", "PS3.3", false},
    {Fault::Segment_Number, "segment-number", Severity::Error, "segments that are not numbered",
     "segments are numbered from 1, one after the other", "PS3.3 C.8.20.2", false},
    {Fault::SOP_Class, "sop-class", Severity::Error, "a UID that is not that of a SOP class",
     "the registry of UIDs tells what each identifies", "PS3.6 A", false},
    {Fault::UID_Reused, "uid-reused", Severity::Warning, "a UID that identifies two things",
     "a UID identifies one thing", "PS3.5 9", false},
    {Fault::Modality, "modality", Severity::Error, "the modality is none of those of the SOP class",
     "the series of an IOD has its modality", "PS3.3 C.7.3.1.1.1", false},
    {Fault::Unusual_Modality, "modality-unusual", Severity::Warning,
     "images of another device than their SOP class is made for", "", "PS3.3 C.7.3.1.1.1", false},
    {Fault::Date_Order, "date-order", Severity::Warning, "dates in the wrong order",
     "birth comes before the study, the study before its series", "PS3.3 C.7", false},
    {Fault::Unlikely, "unlikely", Severity::Info, "right by the standard, and yet seldom meant", "",
     "PS3.3", false},
    {Fault::Patient_Differs, "patient-differs", Severity::Warning,
     "another value than in other files of the patient", "what identifies a patient is the same",
     "PS3.3 A.1.2.1", false},
    {Fault::Study_Differs, "study-differs", Severity::Warning,
     "another value than in other files of the study", "the files of a study share its attributes",
     "PS3.3 A.1.2.2", false},
    {Fault::Series_Differs, "series-differs", Severity::Warning,
     "another value than in other files of the series",
     "the files of a series share its attributes, modality, equipment and frame of reference",
     "PS3.3 A.1.2.3", false},
    {Fault::Frame_Of_Reference_Differs, "frame-of-reference-differs", Severity::Warning,
     "another value than in other files of the frame of reference",
     "what has a frame of reference shares its attributes", "PS3.3 C.7.4.1", false},
    {Fault::Duplicate_Instance, "duplicate-instance", Severity::Error,
     "two objects with one SOP Instance UID", "a UID identifies one object", "PS3.5 9", false},
    {Fault::Not_Compared, "not-compared", Severity::Info, "a file that is not compared", "", "",
     false},
    {Fault::Worker_Died, "worker-died", Severity::Error, "a file whose worker process ended", "",
     "", false},
    {Fault::Name_Taken, "name-taken", Severity::Warning, "two files for one name", "", "", false},
    {Fault::Old_Output, "old-output", Severity::Warning,
     "an output of what a file was before it changed", "", "", false},
    {Fault::Directory_Left, "directory-left", Severity::Warning,
     "a DICOMDIR whose files have other names now", "Referenced File ID names the files of the set",
     "PS3.3 F.3.2.2", false},
    {Fault::Other, "other", Severity::Warning, "something is wrong", "", "", true},
};

constexpr bool Rows_Stand_In_Order()
{
    for (std::size_t i = 0; i < std::size(Kinds); ++i) {
        if (Kinds[i].fault != static_cast<Fault>(i)) {
            return false;
        }
    }
    return std::size(Kinds) == static_cast<std::size_t>(Fault::Other) + 1;
}
static_assert(Rows_Stand_In_Order(), "a fault is the index of its row");

/**
 * The kinds of messages of the library, whose texts alone tell what they are about, by what they hold.
 * The fragment that stands first in a text counts: values, which may hold anything, stand behind the
 * words of the message.
 */
constexpr Message_Pattern Patterns[] = {
    {"invalid padding char", "padding"},
    {" char in \"", "characters"},
    {"Invalid character in data", "characters"},
    {"Old syntax!", "old-syntax"},
    {"String too long!", "length"},
    {"Expecting VR=IS", "integer"},
    {"Converted from", "integer"},
    {"Expecting VN=", "multiplicity"},
    {"Expecting ", "size"},
    {"Value out of range", "range"},
    {"Y2K bug!", "year-2000"},
    {"last char", "last-backslash"},
    {"lenght is odd", "odd-length"},
    {"Explicit VR (=", "vr-other"},
    {"Variable length tag", "undefined-length"},
    {"Fix ", "encoding"},
    {"Oups!", "encoding"},
    {"Please contact", "encoding"},
    {"Pixel data is \"Explicit VR\"", "encoding"},
    {"tags should be sorted!", "order"},
    {"cannot be read", "unreadable"},
    {"is not closed", "nesting"},
    {"missing end of sequence", "nesting"},
    {"should be followed by an \"item\"", "nesting"},
    {"To many \"sequences\"", "depth"},
    {"Retired from DICOM", "retired"},
};

constexpr const Finding_Kind& Kind_Named(std::string_view name)
{
    for (const Finding_Kind& kind : Kinds) {
        if (name == kind.name) {
            return kind;
        }
    }
    return *(std::end(Kinds) - 1);
}

constexpr bool All_Patterns_Name_A_Kind()
{
    return std::all_of(std::begin(Patterns), std::end(Patterns),
                       [](const Message_Pattern& pattern) {
                           return Kind_Named(pattern.kind).name == std::string_view(pattern.kind);
                       });
}
static_assert(All_Patterns_Name_A_Kind());

}  // namespace

Fault Fault_Of(std::string_view name)
{
    return Kind_Named(name).fault;
}

const Finding_Kind& Kind_Of(const Finding& finding)
{
    if (finding.fault != Fault::Other) {
        return Kinds[static_cast<std::size_t>(finding.fault)];
    }
    const char* kind = "other";
    std::size_t first = std::string::npos;
    for (const Message_Pattern& pattern : Patterns) {
        const std::size_t at = finding.text.find(pattern.fragment);
        if (at < first) {
            first = at;
            kind = pattern.kind;
        }
    }
    return Kind_Named(kind);
}

const char* Clause_Of(const Finding& finding)
{
    return finding.clause != nullptr ? finding.clause : Kind_Of(finding).clause;
}

std::span<const Finding_Kind> All_Kinds()
{
    return Kinds;
}

std::span<const Message_Pattern> Library_Messages()
{
    return Patterns;
}

Severity Severity_Of(const Finding& finding)
{
    return finding.level == Level::Error ? Severity::Error : Kind_Of(finding).severity;
}

Outcome Outcome_Of(const Findings& findings)
{
    if (findings.Has(Level::Error)) {
        return Outcome::Loss;
    }
    const auto is_fault = [](const Finding& finding) {
        return Severity_Of(finding) != Severity::Info;
    };
    return std::any_of(findings.All().begin(), findings.All().end(), is_fault) ? Outcome::Findings
                                                                               : Outcome::Clean;
}

const char* Severity_Name(Severity severity)
{
    switch (severity) {
    case Severity::Info:
        return "info";
    case Severity::Warning:
        return "warning";
    case Severity::Error:
        break;
    }
    return "error";
}

const char* Text_Without_Values(const Finding& finding)
{
    const bool quotes =
        finding.fault == Fault::Other && finding.has_tag && Kind_Of(finding).quotes_value;
    return quotes ? Kind_Of(finding).what : finding.text.c_str();
}

std::string Shown_Text(const Finding& finding, bool show_values)
{
    const char* const plain = Text_Without_Values(finding);
    if (!show_values && plain != finding.text.c_str()) {
        return std::string(plain) + " (--show-values shows it)";
    }
    std::string text = finding.text;
    if (!Shows_Values(finding, show_values)) {
        return text;
    }
    if (!finding.before.empty()) {
        text += ": \"" + finding.before + "\"";
    }
    if (!finding.after.empty()) {
        text += (finding.before.empty() ? ": \"" : " becomes \"") + finding.after + "\"";
    }
    return text;
}

bool Shows_Values(const Finding& finding, bool show_values)
{
    const bool has_values = !finding.before.empty() || !finding.after.empty();
    return has_values && (show_values || !finding.has_tag ||
                          (Is_Harmless(finding.tag, finding.vr, finding.before) &&
                           Is_Harmless(finding.tag, finding.vr, finding.after)));
}

}  // namespace lib_mend
