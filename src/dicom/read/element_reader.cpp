// The header of a data element (PS3.5 section 7.1) in the forms that streams have it in:
//
//     | group   | element | length            |                        implicit VR
//     | group   | element | VR      | length  |                        explicit VR
//     | group   | element | VR      | 0       | length            |    explicit VR, long header
//     0         2         4         6         8                   12
//
// and what is known of encoders that get it wrong. In this order, "W" with a warning:
//
//     the header has                                     | it is taken for
//     ---------------------------------------------------|------------------------------------------
//     group 0002                                         | little endian, explicit if a VR follows
//     group 3F3F, any element but 003F                   | W (FFFE,E000)
//     group FFFE                                         | implicit, without swapped pairs
//     (7FE0,0010), implicit, and "OB" behind it          | W explicit
//     (0028,0120) with two blanks for a VR               | SS
//     a VR that is not two capital letters               | implicit: the "VR" begins the length. End
//     (0040,0275) with a reserved field that is not 0    | W (FFFF,FFFF), OB of that length. End
//     a VR that once had the short header, the reserved  | W the short header, whose length that is
//       field not 0 [by the current standard]            |   if the value fits into the file
//     a length that the file does not hold               | failed
//     vendor mode 10 and length 13                       | W length 10. End
//     an odd length                                      | W what it says
//     (FEFF,00E0)                                        | failed: an item in the wrong byte order
//     vendor mode 30, an item that the file cuts off     | W 8 bytes less
//     group 0009, UL of 6 bytes, the first four blank    | W CS of 4 bytes. End
//     (7FE0,0010) of undefined length and a JPEG stream  | W a length up to the stream's end marker
//     any other length below 0, but not undefined        | failed
//
// The table from the length on is length_repairs.cpp.
#include "frame/record_codes.h"
#include "frame/vr_rules.h"
#include "read/length_repairs.h"

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_TAG";

constexpr unsigned char Vendor_Mask = 0xF0;
/** What items and delimiters keep of the mode: they are always implicit. */
constexpr unsigned char Item_Mask = 0xC1;

constexpr bool Is_Capital(int byte)
{
    return byte >= 'A' && byte <= 'Z';
}

constexpr unsigned short Swapped(unsigned short value)
{
    return static_cast<unsigned short>(value << 8 | value >> 8);
}

/** Two letters, or what some encoders write for "not known": that has the header of a short VR. */
constexpr bool Is_VR(unsigned short vr)
{
    return (Is_Capital(vr >> 8) && Is_Capital(vr & 0xFF)) || vr == DICOM_VR('?', '?') ||
           vr == DICOM_VR('x', 'x');
}

/** VRs whose 4-byte length came later than the encoders that still write one of 2 bytes. */
bool Had_Short_Header(unsigned short vr)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    return rule != nullptr && rule->header != VR_Header::Long;
}

bool Is_Explicit(const Header_Reading& reading)
{
    return (reading.mode & DICOM_Order_Explicit_VR) != 0;
}

/** File meta information is little endian (PS3.10 section 7.1); old writers left out its VRs. */
void Peek_Meta_Encoding(Header_Reading& reading)
{
    reading.mode &= Vendor_Mask;
    const std::span<const unsigned char> ahead = reading.input.Source().Peek(4);
    if (ahead.size() == 4 && Is_Capital(ahead[2]) && Is_Capital(ahead[3])) {
        reading.mode |= DICOM_Order_Explicit_VR;
    }
}

Step Read_Group(Header_Reading& reading)
{
    unsigned short& group = reading.header.group;
    if (!reading.input.Read_UShort(0, group)) {
        return reading.input.Fail("failed to read group");
    }
    if (group == 0x0002) {
        Peek_Meta_Encoding(reading);
        return Step::Next;
    }
    // Kept on purpose: with both bits set the group stays as read.
    if ((reading.mode & DICOM_Order_Big_Endian) != 0) {
        group = Swapped(group);
    }
    if ((reading.mode & DICOM_Order_Swap_Pairs) != 0) {
        group = Swapped(group);
    }
    return Step::Next;
}

Step Read_Element_Number(Header_Reading& reading)
{
    Element_Header& header = reading.header;
    if (!reading.input.Read_UShort(reading.mode, header.element)) {
        return reading.input.Fail("failed to read element");
    }
    const HWND handle = reading.input.Handle();
    Trace(handle, Trace_Entry, "-> reading (%04x,%04x)", header.group, header.element);
    // Kept on purpose: element 003F is the one that is left alone although the message names it.
    if (header.group == 0x3F3F && header.element != 0x003F) {
        Report_Warning(handle, "\361\005WARNING:\002 "
                               "Fix Philips bug: tag (3F3F,003F) replaced by (FFFE,E000)");
        header.group = Item_Group;
        header.element = Item_Element;
    }
    return Step::Next;
}

Step Choose_Encoding(Header_Reading& reading)
{
    if (reading.header.group == Item_Group) {
        reading.mode &= Item_Mask;
    }
    if (!Is_Explicit(reading) && reading.Is_Pixel_Data()) {
        const std::span<const unsigned char> ahead = reading.input.Source().Peek(2);
        if (ahead.size() == 2 && ahead[0] == 'O' && ahead[1] == 'B') {
            reading.mode |= DICOM_Order_Explicit_VR;
            Report_Warning(reading.input.Handle(),
                           "\361\005WARNING:\002 "
                           "Pixel data is \"Explicit VR\" in an \"Implicit VR\" file");
        }
    }
    return Step::Next;
}

