// Every allocation, read, seek and write made to fail in turn: nothing crashes, nothing leaks, what
// was there before stays, and the failure is told as the interface promises.
#include "mend/interface/mend.h"
#include "mend/io/deflate.h"
#include "mend/io/safe_file.h"
#include "mend/reading/reader.h"
#include "support/byte_input.h"
#include "support/case_page.h"
#include "support/current_standard.h"
#include "support/definition_directory.h"
#include "support/fault_injection.h"
#include "support/record_builder.h"
#include "support/scratch_folder.h"
#include "support/stream_builder.h"

#include <Lib_DICOM_Mend/dicom_mend.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <new>
#include <regex>
#include <set>
#include <sstream>

namespace {

using fault::Injection;
using fault::Kind;
using fault::Point;
using ::testing::AnyOf;
using ::testing::HasSubstr;

/** Takes messages aside, without being part of what fails. */
class Quiet_Log {
public:
    Quiet_Log()
    {
        Error_Sink_Set(
            [](HWND, unsigned int, const char* message, void* context) {
                const fault::Pause pause;
                static_cast<std::string*>(context)->append(message).append("\n");
            },
            &text);
    }
    Quiet_Log(const Quiet_Log&) = delete;
    Quiet_Log& operator=(const Quiet_Log&) = delete;
    ~Quiet_Log()
    {
        Error_Sink_Set(nullptr, nullptr);
    }

    std::string text;
};

/** One run in which a passage is to fail: what is done within the call of it. */
struct Trial {
    template <class Work>
    void operator()(Work&& work)
    {
        const Injection injection(point, passage, kind, error);
        work();
        has_struck = injection.Struck();
    }

    Point point;
    long passage;
    Kind kind;
    int error;
    bool has_struck = false;
};

/**
 * Runs `attempt` with the 1st, 2nd, 3rd, ... passage through a point failing, until none fails. Each
 * run begins with nothing loaded and releases all that it made; of very many passages ever fewer are
 * tried, so that the time stays in proportion.
 */
void Fail_In_Turn(Point point, Kind kind, int error, const std::function<void(Trial&)>& attempt)
{
    constexpr long Enough = 20'000;
    constexpr long One_By_One = 100;
    const auto growth = [&](Trial& trial) {
        DICOM_Lib_Cleanup();
        const std::size_t before = fault::Live_Blocks();
        attempt(trial);
        DICOM_Lib_Cleanup();
        return static_cast<long>(fault::Live_Blocks()) - static_cast<long>(before);
    };
    // What lives as long as the process or the thread is made before anything is counted.
    Error_Perror(0);
    Trial sound = {point, Enough, kind, error};
    growth(sound);
    bool has_struck = true;
    for (long n = 1; has_struck && !testing::Test::HasFailure();
         n += std::max(1L, n / One_By_One)) {
        ASSERT_LT(n, Enough) << "never passed";
        Trial trial = {point, n, kind, error};
        // What lives as long as the process may be made on a way that only a failure takes; it is
        // made once. A leak comes again.
        if (growth(trial) != 0) {
            EXPECT_EQ(growth(trial), 0) << "passage " << n;
        }
        has_struck = trial.has_struck;
        EXPECT_TRUE(has_struck || n > 1) << "nothing was made to fail";
    }
}

/** What an operation on the library has to do when memory ends, once or for good. */
struct Operation {
    const char* name;
    /** Does the work on fresh inputs within the trial; true when it succeeded as a whole. */
    std::function<bool(Trial&)> run;
    /** It does what it can without the memory. */
    bool goes_on = false;
};

constexpr char Page[] = "fault.cases";

/** The source unit, the function and the variable of each memory message that an operation has. */
std::set<std::string> Messages_Of(const std::string& operation)
{
    std::set<std::string> messages;
    For_Each_Case(Page, "", 2, [&](const Case_Row& row) {
        std::string rest = row[0] == operation ? row[1] : "";
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find("; "), rest.size());
            messages.insert(rest.substr(0, end));
            rest.erase(0, end + 2);
        }
    });
    return messages;
}

/** What the memory messages of a log name. */
void Collect_Messages(const std::string& log, std::set<std::string>& messages)
{
    static const std::regex form("line [0-9]+ *of (\\S+) \nmemory error in (\\S+) \\(var=([^,)]+)");
    for (std::sregex_iterator at(log.begin(), log.end(), form), end; at != end; ++at) {
        messages.insert(at->format("$1 $2 $3"));
    }
}

