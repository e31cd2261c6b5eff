// The DICOM JSON model of every VR at its limits, and what is said of texts that are none.
#include "mend/json/value_forms.h"
#include "support/json_round_trip.h"
#include "support/read_in_memory.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;
using namespace std::string_literals;

constexpr char Explicit_Little[] = "1.2.840.10008.1.2.1";

std::string Kept_Lines(const Findings& findings)
{
    std::string lines;
    for (const Finding& finding : findings.All()) {
        lines += Finding_Text(finding);
    }
    return lines;
}

std::string Without_Padding(std::string value)
{
    value.resize(value.find_last_not_of(std::string_view(" \0", 2)) + 1);
    return value;
}

struct Row {
    const char* vr;
    std::string value = {};
    /** Behind the VR. */
    std::string json = {};
    std::string finding = {};
};

/** Each value as that of (0011,1010) goes to JSON and back. */
TEST(JSON, HoldsTheValuesOfEveryVR)
{
    const Row rows[] = {
        {"AE", " A  ", R"(,"Value":[" A"])"},
        {"AS", "018M", R"(,"Value":["018M"])"},
        {"AT", "\x10\x00\x0a\xf0"s, R"(,"Value":["0010F00A"])"},
        {"CS", "A\\\\B ", R"(,"Value":["A",null,"B"])"},
        {"CS", "\\", R"(,"Value":[null,null])"},
        {"CS", "A \\B", R"(,"Value":["A ","B"])"},
        {"CS", "  ", ""},
        {"CS", "", ""},
        {"DA", "20260101", R"(,"Value":["20260101"])"},
        {"DS", "1.5\\-2\\0 ", R"(,"Value":[1.5,-2,0])"},
        {"DS", "1.50\\+1\\ 1\\1 ", R"(,"Value":["1.50","+1"," 1",1])"},
        {"DS", "01\\1e5\\-0\\.5", R"(,"Value":["01","1e5","-0",".5"])"},
        {"DS", "0.000123\\0.00001", R"(,"Value":[0.000123,"0.00001"])"},
        {"DS", "12345678901234.5", R"(,"Value":[12345678901234.5])"},
        {"DS", "12345678901234.56\\", R"(,"Value":["12345678901234.56",null])"},
        {"DT", "2026010112+0100 ", R"(,"Value":["2026010112+0100"])"},
        {"FL", "\xcd\xcc\xcc\x3d"s, R"(,"Value":[0.1])"},
        {"FL", "\0\0\0\x80\0\0\xc0\x7f"s, R"(,"Value":[-0.0,"NaN"])"},
        {"FL", "\0\0\x80\x7f\0\0\x80\xff"s, R"(,"Value":["Infinity","-Infinity"])"},
        {"FL", "\1\0\xc0\x7f"s, R"(,"InlineBinary":"AQDAfw==")",
         "kept json (0011,1010) JSON holds no NaN with these bits; the JSON holds its bytes\n"},
        {"FD", "\x9a\x99\x99\x99\x99\x99\xb9\x3f"s, R"(,"Value":[0.1])"},
        {"FD", "\1\0\0\0\0\0\0\0"s, R"(,"Value":[5e-324])"},
        {"IS", "12\\-7\\9007199254740992", R"(,"Value":[12,-7,9007199254740992])"},
        {"IS", "9007199254740993", R"(,"Value":["9007199254740993"])"},
        {"IS", "1.5 \\007", R"(,"Value":["1.5 ","007"])"},
        {"LO", "\"\\\x01 ",
         ""
         R"(,"Value":["\"","\u0001"])"},
        {"LT", " a\\b\r\n", R"(,"Value":[" a\\b\u000d\u000a"])"},
        {"LO", "\xe4 ", R"(,"InlineBinary":"5CA=")",
         "kept character-set-bytes (0011,1010) the text does not convert to UTF-8 without loss; "
         "the "
         "JSON holds its bytes\n"},
        {"OB", "\1\2", R"(,"InlineBinary":"AQI=")"},
        {"OB", "\1\2\3\4", R"(,"InlineBinary":"AQIDBA==")"},
        {"OD", "\1\2\3\4\5\6\7\10", R"(,"InlineBinary":"AQIDBAUGBwg=")"},
        {"OF", "\1\2\3\4", R"(,"InlineBinary":"AQIDBA==")"},
        {"OL", "\1\2\3\4", R"(,"InlineBinary":"AQIDBA==")"},
        {"OV", "\1\2\3\4\5\6\7\10", R"(,"InlineBinary":"AQIDBAUGBwg=")"},
        {"OW", "\1\2\3\4\5\6", R"(,"InlineBinary":"AQIDBAUG")"},
        {"OW", ""},
        {"PN", "A^B=C=D ", R"(,"Value":[{"Alphabetic":"A^B","Ideographic":"C","Phonetic":"D"}])"},
        {"PN", "=C\\\\==D", R"(,"Value":[{"Ideographic":"C"},null,{"Phonetic":"D"}])"},
        {"PN", "A=\\=", R"(,"Value":[{"Alphabetic":"A","Ideographic":""},{"Ideographic":""}])"},
        {"PN", "A=B=C=D ", R"(,"Value":[{"Alphabetic":"A","Ideographic":"B","Phonetic":"C=D"}])"},
        {"SH", "A ", R"(,"Value":["A"])"},
        {"SL", "\xff\xff\xff\xff\0\0\0\x80"s, R"(,"Value":[-1,-2147483648])"},
        {"SS", "\0\x80\xff\x7f"s, R"(,"Value":[-32768,32767])"},
        {"SV", "\0\0\0\0\0\0\x20\0\1\0\0\0\0\0\x20\0"s,
         R"(,"Value":[9007199254740992,"9007199254740993"])"},
        {"SV", "\0\0\0\0\0\0\0\x80"s, R"(,"Value":["-9223372036854775808"])"},
        {"ST", "a\\b ", R"(,"Value":["a\\b"])"},
        {"TM", "1200", R"(,"Value":["1200"])"},
        {"UC", "a\\b ", R"(,"Value":["a","b"])"},
        {"UI", "1.2\0"s, R"(,"Value":["1.2"])"},
        {"UL", "\xff\xff\xff\xff", R"(,"Value":[4294967295])"},
        {"UN", "ab", R"(,"InlineBinary":"YWI=")"},
        {"UR", "a\\b ", R"(,"Value":["a\\b"])"},
        {"US", "\xff\xff\0\0"s, R"(,"Value":[65535,0])"},
        {"US", "\1\0\0"s, R"(,"InlineBinary":"AQAA")",
         "kept size (0011,1010) the value is no whole number of this VR; the JSON holds its "
         "bytes\n"},
        {"UT", "\xe2\x82\xac ", R"(,"InlineBinary":"4oKsIA==")",
         "kept character-set-bytes (0011,1010) the text does not convert to UTF-8 without loss; "
         "the "
         "JSON holds its bytes\n"},
        {"UV", "\xff\xff\xff\xff\xff\xff\xff\xff", R"(,"Value":["18446744073709551615"])"},
    };
    for (const Row& row : rows) {
        Findings findings;
        const Library_Session session(findings);
        Stream_Builder stream;
        stream.Element(0x0011, 0x0010, "LO", "ME").Element(0x0011, 0x1010, row.vr, row.value);
        const std::string file = Part10_Head(Explicit_Little) + stream.Bytes();
        const Data_Set set = Read_Data_Set(Source_Of(file), findings);
        Findings said;
        const std::string text = JSON_Of(set, said);
        EXPECT_EQ(text, R"({"00110010":{"vr":"LO","Value":["ME"]},"00111010":{"vr":")"s + row.vr +
                            '"' + row.json + "}}");
        EXPECT_EQ(Kept_Lines(said), row.finding) << text;
        const Data_Set back = From_JSON(text, "test", findings);
        const DICOM_List* const record = Find_Record(back.records.Head(), {0x0011, 0x1010});
        ASSERT_NE(record, nullptr) << text;
        const Bytes bytes = back.Value(*record);
        const std::string value(bytes.begin(), bytes.end());
        const bool is_padded = Find_JSON_Form(VR_Of(*record))->width == 1;
        EXPECT_EQ(is_padded ? Without_Padding(value) : value.substr(0, row.value.size()),
                  is_padded ? Without_Padding(row.value) : row.value)
            << text;
        EXPECT_EQ(value.size() % 2, 0U) << text;
    }
}

