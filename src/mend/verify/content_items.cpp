#include "mend/verify/content_items.h"

#include "mend/healing/image.h"
#include "mend/healing/numbers.h"
#include "mend/reading/tree.h"
#include "mend/verify/content_tables.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_map>
#include <vector>

namespace lib_mend {

namespace {

constexpr Tag SOP_Class = {0x0008, 0x0016};
constexpr Tag Relationship_Type = {0x0040, 0xA010};
constexpr Tag Value_Type = {0x0040, 0xA040};
constexpr Tag Content_Sequence = {0x0040, 0xA730};
constexpr Tag Referenced_Item = {0x0040, 0xDB73};

constexpr std::string_view Reports = "1.2.840.10008.5.1.4.1.1.88.";

bool Is_Among(std::string_view list, std::string_view type)
{
    return type.empty() || list.find(" " + std::string(type) + " ") != std::string_view::npos;
}

bool Is_Relation(std::string_view list, const std::string& name)
{
    return list.find("|" + name + "|") != std::string_view::npos;
}

bool Is_Content(const Path& way)
{
    return std::all_of(way.begin(), way.end(),
                       [](const Path_Step& step) { return step.sequence == Content_Sequence; });
}

/** The way to a content item is 1 for the document, then the number of an item on each level. */
bool Leads_Around(const Numbers& target, const Path& item)
{
    if (target.empty() || target.front() != 1 || target.size() > item.size() + 1 ||
        !Is_Content(item)) {
        return false;
    }
    return std::equal(
        target.begin() + 1, target.end(), item.begin(),
        [](std::int64_t number, const Path_Step& step) { return number == step.item + 1; });
}

/** Content items by their place in the document. Each list is gone through once. */
class Content_Places {
public:
    explicit Content_Places(const Data_Set& set) : set_(set)
    {
    }

    /** The value type of a content item; empty where there is none. */
    const std::string& Type_At(const Numbers& way)
    {
        static const std::string none;
        DICOM_List* list = !way.empty() && way.front() == 1 ? set_.records.Head() : nullptr;
        for (std::size_t i = 1; i < way.size() && list != nullptr; ++i) {
            const DICOM_List* const content = Of(list).content;
            const bool is_item = content != nullptr && way[i] >= 1 && way[i] <= content->nb_item;
            list = is_item ? Item_Of(*content, static_cast<int>(way[i] - 1)) : nullptr;
        }
        return list != nullptr ? Of(list).type : none;
    }

private:
    struct Item {
        const DICOM_List* content = nullptr;
        std::string type;
    };

    const Item& Of(DICOM_List* list)
    {
        const auto [entry, is_new] = items_.try_emplace(list);
        if (is_new) {
            entry->second = {Find_Record(list, Content_Sequence), Text_In(set_, list, Value_Type)};
        }
        return entry->second;
    }

    const Data_Set& set_;
    std::unordered_map<const DICOM_List*, Item> items_;
};

/** The row of a document; null when there is none. */
template <class Row, std::size_t Size>
const Row* Row_Of(const Row (&rows)[Size], std::string_view document)
{
    const auto* const row = std::find_if(std::begin(rows), std::end(rows), [&](const Row& each) {
        return each.document == document;
    });
    return row != std::end(rows) ? row : nullptr;
}

class Content_Check {
public:
    Content_Check(const Data_Set& set, std::string_view report, Findings& findings)
        : set_(set), findings_(findings), report_(report), places_(set),
          by_value_only_(std::find(std::begin(By_Value_Only), std::end(By_Value_Only), report) !=
                         std::end(By_Value_Only)),
          value_types_(Row_Of(Value_Types, report)), relations_(Row_Of(Relations, report))
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
                types_[depth] = Trimmed(set_.Value(*record, Longest_Type));
                Check_Type(types_[depth], *record, walk.Way());
            } else if (Tag_Of(*record) == Content_Sequence) {
                walk.For_Each_Item(*record, [&](DICOM_List** item, const Path& way) {
                    Check_Relation(types_[depth], *item, way);
                    Check_Reference(Find_Record(*item, Referenced_Item), way);
                });
            }
        }
    }

