// The client's half of the work: reading files with faults, mending them, writing them.
#include "mend/findings/faults.h"
#include "mend/interface/check.h"
#include "mend/interface/mend.h"
#include "mend/io/deflate.h"
#include "mend/reading/reader.h"
#include "support/stream_builder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <strings.h>
#include <unistd.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;
using ::testing::HasSubstr;

namespace fs = std::filesystem;

std::span<const unsigned char> As_Image(const std::string& bytes)
{
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

std::string All_Texts(const Findings& findings)
{
    std::string texts;
    for (const Finding& finding : findings.All()) {
        texts += Tag_Text(finding.tag) + " " + finding.text + "\n";
    }
    return texts;
}

std::string Changes_And_Errors(const Findings& findings)
{
    std::string texts;
    for (const Finding& finding : findings.All()) {
        if (finding.level == Level::Change || finding.level == Level::Error) {
            texts += Tag_Text(finding.tag) + " " + finding.text + "\n";
        }
    }
    return texts;
}

/** Reads a file image; the bytes have to outlive the data set. */
Data_Set Read(const std::string& bytes, Findings& findings)
{
    return Read_Data_Set(Source::From_Image(As_Image(bytes), "test"), findings);
}

struct Mended {
    bool done = false;
    std::string bytes;
    std::string findings;
};

Mended Mend_Bytes(const std::string& bytes, const Mend_Options& options = {})
{
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read(bytes, findings);
    Encoded_File file;
    Mended mended;
    mended.done = Mend(set, options, findings, file);
    const Bytes joined = file.Joined();
    mended.bytes.assign(joined.begin(), joined.end());
    mended.findings = Changes_And_Errors(findings);
    return mended;
}

/** Path, VR and value of every element, delimiters left out. */
using Elements = std::vector<std::string>;

void Collect(const Data_Set& set, DICOM_List* list, const std::string& path, Elements& elements)
{
    for (const DICOM_List& record : Records(list)) {
        if (Is_Delimiter(record)) {
            continue;
        }
        const Bytes value = set.Value(record);
        const std::string own = path + Tag_Text(Tag_Of(record));
        elements.push_back(own + " " + std::string(value.begin(), value.end()));
        const bool is_sequence = VR_Of(record) == VR_SQ;
        for (int i = 0; is_sequence && Item_Of(record, i) != nullptr; ++i) {
            Collect(set, Item_Of(record, i), own + "[" + std::to_string(i) + "]/", elements);
        }
    }
}

Elements Elements_Of(const std::string& bytes)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read(bytes, findings);
    Elements elements;
    Collect(set, set.records.Head(), "", elements);
    return elements;
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

class Folder {
public:
    Folder() : path_(testing::TempDir() + "client_test_" + std::to_string(getpid()))
    {
        fs::remove_all(path_);
        fs::create_directory(path_);
    }
    ~Folder()
    {
        fs::remove_all(path_);
    }
    std::string operator/(const char* name) const
    {
        return (path_ / name).string();
    }

private:
    fs::path path_;
};

// ---- reading ----

struct Fault {
    const char* name;
    std::string bytes;
    const char* expected;
    std::size_t elements;
};

std::vector<Fault> Faults()
{
    const std::string head = Part10_Head(Explicit_Little_UID);
    const std::string uid = Padded_UID("1.2.3.4");
    const auto start = [&] {
        Stream_Builder s;
        s.Raw(head).Element(0x0008, 0x0018, "UI", uid);
        return s;
    };
    std::vector<Fault> faults;
    faults.push_back({"no preamble", Sound_Data_Set(8), "no preamble", 15});
    faults.push_back({"no preamble, big endian", Sound_Data_Set(9), "explicit VR big endian", 15});
    faults.push_back({"wrong transfer syntax", Part10_Head(Implicit_Little_UID) + Sound_Data_Set(8),
                      "is declared, but the data set is in explicit VR little endian", 15});
    Stream_Builder text(0);
    text.Raw(Part10_Head(Implicit_Little_UID)).Element(0x0008, 0x0018, "UI", uid);
    text.Header(0x0008, 0x0070, "LO", -1).Item().US(0x0028, 0x0010, 1).Item_End().Sequence_End();
    faults.push_back({"items in a text of implicit VR", text.Bytes(),
                      "VR=LO of undefined length is taken as a sequence", 3});
    // The first group of a data set may look like a low one in the other byte order.
    Stream_Builder high(0);
    high.Raw(Part10_Head(Implicit_Little_UID)).Element(0x0100, 0x0410, "CS", "LOCKED");
    high.Element(0x0100, 0x0420, "SH", "AB").Element(0x0100, 0x0424, "LT", "AB");
    faults.push_back({"high first group", high.Bytes(), "", 3});
    faults.push_back({"transfer syntax that is no UID", Part10_Head("LITTLE") + Sound_Data_Set(8),
                      "is no UID", 15});
    faults.push_back({"unknown VR", start().Element(0x0010, 0x0010, "FU", "DOE ").Bytes(),
                      "VR=FU does not exist", 2});
    faults.push_back({"blank VR",
                      start().Raw(std::string_view("\x28\0\x20\x01  \2\0\7\0", 10)).Bytes(),
                      "blank VR is taken as SS", 2});
    faults.push_back({"stray item", start().Item(10).US(0x0018, 0x6012, 1).Bytes(),
                      "item outside a sequence", 2});
    faults.push_back({"stray delimiters",
                      start().Item_End().Sequence_End().US(0x0028, 0x0010, 1).Bytes(),
                      "sequence delimitation outside a sequence", 2});
    faults.push_back(
        {"item without end",
         start().Sequence(0x0008, 0x1140).Item().US(0x0028, 0x0010, 1).Sequence_End().Bytes(),
         "item is not closed", 3});
    faults.push_back({"sequence without end",
                      start().Sequence(0x0008, 0x1140).Item().US(0x0028, 0x0010, 1).Bytes(),
                      "is not closed at the end", 3});
    faults.push_back({"sequence without end in the middle",
                      start()
                          .Sequence(0x0008, 0x1140)
                          .Item()
                          .US(0x0028, 0x0010, 1)
                          .Item_End()
                          .US(0x0028, 0x0011, 1)
                          .Bytes(),
                      "sequence is not closed", 4});
    faults.push_back({"delimiter inside a given length",
                      start()
                          .Sequence(0x0008, 0x1140, 26)
                          .Item(10)
                          .US(0x0028, 0x0010, 1)
                          .Sequence_End()
                          .US(0x0028, 0x0011, 1)
                          .Bytes(),
                      "sequence delimitation inside a given length", 4});
    faults.push_back({"fragments without end",
                      Stream_Builder()
                          .Raw(Part10_Head("1.2.840.10008.1.2.4.50"))
                          .Element(0x0008, 0x0018, "UI", uid)
                          .Header(0x7FE0, 0x0010, "OB", -1)
                          .Item(0)
                          .Item(4)
                          .Raw("abcd")
                          .Bytes(),
                      "is not closed at the end", 2});
    faults.push_back({"zeros behind", start().Raw(std::string(37, '\0')).Bytes(),
                      "37 bytes of zeros behind the last element", 1});
    faults.push_back({"bytes behind", start().Raw("abc").Bytes(),
                      "the last 3 bytes are no complete element", 1});
    faults.push_back({"pixels cut off",
                      start().Header(0x7FE0, 0x0010, "OW", 100000).Raw("ab").Bytes(),
                      "2 of 100000 bytes are there", 2});
    faults.push_back({"text cut off", start().Header(0x0010, 0x0010, "PN", 100).Raw("DOE").Bytes(),
                      "the value is cut off: 3 of 100 bytes are there", 2});
    faults.push_back({"swapped item tag",
                      start().Raw(std::string_view("\xFF\xFE\xE0\0\0\0\0\0", 8)).Bytes(),
                      "8 bytes from 266 on are no elements", 1});
    // A sequence of unknown VR: implicit little endian inside, whatever is around it.
    const std::string inside =
        Stream_Builder(0).Item().US(0x0028, 0x0010, 1).Item_End().Sequence_End().Bytes();
    faults.push_back(
        {"UN of undefined length",
         start().Header(0x0009, 0x1001, "UN", -1).Raw(inside).US(0x0028, 0x0011, 1).Bytes(),
         "sequence stored as UN", 4});
    const std::string item = Stream_Builder(0).Item(10).US(0x0028, 0x0010, 1).Bytes();
    faults.push_back({"UN of given length",
                      start().Element(0x0008, 0x1140, "UN", item).US(0x0028, 0x0011, 1).Bytes(),
                      "sequence stored as UN", 4});
    return faults;
}

TEST(Reading, NamesEachFaultAndKeepsTheRest)
{
    for (const Fault& fault : Faults()) {
        SCOPED_TRACE(fault.name);
        Findings findings;
        const Library_Session session(findings);
        const Data_Set set = Read(fault.bytes, findings);
        Elements elements;
        Collect(set, set.records.Head(), "", elements);
        EXPECT_EQ(elements.size(), fault.elements) << All_Texts(findings);
        EXPECT_THAT(All_Texts(findings), HasSubstr(fault.expected));
        const Mended once = Mend_Bytes(fault.bytes);
        ASSERT_TRUE(once.done) << once.findings;
        const Mended twice = Mend_Bytes(once.bytes);
        EXPECT_EQ(twice.findings, "");
        EXPECT_TRUE(twice.bytes == once.bytes);
    }
}

TEST(Reading, KeepsWhatPrecedesACutAtEveryLength)
{
    for (const unsigned char code : Codes) {
        const std::string whole = Sound_File(code);
        Findings none;
        const Library_Session outer(none);
        const Data_Set full = Read(whole, none);
        std::map<unsigned int, std::string> ends;
        For_Each_Record(full.records.Head(), [&](const DICOM_List& record) {
            if (!Is_Delimiter(record) && record.size >= 0) {
                const Bytes value = full.Value(record);
                ends[record.data_pos + static_cast<unsigned int>(record.size)] =
                    Tag_Text(Tag_Of(record)) + std::string(value.begin(), value.end());
            }
        });
        ASSERT_EQ(ends.size(), 14U);
        std::set<std::size_t> boundaries;
        for (const DICOM_List& record : Records(full.records.Head())) {
            boundaries.insert(record.pos);
        }
        for (std::size_t size = 0; size < whole.size(); ++size) {
            const std::string cut = whole.substr(0, size);
            Findings findings;
            const Library_Session session(findings);
            Data_Set set = Read(cut, findings);
            std::vector<std::string> kept;
            For_Each_Record(set.records.Head(), [&](const DICOM_List& record) {
                const Bytes value = set.Value(record);
                kept.push_back(Tag_Text(Tag_Of(record)) + std::string(value.begin(), value.end()));
            });
            for (const auto& [end, element] : ends) {
                if (end <= size) {
                    ASSERT_THAT(kept, ::testing::Contains(element)) << "cut at " << size;
                }
            }
            // A cut between two elements of the top level leaves a sound, shorter file.
            ASSERT_TRUE(!findings.All().empty() || boundaries.count(size) == 1) << size;
            Encoded_File file;
            Mend(set, {}, findings, file);
        }
    }
}

TEST(Reading, GivesTheSameFromMemoryAndByDescriptor)
{
    const Folder folder;
    const std::string path = folder / "access.dcm";
    for (const unsigned char code : Codes) {
        const std::string bytes = Sound_File(code);
        std::ofstream(path, std::ios::binary) << bytes;
        std::vector<Elements> results;
        for (const std::int64_t most_in_memory : {Source::Small_File, std::int64_t{0}}) {
            Findings findings;
            const Library_Session session(findings);
            std::string error;
            const auto source = Source::Open(path, error, most_in_memory);
            ASSERT_NE(source, nullptr) << error;
            const Data_Set set = Read_Data_Set(source, findings);
            EXPECT_EQ(Changes_And_Errors(findings), "");
            results.emplace_back();
            Collect(set, set.records.Head(), "", results.back());
            EXPECT_EQ(source->Image() == nullptr, most_in_memory == 0);
        }
        EXPECT_EQ(results[0].size(), 15U);
        EXPECT_EQ(results[0], results[1]);
    }
}

TEST(Reading, SurvivesAFileThatIsCutMeanwhile)
{
    const Folder folder;
    const std::string path = folder / "cut.dcm";
    const std::string bytes = Sound_File(DICOM_Order_Explicit_VR);
    const std::string whole = Mend_Bytes(bytes).bytes;
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
}

TEST(Reading, RefusesABombOfZeros)
{
    // 64 MiB are always allowed; half as many more deflate to a tenth of a megabyte.
    Findings findings;
    const Library_Session session(findings);
    const std::string head = Part10_Head(Deflated_Little_UID);
    Stream_Builder s;
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Header(0x7FE0, 0x0010, "OB", 96 << 20);
    const std::string plain = s.Bytes() + std::string(std::size_t{96} << 20, '\0');
    Bytes deflated;
    ASSERT_TRUE(Deflate(As_Image(plain), deflated));
    const std::string file = head + std::string(deflated.begin(), deflated.end());
    const Data_Set set = Read(file, findings);
    EXPECT_LT(set.source->Size(), std::int64_t{80} << 20);
    EXPECT_THAT(All_Texts(findings), HasSubstr("out of proportion"));
    EXPECT_NE(Find_Record(set.records.Head(), {0x0008, 0x0018}), nullptr);
}

// ---- mending ----

TEST(Mending, LeavesSoundFilesAsTheyAre)
{
    for (const unsigned char code : Codes) {
        const std::string bytes = Sound_File(code);
        const Mended mended = Mend_Bytes(bytes);
        ASSERT_TRUE(mended.done);
        EXPECT_EQ(mended.findings, "") << static_cast<int>(code);
        EXPECT_TRUE(mended.bytes == bytes) << static_cast<int>(code);
    }
}

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
            const Mended mended = Mend_Bytes(Sound_File(from), options);
            ASSERT_TRUE(mended.done);
            // Implicit VR does not tell the VR of a private element, so it stays unknown.
            EXPECT_EQ(Elements_Of(mended.bytes), Elements_Of(Sound_File(to)));
            EXPECT_TRUE(mended.bytes == Sound_File(to))
                << static_cast<int>(from) << " to " << static_cast<int>(to);
        }
    }
}

