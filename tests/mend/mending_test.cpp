// The client's half of the work: reading files as far as they go, mending them, writing them.
#include "mend/reading/tree.h"
#include "support/mend_in_memory.h"
#include "support/samples.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <strings.h>
#include <unistd.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

namespace fs = std::filesystem;

/** Elements of a data set, items included and delimiters left out. */
std::size_t Count_Elements(const std::string& bytes)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read_Data_Set(Source_Of(bytes), findings);
    std::size_t count = 0;
    For_Each_Element(set.records.Head(), [&](const DICOM_List&, const Path&) { ++count; });
    return count;
}

/** A sound data set with nesting, private elements and pixel data, in any encoding. */
std::string Sound_Data_Set(unsigned char code)
{
    Stream_Builder s(code);
    s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0008, 0x0060, "CS", "OT");
    s.Sequence(0x0008, 0x1140).Item();
    s.Element(0x0008, 0x1150, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.5"));
    s.Item_End().Item();
    s.Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.6"));
    s.Item_End().Sequence_End();
    s.Element(0x0009, 0x0010, "LO", "ACME");
    s.Element(0x0009, 0x1001, "UN", std::string(1500, 'x'));
    s.Element(0x0010, 0x0010, "PN", "DOE^JANE");
    s.Element(0x0018, 0x1063, "DS", "40");
    s.Header(0x0028, 0x0009, "AT", 4).Short(0x0018).Short(0x1063);
    s.US(0x0028, 0x0100, 16);
    s.US(0x0028, 0x0103, 0);
    s.US(0x0028, 0x0106, 7);
    s.Header(0x7FE0, 0x0010, "OW", 8).Short(1).Short(2).Short(3).Short(0x4142);
    return s.Bytes();
}

std::string_view Syntax_Of(unsigned char code)
{
    return code == 0 ? Implicit_Little_UID : code == 8 ? Explicit_Little_UID : Explicit_Big_UID;
}

std::string Sound_File(unsigned char code)
{
    return Part10_Head(Syntax_Of(code)) + Sound_Data_Set(code);
}

constexpr unsigned char Codes[] = {0, 8, 9};

TEST(Reading, KeepsWhatPrecedesACutAtEveryLength)
{
    for (const unsigned char code : Codes) {
        const std::string whole = Sound_File(code);
        Findings none;
        const Library_Session outer(none);
        const Data_Set full = Read_Data_Set(Source_Of(whole), none);
        const auto text = [](const Data_Set& set, const DICOM_List& record) {
            const Bytes value = set.Value(record);
            return Tag_Text(Tag_Of(record)) + std::string(value.begin(), value.end());
        };
        std::map<unsigned int, std::string> ends;
        For_Each_Record(full.records.Head(), [&](const DICOM_List& record) {
            if (!Is_Delimiter(record) && record.size >= 0) {
                ends[record.data_pos + static_cast<unsigned int>(record.size)] = text(full, record);
            }
        });
        ASSERT_EQ(ends.size(), 15U);
        std::set<std::size_t> boundaries;
        for (const DICOM_List& record : Records(full.records.Head())) {
            boundaries.insert(record.pos);
        }
        for (std::size_t size = 0; size < whole.size(); ++size) {
            const std::string cut = whole.substr(0, size);
            Findings findings;
            const Library_Session session(findings);
            const Data_Set set = Read_Data_Set(Source_Of(cut), findings);
            std::set<std::string> kept;
            For_Each_Record(set.records.Head(),
                            [&](const DICOM_List& record) { kept.insert(text(set, record)); });
            for (const auto& [end, element] : ends) {
                ASSERT_TRUE(end > size || kept.count(element) == 1) << "cut at " << size;
            }
            // A cut between two elements of the top level leaves a sound, shorter file.
            ASSERT_TRUE(!findings.All().empty() || boundaries.count(size) == 1) << size;
        }
    }
}

