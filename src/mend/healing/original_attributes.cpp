#include "mend/healing/original_attributes.h"

#include "mend/healing/character_terms.h"
#include "mend/healing/conformity.h"
#include "mend/healing/list_index.h"
#include "mend/healing/original_item.h"
#include "mend/healing/record_building.h"
#include "mend/healing/texts.h"
#include "mend/io/system_files.h"

#include <utility>

namespace lib_mend {

namespace {

/** Sorts the values that changed into the two sequences of an item. */
class Recorder {
public:
    Recorder(Data_Set& set, const Original_Values& originals, Findings& findings)
        : set_(set), index_(set), findings_(findings), terms_(originals.Character_Terms()),
          characters_(terms_)
    {
    }

    void Take(const Changed_Value& change)
    {
        using Kind = Changed_Value::Kind;
        if (change.is_too_deep) {
            Say(change, "it is nested too deeply for its former value to be kept");
            return;
        }
        DICOM_List** const list = index_.List_At(change.path);
        if (list == nullptr) {
            Say(change, "the sequence of its former value is gone, which is not kept");
        } else if (change.kind == Kind::Gone && index_.Find(list, change.tag) != nullptr) {
            // Whoever drops one of two says what is lost; to put it back would cost the other one.
            return;
        } else if (change.kind == Kind::Added || Is_Valid(change)) {
            item_.Add_Modified(change);
        } else {
            item_.Add_Nonconforming(change, Creators_Of(change.path),
                                    index_.Creator_Of(list, change.tag));
        }
    }

    Original_Item& Item()
    {
        return item_;
    }

private:
    void Say(const Changed_Value& change, const char* text)
    {
        const Place place = {true, change.tag, change.vr, &change.path, change.position};
        findings_.Report(Fault::Original_Attributes, Level::Error, place, text);
    }

    bool Is_Valid(const Changed_Value& change)
    {
        const bool is_plain = change.path.empty() && change.tag.group % 2 == 0 &&
                              !change.value.empty() && change.vr != 0;
        const bool has_same_vr = change.new_vr == 0 || change.new_vr == change.vr;
        if (!is_plain || !has_same_vr) {
            return false;
        }
        if (change.tag == Character_Set_Tag && !Declaration_Is_Valid()) {
            return false;
        }
        const std::string_view text(reinterpret_cast<const char*>(change.value.data()),
                                    change.value.size());
        // Without a declaration of their own, former texts would be read in the present sets.
        const bool is_readable =
            Is_Plain(text) || Declaration_Is_Valid() || Present_Terms() == terms_;
        return is_readable && Conforms(change.tag, change.vr, change.value, characters_);
    }

    /** Tells whether the item can declare the character sets of the former texts. */
    bool Declaration_Is_Valid() const
    {
        const lib_mend::Character_Terms terms = Read_Character_Terms(terms_);
        return !terms.respelt && !terms.has_unknown && !terms.is_crowded;
    }

    std::string Present_Terms() const
    {
        return set_.Text(Character_Set_Tag);
    }

    /** The creators of the sequences of a path, with backslashes between them. */
    std::string Creators_Of(const Path& path)
    {
        std::string creators;
        Path way;
        for (const Path_Step& step : path) {
            creators +=
                (way.empty() ? "" : "\\") + index_.Creator_Of(index_.List_At(way), step.sequence);
            way.push_back(step);
        }
        return creators.find_first_not_of('\\') == creators.npos ? std::string() : creators;
    }

    Data_Set& set_;
    List_Index index_;
    Findings& findings_;
    std::string terms_;
    Character_Set characters_;
    Original_Item item_;
};

DICOM_List* Sequence_For_Item(Data_Set& set, Findings& findings)
{
    DICOM_List* sequence = Find_Record(set.records.Head(), Original_Attributes_Tag);
    if (sequence == nullptr) {
        Record_List fresh(New_Record(Original_Attributes_Tag, VR_SQ));
        Set_Items(*fresh.Head(), {});
        sequence = List_Index(set).Insert(set.records.Address(), std::move(fresh));
    } else if (VR_Of(*sequence) != VR_SQ) {
        findings.Report(Fault::Original_Attributes, Level::Error, At(*sequence, Path()),
                        "it is no sequence, so that no former value can be kept");
        return nullptr;
    }
    return sequence;
}

}  // namespace

std::string Date_Time_Now()
{
    return Local_Date_Time();
}

void Record_Changes(Data_Set& set, const Original_Values& originals, std::string_view date_time,
                    Findings& findings)
{
    if (originals.Pixels_Changed(set)) {
        findings.Report(Fault::Original_Attributes, Level::Kept, Place{true, Pixel_Data_Tag},
                        "pixel data of before are not kept in Original Attributes");
    }
    Recorder recorder(set, originals, findings);
    originals.For_Each_Change(set, [&](const Changed_Value& change) { recorder.Take(change); });
    if (recorder.Item().Is_Empty()) {
        return;
    }
    DICOM_List* const sequence = Sequence_For_Item(set, findings);
    if (sequence == nullptr) {
        return;
    }
    Append_Item(*sequence, recorder.Item().Finish(date_time));
    findings.Report(Fault::Original_Attributes, Level::Info, At(*sequence, Path()),
                    "the former values are kept in Original Attributes");
}

}  // namespace lib_mend
