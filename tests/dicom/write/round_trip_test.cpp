// Values come back as they were given: created, written, read and extracted, for every VR, in the
// three uncompressed transfer syntaxes, from a file and from a memory image, at the sizes where the
// handling changes.
#include <Lib_DICOM/Lib_DICOM.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <numeric>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

/** A private element has no dictionary entry, and so any number of values. */
constexpr unsigned short Group = 0x0009;
constexpr unsigned short Element = 0x1001;

constexpr unsigned char Codes[] = {0, 8, 9};

/** Values longer than a 2-byte length tells need the current standard. */
constexpr int Sizes[] = {0, 1, 7, 8, 1024, 1025, 65534, 65536};

/** An encoded stream as the library reads it: by descriptor or as an image. */
class Stream {
public:
    Stream(const std::string& bytes, bool as_file) : bytes_(bytes)
    {
        if (as_file) {
            std::FILE* const file = std::fopen(Path().c_str(), "wb");
            std::fwrite(bytes_.data(), 1, bytes_.size(), file);
            std::fclose(file);
            descriptor_ = open(Path().c_str(), O_RDONLY);
            const std::string path = Path();
            path_.assign(path.begin(), path.end());
            DICOM_Lib_File_Name = path_.data();
            DICOM_Lib_File_Source = NEMA_Source_File;
        } else {
            position_ = NEMA_Position_New(nullptr);
            // The setting serves both sources, as the untyped pointer of the reads does.
            DICOM_Lib_File_Name = reinterpret_cast<wchar_t*>(bytes_.data());
            DICOM_Lib_File_Source = NEMA_Source_Memory;
        }
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream()
    {
        NEMA_Position_Free(position_);
        if (descriptor_ >= 0) {
            close(descriptor_);
            std::remove(Path().c_str());
        }
        DICOM_Lib_File_Name = nullptr;
        DICOM_Lib_File_Source = 0;
    }

    /** Reads the first element; long values stay in the source, as a client leaves them there. */
    bool Read(unsigned char code, DICOM_List& record, std::vector<unsigned char>& value)
    {
        constexpr int Longest_In_Memory = 1024;
        const int kind = DICOM_Lib_File_Source;
        const int where = position_ != nullptr ? NEMA_Position_Where(position_) : descriptor_;
        if (NEMA_Get_Data_Element(nullptr, kind, where, DICOM_Lib_File_Name, code, &record.group,
                                  &record.element, &record.vr, &record.size,
                                  static_cast<int>(bytes_.size()) + 1) == 0) {
            return false;
        }
        record.byte_order = code;
        record.data_pos = static_cast<unsigned int>(
            position_ != nullptr ? *position_ : lseek(descriptor_, 0, SEEK_CUR));
        if (record.size > 0 && record.size <= Longest_In_Memory) {
            value.resize(static_cast<std::size_t>(record.size));
            record.data = value.data();
            return NEMA_Read_Byte(nullptr, kind, where, DICOM_Lib_File_Name, 0, record.size,
                                  reinterpret_cast<char*>(value.data())) != 0;
        }
        return true;
    }

private:
    static std::string Path()
    {
        // The tests of this file may run side by side, each in a process of its own.
        return testing::TempDir() + "round_trip_test_" + std::to_string(getpid());
    }

    std::string bytes_;
    std::wstring path_;
    int* position_ = nullptr;
    int descriptor_ = -1;
};

/** Creates one element, encodes it, and returns the bytes. */
std::string Encode(unsigned char code, const std::function<void(DICOM_Root*, DICOM_List**)>& add)
{
    DICOM_Root root = {};
    DICOM_List* list = nullptr;
    add(&root, &list);
    char* buffer = nullptr;
    const int size = DICOM_List2Stream(nullptr, static_cast<char>(code), list, &buffer);
    const std::string bytes(buffer, static_cast<std::size_t>(size));
    DICOM_Lib_Free(&buffer);
    DICOM_Attribute_Free(nullptr, list);
    return bytes;
}

using Add = std::function<void(DICOM_Root*, DICOM_List**)>;
using Compare = std::function<void(DICOM_List&)>;

/** Sends one element through every syntax and source, and hands what arrives to `compare`. */
void Round_Trip(const Add& add, const Compare& compare)
{
    for (const unsigned char code : Codes) {
        const std::string bytes = Encode(code, add);
        for (const bool as_file : {true, false}) {
            SCOPED_TRACE(std::to_string(code) + (as_file ? " file" : " memory"));
            Stream stream(bytes, as_file);
            DICOM_List record = {};
            std::vector<unsigned char> value;
            ASSERT_TRUE(stream.Read(code, record, value));
            unsigned char* const read = record.data;
            compare(record);
            if (record.data != read) {
                std::free(record.data);
            }
        }
    }
}

class Round_Trips : public testing::Test {
protected:
    Round_Trips()
    {
        DICOM_Flag_Current_Standard = 1;
    }
    ~Round_Trips() override
    {
        DICOM_Flag_Current_Standard = 0;
        DICOM_Lib_Cleanup();
    }
};

template <class Number>
std::vector<Number> Numbers(int size)
{
    std::vector<Number> numbers(static_cast<std::size_t>(size) / sizeof(Number));
    std::iota(numbers.begin(), numbers.end(), static_cast<Number>(1));
    return numbers;
}

template <class Number, class Result>
void Round_Trip_Numbers(unsigned short vr, Result* (*extract)(HWND, DICOM_List*, unsigned short))
{
    for (const int size : Sizes) {
        const std::vector<Number> given = Numbers<Number>(size);
        SCOPED_TRACE(size);
        Round_Trip(
            [&](DICOM_Root* root, DICOM_List** list) {
                DICOM_Attribute_Add(nullptr, root, list, Group, Element, vr,
                                    -static_cast<int>(given.size()), given.data());
            },
            [&](DICOM_List& record) {
                Result* const values = extract(nullptr, &record, vr);
                ASSERT_EQ(values != nullptr, !given.empty());
                ASSERT_EQ(record.vm, given.size());
                for (std::size_t i = 0; i < given.size(); ++i) {
                    ASSERT_EQ(values[i], static_cast<Result>(given[i])) << i;
                }
            });
    }
}

TEST_F(Round_Trips, Numbers)
{
    Round_Trip_Numbers<int>(VR_SL, &NEMA_Value_Int);
    Round_Trip_Numbers<int>(VR_UL, &NEMA_Value_Int);
    Round_Trip_Numbers<short>(VR_SS, &NEMA_Value_Int);
    Round_Trip_Numbers<unsigned short>(VR_US, &NEMA_Value_Int);
    Round_Trip_Numbers<float>(VR_FL, &NEMA_Value_Float);
    Round_Trip_Numbers<double>(VR_FD, &NEMA_Value_Float);
    Round_Trip_Numbers<short>(VR_OW, &NEMA_Value_Int);
    Round_Trip_Numbers<int>(VR_OL, &NEMA_Value_Int);
    Round_Trip_Numbers<std::int64_t>(VR_SV, &NEMA_Value_Int);
    Round_Trip_Numbers<std::int64_t>(VR_UV, &NEMA_Value_Int);
    Round_Trip_Numbers<float>(VR_OF, &NEMA_Value_Float);
    Round_Trip_Numbers<double>(VR_OD, &NEMA_Value_Float);
    Round_Trip_Numbers<int>(VR_IS, &NEMA_Value_Int);
    Round_Trip_Numbers<float>(VR_DS, &NEMA_Value_Float);
}

/** Texts of the given length each, joined by backslashes, `size` bytes in all. */
std::vector<std::string> Texts(int size, std::size_t longest, char letter)
{
    std::vector<std::string> texts;
    auto rest = static_cast<std::size_t>(size);
    while (rest > 0) {
        const std::size_t length = std::min(rest, longest);
        texts.emplace_back(length, letter);
        rest -= std::min(rest, length + 1);
    }
    return texts;
}

std::string Without_Padding(const std::string& text)
{
    return text.substr(0, text.find_last_not_of(std::string_view(" \0", 2)) + 1);
}

TEST_F(Round_Trips, Texts)
{
    struct Row {
        unsigned short vr;
        std::size_t longest;
        char letter;
    };
    constexpr std::size_t Any = 1 << 20;
    const Row rows[] = {{VR_AE, 16, 'A'},    {VR_CS, 16, 'A'},  {VR_LO, 64, 'x'},
                        {VR_LT, 10240, 'x'}, {VR_SH, 16, 'x'},  {VR_ST, 1024, 'x'},
                        {VR_UC, Any, 'x'},   {VR_UR, Any, 'x'}, {VR_UT, Any, 'x'}};
    for (const Row& row : rows) {
        const bool is_single =
            row.vr == VR_LT || row.vr == VR_ST || row.vr == VR_UR || row.vr == VR_UT;
        for (const int size : Sizes) {
            if (is_single && static_cast<std::size_t>(size) > row.longest) {
                continue;
            }
            const std::vector<std::string> given = Texts(size, row.longest, row.letter);
            std::vector<const char*> pointers;
            for (const std::string& text : given) {
                pointers.push_back(text.c_str());
            }
            SCOPED_TRACE(std::to_string(row.vr) + " " + std::to_string(size));
            Round_Trip(
                [&](DICOM_Root* root, DICOM_List** list) {
                    if (is_single && !given.empty()) {
                        DICOM_Attribute_Add(nullptr, root, list, Group, Element, row.vr, 1,
                                            pointers[0]);
                    } else {
                        DICOM_Attribute_Add(nullptr, root, list, Group, Element, row.vr,
                                            -static_cast<int>(pointers.size()), pointers.data());
                    }
                },
                [&](DICOM_List& record) {
                    char** const values = NEMA_Value_Str(nullptr, &record, row.vr);
                    ASSERT_EQ(values != nullptr, !given.empty());
                    ASSERT_EQ(record.vm, given.size());
                    for (std::size_t i = 0; i < given.size(); ++i) {
                        ASSERT_EQ(Without_Padding(values[i]), given[i]) << i;
                    }
                });
        }
    }
}

TEST_F(Round_Trips, ValuesOfOneForm)
{
    Round_Trip(
        [](DICOM_Root* root, DICOM_List** list) {
            DICOM_Attribute_Add(nullptr, root, list, Group, Element, VR_AT, 2, 0x0018, 0x1063);
        },
        [](DICOM_List& record) {
            const int* const tags = NEMA_Value_Int(nullptr, &record, VR_AT);
            ASSERT_NE(tags, nullptr);
            // An AT is two numbers of 16 bits; as one of 32 it depends on the byte order.
            const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
            EXPECT_EQ(tags[0], is_big ? 0x00181063 : 0x10630018);
        });
    for (const auto& [vr, text] :
         {std::pair(VR_UI, "1.2.840.10008.1.2"), std::pair(VR_AS, "045Y")}) {
        Round_Trip(
            [vr = vr, text = text](DICOM_Root* root, DICOM_List** list) {
                DICOM_Attribute_Add(nullptr, root, list, Group, Element, vr, 1, text);
            },
            [vr = vr, text = text](DICOM_List& record) {
                char** const values = NEMA_Value_Str(nullptr, &record, vr);
                ASSERT_NE(values, nullptr);
                EXPECT_EQ(Without_Padding(values[0]), text);
            });
    }
}

TEST_F(Round_Trips, Bytes)
{
    for (const int size : Sizes) {
        SCOPED_TRACE(size);
        std::vector<unsigned char> given(static_cast<std::size_t>(size));
        std::iota(given.begin(), given.end(), static_cast<unsigned char>(0));
        Round_Trip(
            [&](DICOM_Root* root, DICOM_List** list) {
                DICOM_Attribute_Add(nullptr, root, list, Group, Element, VR_OB, -size,
                                    given.data());
            },
            [&](DICOM_List& record) {
                const unsigned char* const bytes = NEMA_Value_Hex(nullptr, &record, VR_OB);
                ASSERT_EQ(bytes != nullptr, size != 0);
                ASSERT_EQ(record.size, size + size % 2);
                ASSERT_TRUE(size == 0 || std::memcmp(bytes, given.data(), given.size()) == 0);
            });
    }
}

TEST_F(Round_Trips, NamesDatesAndTimes)
{
    OrisWare_Date date = {};
    OrisWare_Time time = {};
    ASSERT_EQ(Make_Oris_Date(&date, "19991231", "yyyymmdd"), 1);
    ASSERT_EQ(Make_Oris_Time(&time, 23, 59, 7.25F), 1);
    Round_Trip(
        [&](DICOM_Root* root, DICOM_List** list) {
            DICOM_Attribute_Add(nullptr, root, list, Group, Element, VR_PN, 2, "Doe^Jane^^Dr.",
                                "Roe^Richard^Q");
        },
        [&](DICOM_List& record) {
            const OrisWare_Name* const names = NEMA_Value_Name(nullptr, &record, VR_PN);
            ASSERT_EQ(record.vm, 2U);
            EXPECT_STREQ(names[0].family, "Doe");
            EXPECT_STREQ(names[0].prefix, "Dr.");
            EXPECT_STREQ(names[1].given, "Richard");
        });
    const auto check_date = [](const OrisWare_Date* read) {
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(read->year * 10000 + read->month * 100 + read->day, 19991231);
    };
    const auto check_time = [](const OrisWare_Time* read) {
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(read->hour * 100 + read->minute, 2359);
        EXPECT_FLOAT_EQ(read->seconds, 7.25F);
    };
    Round_Trip(
        [&](DICOM_Root* root, DICOM_List** list) {
            DICOM_Attribute_Add(nullptr, root, list, Group, Element, VR_DA, 1, &date);
        },
        [&](DICOM_List& record) { check_date(NEMA_Value_Date(nullptr, &record, VR_DA)); });
    Round_Trip(
        [&](DICOM_Root* root, DICOM_List** list) {
            DICOM_Attribute_Add(nullptr, root, list, Group, Element, VR_TM, 1, &time);
        },
        [&](DICOM_List& record) { check_time(NEMA_Value_Time(nullptr, &record, VR_TM)); });
    Round_Trip(
        [&](DICOM_Root* root, DICOM_List** list) {
            DICOM_Attribute_Add(nullptr, root, list, Group, Element, VR_DT, 1, &date, &time);
        },
        [&](DICOM_List& record) {
            check_date(NEMA_Value_Date(nullptr, &record, VR_DT));
            check_time(NEMA_Value_Time(nullptr, &record, VR_DT));
        });
    Date_Free(&date);
    Time_Free(&time);
}

}  // namespace
