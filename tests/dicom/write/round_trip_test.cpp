// Values come back as they were given: written, read and extracted, for every VR, in the three
// uncompressed transfer syntaxes, from a file and from a memory image, at the sizes where the handling
// changes.
#include "support/byte_input.h"
#include "support/case_page.h"
#include "support/extracted_values.h"
#include "support/record_builder.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <gtest/gtest.h>

namespace {

/** Reads the one element of a stream; long values stay in the source, as a client leaves them there. */
std::string Extract_From(int source, const std::string& stream, unsigned char code,
                         const char* extractor, unsigned short vr)
{
    constexpr int Longest_In_Memory = 1024;
    Byte_Input input(source, stream);
    std::wstring name = input.Name();
    // The setting serves both sources, as the untyped pointer of the reads does.
    void* const image = source == NEMA_Source_File ? name.data() : input.Ptr();
    DICOM_Lib_File_Name = static_cast<wchar_t*>(image);
    DICOM_Lib_File_Source = source;
    DICOM_List record = {};
    EXPECT_EQ(NEMA_Get_Data_Element(nullptr, source, input.where, input.Ptr(), code, &record.group,
                                    &record.element, &record.vr, &record.size,
                                    static_cast<int>(stream.size()) + 1),
              1);
    record.byte_order = code;
    record.data_pos = static_cast<unsigned int>(input.Position());
    if (record.size <= Longest_In_Memory) {
        record.data = reinterpret_cast<unsigned char*>(
            NEMA_Read_Buffer(nullptr, source, input.where, input.Ptr(), 0, record.size));
    }
    const std::string values = Extract(extractor, record, vr);
    std::free(record.data);
    DICOM_Lib_File_Name = nullptr;
    DICOM_Lib_File_Source = 0;
    return values;
}

TEST(Round_Trips, ValuesComeBackAsTheyWereGiven)
{
    // Values longer than a 2-byte length tells need the current standard.
    DICOM_Flag_Current_Standard = 1;
    For_Each_Case("dicom/write/round_trip.cases", "values", 4, [](const Case_Row& row) {
        for (const std::size_t size : {18U, 1024U, 1026U, 1032U, 65534U, 65536U}) {
            // Names, dates and times are not fetched from the source.
            const std::string fetched = "Str Int Float Hex";
            if (size % static_cast<std::size_t>(row.Number(3)) != 0 ||
                (size > 1024 && fetched.find(row[1]) == fetched.npos)) {
                continue;
            }
            const Record_List given("0009,1001:" + row[0]);
            std::string value;
            while (value.size() < size) {
                value += row[2];
            }
            Set_Value(*given.head, value.substr(0, size));
            const std::string values = Extract(row[1].c_str(), *given.head);
            for (const int code : {0, 8, 9}) {
                char* buffer = nullptr;
                const int length =
                    DICOM_List2Stream(nullptr, static_cast<char>(code), given.head, &buffer);
                const std::string stream(buffer, static_cast<std::size_t>(length));
                DICOM_Lib_Free(&buffer);
                for (const int source : {NEMA_Source_File, NEMA_Source_Memory}) {
                    SCOPED_TRACE(row[0] + " " + std::to_string(size) + " " + std::to_string(code) +
                                 " " + std::to_string(source));
                    EXPECT_EQ(Extract_From(source, stream, static_cast<unsigned char>(code),
                                           row[1].c_str(), given.head->vr),
                              values);
                }
            }
        }
    });
    DICOM_Flag_Current_Standard = 0;
}

}  // namespace
