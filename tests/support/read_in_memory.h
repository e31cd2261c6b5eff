// Reads files in memory and tells what came out as texts that compare at once.
#ifndef TESTS_READ_IN_MEMORY_H
#define TESTS_READ_IN_MEMORY_H

#include "mend/findings/faults.h"
#include "mend/reading/reader.h"
#include "mend/reading/tree.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <span>
#include <string>

struct Read_File {
    /** "change preamble (0002,0010) text: before > after", one a line. */
    std::string findings;
    /** "0008,0018=1.2.3" of group 0002 and of the data set, one a line, padding left out. */
    std::string meta;
    std::string elements;
    /** What was skipped, the parts with "|" between them. */
    std::string skipped;
    std::string syntax;
};

inline std::string Level_Text(lib_mend::Level level)
{
    constexpr const char* Names[] = {"info", "change", "kept", "error"};
    return Names[static_cast<int>(level)];
}

inline std::string Finding_Text(const lib_mend::Finding& finding)
{
    const std::string place = finding.has_tag ? " (" + finding.path + ")" : "";
    const std::string values = finding.before.empty() && finding.after.empty()
                                   ? ""
                                   : ": " + finding.before + " > " + finding.after;
    return Level_Text(finding.level) + " " + lib_mend::Kind_Of(finding).name + place + " " +
           finding.text + values + "\n";
}

inline Read_File Read_In_Memory(const std::string& bytes, const lib_mend::Spool_Limits& limits = {})
{
    lib_mend::Findings findings;
    const lib_mend::Library_Session session(findings);
    const auto file = lib_mend::Source::From_Image(
        {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}, "test");
    const lib_mend::Data_Set set = Read_Data_Set(file, findings, limits);
    Read_File read;
    for (const lib_mend::Finding& finding : findings.All()) {
        read.findings += Finding_Text(finding);
    }
    const auto add = [&](std::string& lines) {
        return [&](const DICOM_List& record, const lib_mend::Path& path) {
            lines += Path_Text(path, lib_mend::Tag_Of(record)) + "=" +
                     (lib_mend::Has_Value(record) ? lib_mend::Trimmed(set.Value(record)) : "") +
                     "\n";
        };
    };
    lib_mend::For_Each_Element(set.meta.Head(), add(read.meta));
    lib_mend::For_Each_Element(set.records.Head(), add(read.elements));
    for (const lib_mend::Skipped& part : set.skipped) {
        lib_mend::Bytes piece(static_cast<std::size_t>(part.size));
        (part.source != nullptr ? *part.source : *set.source).Read(part.offset, piece);
        read.skipped += (read.skipped.empty() ? "" : "|") + std::string(piece.begin(), piece.end());
    }
    read.syntax = set.syntax;
    return read;
}

/** A data set of five elements, in any encoding. */
inline std::string Small_Data_Set(unsigned char code = DICOM_Order_Explicit_VR)
{
    Stream_Builder s(code);
    s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0008, 0x0060, "CS", "OT");
    s.Element(0x0010, 0x0010, "PN", "DOE^JANE");
    s.Element(0x0020, 0x0010, "SH", "17");
    return s.Bytes();
}

inline constexpr char Small_Elements[] = "0008,0016=1.2.840.10008.5.1.4.1.1.7\n"
                                         "0008,0018=1.2.3.4\n"
                                         "0008,0060=OT\n"
                                         "0010,0010=DOE^JANE\n"
                                         "0020,0010=17\n";

/** What Part10_Head writes in front of a data set in explicit VR little endian. */
inline std::string Small_File()
{
    return Part10_Head("1.2.840.10008.1.2.1") + Small_Data_Set();
}

/** A file that holds the small data set, whatever else is wrong with it. */
struct Small_File_Case {
    const char* name;
    std::string bytes;
    std::string findings;
    std::string skipped = {};
};

inline void Expect_Small_Files(std::span<const Small_File_Case> cases,
                               const lib_mend::Spool_Limits& limits = {})
{
    for (const Small_File_Case& each : cases) {
        SCOPED_TRACE(each.name);
        const Read_File read = Read_In_Memory(each.bytes, limits);
        EXPECT_EQ(read.elements, Small_Elements);
        EXPECT_EQ(read.findings, each.findings);
        EXPECT_EQ(read.skipped, each.skipped);
    }
}

#endif
