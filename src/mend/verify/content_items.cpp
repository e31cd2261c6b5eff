#include "mend/verify/content_items.h"

#include "mend/reading/tree.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace lib_mend {

namespace {

constexpr Tag SOP_Class = {0x0008, 0x0016};
constexpr Tag Relationship_Type = {0x0040, 0xA010};
constexpr Tag Value_Type = {0x0040, 0xA040};
constexpr Tag Content_Sequence = {0x0040, 0xA730};
constexpr Tag Referenced_Item = {0x0040, 0xDB73};

constexpr std::string_view Reports = "1.2.840.10008.5.1.4.1.1.88.";

/** Reports whose items are related by value only (PS3.3 sections A.35.1, A.35.2, A.35.4). */
constexpr std::string_view By_Value_Only[] = {"1.2.840.10008.5.1.4.1.1.88.11",
                                              "1.2.840.10008.5.1.4.1.1.88.22",
                                              "1.2.840.10008.5.1.4.1.1.88.59"};

/**
 * Value types between which a relationship stands (PS3.3 table C.17.3-8 and the tables of section A.35,
 * all reports together). Blanks around each; an empty list stands for any.
 */
struct Relationship {
    std::string_view name;
    std::string_view sources;
    std::string_view targets;
};
constexpr Relationship Relationships[] = {
    {"CONTAINS", " CONTAINER ", ""},
    {"HAS OBS CONTEXT", "", " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME COMPOSITE CONTAINER "},
    {"HAS CONCEPT MOD", "", " TEXT CODE "},
    {"HAS PROPERTIES", "", ""},
    {"HAS ACQ CONTEXT", "", " TEXT CODE NUM DATETIME DATE TIME UIDREF PNAME CONTAINER "},
    {"INFERRED FROM", "", ""},
    {"SELECTED FROM", " SCOORD SCOORD3D TCOORD ", " IMAGE WAVEFORM SCOORD SCOORD3D COMPOSITE "},
};

bool Is_Among(std::string_view list, std::string_view type)
{
    return list.empty() || type.empty() ||
           list.find(" " + std::string(type) + " ") != std::string_view::npos;
}

std::string Text_Of(const Data_Set& set, const DICOM_List* record)
{
    constexpr std::size_t Longest = 64;
    return record != nullptr ? Trimmed(set.Value(*record, Longest)) : std::string();
}

class Content_Check {
public:
    Content_Check(const Data_Set& set, std::string_view report, Findings& findings)
        : set_(set), findings_(findings),
          by_value_only_(std::find(std::begin(By_Value_Only), std::end(By_Value_Only), report) !=
                         std::end(By_Value_Only))
    {
    }

    void Run()
    {
        Tree_Walk walk(set_.records.Head());
        while (DICOM_List* const record = walk.Next()) {
            const std::size_t depth = walk.Way().size();
            types_.resize(depth + 1);
            if (Is_Delimiter(*record)) {
                types_[depth].clear();
            } else if (Tag_Of(*record) == Value_Type) {
                types_[depth] = Text_Of(set_, record);
            } else if (Tag_Of(*record) == Content_Sequence) {
                walk.For_Each_Item(*record, [&](DICOM_List** item, const Path& way) {
                    Check_Item(types_[depth], *item, way);
                });
            }
        }
    }

private:
    void Check_Item(const std::string& source, DICOM_List* item, const Path& way)
    {
        const DICOM_List* const relation = Find_Record(item, Relationship_Type);
        const DICOM_List* const reference = Find_Record(item, Referenced_Item);
        if (by_value_only_ && reference != nullptr) {
            findings_.Report(Fault::Content_Item, Level::Kept, At(*reference, way),
                             "relates content items by reference, which this kind of report "
                             "does not");
        }
        const std::string name = Text_Of(set_, relation);
        const auto* const row =
            std::find_if(std::begin(Relationships), std::end(Relationships),
                         [&](const Relationship& known) { return known.name == name; });
        if (row == std::end(Relationships)) {
            return;
        }
        const std::string target = Text_Of(set_, Find_Record(item, Value_Type));
        const bool is_source = Is_Among(row->sources, source);
        if (!is_source || !Is_Among(row->targets, target)) {
            findings_.Report(Fault::Content_Item, Level::Kept, At(*relation, way),
                             is_source ? name + " does not lead to an item of this value type"
                                       : name + " does not start at an item of the value type "
                                                "around");
        }
    }

    const Data_Set& set_;
    Findings& findings_;
    bool by_value_only_;
    /** The value types of the item in hand and of those around it. */
    std::vector<std::string> types_;
};

}  // namespace

void Check_Content_Items(const Data_Set& set, Findings& findings)
{
    const std::string report = set.Text(SOP_Class);
    if (report.starts_with(Reports)) {
        Content_Check(set, report, findings).Run();
    }
}

}  // namespace lib_mend
