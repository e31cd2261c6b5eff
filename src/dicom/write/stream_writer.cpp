// Encoding of records (PS3.5 section 7), of a plain list, and of the head of a Part 10 file.
#include "write/stream_writer.h"

#include "frame/c_memory.h"
#include "frame/record_codes.h"
#include "frame/report.h"
#include "frame/vr_rules.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <span>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Write_Buffer";

/** Group of the item and delimitation tags, which have no VR (PS3.5 section 7.5). */

constexpr int Short_Header_Size = 8;
constexpr int Long_Header_Size = 12;
/** An item or delimitation tag with its length. */
constexpr int Structure_Size = 8;
constexpr int Length_Size = 4;
/** Longest even value that a 2-byte length can tell. */
constexpr int Max_Short_Length = 0xFFFE;
constexpr unsigned int Undefined_Length = 0xFFFFFFFFU;

constexpr unsigned short Group_Meta = 0x0002;
constexpr int Preamble_Size = 128;
constexpr char Part10_Mark[] = {'D', 'I', 'C', 'M'};

enum class Form {
    Value,
    Sequence,
    Fragments  ///< encapsulated data: items that hold bytes (PS3.5 section A.4)
};

bool Is_Explicit(char code)
{
    return (static_cast<unsigned char>(code) & DICOM_Order_Explicit_VR) != 0;
}

bool Is_Big_Endian(char code)
{
    return (static_cast<unsigned char>(code) & DICOM_Order_Big_Endian) != 0;
}

bool Is_Fragment(const DICOM_List& record)
{
    return record.group == Item_Group && record.element == Item_Element;
}

long long Even(long long size)
{
    return size + (size & 1);
}

/**
 * Item and delimitation tags in a list are those of the stream that it was read from. By the
 * current standard they are left out, since the writer makes its own: a list may keep them, which
 * is what tells an empty item from none.
 */
bool Is_Left_Out(const DICOM_List& record)
{
    return record.group == Item_Group && DICOM_Flag_Current_Standard != 0;
}

/** Number of bytes that a record holds. A negative length tells none. */
long long Stored_Size(const DICOM_List& record)
{
    // The length of an item tag left in a list counts the records behind it, not bytes of its own.
    const bool holds_none = record.group == Item_Group && record.data == nullptr;
    return holds_none ? 0 : std::max(record.size, 0);
}

/** The same of a fragment, whose bytes may have been left in the source. */
long long Fragment_Size(const DICOM_List& fragment)
{
    return std::max(fragment.size, 0);
}

/** Size of the value of a Form::Value as written. */
long long Value_Size(const DICOM_List& record)
{
    const long long size = Stored_Size(record);
    return DICOM_Flag_Current_Standard != 0 ? Even(size) : size;
}

/** The byte that makes a value's length even. */
char Even_Pad(const DICOM_List& record)
{
    const VR_Rule* const rule = Find_VR_Rule(Effective_VR(record));
    return rule != nullptr ? rule->pad : '\0';
}

Form Form_Of(const DICOM_List& record)
{
    const unsigned short vr = Effective_VR(record);
    if (vr == VR_SQ) {
        return Form::Sequence;
    }
    if (record.size != DICOM_Undefined_Length || record.nb_item <= 0) {
        return Form::Value;
    }
    return vr == VR_UN || vr == 0 ? Form::Sequence : Form::Fragments;
}

/** The VR that an explicit header shows. */
unsigned short Header_VR(const DICOM_List& record, Form form)
{
    if (form == Form::Sequence) {
        return VR_SQ;
    }
    const unsigned short vr = Effective_VR(record);
    if (form == Form::Fragments || DICOM_Flag_Current_Standard == 0) {
        return vr;
    }
    const bool is_too_long = record.size > Max_Short_Length && !Writes_Long_Header(vr);
    return vr == 0 || is_too_long ? VR_UN : vr;
}

bool Has_Long_Header(const DICOM_List& record, Form form)
{
    return form != Form::Value || Writes_Long_Header(Header_VR(record, form));
}

int Header_Size(char code, const DICOM_List& record, Form form)
{
    const bool is_long =
        Is_Explicit(code) && record.group != Item_Group && Has_Long_Header(record, form);
    return is_long ? Long_Header_Size : Short_Header_Size;
}