void Check(const std::vector<Operation>& operations)
{
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.name);
        std::set<std::string> messages;
        for (const Kind kind : {Kind::Error, Kind::From_Now_On}) {
            Fail_In_Turn(Point::Memory, kind, ENOMEM, [&](Trial& trial) {
                const Quiet_Log log;
                const bool done = operation.run(trial);
                EXPECT_TRUE(done || trial.has_struck) << log.text;
                // Without any memory the format itself is the message.
                const bool has_told = log.text.find("memory error in ") != log.text.npos;
                EXPECT_TRUE(has_told ? !done || operation.goes_on : done);
                if (kind == Kind::Error) {
                    Collect_Messages(log.text, messages);
                }
            });
        }
        EXPECT_EQ(messages, Messages_Of(operation.name));
        if (testing::Test::HasFailure()) {
            return;
        }
    }
}

// ---- inputs

const std::string& Sample()
{
    static const std::string sample = [] {
        Stream_Builder s;
        s.Element(0x0008, 0x0016, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
        s.Element(0x0008, 0x0020, "DA", "1997.06.24");
        s.Element(0x0008, 0x0060, "CS", " OT ");
        s.Sequence(0x0008, 0x1140).Item();
        s.Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.5"));
        s.Item_End().Item();
        s.Element(0x0008, 0x1155, "UI", Padded_UID("1.2.3.6"));
        s.Item_End().Sequence_End();
        s.Element(0x0009, 0x0010, "LO", "ACME");
        s.Element(0x0009, 0x1001, "UN", std::string(1500, 'x'));
        s.Element(0x0010, 0x0010, "PN", "DOE^JANE");
        s.Element(0x0010, 0x0020, "LO", "odd");
        s.US(0x0028, 0x0100, 16);
        s.Element(0x7FE0, 0x0010, "OW", "pixels");
        s.Element(0x8001, 0x0010, "LO", "behind the pixels ");
        return Part10_Head("1.2.840.10008.1.2.1") + s.Bytes();
    }();
    return sample;
}

constexpr char Flat_Sequence[] =
    "0008,0060:CS=MR 0008,1140:SQ* FFFE,E000* 0008,1150:UI=1.2 FFFE,E00D FFFE,E000* "
    "0008,1155:UI=1.3 "
    "FFFE,E00D FFFE,E0DD 0009,0010:LO=ACME 0009,1001:ZZ=value 0010,0010:PN=DOE^JANE";

std::string Long_List(unsigned int count)
{
    std::string notation;
    for (unsigned int i = 0; i < count; ++i) {
        char word[32];
        std::snprintf(word, sizeof word, "0011,%04X:LO!1 ", 0x1000 + i);
        notation += word;
    }
    return notation;
}

std::string Dump(const DICOM_List* list)
{
    std::string text = Tags(list);
    for (; list != nullptr; list = list->next) {
        text += "|" + Value_Of(*list);
    }
    return text;
}

// ---- allocations in the library

/** One record for each value, in need of a repair. */
std::string One_Value_Of_Each_VR()
{
    std::string notation;
    unsigned int element = 0x1000;
    For_Each_Case(Page, "values", 1, [&](const Case_Row& row) {
        char tag[32];
        std::snprintf(tag, sizeof tag, "0011,%04X:", element++);
        notation += tag + row[0] + " ";
    });
    return notation;
}

TEST(Fault, ListsWithoutMemory)
{
    const Current_Standard standard;
    Check({
        {"format",
         [](Trial& trial) {
             const Record_List flat(Flat_Sequence);
             const std::string before = Dump(flat.head);
             DICOM_List* list = nullptr;
             trial([&] { list = DICOM_Attribute_Format(nullptr, flat.head); });
             EXPECT_EQ(Dump(flat.head), before);
             const Record_List nested(list);
             return nested.head != nullptr;
         }},
        {"insert",
         [](Trial& trial) {
             Record_List list("0008,0060:CS=MR");
             const Record_List records("0010,0010:PN=DOE^JANE");
             DICOM_List* inserted = nullptr;
             trial([&] {
                 DICOM_Root root = {};
                 inserted = DICOM_Attribute_Insert(nullptr, &root, &list.head, records.head, 0);
             });
             EXPECT_EQ(Value_Of(*list.head), "MR");
             return inserted != nullptr;
         }},
        {"find in a sequence",
         [](Trial& trial) {
             Record_List list;
             DICOM_Root root = {};
             DICOM_List* found = nullptr;
             trial([&] {
                 found = DICOM_Attribute_Find(nullptr, &root, &list.head, 0x0008, 0x0060);
                 DICOM_Attribute_Sequence_Start(nullptr, &root, 0x0008, 0x1140, 0, 0);
                 DICOM_Attribute_Item_Start(nullptr, &root, 0);
                 DICOM_Attribute_Item_Start(nullptr, &root, 0);
                 found = found == nullptr
                             ? nullptr
                             : DICOM_Attribute_Find(nullptr, &root, &list.head, 0x0008, 0x1150);
             });
             return found != nullptr;
         }},
        {"copy",
         [](Trial& trial) {
             const Record_List flat(Flat_Sequence);
             const Record_List source(DICOM_Attribute_Format(nullptr, flat.head));
             Record_List target("0008,0060:CS=CT!1 0010,0010:PN=ROE!1");
             const std::string before = Dump(source.head);
             int copied = 0;
             trial([&] {
                 DICOM_Root root = {};
                 copied = DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head);
                 EXPECT_EQ(root.Sequence_Depth, 0);
             });
             EXPECT_EQ(Value_Of(*target.head), "CT");
             EXPECT_EQ(Dump(source.head), before);
             return copied != 0;
         }},
        {"index",
         [](Trial& trial) {
             const Record_List source(Long_List(90));
             Record_List target(Long_List(90));
             trial([&] {
                 DICOM_Root root = {};
                 // Searching takes longer without memory, but does not fail.
                 EXPECT_EQ(DICOM_Attribute_Copy(nullptr, &root, &target.head, source.head), 1);
                 DICOM_Attribute_Assign_Info(nullptr, &root, source.head, target.head);
             });
             EXPECT_EQ(Tags(target.head), Tags(source.head));
             return true;
         }},
        {"walks over nested lists",
         [](Trial& trial) {
             Deep_List list(14, "0011,1001!1");
             Record_List copy;
             bool done = false;
             trial([&] {
                 DICOM_Root root = {};
                 done = DICOM_Attribute_Copy(nullptr, &root, &copy.head, list.head) == 1 &&
                        DICOM_Attribute_Sort(nullptr, &root, &list.head) == 1 &&
                        DICOM_Attribute_Delete(nullptr, &root, &list.head, "0011", "*") == 1;
                 EXPECT_EQ(root.Sequence_Depth, 0);
                 EXPECT_EQ(root.Item_Number[0], 0);
             });
             return done;
         }},
        {"remove",
         [](Trial& trial) {
             Deep_List list(14, "0011,1001!1");
             trial([&] { EXPECT_EQ(DICOM_Attribute_Remove(nullptr, &list.head, 0), 0); });
             return !trial.has_struck;
         }},
        {"clean",
         [](Trial& trial) {
             Record_List list(One_Value_Of_Each_VR());
             bool complete = true;
             trial([&] {
                 DICOM_Root root = {};
                 EXPECT_EQ(DICOM_Attribute_Cleanup(nullptr, &root, list.head), 1);
             });
             for (const DICOM_List* record = list.head; record != nullptr; record = record->next) {
                 EXPECT_EQ(record->data == nullptr, record->size == 0);
                 complete = complete && record->data != nullptr;
             }
             return complete;
         }},
        {"check",
         [](Trial& trial) {
             const Record_List list("0011,1001:LO=longer_than_what_a_string_holds_in_itself");
             DICOM_Root root = {};
             trial([&] { DICOM_Attribute_Syntax(nullptr, &root, list.head); });
             return !trial.has_struck;
         }},
        {"complement",
         [](Trial& trial) {
             const Record_List list(Flat_Sequence);
             fault::Load_Dictionary();
             trial([&] {
                 DICOM_Root root = {};
                 EXPECT_EQ(DICOM_Attribute_Complement(nullptr, &root, list.head), 0);
                 EXPECT_EQ(root.Sequence_Depth, 0);
             });
             bool complete = true;
             for (const DICOM_List* record = list.head; record != nullptr; record = record->next) {
                 const bool is_private = record->group % 2 != 0 && record->element != 0;
                 complete =
                     complete && (is_private ? record->description != nullptr
                                             : record->dict != nullptr || record->group == 0xFFFE);
                 EXPECT_GE(record->size, -1);
             }
             return complete;
         },
         true},
    });
}

