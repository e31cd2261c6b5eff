// Headers of data elements (PS3.5 section 7.1): tag, VR and length, with repairs for the known
// faults of other makers' encoders.
#include "frame/record_codes.h"
#include "frame/report.h"
#include "frame/vr_rules.h"
#include "read/reported_reads.h"

#include <algorithm>
#include <array>
#include <optional>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_TAG";

constexpr unsigned char Vendor_Mask = 0xF0;
/** Turns on the repair of the length 13 that stands for 10. */
constexpr unsigned char Vendor_Length_13 = 0x10;
/**
 * Turns on the repair of item lengths that reach past the end. Its bits include those of
 * Vendor_Length_13: the makers of these files share the encoder that has the other fault.
 */
constexpr unsigned char Vendor_Item_Length = 0x30;
/** What items and delimiters keep of the mode: they are always implicit. */
constexpr unsigned char Item_Mask = 0xC1;
constexpr unsigned char Fuji_Item_Mask = 0xC0;

/** Number of value bytes that repairs look at; with the longest header they fill the window. */
constexpr std::size_t Value_Peek = 4;
static_assert(12 + Value_Peek <= Header_Window);

constexpr bool Is_Capital(unsigned char byte)
{
    return byte >= 'A' && byte <= 'Z';
}

constexpr unsigned short Swapped(unsigned short value)
{
    return static_cast<unsigned short>(value << 8 | value >> 8);
}

/** VRs that some encoders write for "not known"; they have the header of a short VR. */
constexpr bool Is_Placeholder(unsigned short vr)
{
    return vr == DICOM_VR('?', '?') || vr == DICOM_VR('x', 'x');
}

/** VRs whose 4-byte length came later than the encoders that still write one of 2 bytes. */
bool Had_Short_Header(unsigned short vr)
{
    const VR_Rule* const rule = Find_VR_Rule(vr);
    return rule != nullptr && rule->header != VR_Header::Long;
}

struct Element_Header {
    unsigned short group = 0;
    unsigned short element = 0;
    unsigned short vr = 0;
    int length = 0;

    bool Is(unsigned short group_, unsigned short element_) const
    {
        return group == group_ && element == element_;
    }
};

/** How a step of the reading ends. */
enum class Step { Next, Done, Failed };

/** What both readers share: reads of the parts of a header, and the position. */
class Header_Reader {
public:
    Header_Reader(HWND handle, Byte_Source& source, Trace_Scope& trace, unsigned char mode,
                  int file_size)
        : handle_(handle), source_(source), trace_(trace), mode_(mode), file_size_(file_size)
    {
    }

    const Element_Header& Header() const
    {
        return header_;
    }

protected:
    bool Read(void* out, int size)
    {
        header_size_ += size;
        return Read_Bytes(handle_, source_, out, size);
    }
    bool Read_UShort(unsigned char order, unsigned short& value);
    bool Read_Int(int& value);

    Step Fail_Size()
    {
        return trace_.Leave(Step::Failed, "failed to read size (VR:%c%c)",
                            First_Letter(header_.vr, '0'), Second_Letter(header_.vr, '0'));
    }
    /** Leaves the source at the first value byte and notes where the header begins. */
    Step Settle_Position();
    bool Exceeds_File() const
    {
        return file_size_ != 0 && file_size_ <= header_.length;
    }
    void Trace_Element_Line() const;

    HWND handle_;
    Byte_Source& source_;
    Trace_Scope& trace_;
    /** The working mode: it changes for the current element only. */
    unsigned char mode_;
    int file_size_;
    Element_Header header_;
    int header_size_ = 0;
    /** Position of the first value byte, once settled. */
    long long position_ = 0;
    /** Position of the tag in the stream, as traces show it. */
    unsigned int start_ = 0;
};

bool Header_Reader::Read_UShort(unsigned char order, unsigned short& value)
{
    std::array<unsigned char, 2> bytes = {};
    if (!Read(bytes.data(), 2)) {
        return false;
    }
    value = NEMA_Convert_UShort(order, bytes.data());
    return true;
}

