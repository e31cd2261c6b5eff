// The plan of a run: a process of its own walks ahead, so that the files and bytes to come are known, and
// what it finds waits in a temporary file, however many files there are.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_PLAN_H
#define TOOLS_DICOM_MEND_ARCHIVE_PLAN_H

#include "archive/walk.h"
#include "mend/io/spool.h"

#include <cstdint>
#include <string>

#include <sys/types.h>

namespace dicom_mend {

class Plan {
public:
    /** Starts the walk. Throws std::runtime_error when the system refuses. */
    explicit Plan(const Walk_Options& options);
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;
    ~Plan();

    /** What becomes readable when there is more; -1 when the walk has ended. */
    int Descriptor() const
    {
        return pipe_;
    }
    /** Takes what is there. */
    void Take();
    /** The next entry; false when it is not known yet, or there is none. */
    bool Next(Walk_Entry& entry);
    /** The walk has ended, and everything was taken out. */
    bool Is_Over() const;
    /** So it turns out when what is there is taken; an entry that shows up is lost. */
    bool Has_No_More();
    /** The walk has ended: the numbers below are those of the whole run. */
    bool Is_Known() const
    {
        return pipe_ < 0;
    }
    /** The process that walked was killed: there may be more files. */
    bool Is_Cut_Off() const
    {
        return Is_Known() && !has_end_;
    }
    std::uint64_t Files() const
    {
        return files_;
    }
    std::int64_t Bytes() const
    {
        return bytes_;
    }
    const Walk_Counts& Counts() const
    {
        return counts_;
    }

private:
    void Take_Frames();
    /** Bytes that were put into the spool, in their order; they hold until the next call. */
    std::string_view Read(std::size_t size);
    void Count(const std::string& frame);

    int pipe_ = -1;
    pid_t walker_ = -1;
    /** A frame that has not come whole. */
    std::string rest_;
    lib_mend::Spool spool_;
    /** What was read of it, which ends at the position. */
    std::string block_;
    std::size_t block_at_ = 0;
    std::int64_t position_ = 0;
    std::uint64_t files_ = 0;
    std::int64_t bytes_ = 0;
    Walk_Counts counts_;
    bool has_end_ = false;
};

}  // namespace dicom_mend

#endif