/** Adds one attribute with a value of its own kind. */
void Add_Value(unsigned short vr, DICOM_List** list)
{
    DICOM_Root root = {};
    const float decimal = 1.5F;
    const OrisWare_Date date = {Oris_State_Numeric, 2021, 1, 31, nullptr, nullptr};
    const OrisWare_Time time = {Oris_State_Numeric, 10, 11, 12.5F, nullptr, nullptr};
    const auto add = [&](auto... values) {
        DICOM_Attribute_Add(nullptr, &root, list, 0x0011, 0x1001, vr, 1, values...);
    };
    const std::string name = {static_cast<char>(vr >> 8), static_cast<char>(vr)};
    const auto is_one_of = [&](std::string_view names) {
        return names.find(name) != names.npos;
    };
    if (is_one_of("IS SL UL OL SS US OW OB FL OF")) {
        return add(1);
    }
    if (is_one_of("OV SV UV")) {
        return add(std::int64_t{1});
    }
    switch (vr) {
    case VR_DS:
        return add(&decimal);
    case VR_DA:
        return add(&date);
    case VR_TM:
        return add(&time);
    case VR_DT:
        return add(&date, &time);
    case VR_FD:
    case VR_OD:
        return add(1.5);
    case VR_AT:
        DICOM_Attribute_Add(nullptr, &root, list, 0x0011, 0x1001, vr, 2, 0x0008, 0x0060);
        return;
    default:
        return add(vr == VR_AS   ? "007Y"
                   : vr == VR_UI ? "1.2.840.10008.5.1.4.1.1.7"
                                 : "A VALUE THAT IS LONGER THAN WHAT A STRING HOLDS IN ITSELF");
    }
}