TEST(Mending, FollowsItsOptions)
{
    Mend_Options options;
    options.drop_private = true;
    Mended mended = Mend_Bytes(Sound_File(8), options);
    EXPECT_THAT(mended.findings, HasSubstr("0009,1001 private element is left out"));
    EXPECT_EQ(Elements_Of(mended.bytes).size(), 13U);

    options = {};
    options.group_lengths = true;
    options.defined_lengths = true;
    mended = Mend_Bytes(Sound_File(8), options);
    EXPECT_EQ(mended.findings, "");
    EXPECT_THAT(mended.bytes, ::testing::Not(HasSubstr("\xFF\xFF\xFF\xFF")));
    const Elements elements = Elements_Of(mended.bytes);
    EXPECT_EQ(elements.size(), 15U + 5U);
    EXPECT_THAT(elements, ::testing::Contains(std::string("7fe0,0000 \x14\0\0\0", 14)));
}

TEST(Mending, CompletesTheFileMetaInformation)
{
    const Mended mended = Mend_Bytes(Sound_Data_Set(8));
    ASSERT_TRUE(mended.done);
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read(mended.bytes, findings);
    std::vector<std::string> meta;
    for (const DICOM_List& record : Records(set.meta.Head())) {
        meta.push_back(Tag_Text(Tag_Of(record)) + " " + Trimmed(set.Value(record)));
    }
    EXPECT_THAT(meta, ::testing::ElementsAre(
                          ::testing::StartsWith("0002,0000"), std::string("0002,0001 \1"),
                          "0002,0002 1.2.840.10008.5.1.4.1.1.7", "0002,0003 1.2.3.4",
                          "0002,0010 1.2.840.10008.1.2.1", "0002,0012 1.2.999.0.1.4400321.7.512.1",
                          "0002,0013 LIB_DICOM_21_9"));
}

