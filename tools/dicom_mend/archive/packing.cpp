#include "archive/packing.h"

namespace dicom_mend {

void Packer::Put(std::uint64_t number)
{
    // Seven bits a byte, the lowest first; the top bit says that more follow.
    while (number >= 0x80) {
        bytes_ += static_cast<char>((number & 0x7F) | 0x80);
        number >>= 7;
    }
    bytes_ += static_cast<char>(number);
}

void Packer::Put(std::string_view text)
{
    Put(std::uint64_t{text.size()});
    bytes_ += text;
}

std::uint64_t Unpacker::Number()
{
    constexpr unsigned int Widest = 64;
    std::uint64_t number = 0;
    for (unsigned int shift = 0; shift < Widest; shift += 7) {
        if (rest_.empty()) {
            break;
        }
        const auto byte = static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(1);
        number |= std::uint64_t{byte & 0x7FU} << shift;
        if (byte < 0x80) {
            return number;
        }
    }
    throw Torn_Pack();
}

std::size_t Unpacker::Count()
{
    const std::uint64_t count = Number();
    if (count > rest_.size()) {
        throw Torn_Pack();
    }
    return count;
}

std::string Unpacker::Text()
{
    const std::size_t size = Count();
    std::string text(rest_.substr(0, size));
    rest_.remove_prefix(size);
    return text;
}

std::string Framed(std::string_view bytes)
{
    std::string frame;
    for (std::size_t i = 0; i < Frame_Head; ++i) {
        frame += static_cast<char>(bytes.size() >> (8 * i));
    }
    return frame.append(bytes);
}

std::size_t Frame_Size(const char* head)
{
    std::size_t size = 0;
    for (std::size_t i = 0; i < Frame_Head; ++i) {
        size |= std::size_t{static_cast<unsigned char>(head[i])} << (8 * i);
    }
    return size;
}

}  // namespace dicom_mend
