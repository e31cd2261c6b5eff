// What an input may cost: memory in proportion to its size, and no stack for its depth.
#include "mend/interface/mend.h"
#include "mend/io/deflate.h"
#include "mend/json/from_json.h"
#include "mend/reading/reader.h"
#include "support/byte_input.h"
#include "support/fault_injection.h"
#include "support/hostile_inputs.h"
#include "support/message_log.h"

#include <gtest/gtest.h>

#include <functional>

#include <pthread.h>

namespace {

using namespace lib_mend;

constexpr std::size_t Kilobyte = 1024;
using hostile::Megabyte;

struct Cost {
    std::size_t peak = 0;
    std::size_t leaked = 0;
    bool mended = false;
    bool has_error = false;
};

/** What work allocates at the most, and what it leaves. */
template <class Work>
Cost Cost_Of_Work(const Work& work)
{
    Cost cost;
    const std::size_t before = fault::Live_Bytes();
    fault::Reset_Peak();
    work(cost);
    cost.peak = fault::Peak_Bytes() - before;
    cost.leaked = fault::Live_Bytes() - before;
    return cost;
}

/** The most that reading and mending a file take, without the file itself. */
Cost Cost_Of(const std::string& file)
{
    return Cost_Of_Work([&](Cost& cost) {
        Findings findings;
        const Library_Session session(findings);
        const std::span<const unsigned char> image(
            reinterpret_cast<const unsigned char*>(file.data()), file.size());
        Data_Set set = Read_Data_Set(Source::From_Image(image, "test"), findings);
        Encoded_File out;
        cost.mended = Mend(set, {}, findings, out);
        cost.has_error = findings.Has(Level::Error);
    });
}

class Bounds : public testing::Test {
protected:
    Bounds()
    {
        // What is built on first use is in memory once, whatever the input is: both dictionaries, and
        // what sequences without an end are the first to need.
        for (const char current : {'\0', '\1'}) {
            DICOM_Flag_Current_Standard = current;
            fault::Load_Dictionary();
        }
        DICOM_Flag_Current_Standard = 0;
        Cost_Of(Stream_Builder().Element(0x0008, 0xFFFE, "LO", "").Bytes());
        // So is what is made when the first fault of its kind is found.
        Cost_Of(Stream_Builder().Sequence(0x0008, 0x1140).Item().Item().Item().Bytes());
    }
};

TEST_F(Bounds, MemoryIsInProportionToHostileFiles)
{
    constexpr std::size_t Growth = 100;
    for (const Hostile_Input& input : hostile::All(100 * Kilobyte)) {
        const Cost cost = Cost_Of(input.file);
        EXPECT_LT(cost.peak, 64 * Kilobyte + Growth * input.file.size()) << input.name;
        EXPECT_EQ(cost.leaked, 0U) << input.name;
    }
}

/** The most that reading JSON takes, without the text itself. */
Cost Cost_Of_JSON(const std::string& text)
{
    return Cost_Of_Work([&](Cost& cost) {
        Findings findings;
        const Library_Session session(findings);
        const Data_Set set = From_JSON(text, "test", findings);
        cost.has_error = findings.Has(Level::Error);
    });
}

/** `part` as often as it takes to fill a text of the size, with commas between. */
std::string JSON_Of(std::string_view begin, std::string_view part, std::string_view end,
                    std::size_t size)
{
    std::string text(begin);
    while (text.size() < size) {
        text.append(part).append(",");
    }
    text.pop_back();
    return text.append(end);
}

std::string Deep_JSON(std::size_t size)
{
    const std::string_view level = R"({"00400275":{"vr":"SQ","Value":[)";
    std::string text;
    std::string ends;
    while (text.size() + ends.size() < size) {
        text += level;
        ends += "]}}";
    }
    return text + "{}" + ends;
}

/** Small files in which every length field claims gigabytes. */
std::vector<std::string> Claiming_Files(int length)
{
    std::vector<std::string> files;
    for (const char* const vr :
         {"AE", "AS", "AT", "CS", "DA", "DS", "DT", "FD", "FL", "IS", "LO", "LT",
          "OB", "OD", "OF", "OL", "OV", "OW", "PN", "SH", "SL", "SQ", "SS", "ST",
          "SV", "TM", "UC", "UI", "UL", "UN", "UR", "US", "UT", "UV", "ZZ", "OX"}) {
        for (const int code : {0, 8, 9}) {
            Stream_Builder stream(static_cast<unsigned char>(code));
            stream.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.3"));
            stream.Header(0x0009, 0x1001, vr, length).Raw("value");
            files.push_back(stream.Bytes());
        }
    }
    for (const int fragment : {4, length}) {
        Stream_Builder stream;
        stream.Header(0x7FE0, 0x0010, "OB", DICOM_Undefined_Length).Item(fragment).Int(length);
        stream.Item(length).Raw("\xFF\xD8\xFF\xE0");
        files.push_back(Part10_Head("1.2.840.10008.1.2.4.50") + stream.Bytes());
    }
    Stream_Builder image;
    image.Element(0x0028, 0x0008, "IS", "2147483646");
    image.US(0x0028, 0x0010, 0xFFFF).US(0x0028, 0x0011, 0xFFFF).US(0x0028, 0x0100, 64);
    image.Header(0x7FE0, 0x0010, "OW", length).Raw("pixels");
    files.push_back(image.Bytes());
    return files;
}

TEST_F(Bounds, MemoryIsInProportionToHostileJSON)
{
    const std::string sequence = R"({"00400275":{"vr":"SQ","Value":[)";
    for (const std::size_t size : {100 * Kilobyte, 1000 * Kilobyte}) {
        const std::pair<const char*, std::string> texts[] = {
            {"empty items", JSON_Of(sequence, "{}", "]}}", size)},
            {"no items", JSON_Of(sequence, "0", "]}}", size)},
            {"small items", JSON_Of(sequence, R"({"00080100":{"vr":"SH"}})", "]}}", size)},
            {"empty names", JSON_Of(R"({"00100010":{"vr":"PN","Value":[)", "{}", "]}}", size)},
            {"numbers", JSON_Of(R"({"00280106":{"vr":"US","Value":[)", "0", "]}}", size)},
            {"texts", JSON_Of(R"({"00080008":{"vr":"CS","Value":[)", "\"\"", "]}}", size)},
            {"data sets", JSON_Of("[", "{}", "]", size)},
            {"one element", JSON_Of("{", R"("00090001":{"vr":"UN"})", "}", size)},
            {"no VR", JSON_Of("{", R"("00080100":{})", "}", size)},
            {"no element", JSON_Of("{", R"("":0)", "}", size)},
            {"base64",
             R"({"7FE00010":{"vr":"OB","InlineBinary":")" + std::string(size, 'A') + "\"}}"},
            {"arrays", std::string(size, '[')},
            {"deep", Deep_JSON(size)},
        };
        for (const auto& [name, text] : texts) {
            const Cost cost = Cost_Of_JSON(text);
            const std::size_t growth = name == std::string_view("empty items") ? 60 : 16;
            EXPECT_LT(cost.peak, 64 * Kilobyte + growth * text.size()) << name;
            EXPECT_EQ(cost.leaked, 0U) << name;
        }
    }
}

