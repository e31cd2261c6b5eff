#include "mend/interface/output_form.h"

#include "mend/healing/implicit_form.h"
#include "mend/healing/repair.h"

namespace lib_mend {

namespace {

Encoding Wanted_Encoding(const Data_Set& set, Output_Syntax syntax)
{
    switch (syntax) {
    case Output_Syntax::Implicit_Little:
        return Encoding_Of(Implicit_Little_UID);
    case Output_Syntax::Explicit_Little:
        return Encoding_Of(Explicit_Little_UID);
    case Output_Syntax::Explicit_Big:
        return Encoding_Of(Explicit_Big_UID);
    case Output_Syntax::Keep:
        break;
    }
    Encoding encoding = set.encoding;
    if (encoding.encapsulated || encoding.deflated) {
        // Both exist in explicit VR little endian only (PS3.5 sections A.4 and A.5).
        encoding.explicit_vr = true;
        encoding.big_endian = false;
        encoding.deflated = encoding.deflated && !encoding.encapsulated;
    } else if (encoding.big_endian) {
        // There is no transfer syntax for implicit VR big endian.
        encoding.explicit_vr = true;
    }
    return encoding;
}

/** The encoding that is wanted, or explicit VR where implicit VR cannot carry a value. */
Encoding Output_Encoding(const Data_Set& set, Output_Syntax syntax, Findings& findings)
{
    Encoding encoding = Wanted_Encoding(set, syntax);
    Path way;
    const DICOM_List* const unfit =
        encoding.explicit_vr ? nullptr : Find_Unfit_For_Implicit(set, way);
    if (unfit == nullptr) {
        return encoding;
    }
    encoding.explicit_vr = true;
    if (set.encoding.explicit_vr) {
        findings.Report(Fault::Transfer_Syntax, Level::Kept, At(*unfit, way),
                        "implicit VR cannot carry these bytes, which would be taken for " +
                            Mistaken_For(*unfit) + "; the data set stays in explicit VR");
    }
    return encoding;
}

}  // namespace

Encoding Fit_To_Output(Data_Set& set, Output_Syntax syntax, const Heal_Options& options,
                       Findings& findings)
{
    const Encoding encoding = Output_Encoding(set, syntax, findings);
    Fit_To_Encoding(set, encoding, options, findings);
    return encoding;
}

}  // namespace lib_mend
