// The elements that are compared between files.
#ifndef LIB_MEND_STUDY_ELEMENTS_H
#define LIB_MEND_STUDY_ELEMENTS_H

#include "mend/consistency/study_values.h"

#include <iterator>

namespace lib_mend {

struct Element_Row {
    Tag tag;
    unsigned short vr;
    Compared_Form form = Compared_Form::Text;
};

/** In the order of the rows below. */
enum Element : std::size_t {
    Patient_ID,
    Issuer,
    Patient_Name,
    Birth_Date,
    Sex,
    Study_UID,
    Study_Date,
    Study_Time,
    Accession_Number,
    Study_ID,
    Study_Description,
    Referring_Physician,
    Series_UID,
    Modality,
    Series_Number,
    Laterality,
    Series_Date,
    Series_Time,
    Series_Description,
    Body_Part,
    Protocol,
    Position,
    Manufacturer,
    Model,
    Serial_Number,
    Frame_UID,
    Reference_Indicator,
    Instance_UID,
    SOP_Class,
    Frame_Count,
    Element_Count
};

inline constexpr Element_Row Rows[] = {
    {{0x0010, 0x0020}, VR_LO},
    {{0x0010, 0x0021}, VR_LO},
    {{0x0010, 0x0010}, VR_PN, Compared_Form::Name},
    {{0x0010, 0x0030}, VR_DA},
    {{0x0010, 0x0040}, VR_CS},
    {{0x0020, 0x000D}, VR_UI},
    {{0x0008, 0x0020}, VR_DA},
    {{0x0008, 0x0030}, VR_TM, Compared_Form::Time},
    {{0x0008, 0x0050}, VR_SH},
    {{0x0020, 0x0010}, VR_SH},
    {{0x0008, 0x1030}, VR_LO},
    {{0x0008, 0x0090}, VR_PN, Compared_Form::Name},
    {{0x0020, 0x000E}, VR_UI},
    {{0x0008, 0x0060}, VR_CS},
    {{0x0020, 0x0011}, VR_IS, Compared_Form::Number},
    {{0x0020, 0x0060}, VR_CS},
    {{0x0008, 0x0021}, VR_DA},
    {{0x0008, 0x0031}, VR_TM, Compared_Form::Time},
    {{0x0008, 0x103E}, VR_LO},
    {{0x0018, 0x0015}, VR_CS},
    {{0x0018, 0x1030}, VR_LO},
    {{0x0018, 0x5100}, VR_CS},
    {{0x0008, 0x0070}, VR_LO},
    {{0x0008, 0x1090}, VR_LO},
    {{0x0018, 0x1000}, VR_LO},
    {{0x0020, 0x0052}, VR_UI},
    {{0x0020, 0x1040}, VR_LO},
    {{0x0008, 0x0018}, VR_UI},
    {{0x0008, 0x0016}, VR_UI},
    {{0x0028, 0x0008}, VR_IS, Compared_Form::Number},
};
static_assert(std::size(Rows) == Element_Count);

}  // namespace lib_mend

#endif
