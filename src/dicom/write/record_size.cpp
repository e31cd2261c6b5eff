// Sizes of encoded records.
#include "frame/report.h"
#include "frame/vr_rules.h"
#include "write/encoding_walk.h"
#include "write/stream_writer.h"

namespace lib_dicom {

namespace {

/** Adds up the size of one record with everything below it. */
class Size_Sum {
public:
    struct Sequence {
        Sequence(Size_Sum& sum, DICOM_List& record)
            : trace(sum.handle_, Trace_Step, Trace_Call, record.group, record.element),
              before(sum.total_)
        {
            if (Is_Explicit(sum.code_) && Effective_VR(record) != VR_SQ) {
                record.vr = VR_SQ;
            }
            sum.total_ += Header_Size(sum.code_, record, Form::Sequence);
        }

        Trace_Scope trace;
        long long before;
    };

    Size_Sum(HWND handle, char code) : handle_(handle), code_(code)
    {
    }

    void Plain(const DICOM_List& record, Form form)
    {
        Trace_Scope trace(handle_, Trace_Step, Trace_Call, record.group, record.element);
        if (Is_Left_Out(record)) {
            trace.Leave(0, "0");
            return;
        }
        const long long size =
            Header_Size(code_, record, form) +
            (form == Form::Fragments ? Fragments_Size(record) : Value_Size(record));
        total_ += trace.Leave(size, "%d", static_cast<int>(size));
    }
    void Item_Begin(Sequence&)
    {
        total_ += Structure_Size;
    }
    void Item_End(Sequence&)
    {
        total_ += DICOM_Flag_Seq_Size != 0 ? 0 : Structure_Size;
    }
    void End(Sequence& sequence)
    {
        total_ += DICOM_Flag_Seq_Size != 0 ? 0 : Structure_Size;
        sequence.trace.Leave(0, "%d", static_cast<int>(total_ - sequence.before));
    }

    long long Total() const
    {
        return total_;
    }

private:
    static constexpr char Trace_Call[] = "Lib_DICOM: DICOM_Attribute_Size(%04x,%04x)";

    static long long Fragments_Size(const DICOM_List& record)
    {
        long long size = Structure_Size;
        For_Each_Fragment(record, [&](const DICOM_List& fragment) {
            size += Structure_Size + Even(Fragment_Size(fragment));
        });
        return size;
    }

    HWND handle_;
    char code_;
    long long total_ = 0;
};

}  // namespace

long long DICOM_Attribute_Size(HWND handle, char code, DICOM_List& record)
{
    Size_Sum sum(handle, code);
    Encoding_Walk(sum).Over(record);
    return sum.Total();
}

}  // namespace lib_dicom
