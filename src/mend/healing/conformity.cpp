#include "mend/healing/conformity.h"

#include "mend/healing/multiplicity.h"
#include "mend/healing/value.h"

namespace lib_mend {

bool Conforms(Tag tag, unsigned short vr, const Bytes& value, const Character_Set& characters)
{
    const std::string_view text(reinterpret_cast<const char*>(value.data()), value.size());
    DICOM_List record = {};
    record.group = tag.group;
    record.element = tag.element;
    record.dict = NEMA_db_Locate(tag.group, tag.element);
    const Healed_Value healed = Heal_Value({text, vr, characters});
    return healed.notes.empty() && Fits_Multiplicity(record, healed.count) &&
           characters.First_Invalid(text, vr) == std::string_view::npos;
}

}  // namespace lib_mend
