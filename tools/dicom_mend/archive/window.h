// The part of a run that is in sight: the files that wait, are in work, or are done but not told of.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_WINDOW_H
#define TOOLS_DICOM_MEND_ARCHIVE_WINDOW_H

#include "archive/run_state.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>

namespace dicom_mend {

struct Slot {
    enum class Stage { Waiting, Working, Done };

    Work_Item item;
    Stage stage = Stage::Waiting;
    File_Record record;
    std::string staged;
    /** What an earlier mending of the file left. */
    Own_Output own;
    /** What an earlier run has said of it, which had to be done again. */
    std::string told;
    /** An earlier run has told of it, and its output is in its place. */
    bool is_finished = false;
    /** An earlier run has printed what it found. */
    bool is_said = false;
    /** The file itself decided what became of it; a full disk did not. */
    bool is_final = false;
};

class Window {
public:
    /** So many files are looked at beyond the first one that is not done yet. */
    static constexpr std::size_t Look_Ahead = 4096;
    /** A file as large as this is begun before smaller ones in front of it. */
    static constexpr std::int64_t Large_File = std::int64_t{8} << 20;

    bool Is_Empty() const
    {
        return slots_.empty();
    }
    /** All files in sight are done. */
    bool Is_Done() const;
    bool Is_Full() const
    {
        return slots_.size() >= Look_Ahead;
    }
    /** The number that the next file will have. */
    std::uint64_t Next_Index() const
    {
        return first_ + slots_.size();
    }
    void Push(Slot slot);
    Slot& At(std::uint64_t index)
    {
        return slots_[index - first_];
    }
    /** The file that is to be begun next; null when none waits. */
    Slot* First_Waiting();
    void Begin(Slot& slot);
    Slot& Front()
    {
        return slots_.front();
    }
    void Pop();

private:
    using Large_Key = std::pair<std::int64_t, std::int64_t>;
    static Large_Key Key_Of(const Work_Item& item);

    std::deque<Slot> slots_;
    /** Number of the first one. */
    std::uint64_t first_ = 0;
    /** No file in front of this one waits. */
    std::uint64_t next_waiting_ = 0;
    /** Large files that wait, the largest last; of two that are as large the first one. */
    std::map<Large_Key, std::uint64_t> large_;
};

}  // namespace dicom_mend

#endif
