#include "mend/interface/check.h"

#include "mend/interface/heal.h"
#include "mend/interface/mend.h"
#include "mend/interface/output_form.h"
#include "mend/writing/file_meta.h"

#include <string>

namespace lib_mend {

void Check(Data_Set& set, const Heal_Options& options, Findings& findings)
{
    if (set.foreign) {
        return;
    }
    const bool settles = set.was_damaged && !set.healed;
    Heal(set, options, findings);
    findings.Settle_Errors();
    if (!Can_Be_Written(set, Output_Syntax::Keep, findings)) {
        return;
    }
    // What only the form of the output shows is a fault of the file all the same.
    const Encoding encoding = Fit_To_Output(set, Output_Syntax::Keep, options, findings);
    const std::string syntax = encoding.encapsulated ? set.syntax : std::string(UID_Of(encoding));
    Complete_Meta(set, syntax, findings);
    findings.Settle_Errors();
    if (settles) {
        Settle_Unwritten(set, options, encoding, findings);
    }
}

}  // namespace lib_mend