TEST(Mending, KeepsFragmentsAndMovesTheirOffsets)
{
    Stream_Builder s;
    s.Raw(Part10_Head("1.2.840.10008.1.2.4.50"));
    s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0028, 0x0008, "IS", "2 ").Header(0x7FE0, 0x0010, "OB", -1);
    s.Item(8).Int(0).Int(11);
    s.Item(3).Raw("abc").Item(2).Raw("de").Sequence_End();
    const Mended mended = Mend_Bytes(s.Bytes());
    ASSERT_TRUE(mended.done);
    Stream_Builder expected;
    expected.Item(8).Int(0).Int(12);
    expected.Item(4).Raw(std::string_view("abc\0", 4)).Item(2).Raw("de").Sequence_End();
    EXPECT_THAT(mended.bytes, ::testing::EndsWith(expected.Bytes()));
    EXPECT_THAT(mended.findings, HasSubstr("fragment of odd length"));
    EXPECT_EQ(Mend_Bytes(mended.bytes).findings, "");
}

TEST(Mending, EncapsulatesACompressedFrameThatIsNot)
{
    Stream_Builder s;
    s.Raw(Part10_Head("1.2.840.10008.1.2.4.50"));
    s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    const std::string_view jpeg("\xFF\xD8\xFF\xC0\0\4ab\xFF\xDA\0\4ab\xFF\xD9", 16);
    s.Element(0x7FE0, 0x0010, "OB", jpeg);
    const Mended mended = Mend_Bytes(s.Bytes());
    Stream_Builder expected;
    expected.Header(0x7FE0, 0x0010, "OB", -1).Item(0).Item(16).Raw(jpeg).Sequence_End();
    EXPECT_THAT(mended.bytes, ::testing::EndsWith(expected.Bytes()));
    EXPECT_EQ(Mend_Bytes(mended.bytes).findings, "");

    Mend_Options options;
    options.syntax = Output_Syntax::Explicit_Little;
    EXPECT_FALSE(Mend_Bytes(s.Bytes(), options).done);
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
    const Mended mended = Mend_Bytes(s.Bytes());
    ASSERT_TRUE(mended.done) << mended.findings;

    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read(mended.bytes, findings);
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
    EXPECT_EQ(Mend_Bytes(mended.bytes).findings, "");
}

