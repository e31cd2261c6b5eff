#include "mend/json/to_json.h"

#include "mend/healing/character_set.h"
#include "mend/healing/vrs.h"
#include "mend/json/value_forms.h"
#include "mend/json/value_writer.h"
#include "mend/reading/tree.h"
#include "mend/writing/encoder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace lib_mend {

namespace {

constexpr Tag Transfer_Syntax_Tag = {0x0002, 0x0010};
constexpr unsigned short Meta_Group = 0x0002;
constexpr Tag Pixel_Representation_Tag = {0x0028, 0x0103};

using Shared_Characters = std::shared_ptr<const Character_Set>;

/** The VR that an element is written with; all others are bytes that nothing is known of. */
unsigned short VR_In_JSON(const DICOM_List& record, bool is_signed)
{
    if (Holds_Fragments(record)) {
        return VR_OB;
    }
    if (Holds_Items(record)) {
        return VR_SQ;
    }
    const bool is_choice =
        record.vr == 0 && record.dict != nullptr && std::abs(record.dict->nb_vr) > 1;
    const unsigned short vr = is_choice ? Registry_VR(record, is_signed) : VR_Of(record);
    return vr == VR_SQ || Find_JSON_Form(vr) == nullptr ? VR_UN : vr;
}

/** Goes through the tree with a stack of its own: sequences nest as deep as memory allows. */
class Tree_Writer {
public:
    Tree_Writer(const Data_Set& set, const JSON_Options& options, Findings& findings,
                const JSON_Taker& take)
        : set_(set), options_(options), findings_(findings), out_(take, options.pretty),
          values_(set, options, findings, out_)
    {
    }

    bool Run()
    {
        out_.Put("{");
        levels_.push_back({.elements = {}, .characters = std::make_shared<Character_Set>()});
        Write_Meta();
        levels_.back() = Level_Of(set_.records.Head());
        levels_.back().has_elements = has_meta_;
        while (!levels_.empty() && out_.Is_Taken()) {
            Go_On();
        }
        out_.Flush();
        return out_.Is_Taken() && values_.Could_Read();
    }

private:
    struct Open_List {
        std::vector<DICOM_List*> elements;
        std::size_t next = 0;
        Shared_Characters characters;
        bool is_signed = false;
        bool has_elements = false;
        /** The sequence that is being gone through, and its item. */
        DICOM_List* sequence = nullptr;
        int item = 0;
    };

    /** What a list declares holds for the lists inside it too. */
    Open_List Level_Of(DICOM_List* list) const
    {
        Open_List level = {.elements = Sorted_Elements(list),
                           .characters = levels_.back().characters,
                           .is_signed = levels_.back().is_signed};
        for (const DICOM_List* record : level.elements) {
            if (Tag_Of(*record) == Character_Set_Tag) {
                constexpr std::size_t Enough = 1024;
                level.characters =
                    std::make_shared<Character_Set>(Trimmed(set_.Value(*record, Enough)));
            } else if (Tag_Of(*record) == Pixel_Representation_Tag) {
                const Bytes value = set_.Value(*record, 2);
                level.is_signed =
                    value.size() == 2 && Get_UShort(record->byte_order, value.data()) == 1;
            }
        }
        if (options_.shows) {
            std::erase_if(level.elements,
                          [this](const DICOM_List* record) { return !options_.shows(*record); });
        }
        return level;
    }

