// Every kind of fault that a finding can be about.
#ifndef LIB_MEND_FAULT_H
#define LIB_MEND_FAULT_H

namespace lib_mend {

/** The rows of the table in faults.cpp, in its order; their stable names stand there. */
enum class Fault : unsigned char {
    Padding,
    Characters,
    Old_Syntax,
    Form,
    Control_Characters,
    UID,
    UID_Replaced,
    Strict,
    Length,
    Size,
    Multiplicity,
    Value_VR,
    Range,
    Integer,
    Year_2000,
    Last_Backslash,
    Character_Set,
    Character_Set_Bytes,
    Odd_Length,
    VR,
    VR_Unknown,
    VR_Other,
    Encoding,
    Header,
    Value_Length,
    Garbage,
    Private_Definition,
    Unreadable,
    Truncated,
    Order,
    Duplicate,
    Lost,
    Foreign_Group,
    Nesting,
    Depth,
    Fragments,
    Pixel_VR,
    Pixel_Size,
    Pixel_Attributes,
    Frames,
    Offset_Table,
    Overlay,
    Undefined_Length,
    Preamble,
    Not_DICOM,
    Wrapper,
    Preamble_Used,
    File_Meta,
    Meta_Missing,
    Meta_Differs,
    Transfer_Syntax,
    Deflated,
    Trailing,
    Directory,
    Retired,
    Group_Length,
    Creator,
    Removed,
    Missing,
    Empty,
    IOD,
    Definitions,
    Set,
    Original_Attributes,
    /** What the library says in words of its own: its kind is recognised by its text. */
    Other
};

}  // namespace lib_mend

#endif
