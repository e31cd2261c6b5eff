// What mending changes is kept inside the file, as examples.md shows, and comes back.
#include "mend/healing/original_attributes.h"

#include "mend/findings/faults.h"
#include "mend/interface/heal.h"
#include "mend/reading/tree.h"
#include "support/case_page.h"
#include "support/fault_generator.h"
#include "support/mend_in_memory.h"
#include "support/samples.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr char Time[] = "20260102030405+0100";

Mend_Options Recording()
{
    Mend_Options options;
    options.heal.record = true;
    options.heal.record_time = Time;
    return options;
}

std::string In_Letters(const Bytes& value)
{
    std::string letters;
    for (const unsigned char byte : value) {
        char text[8];
        const bool is_letter = byte >= 0x20 && byte < 0x7F;
        std::snprintf(text, sizeof text, is_letter ? "%c" : "\\x%02X", byte);
        letters += text;
    }
    return letters;
}

/** "path VR=value" of every element of a data set, a line each. */
std::string Listing(const Data_Set& set)
{
    std::string lines;
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path& path) {
        const unsigned short vr = VR_Of(record);
        lines += Path_Text(path, Tag_Of(record)) + " " + static_cast<char>(vr >> 8) +
                 static_cast<char>(vr & 0xFF);
        lines += (vr == VR_SQ ? "" : "=" + In_Letters(set.Value(record))) + "\n";
    });
    return lines;
}

std::string Listing_Of(const std::string& file)
{
    Findings findings;
    const Library_Session session(findings);
    return Listing(Read_Data_Set(Source_Of(file), findings));
}

struct Undone {
    bool done = false;
    std::string bytes;
    /** "level path text" of the findings on Original Attributes. */
    std::string findings;
};

Undone Undo_In_Memory(const std::string& file)
{
    constexpr const char* Levels[] = {"info", "change", "kept", "error"};
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read_Data_Set(Source_Of(file), findings);
    Undone undone;
    undone.done = Undo(set, findings);
    Encoded_File encoded;
    undone.done = undone.done && Mend(set, {}, findings, encoded);
    const Bytes joined = encoded.Joined();
    undone.bytes.assign(joined.begin(), joined.end());
    for (const Finding& finding : findings.All()) {
        if (finding.fault == Fault::Original_Attributes) {
            undone.findings += Levels[static_cast<int>(finding.level)] + " "s + finding.path + " " +
                               finding.text + "\n";
        }
    }
    return undone;
}

std::string File_Of(const Stream_Builder& stream)
{
    return Part10_Head(Explicit_Little_UID) + stream.Bytes();
}

TEST(Undoing, PutsValidValuesAndOthersBack)
{
    Stream_Builder s;
    s.Element(0x0008, 0x0005, "CS", "ISO_IR 100");
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0009, 0x0010, "LO", "OWNER ");
    s.Element(0x0009, 0x1001, "LO", "\xE9 ");
    s.Element(0x0010, 0x0010, "PN", "J\xE9r^\xF4 ");
    s.Element(0x0010, 0x4000, "LT", "ab");
    s.Sequence(0x0040, 0x0275).Item().Item_End().Item();
    s.Element(0x0040, 0x0007, "LO", "a\xFC");
    s.Item_End().Sequence_End();
    Mend_Options options = Recording();
    options.heal.to_utf8 = true;
    const Mended_File mended = Mend_In_Memory(File_Of(s), options);
    const Undone undone = Undo_In_Memory(mended.bytes);
    EXPECT_EQ(Listing_Of(undone.bytes), Listing_Of(File_Of(s)));
    EXPECT_EQ(undone.findings, "info 0008,0005 the original value is put back\n"
                               "info 0010,0010 the original value is put back\n"
                               "info 0009,1001 the original value is put back\n"
                               "info 0040,0275[1]/0040,0007 the original value is put back\n");
}