TEST(Fault, CreationWithoutMemory)
{
    const Current_Standard standard;
    For_Each_Case(Page, "creation", 2, [](const Case_Row& row) {
        Check({{row[0].c_str(), [vr = row.VR(0)](Trial& trial) {
                    Record_List list("0008,0060:CS=MR");
                    // The dictionary has a test of its own.
                    fault::Load_Dictionary();
                    trial([&] { Add_Value(vr, &list.head); });
                    EXPECT_EQ(Value_Of(*list.head), "MR");
                    const DICOM_List* const made = list.head->next;
                    return made != nullptr && made->data != nullptr && made->dict == nullptr;
                }}});
    });
}

int Append_Pixels(HWND, char, unsigned int offset, char** buffer, void*)
{
    char* const block = static_cast<char*>(std::realloc(*buffer, offset + 4));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    *buffer = block;
    std::copy_n("pix ", 4, block + offset);
    return 4;
}

TEST(Fault, WritingWithoutMemory)
{
    DICOM_Write_Image_Fct(&Append_Pixels);
    using Write = unsigned int (*)(DICOM_List*, char**);
    const struct {
        const char* name;
        Write write;
    } writers[] = {
        {"stream",
         [](DICOM_List* list, char** buffer) {
             return static_cast<unsigned int>(DICOM_List2Stream(nullptr, 8, list, buffer));
         }},
        {"buffer",
         [](DICOM_List* list, char** buffer) {
             return DICOM_Write_Buffer(nullptr, 8, list, buffer, nullptr);
         }},
        {"head",
         [](DICOM_List* list, char** buffer) {
             return DICOM_Write_Part10(nullptr, 8, list, buffer);
         }},
    };
    for (const auto& writer : writers) {
        Check({{writer.name, [&](Trial& trial) {
                    const Record_List list("0002,0010:UI=1.2 0008,0060:CS=MR 7FF0,0010:LO=text");
                    char* buffer = nullptr;
                    unsigned int size = 0;
                    trial([&] { size = writer.write(list.head, &buffer); });
                    DICOM_Lib_Free(&buffer);
                    return size != 0;
                }}});
    }
    DICOM_Write_Image_Fct(nullptr);
}