TEST(Reading, SurvivesAFileThatIsCutMeanwhile)
{
    const std::string path = testing::TempDir() + "cut_" + std::to_string(getpid()) + ".dcm";
    const std::string bytes = Sound_File(DICOM_Order_Explicit_VR);
    const std::string whole = Mend_In_Memory(bytes).bytes;
    for (std::uintmax_t size = 0; size < bytes.size(); size += 3) {
        for (const bool cut_before_reading : {true, false}) {
            std::ofstream(path, std::ios::binary) << bytes;
            Findings findings;
            const Library_Session session(findings);
            std::string error;
            const auto source = Source::Open(path, error, 0);
            ASSERT_NE(source, nullptr) << error;
            if (cut_before_reading) {
                fs::resize_file(path, size);
            }
            Data_Set set = Read_Data_Set(source, findings);
            fs::resize_file(path, size);
            Encoded_File file;
            Mend(set, {}, findings, file);
            const Bytes found = file.Joined();
            const bool is_whole = std::string(found.begin(), found.end()) == whole;
            ASSERT_TRUE(findings.Has(Level::Error) || (!cut_before_reading && is_whole)) << size;
        }
    }
    fs::remove(path);
}

// ---- mending ----

TEST(Mending, ConvertsBetweenTheUncompressedSyntaxes)
{
    constexpr std::pair<Output_Syntax, unsigned char> Targets[] = {
        {Output_Syntax::Implicit_Little, 0},
        {Output_Syntax::Explicit_Little, 8},
        {Output_Syntax::Explicit_Big, 9}};
    for (const unsigned char from : Codes) {
        for (const auto& [syntax, to] : Targets) {
            Mend_Options options;
            options.syntax = syntax;
            // Implicit VR does not tell the VR of a private element, so it stays unknown.
            const Mended_File mended = Mend_In_Memory(Sound_File(from), options);
            EXPECT_TRUE(mended.bytes == Sound_File(to)) << int{from} << " to " << int{to};
            EXPECT_EQ(mended.Faults(), "");
        }
    }
}

TEST(Mending, MovesTheOffsetsOfADirectory)
{
    // Two records; the odd length of the first makes the second one move.
    Stream_Builder first;
    first.Header(0x0004, 0x1400, "UL", 4);
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID));
    const int first_place = static_cast<int>(s.Bytes().size()) + 12 + 12 + 12;
    const int second_place = first_place + 8 + 12 + 11;
    s.Header(0x0004, 0x1200, "UL", 4).Int(first_place);
    s.Header(0x0004, 0x1202, "UL", 4).Int(second_place);
    s.Sequence(0x0004, 0x1220, 8 + 12 + 11 + 8 + 12);
    s.Item(12 + 11).Header(0x0004, 0x1400, "UL", 4).Int(second_place);
    s.Element(0x0004, 0x1430, "CS", "IMG");
    s.Item(12).Header(0x0004, 0x1400, "UL", 4).Int(0);
    const Mended_File mended = Mend_In_Memory(s.Bytes());
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read_Data_Set(Source_Of(mended.bytes), findings);
    const auto* const records = Find_Record(set.records.Head(), {0x0004, 0x1220});
    ASSERT_EQ(Item_Count(*records), 2);
    const auto place = [&](int item) {
        return static_cast<int>(records->item[item]->pos);
    };
    const auto offset = [&](DICOM_List* list, Tag tag) {
        return Get_Int(0, set.Value(*Find_Record(list, tag)).data());
    };
    EXPECT_EQ(offset(set.records.Head(), {0x0004, 0x1200}), place(0));
    EXPECT_EQ(offset(set.records.Head(), {0x0004, 0x1202}), place(1));
    EXPECT_EQ(offset(records->item[0], {0x0004, 0x1400}), place(1));
    EXPECT_EQ(offset(records->item[1], {0x0004, 0x1400}), 0);
    EXPECT_EQ(Mend_In_Memory(mended.bytes).Faults(), "");
}

