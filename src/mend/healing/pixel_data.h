// Pixel data: its VR, its fragments, and what the attributes of the image say about it.
#ifndef LIB_MEND_HEALING_PIXEL_DATA_H
#define LIB_MEND_HEALING_PIXEL_DATA_H

#include "mend/reading/data_set.h"

#include <vector>

namespace lib_mend {

/** Pixel data as numbers of a width that the tag alone tells, or as integers. */
inline constexpr Tag Float_Pixel_Tag = {0x7FE0, 0x0008};
inline constexpr Tag Double_Pixel_Tag = {0x7FE0, 0x0009};

/**
 * Heals all that concerns pixel data, and finds what is wrong with the attributes around it. The
 * values themselves stay in the source.
 *
 * @param pad  fill native pixel data that is too short with zeros
 */
void Heal_Pixel_Data(Data_Set& set, bool pad, Findings& findings);

/** A compressed stream of defined length becomes a fragment (PS3.5 section A.4). */
void Encapsulate_Stream(Data_Set& set, DICOM_List& pixels, Findings& findings);

/** Says which fragments will be padded. */
void Report_Odd_Fragments(const DICOM_List& pixels, Findings& findings);

/** Brings the offset tables in line with the fragments, and counts frames. */
void Heal_Offset_Table(Data_Set& set, DICOM_List& pixels, Findings& findings);

/** Native pixel data of a list gets the VR that its bits ask for (PS3.5 section 8.2 and annex A). */
void Heal_Pixel_VR(const Data_Set& set, DICOM_List* list, const Path& path, Findings& findings);

/** Native pixel data of a list, of another size than the image. */
void Heal_Pixel_Size(const Data_Set& set, DICOM_List* list, const Path& path, bool pad,
                     Findings& findings);

/** Attributes of the image in a list that contradict each other. */
void Check_Pixel_Attributes(const Data_Set& set, DICOM_List* list, const Path& path,
                            Findings& findings);

/** Overlays that do not fit their data or the image. */
void Check_Overlays(const Data_Set& set, Findings& findings);

/** The fragments of encapsulated data; the first is the offset table. */
std::vector<DICOM_List*> Fragments_Of(const DICOM_List& pixels);

}  // namespace lib_mend

#endif