TEST(Fault, ValuesWithoutMemory)
{
    /** A list of one record as each extractor takes it, in a slot that held its first value before. */
    const auto extract = [](const char* notation, auto extractor) {
        return [=](Trial& trial) {
            constexpr int Slots = 128;
            const Record_List first(std::string(notation).substr(0, std::strcspn(notation, "\\")));
            for (int i = 0; i < Slots; ++i) {
                extractor(nullptr, first.head, 0);
            }
            const Record_List list(notation);
            const std::string before = Dump(list.head);
            const void* result = nullptr;
            trial([&] { result = extractor(nullptr, list.head, 0); });
            EXPECT_EQ(result == nullptr, list.head->vm == 0);
            EXPECT_EQ(Dump(list.head), before);
            return result != nullptr;
        };
    };
    Check({
        {"strings", extract("0011,1001:LO=one\\two", &NEMA_Value_Str)},
        {"integers", extract("0011,1001:IS=1\\2", &NEMA_Value_Int)},
        {"floats", extract("0011,1001:DS=1\\2", &NEMA_Value_Float)},
        {"bytes", extract("0011,1001:OB=b\\ytes", &NEMA_Value_Hex)},
        {"bytes left in an image",
         [](Trial& trial) {
             std::string image(2048, 'x');
             DICOM_Lib_File_Name = static_cast<wchar_t*>(static_cast<void*>(image.data()));
             const Record_List list("0011,1001:OB#1100");
             const void* result = nullptr;
             trial([&] { result = NEMA_Value_Hex(nullptr, list.head, 0); });
             DICOM_Lib_File_Name = nullptr;
             return result != nullptr;
         }},
        {"names", extract("0011,1001:PN=A^B\\C", &NEMA_Value_Name)},
        {"dates", extract("0011,1001:DA=20210131", &NEMA_Value_Date)},
        {"times", extract("0011,1001:TM=101112", &NEMA_Value_Time)},
        {"conversions of a name",
         [](Trial& trial) {
             OrisWare_Name name = {};
             OrisWare_Name copy = {};
             const char* text = nullptr;
             int made = 0;
             trial([&] {
                 made = Name_From_DICOM(&name, "Family of a long name^Given^Middle^Dr.^M.D.");
                 text = made != 0 ? Name_2_Str(&name) : nullptr;
                 text = text != nullptr ? Name_2_DICOM(&name) : nullptr;
                 made = text != nullptr ? Name_Copy(&copy, &name) : 0;
             });
             EXPECT_EQ(made != 0, copy.defined != 0);
             Name_Free(&name);
             Name_Free(&copy);
             return made != 0;
         }},
        {"conversions of dates and times",
         [](Trial& trial) {
             OrisWare_Date date = {};
             OrisWare_Date copy = {};
             OrisWare_Time time = {};
             OrisWare_Time other = {};
             bool made = false;
             trial([&] {
                 made =
                     Make_Oris_Date(&date, "31 January 2021", "dd mmmm yyyy") != 0 &&
                     Date_2_Str(&date, "dddd of mmmm in the year yyyy, which is long") != nullptr &&
                     Date_2_DICOM(&date) != nullptr && Date_Copy(&copy, &date) != 0 &&
                     Make_Oris_Time(&time, "10:11", "hh:mm") != 0 &&
                     Time_2_Str(&time, "hh hours and mm minutes past midnight") != nullptr &&
                     Time_2_DICOM(&time) != nullptr && Time_Copy(&other, &time) != 0;
             });
             EXPECT_EQ(made, other.state != Oris_State_Unset);
             Date_Free(&date);
             Date_Free(&copy);
             Time_Free(&time);
             Time_Free(&other);
             return made;
         }},
    });
}

DICOM_List* No_Attribute(HWND, DICOM_Root*, DICOM_List**, DICOM_List*, void*)
{
    return nullptr;
}

void* Same_Value(HWND, DICOM_Root*, DICOM_List*, void* user)
{
    return user;
}

TEST(Fault, TablesWithoutMemory)
{
    const auto code_name = [](const char* text) {
        return [=](Trial& trial) {
            const Definition_Directory directory;
            directory.Write("gas", "99SDM C-1 Xenon\n99SDM C-2 Krypton\n");
            std::string name = text;
            Code_Seq code = {};
            code.original_name = name.data();
            int coded = 0;
            trial([&] { coded = DICOM_Macro_CodeSequence_Set(&code, "gas.txt"); });
            for (char* const column : {code.coding_scheme, code.code_value, code.code_meaning}) {
                std::free(column);
            }
            return coded != 0;
        };
    };
    Check({
        {"code of the tracer", code_name("tc-99m")},
        {"code from a table", code_name("xenon")},
        {"handlers",
         [](Trial& trial) {
             bool grown = false;
             trial([&] {
                 grown = DICOM_Module_List_Group_Grow(0x0010, &No_Attribute) != 0 &&
                         DICOM_Module_List_Private_Grow(0x0011, &No_Attribute) != 0 &&
                         DICOM_Attribute_List_Group_Grow(0x0010, &Same_Value) != 0 &&
                         DICOM_Attribute_List_Private_Grow("ACME", &Same_Value) != 0 &&
                         DICOM_Attribute_List_SPI_Grow(0x0011, &Same_Value) != 0;
             });
             return grown;
         }},
        {"description",
         [](Trial& trial) {
             const Record_List list("0010,0010");
             int set = 0;
             trial([&] { set = DICOM_Attribute_Complement_Tag(nullptr, list.head, 0, "name"); });
             return set != 0;
         }},
        {"missing value",
         [](Trial& trial) {
             const Record_List list("0010,0010:LO#4");
             std::string image = "........text";
             DICOM_Root root = {};
             DICOM_Lib_File_Source = 2;
             DICOM_Lib_File_Name = reinterpret_cast<wchar_t*>(image.data());
             int loaded = 0;
             trial([&] { loaded = DICOM_Postproc_Step_5(nullptr, &root, list.head); });
             DICOM_Lib_File_Source = 0;
             DICOM_Lib_File_Name = nullptr;
             EXPECT_EQ(loaded != 0, Value_Of(*list.head) == "text");
             return loaded != 0;
         }},
    });
}