TEST(Undoing, RemovesWhatWasNotThere)
{
    Stream_Builder s;
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0008, 0x0020, "DA", "1998.05.17");
    s.Element(0x0010, 0x0010, "PN", "é^");
    const Mended_File mended = Mend_In_Memory(File_Of(s), Recording());
    const Undone undone = Undo_In_Memory(mended.bytes);
    EXPECT_EQ(undone.findings, "info 0008,0005 the element that was added is removed\n"
                               "info 0008,0020 the original value is put back\n");
    EXPECT_EQ(Listing_Of(undone.bytes), "0008,0018 UI=1.2.3.4\\x00\n"
                                        "0008,0020 DA=1998.05.17\n"
                                        "0010,0010 PN=\\xC3\\xA9^ \n");
}

TEST(Undoing, PutsTheVRBackWithTheValue)
{
    Stream_Builder s;
    s.Header(0x0028, 0x0010, "UL", 4).Int(512);
    s.US(0x0028, 0x0011, 2);
    Mended_File mended = Mend_In_Memory(File_Of(s), Recording());
    const Undone undone = Undo_In_Memory(mended.bytes);
    EXPECT_EQ(undone.findings, "info 0028,0010 the original value is put back\n");
    EXPECT_EQ(Listing_Of(undone.bytes), Listing_Of(File_Of(s)));
    // Where the item does not tell the VR, it may be any.
    mended.bytes.replace(mended.bytes.find("UL", 200), 2, "U ");
    EXPECT_EQ(Undo_In_Memory(mended.bytes).findings,
              "error 0028,0010 the original value is of another VR, which is not recorded, and is "
              "not put back\n");
}

/** An item of Original Attributes by a system, with one former value of (0008,0060). */
void Add_Item(Stream_Builder& s, const std::string& system, const std::string& value)
{
    s.Item().Sequence(0x0400, 0x0550).Item();
    s.Element(0x0008, 0x0060, "CS", value);
    s.Item_End().Sequence_End();
    s.Element(0x0400, 0x0562, "DT", "2026");
    s.Element(0x0400, 0x0563, "LO", system);
    s.Element(0x0400, 0x0564, "LO", "");
    s.Element(0x0400, 0x0565, "CS", "CORRECT ");
    s.Item_End();
}

TEST(Undoing, TakesTheLastItemOfThisSystem)
{
    Stream_Builder s;
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0008, 0x0060, "CS", "CT");
    s.Sequence(0x0400, 0x0561);
    Add_Item(s, "dicom-mend", "MR");
    Add_Item(s, "dicom-mend", "PT");
    Add_Item(s, "dicom-mend2 ", "US");
    s.Sequence_End();
    const auto value_in = [](const std::string& listing) {
        const std::size_t at = listing.find("0008,0060 CS=");
        return listing.substr(at + 13, 2);
    };
    const Undone first = Undo_In_Memory(File_Of(s));
    EXPECT_EQ(value_in(Listing_Of(first.bytes)), "PT");
    const Undone second = Undo_In_Memory(first.bytes);
    EXPECT_EQ(value_in(Listing_Of(second.bytes)), "MR");
    EXPECT_NE(Listing_Of(second.bytes).find("0400,0561[0]/0400,0563 LO=dicom-mend2 \n"),
              std::string::npos);
    const Undone third = Undo_In_Memory(second.bytes);
    EXPECT_FALSE(third.done);
    EXPECT_EQ(third.findings,
              "error  there is nothing to undo: no mending is recorded in the file\n");
}