bool Header_Reader::Read_Int(int& value)
{
    std::array<unsigned char, 4> bytes = {};
    if (!Read(bytes.data(), 4)) {
        return false;
    }
    value = NEMA_Convert_Int(mode_, bytes.data());
    return true;
}

Step Header_Reader::Settle_Position()
{
    if (!Settle(handle_, source_, position_)) {
        return trace_.Leave(Step::Failed, "! lseek");
    }
    start_ = static_cast<unsigned int>(position_ - header_size_);
    return Step::Next;
}

void Header_Reader::Trace_Element_Line() const
{
    Trace(handle_, Trace_Element, "[%06X] --> (%04x,%04x) VR:%c%c lenght:%08X (%d)", start_,
          header_.group, header_.element, First_Letter(header_.vr, '0'),
          Second_Letter(header_.vr, '0'), static_cast<unsigned int>(header_.length),
          header_.length);
}

// ---- the reader with repairs

class Element_Reader : public Header_Reader {
public:
    Element_Reader(HWND handle, Byte_Source& source, Trace_Scope& trace, unsigned char mode,
                   int file_size)
        : Header_Reader(handle, source, trace, mode, file_size), callers_mode_(mode)
    {
    }

    bool Read_Header();

private:
    using Method = Step (Element_Reader::*)();

    bool Is_Explicit() const
    {
        return (mode_ & DICOM_Order_Explicit_VR) != 0;
    }
    bool Is_Pixel_Data() const
    {
        return header_.Is(0x7FE0, 0x0010);
    }
    bool Is_UL_Of_Six_Bytes() const
    {
        return header_.group == 0x0009 && header_.vr == VR_UL && header_.length == 6;
    }
    bool Is_Endless_Pixel_Data() const
    {
        return Is_Pixel_Data() && header_.length == DICOM_Undefined_Length;
    }

    Step Read_Group();
    Step Read_Element_Number();
    Step Mend_Item_Tag();
    Step Choose_Encoding();
    Step Read_VR();
    Step Read_Length();
    Step Look_At_Value();
    Step Check_Size();
    Step Mend_Length_13();
    Step Check_Odd_Length();
    Step Check_Item_Order();
    Step Mend_Item_Length();
    Step Mend_UL_Of_Six_Bytes();
    Step Mend_Endless_Pixel_Data();
    Step Finish();

    void Peek_Meta_Encoding();
    Step Read_Length_From_VR(unsigned char first, unsigned char second);
    Step Read_Long_Length();
    Step Read_Short_Length();
    Step Skip_Siemens_Tag(unsigned short reserved);
    Step Mend_Short_Header(unsigned short reserved, bool& mended);
    int Find_Word(unsigned short word);

    unsigned char callers_mode_;
    /** The first value bytes, where a repair asks for them. */
    std::optional<std::array<unsigned char, Value_Peek>> value_;
};

bool Element_Reader::Read_Header()
{
    static constexpr Method Steps[] = {
        &Element_Reader::Read_Group,
        &Element_Reader::Read_Element_Number,
        &Element_Reader::Mend_Item_Tag,
        &Element_Reader::Choose_Encoding,
        &Element_Reader::Read_VR,
        &Element_Reader::Read_Length,
        &Element_Reader::Look_At_Value,
        &Element_Reader::Settle_Position,
        &Element_Reader::Check_Size,
        &Element_Reader::Mend_Length_13,
        &Element_Reader::Check_Odd_Length,
        &Element_Reader::Check_Item_Order,
        &Element_Reader::Mend_Item_Length,
        &Element_Reader::Mend_UL_Of_Six_Bytes,
        &Element_Reader::Mend_Endless_Pixel_Data,
        &Element_Reader::Finish,
    };
    source_.Prefetch();
    Step step = Step::Next;
    for (const Method* method = std::begin(Steps); step == Step::Next; ++method) {
        step = (this->**method)();
    }
    return step == Step::Done;
}

Step Element_Reader::Read_Group()
{
    if (!Read_UShort(0, header_.group)) {
        return trace_.Leave(Step::Failed, "failed to read group");
    }
    if (header_.group == 0x0002) {
        Peek_Meta_Encoding();
        return Step::Next;
    }
    // Deliberate: with both bits set the group stays as read, as streams of that mode need it.
    if ((mode_ & DICOM_Order_Big_Endian) != 0) {
        header_.group = Swapped(header_.group);
    }
    if ((mode_ & DICOM_Order_Swap_Pairs) != 0) {
        header_.group = Swapped(header_.group);
    }
    return Step::Next;
}

