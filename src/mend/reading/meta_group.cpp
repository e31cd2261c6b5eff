// Group 0002 with faults: each header is read by meta_header.h, and what the elements say of each
// other is put right here.
//
//   wrong group length     (0002,0000) says where the group ends; the headers say better
//   two groups             02 00 00 00 ... 02 00 00 00 ...   what the first lacks is taken from the
//                          second; what both have with other values is lost, as an error
//   elements of others     (0002,0002) (0008,0018) (0002,0010): the stray goes to the data set
//   damaged tag            (0002,0003) (0102,0010) (0002,0012): VR and order tell the tag
//   bytes without sense    left out, as an error; --keep-garbage keeps them
#include "mend/reading/meta_group.h"

#include "mend/reading/evidence.h"
#include "mend/reading/header.h"
#include "mend/reading/meta_header.h"

#include <algorithm>
#include <array>
#include <map>
#include <new>

namespace lib_mend {

namespace {

constexpr Tag Group_Length_Tag = {Meta_Group, 0x0000};
constexpr Tag Version_Tag = {Meta_Group, 0x0001};
/** Groups up to this one describe messages, files and directories, not what they hold. */
constexpr unsigned short Last_Control_Group = 0x0007;
/** Each stray is looked for in the data set. */
constexpr int Most_Strays = 64;

Place Place_Of(const Meta_Header& header, std::int64_t at)
{
    const Path* const top = nullptr;
    return {true, header.tag, header.vr, top, at, header.length};
}

class Meta_Reader {
public:
    Meta_Reader(Data_Set& set, std::int64_t start, Findings& findings)
        : set_(set), source_(*set.source), headers_(source_, start), findings_(findings),
          position_(start)
    {
    }

    std::int64_t Read();

private:
    bool Read_Element();
    bool Skip_To_Second_Group();
    bool Read_Foreign_Element();
    bool Skip_Garbage();
    void Begin_Second_Group(std::int64_t at);
    void Note_Length(const Meta_Header& header);
    void Keep(const Meta_Header& header, std::int64_t at, unsigned short vr, Record_List& list,
              DICOM_Root& root);
    unsigned short Settle_VR(const Meta_Header& header, std::int64_t at);
    void Report_Forms();
    void Check_Length();
    void Check_Version();
    void Merge_Second_Group();

    struct Deviation {
        Meta_Header header;
        std::int64_t at;
    };