TEST_F(Bounds, ALengthAloneAllocatesNothing)
{
    for (const int length : {0x7FFFFFFE, 0x7FFFFFFF, -2, -16, DICOM_Undefined_Length}) {
        for (const std::string& file : Claiming_Files(length)) {
            EXPECT_LT(Cost_Of(file).peak, 64 * Kilobyte) << length << " " << file;
        }
    }
}

TEST_F(Bounds, ASizeAskedOfASmallFileAllocatesLittle)
{
    const Message_Log log;
    Byte_Input input(NEMA_Source_File, std::string(200, 'x'));
    std::wstring name = input.Name();
    DICOM_Lib_File_Source = NEMA_Source_File;
    DICOM_Lib_File_Name = name.data();
    DICOM_List record = {};
    record.size = 0x7FFFFFF0;
    fault::Reset_Peak();
    const std::size_t before = fault::Live_Bytes();
    EXPECT_EQ(NEMA_Value_Str(nullptr, &record, VR_UT), nullptr);
    EXPECT_EQ(NEMA_Value_Hex(nullptr, &record, VR_OB), nullptr);
    EXPECT_EQ(NEMA_Read_Buffer(nullptr, NEMA_Source_File, input.where, input.Ptr(), 0, record.size),
              nullptr);
    EXPECT_LT(fault::Peak_Bytes() - before, Megabyte + 16 * Kilobyte);
    EXPECT_EQ(log.Count("End of File while reading: (200 /vs/ 2147483632)"), 3);
    DICOM_Lib_File_Source = 0;
    DICOM_Lib_File_Name = nullptr;
}

