#include "mend/interface/element_change.h"

#include "mend/findings/attributes.h"
#include "mend/healing/record_building.h"
#include "mend/healing/value.h"
#include "mend/interface/element_path.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "mend/writing/encoder.h"
#include "util/older_libraries.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>

namespace lib_mend {

namespace {

constexpr unsigned short Meta_Group = 0x0002;

Record_List& Top_Of(Data_Set& set, Tag tag)
{
    return tag.group == Meta_Group ? set.meta : set.records;
}

DICOM_List* Find_At(const Data_Set& set, const Target& target)
{
    const Record_List& top = target.tag.group == Meta_Group ? set.meta : set.records;
    return Find_Record(target.item != nullptr ? target.item : top.Head(), target.tag);
}

/** What the definitions of its creator say of a private element; LO for creators, 0 when nobody knows. */
unsigned short Private_VR(const Data_Set& set, const Target& target)
{
    constexpr std::size_t Longest_Creator = 64;
    const Tag tag = target.tag;
    if (tag.element <= 0xFF) {
        return tag.element >= 0x10 ? VR_LO : static_cast<unsigned short>(0);
    }
    const Tag block = {tag.group, static_cast<unsigned short>(tag.element >> 8)};
    const DICOM_List* const creator = Find_At(set, {target.item, block});
    if (creator == nullptr) {
        return 0;
    }
    const Record_List asked(New_Record(tag, 0));
    const std::string name = Trimmed(set.Value(*creator, Longest_Creator));
    return DICOM_Module_Read_Private(nullptr, name.c_str(), asked.Head()) != 0
               ? asked.Head()->vr_default
               : static_cast<unsigned short>(0);
}

/** Puts a record in front of the first one with a higher tag. The header of an item stays in front. */
void Insert(DICOM_List** address, DICOM_List* record)
{
    DICOM_List* const old_head = *address;
    const bool has_header = old_head != nullptr && Is_Delimiter(*old_head);
    DICOM_List** slot = has_header ? &old_head->next : address;
    if (old_head != nullptr && old_head->last != nullptr && !Is_Delimiter(*old_head->last) &&
        Tag_Of(*old_head->last) < Tag_Of(*record) && old_head->last->next == nullptr) {
        slot = &old_head->last->next;
    }
    while (*slot != nullptr && Tag_Of(**slot) < Tag_Of(*record)) {
        slot = &(*slot)->next;
    }
    record->next = *slot;
    *slot = record;
    DICOM_List* const head = *address;
    if (head == record && old_head != nullptr) {
        head->last = old_head->last;
    } else if (record->next == nullptr) {
        head->last = record;
    }
}

/**
 * The record at a place, or a new one that comes to stand there with Settle: what fails in between leaves
 * the data set as it is.
 */
class Changed_Record {
public:
    Changed_Record(Data_Set& set, const Target& target, unsigned short vr)
        : set_(set), target_(target), record_(Find_At(set, target))
    {
        if (record_ == nullptr) {
            made_ = Record_List(New_Record(target.tag, vr));
            record_ = made_.Head();
        }
    }
    DICOM_List& operator*() const
    {
        return *record_;
    }
    DICOM_List& Settle()
    {
        if (made_.Head() != nullptr) {
            // The head of an item's list is its header, which no insertion replaces.
            DICOM_List* item = target_.item;
            Insert(item != nullptr ? &item : Top_Of(set_, target_.tag).Address(), made_.Release());
        }
        set_.healed = false;
        return *record_;
    }

private:
    Data_Set& set_;
    Target target_;
    DICOM_List* record_;
    Record_List made_;
};

void Free_Items(DICOM_List& record)
{
    for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
        const Record_List gone(std::exchange(record.item[i], nullptr));
    }
    std::free(record.item);
    record.item = nullptr;
    record.nb_item = 0;
}

unsigned short Code_Of(std::string_view vr)
{
    if (vr.size() != 2) {
        return 0;
    }
    const unsigned short code = DICOM_VR(vr[0], vr[1]);
    constexpr std::array Others = {VR_OB, VR_OW, VR_SQ, VR_UN};
    const bool known = Is_Text(code) || Width_Of(code) != 0 ||
                       std::find(Others.begin(), Others.end(), code) != Others.end();
    return known ? code : static_cast<unsigned short>(0);
}

void Put_Little_Endian(Bytes& out, std::uint64_t number, std::size_t width)
{
    for (std::size_t i = 0; i < width; ++i) {
        out.push_back(static_cast<unsigned char>(number >> 8 * i));
    }
}

struct Limits {
    unsigned short vr;
    std::size_t width;
    std::int64_t least;
    std::uint64_t most;
};

constexpr Limits Integers[] = {
    {VR_US, 2, 0, 0xFFFF},
    {VR_SS, 2, -0x8000, 0x7FFF},
    {VR_UL, 4, 0, 0xFFFFFFFF},
    {VR_SL, 4, -0x80000000LL, 0x7FFFFFFF},
    {VR_UV, 8, 0, std::numeric_limits<std::uint64_t>::max()},
    {VR_SV, 8, std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()},
    {VR_OB, 1, 0, 0xFF},
    {VR_UN, 1, 0, 0xFF},
    {VR_OW, 2, 0, 0xFFFF},
    {VR_OL, 4, 0, 0xFFFFFFFF},
    {VR_OV, 8, 0, std::numeric_limits<std::uint64_t>::max()},
};

bool Put_Integer(Bytes& out, unsigned short vr, bool negative, std::uint64_t bits)
{
    const auto* const row = std::find_if(std::begin(Integers), std::end(Integers),
                                         [vr](const Limits& limits) { return limits.vr == vr; });
    if (row == std::end(Integers)) {
        return false;
    }
    const bool fits = negative ? static_cast<std::int64_t>(bits) >= row->least : bits <= row->most;
    if (fits) {
        Put_Little_Endian(out, bits, row->width);
    }
    return fits;
}

bool Put_Real(Bytes& out, unsigned short vr, double number)
{
    if (vr == VR_FD || vr == VR_OD) {
        Put_Little_Endian(out, lib_util::bit_cast<std::uint64_t>(number), sizeof number);
        return true;
    }
    if (vr == VR_FL || vr == VR_OF) {
        const auto single = static_cast<float>(number);
        if (std::isinf(single) && !std::isinf(number)) {
            return false;
        }
        Put_Little_Endian(out, lib_util::bit_cast<std::uint32_t>(single), sizeof single);
        return true;
    }
    constexpr double Exact = 9007199254740992.0;
    const bool whole =
        std::isfinite(number) && std::trunc(number) == number && std::abs(number) <= Exact;
    return whole && Put_Integer(out, vr, number < 0,
                                static_cast<std::uint64_t>(static_cast<std::int64_t>(number)));
}

void Put_Text(Bytes& out, std::string_view text)
{
    if (!out.empty()) {
        out.push_back('\\');
    }
    out.insert(out.end(), text.begin(), text.end());
}

/** The nearest number of at most 16 characters (PS3.5 section 6.2). */
bool Put_Decimal(Bytes& out, double number)
{
    constexpr std::size_t Longest = 16;
    char text[40];
    for (int digits = 17; std::isfinite(number) && digits > 0; --digits) {
        const char* end = text + sizeof text;
        const auto shortest = digits == 17 ? lib_util::to_chars(text, text + sizeof text, number)
                                           : lib_util::to_chars(text, text + sizeof text, number,
                                                                std::chars_format::general, digits);
        end = shortest.ptr;
        if (static_cast<std::size_t>(end - text) <= Longest) {
            Put_Text(out, {text, static_cast<std::size_t>(end - text)});
            return true;
        }
    }
    return false;
}

bool Put_Integer_String(Bytes& out, std::int64_t number)
{
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max()) {
        return false;
    }
    Put_Text(out, std::to_string(number));
    return true;
}

