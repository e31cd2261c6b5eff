// Builds DICOM streams byte by byte, faults included.
#ifndef TESTS_STREAM_BUILDER_H
#define TESTS_STREAM_BUILDER_H

#include <Lib_DICOM/Lib_DICOM.h>

#include <string>
#include <string_view>

/** Appends elements in the encoding of a byte-order code. */
class Stream_Builder {
public:
    explicit Stream_Builder(unsigned char code = DICOM_Order_Explicit_VR) : code_(code)
    {
    }

    Stream_Builder& Raw(std::string_view bytes)
    {
        bytes_ += bytes;
        return *this;
    }
    Stream_Builder& Short(unsigned int value)
    {
        return Number(Put_UShort(code_, static_cast<unsigned short>(value)), 2);
    }
    Stream_Builder& Int(int value)
    {
        return Number(Put_Int(code_, value), 4);
    }
    /** A header whose length need not be that of a value. */
    Stream_Builder& Header(unsigned int group, unsigned int element, std::string_view vr,
                           int length)
    {
        Short(group).Short(element);
        if ((code_ & DICOM_Order_Explicit_VR) == 0) {
            return Int(length);
        }
        Raw(vr);
        constexpr std::string_view Long = "OB OD OF OL OV OW SQ SV UC UN UR UT UV";
        if (Long.find(vr) != std::string_view::npos) {
            return Short(0).Int(length);
        }
        return Short(static_cast<unsigned int>(length));
    }
    Stream_Builder& Element(unsigned int group, unsigned int element, std::string_view vr,
                            std::string_view value)
    {
        return Header(group, element, vr, static_cast<int>(value.size())).Raw(value);
    }
    /** One US value in the byte order of the stream. */
    Stream_Builder& US(unsigned int group, unsigned int element, unsigned int value)
    {
        return Header(group, element, "US", 2).Short(value);
    }
    Stream_Builder& Sequence(unsigned int group, unsigned int element,
                             int length = DICOM_Undefined_Length)
    {
        return Header(group, element, "SQ", length);
    }
    Stream_Builder& Item(int length = DICOM_Undefined_Length)
    {
        return Short(0xFFFE).Short(0xE000).Int(length);
    }
    Stream_Builder& Item_End()
    {
        return Short(0xFFFE).Short(0xE00D).Int(0);
    }
    Stream_Builder& Sequence_End()
    {
        return Short(0xFFFE).Short(0xE0DD).Int(0);
    }

    const std::string& Bytes() const
    {
        return bytes_;
    }

private:
    Stream_Builder& Number(const unsigned char* bytes, std::size_t size)
    {
        bytes_.append(reinterpret_cast<const char*>(bytes), size);
        return *this;
    }

    unsigned char code_;
    std::string bytes_;
};

/** A UID padded to an even length. */
inline std::string Padded_UID(std::string_view uid)
{
    std::string padded(uid);
    padded.append(padded.size() % 2, '\0');
    return padded;
}

/** Preamble, "DICM" and a group 0002 that names a transfer syntax. */
inline std::string Part10_Head(std::string_view syntax)
{
    Stream_Builder group;
    group.Element(0x0002, 0x0001, "OB", std::string_view("\0\1", 2));
    group.Element(0x0002, 0x0002, "UI", Padded_UID("1.2.840.10008.5.1.4.1.1.7"));
    group.Element(0x0002, 0x0003, "UI", Padded_UID("1.2.3.4"));
    group.Element(0x0002, 0x0010, "UI", Padded_UID(syntax));
    group.Element(0x0002, 0x0012, "UI", Padded_UID("1.2.3"));
    Stream_Builder head;
    head.Raw(std::string(128, '\0')).Raw("DICM");
    head.Header(0x0002, 0x0000, "UL", 4).Int(static_cast<int>(group.Bytes().size()));
    return head.Raw(group.Bytes()).Bytes();
}

#endif