TEST(Mending, KeepsEmptyItemsInTheirPlaces)
{
    for (const int length : {DICOM_Undefined_Length, 0}) {
        Stream_Builder item;
        item.Item(length).Raw(length == 0 ? "" : Stream_Builder().Item_End().Bytes());
        Stream_Builder s;
        s.Raw(Sound_File(8).substr(0, Sound_File(8).find("\x08\0\x60"s)));
        s.Sequence(0x0008, 0x1140).Raw(item.Bytes()).Item();
        s.Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.6")).Item_End();
        s.Raw(item.Bytes()).Sequence_End();
        const Mended mended = Mend_Bytes(s.Bytes());
        EXPECT_EQ(mended.findings, "");
        EXPECT_THAT(Elements_Of(mended.bytes),
                    ::testing::Contains(::testing::StartsWith("0008,1140[1]/0008,1155")));
        Stream_Builder end;
        end.Item_End().Item().Item_End().Sequence_End();
        EXPECT_THAT(mended.bytes, ::testing::EndsWith(end.Bytes()));
        EXPECT_TRUE(Mend_Bytes(mended.bytes).bytes == mended.bytes);
    }
}

TEST(Mending, RefusesToWriteNothing)
{
    const Mended mended = Mend_Bytes(Part10_Head(Explicit_Little_UID));
    EXPECT_FALSE(mended.done);
    EXPECT_THAT(mended.findings, HasSubstr("there is nothing to write"));
}

