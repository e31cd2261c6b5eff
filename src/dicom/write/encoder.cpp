// Encoding of records (PS3.5 section 7).
#include "frame/report.h"
#include "frame/vr_rules.h"
#include "write/encoding_walk.h"
#include "write/stream_writer.h"

#include <algorithm>

namespace lib_dicom {

namespace {

/** The byte that makes a value's length even. */
char Even_Pad(const DICOM_List& record)
{
    const VR_Rule* const rule = Find_VR_Rule(Effective_VR(record));
    return rule != nullptr ? rule->pad : '\0';
}

/** Writes records at a place that moves on. */
class Encoder {
public:
    struct Sequence {
        Sequence(Encoder& encoder, const DICOM_List& whole)
            : trace(encoder.handle_, Trace_Step, Trace_Call, whole.group, whole.element),
              record(whole), begin(encoder.at_)
        {
            encoder.Header(whole, Form::Sequence);
            content = encoder.at_;
        }

        Trace_Scope trace;
        const DICOM_List& record;
        char* begin;
        char* content;
        char* item_content = nullptr;
    };

    Encoder(HWND handle, char code, char* out) : handle_(handle), code_(code), at_(out)
    {
    }

    char* At() const
    {
        return at_;
    }

    void Plain(const DICOM_List& record, Form form);
    void Item_Begin(Sequence& sequence);
    void Item_End(const Sequence& sequence);
    void End(const Sequence& sequence);

private:
    static constexpr char Trace_Call[] = "Lib_DICOM: DICOM_Attribute_To_Str(%04x,%04x)";

    void Short(unsigned short value)
    {
        Bytes(Put_UShort(static_cast<unsigned char>(code_), value), sizeof value);
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

    void Header(const DICOM_List& record, Form form);
    unsigned int Header_Length(const DICOM_List& record, Form form) const;
    void Value(const DICOM_List& record);
    void Fragments(const DICOM_List& record);
    void Trace_Size(const DICOM_List& record, const char* begin) const;

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
    // A kept quirk: in implicit VR the length of a sequence is the stored one, whether it fits or
    // not. The current standard asks for a true one.
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

void Encoder::Fragments(const DICOM_List& record)
{
    For_Each_Fragment(record, [this](const DICOM_List& fragment) {
        const long long size = Fragment_Size(fragment);
        Structure(Item_Element, static_cast<unsigned int>(Even(size)));
        Bytes(fragment.data, size);
        Fill('\0', Even(size) - size);
    });
    Structure(Sequence_End_Element, 0);
}

void Encoder::Trace_Size(const DICOM_List& record, const char* begin) const
{
    Trace(handle_, Trace_Step,
          "-> DICOM_Attribute_To_Str() tag (%04x,%04x) = %d bytes tot, %d bytes data", record.group,
          record.element, static_cast<int>(at_ - begin), record.size);
}

void Encoder::Plain(const DICOM_List& record, Form form)
{
    Trace_Scope trace(handle_, Trace_Step, Trace_Call, record.group, record.element);
    if (Is_Left_Out(record)) {
        trace.Leave(0, "! size");
        return;
    }
    const char* const begin = at_;
    Header(record, form);
    if (form == Form::Fragments) {
        Fragments(record);
    } else {
        Value(record);
    }
    Trace_Size(record, begin);
    const bool lacks_data = form == Form::Value && record.data == nullptr;
    trace.Leave(0, lacks_data ? "! pt->data" : "");
}

void Encoder::Item_Begin(Sequence& sequence)
{
    Structure(Item_Element, Undefined_Length);
    sequence.item_content = at_;
}

void Encoder::Item_End(const Sequence& sequence)
{
    if (DICOM_Flag_Seq_Size == 0) {
        Structure(Item_End_Element, 0);
    } else {
        Patch_Length(sequence.item_content);
    }
}

void Encoder::End(const Sequence& sequence)
{
    if (DICOM_Flag_Seq_Size == 0) {
        Structure(Sequence_End_Element, 0);
    } else if (Is_Explicit(code_) || DICOM_Flag_Current_Standard != 0) {
        Patch_Length(sequence.content);
    }
    Trace_Size(sequence.record, sequence.begin);
}

}  // namespace

char* DICOM_Attribute_To_Str(HWND handle, char code, DICOM_List& record, char* out)
{
    Encoder encoder(handle, code, out);
    Encoding_Walk(encoder).Over(record);
    return encoder.At();
}

}  // namespace lib_dicom
