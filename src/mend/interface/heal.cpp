#include "mend/interface/heal.h"

#include "mend/consistency/consistency.h"
#include "mend/healing/character_sets.h"
#include "mend/healing/contents.h"
#include "mend/healing/creators.h"
#include "mend/healing/directory.h"
#include "mend/healing/groups.h"
#include "mend/healing/implicit_form.h"
#include "mend/healing/order.h"
#include "mend/healing/original_attributes.h"
#include "mend/healing/pixel_data.h"
#include "mend/healing/repair.h"
#include "mend/healing/values.h"
#include "mend/healing/vrs.h"
#include "mend/reading/tree.h"

#include <optional>

namespace lib_mend {

namespace {

/** Heals the declarations of character sets; false when any text or declaration may be another now. */
bool Heal_Declarations(Data_Set& set, const Contents& contents, const First_Look& look,
                       const Heal_Options& options, Findings& findings)
{
    const std::size_t reports = findings.Count_Of_Reports();
    Heal_Character_Sets(
        set, options, findings,
        {contents.declarations, contents.declarations_in_items, look.Has_Letters()});
    if (contents.declarations_in_items || contents.disorder) {
        Settle_VRs_Of_Declarations(set, options, findings);
    } else if (contents.declarations) {
        Settle_VR_Of_Declaration(set, options, findings);
    }
    return findings.Count_Of_Reports() == reports && !options.to_utf8;
}

}  // namespace

void Heal(Data_Set& set, const Heal_Options& options, Findings& findings)
{
    if (set.healed) {
        return;
    }
    set.healed = true;
    const std::optional<Original_Values> originals =
        options.record ? std::make_optional<Original_Values>(set) : std::nullopt;
    const Contents contents = Contents_Of(set.records.Head());
    if (contents.group_lengths) {
        Check_Group_Lengths(set, set.records.Address(), findings);
    }
    const DICOM_List* const directory =
        contents.low_groups ? Find_Record(set.records.Head(), Directory_Sequence_Tag) : nullptr;
    if (contents.low_groups) {
        Heal_Low_Groups(set, directory != nullptr, findings);
    }
    if (directory != nullptr) {
        Heal_Directory(set, *directory, findings);
    }
    // While an element is at hand, all is looked at that can be: to fetch those of a large tree from
    // memory once more takes longer than the look.
    First_Look look(set, options);
    Subject_Set subject = {set};
    Settle_VRs(set, contents, options, findings,
               [&](DICOM_List& record, const Path& way, const Character_Set& characters) {
                   look.Take(record, characters);
                   Watch(subject, record, way);
               });
    const bool keeps_declarations = Heal_Declarations(set, contents, look, options, findings);
    if (keeps_declarations && !look.Is_Full()) {
        Heal_Doubtful(set, look, options, findings);
    } else {
        Heal_Values(set, set.records, options, findings);
    }
    Heal_Values(set, set.meta, options, findings);
    Check_Meta_Group(set, findings);
    if (options.strict) {
        Heal_New_Texts(set, options, findings);
    }
    if (contents.disorder) {
        Heal_Order(set, set.records, findings);
    }
    // What is strict may have taken elements out.
    const Contents healed = options.strict ? Contents_Of(set.records.Head()) : contents;
    if (healed.unowned) {
        Check_Creators(set.records.Address(), findings);
    }
    if (healed.unknown_tags || directory != nullptr) {
        Check_Unknown_Tags(set.records.Head(), directory != nullptr, findings);
    }
    const std::size_t reports = findings.Count_Of_Reports();
    if (healed.images) {
        Heal_Pixel_Data(set, options.pad_pixels, findings);
    }
    const bool keeps_pixels = findings.Count_Of_Reports() == reports;
    Check_Implicit_Form(set, findings);
    if (keeps_declarations && keeps_pixels && !contents.disorder && !options.strict) {
        Check_Watched(subject, findings);
    } else {
        Check_Consistency(set, findings);
    }
    if (originals) {
        Record_Changes(set, *originals,
                       options.record_time.empty() ? Date_Time_Now() : options.record_time,
                       findings);
    }
}

}  // namespace lib_mend
