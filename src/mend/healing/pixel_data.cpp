#include "mend/healing/pixel_data.h"

namespace lib_mend {

void Heal_Pixel_Data(Data_Set& set, Findings& findings)
{
    Encapsulate_Stream(set, findings);
    Heal_Pixel_VR(set, findings);
    Heal_Fragments(set, findings);
}

}  // namespace lib_mend
