#include "mend/healing/pixel_data.h"

namespace lib_mend {

void Heal_Pixel_Data(Data_Set& set, bool pad, Findings& findings)
{
    Encapsulate_Stream(set, findings);
    Heal_Pixel_VR(set, findings);
    Report_Odd_Fragments(set, findings);
    Heal_Offset_Table(set, findings);
    Heal_Pixel_Size(set, pad, findings);
    Check_Pixel_Attributes(set, findings);
    Check_Overlays(set, findings);
}

}  // namespace lib_mend
