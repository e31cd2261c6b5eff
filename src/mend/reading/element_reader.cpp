#include "mend/reading/element_reader.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

/** Values up to this size are read at once, longer ones are left in the source. */
constexpr std::int64_t Load_Limit = 1024;

/** VR of an element that carries none. */
unsigned short Default_VR(const Element_Header& header, const TAG_db_Elems* entry)
{
    if (header.tag == Pixel_Data_Tag) {
        return header.Is_Undefined() ? VR_OB : VR_OW;
    }
    if (entry != nullptr) {
        return entry->vr[0];
    }
    if (header.tag.element == 0x0000) {
        return VR_UL;
    }
    const bool is_creator =
        header.tag.group % 2 != 0 && header.tag.element >= 0x0010 && header.tag.element <= 0x00FF;
    return is_creator ? VR_LO : static_cast<unsigned short>(0);
}

DICOM_List* New_Record()
{
    auto* const record = static_cast<DICOM_List*>(std::calloc(1, sizeof(DICOM_List)));
    if (record == nullptr) {
        throw std::bad_alloc();
    }
    return record;
}

}  // namespace

std::string Bytes_Text(std::int64_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

Element_Reader::Element_Reader(const std::shared_ptr<Source>& source, std::int64_t start,
                               std::int64_t end, unsigned char mode, Findings& findings,
                               std::vector<Skipped>& skipped, const Memory_Budget& budget)
    : source_(source), lens_cursor_(Source::From_Image(lens_, source->Name()), 0), window_(*source),
      findings_(findings), skipped_(skipped), budget_(budget), position_(start), end_(end)
{
    Nesting_Level& top = levels_.emplace_back();
    top.mode = mode;
    top.usual_mode = mode;
    top.end = end;
    top.limit = end;
}

Record_List Element_Reader::Read_All()
{
    while (!stopped_ && position_ < end_ && !window_.Is_Short()) {
        Step();
    }
    if (window_.Is_Short()) {
        stopped_ = true;
        findings_.Report(Fault::Unreadable, Level::Error, {.offset = position_},
                         "reading stops here: the file became shorter meanwhile");
    }
    Report_Open_Levels();
    return std::move(root_);
}

void Element_Reader::Step()
{
    Leave_Ended_Levels();
    if (position_ >= end_) {
        return;
    }
    const std::int64_t position = position_;
    const std::size_t levels = levels_.size();
    switch (Top().kind) {
    case Level_Kind::List:
        Read_In_List();
        break;
    case Level_Kind::Sequence:
        Read_In_Sequence();
        break;
    case Level_Kind::Fragments:
        Read_In_Fragments();
        break;
    }
    // Levels may be opened and closed again at one place, but not for ever.
    constexpr int Most_Idle_Steps = 16;
    if (position_ != position) {
        idle_steps_ = 0;
    } else if (levels_.size() >= levels && ++idle_steps_ > Most_Idle_Steps && !stopped_) {
        Skip_Garbage();
    }
}

Grade Element_Reader::Judge_At(std::int64_t at, Tag last)
{
    const Element_Header& header = Header_At(at);
    if (!ahead_.is_judged || ahead_.last != last || ahead_.limit != Top().limit) {
        Level_View list = Top();
        list.last = last;
        ahead_.is_judged = true;
        ahead_.grade = Judge(header, at, list);
        ahead_.last = last;
        ahead_.limit = list.limit;
    }
    return ahead_.grade;
}

void Element_Reader::Read_In_List()
{
    if (!foreign_.empty()) {
        Follow_Foreign();
    }
    const Element_Header header = Header_At(position_);
    if ((header.size == 0 || header.tag == Tag{}) && Stop_At_Zeros()) {
        return;
    }
    if (header.size == 0 && Is_Cut_Off_Here()) {
        Skip_Rest();
    } else if (header.tag.group == Delimiter_Group) {
        Read_Delimiter_In_List(header);
    } else if (Leave_Wrong_Lengths(header)) {
        return;
    } else if (Judge_At(position_, Top().last) == Grade::Sound && Fits_What_Follows(header)) {
        Accept(header);
    } else if (Ends_With_Moved(header) || Ends_Before_Items(header) || Leads_On(header)) {
        Accept_Doubtful(header);
    } else {
        Settle(header);
    }
}

/** The quick answer for sound data sets: what the header leads to is a sound header too. */
bool Element_Reader::Fits_What_Follows(const Element_Header& header)
{
    const std::int64_t value = position_ + header.size;
    const TAG_db_Elems* const entry = header.Entry();
    if (Has_Nested_Content(header, entry) && header.length != 0) {
        const Element_Header first = Decode_Header(window_.At(value, 8), Top().mode);
        return first.tag == Item_Tag || first.tag == Swapped_Item_Tag ||
               (first.tag == Sequence_End_Tag && first.length == 0 && header.Is_Undefined());
    }
    const std::int64_t end = value + header.length;
    if (Looks_Wrong(header)) {
        return false;
    }
    if (end == Top().limit) {
        return true;
    }
    const Element_Header& next = Header_At(end);
    if (next.tag.group == Delimiter_Group) {
        return next.tag == Item_End_Tag && next.length == 0 && levels_.size() > 1 &&
               Top().end == Level_View::Open;
    }
    const Grade grade = Judge_At(end, header.tag);
    // What the end of the source cuts off says nothing against the element in front.
    return grade == Grade::Sound ||
           (grade == Grade::Length_Impossible && end_ == source_->Size() &&
            end + next.size + next.length > end_ && header.tag > Top().last);
}

/** The source ends in the middle of a header that makes sense so far. */
bool Element_Reader::Is_Cut_Off_Here()
{
    constexpr std::int64_t Shortest_Header = 8;
    const std::int64_t left = end_ - position_;
    const std::span<const unsigned char> bytes = Header_Bytes(position_);
    if (end_ != source_->Size() || left >= static_cast<std::int64_t>(Longest_Header)) {
        return false;
    }
    if (left < Shortest_Header) {
        return true;
    }
    Element_Header header = Decode_Header_As(bytes, Top().mode, Header_Form::Short);
    header.length = 0;
    return Is_Long_VR(header.vr) && Judge(header, position_, Top()) == Grade::Sound;
}

/** A sequence that the source cuts off in front of its first item. */
bool Element_Reader::Ends_Before_Items(const Element_Header& header)
{
    const std::int64_t left = end_ - position_ - header.size;
    return header.vr == VR_SQ && left < Item_Header_Size && header.length > left &&
           end_ == source_->Size() && Judge(header, position_, Top()) >= Grade::Length_Impossible;
}

/** A sequence that reaches as far beyond the list as bytes are missing in it: they are its own. */
bool Element_Reader::Ends_With_Moved(const Element_Header& header)
{
    constexpr int Sure_Points = 7;
    const std::int64_t value = position_ + header.size;
    const std::int64_t beyond = value + header.length - Top().limit;
    Element_Header empty = header;
    empty.length = 0;
    return Top().moved < 0 && beyond == -Top().moved &&
           Has_Nested_Content(header, header.Entry()) &&
           Judge(empty, position_, Top()) == Grade::Sound &&
           (Starts_With_Item(value, Top().mode) || Points_Without_Item(header) >= Sure_Points);
}

/**
 * Tags that nobody knows are no fault: what leads to the end of the list, or to several elements that
 * are known, without a contradiction is read as it stands. So is a value that looks odd, when all
 * headers to the end make sense.
 */
bool Element_Reader::Leads_On(const Element_Header& header)
{
    constexpr std::size_t Most_Levels = 64;
    // The innermost level whose end is known; however deep the nesting is, the search for it is short.
    std::size_t base = levels_.size() - 1;
    for (; base > 0 && levels_[base].end == Level_View::Open; --base) {
        if (levels_.size() - base > Most_Levels) {
            return false;
        }
    }
    Nesting_Level& anchor = levels_[base];
    if (position_ >= anchor.walked_to) {
        const auto first = levels_.begin() + static_cast<std::ptrdiff_t>(base);
        const Straight_Reading reading = Read_Straight(window_, {first, levels_.end()}, position_);
        anchor.held_to = reading.holds ? reading.to : reading.sound_from;
        anchor.walked_to = std::max(reading.to, position_ + 1);
        anchor.holds = reading.holds;
    }
    if (position_ >= anchor.held_to || (Looks_Wrong(header) && !anchor.holds)) {
        anchor.held_to = -1;
        anchor.holds = false;
    }
    return position_ < anchor.held_to;
}

bool Element_Reader::Spend_Element()
{
    budget_.Take_Element();
    if (!budget_.Is_Spent()) {
        return true;
    }
    if (!stopped_) {
        findings_.Report(Fault::Unreadable, Level::Error, {.offset = position_},
                         "reading stops here: the elements of the deflated data set take memory "
                         "out of proportion");
    }
    stopped_ = true;
    return false;
}

void Element_Reader::Fill_Record(DICOM_List& record, const Element_Header& header) const
{
    record.byte_order = header.mode;
    record.depth = static_cast<unsigned char>(std::min(depth_, 255));
    record.flags = DICOM_Origin_Stream;
    record.group = header.tag.group;
    record.element = header.tag.element;
    record.vr = header.vr;
    record.dict = header.Entry();
    record.vr_default = Default_VR(header, record.dict);
    Set_Place(*source_, record, position_, position_ + header.size,
              header.Is_Undefined() ? DICOM_Undefined_Length : header.length);
}

/** Appends a record to the innermost list. */
DICOM_List& Element_Reader::Append_Record(const Element_Header& header)
{
    Nesting_Level& list = Top();
    DICOM_List* const record = New_Record();
    if (list.tail != nullptr) {
        list.tail->next = record;
    } else {
        list.head = record;
        root_ = Record_List(record);
    }
    list.tail = record;
    list.head->last = record;
    Fill_Record(*record, header);
    return *record;
}

/** Appends an item, which begins with the record of its header, to a sequence. */
void Element_Reader::Add_Item(Nesting_Level& sequence, Nesting_Level& item,
                              const Element_Header& header)
{
    DICOM_List& owner = *sequence.owner;
    if (sequence.items == owner.nb_item) {
        const int slots = std::max(1, 2 * owner.nb_item);
        void* const grown =
            std::realloc(owner.item, sizeof(DICOM_List*) * static_cast<std::size_t>(slots));
        if (grown == nullptr) {
            throw std::bad_alloc();
        }
        owner.item = static_cast<DICOM_List**>(grown);
        std::fill(owner.item + owner.nb_item, owner.item + slots, nullptr);
        owner.nb_item = slots;
    }
    DICOM_List* const record = New_Record();
    owner.item[sequence.items++] = record;
    record->last = record;
    Fill_Record(*record, header);
    item.owner = record;
    item.head = record;
    item.tail = record;
}

void Element_Reader::Accept(const Element_Header& header)
{
    if (!Spend_Element()) {
        return;
    }
    DICOM_List& record = Append_Record(header);
    if (record.dict != nullptr && record.dict->nb_vr <= 0) {
        record.flags |= DICOM_Mark_Retired;
        Report(Fault::Retired, Level::Info, record, "Retired from DICOM");
    }
    if (record.group % 2 != 0) {
        record.flags |= DICOM_Mark_Private;
        Ask_Definition(record);
    }
    if (header.reserved != 0) {
        Report(Fault::Header, Level::Change, record,
               "the reserved bytes behind its VR are not zero");
    }
    Raise_Last(header);
    const Content content = Content_Of(record, header);
    if (content.kind != Content::Kind::Plain) {
        Enter(record, header, content);
        return;
    }
    Read_Value(record, header);
}

/** One element with a damaged tag must not make all that follow look out of order. */
void Element_Reader::Raise_Last(const Element_Header& header)
{
    Nesting_Level& list = Top();
    if (header.tag <= list.last) {
        return;
    }
    if (!header.Is_Undefined() && header.length != 0) {
        const std::int64_t end = position_ + header.size + header.length;
        const Element_Header& next = Header_At(end);
        if (next.size != 0 && next.tag < header.tag && Judge_At(end, list.last) == Grade::Sound) {
            return;
        }
    }
    list.last = header.tag;
}

void Element_Reader::Read_Value(DICOM_List& record, const Element_Header& header)
{
    const std::int64_t room = end_ - position_ - header.size;
    if (Size_Of(record) > room) {
        Element_Header there = header;
        there.length = room;
        Report_Cut(there, header.length);
        Set_Size(*source_, record, room);
        Set_Claim(*source_, record, header.length);
    }
    const std::int64_t end = position_ + header.size + Size_Of(record);
    // Pixel data, and whatever nobody looks into, goes to the output as it is.
    if (!Is_Bulk(record) && (levels_.size() > 1 || record.group != Pixel_Data_Tag.group)) {
        budget_.Take_Value(Size_Of(record));
    }
    if (budget_.Is_Spent()) {
        record.size = 0;
        Spend_Element();
        return;
    }
    Load(record);
    position_ = end;
    if (header.Is_Undefined() && Stands_Sequence_End(end)) {
        position_ += Item_Header_Size;
    }
    if (record.group % 2 != 0) {
        Note_Creator(Top(), record);
    }
}

void Element_Reader::Load(DICOM_List& record)
{
    if (record.size <= 0 || record.size > Load_Limit) {
        return;
    }
    const auto size = static_cast<std::size_t>(record.size);
    const std::span<const unsigned char> bytes = window_.At(Value_Position_Of(record), size);
    if (bytes.size() != size) {
        return;
    }
    record.data = static_cast<unsigned char*>(std::malloc(size));
    if (record.data == nullptr) {
        throw std::bad_alloc();
    }
    std::copy(bytes.begin(), bytes.end(), record.data);
}

std::int64_t Element_Reader::Find_Last_Nonzero() const
{
    constexpr std::int64_t Block = 4096;
    for (std::int64_t end = source_->Size(); end > 0;) {
        const std::int64_t start = std::max<std::int64_t>(0, end - Block);
        const auto size = static_cast<std::size_t>(end - start);
        const std::span<const unsigned char> bytes = window_.At(start, size);
        if (bytes.size() != size) {
            // What cannot be read, or was cut off meanwhile, is not taken for zeros.
            return end - 1;
        }
        const auto last = std::find_if(bytes.rbegin(), bytes.rend(),
                                       [](unsigned char byte) { return byte != 0; });
        if (last != bytes.rend()) {
            return start + (bytes.rend() - last) - 1;
        }
        end = start;
    }
    return -1;
}

bool Element_Reader::Stop_At_Zeros()
{
    if (last_nonzero_ == Not_Looked_For) {
        last_nonzero_ = Find_Last_Nonzero();
    }
    if (last_nonzero_ >= position_ || end_ != source_->Size()) {
        return false;
    }
    findings_.Report(Fault::Trailing, Level::Change, {.offset = position_},
                     Bytes_Text(end_ - position_) + " of zeros behind the last element");
    skipped_.push_back({position_, end_ - position_});
    position_ = end_;
    return true;
}

void Element_Reader::Report(Fault fault, Level level, const DICOM_List& record, std::string text)
{
    findings_.Report(fault, level, At(record, path_), std::move(text));
}

void Element_Reader::Report(Fault fault, Level level, const Element_Header& header,
                            std::string text)
{
    const Place place = {true,      header.tag,
                         header.vr, &path_,
                         position_, header.Is_Undefined() ? Finding::Nowhere : header.length};
    findings_.Report(fault, level, place, std::move(text));
}

}  // namespace lib_mend
