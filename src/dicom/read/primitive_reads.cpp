// Primitive reads: a number of bytes from a file or a memory image, as they are or as a number in
// a given byte order.
#include "frame/c_memory.h"
#include "read/reported_reads.h"

#include <algorithm>
#include <array>
#include <cerrno>

using namespace lib_dicom;

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Read_Data";

void Report_Seek_Failure(HWND handle, const Byte_Source& source, long long position, int error,
                         Place place)
{
    Report_Place(handle, place);
    Error_Fct(handle, Severity_Error, "\361\004ERROR:\002 while seeking pos %ld",
              static_cast<long>(position));
    Error_Fct(handle, Severity_Error, "%ls", Error_Perror(error));
    Error_Fct(handle, Severity_Error, "file: (%ls)", source.Name());
}

void Report_Query_Failure(HWND handle, const Byte_Source& source, int error, Place place)
{
    Report_Place(handle, place);
    Error_Fct(handle, Severity_Place, "using lseek()");
    Error_Fct(handle, Severity_Place, "%ls", Error_Perror(error));
    Error_Fct(handle, Severity_Place, "file: (%ls)", source.Name());
}

bool Fail_Seek(HWND handle, Byte_Source& source, long long position, Place place)
{
    const int error = errno;
    source.Close();
    Report_Seek_Failure(handle, source, position, error, place);
    return false;
}

}  // namespace

bool Read_Bytes(HWND handle, Byte_Source& source, void* out, int size)
{
    const std::size_t wanted = static_cast<std::size_t>(std::max(size, 0));
    return Check_Count(handle, source, source.Take({static_cast<unsigned char*>(out), wanted}),
                       size);
}

bool Check_Count(HWND handle, const Byte_Source& source, std::ptrdiff_t count, int size)
{
    if (count < 0) {
        const int error = errno;
        Report_Error(handle, This_Unit, "Error reading file %ls", source.Name());
        Error_Fct(handle, Severity_Error, "%ls", Error_Perror(error));
        return false;
    }
    if (count != size) {
        Report_Error(handle, This_Unit, "End of File while reading: (%d /vs/ %d) (%ls)",
                     static_cast<int>(count), size, source.Name());
        return false;
    }
    return true;
}

bool Settle(HWND handle, Byte_Source& source, long long& position)
{
    const long long ahead = static_cast<long long>(source.Ahead());
    position = source.Settle();
    if (position >= 0) {
        return true;
    }
    if (ahead > 0) {
        // Where the file stands is not known, so the message tells the way back instead.
        return Fail_Seek(handle, source, -ahead, This_Unit);
    }
    Report_Query_Failure(handle, source, errno, This_Unit);
    position = 0;
    return true;
}

bool Seek(HWND handle, Byte_Source& source, long long position)
{
    return source.Seek(position) || Fail_Seek(handle, source, position, This_Unit);
}

}  // namespace lib_dicom

namespace {

/** Swaps the bytes of each pair; the last byte of an odd number stays. */
void Swap_Pairs(std::span<char> bytes)
{
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
}

/** Gives a buffer a size of at least one byte; false without memory: it is then as it was. */
bool Grow(C_Array<char>& buf, std::size_t size)
{
    auto* const block = static_cast<char*>(std::realloc(buf.get(), std::max<std::size_t>(size, 1)));
    if (block == nullptr) {
        return false;
    }
    static_cast<void>(buf.release());
    buf.reset(block);
    return true;
}

/** Reads a new buffer with `spare` zero bytes behind the `size` bytes of the source. */
char* Read_Block(HWND handle, Byte_Source& source, unsigned char order, int size, std::size_t spare)
{
    // A size is a claim until the bytes are there: what is asked for at once is never more than
    // that, and what was read so far.
    constexpr std::size_t First_Portion = std::size_t{1} << 20;
    const std::size_t count = static_cast<std::size_t>(std::max(size, 0));
    C_Array<char> buf;
    std::size_t done = 0;
    std::ptrdiff_t taken = 0;
    do {
        const std::size_t portion = std::min(count - done, std::max(done, First_Portion));
        if (!Grow(buf, done + portion + spare)) {
            Report_Memory(handle, This_Unit, "malloc", "buf", size);
            return nullptr;
        }
        taken = source.Take({reinterpret_cast<unsigned char*>(buf.get()) + done, portion});
        done += static_cast<std::size_t>(std::max<std::ptrdiff_t>(taken, 0));
    } while (taken > 0 && done < count);
    if (!Check_Count(handle, source, taken < 0 ? taken : static_cast<std::ptrdiff_t>(done), size)) {
        return nullptr;
    }
    std::fill_n(buf.get() + count, spare, '\0');
    if ((order & DICOM_Order_Swap_Pairs) != 0) {
        Swap_Pairs({buf.get(), count});
    }
    return buf.release();
}

/** The typed read: takes `size` bytes and makes a number of the first of them. */
template <class Value, class Number>
int Read_Number(HWND handle, const char* call, int source, int where, void* ptr,
                unsigned char order, int size, Value* out,
                Number (*convert)(unsigned char, const void*))
{
    const Trace_Scope trace(handle, Trace_Entry, call, size);
    return With_Source(source, where, ptr, 0, [&](Byte_Source& bytes) {
        std::array<char, sizeof(double)> first = {};
        if (size <= static_cast<int>(first.size())) {
            if (!Read_Bytes(handle, bytes, first.data(), size)) {
                return 0;
            }
        } else {
            const C_Array<char> all(Read_Block(handle, bytes, 0, size, 0));
            if (all == nullptr) {
                return 0;
            }
            std::copy_n(all.get(), first.size(), first.data());
        }
        *out = static_cast<Value>(convert(order, first.data()));
        return 1;
    });
}

}  // namespace

