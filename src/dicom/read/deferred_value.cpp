#include "read/deferred_value.h"

#include "frame/c_memory.h"
#include "frame/vr_rules.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace lib_dicom {

namespace {

constexpr int Longest_Loaded = 1024;

/** Reports a system error about the file; errno is that of the failed call. */
template <class... Args>
bool Fail(HWND handle, Place place, const char* text, Args... args)
{
    const int error = errno;
    Report_Error(handle, place, text, args...);
    Error_Fct(handle, Severity_Error, "%ls", Error_Perror(error));
    return false;
}

bool Fail_With_Name(HWND handle, const wchar_t* name)
{
    Error_Fct(handle, Severity_Error, "file: (%ls)", name);
    return false;
}

bool Fail_At_End(HWND handle, Place place, long long count, int size, const wchar_t* name)
{
    Report_Error(handle, place, "End of File while reading: (%d /vs/ %d) (%ls)",
                 static_cast<int>(count), size, name);
    return false;
}

/** Gives the record room for its value. */
bool Allocate(HWND handle, DICOM_List& tag, Place place)
{
    tag.data =
        C_Malloc<unsigned char>(handle, place, static_cast<std::size_t>(tag.size), "tag->data")
            .release();
    return tag.data != nullptr;
}

std::span<unsigned char> Value_Bytes(const DICOM_List& tag)
{
    return {tag.data, static_cast<std::size_t>(tag.size)};
}

/** What could not be read of a value is zeros: the value stays in the record. */
void Clear_From(const DICOM_List& tag, std::ptrdiff_t count)
{
    const std::span<unsigned char> bytes = Value_Bytes(tag);
    const auto rest = bytes.subspan(static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
    std::fill(rest.begin(), rest.end(), static_cast<unsigned char>(0));
}

bool Fetch_From_File(HWND handle, DICOM_List& tag, Place place)
{
    const Opened_File opened(DICOM_Lib_File_Name);
    File_Source file(opened.Descriptor(), DICOM_Lib_File_Name);
    if (opened.Descriptor() < 0) {
        Fail(handle, place, "\361\004ERROR:\002 Unable to open file");
        return Fail_With_Name(handle, file.Name());
    }
    const long long file_size = opened.Size();
    if (file_size < 0 || !file.Seek(tag.data_pos)) {
        Fail(handle, place, "\361\004ERROR:\002 while seeking pos %ld",
             static_cast<long>(tag.data_pos));
        return Fail_With_Name(handle, file.Name());
    }
    if (tag.size > file_size) {
        // A length field alone must not make the library allocate more than the file holds.
        const long long rest = std::max(file_size - static_cast<long long>(tag.data_pos), 0LL);
        return Fail_At_End(handle, place, rest, tag.size, file.Name());
    }
    if (!Allocate(handle, tag, place)) {
        return false;
    }
    const std::ptrdiff_t count = file.Take(Value_Bytes(tag));
    if (count < tag.size) {
        Clear_From(tag, count);
    }
    if (count < 0) {
        return Fail(handle, place, "Error reading file %ls", file.Name());
    }
    return count == tag.size || Fail_At_End(handle, place, count, tag.size, file.Name());
}

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

bool Fetch_From_Image(HWND handle, DICOM_List& tag, Place place)
{
    if (DICOM_Lib_File_Name == nullptr || tag.data_pos > Image_Size() - tag.size) {
        return Fail_At_End(handle, place, 0, tag.size, L"memory image");
    }
    if (!Allocate(handle, tag, place)) {
        return false;
    }
    int& position = Next_Position();
    position = static_cast<int>(tag.data_pos);
    Memory_Source(&position, DICOM_Lib_File_Name, 0).Take(Value_Bytes(tag));
    return true;
}

}  // namespace

Value_Source::Value_Source()
    : is_file_(DICOM_Lib_File_Source == NEMA_Source_File),
      file_(is_file_ ? DICOM_Lib_File_Name : nullptr), size_(is_file_ ? file_.Size() : Image_Size())
{
}

const wchar_t* Value_Source::Name() const
{
    return is_file_ ? DICOM_Lib_File_Name : L"memory image";
}

long long Value_Source::Rest(unsigned int position) const
{
    return std::max(size_ - static_cast<long long>(position), 0LL);
}

std::ptrdiff_t Value_Source::Read(unsigned int position, std::span<unsigned char> out) const
{
    if (is_file_) {
        File_Source file(file_.Descriptor(), DICOM_Lib_File_Name);
        return file.Seek(position) ? file.Take(out) : -1;
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
        return DICOM_Lib_File_Source == NEMA_Source_File ? Fetch_From_File(handle, tag, place)
                                                         : Fetch_From_Image(handle, tag, place);
    } catch (const std::bad_alloc&) {
        Report_Memory(handle, place, "malloc", "tag->data", tag.size);
        return false;
    }
}

}  // namespace lib_dicom
