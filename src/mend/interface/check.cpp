#include "mend/interface/check.h"

#include "mend/interface/heal.h"
#include "mend/writing/file_meta.h"

#include <string>

namespace lib_mend {

void Check(Data_Set& set, const Heal_Options& options, Findings& findings)
{
    if (set.foreign) {
        return;
    }
    Heal(set, options, findings);
    const std::string syntax =
        set.encoding.encapsulated ? set.syntax : std::string(UID_Of(set.encoding));
    Complete_Meta(set, syntax, findings);
    findings.Settle_Errors();
}

}  // namespace lib_mend