// The dictionary has thousands of allocations; some of each kind are tried.
TEST(Fault, DictionaryWithoutMemory)
{
    const Current_Standard standard;
    bool named = false;
    for (long n = 1;; n += 1 + n / 8) {
        DICOM_Lib_Cleanup();
        const std::size_t before = fault::Live_Blocks();
        Trial trial = {Point::Memory, n, Kind::Error, ENOMEM};
        const TAG_db_Elems* entry = nullptr;
        {
            const Quiet_Log log;
            trial([&] {
                entry = NEMA_db_Locate(0x0010, 0x0010);
                NEMA_db_Locate(0x0008, 0xFFFE);
            });
            // The next lookup tries again.
            EXPECT_NE(NEMA_db_Locate(0x0010, 0x0010), nullptr);
            named = named || log.text.find("in new (var=dictionary,") != log.text.npos;
            EXPECT_EQ(trial.has_struck, !log.text.empty());
        }
        DICOM_Lib_Cleanup();
        EXPECT_EQ(fault::Live_Blocks(), before);
        if (!trial.has_struck) {
            EXPECT_NE(entry, nullptr);
            break;
        }
    }
    EXPECT_TRUE(named);
}

// ---- reading

/** Reads all elements of the sample, extracts a value of each and fetches the long one. */
bool Read_Elements(Byte_Input& input)
{
    const int size = static_cast<int>(Sample().size());
    bool whole = true;
    int elements = 0;
    const auto position = [&] {
        const fault::Pause pause;
        return input.Position();
    };
    while (whole && position() < size) {
        DICOM_List record = {};
        whole =
            NEMA_Get_Data_Element(nullptr, input.source, input.where, input.Ptr(), 8, &record.group,
                                  &record.element, &record.vr, &record.size, size) != 0;
        if (!whole || record.size < 0 || record.group == 0xFFFE) {
            continue;
        }
        record.data = reinterpret_cast<unsigned char*>(
            NEMA_Read_Str(nullptr, input.source, input.where, input.Ptr(), 0, record.size));
        whole = record.data != nullptr && NEMA_Value_Hex(nullptr, &record, VR_OB) != nullptr;
        std::free(record.data);
        ++elements;
    }
    return whole && elements == 18;
}

TEST(Fault, ElementsWithoutMemory)
{
    for (const int source : {NEMA_Source_File, NEMA_Source_Memory}) {
        Byte_Input input(source, Sample());
        Check({{source == NEMA_Source_File ? "file" : "image", [&](Trial& trial) {
                    input.Set_Position(132);
                    bool whole = false;
                    trial([&] { whole = Read_Elements(input); });
                    return whole;
                }}});
    }
}

TEST(Fault, ElementsFromAFailingFile)
{
    const struct {
        Point point;
        Kind kind;
        int error;
        bool passes;
        const char* message;
    } faults[] = {
        {Point::Read, Kind::Short, 0, true, ""},
        {Point::Read, Kind::Interrupted, 0, true, ""},
        {Point::Read, Kind::Error, EIO, false, "Error reading file"},
        {Point::Read, Kind::From_Now_On, EIO, false, "Error reading file"},
        {Point::Seek, Kind::Error, ESPIPE, false, "while seeking pos"},
    };
    for (const auto& fault : faults) {
        Fail_In_Turn(fault.point, fault.kind, fault.error, [&](Trial& trial) {
            const Quiet_Log log;
            Byte_Input input(NEMA_Source_File, Sample());
            input.Set_Position(132);
            bool whole = false;
            trial([&] { whole = Read_Elements(input); });
            EXPECT_TRUE(whole || !fault.passes) << log.text;
            if (!whole) {
                EXPECT_THAT(log.text, AnyOf(HasSubstr(fault.message), HasSubstr("using lseek()")));
            }
        });
    }
}

// ---- the client

struct Mended {
    bool done = false;
    bool has_error = false;
    std::string bytes;
};

/** How much of a file is read into memory at once: all of it, or nothing. */
constexpr std::int64_t Whole = lib_mend::Source::Small_File;
constexpr std::int64_t Piecewise = -1;

/** Reads and mends; running out of memory is a failure like any other. */
Mended Mend_File(const std::string& path, std::int64_t most_in_memory)
{
    using namespace lib_mend;
    Mended mended;
    try {
        Findings findings;
        const Library_Session session(findings);
        std::string error;
        const std::shared_ptr<Source> source = Source::Open(path, error, most_in_memory);
        if (source == nullptr) {
            mended.has_error = !error.empty();
            return mended;
        }
        Data_Set set = Read_Data_Set(source, findings, {.in_memory = most_in_memory});
        Encoded_File out;
        mended.done = Mend(set, {}, findings, out);
        mended.has_error = findings.Has(Level::Error);
        const fault::Pause pause;
        const Bytes joined = out.Joined();
        mended.bytes.assign(joined.begin(), joined.end());
    } catch (const std::bad_alloc&) {
        mended.done = false;
        mended.has_error = true;
    }
    return mended;
}

