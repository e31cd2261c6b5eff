#include "mend/writing/pixel_data.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <span>
#include <stdexcept>
#include <vector>

namespace lib_mend {

namespace {

constexpr unsigned short First_Group = 0x7FE0;
constexpr unsigned short Last_Group = 0x7FEF;
constexpr Tag Float_Pixel_Tag = {0x7FE0, 0x0008};
constexpr Tag Double_Pixel_Tag = {0x7FE0, 0x0009};
constexpr Tag Bits_Allocated_Tag = {0x0028, 0x0100};
constexpr Tag Item_Tag = {0xFFFE, 0xE000};
constexpr Tag Sequence_End_Tag = {0xFFFE, 0xE0DD};

constexpr std::int64_t Even(std::int64_t size)
{
    return size + size % 2;
}

bool Is_Pixel_Value(const DICOM_List& record)
{
    const Tag tag = Tag_Of(record);
    return tag == Pixel_Data_Tag || tag == Float_Pixel_Tag || tag == Double_Pixel_Tag;
}

/** A compressed frame that stands as a plain value, though the transfer syntax encapsulates. */
bool Needs_Fragments(const Data_Set& set, const DICOM_List& record)
{
    return set.encoding.encapsulated && Tag_Of(record) == Pixel_Data_Tag && record.size > 0;
}

/** VR of pixel data that is not encapsulated (PS3.5 section 8.2 and A.2). */
unsigned short Native_VR(const Data_Set& set, const DICOM_List& record)
{
    if (Tag_Of(record) == Float_Pixel_Tag) {
        return VR_OF;
    }
    if (Tag_Of(record) == Double_Pixel_Tag) {
        return VR_OD;
    }
    constexpr unsigned int Bits_Of_A_Byte = 8;
    const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
    const bool wide = set.Number(Bits_Allocated_Tag, Bits_Of_A_Byte) > Bits_Of_A_Byte;
    if (record.vr == VR_OW || (record.vr == VR_OB && (is_big || !wide))) {
        return record.vr;
    }
    return wide ? VR_OW : VR_OB;
}

int Unit_Width(unsigned short vr)
{
    switch (vr) {
    case VR_OW:
        return 2;
    case VR_OF:
        return 4;
    case VR_OD:
        return 8;
    default:
        return 1;
    }
}

void Reverse_Units(std::span<char> bytes, int width)
{
    const auto step = static_cast<std::size_t>(width);
    for (std::size_t at = 0; at + step <= bytes.size(); at += step) {
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at + step));
    }
}

/** A fragment of encapsulated pixel data, as it stands in the list. */
struct Fragment {
    const DICOM_List* record;
    std::int64_t new_offset;
};

/** The fragments with their places behind the offset table in the output. */
std::vector<Fragment> Fragments_Of(const DICOM_List& pixels)
{
    std::vector<Fragment> fragments;
    std::int64_t offset = 0;
    for (int i = 0; Item_Of(pixels, i) != nullptr; ++i) {
        const DICOM_List* const record = Item_Of(pixels, i);
        if (Tag_Of(*record) != Item_Tag) {
            continue;
        }
        fragments.push_back({record, offset});
        constexpr int Item_Header_Size = 8;
        if (fragments.size() > 1) {
            offset += Item_Header_Size + Even(std::max(record->size, 0));
        }
    }
    return fragments;
}

bool Any_Odd(const std::vector<Fragment>& fragments)
{
    return std::any_of(fragments.begin(), fragments.end(),
                       [](const Fragment& fragment) { return fragment.record->size % 2 != 0; });
}

/** The basic offset table with the places that the fragments have after padding to even lengths. */
void Move_Offsets(std::span<char> table, const std::vector<Fragment>& fragments)
{
    if (fragments.size() < 2) {
        return;
    }
    const unsigned int origin = fragments[1].record->pos;
    std::map<unsigned int, std::int64_t> moved;
    for (std::size_t i = 1; i < fragments.size(); ++i) {
        moved[fragments[i].record->pos - origin] = fragments[i].new_offset;
    }
    constexpr std::size_t Entry_Size = 4;
    for (std::size_t at = 0; at + Entry_Size <= table.size(); at += Entry_Size) {
        const auto place = moved.find(static_cast<unsigned int>(Get_Int(0, table.data() + at)));
        if (place != moved.end()) {
            std::memcpy(table.data() + at, Put_Int(0, static_cast<int>(place->second)), Entry_Size);
        }
    }
}

