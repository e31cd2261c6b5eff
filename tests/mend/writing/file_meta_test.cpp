// UIDs of the file meta information and those of the data set.
#include "support/mend_in_memory.h"
#include "support/stream_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace lib_mend;

/** A file whose meta information and data set have UIDs of their own; null for none. */
std::string File_Of(const char* meta, const char* instance)
{
    Stream_Builder group;
    group.Element(0x0002, 0x0001, "OB", std::string_view("\0\1", 2));
    group.Element(0x0002, 0x0002, "UI", "1.2\0");
    if (meta != nullptr) {
        group.Element(0x0002, 0x0003, "UI", Padded_UID(meta));
    }
    group.Element(0x0002, 0x0010, "UI", Padded_UID(Explicit_Little_UID));
    group.Element(0x0002, 0x0012, "UI", Padded_UID("1.2.3"));
    group.Element(0x0002, 0x0016, "AE", "SENDER");
    Stream_Builder s;
    s.Raw(std::string(128, '\0')).Raw("DICM");
    s.Header(0x0002, 0x0000, "UL", 4).Int(static_cast<int>(group.Bytes().size()));
    s.Raw(group.Bytes());
    if (instance != nullptr) {
        s.Element(0x0008, 0x0018, "UI", Padded_UID(instance));
    }
    return s.Element(0x0008, 0x0060, "CS", "CT").Bytes();
}

std::string Instance_In_Meta(const std::string& bytes)
{
    Findings findings;
    const Library_Session session(findings);
    const Data_Set set = Read_Data_Set(Source_Of(bytes), findings);
    const DICOM_List* const record = Find_Record(set.meta.Head(), {0x0002, 0x0003});
    return record != nullptr ? Trimmed(set.Value(*record)) : "";
}

TEST(File_Meta, LosesNoUID)
{
    const struct {
        const char* meta;
        const char* instance;
        const char* expected;
        const char* level;
    } cases[] = {
        {"1.2.3", "1.2.3", "1.2.3", ""},
        {"1.2.3", "1.2.4", "1.2.3", "kept meta-differs (0002,0003)"},
        {"1.2.3", "1.2.x", "1.2.3", "kept meta-differs (0002,0003)"},
        {"1.2.3", nullptr, "1.2.3", ""},
        {nullptr, "1.2.4", "1.2.4", "change meta-missing"},
        {nullptr, nullptr, "2.25.", "change meta-missing"},
        {nullptr, "1.2.x", "1.2.x", "change meta-missing"},
    };
    for (const auto& row : cases) {
        const Mended_File mended = Mend_In_Memory(File_Of(row.meta, row.instance));
        SCOPED_TRACE(mended.Lines());
        EXPECT_TRUE(Instance_In_Meta(mended.bytes).starts_with(row.expected));
        EXPECT_NE(mended.Lines().find(row.level), std::string::npos);
        EXPECT_NE(mended.bytes.find("SENDER"), std::string::npos);
        EXPECT_EQ(Mend_In_Memory(mended.bytes).bytes, mended.bytes);
    }
}

}  // namespace
