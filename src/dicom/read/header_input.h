// The parts of an element's header, read one after the other from a source, with the traces in which
// readers tell how they end.
#ifndef LIB_DICOM_SRC_READ_HEADER_INPUT_H
#define LIB_DICOM_SRC_READ_HEADER_INPUT_H

#include "frame/report.h"
#include "read/reported_reads.h"

namespace lib_dicom {

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

/** How a step of the reading ends: with the next step, with a header, or without. */
enum class Step { Next, Done, Failed };

class Header_Input {
public:
    Header_Input(HWND handle, Byte_Source& source, Trace_Scope& trace)
        : handle_(handle), source_(source), trace_(trace)
    {
    }

    HWND Handle() const
    {
        return handle_;
    }
    Byte_Source& Source() const
    {
        return source_;
    }

    /* ---- parts ---- */

    bool Read(void* out, int size);
    bool Read_UShort(unsigned char order, unsigned short& value);
    Step Read_VR(Element_Header& header);
    /** A length of 4 bytes. */
    Step Read_Length(unsigned char order, Element_Header& header);

    /** Leaves the source at the first byte behind the parts that were read. */
    Step Settle();
    /** That position, once settled. */
    long long Position() const
    {
        return position_;
    }

    /* ---- ends ---- */

    template <class... Args>
    Step Fail(const char* reason, Args... args)
    {
        return trace_.Leave(Step::Failed, reason, args...);
    }
    Step Fail_Size(const Element_Header& header);
    /** Traces the element, which ends the reading. */
    Step Finish(const Element_Header& header);
    /** The same of an element that has no VR where one should be. */
    Step Finish_Without_VR(const Element_Header& header);
    Step Finish_As(const char* reason)
    {
        return trace_.Leave(Step::Done, reason);
    }

private:
    unsigned int Start() const
    {
        return static_cast<unsigned int>(position_ - size_);
    }

    HWND handle_;
    Byte_Source& source_;
    Trace_Scope& trace_;
    /** Bytes that were read so far. */
    int size_ = 0;
    long long position_ = 0;
};

/** Where a reader's caller wants the parts of the header. */
struct Header_Output {
    unsigned short* group;
    unsigned short* element;
    unsigned short* vr;
    int* length;
};

/** The border of the readers: runs one on the source and hands out what it found, even in part. */
template <class Read>
int Read_Header(HWND handle, Place place, int source, int where, void* ptr, int file_size,
                Trace_Scope& trace, const Header_Output& out, Read&& read)
{
    Element_Header header;
    const int result = Guarded(handle, place, 0, [&] {
        return With_Source(source, where, ptr, file_size, [&](Byte_Source& bytes) {
            bytes.Prefetch();
            Header_Input input(handle, bytes, trace);
            return read(input, header) == Step::Done ? 1 : 0;
        });
    });
    *out.group = header.group;
    *out.element = header.element;
    *out.vr = header.vr;
    *out.length = header.length;
    return result;
}

}  // namespace lib_dicom

#endif
