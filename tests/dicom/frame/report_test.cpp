// Texts of traces, place lines and memory messages, and the guard at the border.
#include "frame/report.h"

#include "support/message_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

using namespace lib_dicom;
using testing::ElementsAre;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Copy";

std::vector<std::string> Texts(const Message_Log& log)
{
    std::vector<std::string> texts;
    for (const Message& message : log.All()) {
        texts.push_back(message.text);
    }
    return texts;
}

TEST(Report, HiddenTracesAreNotFormatted)
{
    const Message_Log log(8);
    // Reading the text would fault.
    const char* const unreadable = reinterpret_cast<const char*>(16);
    {
        Trace_Scope trace(nullptr, Trace_Entry, "Lib_DICOM: Name(%hs)", unreadable);
        trace.Leave(0, "%s", unreadable);
        Trace(nullptr, Trace_Entry, "%hs", unreadable);
    }
    Trace(nullptr, Trace_List, "level 8");
    EXPECT_THAT(Texts(log), ElementsAre("level 8"));
}

TEST(Report, ErrorsNameTheirPlace)
{
    const Message_Log log;
    const int line = __LINE__ + 1;
    Report_Error(nullptr, This_Unit, "bad %d", 3);
    const std::string number = std::to_string(line);
    EXPECT_THAT(Texts(log), ElementsAre("file:NEMA_Tag_Copy line:" + number, "bad 3"));
    EXPECT_EQ(log.All()[0].severity, 0x80000001U);
    EXPECT_EQ(log.All()[1].severity, 2U);

    Report_Memory(nullptr, Place("NEMA_Tag_Add", 12), "calloc", "insert->item", 3, 8);
    EXPECT_EQ(log.All()[2].severity, 1U);
    EXPECT_EQ(log.All()[2].text, "line 12   of NEMA_Tag_Add \n"
                                 "memory error in calloc (var=insert->item, dim=3x8)");
}

TEST(Report, GuardedTurnsExceptionsIntoTheFailureResult)
{
    const Message_Log log;
    EXPECT_EQ(Guarded(nullptr, This_Unit, 0, [] { return 1; }), 1);
    EXPECT_EQ(Guarded(nullptr, This_Unit, 0, []() -> int { throw std::bad_alloc(); }), 0);
    EXPECT_EQ(Guarded(nullptr, This_Unit, 0, []() -> int { throw std::length_error("size"); }), 0);
    std::string texts;
    for (const std::string& text : Texts(log)) {
        texts += std::regex_replace(text, std::regex("line:?[0-9 ]+"), "line N ") + "\n";
    }
    EXPECT_EQ(texts, "line N of NEMA_Tag_Copy \nmemory error in new (var=buffer, dim=1x1)\n"
                     "Error: file:NEMA_Tag_Copy line N \n");
}

}  // namespace
