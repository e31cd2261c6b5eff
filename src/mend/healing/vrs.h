// The VR of each element: which the registry gives, and what becomes of values of another one.
#ifndef LIB_MEND_VRS_H
#define LIB_MEND_VRS_H

#include "mend/healing/character_set.h"
#include "mend/healing/contents.h"
#include "mend/healing/inherited.h"
#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

#include <functional>

namespace lib_mend {

inline constexpr Tag Pixel_Representation_Tag = {0x0028, 0x0103};

/** Pixel Representation of the lists of a tree: an item without it has that of the list around it. */
class Signs_Of_Lists {
public:
    /** @param any  false when Pixel Representation stands nowhere */
    explicit Signs_Of_Lists(const Data_Set& set, bool any = true)
        : set_(set), lists_(false), any_(any)
    {
    }
    /**
     * Tells whether pixel values of the list that a record is in are signed. To be asked about the
     * elements of the whole tree in the order of a walk.
     */
    bool Of(DICOM_List& record, const Path& way);

private:
    const Data_Set& set_;
    Inherited<bool> lists_;
    bool any_;
};

/**
 * The VR that the registry gives an element in a list: of several US or SS by Pixel Representation,
 * words for anything that may be words (PS3.5 section A.1). 0 when it gives none.
 */
unsigned short Registry_VR(const DICOM_List& record, bool is_signed);

/** Tells whether an element has an explicit VR that the registry does not give it. */
bool Has_Foreign_VR(const DICOM_List& record);

/**
 * Settles the VRs of all elements. UN becomes the VR of the registry; a value of another VR than the
 * registry's is written in the registry's where that says exactly the same, and keeps its VR
 * otherwise; a private value that contradicts its definition is UN. Declarations of character sets
 * are left to the function below.
 *
 * @param at_hand  at_hand(record, way, characters) is called for each element behind that, declarations
 *                 included
 */
using Element_Visit = std::function<void(DICOM_List&, const Path&, const Character_Set&)>;
void Settle_VRs(Data_Set& set, const Contents& contents, const Heal_Options& options,
                Findings& findings, const Element_Visit& at_hand);

/** The same for the declarations of character sets, once their terms are healed. */
void Settle_VRs_Of_Declarations(Data_Set& set, const Heal_Options& options, Findings& findings);

/** The same for that of the data set itself. */
void Settle_VR_Of_Declaration(Data_Set& set, const Heal_Options& options, Findings& findings);

}  // namespace lib_mend

#endif