std::string Deflated_File(const std::string& data_set)
{
    const Bytes deflated =
        Deflated({reinterpret_cast<const unsigned char*>(data_set.data()), data_set.size()});
    return Part10_Head("1.2.840.10008.1.2.1.99") + std::string(deflated.begin(), deflated.end());
}

std::string Repeated_Element(std::string_view vr, std::string_view value, std::size_t size)
{
    Stream_Builder stream;
    stream.Element(0x0011, 0x1001, vr, value);
    return hostile::Repeated(stream.Bytes(), size);
}

std::string Image(std::size_t size)
{
    Stream_Builder stream;
    stream.Element(0x0008, 0x0018, "UI", Padded_UID("1.2.3"));
    stream.US(0x0028, 0x0100, 16);
    stream.Element(0x7FE0, 0x0010, "OW", std::string(size, '\0'));
    return stream.Bytes();
}

TEST_F(Bounds, DeflatedDataSetsStayWithinTheirBudget)
{
    struct {
        const char* name;
        std::string data_set;
        bool is_bomb;
    } const cases[] = {
        {"empty elements", Repeated_Element("LO", "", 8 * Megabyte), true},
        {"faulty elements", Repeated_Element("ZZ", "odd", 8 * Megabyte), true},
        {"many values", Repeated_Element("LO", std::string(1000, '\\'), 20 * Megabyte), true},
        {"long values", Repeated_Element("UT", std::string(10 * Megabyte, '\\'), 20 * Megabyte),
         true},
        {"nested sequences", hostile::Nested(200'000), true},
        {"an empty image", Image(80 * Megabyte), false},
        {"ten thousand elements", Repeated_Element("LO", "An entry ", 200 * Kilobyte), false},
    };
    for (const auto& test : cases) {
        const std::string file = Deflated_File(test.data_set);
        const Cost cost = Cost_Of(file);
        // The inflating itself takes some buffers.
        EXPECT_LT(cost.peak, 65 * Megabyte + 200 * file.size()) << test.name;
        EXPECT_EQ(cost.has_error, test.is_bomb) << test.name;
    }
}

/** Runs a function on a stack of 256 KiB. */
void Run_On_Small_Stack(std::function<void()> body)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * Kilobyte);
    pthread_t thread = {};
    const auto run = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST_F(Bounds, NestingOfAnyDepthNeedsNoStack)
{
    for (const int levels : {9, 10, 10'000, 100'000}) {
        Run_On_Small_Stack([levels] {
            Findings findings;
            const Library_Session session(findings);
            const std::string file = hostile::Nested(levels);
            const std::span<const unsigned char> image(
                reinterpret_cast<const unsigned char*>(file.data()), file.size());
            Data_Set set = Read_Data_Set(Source::From_Image(image, "test"), findings);
            int sequences = 0;
            For_Each_Record(set.records.Head(), [&](const DICOM_List& record) {
                sequences += VR_Of(record) == VR_SQ ? 1 : 0;
            });
            EXPECT_EQ(sequences, levels);
            Encoded_File out;
            EXPECT_TRUE(Mend(set, {}, findings, out));
            EXPECT_FALSE(findings.Has(Level::Error));
        });
    }
}

}  // namespace