/** Appends elements to a buffer of the C heap, whose whole size is known beforehand. */
class Appender {
public:
    Appender(char code, unsigned int offset, char** buffer)
        : code_(static_cast<unsigned char>(code)), buffer_(buffer), start_(offset), at_(offset)
    {
    }

    /** Makes room for more bytes; the buffer stays as it was without memory. */
    void Grow(std::int64_t size)
    {
        const std::int64_t total = static_cast<std::int64_t>(at_) + size;
        if (total > Max_File_Size) {
            throw std::length_error("the pixel data comes to more than 2 GiB");
        }
        void* const block = std::realloc(*buffer_, static_cast<std::size_t>(total));
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        *buffer_ = static_cast<char*>(block);
    }
    void Bytes_(const void* bytes, std::size_t size)
    {
        std::memcpy(*buffer_ + at_, bytes, size);
        at_ += size;
    }
    void Short(unsigned short value)
    {
        Bytes_(Put_UShort(code_, value), 2);
    }
    void Int(int value)
    {
        Bytes_(Put_Int(code_, value), 4);
    }
    void Tag_(Tag tag)
    {
        Short(tag.group);
        Short(tag.element);
    }
    void Item(Tag tag, int length)
    {
        Tag_(tag);
        Int(length);
    }
    /** Header of a VR with a 4-byte length. */
    void Header_(Tag tag, unsigned short vr, int length)
    {
        Tag_(tag);
        if ((code_ & DICOM_Order_Explicit_VR) != 0) {
            const char letters[] = {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF), 0, 0};
            Bytes_(letters, sizeof letters);
        }
        Int(length);
    }
    /** The bytes of a value from where they lie, padded to an even length. */
    std::span<char> Value(const Data_Set& set, const DICOM_List& record)
    {
        char* const target = *buffer_ + at_;
        const auto size = static_cast<std::size_t>(std::max(record.size, 0));
        if (record.data != nullptr) {
            std::memcpy(target, record.data, size);
        } else if (set.source->Read(record.data_pos,
                                    {reinterpret_cast<unsigned char*>(target), size}) != size) {
            complete_ = false;
            std::memset(target, 0, size);
        }
        at_ += size;
        if (size % 2 != 0) {
            Bytes_("", 1);
        }
        return {target, size};
    }
    /** False when a value could not be read from the source. */
    bool Complete() const
    {
        return complete_;
    }
    std::size_t Count() const
    {
        return at_ - start_;
    }
    bool Big_Endian() const
    {
        return (code_ & DICOM_Order_Big_Endian) != 0;
    }
    char Code() const
    {
        return static_cast<char>(code_);
    }

    static constexpr std::int64_t Header_Room = 12;
    static constexpr std::int64_t Item_Room = 8;

private:
    unsigned char code_;
    char** buffer_;
    std::size_t start_;
    std::size_t at_;
    bool complete_ = true;
};

void Append_Native(const Data_Set& set, const DICOM_List& record, Appender& out)
{
    out.Grow(Appender::Header_Room + Even(record.size));
    const unsigned short vr = Native_VR(set, record);
    out.Header_(Tag_Of(record), vr, static_cast<int>(Even(record.size)));
    const std::span<char> value = out.Value(set, record);
    const bool was_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
    if (was_big != out.Big_Endian()) {
        Reverse_Units(value, Unit_Width(vr));
    }
}

/** One fragment for the whole value, behind an empty offset table (PS3.5 section A.4). */
void Append_As_Fragment(const Data_Set& set, const DICOM_List& record, Appender& out)
{
    out.Grow(Appender::Header_Room + 3 * Appender::Item_Room + Even(record.size));
    out.Header_(Tag_Of(record), VR_OB, DICOM_Undefined_Length);
    out.Item(Item_Tag, 0);
    out.Item(Item_Tag, static_cast<int>(Even(record.size)));
    out.Value(set, record);
    out.Item(Sequence_End_Tag, 0);
}

void Append_Fragments(const Data_Set& set, const DICOM_List& record, Appender& out)
{
    const std::vector<Fragment> fragments = Fragments_Of(record);
    std::int64_t size = Appender::Header_Room + Appender::Item_Room;
    for (const Fragment& fragment : fragments) {
        size += Appender::Item_Room + Even(std::max(fragment.record->size, 0));
    }
    out.Grow(size);
    out.Header_(Tag_Of(record), VR_OB, DICOM_Undefined_Length);
    const bool moved = Any_Odd(fragments);
    for (std::size_t i = 0; i < fragments.size(); ++i) {
        const DICOM_List& fragment = *fragments[i].record;
        out.Item(Item_Tag, static_cast<int>(Even(std::max(fragment.size, 0))));
        const std::span<char> value = out.Value(set, fragment);
        if (i == 0 && moved) {
            Move_Offsets(value, fragments);
        }
    }
    out.Item(Sequence_End_Tag, 0);
}

