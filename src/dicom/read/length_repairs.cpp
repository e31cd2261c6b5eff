#include "read/length_repairs.h"

#include "frame/record_codes.h"

#include <algorithm>
#include <limits>

namespace lib_dicom {

namespace {

/** Vendor mode that turns on the repair of the length 13 that stands for 10. */
constexpr unsigned char Mends_13 = 0x10;
/** Vendor mode that turns on the repair of item lengths as well: its bits include those above. */
constexpr unsigned char Mends_Items = 0x30;

bool Is_UL_Of_Six_Bytes(const Element_Header& header)
{
    return header.group == 0x0009 && header.vr == VR_UL && header.length == 6;
}

bool Is_Endless_Pixel_Data(const Header_Reading& reading)
{
    return reading.Is_Pixel_Data() && reading.header.length == DICOM_Undefined_Length;
}

/**
 * Fetches the first value bytes for the repairs that ask for them, and for these only: behind any
 * other header a memory image of unknown size may end. There, pixel data of undefined length are
 * left alone too, because nothing would stop the search for their end.
 */
Step Look_At_Value(Header_Reading& reading)
{
    Byte_Source& source = reading.input.Source();
    if (Is_UL_Of_Six_Bytes(reading.header) ||
        (Is_Endless_Pixel_Data(reading) && source.Knows_End())) {
        const std::span<const unsigned char> ahead = source.Peek(Value_Peek);
        if (ahead.size() == Value_Peek) {
            std::copy(ahead.begin(), ahead.end(), reading.value.emplace().begin());
        }
    }
    return reading.input.Settle();
}

Step Check_Size(Header_Reading& reading)
{
    return reading.Exceeds_File()
               ? reading.input.Fail("failed size to big (=%08X)",
                                    static_cast<unsigned int>(reading.header.length))
               : Step::Next;
}

Step Mend_Length_13(Header_Reading& reading)
{
    Element_Header& header = reading.header;
    if ((reading.mode & Mends_13) == 0 || header.length != 13) {
        return Step::Next;
    }
    Report_Warning(reading.input.Handle(),
                   "\361\005WARNING:\002 Fix GE bug: lenght from 13 to 10 in tag (%04x,%04x)",
                   header.group, header.element);
    header.length = 10;
    return Step::Done;
}

Step Check_Odd_Length(Header_Reading& reading)
{
    const Element_Header& header = reading.header;
    if (header.length % 2 == 0 || header.length == DICOM_Undefined_Length) {
        return Step::Next;
    }
    const HWND handle = reading.input.Handle();
    Report_Warning(handle, "\361\005WARNING:\002 tag lenght is odd in tag (%04x,%04x)",
                   header.group, header.element);
    if ((reading.mode & Mends_13) != 0) {
        Report_Warning(handle, "\005Oups! We assumed this was a GE 13/10 bug, "
                               "it no longer appears that way");
        Report_Warning(handle, "\005Please contact OrisWare for further assistance.");
    }
    return Step::Next;
}

/** An item tag in the wrong byte order: the stream cannot be followed any further. */
Step Check_Item_Order(Header_Reading& reading)
{
    return reading.header.Is(0xFEFF, 0x00E0) ? reading.input.Fail("FEFF,00E0") : Step::Next;
}

Step Mend_Item_Length(Header_Reading& reading)
{
    Element_Header& header = reading.header;
    // The caller's mode is asked: the working mode of an item has no vendor bits left.
    const bool is_item = (reading.callers_mode & Mends_Items) == Mends_Items &&
                         header.Is(Item_Group, Item_Element) && header.length > 0;
    if (!is_item || reading.file_size == 0 ||
        reading.file_size >= reading.input.Position() + header.length) {
        return Step::Next;
    }
    const int mended = header.length - 8;
    Report_Warning(reading.input.Handle(),
                   "\361\005WARNING:\002 "
                   "Fix GE ROGAN LIB bug: lenght from 0x%08x to 0x%08x in tag (%04x,%04x)",
                   static_cast<unsigned int>(header.length), static_cast<unsigned int>(mended),
                   header.group, header.element);
    header.length = mended;
    return Step::Next;
}

Step Mend_UL_Of_Six_Bytes(Header_Reading& reading)
{
    constexpr std::array<unsigned char, Value_Peek> Blanks = {' ', ' ', ' ', ' '};
    Element_Header& header = reading.header;
    if (!Is_UL_Of_Six_Bytes(header) || reading.value != Blanks) {
        return Step::Next;
    }
    Report_Warning(reading.input.Handle(),
                   "\361\005WARNING:\002 "
                   "Fix Siemens bug: lenght changed from 6 to 4 in tag (%04x,%04x)",
                   header.group, header.element);
    header.length = 4;
    header.vr = VR_CS;
    return Step::Done;
}

/**
 * Looks for a 16-bit word from the position on.
 *
 * @return the number of bytes up to and including the word; 0 when the source ends before, or when
 *         the number reaches the file's size, beyond which no length is accepted
 */
int Find_Word(const Header_Reading& reading, unsigned short word)
{
    const int limit = reading.file_size != 0 ? reading.file_size : std::numeric_limits<int>::max();
    const unsigned char* const bytes = Put_UShort(reading.mode, word);
    const std::array<unsigned char, 2> wanted = {bytes[0], bytes[1]};
    long long count = 0;
    for (;;) {
        const std::span<const unsigned char> block = reading.input.Source().Take_Block();
        if (block.size() < wanted.size()) {
            return 0;
        }
        for (std::size_t i = 1; i < block.size(); i += 2) {
            count += 2;
            if (count >= limit) {
                return 0;
            }
            if (block[i - 1] == wanted[0] && block[i] == wanted[1]) {
                return static_cast<int>(count);
            }
        }
    }
}

/** A plain JPEG stream in place of encapsulated frames: its length is found by its end marker. */
Step Mend_Endless_Pixel_Data(Header_Reading& reading)
{
    if (!Is_Endless_Pixel_Data(reading) || !reading.value) {
        return Step::Next;
    }
    // Start of image with APP0 marker, and the end of image, in either byte order.
    const auto start =
        static_cast<unsigned int>(NEMA_Convert_Int(reading.mode, reading.value->data()));
    if (start != 0xE0FFD8FFU && start != 0xFFD8FFE0U) {
        return Step::Next;
    }
    Header_Input& input = reading.input;
    const int length = Find_Word(reading, start == 0xE0FFD8FFU ? 0xD9FF : 0xFFD9);
    if (!Seek(input.Handle(), input.Source(), input.Position())) {
        return input.Fail("! lseek");
    }
    if (length == 0) {
        return input.Fail("kk >= file_size");
    }
    Element_Header& header = reading.header;
    header.length = length;
    Report_Warning(input.Handle(),
                   "\361\005WARNING:\002 "
                   "Fix Siemens bug: lenght changed from -1 to %d in tag (%04x,%04x)",
                   header.length, header.group, header.element);
    return Step::Next;
}

Step Finish(Header_Reading& reading)
{
    return reading.header.length < DICOM_Undefined_Length ? reading.input.Fail("*lenght < -1")
                                                          : reading.input.Finish(reading.header);
}

}  // namespace

Step Settle_Length(Header_Reading& reading)
{
    constexpr Step (*Steps[])(Header_Reading&) = {
        &Look_At_Value,    &Check_Size,       &Mend_Length_13,       &Check_Odd_Length,
        &Check_Item_Order, &Mend_Item_Length, &Mend_UL_Of_Six_Bytes, &Mend_Endless_Pixel_Data,
    };
    for (const auto step : Steps) {
        if (const Step end = step(reading); end != Step::Next) {
            return end;
        }
    }
    return Finish(reading);
}

}  // namespace lib_dicom