    Data_Set& set_;
    const Source& source_;
    Meta_Headers headers_;
    Findings& findings_;
    std::int64_t position_;
    /** End of the group, when another follows it. */
    std::int64_t first_end_ = -1;
    Tag last_;
    int elements_ = 0;
    int strays_ = 0;
    /** Elements in implicit VR, or big endian. */
    std::vector<Deviation> implicit_;
    std::vector<Deviation> big_endian_;
    std::int64_t second_group_ = -1;
    Record_List second_;
    DICOM_Root root_ = {};
    DICOM_Root second_root_ = {};
    DICOM_Root stray_root_ = {};
};

std::int64_t Meta_Reader::Read()
{
    bool more = true;
    while (more && position_ < source_.Size()) {
        more = headers_.Is_Tag(position_)
                   ? Read_Element()
                   : Skip_To_Second_Group() || Read_Foreign_Element() || Skip_Garbage();
    }
    Report_Forms();
    if (elements_ > 0) {
        Check_Length();
        Check_Version();
        Merge_Second_Group();
    }
    return position_;
}

bool Meta_Reader::Read_Element()
{
    Meta_Header header;
    const std::int64_t at = position_;
    if (!headers_.Read(at, header)) {
        findings_.Report(Fault::Truncated, Level::Error, Place_Of(header, at),
                         "is cut off by the end of the file, and left out");
        position_ = source_.Size();
        return false;
    }
    if (elements_ > 0 && header.tag == Group_Length_Tag) {
        Begin_Second_Group(at);
    }
    const unsigned short vr = Settle_VR(header, at);
    Keep(header, at, vr, second_group_ >= 0 ? second_ : set_.meta,
         second_group_ >= 0 ? second_root_ : root_);
    Note_Length(header);
    ++elements_;
    last_ = header.tag;
    position_ = header.Next();
    return true;
}

void Meta_Reader::Begin_Second_Group(std::int64_t at)
{
    if (second_group_ < 0) {
        second_group_ = at;
        first_end_ = at;
    }
    last_ = {};
}

/** Preamble and "DICM" once more, as a file has that was wrapped twice. */
bool Meta_Reader::Skip_To_Second_Group()
{
    constexpr std::array<unsigned char, 4> Prefix = {'D', 'I', 'C', 'M'};
    for (const std::int64_t front : {std::int64_t{0}, Preamble_Size}) {
        std::array<unsigned char, 4> bytes = {};
        const std::int64_t at = position_ + front + std::ssize(Prefix);
        // A value may hold the beginning of a file just as far behind as a preamble would.
        const bool is_value = front > 0 && headers_.Is_Data_Set(position_);
        if (elements_ > 0 && source_.Read(position_ + front, bytes) == bytes.size() &&
            bytes == Prefix && Is_Meta_Group(source_, at) && !is_value) {
            first_end_ = first_end_ < 0 ? position_ : first_end_;
            second_group_ = second_group_ < 0 ? at : second_group_;
            set_.skipped.push_back({position_, at - position_, set_.source});
            position_ = at;
            last_ = {};
            return true;
        }
    }
    return false;
}

bool Meta_Reader::Read_Foreign_Element()
{
    Meta_Header header;
    const std::int64_t at = position_;
    if (at == headers_.End() || !headers_.Read_Foreign(at, header)) {
        return false;
    }
    const Tag tag = Undamaged_Tag(header, last_);
    const bool is_last = tag.group != 0 && header.Next() == headers_.End();
    if (!is_last && headers_.Is_Data_Set(at)) {
        return false;
    }
    if (tag.group != 0) {
        const std::string read = Tag_Text(header.tag);
        header.tag = tag;
        findings_.Report(Fault::Header, Level::Change, Place_Of(header, at),
                         "is taken for the element that stands as (" + read + ")");
        Keep(header, at, header.vr, set_.meta, root_);
        ++elements_;
        last_ = tag;
    } else if (strays_ < Most_Strays && header.tag.group > Last_Control_Group &&
               NEMA_db_Locate(header.tag.group, header.tag.element) != nullptr) {
        ++strays_;
        findings_.Report(Fault::File_Meta, Level::Change, Place_Of(header, at),
                         "does not belong in the file meta information, and moves to the data set");
        Keep(header, at, header.vr, set_.strays, stray_root_);
    } else {
        findings_.Report(Fault::Lost, Level::Error, Place_Of(header, at),
                         "does not belong in the file meta information, and is left out");
        set_.skipped.push_back({at, header.Next() - at, set_.source});
    }
    position_ = header.Next();
    return true;
}

/** Bytes between elements of the group that are none. */
bool Meta_Reader::Skip_Garbage()
{
    const std::int64_t at = position_;
    if (at == headers_.End() || headers_.Is_Data_Set(at) ||
        (headers_.End() < at && elements_ == 0)) {
        return false;
    }
    const std::int64_t next = headers_.Find_Next(at + 1, last_);
    const bool is_inside = next >= 0 && (next <= headers_.End() || headers_.Is_Tag(next));
    if (!is_inside) {
        return false;
    }
    findings_.Report(Fault::Garbage, Level::Error, {.offset = at, .length = next - at},
                     std::to_string(next - at) +
                         " bytes in the file meta information are no element, and left out");
    set_.skipped.push_back({at, next - at, set_.source});
    position_ = next;
    return true;
}

/** Takes the place where the group ends from its length. */
void Meta_Reader::Note_Length(const Meta_Header& header)
{
    std::array<unsigned char, 4> bytes = {};
    if (header.tag != Group_Length_Tag || header.length != 4 ||
        source_.Read(header.value, bytes) != bytes.size()) {
        return;
    }
    const unsigned char order = header.big_endian ? DICOM_Order_Big_Endian : 0;
    const std::int64_t length = Get_Int(order, bytes.data());
    headers_.Set_End(
        length >= 0 && header.Next() + length <= source_.Size() ? header.Next() + length : -1);
}

unsigned short Meta_Reader::Settle_VR(const Meta_Header& header, std::int64_t at)
{
    using Form = Meta_Header::Form;
    const unsigned short registered = Registered_VR(header.tag);
    const bool is_known = NEMA_db_Locate(header.tag.group, header.tag.element) != nullptr;
    const unsigned short vr = header.vr == 0 || is_known ? registered : header.vr;
    const Place place = Place_Of(header, at);
    if (header.big_endian) {
        big_endian_.push_back({header, at});
    }
    switch (header.form) {
    case Form::Implicit:
        implicit_.push_back({header, at});
        break;
    case Form::Unknown_VR:
        findings_.Report(Fault::VR, Level::Change, place,
                         "has a VR that does not exist, and is taken as " + VR_Text(vr));
        break;
    case Form::Small_Letters:
        findings_.Report(Fault::VR, Level::Change, place,
                         "VR=" + VR_Text(vr) + " stands in small letters");
        break;
    case Form::Other_Width:
        findings_.Report(Fault::Header, Level::Change, place,
                         "the length of VR=" + VR_Text(header.vr) + " has the width of another VR");
        break;
    case Form::Sound:
        break;
    }
    if (header.reserved_in_use && header.form == Form::Sound) {
        findings_.Report(Fault::Header, Level::Change, place,
                         "the reserved bytes of the header are not zero");
    }
    if (header.vr != 0 && header.vr != vr) {
        findings_.Report(Fault::VR, Level::Change, place,
                         "VR=" + VR_Text(header.vr) + " is replaced by " + VR_Text(vr));
    }
    if (header.claimed != header.length) {
        findings_.Report(Fault::Value_Length, Level::Change, place,
                         "the length does not fit; the value ends where the next part begins");
    }
    return vr;
}

void Meta_Reader::Keep(const Meta_Header& header, std::int64_t at, unsigned short vr,
                       Record_List& list, DICOM_Root& root)
{
    Bytes value(static_cast<std::size_t>(header.length));
    if (source_.Read(header.value, value) != value.size()) {
        return;
    }
    DICOM_List record = {};
    const int order = header.big_endian ? DICOM_Order_Big_Endian : 0;
    record.byte_order = static_cast<unsigned char>(DICOM_Order_Explicit_VR | order);
    record.flags = DICOM_Origin_Stream;
    record.group = header.tag.group;
    record.element = header.tag.element;
    record.vr = vr;
    record.dict = NEMA_db_Locate(header.tag.group, header.tag.element);
    record.vr_default = vr;
    Set_Place(source_, record, at, header.value, header.length);
    Set_Claim(source_, record, header.claimed != header.length ? header.claimed : 0);
    record.data = value.empty() ? nullptr : value.data();
    if (DICOM_Attribute_Insert(nullptr, &root, list.Address(), &record, 0) == nullptr) {
        throw std::bad_alloc();
    }
}

/** One line for a group in another form, or one for each element that has it. */
void Meta_Reader::Report_Forms()
{
    const auto report = [&](const std::vector<Deviation>& found, Fault fault, const char* of_all,
                            const char* of_one) {
        if (static_cast<int>(found.size()) == elements_ && elements_ > 1) {
            findings_.Report(Fault::File_Meta, Level::Change, {.offset = found.front().at}, of_all);
            return;
        }
        for (const auto& [header, at] : found) {
            findings_.Report(fault, Level::Change, Place_Of(header, at), of_one);
        }
    };
    report(implicit_, Fault::VR, "the file meta information is in implicit VR",
           "has no VR though the encoding is explicit");
    report(big_endian_, Fault::Header, "the file meta information is in big endian",
           "the header is in big endian");
}

/** Compares the group length with what was read. */
void Meta_Reader::Check_Length()
{
    const DICOM_List* const length = Find_Record(set_.meta.Head(), Group_Length_Tag);
    if (length == nullptr) {
        findings_.Report(Fault::File_Meta, Level::Change,
                         {.has_tag = true, .tag = Group_Length_Tag},
                         "the file meta information has no group length");
        return;
    }
    const Bytes value = set_.Value(*length);
    const std::int64_t given =
        value.size() == 4 ? static_cast<std::uint32_t>(Get_Int(length->byte_order, value.data()))
                          : std::int64_t{-1};
    const std::int64_t end = first_end_ < 0 ? position_ : first_end_;
    const std::int64_t found = end - Value_Position_Of(*length) - length->size;
    if (given != found) {
        findings_.Report(Fault::File_Meta, Level::Change, At(*length, Path()),
                         "the group length does not fit the file meta information",
                         {std::to_string(given), std::to_string(found)});
    }
}

void Meta_Reader::Check_Version()
{
    // PS3.10 has one version, and each bit stands for one.
    const Bytes first_version = {0x00, 0x01};
    const DICOM_List* const version = Find_Record(set_.meta.Head(), Version_Tag);
    if (version != nullptr && version->size > 0 && set_.Value(*version) != first_version) {
        findings_.Report(Fault::File_Meta, Level::Kept, At(*version, Path()),
                         "is another version than 1, the only one that there is");
    }
}

/** Takes from the second group what the first lacks. */
void Meta_Reader::Merge_Second_Group()
{
    if (second_group_ < 0) {
        return;
    }
    findings_.Report(
        Fault::File_Meta, Level::Change, {.offset = second_group_},
        "a second file meta information follows; what the first lacks is taken from it");
    std::map<Tag, const DICOM_List*> first;
    for (const DICOM_List& record : Records(set_.meta.Head())) {
        first.emplace(Tag_Of(record), &record);
    }
    for (DICOM_List& record : Records(second_.Head())) {
        const auto found = first.find(Tag_Of(record));
        if (found == first.end()) {
            DICOM_List copy = record;
            copy.next = nullptr;
            copy.last = nullptr;
            if (DICOM_Attribute_Insert(nullptr, &root_, set_.meta.Address(), &copy, 0) == nullptr) {
                throw std::bad_alloc();
            }
        } else if (record.element != Group_Length_Tag.element &&
                   set_.Value(record) != set_.Value(*found->second)) {
            findings_.Report(Fault::Lost, Level::Error, At(record, Path()),
                             "stands in a second file meta information with another value, which "
                             "is left out");
        }
    }
}

}  // namespace

std::int64_t Read_Meta_Group(Data_Set& set, std::int64_t start, Findings& findings)
{
    const std::int64_t end = Meta_Reader(set, start, findings).Read();
    if (const DICOM_List* const syntax = Find_Record(set.meta.Head(), Transfer_Syntax_Tag)) {
        set.declared_syntax = Trimmed(set.Value(*syntax));
        if (!set.declared_syntax.empty() && !Is_UID(set.declared_syntax)) {
            findings.Report(Fault::Transfer_Syntax, Level::Change, At(*syntax, Path()),
                            "is no UID");
            set.declared_syntax.clear();
        }
    }
    return end;
}

void Return_Strays(Data_Set& set, Findings& findings)
{
    for (DICOM_List& record : Records(set.strays.Head())) {
        const DICOM_List* const present = Find_Record(set.records.Head(), Tag_Of(record));
        if (present != nullptr && set.Value(*present) != set.Value(record)) {
            findings.Report(Fault::Lost, Level::Error, At(record, Path()),
                            "stands in the data set too, with another value; this one is left out");
        }
        DICOM_Root root = {};
        DICOM_List* const place = present == nullptr
                                      ? DICOM_Attribute_Find(nullptr, &root, set.records.Address(),
                                                             record.group, record.element)
                                      : nullptr;
        if (place == nullptr) {
            continue;
        }
        std::swap(place->data, record.data);
        place->size = record.size;
        place->vr = record.vr;
        place->vr_default = record.vr_default;
        place->dict = record.dict;
        place->byte_order = record.byte_order;
        place->flags = record.flags;
        Take_Place(*place, record);
    }
}

}  // namespace lib_mend
