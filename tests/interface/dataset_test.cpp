// The interface of the mending layer as its users have it: linked with the shared library, through the
// C++ header, and by the C functions below it where these have a contract of their own.
#include "support/case_page.h"

#include <Lib_DICOM_Mend/dataset.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <thread>

namespace {

using namespace dicom_mend;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

using Buffer = std::vector<unsigned char>;

Buffer File(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

const Buffer& Damaged()
{
    static const Buffer bytes = File(DAMAGED_FILE);
    return bytes;
}

constexpr char Page[] = "interface/dataset.cases";

TEST(Dataset, TakesTextsByTheirVR)
{
    Dataset ds;
    For_Each_Case(Page, "texts", 6, [&](const Case_Row& row) {
        ds.set(*parse_tag(row[0]), row[2], {}, row[1].empty() ? nullptr : row[1].c_str());
    });
    Session session;
    const Dataset again = session.read(session.encode(ds));
    For_Each_Case(Page, "texts", 6, [&](const Case_Row& row) {
        for (const Dataset* each : {&std::as_const(ds), &again}) {
            std::string values;
            for (const std::string& value : (*each)[row[0]].texts()) {
                values += (values.empty() ? "" : "/") + value;
            }
            EXPECT_EQ(values, row[3]);
            EXPECT_EQ((*each)[row[0]].length(), static_cast<std::size_t>(row.Number(4)));
            EXPECT_EQ((*each)[row[0]].is_harmless(), row[5] == "yes") << row[0];
        }
    });
    EXPECT_EQ(session.outcome(), 0) << session.report("made");
}

TEST(Dataset, TakesNumbersThatFit)
{
    For_Each_Case(Page, "numbers", 3, [](const Case_Row& row) {
        Dataset ds;
        const Tag tag = {0x0009, 0x1001};
        const double number = std::stod(row[1]);
        if (row[2] == "refused") {
            EXPECT_THROW(ds.set(tag, std::span(&number, 1), {}, row[0].c_str()), Error);
            EXPECT_FALSE(ds["0009,1001"]);
            return;
        }
        ds.set(tag, std::span(&number, 1), {}, row[0].c_str());
        const double back = ds["0009,1001"].number().value();
        const double expected = std::stod(row[2]);
        EXPECT_TRUE(back == expected || std::abs(back / expected - 1) < 1e-10) << back;
        EXPECT_LE(ds["0009,1001"].length(), 16U);
    });
}

TEST(Dataset, LeadsByPathsAndKeywords)
{
    Dataset ds;
    const Tag sequence = *parse_tag("RequestAttributesSequence");
    ds.add_item(sequence);
    const Item second = ds.add_item(sequence);
    ds.set("ScheduledProcedureStepID", "A1", second);
    ds.set(*parse_tag("RequestedProcedureID"), "B2", second);
    ds.set("PatientName", "Doe^Jane");
    EXPECT_EQ(ds.at("0040,0275[1]/0040,0009").text(), "A1");
    EXPECT_EQ(ds["RequestAttributesSequence[1]/RequestedProcedureID"].text(), "B2");
    EXPECT_EQ(ds["(0010,0010)"].keyword(), "PatientName");
    EXPECT_EQ(ds["00100010"].name(), "Patient's Name");
    EXPECT_EQ(ds["0040,0275"].items().size(), 2U);
    EXPECT_EQ(ds["0040,0275"].items()[1]["0040,1001"].text(), "B2");
    For_Each_Case(Page, "paths", 2, [&](const Case_Row& row) {
        try {
            ds.at(row[0]);
            ADD_FAILURE();
        } catch (const Error& error) {
            EXPECT_EQ(error.status(),
                      row[1] == "not found" ? DICOM_MEND_NOT_FOUND : DICOM_MEND_BAD_ARGUMENT);
        }
        EXPECT_FALSE(ds[row[0]]);
    });
    std::string tree;
    ds.walk([&tree](const Element& element, std::size_t depth) {
        tree += std::to_string(depth) + element.vr() + " ";
    });
    EXPECT_EQ(tree, "0PN 0SQ 1SH 1SH ");
    EXPECT_TRUE(ds.remove(sequence));
    EXPECT_FALSE(ds.remove(sequence));
    EXPECT_EQ(std::distance(ds.begin(), ds.end()), 1);
}

TEST(Dataset, IsAValue)
{
    Dataset ds;
    ds.add_item({0x0040, 0x0275});
    ds.set("PatientID", "1");
    Dataset copy = ds;
    copy.set("PatientID", "2");
    copy.set("ScheduledProcedureStepID", "X", copy["0040,0275"].items()[0]);
    EXPECT_EQ(ds["PatientID"].text(), "1");
    EXPECT_FALSE(ds["0040,0275[0]/0040,0009"]);
    EXPECT_EQ(copy["0040,0275[0]/0040,0009"].text(), "X");
    ds = copy;
    EXPECT_EQ(ds["PatientID"].text(), "2");
}

TEST(Dataset, KeepsToTheCharacterSetThatIsDeclared)
{
    Dataset ds;
    ds.set("PatientID", "1");
    ds.set("PatientName", "Müller");
    EXPECT_EQ(ds["SpecificCharacterSet"].text(), "ISO_IR 192");
    EXPECT_EQ(ds["PatientName"].text(), "Müller");
    ds.set("SpecificCharacterSet", "ISO_IR 100");
    EXPECT_THROW(ds.set("PatientName", "Müller"), Error);
    const Buffer latin = {'M', 0xFC};
    ds.set_bytes({0x0010, 0x0010}, latin);
    EXPECT_EQ(ds["PatientName"].text(), "Mü");
    EXPECT_THROW(ds.set("Modality", "Ü"), Error);
}

TEST(Dataset, IsChangedByKeywordsAndNumbers)
{
    Dataset ds;
    ds.set("Rows", 512);
    ds.set({0x0028, 0x0030}, 0.5);
    ds.set("RescaleSlope", 2.5F);
    const Item item = ds.add_item("RequestAttributesSequence");
    ds.set("0040,0009", "A", item);
    ds.set("0009,1001", std::numeric_limits<std::uint64_t>::max(), {}, "UV");
    ds.set("0009,1002", std::uint16_t{7}, {}, "UV");
    EXPECT_EQ(ds["0009,1001"].text(), "18446744073709551615");
    EXPECT_EQ(ds["0009,1002"].text(), "7");
    EXPECT_EQ(ds["Rows"].integer(), 512);
    EXPECT_EQ(ds["PixelSpacing"].number(), 0.5);
    EXPECT_EQ(ds["RescaleSlope"].text(), "2.5");
    EXPECT_EQ(ds["0040,0275[0]/ScheduledProcedureStepID"].text(), "A");
    EXPECT_THROW(ds.set("rows", 1), Error);
    EXPECT_THROW(ds.set("Rows", -1), Error);
    const std::string json = ds.to_json();
    EXPECT_EQ(Dataset::from_json(json).to_json(), json);
    EXPECT_THROW(Dataset::from_json("{"), Error);
    EXPECT_TRUE(ds.remove("Rows"));
    EXPECT_FALSE(ds.remove("Rows"));
}

TEST(Session, FindsWhatTheCommandLineFindsAndChangesNothingByIt)
{
    Session session;
    const Dataset ds = session.read(Damaged());
    const std::string date = ds["StudyDate"].text().value();
    session.check(ds);
    EXPECT_EQ(ds["StudyDate"].text(), date);
    EXPECT_EQ(session.outcome(), 1);
    const std::vector<Finding> found = session.findings();
    const auto old_date = std::find_if(found.begin(), found.end(),
                                       [](const Finding& f) { return f.path == "0008,0020"; });
    ASSERT_NE(old_date, found.end());
    EXPECT_EQ(old_date->kind, "old-syntax");
    EXPECT_EQ(old_date->severity, DICOM_MEND_SEVERITY_WARNING);
    EXPECT_EQ(old_date->level, DICOM_MEND_CHANGE);
    EXPECT_EQ(old_date->message, "date in another form");
    EXPECT_EQ(old_date->before, "1997.06.24");
    EXPECT_EQ(old_date->after, "19970624");
    EXPECT_FALSE(old_date->is_harmless);
    EXPECT_EQ(old_date->clause, "PS3.5 6.2");
    EXPECT_EQ(old_date->length, 10);
    EXPECT_THAT(session.report("a.dcm"), HasSubstr("a.dcm: warning: (0008,0020) Study Date"));
    EXPECT_THAT(session.report("a.dcm", DICOM_MEND_JSON), HasSubstr(R"("kind":"old-syntax")"));
    EXPECT_THAT(session.report("a.dcm", DICOM_MEND_SARIF), HasSubstr(R"("version":"2.1.0")"));
    session.clear_findings();
    EXPECT_EQ(session.outcome(), 0);
    const Buffer mended = session.encode(ds);
    EXPECT_EQ(session.outcome(), 1);
    session.clear_findings();
    const Dataset clean = session.read(mended);
    EXPECT_EQ(clean["StudyDate"].text(), "19970624");
    EXPECT_EQ(session.encode(clean), mended);
    EXPECT_EQ(session.set(DICOM_MEND_SYNTAX_IMPLICIT_LITTLE).encode(clean).size() % 2, 0U);
    EXPECT_EQ(clean.transfer_syntax(), "1.2.840.10008.1.2.1");
}

TEST(Session, CompletesAndTakesBack)
{
    Session session;
    session.set(DICOM_MEND_RECORD);
    Dataset ds = session.read(Damaged());
    session.mend(ds);
    EXPECT_EQ(ds["StudyDate"].text(), "19970624");
    Dataset recorded = session.read(session.encode(ds));
    session.undo(recorded);
    EXPECT_EQ(recorded["StudyDate"].text(), "1997.06.24");
    EXPECT_THROW(session.undo(recorded), Error);
    session.complete(ds, "SC", "(0008,0064) - -- ! \"WSD\"");
    EXPECT_EQ(ds["ConversionType"].text(), "WSD");
    const auto reason_of = [](auto&& call) {
        try {
            call();
        } catch (const Error& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_THAT(reason_of([&] { session.complete(ds, "NO_SUCH_IOD"); }),
                AllOf(HasSubstr("it is not there: "), HasSubstr("NO_SUCH_IOD")));
    EXPECT_EQ(reason_of([&] { ds.at("x"); }), "x: is no path of tags and keywords");
    EXPECT_EQ(reason_of([&] { ds.at("PatientComments"); }), "PatientComments: is not there");
    EXPECT_EQ(
        reason_of([&] { session.from_json("["); }),
        "it is no DICOM JSON model: line 1, column 2: no JSON: unexpected end of input; expected "
        "'[', '{', or a literal");
    const std::string json = session.to_json(session.read(session.encode(ds)));
    EXPECT_THAT(json, HasSubstr(R"("00080064")"));
    const Dataset from = session.from_json(json);
    EXPECT_EQ(from["ConversionType"].text(), "WSD");
    EXPECT_EQ(session.to_json(from), json);
    EXPECT_THROW(session.from_json("{"), Error);
}

TEST(C_Interface, WritesAsMuchOfATextAsFits)
{
    char buffer[8];
    for (const std::size_t capacity : {0U, 1U, 4U, 8U}) {
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(dicom_mend_tag_keyword(0x00280010, buffer, capacity), 4U);
        EXPECT_EQ(std::string(buffer, capacity),
                  std::string("Rows\0###", 8)
                          .substr(0, capacity > 4   ? capacity
                                     : capacity > 0 ? capacity - 1
                                                    : 0) +
                      std::string(capacity > 0 && capacity <= 4 ? 1 : 0, '\0'));
    }
}

TEST(C_Interface, GivesNumbersInLittleEndianWhateverTheFileHas)
{
    Session session;
    Dataset ds;
    ds.set("Rows", "258");
    ds.set("SOPClassUID", "1.2.840.10008.5.1.4.1.1.7");
    const Dataset big = session.read(session.set(DICOM_MEND_SYNTAX_EXPLICIT_BIG).encode(ds));
    EXPECT_EQ(big.transfer_syntax(), "1.2.840.10008.1.2.2");
    EXPECT_THAT(big["Rows"].bytes(), ElementsAre(2, 1));
    EXPECT_THAT(big["Rows"].bytes(1), ElementsAre(1));
    EXPECT_EQ(big["Rows"].integer(), 258);
}

TEST(Session, ServesSeveralThreads)
{
    std::vector<std::thread> threads;
    std::vector<Buffer> results(4);
    for (Buffer& result : results) {
        threads.emplace_back([&result] {
            Session session;
            for (int i = 0; i < 20; ++i) {
                result = session.encode(session.read(Damaged()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Buffer& result : results) {
        EXPECT_EQ(result, results.front());
        EXPECT_FALSE(result.empty());
    }
}

}  // namespace