struct Hostile_Row {
    std::string json = {};
    /** Findings that come of it, and how many elements are left. */
    std::string findings = {};
    int elements = 0;
};

/** The findings of rows of one element, (0011,1010), in the second line of the text. */
void Expect_Findings(const Hostile_Row& row)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = From_JSON(row.json, "test", findings);
    EXPECT_EQ(Kept_Lines(findings), row.findings) << row.json;
    int elements = 0;
    For_Each_Element(set.records.Head(), [&](const DICOM_List&, const Path&) { ++elements; });
    EXPECT_EQ(elements, row.elements) << row.json;
}

TEST(JSON, SaysWhereATextIsNoJSON)
{
    const Hostile_Row rows[] = {
        {"",
         "error json line 1, column 1: no JSON: unexpected end of input; expected '[', '{', or a "
         "literal\n"},
        {"{\"00100010\":{\"vr\":\"PN\"",
         "error json line 1, column 23: no JSON: unexpected end of input; expected '}'\n"},
        {"{\"00100020\":{\"vr\":\"LO\"},\n \"00100021\":{\"vr\":\xff}}",
         "error json line 2, column 19: no JSON: invalid literal\n", 1},
        {"{\"00100020\":{\"vr\":\"LO\",\"Value\":[\"\xc3\"]}}",
         "error json line 1, column 35: no JSON: invalid string: ill-formed UTF-8 byte\n"},
        {"{\"00100020\":{\"vr\":\"LO\",\"Value\":[\"\\ud800\"]}}",
         "error json line 1, column 40: no JSON: invalid string: surrogate U+D800..U+DBFF must be "
         "followed by U+DC00..U+DFFF\n"},
        {"{\"00181114\":{\"vr\":\"FD\",\n\"Value\":[1e400]}}",
         "error json line 2, column 14: the number is too large\n"},
        {"{\"00280010\":{\"vr\":\"US\",\"Value\":[01]}}",
         "error json line 1, column 34: no JSON: unexpected number literal; expected ']'\n"},
        {"{} {}", "error json line 1, column 4: no JSON: unexpected '{'; expected end of input\n"},
        {std::string(100000, '['),
         "error json line 1, column 2: is no data set, which is an object\nerror json line 1, "
         "column 100001: no JSON: unexpected end of input; expected '[', '{', or a literal\n"},
        {"[]", "error json line 1, column 1: there is no data set\n"},
        {"17", "error json line 1, column 1: is no data set, which is an object\n"},
        {"[{\"00100020\":{\"vr\":\"LO\"}},\n{}, {}]",
         "error json line 2, column 1: there are several data sets; the first alone is taken\n", 1},
        {"[[{}]]", "error json line 1, column 2: is no data set, which is an object\nerror json "
                   "line 1, column 1: there is no data set\n"},
    };
    for (const Hostile_Row& row : rows) {
        Expect_Findings(row);
    }
}