TEST(Undoing, SaysWhatHasNoPlace)
{
    For_Each_Case("mend/healing/original_attributes.cases", "places", 4, [](const Case_Row& row) {
        Stream_Builder s;
        s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
        s.Sequence(0x0040, 0x0275).Item().Item_End().Sequence_End();
        s.Sequence(0x0400, 0x0561).Item();
        s.Sequence(0x0400, 0x0550).Item().Item_End().Sequence_End();
        s.Sequence(0x0400, 0x0551).Item();
        s.Element(0x0072, 0x0026, "AT", row[0]);
        s.Element(0x0072, 0x0052, "AT", row[1]);
        s.Element(0x0074, 0x1057, "IS", row[2]);
        s.Element(0x0400, 0x0552, "OB", "ct");
        s.Item_End().Sequence_End();
        s.Element(0x0400, 0x0563, "LO", "dicom-mend");
        s.Item_End().Sequence_End();
        const Undone undone = Undo_In_Memory(File_Of(s));
        EXPECT_EQ(undone.findings, row[3] + "\n");
        const std::string put_back = "0040,0275[0]/0008,0060 CS=ct\n";
        EXPECT_EQ(Listing_Of(undone.bytes), "0008,0018 UI=1.2.3.4\\x00\n0040,0275 SQ\n" +
                                                (row[3].starts_with("info") ? put_back : ""));
    });
}

/** Lengths, padding, offsets, pixel data and broken numbers are not promised to come back. */
bool Is_Promised(const DICOM_List& record)
{
    constexpr unsigned short Groups[] = {0x0000, 0x0002, 0x7FE0, 0xFFFC};
    const bool is_offset = record.group == 0x0004 && VR_Of(record) == VR_UL;
    const bool is_broken = VR_Of(record) == VR_US && record.size % 2 != 0;
    return record.element != 0 && Has_Value(record) && !is_offset && !is_broken &&
           std::find(std::begin(Groups), std::end(Groups), record.group) == std::end(Groups);
}

/** Path and value of the elements that undoing promises to bring back. */
std::map<std::string, std::string> Values_In(const std::string& file)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read_Data_Set(Source_Of(file), findings);
    std::map<std::string, std::string> values;
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path& path) {
        if (Is_Promised(record)) {
            const Bytes value = set.Value(record);
            std::string text(value.begin(), value.end());
            while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) {
                text.pop_back();
            }
            values.emplace(Path_Text(path, Tag_Of(record)), text);
        }
    });
    return values;
}

/** Tells what does not come back; nothing when all does. */
std::string Not_Undone(const std::string& file, const Mend_Options& options)
{
    const Mended_File mended = Mend_In_Memory(file, options);
    // What reads as something else a second time cannot be compared; the promises tell of it.
    if (!mended.done || Mend_In_Memory(mended.bytes, options).bytes != mended.bytes) {
        return {};
    }
    std::set<std::string> lost;
    bool is_recorded = false;
    for (const Finding& finding : mended.findings) {
        is_recorded = is_recorded ||
                      (finding.fault == Fault::Original_Attributes && finding.level == Level::Info);
        if (finding.level == Level::Error) {
            lost.insert(finding.path);
        }
    }
    const std::string undone = is_recorded ? Undo_In_Memory(mended.bytes).bytes : mended.bytes;
    const std::map<std::string, std::string> before = Values_In(file);
    const std::map<std::string, std::string> after = Values_In(undone);
    std::string missing;
    for (const auto& [path, value] : before) {
        const auto found = after.find(path);
        if ((found == after.end() || found->second != value) && lost.count(path) == 0) {
            missing += path + (found == after.end() ? " is missing\n" : " is another\n");
        }
    }
    return missing;
}

TEST(Undoing, BringsTheValuesOfGeneratedFaultsBack)
{
    Mend_Options options = Recording();
    for (const Sound_File& sound : Made_Sound_Files()) {
        EXPECT_EQ(Not_Undone(sound.bytes, options), "") << sound.name;
        For_Each_Fault(sound, 1, [&](const Fault_Case& each) {
            EXPECT_EQ(Not_Undone(each.bytes, options), "")
                << sound.name << ": " << each.kind << " " << each.damaged;
        });
    }
}

TEST(Undoing, BringsTheValuesOfSamplesBack)
{
    Mend_Options to_utf8 = Recording();
    to_utf8.heal.to_utf8 = true;
    For_Each_Sample([&](const std::string& name, const std::string& file) {
        EXPECT_EQ(Not_Undone(file, Recording()), "") << name;
        EXPECT_EQ(Not_Undone(file, to_utf8), "") << name;
    });
}

}  // namespace
