// What workers printed, as long as the files in front of theirs are not told of.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_PRINTED_H
#define TOOLS_DICOM_MEND_ARCHIVE_PRINTED_H

#include <cstdint>
#include <memory>
#include <string>

namespace dicom_mend {

/** A file without a name for long texts: thousands of listings may wait for one slow file. */
class Waiting_Room {
public:
    /** Throws lib_mend::Spool_Failure when no file can be made. */
    Waiting_Room();
    Waiting_Room(const Waiting_Room&) = delete;
    Waiting_Room& operator=(const Waiting_Room&) = delete;
    ~Waiting_Room();

    /** Empties it, which is allowed when no text waits. */
    void Clear();
    /** Takes in a part of another file; its place here. Throws std::runtime_error when there is no room. */
    std::int64_t Take(int descriptor, std::int64_t size);
    void Print(std::int64_t at, std::int64_t size) const;

private:
    std::string folder_;
    int descriptor_ = -1;
    std::int64_t size_ = 0;
};

/** What one worker printed for one file. */
class Printed {
public:
    Printed() = default;
    /**
     * Takes all that a worker left in its file.
     *
     * @param room  where long texts wait; made when there is need of one
     */
    Printed(int descriptor, std::int64_t size, std::shared_ptr<Waiting_Room>& room);

    bool Is_Empty() const
    {
        return text_.empty() && size_ == 0;
    }
    /** Throws std::runtime_error when it cannot be read again. */
    void Print() const;

private:
    std::string text_;
    std::shared_ptr<const Waiting_Room> room_;
    std::int64_t at_ = 0;
    std::int64_t size_ = 0;
};

}  // namespace dicom_mend

#endif