double NEMA_Convert_Double(unsigned char order, const void* bytes)
{
    return Get_Double(order, bytes);
}

float NEMA_Convert_Float(unsigned char order, const void* bytes)
{
    return Get_Float(order, bytes);
}

int NEMA_Convert_Int(unsigned char order, const void* bytes)
{
    return Get_Int(order, bytes);
}

short NEMA_Convert_Short(unsigned char order, const void* bytes)
{
    return Get_Short(order, bytes);
}

unsigned short NEMA_Convert_UShort(unsigned char order, const void* bytes)
{
    return Get_UShort(order, bytes);
}

int NEMA_Read_Byte(HWND handle, int source, int where, void* ptr, unsigned char, int size,
                   char* out)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: NEMA_Read_Byte(size:%d)", size);
    return With_Source(source, where, ptr, 0, [&](Byte_Source& bytes) {
        return Read_Bytes(handle, bytes, out, size) ? 1 : 0;
    });
}

int NEMA_Read_Short(HWND handle, int source, int where, void* ptr, unsigned char order, int size,
                    short* out)
{
    return Read_Number(handle, "Lib_DICOM: NEMA_Read_Short(size:%d)", source, where, ptr, order,
                       size, out, &NEMA_Convert_Short);
}

int NEMA_Read_UShort(HWND handle, int source, int where, void* ptr, unsigned char order, int size,
                     unsigned short* out)
{
    return Read_Number(handle, "Lib_DICOM: NEMA_Read_UShort(size:%d)", source, where, ptr, order,
                       size, out, &NEMA_Convert_UShort);
}

int NEMA_Read_Int(HWND handle, int source, int where, void* ptr, unsigned char order, int size,
                  int* out)
{
    return Read_Number(handle, "Lib_DICOM: NEMA_Read_Int(size:%d)", source, where, ptr, order, size,
                       out, &NEMA_Convert_Int);
}

int NEMA_Read_UInt(HWND handle, int source, int where, void* ptr, unsigned char order, int size,
                   unsigned int* out)
{
    return Read_Number(handle, "Lib_DICOM: NEMA_Read_UInt(size:%d)", source, where, ptr, order,
                       size, out, &NEMA_Convert_Int);
}

int NEMA_Read_Float(HWND handle, int source, int where, void* ptr, unsigned char order, int size,
                    float* out)
{
    return Read_Number(handle, "Lib_DICOM: NEMA_Read_Float(size:%d)", source, where, ptr, order,
                       size, out, &NEMA_Convert_Float);
}

int NEMA_Read_Double(HWND handle, int source, int where, void* ptr, unsigned char order, int size,
                     double* out)
{
    return Read_Number(handle, "Lib_DICOM: NEMA_Read_Double(size:%d)", source, where, ptr, order,
                       size, out, &NEMA_Convert_Double);
}

char* NEMA_Read_Buffer(HWND handle, int source, int where, void* ptr, unsigned char order, int size)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: NEMA_Read_Buffer(size:%d)", size);
    return With_Source(source, where, ptr, 0, [&](Byte_Source& bytes) {
        return Read_Block(handle, bytes, order, size, 0);
    });
}

char* NEMA_Read_Str(HWND handle, int source, int where, void* ptr, unsigned char order, int size)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: NEMA_Read_Str(size:%d)", size);
    return With_Source(source, where, ptr, 0, [&](Byte_Source& bytes) {
        return Read_Block(handle, bytes, order, size, 1);
    });
}

int NEMA_Skip(HWND handle, int source, int where, void* ptr, int size)
{
    Trace_Scope trace(handle, Trace_Entry, "NEMA_Skip(size:%d)", size);
    if (size == DICOM_Undefined_Length) {
        return trace.Leave(1, "size == -1");
    }
    return With_Source(source, where, ptr, 0, [&](Byte_Source& bytes) {
        long long position = 0;
        // A position that cannot be told was reported; the seek then fails with its own message.
        return Settle(handle, bytes, position) && Seek(handle, bytes, position + size) ? 1 : 0;
    });
}