TEST(Mending, NestsAsDeepAsTheFile)
{
    for (const int levels : {9, 10, 300}) {
        Stream_Builder s;
        s.Raw(Part10_Head(Explicit_Little_UID))
            .Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
        for (int i = 0; i < levels; ++i) {
            s.Sequence(0x0008, 0x1140).Item();
        }
        s.US(0x0028, 0x0010, 1);
        for (int i = 0; i < levels; ++i) {
            s.Item_End().Sequence_End();
        }
        const Mended mended = Mend_Bytes(s.Bytes());
        EXPECT_TRUE(mended.done);
        EXPECT_THAT(mended.findings, ::testing::Not(HasSubstr("0008,1140")));
        EXPECT_EQ(Elements_Of(mended.bytes), Elements_Of(s.Bytes()));
    }
}

// ---- samples ----

std::string Contents(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

// ---- checking ----

/** Everything found in a file, with the kind of each finding in front. */
std::string Check_Bytes(const std::string& bytes, bool show_values = true)
{
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read(bytes, findings);
    Check(set, {}, findings);
    std::string texts;
    for (const Finding& finding : findings.All()) {
        texts += Severity_Name(Severity_Of(finding)) + " "s + Kind_Of(finding).name + " " +
                 Tag_Text(finding.tag) + " " + Shown_Text(finding, show_values) + "\n";
    }
    return texts;
}

TEST(Checking, FindsEachFaultAndNothingInSoundFiles)
{
    for (const unsigned char code : Codes) {
        EXPECT_EQ(Check_Bytes(Sound_File(code)), "");
    }
    for (const Fault& fault : Faults()) {
        SCOPED_TRACE(fault.name);
        const std::string found = Check_Bytes(fault.bytes);
        EXPECT_THAT(found, HasSubstr(fault.expected));
        EXPECT_THAT(found, ::testing::Not(HasSubstr(" other ")));
    }
}

std::string Damaged_Values()
{
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0008, 0x0020, "DA", "1997.04.24").Element(0x0008, 0x0060, "CS", "ct");
    s.Element(0x0009, 0x000F, "LO", "AB").Element(0x0009, 0x0FFF, "LO", "AB");
    s.Element(0x0009, 0x1001, "LO", "AB").Element(0x0010, 0x0010, "PN", "DOE^JANE\0\0"s);
    s.Element(0x0010, 0x1010, "AS", "5 ").Element(0x0018, 0x0050, "DS", "1.5\\");
    s.Element(0x0020, 0x0013, "IS", "3.0 ").Element(0x0028, 0x0010, "US", "abcd");
    s.Element(0x0028, 0x0008, "IS", "99999999999 ");
    return s.US(0x0028, 0x0004, 1).US(0x0028, 0x0002, 1).Bytes();
}

