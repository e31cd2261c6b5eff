#include "mend/interface/heal.h"

#include "mend/healing/character_sets.h"
#include "mend/healing/creators.h"
#include "mend/healing/repair.h"
#include "mend/writing/pixel_data.h"

namespace lib_mend {

void Heal(Data_Set& set, const Heal_Options& options, Findings& findings)
{
    if (set.healed) {
        return;
    }
    set.healed = true;
    DICOM_Root root = {};
    DICOM_Attribute_Complement(nullptr, &root, set.records.Head());
    Settle_VRs(set, findings);
    Heal_Character_Sets(set, options, findings);
    Repair_Values(set, set.records.Head(), findings);
    Repair_Values(set, set.meta.Head(), findings);
    Sort_Records(set.records, findings);
    Check_Creators(set.records.Address(), findings);
    Report_Pixel_Changes(set, findings);
}

}  // namespace lib_mend
