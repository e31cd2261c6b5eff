// Nothing is taken away or added where the number of values is wrong: nobody knows which of them are
// meant. The empty value behind a last backslash counts (PS3.5 section 6.4).
#include "mend/healing/multiplicity.h"

#include "mend/findings/attributes.h"

#include <string>

namespace lib_mend {

namespace {

bool Is_Between(std::size_t count, unsigned int least, unsigned int most)
{
    return count >= least && (most == Attribute::Unbounded || count <= most);
}

}  // namespace

bool Fits_Multiplicity(const DICOM_List& record, std::size_t count)
{
    // What is retired was defined in several ways.
    if (count == 0 || record.dict == nullptr || record.dict->nb_vr < 1 ||
        Is_Between(count, record.dict->vm[0].vm_min, record.dict->vm[0].vm_max)) {
        return true;
    }
    const Attribute attribute = Attribute_Of(*record.dict);
    return attribute.retired || Is_Between(count, attribute.vm_min, attribute.vm_max);
}

std::string Multiplicity_Text(const DICOM_List& record, std::size_t count)
{
    const Attribute attribute = Attribute_Of(*record.dict);
    std::string wanted = std::to_string(attribute.vm_min);
    if (attribute.vm_max == Attribute::Unbounded) {
        wanted += " or more";
    } else if (attribute.vm_max != attribute.vm_min) {
        wanted += " to " + std::to_string(attribute.vm_max);
    }
    return std::to_string(count) + (count == 1 ? " value" : " values") + " instead of " + wanted;
}

}  // namespace lib_mend