/** The lists of the items, up to the first empty slot. */
std::span<DICOM_List* const> Items(const DICOM_List& record)
{
    std::size_t count = 0;
    if (record.item != nullptr && record.nb_item > 0) {
        const std::span<DICOM_List* const> slots(record.item,
                                                 static_cast<std::size_t>(record.nb_item));
        count = static_cast<std::size_t>(std::find(slots.begin(), slots.end(), nullptr) -
                                         slots.begin());
    }
    return {record.item, count};
}

/** Size of a list with its item tags around it. */
long long Item_Size(HWND handle, char code, DICOM_List* list)
{
    long long size = Structure_Size + (DICOM_Flag_Seq_Size != 0 ? 0 : Structure_Size);
    for (DICOM_List* record = list; record != nullptr; record = record->next) {
        size += DICOM_Attribute_Size(handle, code, *record);
    }
    return size;
}

long long Sequence_Size(HWND handle, char code, const DICOM_List& record)
{
    long long size = DICOM_Flag_Seq_Size != 0 ? 0 : Structure_Size;
    for (DICOM_List* const list : Items(record)) {
        size += Item_Size(handle, code, list);
    }
    return size;
}

long long Fragments_Size(const DICOM_List& record)
{
    long long size = Structure_Size;
    for (const DICOM_List* list : Items(record)) {
        for (; list != nullptr; list = list->next) {
            size += Is_Fragment(*list) ? Structure_Size + Even(Fragment_Size(*list)) : 0;
        }
    }
    return size;
}

long long Content_Size(HWND handle, char code, const DICOM_List& record, Form form)
{
    switch (form) {
    case Form::Sequence:
        return Sequence_Size(handle, code, record);
    case Form::Fragments:
        return Fragments_Size(record);
    case Form::Value:
        break;
    }
    return Value_Size(record);
}

/** Writes the parts of one record at a place that moves on. */
class Encoder {
public:
    Encoder(HWND handle, char code, char* out) : handle_(handle), code_(code), at_(out)
    {
    }

    char* At() const
    {
        return at_;
    }

    void Header(const DICOM_List& record, Form form);
    void Content(const DICOM_List& record, Form form);

private:
    void Short(unsigned short value)
    {
        Bytes(Put_UShort(static_cast<unsigned char>(code_), value), 2);
    }
    void Int(unsigned int value)
    {
        Bytes(Put_Int(static_cast<unsigned char>(code_), static_cast<int>(value)), Length_Size);
    }
    /** Copies bytes; those that were left in the source are written as zeros. */
    void Bytes(const unsigned char* bytes, long long size);
    void Fill(char value, long long count);
    void Units(const unsigned char* bytes, long long size, int width);

    void Structure(unsigned short element, unsigned int length);
    /** Writes the length of the bytes since `content` into the field in front of them. */
    void Patch_Length(char* content);

    unsigned int Header_Length(const DICOM_List& record, Form form) const;
    void Value(const DICOM_List& record);
    void Sequence(const DICOM_List& record);
    void Item(const DICOM_List* list);
    void Fragments(const DICOM_List& record);

    HWND handle_;
    char code_;
    char* at_;
};

void Encoder::Bytes(const unsigned char* bytes, long long size)
{
    if (bytes == nullptr) {
        Fill('\0', size);
    } else {
        at_ = std::copy_n(reinterpret_cast<const char*>(bytes), size, at_);
    }
}

void Encoder::Fill(char value, long long count)
{
    at_ = std::fill_n(at_, count, value);
}

/** Reverses each unit into the place behind the header; an incomplete last unit stays as it is. */
void Encoder::Units(const unsigned char* bytes, long long size, int width)
{
    const unsigned char* const end = bytes + size - size % width;
    for (; bytes != end; bytes += width) {
        at_ = std::reverse_copy(bytes, bytes + width, at_);
    }
    Bytes(bytes, size % width);
}

void Encoder::Structure(unsigned short element, unsigned int length)
{
    Short(Item_Group);
    Short(element);
    Int(length);
}

void Encoder::Patch_Length(char* content)
{
    Encoder(handle_, code_, content - Length_Size).Int(static_cast<unsigned int>(at_ - content));
}

/** The length that stands in the header before the content is known. */
unsigned int Encoder::Header_Length(const DICOM_List& record, Form form) const
{
    if (form == Form::Value) {
        return static_cast<unsigned int>(Value_Size(record));
    }
    // In implicit VR the stored length of a sequence is deliberately kept, whether it fits or not:
    // clients that set it themselves get it back. The current standard asks for a true one.
    const bool keeps_stored =
        form == Form::Sequence && !Is_Explicit(code_) && DICOM_Flag_Current_Standard == 0;
    return keeps_stored ? static_cast<unsigned int>(record.size) : Undefined_Length;
}

