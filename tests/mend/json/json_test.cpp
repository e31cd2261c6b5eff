// The DICOM JSON model of every VR at its limits, and what is said of texts that are none.
#include "mend/json/base64.h"
#include "mend/json/value_forms.h"
#include "mend/reading/tree.h"
#include "support/case_page.h"
#include "support/json_round_trip.h"
#include "support/read_in_memory.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

std::string Kept_Lines(const Findings& findings)
{
    std::string lines;
    for (const Finding& finding : findings.All()) {
        lines += Finding_Text(finding);
    }
    return lines;
}

/** Each value as that of (0011,1010) goes to JSON and back. */
TEST(JSON, HoldsTheValuesOfEveryVR)
{
    For_Each_Case("mend/json/json.cases", "values", 4, [](const Case_Row& row) {
        Findings findings;
        const Library_Session session(findings);
        Stream_Builder stream;
        stream.Element(0x0011, 0x0010, "LO", "ME").Element(0x0011, 0x1010, row[0], row[1]);
        const std::string file = Part10_Head(Explicit_Little_UID) + stream.Bytes();
        const Data_Set set = Read_Data_Set(Source_Of(file), findings);
        Findings said;
        const std::string text = JSON_Of(set, said);
        EXPECT_EQ(text, R"({"00110010":{"vr":"LO","Value":["ME"]},"00111010":{"vr":")" + row[0] +
                            '"' + row[2] + "}}");
        EXPECT_EQ(Kept_Lines(said), row[3].empty() ? "" : row[3] + "\n");
        const Data_Set back = From_JSON(text, "test", findings);
        const DICOM_List* const record = Find_Record(back.records.Head(), {0x0011, 0x1010});
        ASSERT_NE(record, nullptr);
        const Bytes bytes = back.Value(*record);
        const std::string value(bytes.begin(), bytes.end());
        const bool is_padded = Find_JSON_Form(VR_Of(*record))->width == 1;
        EXPECT_EQ(is_padded ? Without_Padding(value) : value.substr(0, row[1].size()),
                  is_padded ? Without_Padding(row[1]) : row[1]);
        EXPECT_EQ(value.size() % 2, 0U);
    });
}

TEST(JSON, SaysWhatIsWrongAndKeepsTheRest)
{
    for (const std::string table : {"texts", "elements"}) {
        For_Each_Case("mend/json/json.cases", table, 3, [&](const Case_Row& row) {
            Findings findings;
            const Library_Session session(findings);
            const bool is_text = table == "texts";
            const std::string element =
                "{\"00111010\":\n" + row[0] + ",\"00111011\":{\"vr\":\"LO\"}}";
            const Data_Set set = From_JSON(is_text ? row[0] : element, "test", findings);
            EXPECT_EQ(Kept_Lines(findings), row[1].empty() ? "" : row[1] + "\n");
            int elements = 0;
            For_Each_Element(set.records.Head(),
                             [&](const DICOM_List&, const Path&) { ++elements; });
            EXPECT_EQ(elements, row.Number(2));
        });
    }
}

/** The values of an element in base64, and what is said of it. */
std::string Taken(const std::string& vr, const std::string& letters)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set =
        From_JSON(R"({"00111010" : {"InlineBinary" : ")" + letters + R"(", "vr": ")" + vr + "\"}}",
                  "", findings);
    std::string text;
    Tree_Walk walk(set.records.Head());
    while (const DICOM_List* const record = walk.Next()) {
        const Bytes bytes = set.Value(*record);
        text += std::to_string(bytes.size()) + " bytes" +
                (bytes.empty() ? "" : " to " + std::to_string(bytes.back())) + "; ";
    }
    return text + Kept_Lines(findings);
}

/** Long base64 is decoded aside, unless there is anything wrong with it. */
TEST(JSON, TakesLongBinaryValues)
{
    const std::string zeros(65536, 'A');
    const std::string wrong =
        "error json (0011,1010) line 1, column 33: InlineBinary is no base64\n";
    const std::pair<const char*, std::string> rows[] = {
        {"", "49152 bytes to 0; "},
        {"AP8=", "49154 bytes to 255; "},
        {"/w==", "49154 bytes to 0; "},
        {"\\/w==", "49154 bytes to 0; "},
        {"AAD/", "49156 bytes to 0; "},
        {"AAB=", wrong},
        {"AAA", wrong},
        {"A===", wrong},
        {"=AAA", wrong},
        {"!AAA", wrong},
    };
    for (const auto& [end, expected] : rows) {
        EXPECT_EQ(Taken("UN", zeros + end), expected) << end;
    }
    Stream_Builder s;
    s.Item(0).Item(50001).Raw(std::string(50000, 'x') + "y").Sequence_End();
    const std::string& stream = s.Bytes();
    std::string letters;
    Base64_Encoder encoder;
    encoder.Put({reinterpret_cast<const unsigned char*>(stream.data()), stream.size()}, letters);
    encoder.Finish(letters);
    EXPECT_EQ(Taken("OB", letters), "0 bytes; 0 bytes; 50001 bytes to 121; ");
    EXPECT_EQ(Taken("UN", letters), std::to_string(stream.size() + 1) + " bytes to 0; ");
}