TEST(Mending, KeepsEmptyItemsInTheirPlaces)
{
    const auto file = [](const std::string& empty) {
        Stream_Builder s;
        s.Raw(Part10_Head(Explicit_Little_UID)).Sequence(0x0008, 0x1140).Raw(empty).Item();
        s.Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.6")).Item_End();
        return s.Raw(empty).Sequence_End().Bytes();
    };
    const std::string open = file(Stream_Builder().Item().Item_End().Bytes());
    EXPECT_EQ(Mend_In_Memory(open).bytes, open);
    EXPECT_EQ(Mend_In_Memory(file(Stream_Builder().Item(0).Bytes())).bytes, open);
}

// ---- privacy ----

TEST(Checking, HidesValuesThatMayIdentifyAPerson)
{
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID)).Element(0x0008, 0x0060, "CS", "ct");
    // A value cannot pass itself off as a message of another kind.
    s.Element(0x0010, 0x0010, "PN", "occurs twice Retired from DICOM\0"s);
    s.Element(0x0010, 0x0030, "DA", "1997.04.24");
    std::string hidden;
    for (const Finding& finding : Check_In_Memory(s.Bytes()).findings) {
        hidden += Kind_Of(finding).name + ": "s + Shown_Text(finding, false) + "\n";
    }
    EXPECT_EQ(hidden, "characters: small letters in a code\n"
                      "padding: wrong padding, put right\n"
                      "old-syntax: date in another form\n");
}

// ---- samples ----

/** Fields of a line separated by tabulators. */
std::vector<std::string> Fields(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) {
        fields.push_back(field);
    }
    return fields;
}

/** Faults read "text xN (gggg,eeee)@0xHEX; ...": the check tells of each at its place. */
void Compare_With_Faults(const std::string& bytes, const std::string& faults)
{
    const Mended_File checked = Check_In_Memory(bytes);
    const auto any = [&](auto&& condition) {
        return std::any_of(checked.findings.begin(), checked.findings.end(), condition);
    };
    EXPECT_FALSE(faults == "none found" && any([](const Finding& finding) {
                     return Severity_Of(finding) == Severity::Error;
                 }));
    for (std::size_t at = faults.find(")@0x"); at != faults.npos;
         at = faults.find(")@0x", at + 1)) {
        const std::string tag = faults.substr(at - 9, 9);
        const long long offset = std::strtoll(faults.c_str() + at + 4, nullptr, 16);
        EXPECT_TRUE(any([&](const Finding& finding) {
            // A header that is mended may hold what was one by itself.
            const bool here = (finding.offset <= offset && offset - finding.offset < 12) ||
                              strcasecmp(Tag_Text(finding.tag).c_str(), tag.c_str()) == 0;
            return here && Severity_Of(finding) != Severity::Info;
        })) << faults.substr(0, at + 10);
    }
}

TEST(Samples, AgreeWithTheirManifest)
{
    std::map<std::string, std::vector<std::string>> rows;
    int compared = 0;
    For_Each_Sample([&](const std::string& name, const std::string& bytes) {
        SCOPED_TRACE(name);
        if (rows.empty()) {
            std::ifstream manifest(fs::path(std::getenv("LIB_DICOM_SAMPLES")) / "manifest.tsv");
            for (std::string line; std::getline(manifest, line);) {
                rows[Fields(line).front()] = Fields(line);
            }
        }
        // What two other readers count, where they agree.
        std::set<std::string> totals;
        const std::vector<std::string>& head = rows.at("file");
        for (std::size_t i = 0; i < head.size(); ++i) {
            if (head[i].ends_with("_total")) {
                totals.insert(rows.at(name).at(i));
            } else if (head[i] == "known_faults") {
                Compare_With_Faults(bytes, rows.at(name).at(i));
            }
        }
        if (totals.size() == 1 && *totals.begin() != "-") {
            EXPECT_EQ(std::to_string(Count_Elements(bytes)), *totals.begin());
            ++compared;
        }
    });
    std::printf("%d element counts compared\n", compared);
}

}  // namespace
