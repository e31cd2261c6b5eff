// Native pixel data that has fewer or more bytes than the image (PS3.5 section 8.1.1).
//
//   Rows 2, Columns 3, Samples per Pixel 1, Bits Allocated 16, Number of Frames 1: 12 bytes
//   7FE0,0010 OW 8    xx xx xx xx xx xx xx xx                 4 bytes are missing; filled on request
//   7FE0,0010 OW 14   xx xx xx xx xx xx xx xx xx xx xx xx yy yy   2 bytes too many: they stay
#include "mend/healing/image.h"
#include "mend/healing/pixel_data.h"
#include "mend/healing/record_building.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace lib_mend {

namespace {

std::string Bytes_Text(std::uint64_t count)
{
    return count == Image::Too_Large ? "more bytes than a file can have"
                                     : std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

std::string Missing_Text(std::uint64_t count)
{
    return Bytes_Text(count) + " of the image " + (count == 1 ? "is" : "are") + " missing";
}

/** The most that a length of 32 bits can tell. */
constexpr std::uint64_t Longest_Value = 0xFFFFFFFE;

/** A short value is in memory too; only a healed one is another there. */
bool Is_In_Source(const Data_Set& set, const DICOM_List& record)
{
    std::array<unsigned char, 1024> bytes;
    const auto size = static_cast<std::size_t>(record.size);
    return size <= bytes.size() &&
           set.source->Read(Value_Position_Of(record), {bytes.data(), size}) == size &&
           std::equal(record.data, record.data + size, bytes.begin());
}

/** Zeros behind a value that is in the source stay as few bytes in memory as they are now. */
void Pad(const Data_Set& set, DICOM_List& pixels, std::uint64_t size, const Path& path,
         Findings& findings)
{
    findings.Report(Fault::Pixel_Size, Level::Change, At(pixels, path),
                    Missing_Text(size - static_cast<std::uint64_t>(Size_Of(pixels))) +
                        "; zeros are put in their place");
    if (pixels.data != nullptr && Is_In_Source(set, pixels)) {
        std::free(std::exchange(pixels.data, nullptr));
    }
    if (pixels.data == nullptr) {
        Fill_Up(*set.source, pixels, static_cast<std::int64_t>(size));
        return;
    }
    Bytes value = set.Value(pixels);
    value.resize(static_cast<std::size_t>(size));
    const unsigned char order = pixels.byte_order;
    Set_Bytes(pixels, value);
    pixels.byte_order = order;
}

}  // namespace

void Heal_Pixel_Size(const Data_Set& set, DICOM_List* list, const Path& path, bool pad,
                     Findings& findings)
{
    DICOM_List* const pixels = Find_Record(list, Pixel_Data_Tag);
    if (pixels == nullptr || !Has_Value(*pixels) || pixels->nb_item != 0 ||
        (set.encoding.encapsulated && path.empty())) {
        return;
    }
    const std::optional<std::uint64_t> size = Image_Of(set, list).Size();
    // A byte that is alone at the end becomes two.
    const auto found = static_cast<std::uint64_t>(Size_Of(*pixels) + pixels->size % 2);
    const bool may_pad = pad && size.value_or(0) <= Longest_Value;
    if (!size.has_value() || found == *size || found == *size + *size % 2) {
        return;
    }
    if (found > *size) {
        findings.Report(Fault::Pixel_Excess, Level::Kept, At(*pixels, path),
                        Bytes_Text(found - *size) + " more than the image has");
    } else if (may_pad) {
        Pad(set, *pixels, *size, path, findings);
    } else {
        const std::string unfilled = pad ? "; so large an image is not filled" : "";
        findings.Report(Fault::Pixel_Size, Level::Kept, At(*pixels, path),
                        *size == Image::Too_Large ? "the image has " + Bytes_Text(*size)
                                                  : Missing_Text(*size - found) + unfilled);
    }
}

}  // namespace lib_mend