/** An element beside the pixel values, which the library encodes as any other. */
void Append_Element(HWND handle, const DICOM_List& record, Appender& out)
{
    DICOM_List alone = record;
    alone.next = nullptr;
    alone.last = nullptr;
    char* encoded = nullptr;
    const int size = DICOM_List2Stream(handle, out.Code(), &alone, &encoded);
    const std::unique_ptr<char, decltype(&std::free)> owner(encoded, &std::free);
    if (size <= 0) {
        throw std::bad_alloc();
    }
    out.Grow(size);
    out.Bytes_(encoded, static_cast<std::size_t>(size));
}

void Append_Record(HWND handle, const Data_Set& set, const DICOM_List& record, Appender& out)
{
    if (!Is_Pixel_Value(record)) {
        Append_Element(handle, record, out);
    } else if (record.size == DICOM_Undefined_Length) {
        Append_Fragments(set, record, out);
    } else if (Needs_Fragments(set, record)) {
        Append_As_Fragment(set, record, out);
    } else {
        Append_Native(set, record, out);
    }
}

/** Puts the group length in front of what was appended since `start`. */
void Prepend_Group_Length(unsigned short group, std::size_t count, Appender& out,
                          unsigned int offset, char** buffer)
{
    constexpr std::size_t Element_Size = 12;
    const bool is_explicit = (out.Code() & DICOM_Order_Explicit_VR) != 0;
    out.Grow(Element_Size);
    char* const group_bytes = *buffer + offset;
    std::memmove(group_bytes + Element_Size, group_bytes, count);
    Appender head(out.Code(), offset, buffer);
    head.Tag_({group, 0x0000});
    if (is_explicit) {
        head.Bytes_("UL", 2);
        head.Short(4);
    } else {
        head.Int(4);
    }
    head.Int(static_cast<int>(count));
}

}  // namespace

void Report_Pixel_Changes(const Data_Set& set, Findings& findings)
{
    for (const DICOM_List& record : Records(set.records.Head())) {
        if (!Is_Pixel_Value(record)) {
            continue;
        }
        if (record.size == DICOM_Undefined_Length) {
            for (const Fragment& fragment : Fragments_Of(record)) {
                if (fragment.record->size % 2 != 0) {
                    findings.Add(Level::Change, Pixel_Data_Tag, fragment.record->pos,
                                 "fragment of odd length is padded to an even one");
                }
            }
            continue;
        }
        if (record.size % 2 != 0) {
            findings.Add(Level::Change, record, "odd length is padded to an even one");
        }
        if (Needs_Fragments(set, record)) {
            findings.Add(Level::Change, record, "compressed pixel data is encapsulated");
        } else if (record.vr != 0 && record.vr != Native_VR(set, record)) {
            findings.Add(Level::Change, record,
                         "VR does not fit the bits allocated; it is changed");
        }
    }
}

int Write_Pixel_Data(HWND handle, char code, unsigned int offset, char** buffer, void* param)
{
    Pixel_Job& job = *static_cast<Pixel_Job*>(param);
    try {
        std::size_t total = 0;
        const DICOM_List* record = job.set.records.Head();
        while (record != nullptr && record->group < First_Group) {
            record = record->next;
        }
        while (record != nullptr && record->group <= Last_Group) {
            const unsigned short group = record->group;
            const auto place = offset + static_cast<unsigned int>(total);
            Appender out(code, place, buffer);
            for (; record != nullptr && record->group == group; record = record->next) {
                Append_Record(handle, job.set, *record, out);
            }
            std::size_t count = out.Count();
            if (job.group_lengths && count > 0) {
                constexpr std::size_t Element_Size = 12;
                Prepend_Group_Length(group, count, out, place, buffer);
                count += Element_Size;
            }
            if (!out.Complete()) {
                job.findings.Add(Level::Error, Pixel_Data_Tag, Finding::Nowhere,
                                 "the pixel data cannot be read from the source");
                return -1;
            }
            total += count;
        }
        return static_cast<int>(total);
    } catch (...) {
        job.failure = std::current_exception();
        return -1;
    }
}

}  // namespace lib_mend
