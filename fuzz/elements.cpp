// Element headers and values from a memory image and from a file: both give the same.
//
// Input: the mode of the reader; options, bit 0 the other form of header; the stream.
#include "fuzz_target.h"

#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

struct Element {
    unsigned short group = 0;
    unsigned short element = 0;
    unsigned short vr = 0;
    int length = 0;
    long position = 0;
    std::string value;

    bool operator==(const Element&) const = default;
};

/** A stream in one of the two forms in which the library takes it. */
struct Stream {
    int source;
    int where;
    void* ptr;
    int* counter;
    int size;
    /** The size that the reader is told, 0 for none. */
    int told;

    long Position() const
    {
        return source == NEMA_Source_File ? lseek(where, 0, SEEK_CUR) : *counter;
    }
};

/** Values up to this size are read, longer ones are skipped. */
constexpr int Load_Limit = 64;

bool Take_Value(const Stream& stream, unsigned char mode, Element& element)
{
    const bool is_delimiter = element.group == 0xFFFE;
    if (is_delimiter || element.length == DICOM_Undefined_Length) {
        return true;
    }
    if (element.length < 0 || element.length > stream.size - element.position) {
        return false;
    }
    if (element.length > Load_Limit) {
        return NEMA_Skip(nullptr, stream.source, stream.where, stream.ptr, element.length) != 0;
    }
    char* const value =
        NEMA_Read_Str(nullptr, stream.source, stream.where, stream.ptr, mode, element.length);
    if (value == nullptr) {
        return false;
    }
    element.value.assign(value, static_cast<std::size_t>(element.length));
    std::free(value);
    return true;
}

std::vector<Element> Read(const Stream& stream, unsigned char mode, bool other_form)
{
    const auto read = other_form ? &NEMA_Get_Data_Element_Fuji : &NEMA_Get_Data_Element;
    std::vector<Element> elements;
    bool more = true;
    while (more) {
        Element element;
        const long before = stream.Position();
        more = read(nullptr, stream.source, stream.where, stream.ptr, mode, &element.group,
                    &element.element, &element.vr, &element.length, stream.told) != 0;
        if (!more) {
            break;
        }
        element.position = stream.Position();
        fuzz::Require(element.position > before, "a header advances the position");
        fuzz::Require(element.position <= stream.size, "a header lies inside the source");
        more = Take_Value(stream, mode, element);
        elements.push_back(element);
    }
    return elements;
}

std::vector<Element> Read_Image(std::span<const unsigned char> bytes, unsigned char mode,
                                bool other_form)
{
    static int* const counter = NEMA_Position_New(nullptr);
    *counter = 0;
    const Stream stream = {NEMA_Source_Memory,
                           NEMA_Position_Where(counter),
                           const_cast<unsigned char*>(bytes.data()),
                           counter,
                           static_cast<int>(bytes.size()),
                           static_cast<int>(bytes.size())};
    return Read(stream, mode, other_form);
}

std::vector<Element> Read_File(std::span<const unsigned char> bytes, unsigned char mode,
                               bool other_form, bool tell_size)
{
    wchar_t name[] = L"fuzz";
    const int file = memfd_create("fuzz", 0);
    fuzz::Require(pwrite(file, bytes.data(), bytes.size(), 0) == std::ssize(bytes),
                  "the file can be written");
    const int size = static_cast<int>(bytes.size());
    std::vector<Element> elements =
        Read({NEMA_Source_File, file, name, nullptr, size, tell_size ? size : 0}, mode, other_form);
    close(file);
    return elements;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Silence silence;
    fuzz::Input input(data, size);
    const unsigned char mode = input.Byte();
    const std::uint8_t options = input.Byte();
    DICOM_Flag_Current_Standard = (options & 2) != 0 ? 1 : 0;
    const bool other_form = (options & 1) != 0;
    // A size of 0 means that it is not known, which an image does not allow.
    if (!input.Rest().empty()) {
        fuzz::Require(Read_Image(input.Rest(), mode, other_form) ==
                          Read_File(input.Rest(), mode, other_form, true),
                      "an image and a file give the same elements");
    }
    Read_File(input.Rest(), mode, other_form, false);
    return 0;
}