void Encoder::Header(const DICOM_List& record, Form form)
{
    const unsigned int length = Header_Length(record, form);
    Short(record.group);
    Short(record.element);
    if (!Is_Explicit(code_) || record.group == Item_Group) {
        Int(length);
        return;
    }
    const unsigned short vr = Header_VR(record, form);
    *at_++ = static_cast<char>(vr >> 8);
    *at_++ = static_cast<char>(vr & 0xFF);
    if (Has_Long_Header(record, form)) {
        Short(0);
        Int(length);
    } else {
        Short(static_cast<unsigned short>(length & 0xFFFF));
    }
}

void Encoder::Content(const DICOM_List& record, Form form)
{
    switch (form) {
    case Form::Sequence:
        Sequence(record);
        break;
    case Form::Fragments:
        Fragments(record);
        break;
    case Form::Value:
        Value(record);
        break;
    }
}

void Encoder::Value(const DICOM_List& record)
{
    const long long size = Stored_Size(record);
    const int width = Is_Big_Endian(code_) ? Write_Width(Effective_VR(record)) : 1;
    if (width > 1 && record.data != nullptr) {
        Units(record.data, size, width);
    } else {
        Bytes(record.data, size);
    }
    Fill(Even_Pad(record), Value_Size(record) - size);
}

void Encoder::Sequence(const DICOM_List& record)
{
    char* const content = at_;
    for (const DICOM_List* const list : Items(record)) {
        Item(list);
    }
    if (DICOM_Flag_Seq_Size == 0) {
        Structure(Sequence_End_Element, 0);
    } else if (Is_Explicit(code_) || DICOM_Flag_Current_Standard != 0) {
        Patch_Length(content);
    }
}

void Encoder::Item(const DICOM_List* list)
{
    Structure(Item_Element, Undefined_Length);
    char* const content = at_;
    for (; list != nullptr; list = list->next) {
        at_ = DICOM_Attribute_To_Str(handle_, code_, *list, at_);
    }
    if (DICOM_Flag_Seq_Size == 0) {
        Structure(Item_End_Element, 0);
    } else {
        Patch_Length(content);
    }
}

void Encoder::Fragments(const DICOM_List& record)
{
    for (const DICOM_List* list : Items(record)) {
        for (; list != nullptr; list = list->next) {
            if (Is_Fragment(*list)) {
                const long long size = Fragment_Size(*list);
                Structure(Item_Element, static_cast<unsigned int>(Even(size)));
                Bytes(list->data, size);
                Fill('\0', Even(size) - size);
            }
        }
    }
    Structure(Sequence_End_Element, 0);
}

/** Calls `visit` for each record that DICOM_Write_Group writes. */
template <class Record, class Visit>
void For_Each_In_Group(Record* list, unsigned short group, Visit visit)
{
    for (; list != nullptr && list->group <= group; list = list->next) {
        if (list->group == group) {
            visit(*list);
        }
    }
}

}  // namespace

bool lib_dicom::Is_Writable_Size(HWND handle, long long total)
{
    if (total <= INT_MAX) {
        return true;
    }
    Report_Error(handle, This_Unit,
                 "%lld bytes are too many to be written into one buffer (limit %d)", total,
                 INT_MAX);
    return false;
}

bool lib_dicom::Resize_Output(HWND handle, char*& buffer, long long total)
{
    if (!Is_Writable_Size(handle, total)) {
        return false;
    }
    const auto size = static_cast<std::size_t>(total);
    if (buffer == nullptr && size != 0) {
        buffer = C_Malloc<char>(handle, This_Unit, size, "*buffer").release();
        return buffer != nullptr;
    }
    return C_Resize(handle, This_Unit, buffer, size, "*buffer");
}

long long lib_dicom::DICOM_Attribute_Size(HWND handle, char code, DICOM_List& record)
{
    Trace_Scope trace(handle, Trace_Step, "Lib_DICOM: DICOM_Attribute_Size(%04x,%04x)",
                      record.group, record.element);
    if (Is_Left_Out(record)) {
        return trace.Leave(0LL, "0");
    }
    const Form form = Form_Of(record);
    if (form == Form::Sequence && Is_Explicit(code) && Effective_VR(record) != VR_SQ) {
        record.vr = VR_SQ;
    }
    const long long size =
        Header_Size(code, record, form) + Content_Size(handle, code, record, form);
    return trace.Leave(size, "%d", static_cast<int>(size));
}