/** The element is implicit in an explicit stream: what was read as VR begins the length. */
Step Read_Length_From_VR(Header_Reading& reading)
{
    Header_Input& input = reading.input;
    Element_Header& header = reading.header;
    const unsigned short vr = header.vr;
    header.vr = 0;
    std::array<unsigned char, 4> bytes = {static_cast<unsigned char>(vr >> 8),
                                          static_cast<unsigned char>(vr & 0xFF)};
    if (!input.Read(bytes.data() + 2, 2)) {
        return input.Fail_Size(header);
    }
    header.length = NEMA_Convert_Int(reading.mode, bytes.data());
    if (const Step step = input.Settle(); step != Step::Next) {
        return step;
    }
    if (header.length < DICOM_Undefined_Length) {
        return input.Fail("*lenght < -1");
    }
    return reading.Exceeds_File() ? input.Fail("*lenght >= file_size")
                                  : input.Finish_Without_VR(header);
}

Step Read_VR(Header_Reading& reading)
{
    if (!Is_Explicit(reading)) {
        return Step::Next;
    }
    Element_Header& header = reading.header;
    if (const Step step = reading.input.Read_VR(header); step != Step::Next) {
        return step;
    }
    if (header.vr == DICOM_VR(' ', ' ') && header.Is(0x0028, 0x0120)) {
        header.vr = VR_SS;
    }
    return Is_VR(header.vr) ? Step::Next : Read_Length_From_VR(reading);
}

/** The element comes back under a tag of no use, with the reserved field for its length. */
Step Skip_Siemens_Tag(Header_Reading& reading, unsigned short reserved)
{
    Report_Warning(reading.input.Handle(),
                   "\361\005WARNING:\002 Fix Siemens bug: tag (0040,0275) is skipped");
    reading.header = {0xFFFF, 0xFFFF, VR_OB, reserved};
    const Step step = reading.input.Settle();
    return step == Step::Next ? reading.input.Finish_As("Siemens bug") : step;
}

/** Takes a filled reserved field for the 2-byte length of an older encoder, if it can be one. */
Step Read_Reserved_Length(Header_Reading& reading, unsigned short reserved)
{
    if (const Step step = reading.input.Settle(); step != Step::Next) {
        return step;
    }
    Element_Header& header = reading.header;
    if (reading.file_size != 0 && reading.input.Position() + reserved > reading.file_size) {
        return reading.input.Read_Length(reading.mode, header);
    }
    header.length = reserved;
    Report_Warning(reading.input.Handle(),
                   "\361\005WARNING:\002 "
                   "Fix length of VR=%c%c written with 2 bytes in tag (%04x,%04x)",
                   First_Letter(header.vr), Second_Letter(header.vr), header.group, header.element);
    return Step::Next;
}

Step Read_Long_Length(Header_Reading& reading)
{
    const Element_Header& header = reading.header;
    unsigned short reserved = 0;
    if (!reading.input.Read_UShort(reading.mode, reserved)) {
        return reading.input.Fail("! NEMA_Read_UShort");
    }
    if (reserved != 0 && header.Is(0x0040, 0x0275) && header.vr != VR_OX) {
        return Skip_Siemens_Tag(reading, reserved);
    }
    if (reserved != 0 && DICOM_Flag_Current_Standard != 0 && Had_Short_Header(header.vr)) {
        return Read_Reserved_Length(reading, reserved);
    }
    return reading.input.Read_Length(reading.mode, reading.header);
}

Step Read_Length(Header_Reading& reading)
{
    if (!Is_Explicit(reading)) {
        return reading.input.Read_Length(reading.mode, reading.header);
    }
    if (Reads_Long_Header(reading.header.vr)) {
        return Read_Long_Length(reading);
    }
    unsigned short length = 0;
    if (!reading.input.Read_UShort(reading.mode, length)) {
        return reading.input.Fail_Size(reading.header);
    }
    reading.header.length = length;
    return Step::Next;
}

Step Read_Mended(Header_Input& input, unsigned char mode, int file_size, Element_Header& header)
{
    constexpr Step (*Steps[])(Header_Reading&) = {
        &Read_Group, &Read_Element_Number, &Choose_Encoding, &Read_VR, &Read_Length, &Settle_Length,
    };
    Header_Reading reading = {input, mode, file_size, mode, header};
    Step end = Step::Next;
    for (const auto* step = std::begin(Steps); end == Step::Next; ++step) {
        end = (*step)(reading);
    }
    return end;
}

}  // namespace

int NEMA_Get_Data_Element(HWND handle, int source, int where, void* ptr, unsigned char mode,
                          unsigned short* group, unsigned short* element, unsigned short* vr,
                          int* length, int file_size)
{
    Trace_Scope trace(handle, Trace_Entry, "NEMA_Get_Data_Element(mode:%04X)", mode);
    return Read_Header(handle, This_Unit, source, where, ptr, file_size, trace,
                       {group, element, vr, length},
                       [=](Header_Input& input, Element_Header& header) {
                           return Read_Mended(input, mode, file_size, header);
                       });
}
