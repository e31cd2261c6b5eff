// How far a run is: one line at the foot of a terminal, and nothing anywhere else.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_PROGRESS_H
#define TOOLS_DICOM_MEND_ARCHIVE_PROGRESS_H

#include "archive/totals.h"
#include "archive/walk.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace dicom_mend {

struct Progress_State {
    std::uint64_t files = 0;
    std::int64_t bytes = 0;
    /** Of the whole run, as far as it is known. */
    std::uint64_t all_files = 0;
    std::int64_t all_bytes = 0;
    bool all_known = false;
    std::uint64_t findings = 0;
    /** The file that has been in work for the longest time; empty for none. */
    std::string slow_file;
    std::chrono::duration<double> elapsed = {};
    std::chrono::duration<double> slow_time = {};
};

/** "1,200 of 20,000 files, 1.2 of 40.3 GB, 35.1 MB/s, 19 min left, 83 findings, 12 s in a/b.dcm". */
std::string Progress_Text(const Progress_State& state);

/** "1,200 files (1.2 GB): 900 clean, ...": what the run came to, and what it left. */
std::string Summary_Text(const Totals& totals, const Walk_Counts& left);

/** "40.3 GB": bytes in decimal units. */
std::string Size_Text(std::int64_t bytes);
/** "1,200". */
std::string Count_Text(std::uint64_t count);

/** The line on standard error; does nothing where that is no terminal. */
class Progress_Line {
public:
    explicit Progress_Line(bool is_wanted);

    bool Is_On() const
    {
        return width_ > 0;
    }
    void Show(const Progress_State& state);
    /** To be called before anything else is printed. */
    void Clear();

private:
    std::size_t width_ = 0;
    bool is_shown_ = false;
};

}  // namespace dicom_mend

#endif
