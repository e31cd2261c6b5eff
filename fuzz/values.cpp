// Values in typed form, in memory and left in the source.
//
// Input: the VR of the record; the VR that is asked for; options, bit 0 the current standard, 1 a
// VR of the stream, 2 big endian, 3 swapped pairs, 4 left in an image, 5 left in a file; the value.
#include "fuzz_target.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

/** Looks at all bytes of a result, so that a sanitizer sees what was not written. */
std::size_t sum = 0;

void Look_At(const char* text)
{
    sum += text != nullptr ? std::strlen(text) : 0;
}

void Look_At(const OrisWare_Name& name)
{
    for (const char* const part :
         {name.family, name.given, name.middle, name.prefix, name.suffix}) {
        Look_At(part);
    }
    Look_At(Name_2_DICOM(&name));
    Look_At(Name_2_Str(&name));
}

template <class Value>
void Look_At(const Value* values, unsigned int count)
{
    for (unsigned int i = 0; values != nullptr && i < count; ++i) {
        Value value;
        std::memcpy(&value, values + i, sizeof value);
        sum += value != Value{} ? 1 : 0;
    }
}

void Extract(DICOM_List& record, unsigned short vr)
{
    char** const texts = NEMA_Value_Str(nullptr, &record, vr);
    for (unsigned int i = 0; texts != nullptr && i < record.vm; ++i) {
        Look_At(texts[i]);
    }
    const int* const numbers = NEMA_Value_Int(nullptr, &record, vr);
    Look_At(numbers, record.vm);
    const float* const floats = NEMA_Value_Float(nullptr, &record, vr);
    Look_At(floats, record.vm);
    const unsigned char* const bytes = NEMA_Value_Hex(nullptr, &record, vr);
    Look_At(bytes, static_cast<unsigned int>(std::max(record.size, 0)));
    const OrisWare_Name* const names = NEMA_Value_Name(nullptr, &record, vr);
    for (unsigned int i = 0; names != nullptr && i < record.vm; ++i) {
        Look_At(names[i]);
    }
    if (const OrisWare_Date* const date = NEMA_Value_Date(nullptr, &record, vr)) {
        Look_At(Date_2_DICOM(date));
        Look_At(Date_2_Str(date));
    }
    if (const OrisWare_Time* const time = NEMA_Value_Time(nullptr, &record, vr)) {
        Look_At(Time_2_DICOM(time));
        Look_At(Time_2_Str(time));
    }
}

/** Names the image as the source of values. */
void Extract_From_Image(DICOM_List& record, unsigned short vr, std::span<const unsigned char> value)
{
    auto* const image = const_cast<unsigned char*>(value.data());
    DICOM_Lib_File_Source = NEMA_Source_Memory;
    // The setting takes an image as well; it is never read as text then.
    DICOM_Lib_File_Name = static_cast<wchar_t*>(static_cast<void*>(image));
    Extract(record, vr);
}

/** Names a file as the source of values; it holds half of what a long value claims. */
void Extract_From_File(DICOM_List& record, unsigned short vr, std::span<const unsigned char> value)
{
    const int file = memfd_create("fuzz", 0);
    const std::size_t size = value.size() > 2000 ? value.size() / 2 : value.size();
    fuzz::Require(pwrite(file, value.data(), size, 0) == static_cast<ssize_t>(size),
                  "the file can be written");
    wchar_t* const name = Char_2_Wchar(("/proc/self/fd/" + std::to_string(file)).c_str());
    DICOM_Lib_File_Source = NEMA_Source_File;
    DICOM_Lib_File_Name = name;
    Extract(record, vr);
    std::free(name);
    close(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Silence silence;
    fuzz::Input input(data, size);
    const unsigned short vr = fuzz::Pick_VR(input.Byte());
    const unsigned short asked = fuzz::Pick_VR(input.Byte());
    const std::uint8_t options = input.Byte();
    DICOM_Flag_Current_Standard = (options & 1) != 0 ? 1 : 0;
    const std::span<const unsigned char> value = input.Rest();

    fuzz::Owned_Record record;
    ((options & 2) != 0 ? record->vr : record->vr_default) = vr;
    record->byte_order = (options >> 2) & 0x03;
    if ((options & 0x30) == 0) {
        record.Set_Value(value);
        Extract(*record.Get(), asked);
    } else {
        record->size = static_cast<int>(value.size());
        const auto extract = (options & 0x20) != 0 ? &Extract_From_File : &Extract_From_Image;
        extract(*record.Get(), asked, value);
    }
    DICOM_Lib_File_Name = nullptr;
    NEMA_Value_Cleanup();
    return 0;
}