/** File meta information is little endian (PS3.10 section 7.1); old writers left out its VRs. */
void Element_Reader::Peek_Meta_Encoding()
{
    mode_ &= Vendor_Mask;
    const std::span<const unsigned char> ahead = source_.Peek(4);
    if (ahead.size() == 4 && Is_Capital(ahead[2]) && Is_Capital(ahead[3])) {
        mode_ |= DICOM_Order_Explicit_VR;
    }
}

Step Element_Reader::Read_Element_Number()
{
    if (!Read_UShort(mode_, header_.element)) {
        return trace_.Leave(Step::Failed, "failed to read element");
    }
    Trace(handle_, Trace_Entry, "-> reading (%04x,%04x)", header_.group, header_.element);
    return Step::Next;
}

Step Element_Reader::Mend_Item_Tag()
{
    // Deliberate: element 003F is the one that is left alone although the message names it.
    if (header_.group == 0x3F3F && header_.element != 0x003F) {
        Report_Warning(handle_, "\361\005WARNING:\002 "
                                "Fix Philips bug: tag (3F3F,003F) replaced by (FFFE,E000)");
        header_.group = Item_Group;
        header_.element = Item_Element;
    }
    return Step::Next;
}

Step Element_Reader::Choose_Encoding()
{
    if (header_.group == Item_Group) {
        mode_ &= Item_Mask;
    }
    if (!Is_Explicit() && Is_Pixel_Data()) {
        const std::span<const unsigned char> ahead = source_.Peek(2);
        if (ahead.size() == 2 && ahead[0] == 'O' && ahead[1] == 'B') {
            mode_ |= DICOM_Order_Explicit_VR;
            Report_Warning(handle_, "\361\005WARNING:\002 "
                                    "Pixel data is \"Explicit VR\" in an \"Implicit VR\" file");
        }
    }
    return Step::Next;
}

Step Element_Reader::Read_VR()
{
    if (!Is_Explicit()) {
        return Step::Next;
    }
    unsigned char first = 0;
    unsigned char second = 0;
    if (!Read(&first, 1)) {
        return trace_.Leave(Step::Failed, "failed to read VR byte[0]");
    }
    if (!Read(&second, 1)) {
        return trace_.Leave(Step::Failed, "failed to read VR byte[1]");
    }
    header_.vr = static_cast<unsigned short>(first << 8 | second);
    if (header_.vr == DICOM_VR(' ', ' ') && header_.Is(0x0028, 0x0120)) {
        header_.vr = VR_SS;
    }
    const bool is_vr = header_.vr == VR_SS || Is_Placeholder(header_.vr) ||
                       (Is_Capital(first) && Is_Capital(second));
    return is_vr ? Step::Next : Read_Length_From_VR(first, second);
}

/** The element is implicit in an explicit stream: what was read as VR begins the length. */
Step Element_Reader::Read_Length_From_VR(unsigned char first, unsigned char second)
{
    std::array<unsigned char, 4> bytes = {first, second};
    header_.vr = 0;
    if (!Read(bytes.data() + 2, 2)) {
        return Fail_Size();
    }
    header_.length = NEMA_Convert_Int(mode_, bytes.data());
    if (const Step step = Settle_Position(); step != Step::Next) {
        return step;
    }
    if (header_.length < DICOM_Undefined_Length) {
        return trace_.Leave(Step::Failed, "*lenght < -1");
    }
    if (Exceeds_File()) {
        return trace_.Leave(Step::Failed, "*lenght >= file_size");
    }
    Trace(handle_, Trace_Element, "[%06X] --> (%04x,%04x) BUG! lenght:%08X (%d)", start_,
          header_.group, header_.element, static_cast<unsigned int>(header_.length),
          header_.length);
    return Step::Done;
}

Step Element_Reader::Read_Length()
{
    if (!Is_Explicit()) {
        return Read_Int(header_.length) ? Step::Next : Fail_Size();
    }
    return Reads_Long_Header(header_.vr) ? Read_Long_Length() : Read_Short_Length();
}