/** A directory, for the offsets that are adjusted by reading the output again. */
std::string Directory()
{
    Stream_Builder s;
    s.Sequence(0x0004, 0x1220).Item();
    s.Header(0x0004, 0x1400, "UL", 4).Int(0);
    s.Element(0x0004, 0x1430, "CS", "IMAGE ");
    s.Item_End().Sequence_End();
    return Part10_Head("1.2.840.10008.1.2.1") + s.Bytes();
}

/** The same, deflated: it is inflated to memory or to a file. */
std::string Deflated_Directory()
{
    const std::string plain = Directory().substr(Part10_Head("1.2.840.10008.1.2.1").size());
    const lib_mend::Bytes deflated =
        lib_mend::Deflated({reinterpret_cast<const unsigned char*>(plain.data()), plain.size()});
    return Part10_Head("1.2.840.10008.1.2.1.99") + std::string(deflated.begin(), deflated.end());
}

TEST(Fault, MendingWritesAllOrNothing)
{
    const struct {
        Point point;
        Kind kind;
        int error;
        std::int64_t most_in_memory;
        bool passes = false;
    } faults[] = {
        {Point::Memory, Kind::Error, ENOMEM, Whole},
        {Point::Memory, Kind::From_Now_On, ENOMEM, Whole},
        {Point::Open, Kind::Error, EMFILE, Whole},
        {Point::Open, Kind::Error, EMFILE, Piecewise},
        {Point::Read, Kind::Short, 0, Whole, true},
        {Point::Read, Kind::Short, 0, Piecewise, true},
        {Point::Read, Kind::Interrupted, 0, Whole, true},
        {Point::Read, Kind::Interrupted, 0, Piecewise, true},
        {Point::Read, Kind::Error, EIO, Whole},
        {Point::Read, Kind::Error, EIO, Piecewise},
        {Point::Open, Kind::From_Now_On, EACCES, Piecewise},
        {Point::Write, Kind::Error, ENOSPC, Piecewise},
        {Point::Write, Kind::Short, 0, Piecewise, true},
        {Point::Write, Kind::Interrupted, 0, Piecewise, true},
    };
    const Scratch_Folder folder;
    for (const std::string& bytes : {Sample(), Directory(), Deflated_Directory()}) {
        folder.Write("file", bytes);
        const std::string path = folder.Path("file");
        const std::string whole = Mend_File(path, Whole).bytes;
        for (const auto& fault : faults) {
            Fail_In_Turn(fault.point, fault.kind, fault.error, [&](Trial& trial) {
                // The dictionary has a test of its own.
                fault::Load_Dictionary();
                Mended mended;
                trial([&] { mended = Mend_File(path, fault.most_in_memory); });
                EXPECT_NE(mended.done, mended.has_error);
                EXPECT_TRUE(mended.bytes == whole || (mended.has_error && !fault.passes));
            });
        }
    }
}