bool Put_Number_Text(Bytes& out, unsigned short vr, std::string_view text)
{
    if (vr == VR_AT) {
        const std::optional<Tag> tag = Parse_Tag(text);
        Put_Little_Endian(out, tag ? tag->group : 0, sizeof tag->group);
        Put_Little_Endian(out, tag ? tag->element : 0, sizeof tag->element);
        return tag.has_value();
    }
    const char* const end = text.data() + text.size();
    if (Width_Of(vr) != 0 && (vr == VR_FL || vr == VR_FD || vr == VR_OF || vr == VR_OD)) {
        double number = 0;
        const auto parsed = lib_util::from_chars(text.data(), end, number);
        return parsed.ec == std::errc() && parsed.ptr == end && Put_Real(out, vr, number);
    }
    const bool negative = text.starts_with('-');
    std::int64_t number = 0;
    std::uint64_t large = 0;
    const auto parsed = negative ? lib_util::from_chars(text.data(), end, number)
                                 : lib_util::from_chars(text.data(), end, large);
    return parsed.ec == std::errc() && parsed.ptr == end &&
           Put_Integer(out, vr, negative, negative ? static_cast<std::uint64_t>(number) : large);
}

}  // namespace

unsigned short VR_For(const Data_Set& set, const Target& target, std::string_view vr)
{
    if (!vr.empty()) {
        return Code_Of(vr);
    }
    if (const DICOM_List* const record = Find_At(set, target)) {
        return VR_Of(*record);
    }
    const std::optional<Attribute> attribute = Find_Attribute(target.tag);
    if (attribute && !attribute->vrs.empty()) {
        return attribute->vrs.front() == VR_OX ? VR_OW : attribute->vrs.front();
    }
    return target.tag.group % 2 != 0 ? Private_VR(set, target) : static_cast<unsigned short>(0);
}

