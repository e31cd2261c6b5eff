// Numbers and texts as bytes: between processes, and in the log of a run.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_PACKING_H
#define TOOLS_DICOM_MEND_ARCHIVE_PACKING_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace dicom_mend {

class Packer {
public:
    void Put(std::uint64_t number);
    void Put(std::int64_t number)
    {
        Put(static_cast<std::uint64_t>(number));
    }
    void Put(bool flag)
    {
        Put(std::uint64_t{flag});
    }
    void Put(std::string_view text);

    const std::string& Bytes() const
    {
        return bytes_;
    }

private:
    std::string bytes_;
};

/** The bytes are not what a Packer made. */
class Torn_Pack : public std::runtime_error {
public:
    Torn_Pack() : std::runtime_error("a record is damaged")
    {
    }
};

/** Takes out what was put in, in the same order. Throws Torn_Pack at the end of the bytes. */
class Unpacker {
public:
    explicit Unpacker(std::string_view bytes) : rest_(bytes)
    {
    }

    std::uint64_t Number();
    std::int64_t Signed()
    {
        return static_cast<std::int64_t>(Number());
    }
    bool Flag()
    {
        return Number() != 0;
    }
    std::string Text();
    /** A number of things that take at least a byte each. */
    std::size_t Count();

private:
    std::string_view rest_;
};

/** Length of what follows, in front of each message and each record of the log. */
inline constexpr std::size_t Frame_Head = 4;
std::string Framed(std::string_view bytes);
/** @param head  Frame_Head bytes */
std::size_t Frame_Size(const char* head);

}  // namespace dicom_mend

#endif