Step Element_Reader::Read_Short_Length()
{
    unsigned short length = 0;
    if (!Read_UShort(mode_, length)) {
        return Fail_Size();
    }
    header_.length = length;
    return Step::Next;
}

Step Element_Reader::Read_Long_Length()
{
    unsigned short reserved = 0;
    if (!Read_UShort(mode_, reserved)) {
        return trace_.Leave(Step::Failed, "! NEMA_Read_UShort");
    }
    if (reserved != 0 && header_.Is(0x0040, 0x0275) && header_.vr != VR_OX) {
        return Skip_Siemens_Tag(reserved);
    }
    bool mended = false;
    if (reserved != 0 && DICOM_Flag_Current_Standard != 0 && Had_Short_Header(header_.vr)) {
        if (const Step step = Mend_Short_Header(reserved, mended); step != Step::Next) {
            return step;
        }
    }
    return mended || Read_Int(header_.length) ? Step::Next : Fail_Size();
}

/** The tag is written without its header's end: its value is handed out under a tag of no use. */
Step Element_Reader::Skip_Siemens_Tag(unsigned short reserved)
{
    Report_Warning(handle_, "\361\005WARNING:\002 Fix Siemens bug: tag (0040,0275) is skipped");
    header_ = {0xFFFF, 0xFFFF, VR_OB, reserved};
    const Step step = Settle_Position();
    return step == Step::Next ? trace_.Leave(Step::Done, "Siemens bug") : step;
}

/** Takes a filled reserved field for the 2-byte length of an older encoder, if it can be one. */
Step Element_Reader::Mend_Short_Header(unsigned short reserved, bool& mended)
{
    if (const Step step = Settle_Position(); step != Step::Next) {
        return step;
    }
    mended = file_size_ == 0 || position_ + reserved <= file_size_;
    if (mended) {
        header_.length = reserved;
        Report_Warning(handle_,
                       "\361\005WARNING:\002 "
                       "Fix length of VR=%c%c written with 2 bytes in tag (%04x,%04x)",
                       First_Letter(header_.vr, '0'), Second_Letter(header_.vr, '0'), header_.group,
                       header_.element);
    }
    return Step::Next;
}

/**
 * Fetches the first value bytes for the repairs that ask for them, and for these only: behind any
 * other header a memory image of unknown size may end. There, pixel data of undefined length are
 * left alone too, because nothing would stop the search for their end.
 */
Step Element_Reader::Look_At_Value()
{
    if (Is_UL_Of_Six_Bytes() || (Is_Endless_Pixel_Data() && source_.Knows_End())) {
        const std::span<const unsigned char> ahead = source_.Peek(Value_Peek);
        if (ahead.size() == Value_Peek) {
            std::copy(ahead.begin(), ahead.end(), value_.emplace().begin());
        }
    }
    return Step::Next;
}

Step Element_Reader::Check_Size()
{
    return Exceeds_File() ? trace_.Leave(Step::Failed, "failed size to big (=%08X)",
                                         static_cast<unsigned int>(header_.length))
                          : Step::Next;
}

Step Element_Reader::Mend_Length_13()
{
    if ((mode_ & Vendor_Length_13) == 0 || header_.length != 13) {
        return Step::Next;
    }
    Report_Warning(handle_,
                   "\361\005WARNING:\002 Fix GE bug: lenght from 13 to 10 in tag (%04x,%04x)",
                   header_.group, header_.element);
    header_.length = 10;
    return Step::Done;
}

Step Element_Reader::Check_Odd_Length()
{
    if (header_.length % 2 == 0 || header_.length == DICOM_Undefined_Length) {
        return Step::Next;
    }
    Report_Warning(handle_, "\361\005WARNING:\002 tag lenght is odd in tag (%04x,%04x)",
                   header_.group, header_.element);
    if ((mode_ & Vendor_Length_13) != 0) {
        Report_Warning(handle_, "\005Oups! We assumed this was a GE 13/10 bug, "
                                "it no longer appears that way");
        Report_Warning(handle_, "\005Please contact OrisWare for further assistance.");
    }
    return Step::Next;
}

