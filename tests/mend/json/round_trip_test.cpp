// Data sets to JSON and back: the same elements, VRs and values, over made files, their faults and,
// when LIB_DICOM_SAMPLES names a folder of them, samples.
#include "support/fault_generator.h"
#include "support/json_round_trip.h"
#include "support/samples.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace lib_mend;

std::string Differences_In(const std::string& file)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read_Data_Set(Source_Of(file), findings);
    Findings of_json;
    return nlohmann::json::accept(JSON_Of(set, of_json)) ? JSON_Differences(set) : "is no JSON\n";
}

bool Is_Directory_Offset_Path(const std::string& path)
{
    return path.starts_with("0004,120") || path.ends_with("/0004,1400") ||
           path.ends_with("/0004,1420");
}

/** What a reader that knows nothing of all this finds in a file that went through JSON. */
std::string Differences_When_Written(const std::string& file)
{
    Mend_Options options;
    options.syntax = Output_Syntax::Keep;
    options.heal.to_utf8 = true;
    const Mended_File mended = Mend_In_Memory(file, options);
    const Plain_File before = Read_Plain(mended.bytes);
    if (!before.error.empty() || before.is_big) {
        return "";  // not for such a reader
    }
    Findings findings;
    const Library_Session session(findings);
    const std::string text = JSON_Of(Read_Data_Set(Source_Of(mended.bytes), findings), findings);
    Data_Set set = From_JSON(text, "test", findings);
    Encoded_File out;
    if (!mended.done || !Mend(set, {}, findings, out)) {
        return mended.done ? "is not written\n" : "";
    }
    const Bytes joined = out.Joined();
    const Plain_File after = Read_Plain({joined.begin(), joined.end()});
    std::string differences = after.error;
    const auto values = after.Values();
    for (const auto& [path, value] : before.Values()) {
        const auto found = values.find(path);
        // Group lengths are left out, and the offsets of a directory follow its records.
        if (path.ends_with(",0000") || Is_Directory_Offset_Path(path)) {
            continue;
        }
        if (found == values.end() || Without_Padding(found->second) != Without_Padding(value)) {
            differences += path + " is another\n";
        }
    }
    return differences;
}

TEST(JSON, BringsMadeFilesAndTheirFaultsBack)
{
    int cases = 0;
    for (const Sound_File& sound : Made_Sound_Files()) {
        EXPECT_EQ(Differences_In(sound.bytes), "") << sound.name;
        EXPECT_EQ(Differences_When_Written(sound.bytes), "") << sound.name;
    }
    for (const std::size_t file : {0U, 2U}) {
        const Sound_File& sound = Made_Sound_Files().at(file);
        For_Each_Fault(sound, 1, [&](const Fault_Case& fault) {
            EXPECT_EQ(Differences_In(fault.bytes), "") << sound.name << ", " << fault.kind;
            ++cases;
        });
    }
    EXPECT_GT(cases, 100);
}

TEST(JSON, BringsSamplesBack)
{
    For_Each_Sample([](const std::string& name, const std::string& bytes) {
        EXPECT_EQ(Differences_In(bytes), "") << name;
        EXPECT_EQ(Differences_When_Written(bytes), "") << name;
    });
}

}  // namespace