private:
    static constexpr std::size_t Longest_Type = 64;

    void Say(const DICOM_List& record, const Path& way, const std::string& text, const char* clause)
    {
        findings_.Report(Fault::Content_Item, Level::Kept, At(record, way), text, {}, clause);
    }

    void Check_Type(const std::string& type, const DICOM_List& record, const Path& way)
    {
        // What is no value type at all, the definitions tell.
        if (type.empty() || !Is_Content(way) || !Is_Among(All_Value_Types, type)) {
            return;
        }
        if (way.empty() && type != "CONTAINER") {
            Say(record, way, "the document itself is to be a CONTAINER, not " + type,
                "PS3.3 C.17.3");
        } else if (value_types_ != nullptr && !Is_Among(value_types_->types, type)) {
            Say(record, way, "this kind of document has no content items of value type " + type,
                value_types_->clause);
        }
    }

    /** What is no relationship at all, the definitions tell. */
    bool Has_Relation(const std::string& name) const
    {
        return relations_ == nullptr || !Is_Relation(All_Relations, name) ||
               Is_Relation(relations_->relations, name);
    }

    void Check_Relation(const std::string& source, DICOM_List* item, const Path& way)
    {
        const DICOM_List* const relation = Find_Record(item, Relationship_Type);
        const std::string name = Text_In(set_, item, Relationship_Type);
        const DICOM_List* const reference = Find_Record(item, Referenced_Item);
        const std::string target = reference != nullptr && !by_value_only_
                                       ? places_.Type_At(Target_Of(*reference))
                                       : Text_In(set_, item, Value_Type);
        if (!Has_Relation(name)) {
            Say(*relation, way, "this kind of document has no relationship " + name,
                relations_->clause);
            return;
        }
        const auto is_meant = [&](const auto& row) {
            return row.relation == name && (row.document.empty() || row.document == report_);
        };
        for (const Source_Row& row : Sources) {
            if (is_meant(row) && !Is_Among(row.sources, source)) {
                Say(*relation, way, name + " does not start at an item of the value type around",
                    row.clause);
                return;
            }
        }
        // A value type that the document does not have is said once, of the item.
        const bool has_type = value_types_ == nullptr || Is_Among(value_types_->types, target);
        for (const Target_Row& row : Targets) {
            if (has_type && is_meant(row) && (row.source.empty() || row.source == source) &&
                !Is_Among(row.targets, target)) {
                Say(*relation, way, name + " does not lead to an item of this value type",
                    row.clause);
                return;
            }
        }
    }

    /** The place of the content item that a reference leads to; empty for no numbers. */
    Numbers Target_Of(const DICOM_List& reference) const
    {
        constexpr std::size_t Enough = 1024;
        const Bytes value = set_.Value(reference, Enough);
        return Numbers_In({reinterpret_cast<const char*>(value.data()), value.size()},
                          VR_Of(reference), reference.byte_order)
            .value_or(Numbers());
    }

    void Check_Reference(const DICOM_List* reference, const Path& way)
    {
        if (reference == nullptr) {
            return;
        }
        if (by_value_only_) {
            Say(*reference, way,
                "relates content items by reference, which this kind of report does not",
                "PS3.3 C.17.3");
            return;
        }
        if (Leads_Around(Target_Of(*reference), way)) {
            Say(*reference, way, "refers to a content item that it is itself a part of",
                "PS3.3 C.17.3");
        }
    }

    const Data_Set& set_;
    Findings& findings_;
    std::string_view report_;
    Content_Places places_;
    bool by_value_only_;
    /** Null where nothing is said of them here. */
    const Type_Row* value_types_;
    const Relation_Row* relations_;
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