/** An item tag in the wrong byte order: the stream cannot be followed any further. */
Step Element_Reader::Check_Item_Order()
{
    return header_.Is(0xFEFF, 0x00E0) ? trace_.Leave(Step::Failed, "FEFF,00E0") : Step::Next;
}

Step Element_Reader::Mend_Item_Length()
{
    // The caller's mode is asked: the working mode of an item has no vendor bits left.
    if ((callers_mode_ & Vendor_Item_Length) != Vendor_Item_Length ||
        !header_.Is(Item_Group, Item_Element) || header_.length <= 0 || file_size_ == 0 ||
        file_size_ >= position_ + header_.length) {
        return Step::Next;
    }
    const int mended = header_.length - 8;
    Report_Warning(handle_,
                   "\361\005WARNING:\002 "
                   "Fix GE ROGAN LIB bug: lenght from 0x%08x to 0x%08x in tag (%04x,%04x)",
                   static_cast<unsigned int>(header_.length), static_cast<unsigned int>(mended),
                   header_.group, header_.element);
    header_.length = mended;
    return Step::Next;
}

Step Element_Reader::Mend_UL_Of_Six_Bytes()
{
    const auto is_blank = [](unsigned char byte) {
        return byte == ' ';
    };
    if (!Is_UL_Of_Six_Bytes() || !value_ ||
        !std::all_of(value_->begin(), value_->end(), is_blank)) {
        return Step::Next;
    }
    Report_Warning(handle_,
                   "\361\005WARNING:\002 "
                   "Fix Siemens bug: lenght changed from 6 to 4 in tag (%04x,%04x)",
                   header_.group, header_.element);
    header_.length = 4;
    header_.vr = VR_CS;
    return Step::Done;
}

/** A plain JPEG stream in place of encapsulated frames: its length is found by its end marker. */
Step Element_Reader::Mend_Endless_Pixel_Data()
{
    if (!Is_Endless_Pixel_Data() || !value_) {
        return Step::Next;
    }
    // Start of image with APP0 marker, and the end of image, in either byte order.
    const auto start = static_cast<unsigned int>(NEMA_Convert_Int(mode_, value_->data()));
    if (start != 0xE0FFD8FFU && start != 0xFFD8FFE0U) {
        return Step::Next;
    }
    const int length = Find_Word(start == 0xE0FFD8FFU ? 0xD9FF : 0xFFD9);
    if (!Seek(handle_, source_, position_)) {
        return trace_.Leave(Step::Failed, "! lseek");
    }
    if (length == 0) {
        return trace_.Leave(Step::Failed, "kk >= file_size");
    }
    header_.length = length;
    Report_Warning(handle_,
                   "\361\005WARNING:\002 "
                   "Fix Siemens bug: lenght changed from -1 to %d in tag (%04x,%04x)",
                   header_.length, header_.group, header_.element);
    return Step::Next;
}

/**
 * Looks for a 16-bit word from the position on.
 *
 * @return the number of bytes up to and including the word; 0 when the source ends before, or when
 *         the number reaches the file's size, beyond which no length is accepted
 */
int Element_Reader::Find_Word(unsigned short word)
{
    const int limit = file_size_ != 0 ? file_size_ : std::numeric_limits<int>::max();
    const unsigned char* const bytes = Put_UShort(mode_, word);
    const std::array<unsigned char, 2> wanted = {bytes[0], bytes[1]};
    long long count = 0;
    for (;;) {
        const std::span<const unsigned char> block = source_.Take_Block();
        if (block.size() < wanted.size()) {
            return 0;
        }
        for (std::size_t i = 0; i + 1 < block.size(); i += 2) {
            count += 2;
            if (count >= limit) {
                return 0;
            }
            if (block[i] == wanted[0] && block[i + 1] == wanted[1]) {
                return static_cast<int>(count);
            }
        }
    }
}

Step Element_Reader::Finish()
{
    if (header_.length < DICOM_Undefined_Length) {
        return trace_.Leave(Step::Failed, "*lenght < -1");
    }
    Trace_Element_Line();
    return Step::Done;
}

// ---- the plain reader

