// Where the bytes come from: a file, or a buffer in memory.
#ifndef LIB_MEND_SOURCE_H
#define LIB_MEND_SOURCE_H

#include <Lib_DICOM/Lib_DICOM.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace lib_mend {

using Bytes = std::vector<unsigned char>;

/** Where something stands in a source, in 64 bits: for records, which count in 32. */
struct Far_Place {
    std::int64_t position = 0;
    std::int64_t value = 0;
    std::int64_t size = 0;
    /** The length that a header claimed, 0 where that is the size. */
    std::int64_t claim = 0;
    /** So many of the last bytes are zeros that stand nowhere. */
    std::int64_t zeros = 0;
};

class Source {
public:
    /** Files up to this size are read into memory, where their many small reads are cheap. */
    static constexpr std::int64_t Small_File = std::int64_t{4} << 20;

    /**
     * Opens a file. It is not mapped: a file that someone cuts meanwhile shall end early, not kill
     * the process. A pipe is read to its end, and kept in a temporary file; devices are refused.
     *
     * @param error          receives the reason of a failure
     * @param most_in_memory  larger files are read piece by piece, larger pipes are not kept in memory
     * @return null on failure
     */
    static std::shared_ptr<Source> Open(const std::string& path, std::string& error,
                                        std::int64_t most_in_memory = Small_File);
    /** The same for standard input. */
    static std::shared_ptr<Source> Open_Input(std::string& error);
    /** Takes over a descriptor, of a file that nobody else writes to. */
    static std::shared_ptr<Source> From_File(int descriptor, std::int64_t size, std::string name);
    static std::shared_ptr<Source> From_Bytes(Bytes bytes, std::string name);
    /** `image` is not copied and has to outlive the source. */
    static std::shared_ptr<Source> From_Image(std::span<const unsigned char> image,
                                              std::string name);

    /** Copies bytes out from an offset on; what failed is the system error, 0 for nothing. */
    using Reader =
        std::function<std::size_t(std::int64_t offset, std::span<unsigned char> out, int& failure)>;
    /** Bytes that stand in one piece nowhere. */
    static std::shared_ptr<Source> From_Reader(Reader reader, std::int64_t size, std::string name);

    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source();

    std::int64_t Size() const
    {
        return size_;
    }
    const std::string& Name() const
    {
        return name_;
    }
    /** The bytes in memory, null when the file is read by descriptor. */
    const unsigned char* Image() const
    {
        return image_;
    }
    /** The file that the bytes are read from, -1 when they are in memory. */
    int Descriptor() const
    {
        return image_ == nullptr ? descriptor_ : -1;
    }
    /**
     * Copies bytes out, without moving any position.
     *
     * @return number of bytes copied; less than asked for at the end, or when reading fails
     */
    std::size_t Read(std::int64_t offset, std::span<unsigned char> out) const;
    /** Keeps a place as long as the source lives. */
    const Far_Place& Keep(const Far_Place& place) const
    {
        return far_places_.emplace_back(place);
    }
    bool Has_Far_Places() const
    {
        return !far_places_.empty();
    }
    /** Its bytes stand nowhere else, and nobody finds them there by its name. */
    void Set_Passing()
    {
        is_passing_ = true;
    }
    bool Is_Passing() const
    {
        return is_passing_;
    }
    /** The system error of a read or a seek that failed, 0 for none. */
    int Failure() const
    {
        return failure_;
    }

private:
    friend class Cursor;

    explicit Source(std::string name);
    /** Takes the file of the descriptor; false for what is none, and when it cannot be read. */
    static std::shared_ptr<Source> Open_Descriptor(int descriptor, const std::string& path,
                                                   std::string& error, std::int64_t most_in_memory);
    bool Take_File(std::int64_t most_in_memory, std::string& error);

    std::string name_;
    std::wstring wide_name_;
    Bytes owned_;
    Reader reader_;
    const unsigned char* image_ = nullptr;
    int descriptor_ = -1;
    std::int64_t size_ = 0;
    bool is_passing_ = false;
    mutable int failure_ = 0;
    mutable std::deque<Far_Place> far_places_;
};

/** The header of one data element, as the library read it. */
struct Header {
    unsigned short group = 0;
    unsigned short element = 0;
    unsigned short vr = 0;
    int length = 0;
};

/** A position in a source, in the form in which the library takes it. */
class Cursor {
public:
    Cursor(std::shared_ptr<Source> source, std::int64_t start);
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;
    ~Cursor();

    /** False when the source could not be positioned at the start. */
    bool Ready() const
    {
        return ready_;
    }
    std::int64_t Tell() const;
    bool Seek(std::int64_t offset);
    /**
     * Reads a header; the result is that of NEMA_Get_Data_Element.
     *
     * @param size  the size that lengths are compared with, where the source is only a part of it
     */
    bool Read_Header(unsigned char mode, Header& header, std::int64_t size = 0);
    /** Reads a value of `size` bytes; false when it could not be read whole. */
    bool Read_Value(int size, Bytes& value);

private:
    int Kind() const;
    void* Pointer() const;

    std::shared_ptr<Source> source_;
    int* position_ = nullptr;
    int where_ = 0;
    bool ready_ = false;
};

}  // namespace lib_mend

#endif