char* lib_dicom::DICOM_Attribute_To_Str(HWND handle, char code, const DICOM_List& record, char* out)
{
    Trace_Scope trace(handle, Trace_Step, "Lib_DICOM: DICOM_Attribute_To_Str(%04x,%04x)",
                      record.group, record.element);
    if (Is_Left_Out(record)) {
        return trace.Leave(out, "! size");
    }
    const Form form = Form_Of(record);
    Encoder encoder(handle, code, out);
    encoder.Header(record, form);
    encoder.Content(record, form);
    Trace(handle, Trace_Step,
          "-> DICOM_Attribute_To_Str() tag (%04x,%04x) = %d bytes tot, %d bytes data", record.group,
          record.element, static_cast<int>(encoder.At() - out), record.size);
    const bool lacks_data = form == Form::Value && record.data == nullptr;
    return trace.Leave(encoder.At(), lacks_data ? "! pt->data" : "");
}

long long lib_dicom::Group_Size(HWND handle, unsigned short group, char code, DICOM_List* list)
{
    long long size = 0;
    For_Each_In_Group(list, group, [&](DICOM_List& record) {
        size += DICOM_Attribute_Size(handle, code, record);
    });
    return size;
}

int lib_dicom::DICOM_Write_Group(HWND handle, unsigned short group, char code,
                                 const DICOM_List* list, char* out)
{
    Trace_Scope trace(handle, Trace_Step, "Lib_DICOM: DICOM_Write_Group(%04x)", group);
    char* at = out;
    For_Each_In_Group(list, group, [&](const DICOM_List& record) {
        at = DICOM_Attribute_To_Str(handle, code, record, at);
    });
    const int size = static_cast<int>(at - out);
    return trace.Leave(size, "size=%d", size);
}

int lib_dicom::DICOM_Write_Element_0000(HWND handle, unsigned short group, char code,
                                        int group_bytes, char* out)
{
    const Trace_Scope trace(handle, Trace_Step, "Lib_DICOM: DICOM_Write_Element_0000(%04x)", group);
    unsigned char value[Length_Size];
    std::memcpy(value, Put_Int(0, group_bytes), sizeof value);
    DICOM_List record = {};
    record.group = group;
    record.vr = VR_UL;
    record.size = sizeof value;
    record.data = value;
    return static_cast<int>(DICOM_Attribute_To_Str(handle, code, record, out) - out);
}

int DICOM_List2Stream(HWND handle, char code, DICOM_List* list, char** buffer)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_List2Stream()");
    *buffer = nullptr;
    long long total = 0;
    for (DICOM_List* record = list; record != nullptr; record = record->next) {
        total += DICOM_Attribute_Size(handle, code, *record);
    }
    if (!Resize_Output(handle, *buffer, total)) {
        return trace.Leave(0, "! *buffer");
    }
    char* at = *buffer;
    for (const DICOM_List* record = list; record != nullptr; record = record->next) {
        at = DICOM_Attribute_To_Str(handle, code, *record, at);
    }
    return static_cast<int>(total);
}

unsigned int DICOM_Write_Part10(HWND handle, char code, DICOM_List* list, char** buffer)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Write_Part10()");
    *buffer = nullptr;
    const long long group = Group_Size(handle, Group_Meta, DICOM_Order_Explicit_VR, list);
    const long long head = Preamble_Size + sizeof Part10_Mark;
    const long long total = group == 0 ? head : head + Element_0000_Size + group;
    if (!Is_Writable_Size(handle, total)) {
        return trace.Leave(0U, "! size");
    }
    *buffer =
        C_Calloc<char>(handle, This_Unit, static_cast<std::size_t>(total), "buffer").release();
    if (*buffer == nullptr) {
        return trace.Leave(0U, "! buffer");
    }
    std::memcpy(*buffer + Preamble_Size, Part10_Mark, sizeof Part10_Mark);
    if (group != 0) {
        // The group is always explicit VR little endian; its length element deliberately follows
        // the caller's code, so that files stay byte for byte what clients have always got.
        char* at = *buffer + head;
        at += DICOM_Write_Element_0000(handle, Group_Meta, code, static_cast<int>(group), at);
        DICOM_Write_Group(handle, Group_Meta, DICOM_Order_Explicit_VR, list, at);
    }
    return static_cast<unsigned int>(total);
}
