// Native pixel data whose length is wrong, though the image tells the right one (PS3.5 section 8).
//
//     Rows x Columns x Samples x Bits / 8 x Frames     bytes end where the data set ends, or where an
//                                                      element begins
#include "mend/reading/element_reader.h"

#include <algorithm>
#include <cstdlib>

namespace lib_mend {

namespace {

constexpr const char* Too_Long_Text = ", which no length of 32 bits can tell; so large an image "
                                      "is stored in fragments, compressed or "
                                      "not (PS3.5 sections A.4 and A.4.11), or in several files";

}  // namespace

/** Says what length a value is found to have; where no header can tell it, also what can be done. */
void Element_Reader::Report_Length(const Element_Header& header, std::int64_t length)
{
    const bool has_length = length < Element_Header::Undefined;
    Report(Fault::Value_Length, has_length ? Level::Change : Level::Error, header,
           "the length is " + std::to_string(header.length) + ", but " + std::to_string(length) +
               " bytes fit what follows" + (has_length ? "" : Too_Long_Text));
}

/** Bytes of the image as the elements in front of the pixel data tell it; 0 when they do not. */
std::int64_t Element_Reader::Size_Of_Image() const
{
    std::int64_t rows = 0;
    std::int64_t columns = 0;
    std::int64_t bits = 0;
    std::int64_t samples = 1;
    std::int64_t frames = 1;
    int left = 4096;
    for (const DICOM_List& record : Records(levels_.back().head)) {
        if (--left < 0) {
            return 0;
        }
        if (record.group != 0x0028 || record.data == nullptr || record.size < 2) {
            continue;
        }
        const bool is_big = Is_Big_Endian(record.byte_order);
        const std::int64_t number = record.data[is_big ? 1 : 0] | record.data[is_big ? 0 : 1] << 8;
        switch (record.element) {
        case 0x0002:
            samples = number;
            break;
        case 0x0008: {
            const std::string text = Trimmed(Bytes(record.data, record.data + record.size));
            frames = std::max<std::int64_t>(1, std::strtol(text.c_str(), nullptr, 10));
            break;
        }
        case 0x0010:
            rows = number;
            break;
        case 0x0011:
            columns = number;
            break;
        case 0x0100:
            bits = number;
            break;
        default:
            break;
        }
    }
    std::int64_t size = 1;
    for (const std::int64_t factor : {rows, columns, samples, bits / 8, frames}) {
        if (factor != 0 && size > end_ / factor) {
            return 0;
        }
        size *= factor;
    }
    return size + size % 2;
}

/** An image whose size no length can tell ends where elements go on, even if the next one is damaged. */
bool Element_Reader::Ends_Too_Late(const Element_Header& header, std::int64_t end)
{
    constexpr std::int64_t Near = 4096;
    const std::int64_t size = end - position_ - header.size;
    if (size < Element_Header::Undefined || end > Top().limit) {
        return false;
    }
    // What 32 bits hold of it, or no length at all, is what a writer gives it.
    if (header.Is_Undefined() || header.length == (size & Element_Header::Undefined)) {
        return true;
    }
    const std::int64_t searched_to = searched_to_;
    const bool is_near = Find_Place(end, header.tag, std::min(end + Near, Top().limit)).has_value();
    searched_to_ = searched_to;
    return is_near;
}

/** The length of native pixel data is wrong, but the image fits what is there exactly. */
bool Element_Reader::Settle_Pixels(const Element_Header& as_read)
{
    const Element_Header header = With_VR(as_read);
    const std::int64_t value = position_ + header.size;
    if (header.size == 0 || header.tag <= Top().last || Starts_With_Item(value, header.mode)) {
        return false;
    }
    const std::int64_t size = Size_Of_Image();
    const std::int64_t end = value + size;
    Level_View behind = Top();
    behind.last = header.tag;
    const bool fits = end == Top().limit ||
                      (end < Top().limit && Judge(Decode_Header(Header_Bytes(end), behind.mode),
                                                  end, behind) == Grade::Sound) ||
                      Ends_Too_Late(header, end);
    if (size == 0 || size == header.length || !fits) {
        return false;
    }
    Element_Header mended = header;
    mended.length = size;
    Report_Length(header, size);
    const std::int64_t claim = header.length;
    Accept(mended);
    Note_Claim(mended.length, claim);
    return true;
}

}  // namespace lib_mend