/** Each stands behind {"00111010": in a second line, and an element that is sound follows. */
TEST(JSON, SaysWhichElementIsWrongAndKeepsTheOthers)
{
    const Hostile_Row rows[] = {
        {R"(7)", "error json (0011,1010) line 2, column 1: an element is no object\n", 1},
        {R"([])", "error json (0011,1010) line 2, column 1: an element is no object\n", 1},
        {R"({"vr":"ZZ"})", "error json (0011,1010) line 1, column 2: there is no such VR\n", 1},
        {R"({"vr":7})",
         "error json (0011,1010) line 2, column 7: the VR is no string of two letters\n", 1},
        {R"({"vr":"LO","vr":"SH"})",
         "error json (0011,1010) line 2, column 12: there are two VRs\n", 1},
        {R"({"Value":["a"]})",
         "error json (0011,1010) line 1, column 2: the VR is missing, and the registry gives "
         "none\n",
         1},
        {R"({"vr":"LO","Value":"a"})",
         "error json (0011,1010) line 2, column 20: Value is no array\n", 1},
        {R"({"vr":"LO","Value":[true]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=LO\n", 1},
        {R"({"vr":"LO","Value":[[1]]})",
         "error json (0011,1010) line 2, column 21: an array stands where none can be\n", 1},
        {R"({"vr":"LO","Value":{}})",
         "error json (0011,1010) line 2, column 20: an object stands where none can be\n", 1},
        {R"({"vr":"LO","Value":[{}]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=LO\n", 1},
        {R"({"vr":"LO","Value":[1.50]})",
         "change json (0011,1010) line 2, column 21: a number stands where VR=LO has a string\n",
         2},
        {R"({"vr":"LO","Value":["a\\b"]})",
         "kept json (0011,1010) line 2, column 21: a value holds a backslash, which separates "
         "values\n",
         2},
        {R"({"vr":"LT","Value":["a","b"]})",
         "error json (0011,1010) line 2, column 25: VR=LT has one value\n", 1},
        {R"({"vr":"LO","Value":["a"],"InlineBinary":"YQ=="})",
         "error json (0011,1010) line 2, column 26: there are two of Value, InlineBinary and "
         "BulkDataURI\n",
         1},
        {R"({"vr":"US","Value":[65535,65536]})",
         "error json (0011,1010) line 2, column 27: is no value of VR=US\n", 1},
        {R"({"vr":"US","Value":[-1]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=US\n", 1},
        {R"({"vr":"US","Value":[1.5]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=US\n", 1},
        {R"({"vr":"US","Value":["1"]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=US\n", 1},
        {R"({"vr":"US","Value":[1,null]})",
         "error json (0011,1010) line 2, column 23: is no value of VR=US\n", 1},
        {R"({"vr":"US","Value":[2.0,1e2]})", "", 2},
        {R"({"vr":"SS","Value":[-32769]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=SS\n", 1},
        {R"({"vr":"UV","Value":[18446744073709551616]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=UV\n", 1},
        {R"({"vr":"UV","Value":["18446744073709551616"]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=UV\n", 1},
        {R"({"vr":"FL","Value":[1e39]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=FL\n", 1},
        {R"({"vr":"FD","Value":["1"]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=FD\n", 1},
        {R"({"vr":"AT","Value":["0010001"]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=AT\n", 1},
        {R"({"vr":"AT","Value":[100010]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=AT\n", 1},
        {R"({"vr":"OB","Value":[1]})",
         "error json (0011,1010) line 2, column 21: VR=OB has InlineBinary and no Value\n", 1},
        {R"({"vr":"OB","InlineBinary":"AQI"})",
         "error json (0011,1010) line 2, column 27: InlineBinary is no base64\n", 1},
        {R"({"vr":"OB","InlineBinary":"AR=="})",
         "error json (0011,1010) line 2, column 27: InlineBinary is no base64\n", 1},
        {R"({"vr":"OB","InlineBinary":"A Q="})",
         "error json (0011,1010) line 2, column 27: InlineBinary is no base64\n", 1},
        {R"({"vr":"OB","InlineBinary":[1]})",
         "error json (0011,1010) line 2, column 27: an array stands where none can be\n", 1},
        {R"({"vr":"OB","BulkDataURI":"x"})",
         "error json (0011,1010) line 2, column 12: BulkDataURI leads to a value that is not "
         "there\n",
         1},
        {R"({"vr":"OB","BulkDataURI":1})",
         "error json (0011,1010) line 2, column 26: BulkDataURI is no string\n", 1},
        {R"({"vr":"PN","Value":[{"Alphabetic":1}]})",
         "error json (0011,1010) line 2, column 35: the group of a name is no string\n", 1},
        {R"({"vr":"PN","Value":[{"Alphabetic":"a","Alphabetic":"b"}]})",
         "error json (0011,1010) line 2, column 52: there are two of one group of a name\n", 1},
        {R"({"vr":"PN","Value":["a"]})",
         "change json (0011,1010) line 2, column 21: a name is an object with groups; the string "
         "is taken as one\n",
         2},
        {R"({"vr":"PN","Value":[{"00100010":{"vr":"PN"}}]})",
         "error json (0011,1010) line 2, column 21: is no value of VR=PN\n", 1},
        {R"({"vr":"SQ","Value":[1]})",
         "error json (0011,1010) line 2, column 21: is no item of a sequence\n", 1},
        {R"({"vr":"SQ","Value":[{"Alphabetic":"a"}]})",
         "error json (0011,1010) line 2, column 21: is no item of a sequence\n", 1},
        {R"({"vr":"SQ","InlineBinary":"YQ=="})",
         "error json (0011,1010) line 2, column 12: a sequence has items in its Value\n", 1},
        {R"({"vr":"SQ","Value":[{"00100020":{"vr":"LO"},"00100020":{"vr":"LO"}}]})",
         "error json (0011,1010[0]/0010,0020) line 2, column 45: the element occurs twice; the "
         "first is taken\n",
         3},
        {R"({"vr":"SQ","Value":[{"x":{"vr":"LO"}}]})",
         "error json line 2, column 22: the name is no tag of an element\n", 2},
        {R"({"more":[{"x":[1]}],"vr":"LO"})", "", 2},
    };
    for (const Hostile_Row& row : rows) {
        Hostile_Row whole = row;
        whole.json = "{\"00111010\":\n" + row.json + ",\"00111011\":{\"vr\":\"LO\"}}";
        Expect_Findings(whole);
    }
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
    const struct {
        const char* syntax;
        unsigned char code;
        std::string json;
    } rows[] = {
        {Explicit_Little, DICOM_Order_Explicit_VR,
         R"({"00110010":{"vr":"LO","Value":["ME"]},"00111010":{"vr":"OB","InlineBinary":"AQIDBA=="},)"
         R"("00111011":{"vr":"OW","BulkDataURI":"file:a?offset=288&length=6"}})"},
        {"1.2.840.10008.1.2.2", DICOM_Order_Explicit_VR | DICOM_Order_Big_Endian,
         R"({"00110010":{"vr":"LO","Value":["ME"]},"00111010":{"vr":"OB","InlineBinary":"AQIDBA=="},)"
         R"("00111011":{"vr":"OW","InlineBinary":"AgEEAwYF"}})"},
        {"1.2.840.10008.1.2.4.50", DICOM_Order_Explicit_VR,
         R"({"00020010":{"vr":"UI","Value":["1.2.840.10008.1.2.4.50"]},)"
         R"("00110010":{"vr":"LO","Value":["ME"]},"00111010":{"vr":"OB","InlineBinary":"AQIDBA=="},)"
         R"("00111011":{"vr":"OW","BulkDataURI":"file:a?offset=290&length=6"},)"
         R"("7FE00010":{"vr":"OB","BulkDataURI":"file:a?offset=308&length=20"}})"},
    };
    for (const auto& row : rows) {
        Findings findings;
        const Library_Session session(findings);
        Stream_Builder stream(row.code);
        stream.Element(0x0011, 0x0010, "LO", "ME").Element(0x0011, 0x1010, "OB", "\1\2\3\4");
        stream.Element(0x0011, 0x1011, "OW", "\1\2\3\4\5\6");
        if (Encoding_Of(row.syntax).encapsulated) {
            stream.Header(0x7FE0, 0x0010, "OB", DICOM_Undefined_Length).Item(0);
            stream.Item(4).Raw("\xff\xd8\xff\xd9").Sequence_End();
        }
        const std::string file = Part10_Head(row.syntax) + stream.Bytes();
        const Data_Set set = Read_Data_Set(Source_Of(file), findings);
        EXPECT_EQ(
            JSON_Of(set, findings, {.inline_limit = 4, .bulk_base = "file:a", .pretty = false}),
            row.json);
        EXPECT_EQ(Kept_Lines(findings), "");
    }
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
