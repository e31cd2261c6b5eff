#include "read/deferred_value.h"

#include "frame/vr_rules.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

namespace lib_dicom {

namespace {

constexpr int Longest_Loaded = 1024;

/** The next of the positions that the library keeps for reads from a memory image. */
int& Next_Position()
{
    constexpr unsigned int Positions = std::size(File_Work_File_Pos);
    const unsigned int next = (static_cast<unsigned int>(File_Work_File_Count) + 1) % Positions;
    File_Work_File_Count = static_cast<int>(next);
    return File_Work_File_Pos[next];
}

/** Size of the memory image. Where the client does not tell it, only the range of positions is known. */
long long Image_Size()
{
    constexpr long long Positions = std::numeric_limits<int>::max();
    const bool is_told = DICOM_Lib_Image_Size != 0;
    return is_told ? std::min<long long>(DICOM_Lib_Image_Size, Positions) : Positions;
}

/** Reports a system error about the source; errno is that of the failed call. */
template <class... Args>
void Report_System_Error(HWND handle, Place place, const char* text, Args... args)
{
    const int error = errno;
    Report_Error(handle, place, text, args...);
    Error_Fct(handle, Severity_Error, "%ls", Error_Perror(error));
}

bool Fetch_From(const Value_Source& source, HWND handle, Place place, DICOM_List& tag)
{
    if (!source.Is_Open() && DICOM_Lib_File_Source == NEMA_Source_File) {
        Report_System_Error(handle, place, "\361\004ERROR:\002 Unable to open file");
        Error_Fct(handle, Severity_Error, "file: (%ls)", source.Name());
        return false;
    }
    Fetched_Value value = source.Fetch(handle, place, tag, "tag->data");
    tag.data = value.data.release();
    switch (value.fault) {
    case Fetch_Fault::Seek:
        Report_System_Error(handle, place, "\361\004ERROR:\002 while seeking pos %ld",
                            static_cast<long>(tag.data_pos));
        Error_Fct(handle, Severity_Error, "file: (%ls)", source.Name());
        break;
    case Fetch_Fault::Read:
        Report_System_Error(handle, place, "Error reading file %ls", source.Name());
        break;
    case Fetch_Fault::End:
        Report_Error(handle, place, "End of File while reading: (%d /vs/ %d) (%ls)",
                     static_cast<int>(value.count), tag.size, source.Name());
        break;
    case Fetch_Fault::None:
    case Fetch_Fault::Memory:
        break;
    }
    return value.fault == Fetch_Fault::None;
}

}  // namespace

Value_Source::Value_Source()
    : is_file_(DICOM_Lib_File_Source == NEMA_Source_File),
      file_(is_file_ ? DICOM_Lib_File_Name : nullptr), size_(is_file_ ? file_.Size() : Image_Size())
{
}

const wchar_t* Value_Source::Name() const
{
    return is_file_ ? File_Source(-1, DICOM_Lib_File_Name).Name() : L"memory image";
}

Fetched_Value Value_Source::Fetch(HWND handle, Place place, const DICOM_List& tag,
                                  const char* variable) const
{
    if (!is_file_ && !Is_Open()) {
        return {Fetch_Fault::End};
    }
    if (size_ < 0 || !Seek(tag.data_pos)) {
        return {Fetch_Fault::Seek};
    }
    // A length field alone must not make the library allocate more than the source holds.
    const long long rest = std::max(size_ - static_cast<long long>(tag.data_pos), 0LL);
    if (tag.size > (is_file_ ? size_ : rest)) {
        return {Fetch_Fault::End, rest};
    }
    const auto size = static_cast<std::size_t>(tag.size);
    C_Array<unsigned char> data = C_Malloc<unsigned char>(handle, place, size, variable);
    if (data == nullptr) {
        return {Fetch_Fault::Memory};
    }
    const std::ptrdiff_t taken = Take(tag.data_pos, {data.get(), size});
    const std::ptrdiff_t count = std::max<std::ptrdiff_t>(taken, 0);
    std::fill(data.get() + count, data.get() + size, static_cast<unsigned char>(0));
    const Fetch_Fault fault = taken < 0          ? Fetch_Fault::Read
                              : count < tag.size ? Fetch_Fault::End
                                                 : Fetch_Fault::None;
    return {fault, count, std::move(data)};
}

bool Value_Source::Seek(unsigned int position) const
{
    return !is_file_ || File_Source(file_.Descriptor(), DICOM_Lib_File_Name).Seek(position);
}

std::ptrdiff_t Value_Source::Take(unsigned int position, std::span<unsigned char> out) const
{
    if (is_file_) {
        return File_Source(file_.Descriptor(), DICOM_Lib_File_Name).Take(out);
    }
    int& counter = Next_Position();
    counter = static_cast<int>(position);
    return Memory_Source(&counter, DICOM_Lib_File_Name, 0).Take(out);
}

bool Is_Left_In_Source(const DICOM_List& tag)
{
    return tag.data == nullptr && tag.size > Longest_Loaded;
}

bool Is_Deferred(const DICOM_List& tag)
{
    // What a sequence, an item or a delimiter measures are the records inside, which may have been
    // cut off: an image need not reach as far.
    const unsigned short vr = Effective_VR(tag);
    const bool is_value = tag.nb_item == 0 && vr != VR_SQ && vr != VR_Item && vr != VR_Delimiter;
    return is_value && Is_Left_In_Source(tag);
}

bool Fetch_Deferred_Value(HWND handle, Place place, DICOM_List& tag)
{
    Trace(handle, Trace_1, "Reading missing: %d bytes at %d", tag.size,
          static_cast<int>(tag.data_pos));
    try {
        return Fetch_From(Value_Source(), handle, place, tag);
    } catch (const std::bad_alloc&) {
        Report_Memory(handle, place, "malloc", "tag->data", tag.size);
        return false;
    }
}

}  // namespace lib_dicom
