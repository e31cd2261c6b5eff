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
    Settle_VRs(set, options, findings);
    Heal_Character_Sets(set, options, findings);
    Settle_VRs_Of_Declarations(set, options, findings);
    Heal_Values(set, set.records, options, findings);
    Heal_Values(set, set.meta, options, findings);
    if (options.strict) {
        Heal_New_Texts(set, options, findings);
    }
    Heal_Order(set, set.records, findings);
    const Contents healed = Contents_Of(set.records.Head());
    if (healed.private_groups) {
        Check_Creators(set.records.Address(), findings);
    }
    if (healed.unknown_tags) {
        Check_Unknown_Tags(set.records.Head(), findings);
    }
    if (healed.images) {
        Heal_Pixel_Data(set, options.pad_pixels, findings);
    }
    Check_Implicit_Form(set, findings);
    Check_Consistency(set, findings);
    if (originals) {
        Record_Changes(set, *originals,
                       options.record_time.empty() ? Date_Time_Now() : options.record_time,
                       findings);
    }
}

}  // namespace lib_mend