DICOM_List& Set_Value(Data_Set& set, const Target& target, unsigned short vr,
                      std::span<const unsigned char> bytes)
{
    Bytes value(bytes.begin(), bytes.end());
    if (value.size() % 2 != 0) {
        value.push_back(Is_Text(vr) && vr != VR_UI ? ' ' : 0);
    }
    Changed_Record changed(set, target, vr);
    Set_Bytes(*changed, std::span<const unsigned char>(value));
    DICOM_List& record = changed.Settle();
    Free_Items(record);
    record.vr = vr;
    Set_Claim(*set.source, record, 0);
    return record;
}

std::optional<Bytes> Encoded_Numbers(unsigned short vr, std::span<const double> numbers)
{
    Bytes bytes;
    for (const double number : numbers) {
        const bool fits = vr == VR_DS ? Put_Decimal(bytes, number)
                          : vr == VR_IS
                              ? std::trunc(number) == number && std::abs(number) < 1e10 &&
                                    Put_Integer_String(bytes, static_cast<std::int64_t>(number))
                              : Put_Real(bytes, vr, number);
        if (!fits) {
            return std::nullopt;
        }
    }
    return bytes;
}

std::optional<Bytes> Encoded_Numbers(unsigned short vr, std::span<const std::int64_t> numbers)
{
    Bytes bytes;
    for (const std::int64_t number : numbers) {
        bool fits = false;
        if (vr == VR_IS) {
            fits = Put_Integer_String(bytes, number);
        } else if (vr == VR_DS) {
            const std::string text = std::to_string(number);
            fits = text.size() <= 16;
            Put_Text(bytes, text);
        } else if (vr == VR_FL || vr == VR_FD || vr == VR_OF || vr == VR_OD) {
            const auto real = static_cast<double>(number);
            fits = static_cast<std::int64_t>(real) == number && Put_Real(bytes, vr, real);
        } else {
            fits = Put_Integer(bytes, vr, number < 0, static_cast<std::uint64_t>(number));
        }
        if (!fits) {
            return std::nullopt;
        }
    }
    return bytes;
}

std::optional<Bytes> Encoded_Text_Of_Numbers(unsigned short vr, std::string_view text)
{
    Bytes bytes;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\\'), text.size());
        if (!Put_Number_Text(bytes, vr, text.substr(0, end))) {
            return std::nullopt;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return bytes;
}

DICOM_List* Add_Item(Data_Set& set, const Target& target)
{
    Record_List header(New_Record(Item_Tag, 0));
    Changed_Record changed(set, target, VR_SQ);
    DICOM_List& sequence = *changed;
    if (Item_Of(sequence, 0) == nullptr && !Holds_Items(sequence)) {
        Set_Bytes(sequence, std::span<const unsigned char>());
    }
    DICOM_List** const slots = sequence.item;
    // Slots that are used stand in front of those that are not.
    const int count = static_cast<int>(
        std::partition_point(slots, slots + sequence.nb_item,
                             [](const DICOM_List* item) { return item != nullptr; }) -
        slots);
    if (count == sequence.nb_item) {
        const int room = std::max(4, 2 * count);
        auto** const grown = static_cast<DICOM_List**>(
            std::calloc(static_cast<std::size_t>(room), sizeof(DICOM_List*)));
        if (grown == nullptr) {
            throw std::bad_alloc();
        }
        std::copy_n(slots, count, grown);
        std::free(slots);
        sequence.item = grown;
        sequence.nb_item = room;
    }
    changed.Settle();
    sequence.vr = VR_SQ;
    sequence.size = DICOM_Undefined_Length;
    header.Head()->size = DICOM_Undefined_Length;
    return sequence.item[count] = header.Release();
}

bool Remove_Element(Data_Set& set, const Target& target)
{
    DICOM_List* item = target.item;
    DICOM_List** const address = item != nullptr ? &item : Top_Of(set, target.tag).Address();
    const DICOM_List* const head = *address;
    if (head == nullptr) {
        return false;
    }
    DICOM_List* const last = head->last;
    DICOM_List** slot = address;
    DICOM_List* before = nullptr;
    while (*slot != nullptr && Tag_Of(**slot) != target.tag) {
        before = *slot;
        slot = &(*slot)->next;
    }
    if (*slot == nullptr) {
        return false;
    }
    DICOM_List* const record = *slot;
    *slot = std::exchange(record->next, nullptr);
    if (*address != nullptr) {
        (*address)->last = last == record ? before : last;
    }
    const Record_List gone(record);
    set.healed = false;
    return true;
}

}  // namespace lib_mend