/** Streams with explicit VR and a 4-byte length for every VR, without a reserved field. */
class Fuji_Reader : public Header_Reader {
public:
    Fuji_Reader(HWND handle, Byte_Source& source, Trace_Scope& trace, unsigned char mode,
                int file_size)
        : Header_Reader(handle, source, trace, mode, file_size)
    {
    }

    bool Read_Header();

private:
    Step Read_Tag();
    Step Read_VR();
    Step Check_Length();
};

bool Fuji_Reader::Read_Header()
{
    source_.Prefetch();
    Step step = Read_Tag();
    if (step == Step::Next && header_.group != Item_Group) {
        step = Read_VR();
    }
    if (step == Step::Next && !Read_Int(header_.length)) {
        step = Fail_Size();
    }
    if (step == Step::Next) {
        step = Settle_Position();
    }
    return step == Step::Next && Check_Length() == Step::Done;
}

Step Fuji_Reader::Read_Tag()
{
    const unsigned char callers_mode = mode_;
    mode_ = static_cast<unsigned char>((mode_ & ~0x07) | DICOM_Order_Explicit_VR);
    if (!Read_UShort(0, header_.group)) {
        return trace_.Leave(Step::Failed, "failed to read group");
    }
    if (!Read_UShort(mode_, header_.element)) {
        return trace_.Leave(Step::Failed, "failed to read element");
    }
    Trace(handle_, Trace_Entry, "--> reading (%04x,%04x)", header_.group, header_.element);
    if (header_.group == Item_Group) {
        mode_ = callers_mode & Fuji_Item_Mask;
    }
    return Step::Next;
}

Step Fuji_Reader::Read_VR()
{
    unsigned char first = 0;
    unsigned char second = 0;
    if (!Read(&first, 1)) {
        return trace_.Leave(Step::Failed, "failed to read VR byte[0]");
    }
    if (!Read(&second, 1)) {
        return trace_.Leave(Step::Failed, "failed to read VR byte[1]");
    }
    header_.vr = static_cast<unsigned short>(first << 8 | second);
    return Step::Next;
}

Step Fuji_Reader::Check_Length()
{
    if (Exceeds_File()) {
        return trace_.Leave(Step::Failed, "failed to size to big (=%08X)",
                            static_cast<unsigned int>(header_.length));
    }
    if (header_.length < DICOM_Undefined_Length) {
        return trace_.Leave(Step::Failed, "*lenght < -1");
    }
    Trace_Element_Line();
    return Step::Done;
}

/** The border of both readers: runs one of them on the source and hands out what it found. */
template <class Reader>
int Read_Element(HWND handle, int source, int where, void* ptr, const char* call,
                 unsigned char mode, int file_size, Element_Header& header)
{
    Trace_Scope trace(handle, Trace_Entry, call, mode);
    return Guarded(handle, This_Unit, 0, [&] {
        return With_Source(source, where, ptr, file_size, [&](Byte_Source& bytes) {
            Reader reader(handle, bytes, trace, mode, file_size);
            const bool done = reader.Read_Header();
            header = reader.Header();
            return done ? 1 : 0;
        });
    });
}

}  // namespace

int NEMA_Get_Data_Element(HWND handle, int source, int where, void* ptr, unsigned char mode,
                          unsigned short* group, unsigned short* element, unsigned short* vr,
                          int* length, int file_size)
{
    Element_Header header;
    const int result = Read_Element<Element_Reader>(
        handle, source, where, ptr, "NEMA_Get_Data_Element(mode:%04X)", mode, file_size, header);
    *group = header.group;
    *element = header.element;
    *vr = header.vr;
    *length = header.length;
    return result;
}

int NEMA_Get_Data_Element_Fuji(HWND handle, int source, int where, void* ptr, unsigned char mode,
                               unsigned short* group, unsigned short* element, unsigned short* vr,
                               int* length, int file_size)
{
    Element_Header header;
    const int result =
        Read_Element<Fuji_Reader>(handle, source, where, ptr,
                                  "NEMA_Get_Data_Element_Fuji(mode:%04X)", mode, file_size, header);
    *group = header.group;
    *element = header.element;
    *vr = header.vr;
    *length = header.length;
    return result;
}
