#include "mend/healing/pixel_data.h"

namespace lib_mend {

std::vector<DICOM_List*> Fragments_Of(const DICOM_List& pixels)
{
    std::vector<DICOM_List*> fragments;
    for (int i = 0; Item_Of(pixels, i) != nullptr; ++i) {
        if (Tag_Of(*Item_Of(pixels, i)) == Item_Tag) {
            fragments.push_back(Item_Of(pixels, i));
        }
    }
    return fragments;
}

void Report_Odd_Fragments(const DICOM_List& pixels, Findings& findings)
{
    if (pixels.size != DICOM_Undefined_Length) {
        return;
    }
    int number = 0;
    const std::vector<DICOM_List*> fragments = Fragments_Of(pixels);
    if (fragments.empty() || (fragments.size() == 1 && fragments.front()->size == 0)) {
        findings.Report(Fault::Fragments, Level::Kept, At(pixels, {}),
                        "encapsulated pixel data without any fragment");
    }
    for (const DICOM_List* const fragment : fragments) {
        if (fragment->size % 2 > 0) {
            const Path path = {{Pixel_Data_Tag, number}};
            findings.Report(Fault::Fragments, Level::Change, At(*fragment, path),
                            "fragment of odd length is padded to an even one");
        }
        ++number;
    }
}

}  // namespace lib_mend