    void Key(Tag tag)
    {
        Open_List& level = levels_.back();
        out_.Put(level.has_elements ? "," : "");
        level.has_elements = true;
        out_.Break(Depth() + 1);
        char key[16];
        std::snprintf(key, sizeof key, "\"%04X%04X\":", tag.group, tag.element);
        out_.Put(key);
        out_.Blank();
    }
    /** Levels of indentation around the keys of a level: one for the sequence, one for the item. */
    std::size_t Depth() const
    {
        return 2 * (levels_.size() - 1);
    }
    void VR(unsigned short vr)
    {
        out_.Put("{\"vr\":");
        out_.Blank();
        const char letters[] = {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
        out_.Put_String({letters, sizeof letters});
    }

    void Write_Meta()
    {
        const std::vector<DICOM_List*> elements = Sorted_Elements(set_.meta.Head());
        const bool has_syntax = set_.encoding.encapsulated && !set_.syntax.empty();
        bool is_due = has_syntax;
        for (DICOM_List* const record : elements) {
            if (is_due && Tag_Of(*record) >= Transfer_Syntax_Tag) {
                Write_Syntax();
                is_due = false;
            }
            const bool is_done = has_syntax && Tag_Of(*record) == Transfer_Syntax_Tag;
            if (options_.file_meta && !is_done) {
                Write_Element(*record);
            }
        }
        if (is_due) {
            Write_Syntax();
        }
        has_meta_ = levels_.back().has_elements;
    }
    /** The one that the pixel data have, whatever the file declares. */
    void Write_Syntax()
    {
        Key(Transfer_Syntax_Tag);
        VR(VR_UI);
        out_.Put(",");
        out_.Blank();
        out_.Put("\"Value\":");
        out_.Blank();
        out_.Put("[");
        out_.Put_String(set_.syntax);
        out_.Put("]}");
    }

    void Go_On()
    {
        Open_List& level = levels_.back();
        if (level.next < level.elements.size()) {
            DICOM_List& record = *level.elements[level.next++];
            const bool is_twice =
                level.next > 1 && Tag_Of(*level.elements[level.next - 2]) == Tag_Of(record);
            if (is_twice) {
                findings_.Report(Fault::Duplicate, Level::Error, At(record, way_),
                                 "the element occurs twice; the JSON holds the first alone");
            } else if (way_.empty() && record.group == Meta_Group) {
                findings_.Report(Fault::Foreign_Group, Level::Error, At(record, way_),
                                 "the element does not belong here; it is not in the JSON");
            } else {
                Write_Element(record);
            }
            return;
        }
        const bool had_elements = level.has_elements;
        levels_.pop_back();
        if (had_elements) {
            out_.Break(levels_.empty() ? 0 : Depth() + 2);
        }
        out_.Put("}");
        if (!levels_.empty()) {
            way_.pop_back();
            Enter_Item(levels_.back().item + 1);
        }
    }

    void Write_Element(DICOM_List& record)
    {
        if (Is_Group_Length(record)) {
            if (!has_group_lengths_) {
                findings_.Report(Fault::Removed, Level::Info, At(record, way_),
                                 "group lengths are left out of JSON");
            }
            has_group_lengths_ = true;
            return;
        }
        Key(Tag_Of(record));
        const unsigned short vr = VR_In_JSON(record, levels_.back().is_signed);
        VR(vr);
        if (vr == VR_SQ) {
            levels_.back().sequence = &record;
            Enter_Item(0);
            return;
        }
        values_.Write({record, way_, *levels_.back().characters, vr});
        out_.Put("}");
    }

    /** Begins an item of the open sequence, or ends the sequence behind the last one. */
    void Enter_Item(int item)
    {
        Open_List& level = levels_.back();
        DICOM_List* const list = Item_Of(*level.sequence, item);
        level.item = item;
        if (list == nullptr) {
            if (item > 0) {
                out_.Break(Depth() + 1);
                out_.Put("]");
            }
            out_.Put("}");
            return;
        }
        if (item == 0) {
            out_.Put(",");
            out_.Blank();
            out_.Put("\"Value\":");
            out_.Blank();
            out_.Put("[");
        } else {
            out_.Put(",");
        }
        out_.Break(Depth() + 2);
        out_.Put("{");
        way_.push_back({Tag_Of(*level.sequence), item});
        levels_.push_back(Level_Of(list));
    }

    const Data_Set& set_;
    const JSON_Options& options_;
    Findings& findings_;
    Text_Writer out_;
    Value_Writer values_;
    std::vector<Open_List> levels_;
    Path way_;
    bool has_meta_ = false;
    bool has_group_lengths_ = false;
};

}  // namespace

bool To_JSON(const Data_Set& set, const JSON_Options& options, Findings& findings,
             const JSON_Taker& take)
{
    return Tree_Writer(set, options, findings, take).Run();
}

}  // namespace lib_mend