TEST(Checking, SaysWhatMendingRepairs)
{
    const std::string found = Check_Bytes(Damaged_Values());
    for (const char* const line :
         {"warning old-syntax 0008,0020 ", "error characters 0008,0060 ",
          "warning creator 0009,000f private element outside all blocks",
          "warning creator 0009,0fff private element outside all blocks",
          "warning creator 0009,1001 ", "warning padding 0010,0010 ", "warning form 0010,1010 ",
          "error multiplicity 0018,0050 ", "error integer 0020,0013 ",
          "error multiplicity 0028,0010 ", "error range 0028,0008 ", "error order 0028,0008 "}) {
        EXPECT_THAT(found, HasSubstr(line));
    }
    // Mending says nothing else of the values.
    std::istringstream changes(Mend_Bytes(Damaged_Values()).findings);
    for (std::string line; std::getline(changes, line);) {
        EXPECT_NE(found.find(line), found.npos) << line << "\n" << found;
    }
}

TEST(Checking, HidesValuesThatMayIdentifyAPerson)
{
    const std::string hidden = Check_Bytes(Damaged_Values(), false);
    EXPECT_THAT(hidden, ::testing::Not(HasSubstr("DOE")));
    EXPECT_THAT(hidden, ::testing::Not(HasSubstr("1997")));
    EXPECT_THAT(hidden, HasSubstr("padding 0010,0010 wrong padding, put right\n"));
    EXPECT_THAT(hidden, ::testing::Not(HasSubstr("\"ct\"")));
    // A value cannot pass itself off as a message of another kind.
    Stream_Builder s;
    s.Raw(Part10_Head(Explicit_Little_UID));
    s.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3.4"));
    s.Element(0x0010, 0x0010, "PN", "occurs twice Retired from DICOM\0"s);
    EXPECT_THAT(Check_Bytes(s.Bytes(), false), ::testing::Not(HasSubstr("twice")));
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

/** Extracts every value in every typed form, and returns how many forms gave a result. */
int Extract_All(const std::string& bytes)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read(bytes, findings);
    // Values that were left in the source are fetched from the image that the settings name.
    auto* const image = const_cast<unsigned char*>(set.source->Image());
    DICOM_Lib_File_Name = reinterpret_cast<wchar_t*>(image);
    DICOM_Lib_File_Source = NEMA_Source_Memory;
    int results = 0;
    For_Each_Record(set.records.Head(), [&](DICOM_List& record) {
        results += NEMA_Value_Str(nullptr, &record, 0) != nullptr ? 1 : 0;
        results += NEMA_Value_Int(nullptr, &record, 0) != nullptr ? 1 : 0;
        results += NEMA_Value_Float(nullptr, &record, 0) != nullptr ? 1 : 0;
        results += NEMA_Value_Hex(nullptr, &record, 0) != nullptr ? 1 : 0;
        results += NEMA_Value_Name(nullptr, &record, 0) != nullptr ? 1 : 0;
        results += NEMA_Value_Date(nullptr, &record, 0) != nullptr ? 1 : 0;
        results += NEMA_Value_Time(nullptr, &record, 0) != nullptr ? 1 : 0;
    });
    DICOM_Lib_File_Name = nullptr;
    NEMA_Value_Cleanup();
    return results;
}