/** Three letters must not cost a record each without end. */
TEST(JSON, HoldsAMillionEmptyItems)
{
    constexpr std::size_t Most = 1'000'000;
    for (const std::size_t count : {Most, Most + 1}) {
        std::string items;
        items.reserve(3 * count);
        for (std::size_t i = 0; i < count; ++i) {
            items += i == 0 ? "{}" : ",{}";
        }
        const std::string text =
            R"({"00111009":{"vr":"LO"},"00111010":{"vr":"SQ","Value":[)" + items + "]}}";
        Findings findings;
        const Library_Session session(findings);
        const Data_Set set = From_JSON(text, "test", findings);
        const DICOM_List* const sequence = Find_Record(set.records.Head(), {0x0011, 0x1010});
        const bool fits = count == Most;
        EXPECT_EQ(Kept_Lines(findings),
                  fits ? ""
                       : "error json (0011,1010) line 1, column 3000056: there are more than a "
                         "million empty items\n");
        EXPECT_EQ(sequence != nullptr ? Item_Count(*sequence) : 0, fits ? Most : 0);
    }
}

/** In both byte orders: what is not little endian in the file cannot be a reference to it. */
TEST(JSON, RefersToLongValuesWhereTheFileHoldsThem)
{
    For_Each_Case("mend/json/json.cases", "bulk", 3, [](const Case_Row& row) {
        Findings findings;
        const Library_Session session(findings);
        Stream_Builder stream(static_cast<unsigned char>(row.Number(1)));
        stream.Element(0x0011, 0x0010, "LO", "ME").Element(0x0011, 0x1010, "OB", "\1\2\3\4");
        stream.Element(0x0011, 0x1011, "OW", "\1\2\3\4\5\6");
        if (Encoding_Of(row[0]).encapsulated) {
            stream.Header(0x7FE0, 0x0010, "OB", DICOM_Undefined_Length).Item(0);
            stream.Item(4).Raw("\xff\xd8\xff\xd9").Sequence_End();
        }
        const std::string file = Part10_Head(row[0]) + stream.Bytes();
        const Data_Set set = Read_Data_Set(Source_Of(file), findings);
        EXPECT_EQ(
            JSON_Of(set, findings, {.inline_limit = 4, .bulk_base = "file:a", .pretty = false}),
            row[2]);
        EXPECT_EQ(Kept_Lines(findings), "");
    });
}

/** The caller's bytes are the value, and those of encapsulated data become its fragments. */
TEST(JSON, AsksItsCallerForValuesThatStandElsewhere)
{
    Findings findings;
    const Library_Session session(findings);
    const Bulk_Reader bulk = [](std::string_view uri) {
        const std::string stream = "\xfe\xff\0\xe0\2\0\0\0ab\xfe\xff\xdd\xe0\0\0\0\0"s;
        return uri == "a" ? std::optional(Bytes(stream.begin(), stream.end())) : std::nullopt;
    };
    const Data_Set set = From_JSON(R"({"00111010":{"vr":"OB","BulkDataURI":"a"},)"
                                   R"("00111011":{"vr":"UN","BulkDataURI":"a"},)"
                                   R"("00111012":{"vr":"UN","BulkDataURI":"b"}})",
                                   "test", findings, bulk);
    EXPECT_EQ(Kept_Lines(findings),
              "error json (0011,1012) line 1, column 106: BulkDataURI leads to a value that is not "
              "there\n");
    const DICOM_List* const fragments = Find_Record(set.records.Head(), {0x0011, 0x1010});
    ASSERT_NE(fragments, nullptr);
    ASSERT_EQ(Item_Count(*fragments), 1);
    EXPECT_EQ(Trimmed(set.Value(*fragments->item[0])), "ab");
    const DICOM_List* const bytes = Find_Record(set.records.Head(), {0x0011, 0x1011});
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes->size, 18);
}

}  // namespace
