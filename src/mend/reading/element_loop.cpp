#include "mend/reading/element_loop.h"

#include <algorithm>
#include <array>
#include <climits>
#include <new>
#include <string_view>
#include <utility>

namespace lib_mend {

namespace {

/** Values up to this size are read at once, longer ones are left in the source. */
constexpr int Load_Limit = 1024;
constexpr int Item_Header_Size = 8;
/** `length` of a header that the reader did not get as far as. */
constexpr int Not_Read = INT_MIN;

constexpr unsigned short Meta_Group = 0x0002;
constexpr Tag Item_Tag = {0xFFFE, 0xE000};
constexpr Tag Item_End_Tag = {0xFFFE, 0xE00D};
/** An item tag read in the wrong byte order. */
constexpr Tag Swapped_Item_Tag = {0xFEFF, 0x00E0};
constexpr Tag Sequence_End_Tag = {0xFFFE, 0xE0DD};
/** A tag whose VR one maker leaves blank; the library takes it as SS. */
constexpr Tag Pixel_Padding_Tag = {0x0028, 0x0120};

/** Implicit VR little endian, the encoding inside sequences that are stored as UN (PS3.5 6.2.2). */
constexpr unsigned char Mode_Inside_UN = 0;

std::string Bytes_Text(std::int64_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

std::string VR_Text(unsigned short vr)
{
    return {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
}

bool Is_Known_VR(unsigned short vr)
{
    constexpr std::string_view Known =
        "AE AS AT CS DA DS DT FD FL IS LO LT OB OD OF OL OV OW OX PN "
        "SH SL SQ SS ST SV TM UC UI UL UN UR US UT UV";
    return Known.find(VR_Text(vr)) != std::string_view::npos;
}

/** VR of an element that carries none. */
unsigned short Default_VR(const Header& header, const TAG_db_Elems* entry)
{
    if (Tag{header.group, header.element} == Pixel_Data_Tag) {
        return header.length == DICOM_Undefined_Length ? VR_OB : VR_OW;
    }
    if (entry != nullptr) {
        return entry->vr[0];
    }
    if (header.element == 0x0000) {
        return VR_UL;
    }
    const bool is_creator =
        header.group % 2 != 0 && header.element >= 0x0010 && header.element <= 0x00FF;
    return is_creator ? VR_LO : static_cast<unsigned short>(0);
}

/** Values of which the beginning is worth keeping: a cut number, name or date is a wrong one. */
bool Is_Bulk(unsigned short vr)
{
    return vr == VR_OB || vr == VR_OW || vr == VR_OF || vr == VR_OD || vr == VR_OL || vr == VR_OV ||
           vr == VR_UN;
}

}  // namespace

Element_Loop::Element_Loop(const std::shared_ptr<Source>& source, std::int64_t start,
                           unsigned char mode, Findings& findings, const Memory_Budget& budget)
    : source_(source), cursor_(source, start), findings_(findings), mode_(mode), position_(start),
      budget_(budget)
{
}

Record_List Element_Loop::Read_Meta()
{
    std::array<unsigned char, 2> group = {};
    bool more = cursor_.Ready();
    while (more && source_->Read(position_, group) == group.size() &&
           (!levels_.empty() || Get_UShort(0, group.data()) == Meta_Group)) {
        more = Read_Element();
        Leave_Ended_Levels();
    }
    levels_.clear();
    return std::move(flat_);
}

Record_List Element_Loop::Read_All()
{
    bool more = cursor_.Ready();
    if (!more) {
        findings_.Add(Level::Error, "the file cannot be positioned");
    }
    while (more) {
        Leave_Ended_Levels();
        more = position_ < source_->Size() && Read_Element();
    }
    Report_Open_Levels();
    return std::move(flat_);
}

bool Element_Loop::Read_Element()
{
    Header header;
    header.length = Not_Read;
    // A length beyond the whole source makes the reader refuse the header that it has just taken.
    // What is there of a cut-off sequence or bulk value is read all the same.
    const std::size_t first = findings_.All().size();
    const bool read = cursor_.Read_Header(Mode(), header);
    findings_.Add_Place(first, position_);
    const bool may_be_padding = !read || (header.group == 0 && header.element == 0);
    if (may_be_padding && Only_Zeros_Follow()) {
        findings_.Take_Errors();
        return false;
    }
    if (!read && header.length < source_->Size()) {
        return Stop_At_Header(header);
    }
    if (Tag{header.group, header.element} == Swapped_Item_Tag) {
        return Stop_At_Header(header);
    }
    budget_.Take_Element();
    if (budget_.Is_Spent()) {
        return Stop_For_Memory();
    }
    DICOM_List record = Make_Record(header);
    if (source_->Failure() != 0) {
        // Where the value stands is not known.
        return false;
    }
    position_ = record.data_pos;
    return record.group == Item_Tag.group ? Read_Delimiter(record) : Read_Data_Element(record);
}

bool Element_Loop::Stop_At_Header(const Header& header)
{
    const std::int64_t rest = source_->Size() - position_;
    const Tag tag = {header.group, header.element};
    std::string reason = findings_.Take_Errors();
    if (rest < Item_Header_Size) {
        findings_.Add(Level::Error, tag, position_,
                      "the last " + Bytes_Text(rest) + " are no complete element");
        return false;
    }
    if (tag == Swapped_Item_Tag) {
        reason = "the byte order changes here";
    } else if (reason.empty()) {
        reason = header.length == Not_Read
                     ? "the header makes no sense"
                     : "the length " + std::to_string(header.length) + " is impossible";
    }
    findings_.Add(Level::Error, tag, position_,
                  "reading stops here: " + reason + "; the last " + Bytes_Text(rest) +
                      " are not read");
    return false;
}

bool Element_Loop::Stop_For_Memory()
{
    findings_.Add(Level::Error, {}, position_,
                  "reading stops here: the elements of the deflated data set take memory out of "
                  "proportion");
    return false;
}

DICOM_List Element_Loop::Make_Record(const Header& header) const
{
    DICOM_List record = {};
    record.byte_order = Mode();
    record.flags = DICOM_Origin_Stream;
    record.group = header.group;
    record.element = header.element;
    record.vr = header.vr;
    record.dict = NEMA_db_Locate(header.group, header.element);
    record.vr_default = Default_VR(header, record.dict);
    record.pos = static_cast<unsigned int>(position_);
    record.data_pos = static_cast<unsigned int>(cursor_.Tell());
    record.size = header.length;
    return record;
}

/** A list that lacks a record would be nested wrongly, so that it is given up without memory. */
void Element_Loop::Insert(DICOM_List& record)
{
    const About about(findings_, record);
    if (DICOM_Attribute_Insert(nullptr, &root_, flat_.Address(), &record, 0) == nullptr) {
        throw std::bad_alloc();
    }
}

void Element_Loop::Push(Nesting::Kind kind, const DICOM_List& record, unsigned char mode)
{
    const std::int64_t end = record.size == DICOM_Undefined_Length
                                 ? -1
                                 : static_cast<std::int64_t>(record.data_pos) + record.size;
    levels_.push_back({kind, end, mode, Tag_Of(record), record.pos});
    depth_ += kind == Nesting::Kind::Item ? 0 : 1;
    deepest_ = std::max(deepest_, depth_);
}

void Element_Loop::Pop()
{
    depth_ -= Inside(Nesting::Kind::Item) ? 0 : 1;
    levels_.pop_back();
}

bool Element_Loop::Read_Delimiter(DICOM_List& record)
{
    const Tag tag = Tag_Of(record);
    if (tag == Item_Tag) {
        return Read_Item(record);
    }
    if (tag == Item_End_Tag || tag == Sequence_End_Tag) {
        if (record.size != 0) {
            // Nothing belongs to a delimiter, whatever its length says.
            findings_.Add(Level::Change, record,
                          "delimitation of length " + std::to_string(record.size));
            record.size = 0;
        }
        if (tag == Item_End_Tag ? Keep_Item_End(record) : Keep_Sequence_End(record)) {
            Insert(record);
        }
        return true;
    }
    findings_.Add(Level::Error, record, "is no delimiter that exists; reading stops here");
    return false;
}

bool Element_Loop::Read_Item(DICOM_List& record)
{
    if (Inside(Nesting::Kind::Fragments)) {
        // A fragment is a value. Its own VR keeps it apart from the delimiters, which are removed
        // before writing.
        record.vr_default = VR_OB;
        if (record.size == DICOM_Undefined_Length) {
            findings_.Add(Level::Error, record, "fragment of undefined length; reading stops here");
            return false;
        }
        return Read_Value(record);
    }
    if (Inside(Nesting::Kind::Item) && levels_.back().end < 0) {
        Pop_Unclosed();
    }
    if (!Inside(Nesting::Kind::Sequence)) {
        findings_.Add(Level::Change, record,
                      "item outside a sequence; its contents are taken without it");
        return true;
    }
    Push(Nesting::Kind::Item, record, Mode());
    Insert(record);
    return true;
}

void Element_Loop::Pop_Unclosed()
{
    const Nesting level = levels_.back();
    const char* const what = level.kind == Nesting::Kind::Item ? "item is not closed"
                             : level.kind == Nesting::Kind::Fragments
                                 ? "encapsulated value is not closed"
                                 : "sequence is not closed";
    findings_.Add(Level::Change, level.tag, level.offset, what);
    Pop();
    if (level.kind != Nesting::Kind::Item) {
        // The nesting of the flat list hangs on its delimiters, so the missing one is supplied.
        DICOM_List end = Make_Record({Sequence_End_Tag.group, Sequence_End_Tag.element, 0, 0});
        Insert(end);
    }
}

bool Element_Loop::Keep_Item_End(const DICOM_List& record)
{
    if (Inside(Nesting::Kind::Item) && levels_.back().end < 0) {
        Pop();
        return true;
    }
    findings_.Add(Level::Change, record,
                  Inside(Nesting::Kind::Item) ? "item delimitation inside an item of given length"
                                              : "item delimitation outside an item");
    return false;
}

bool Element_Loop::Keep_Sequence_End(const DICOM_List& record)
{
    if (Inside(Nesting::Kind::Item) && levels_.back().end < 0) {
        Pop_Unclosed();
    }
    if (!levels_.empty() && levels_.back().kind != Nesting::Kind::Item && levels_.back().end < 0) {
        Pop();
        return true;
    }
    findings_.Add(Level::Change, record,
                  levels_.empty() ? "sequence delimitation outside a sequence"
                                  : "sequence delimitation inside a given length");
    return false;
}

void Element_Loop::Note_VR(DICOM_List& record)
{
    const bool is_explicit = (Mode() & DICOM_Order_Explicit_VR) != 0 || record.group == Meta_Group;
    if (!is_explicit) {
        return;
    }
    if (record.vr == 0) {
        findings_.Add(Level::Change, record, "has no VR though the encoding is explicit");
    } else if (!Is_Known_VR(record.vr)) {
        findings_.Add(Level::Change, record, "VR=" + VR_Text(record.vr) + " does not exist");
        record.vr = 0;
    } else if (Tag_Of(record) == Pixel_Padding_Tag) {
        std::array<unsigned char, 2> letters = {};
        source_->Read(record.pos + 4, letters);
        if (letters[0] == ' ') {
            findings_.Add(Level::Change, record, "blank VR is taken as " + VR_Text(record.vr));
        }
    }
}

bool Element_Loop::Read_Data_Element(DICOM_List& record)
{
    // Only items stand directly in a sequence or an encapsulated value: another element is the
    // first one behind it.
    while (!levels_.empty() && !Inside(Nesting::Kind::Item) && levels_.back().end < 0) {
        Pop_Unclosed();
    }
    Note_VR(record);
    if (record.size == DICOM_Undefined_Length) {
        Nesting::Kind kind = Nesting::Kind::Sequence;
        const bool was_UN = record.vr == VR_UN;
        Settle_Undefined_Length(record, kind);
        if (record.size == DICOM_Undefined_Length) {
            Push(kind, record, was_UN ? Mode_Inside_UN : Mode());
        }
        Insert(record);
        return true;
    }
    if (Is_Sequence_In_UN(record)) {
        findings_.Add(Level::Change, record, "sequence stored as UN");
        record.vr = VR_SQ;
        Push(Nesting::Kind::Sequence, record, Mode_Inside_UN);
        Insert(record);
        return true;
    }
    if (VR_Of(record) == VR_SQ) {
        Push(Nesting::Kind::Sequence, record, Mode());
        Insert(record);
        return true;
    }
    return Read_Value(record);
}

void Element_Loop::Settle_Undefined_Length(DICOM_List& record, Nesting::Kind& kind)
{
    const unsigned short vr = VR_Of(record);
    if (Tag_Of(record) == Pixel_Data_Tag || vr == VR_OB || vr == VR_OW) {
        kind = Nesting::Kind::Fragments;
        if (record.vr != 0 && record.vr != VR_OB && record.vr != VR_OW) {
            findings_.Add(Level::Change, record,
                          "encapsulated value stored as " + VR_Text(record.vr));
            record.vr = VR_OB;
        }
    } else if (vr == VR_SQ || vr == 0) {
        record.vr_default = VR_SQ;
    } else if (vr == VR_UN) {
        findings_.Add(Level::Change, record, "sequence stored as UN");
        record.vr = VR_SQ;
    } else if (Items_Follow(record.data_pos)) {
        // Where the stream carries no VR there is nothing that could be put right.
        findings_.Add(record.vr != 0 ? Level::Change : Level::Info, record,
                      "VR=" + VR_Text(vr) + " of undefined length is taken as a sequence");
        record.vr = VR_SQ;
    } else {
        findings_.Add(Level::Change, record,
                      "VR=" + VR_Text(vr) + " of undefined length is taken as empty");
        record.size = 0;
    }
}

bool Element_Loop::Items_Follow(std::int64_t position) const
{
    std::array<unsigned char, 4> bytes = {};
    const unsigned char order = Mode() & DICOM_Order_Big_Endian;
    const std::size_t size = source_->Read(position, bytes);
    const Tag tag = {Get_UShort(order, bytes.data()), Get_UShort(order, bytes.data() + 2)};
    return size == bytes.size() && (tag == Item_Tag || tag == Sequence_End_Tag);
}

/** A standard sequence whose items fill the value exactly, or whose first one has no length. */
bool Element_Loop::Is_Sequence_In_UN(const DICOM_List& record) const
{
    const bool is_sequence = record.dict != nullptr && record.dict->vr[0] == VR_SQ;
    if (record.vr != VR_UN || !is_sequence || record.size < Item_Header_Size) {
        return false;
    }
    const std::int64_t end = static_cast<std::int64_t>(record.data_pos) + record.size;
    std::int64_t at = record.data_pos;
    while (at + Item_Header_Size <= end) {
        std::array<unsigned char, Item_Header_Size> item = {};
        if (source_->Read(at, item) != item.size() ||
            Get_UShort(Mode_Inside_UN, item.data()) != Item_Tag.group ||
            Get_UShort(Mode_Inside_UN, item.data() + 2) != Item_Tag.element) {
            return false;
        }
        const int length = Get_Int(Mode_Inside_UN, item.data() + 4);
        if (length < 0) {
            return length == DICOM_Undefined_Length;
        }
        at += Item_Header_Size + length;
    }
    return at == end;
}

bool Element_Loop::Read_Value(DICOM_List& record)
{
    const std::int64_t end = static_cast<std::int64_t>(record.data_pos) + record.size;
    if (end > source_->Size()) {
        return Keep_Cut_Value(record);
    }
    // Pixel data goes to the output as it is.
    if (!levels_.empty() || record.group != Pixel_Data_Tag.group) {
        budget_.Take_Value(record.size);
    }
    if (budget_.Is_Spent()) {
        return Stop_For_Memory();
    }
    Bytes value;
    if (record.size <= Load_Limit) {
        if (!cursor_.Read_Value(record.size, value)) {
            findings_.Add(Level::Error, record, "cannot be read: " + findings_.Take_Errors());
            return false;
        }
        record.data = value.data();
    } else if (!cursor_.Seek(end)) {
        findings_.Add(Level::Error, record, "the file cannot be positioned behind the value");
        return false;
    }
    Insert(record);
    record.data = nullptr;
    position_ = end;
    return true;
}

bool Element_Loop::Keep_Cut_Value(DICOM_List& record)
{
    const std::int64_t room = source_->Size() - record.data_pos;
    const std::string cut = "the value is cut off: " + std::to_string(room) + " of " +
                            Bytes_Text(record.size) + " are there";
    position_ = source_->Size();
    if (!Is_Bulk(VR_Of(record))) {
        findings_.Add(Level::Error, record, cut + "; the element is left out");
        return false;
    }
    findings_.Add(Level::Error, record, cut);
    Bytes value(static_cast<std::size_t>(std::min<std::int64_t>(room, Load_Limit)));
    record.spare = static_cast<unsigned int>(record.size);
    record.size = static_cast<int>(room);
    if (room > 0 && room <= Load_Limit) {
        value.resize(source_->Read(record.data_pos, value));
        record.data = value.data();
    }
    Insert(record);
    record.data = nullptr;
    return false;
}

void Element_Loop::Leave_Ended_Levels()
{
    while (!levels_.empty() && levels_.back().end >= 0 && levels_.back().end <= position_) {
        const Nesting& level = levels_.back();
        if (level.end < position_) {
            findings_.Add(Level::Change, level.tag, level.offset,
                          "contents run " + Bytes_Text(position_ - level.end) +
                              " past the given length");
        }
        Pop();
    }
}

void Element_Loop::Report_Open_Levels()
{
    Leave_Ended_Levels();
    for (; !levels_.empty(); Pop()) {
        const Nesting& level = levels_.back();
        if (level.end < 0) {
            findings_.Add(Level::Change, level.tag, level.offset, "is not closed at the end");
        } else {
            findings_.Add(Level::Error, level.tag, level.offset,
                          "is cut off: " + Bytes_Text(level.end - position_) + " are missing");
        }
    }
}

std::int64_t Element_Loop::Find_Last_Nonzero() const
{
    std::array<unsigned char, 4096> block;
    std::int64_t end = source_->Size();
    while (end > 0) {
        const std::int64_t start = std::max<std::int64_t>(0, end - std::ssize(block));
        const auto size = static_cast<std::size_t>(end - start);
        if (source_->Read(start, {block.data(), size}) != size) {
            // What cannot be read, or was cut off meanwhile, is not taken for zeros.
            return end - 1;
        }
        for (std::size_t i = size; i > 0; --i) {
            if (block[i - 1] != 0) {
                return start + static_cast<std::int64_t>(i) - 1;
            }
        }
        end = start;
    }
    return -1;
}

bool Element_Loop::Only_Zeros_Follow()
{
    if (last_nonzero_ == Not_Looked_For) {
        last_nonzero_ = Find_Last_Nonzero();
    }
    if (last_nonzero_ >= position_) {
        return false;
    }
    findings_.Add(Level::Change, {}, position_,
                  Bytes_Text(source_->Size() - position_) + " of zeros behind the last element");
    return true;
}

}  // namespace lib_mend