TEST(Fault, AFileIsWrittenWholeOrNotAtAll)
{
    const struct {
        Point point;
        Kind kind;
        int error;
    } faults[] = {
        {Point::Open, Kind::Error, EMFILE},   {Point::Write, Kind::Error, ENOSPC},
        {Point::Write, Kind::Error, EIO},     {Point::Write, Kind::From_Now_On, ENOSPC},
        {Point::Write, Kind::Interrupted, 0}, {Point::Write, Kind::Short, 0},
        {Point::Rename, Kind::Error, EIO},    {Point::Rename, Kind::Error, EINVAL},
        {Point::Memory, Kind::Error, ENOMEM},
    };
    const std::string first(5000, 'a');
    const std::string second(3000, 'b');
    const auto as_bytes = [](const std::string& text) {
        return std::span(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    };
    for (const auto& fault : faults) {
        for (const bool replace : {false, true}) {
            Fail_In_Turn(fault.point, fault.kind, fault.error, [&](Trial& trial) {
                const Scratch_Folder folder;
                if (replace) {
                    folder.Write("out", "old");
                }
                const std::vector pieces = {as_bytes(first), as_bytes(second)};
                std::string error = "no memory";
                trial([&] {
                    try {
                        error = lib_mend::Write_Safely(folder.Path("out"), pieces, replace);
                    } catch (const std::bad_alloc&) {
                    }
                });
                const std::string found = folder.Read("out");
                const bool is_new = found == first + second;
                EXPECT_TRUE(is_new || !error.empty());
                EXPECT_TRUE(is_new || found == (replace ? "old" : ""));
                EXPECT_EQ(folder.Count(), found.empty() ? 0 : 1) << error;
            });
        }
    }
}

/** What a program in C does with a file, each call told apart by its status. */
struct Use {
    /** Takes the status of a call, and holds why it failed against what is promised. */
    void operator()(dicom_mend_status status)
    {
        const fault::Pause pause;
        const char* const reason = dicom_mend_last_error(session);
        if (status != DICOM_MEND_OK && !failed) {
            // What memory was missing for may also be told by a finding, which is a loss then.
            EXPECT_TRUE(status == DICOM_MEND_NO_MEMORY || dicom_mend_outcome(session) == 2)
                << status << reason;
            failed = true;
        }
    }
    void Read(const std::string& bytes)
    {
        session = dicom_mend_session_new();
        if (session == nullptr) {
            failed = true;
            return;
        }
        (*this)(dicom_mend_set_flag(session, DICOM_MEND_GROUP_LENGTHS, 1));
        (*this)(dicom_mend_set_charset(session, "ISO_IR 100"));
        (*this)(dicom_mend_read_buffer(
            session, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), &set));
    }
    void Change()
    {
        constexpr double Numbers[] = {0.5, 0.25};
        const dicom_mend_item* item = nullptr;
        (*this)(dicom_mend_set_text(set, nullptr, 0x00100010, nullptr, "M\xC3\xBCller", 7));
        (*this)(dicom_mend_set_doubles(set, nullptr, 0x00280030, nullptr, Numbers, 2));
        (*this)(dicom_mend_add_item(set, nullptr, 0x00400275, &item));
        if (item != nullptr) {
            (*this)(dicom_mend_set_text(set, item, 0x00080100, nullptr, "CODE", 4));
        }
        (*this)(dicom_mend_mend(session, set));
    }
    void Look()
    {
        const dicom_mend_element* element = nullptr;
        char text[64];
        double number = 0;
        (*this)(dicom_mend_find_path(set, "0040,0275[0]/CodeValue", &element, nullptr));
        if (element != nullptr) {
            (*this)(dicom_mend_get_text(set, element, 0, text, sizeof text, nullptr));
        }
        element = dicom_mend_find(set, nullptr, 0x00280030);
        if (element != nullptr) {
            (*this)(dicom_mend_get_double(set, element, 1, &number));
        }
        dicom_mend_tag_name(0x00280030, text, sizeof text);
    }
    void Give_Out()
    {
        dicom_mend_dataset* back = nullptr;
        char* json = nullptr;
        char* report = nullptr;
        unsigned char* file = nullptr;
        std::size_t size = 0;
        (*this)(dicom_mend_check(session, set, nullptr));
        (*this)(dicom_mend_to_json(session, set, 0, &json, &size));
        if (json != nullptr) {
            (*this)(dicom_mend_from_json(session, json, size, &back));
        }
        (*this)(dicom_mend_report(session, "file", DICOM_MEND_SARIF, 1, &report, &size));
        (*this)(dicom_mend_encode(session, set, &file, &size));
        {
            const fault::Pause pause;
            encoded.assign(file, file + size);
        }
        dicom_mend_free(json);
        dicom_mend_free(report);
        dicom_mend_free(file);
        dicom_mend_dataset_free(back);
    }
    void Run(const std::string& bytes)
    {
        Read(bytes);
        if (set != nullptr) {
            Change();
            Look();
            Give_Out();
        }
        failed = failed || dicom_mend_outcome(session) == 2;
        dicom_mend_dataset_free(set);
        dicom_mend_session_free(session);
    }

    dicom_mend_session* session = nullptr;
    dicom_mend_dataset* set = nullptr;
    std::vector<unsigned char> encoded;
    bool failed = false;
};

TEST(Fault, CallsInCWithoutMemorySayThat)
{
    // Keywords are looked up in an index that is made once.
    Use sound;
    sound.Run(Sample());
    EXPECT_FALSE(sound.failed);
    EXPECT_FALSE(sound.encoded.empty());
    for (const Kind kind : {Kind::Error, Kind::From_Now_On}) {
        Fail_In_Turn(Point::Memory, kind, ENOMEM, [&](Trial& trial) {
            fault::Load_Dictionary();
            Use use;
            trial([&] { use.Run(Sample()); });
            EXPECT_TRUE(use.failed || use.encoded == sound.encoded);
        });
    }
}

}  // namespace
