// Where the parts of a data set are given names, mostly numbers, and where others call them by these
// names. References to other objects are not here, though they use the same elements.
#ifndef LIB_MEND_REFERENCE_NAMES_H
#define LIB_MEND_REFERENCE_NAMES_H

#include "mend/findings/findings.h"

namespace lib_mend {

/** What is called by names of its own. */
enum class Space {
    Frame_Of_Reference,
    ROI,
    Beam,
    Application_Setup,
    Dose_Reference,
    Patient_Setup,
    Tolerance_Table,
    Fraction_Group,
    Wedge,
    Source,
    Segment,
    Surface,
    Dimension_Organization,
    Graphic_Layer,
    Graphic_Group,
    Contrast_Agent,
    Tracer,
    Specimen,
    Optical_Path,
    Observation,
    Range_Shifter,
    MAC
};

enum class Role {
    /** Gives a name. */
    Names,
    /** Gives a name that nothing else in the same space has. */
    Names_Once,
    /** Uses a name. */
    Refers,
    /** Uses a name where any is given; what gives it may be left out as a whole. */
    Refers_If_Any
};

struct Name_Row {
    Tag tag;
    /** The sequence that the element stands in, and the outermost one; (0000,0000) for any. */
    Tag sequence;
    Tag outermost;
    Space space;
    Role role;
    const char* text;
    const char* clause;
    /** Names are those of one item of the outermost sequence. */
    bool of_item = false;
};

inline constexpr Tag Any = {};
inline constexpr Tag Top_Level = {0xFFFF, 0xFFFF};
inline constexpr Tag Structure_Frames = {0x3006, 0x0010};
inline constexpr Tag Structure_ROIs = {0x3006, 0x0020};
inline constexpr Tag ROI_Contours = {0x3006, 0x0039};
inline constexpr Tag ROI_Observations = {0x3006, 0x0080};
inline constexpr Tag Related_ROIs = {0x3006, 0x0030};
inline constexpr Tag Fraction_Groups = {0x300A, 0x0070};
inline constexpr Tag Beams = {0x300A, 0x00B0};
inline constexpr Tag Ion_Beams = {0x300A, 0x03A2};
inline constexpr Tag Application_Setups = {0x300A, 0x0230};
inline constexpr Tag Referenced_Beams = {0x300C, 0x0004};
inline constexpr Tag Referenced_Setups = {0x300C, 0x000A};
inline constexpr Tag Referenced_Doses = {0x300C, 0x0050};
inline constexpr Tag Dose_References = {0x300A, 0x0010};
inline constexpr Tag Specimens = {0x0040, 0x0560};
inline constexpr Tag Segments = {0x0062, 0x0002};
inline constexpr Tag Identified_Segments = {0x0062, 0x000A};
inline constexpr Tag Annotations = {0x0070, 0x0001};
inline constexpr Tag Layers = {0x0070, 0x0060};
inline constexpr Tag Organizations = {0x0020, 0x9221};
inline constexpr Tag Dimensions = {0x0020, 0x9222};

inline constexpr char No_ROI[] = "there is no ROI of this number in the structure set";
inline constexpr char No_Beam[] = "there is no beam of this number in the plan";
inline constexpr char No_Setup[] = "there is no application setup of this number in the plan";
inline constexpr char No_Dose[] = "there is no dose reference of this number in the plan";
inline constexpr char No_Patient_Setup[] = "there is no patient setup of this number in the plan";
inline constexpr char No_Table[] = "there is no tolerance table of this number in the plan";
inline constexpr char No_Wedge[] = "the beam has no wedge of this number";
inline constexpr char No_Source[] = "there is no source of this number in the plan";
inline constexpr char No_Layer[] = "there is no graphic layer of this name";
inline constexpr char Agent_Twice[] = "two agents have this number";
inline constexpr char No_Agent[] = "there is no agent of this number";
inline constexpr char Wedge_Twice[] = "two wedges of the beam have this number";
inline constexpr char Beam_Twice[] = "two beams of the plan have this number";

constexpr Name_Row Names(Tag tag, Tag sequence, Tag outermost, Space space)
{
    return {tag, sequence, outermost, space, Role::Names, "", nullptr};
}

constexpr Name_Row Names_Once(Tag tag, Tag sequence, Tag outermost, Space space, const char* text,
                              const char* clause)
{
    return {tag, sequence, outermost, space, Role::Names_Once, text, clause};
}

constexpr Name_Row Refers(Tag tag, Tag sequence, Tag outermost, Space space, const char* text,
                          const char* clause)
{
    return {tag, sequence, outermost, space, Role::Refers, text, clause};
}

constexpr Name_Row Refers_If_Any(Tag tag, Tag sequence, Tag outermost, Space space,
                                 const char* text, const char* clause)
{
    return {tag, sequence, outermost, space, Role::Refers_If_Any, text, clause};
}

constexpr Name_Row Of_Item(Name_Row row)
{
    row.of_item = true;
    return row;
}

/** Sorted by tag. */
inline constexpr Name_Row Name_Rows[] = {
    Names_Once({0x0018, 0x9337}, {0x0018, 0x0012}, Any, Space::Contrast_Agent, Agent_Twice,
               "PS3.3 C.7.6.4b"),
    Refers_If_Any({0x0018, 0x9337}, {0x0018, 0x9341}, Any, Space::Contrast_Agent, No_Agent,
                  "PS3.3 C.7.6.16.2.12"),
    Names_Once({0x0018, 0x9729}, {0x0054, 0x0016}, Any, Space::Tracer, Agent_Twice,
               "PS3.3 C.8.22.4"),
    Refers_If_Any({0x0018, 0x9729}, {0x0018, 0x9737}, Any, Space::Tracer, No_Agent,
                  "PS3.3 C.8.22.5"),
    Names({0x0020, 0x0052}, Any, Any, Space::Frame_Of_Reference),
    Names({0x0020, 0x9164}, Organizations, Any, Space::Dimension_Organization),
    Refers({0x0020, 0x9164}, Dimensions, Any, Space::Dimension_Organization,
           "the Dimension Organization Sequence does not have it", "PS3.3 C.7.6.17"),
    Names_Once({0x0040, 0x0554}, Specimens, Specimens, Space::Specimen,
               "two specimens have this UID", "PS3.3 C.7.6.22"),
    Refers_If_Any({0x0040, 0x0554}, {0x0048, 0x0110}, Any, Space::Specimen,
                  "there is no specimen of this UID", "PS3.3 C.8.12.6.3"),
    Names_Once({0x0048, 0x0106}, {0x0048, 0x0105}, Any, Space::Optical_Path,
               "two optical paths have this identifier", "PS3.3 C.8.12.5"),
    Refers_If_Any({0x0048, 0x0106}, {0x0048, 0x0207}, Any, Space::Optical_Path,
                  "there is no optical path of this identifier", "PS3.3 C.8.12.6.2"),
    Names({0x0062, 0x0004}, Segments, Segments, Space::Segment),
    Refers({0x0062, 0x000B}, Identified_Segments, Any, Space::Segment,
           "there is no segment of this number", "PS3.3 C.8.20.3"),
    Names_Once({0x0066, 0x0003}, {0x0066, 0x0002}, Any, Space::Surface,
               "two surfaces have this number", "PS3.3 C.27.1"),
    Refers({0x0066, 0x002C}, {0x0066, 0x002B}, Segments, Space::Surface,
           "there is no surface of this number", "PS3.3 C.8.23.1"),
    Refers({0x0070, 0x0002}, Annotations, Annotations, Space::Graphic_Layer, No_Layer,
           "PS3.3 C.10.5"),
    Names({0x0070, 0x0002}, Layers, Layers, Space::Graphic_Layer),
    Names_Once({0x0070, 0x0295}, {0x0070, 0x0234}, Any, Space::Graphic_Group,
               "two graphic groups have this number", "PS3.3 C.10.11"),
    Refers({0x0070, 0x0295}, Any, Annotations, Space::Graphic_Group,
           "there is no graphic group of this number", "PS3.3 C.10.5"),
    Names({0x0400, 0x0005}, {0x4FFE, 0x0001}, Any, Space::MAC),
    Refers({0x0400, 0x0005}, {0xFFFA, 0xFFFA}, Any, Space::MAC,
           "there are no MAC parameters of this number", "PS3.3 C.12.1.1.3"),
    Names_Once({0x3006, 0x0022}, Structure_ROIs, Structure_ROIs, Space::ROI,
               "two ROIs have this number", "PS3.3 C.8.8.5"),
    Refers_If_Any({0x3006, 0x0024}, Structure_ROIs, Structure_ROIs, Space::Frame_Of_Reference,
                  "the structure set has no such frame of reference", "PS3.3 C.8.8.5"),
    Names_Once({0x3006, 0x0082}, ROI_Observations, ROI_Observations, Space::Observation,
               "two observations have this number", "PS3.3 C.8.8.8"),
    Refers({0x3006, 0x0082}, {0x3006, 0x00A0}, ROI_Observations, Space::Observation,
           "there is no observation of this number", "PS3.3 C.8.8.8"),
    Refers({0x3006, 0x0084}, ROI_Contours, ROI_Contours, Space::ROI, No_ROI, "PS3.3 C.8.8.6"),
    Refers({0x3006, 0x0084}, ROI_Observations, ROI_Observations, Space::ROI, No_ROI,
           "PS3.3 C.8.8.8"),
    Refers({0x3006, 0x0084}, Related_ROIs, ROI_Observations, Space::ROI, No_ROI, "PS3.3 C.8.8.8"),
    Names_Once({0x300A, 0x0012}, Dose_References, Dose_References, Space::Dose_Reference,
               "two dose references have this number", "PS3.3 C.8.8.10"),
    Names_Once({0x300A, 0x0042}, {0x300A, 0x0040}, Any, Space::Tolerance_Table,
               "two tolerance tables have this number", "PS3.3 C.8.8.11"),
    Names_Once({0x300A, 0x0042}, {0x300A, 0x03A0}, Any, Space::Tolerance_Table,
               "two tolerance tables have this number", "PS3.3 C.8.8.24"),
    Names_Once({0x300A, 0x0071}, Fraction_Groups, Fraction_Groups, Space::Fraction_Group,
               "two fraction groups have this number", "PS3.3 C.8.8.13"),
    Names_Once({0x300A, 0x00C0}, Beams, Beams, Space::Beam, Beam_Twice, "PS3.3 C.8.8.14"),
    Names_Once({0x300A, 0x00C0}, Ion_Beams, Ion_Beams, Space::Beam, Beam_Twice, "PS3.3 C.8.8.25"),
    Of_Item(Names_Once({0x300A, 0x00D2}, {0x300A, 0x00D1}, Beams, Space::Wedge, Wedge_Twice,
                       "PS3.3 C.8.8.14")),
    Of_Item(Names_Once({0x300A, 0x00D2}, {0x300A, 0x03AA}, Ion_Beams, Space::Wedge, Wedge_Twice,
                       "PS3.3 C.8.8.25")),
    Names_Once({0x300A, 0x0182}, {0x300A, 0x0180}, {0x300A, 0x0180}, Space::Patient_Setup,
               "two patient setups have this number", "PS3.3 C.8.8.12"),
    Names_Once({0x300A, 0x0212}, {0x300A, 0x0210}, {0x300A, 0x0210}, Space::Source,
               "two sources have this number", "PS3.3 C.8.8.15"),
    Names_Once({0x300A, 0x0234}, Application_Setups, Application_Setups, Space::Application_Setup,
               "two application setups have this number", "PS3.3 C.8.8.15"),
    Of_Item(Names_Once({0x300A, 0x0316}, {0x300A, 0x0314}, Ion_Beams, Space::Range_Shifter,
                       "two range shifters of the beam have this number", "PS3.3 C.8.8.25")),
    Refers({0x300C, 0x0006}, Referenced_Beams, Fraction_Groups, Space::Beam, No_Beam,
           "PS3.3 C.8.8.13"),
    Refers({0x300C, 0x000C}, Referenced_Setups, Fraction_Groups, Space::Application_Setup, No_Setup,
           "PS3.3 C.8.8.13"),
    Refers({0x300C, 0x000E}, Any, Application_Setups, Space::Source, No_Source, "PS3.3 C.8.8.15"),
    Refers({0x300C, 0x0051}, Referenced_Doses, Fraction_Groups, Space::Dose_Reference, No_Dose,
           "PS3.3 C.8.8.13"),
    Refers({0x300C, 0x0051}, Referenced_Doses, Beams, Space::Dose_Reference, No_Dose,
           "PS3.3 C.8.8.14"),
    Refers({0x300C, 0x0051}, Referenced_Doses, Ion_Beams, Space::Dose_Reference, No_Dose,
           "PS3.3 C.8.8.25"),
    Refers({0x300C, 0x0051}, {0x300C, 0x0055}, Application_Setups, Space::Dose_Reference, No_Dose,
           "PS3.3 C.8.8.15"),
    Refers({0x300C, 0x006A}, Beams, Beams, Space::Patient_Setup, No_Patient_Setup,
           "PS3.3 C.8.8.14"),
    Refers({0x300C, 0x006A}, Ion_Beams, Ion_Beams, Space::Patient_Setup, No_Patient_Setup,
           "PS3.3 C.8.8.25"),
    Refers({0x300C, 0x00A0}, Beams, Beams, Space::Tolerance_Table, No_Table, "PS3.3 C.8.8.14"),
    Refers({0x300C, 0x00A0}, Ion_Beams, Ion_Beams, Space::Tolerance_Table, No_Table,
           "PS3.3 C.8.8.25"),
    Of_Item(Refers({0x300C, 0x00C0}, {0x300A, 0x0116}, Beams, Space::Wedge, No_Wedge,
                   "PS3.3 C.8.8.14")),
    Of_Item(Refers({0x300C, 0x00C0}, {0x300A, 0x03AC}, Ion_Beams, Space::Wedge, No_Wedge,
                   "PS3.3 C.8.8.25")),
    Of_Item(Refers({0x300C, 0x0100}, {0x300A, 0x0360}, Ion_Beams, Space::Range_Shifter,
                   "the beam has no range shifter of this number", "PS3.3 C.8.8.25")),
    Refers({0x6000, 0x1001}, Top_Level, Any, Space::Graphic_Layer, No_Layer, "PS3.3 C.11.7"),
};

}  // namespace lib_mend

#endif
