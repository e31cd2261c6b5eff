// Data sets whose parts contradict each other, and sound ones next to them.
#include "mend/consistency/consistency.h"
#include "mend/consistency/study.h"
#include "mend/consistency/study_values.h"
#include "mend/findings/attributes.h"
#include "mend/healing/records.h"
#include "mend/interface/heal.h"
#include "mend/reading/tree.h"
#include "support/case_page.h"
#include "support/mend_in_memory.h"
#include "support/samples.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace {

using namespace lib_mend;

constexpr char Cases[] = "mend/consistency/consistency.cases";

/** A value as the VR of the registry has it. */
void Put_Value(Stream_Builder& stream, Tag tag, const std::string& text)
{
    const unsigned short vr = Find_Attribute(tag)->vrs.front();
    const std::string name = {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
    Stream_Builder value;
    std::size_t at = 0;
    if (vr == VR_US || vr == VR_UL || vr == VR_AT) {
        while (at < text.size()) {
            const std::size_t end = std::min(text.find('\\', at), text.size());
            const auto number =
                std::stoul(text.substr(at, end - at), nullptr, vr == VR_AT ? 16 : 10);
            if (vr == VR_AT) {
                value.Short(static_cast<unsigned int>(number >> 16));
            }
            if (vr == VR_UL) {
                value.Int(static_cast<int>(number));
            } else {
                value.Short(static_cast<unsigned int>(number & 0xFFFFU));
            }
            at = end + 1;
        }
    } else {
        value.Raw(text).Raw(std::string(text.size() % 2, vr == VR_UI ? '\0' : ' '));
    }
    stream.Element(tag.group, tag.element, name, value.Bytes());
}

/** "0008,0018=1.2.3 300a,00b0{300a,00c0=1 300c,00a0=7}{300a,00c0=2}": elements, and items in braces. */
std::string Data_Set_Of(const std::string& text)
{
    Stream_Builder stream;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == '{') {
            stream.Item();
            ++at;
        } else if (text[at] == '}') {
            stream.Item_End();
            ++at;
            if (at == text.size() || text[at] != '{') {
                stream.Sequence_End();
            }
        } else if (text[at] == ' ') {
            ++at;
        } else {
            const Tag tag = {
                static_cast<unsigned short>(std::stoul(text.substr(at, 4), nullptr, 16)),
                static_cast<unsigned short>(std::stoul(text.substr(at + 5, 4), nullptr, 16))};
            at += 9;
            if (text[at] == '=') {
                const std::size_t end = std::min(text.find_first_of(" }", at), text.size());
                Put_Value(stream, tag, text.substr(at + 1, end - at - 1));
                at = end;
            } else {
                stream.Sequence(tag.group, tag.element);
            }
        }
    }
    return Part10_Head(Explicit_Little_UID) + stream.Bytes();
}

std::string Lines_Of(const std::vector<Finding>& findings)
{
    Mended_File file;
    file.findings = findings;
    return file.Lines();
}

TEST(Consistency, OfOneDataSet)
{
    For_Each_Case(Cases, "data sets", 3, [](const Case_Row& row) {
        Findings findings;
        const Library_Session session(findings);
        const Data_Set set = Read_Data_Set(Source_Of(Data_Set_Of(row[0])), findings);
        ASSERT_EQ(findings.Count(), 0U) << Lines_Of(findings.All());
        Check_Consistency(set, findings);
        EXPECT_EQ(Lines_Of(findings.All()), row[1].empty() ? "" : row[1] + "\n");
        EXPECT_EQ(Without_Section(findings.All()), "");
        if (!row[2].empty()) {
            EXPECT_STREQ(Clause_Of(findings.All().at(0)), row[2].c_str());
        }
    });
}

/** Gives an element another value; false when there is nothing to replace. */
bool Replace(DICOM_List& record, const std::string& value)
{
    if (Is_Delimiter(record) || !Has_Value(record) || Size_Of(record) == 0) {
        return false;
    }
    Set_Bytes(record, std::string_view(value));
    return true;
}

/** One element of a sample after the other has a value that leads nowhere. */
TEST(Consistency, FindsChangesOfSamples)
{
    int changed = 0;
    For_Each_Sample([&](const std::string& name, const std::string& bytes) {
        SCOPED_TRACE(name);
        Findings findings;
        const Library_Session session(findings);
        Data_Set set = Read_Data_Set(Source_Of(bytes), findings);
        Heal(set, {}, findings);
        For_Each_Case(Cases, "changes", 4, [&](const Case_Row& row) {
            const auto number = row.Tag(1);
            const Tag tag = {static_cast<unsigned short>(number >> 16),
                             static_cast<unsigned short>(number & 0xFFFFU)};
            For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& path) {
                std::string around;
                for (const Path_Step& step : path) {
                    around += (around.empty() ? "" : "/") + Tag_Text(step.sequence);
                }
                if (Tag_Of(record) != tag || around != row[0]) {
                    return;
                }
                const Bytes before = set.Value(record);
                if (!Replace(record, row[2])) {
                    return;
                }
                Findings told;
                Check_Consistency(set, told);
                EXPECT_NE(Lines_Of(told.All()).find(row[3] + " (" + Path_Text(path, tag) + ")"),
                          std::string::npos)
                    << Path_Text(path, tag) << "\n"
                    << Lines_Of(told.All());
                ++changed;
                Set_Bytes(record, std::string_view(reinterpret_cast<const char*>(before.data()),
                                                   before.size()));
            });
        });
    });
    if (std::getenv("LIB_DICOM_SAMPLES") != nullptr) {
        std::printf("values changed: %d\n", changed);
        EXPECT_GT(changed, 40);
    }
}

/** Files as lines "name: elements", and what is told of them, in the order of their names. */
TEST(Consistency, OfManyFiles)
{
    For_Each_Case(Cases, "studies", 2, [](const Case_Row& row) {
        Findings read;
        const Library_Session session(read);
        std::map<std::string, std::string> files;
        std::istringstream lines(row[0]);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t colon = line.find(": ");
            files[line.substr(0, colon)] = Data_Set_Of(line.substr(colon + 2));
        }
        std::string expected = row[1].empty() ? "" : row[1] + "\n";
        for (const bool is_reversed : {false, true}) {
            std::vector<std::string> names;
            for (const auto& [name, bytes] : files) {
                names.insert(is_reversed ? names.begin() : names.end(), name);
            }
            Study study;
            for (const std::string& name : names) {
                study.Add(name, Facts_Of(Read_Data_Set(Source_Of(files.at(name)), read)));
            }
            std::string told;
            const auto sum_of = [&](const std::string& name) {
                return Sum_Of_Contents(Read_Data_Set(Source_Of(files.at(name)), read));
            };
            for (const Study::Told& each : study.Compare(sum_of)) {
                EXPECT_EQ(Without_Section(each.findings.All()), "");
                std::istringstream all(Lines_Of(each.findings.All()));
                for (std::string line; std::getline(all, line);) {
                    told.append(each.file).append(": ").append(line).append("\n");
                }
            }
            EXPECT_EQ(told, expected);
        }
        EXPECT_EQ(read.Count(), 0U);
    });
}

}  // namespace