/** Faults read "text xN (gggg,eeee)@0xHEX; ...": the check tells of each at its place. */
void Compare_With_Faults(const std::string& bytes, const std::string& faults)
{
    Findings findings;
    const Library_Session session(findings);
    Data_Set set = Read(bytes, findings);
    Check(set, {}, findings);
    if (faults == "none found") {
        for (const Finding& finding : findings.All()) {
            EXPECT_NE(Severity_Of(finding), Severity::Error) << finding.text;
        }
    }
    for (std::size_t at = faults.find(")@0x"); at != faults.npos;
         at = faults.find(")@0x", at + 1)) {
        const std::string tag = faults.substr(at - 9, 9);
        const long long offset = std::strtoll(faults.c_str() + at + 4, nullptr, 16);
        EXPECT_TRUE(std::any_of(
            findings.All().begin(), findings.All().end(),
            [&](const Finding& finding) {
                // A header that is mended may hold what was one by itself.
                const bool here = (finding.offset <= offset && offset - finding.offset < 12) ||
                                  strcasecmp(Tag_Text(finding.tag).c_str(), tag.c_str()) == 0;
                return here && Severity_Of(finding) != Severity::Info;
            }))
            << faults.substr(0, at + 10);
    }
}

TEST(Samples, AgreeWithTheirManifestAndMendToThemselves)
{
    const char* const folder = std::getenv("LIB_DICOM_SAMPLES");
    if (folder == nullptr) {
        GTEST_SKIP() << "LIB_DICOM_SAMPLES names no folder of samples";
    }
    std::ifstream manifest(fs::path(folder) / "manifest.tsv");
    std::string line;
    std::getline(manifest, line);
    std::map<std::string, std::size_t> column;
    for (const std::string& name : Fields(line)) {
        column.emplace(name, column.size());
    }
    int files = 0;
    int compared = 0;
    while (std::getline(manifest, line)) {
        const std::vector<std::string> row = Fields(line);
        const std::string name = row[column["file"]];
        SCOPED_TRACE(name);
        const std::string bytes = Contents((fs::path(folder) / name).string());
        ASSERT_FALSE(bytes.empty());
        ++files;
        const std::string total = row[column["pydicom_total"]];
        if (total == row[column["dcmdump_total"]] && total != "-") {
            EXPECT_EQ(std::to_string(Elements_Of(bytes).size()), total);
            ++compared;
        }
        EXPECT_GT(Extract_All(bytes), 0);
        Compare_With_Faults(bytes, row[column["known_faults"]]);
        const Mended once = Mend_Bytes(bytes);
        ASSERT_TRUE(once.done) << once.findings;
        const Mended twice = Mend_Bytes(once.bytes);
        EXPECT_EQ(twice.findings, "");
        EXPECT_TRUE(twice.bytes == once.bytes);
    }
    std::printf("samples used: %d files, %d element counts compared\n", files, compared);
    EXPECT_GT(files, 0);
}

}  // namespace
