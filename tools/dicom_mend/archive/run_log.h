// The log of a run: records are only appended, so that whatever moment the run is killed in, what stands in
// front of a torn end is true. Each has a length and a sum. An embedded data base would do the same with a
// library, a journal and locks that network file systems do not keep.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_RUN_LOG_H
#define TOOLS_DICOM_MEND_ARCHIVE_RUN_LOG_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dicom_mend {

class Run_Log {
public:
    Run_Log() = default;
    Run_Log(const Run_Log&) = delete;
    Run_Log& operator=(const Run_Log&) = delete;
    ~Run_Log();

    /** Opens or makes the file for this run alone; the reason of a failure. */
    std::string Open(const std::string& path);
    bool Open_To_Read(const std::string& path);
    /** -1 when it is not open. */
    int Descriptor() const
    {
        return descriptor_;
    }
    bool Is_Locked() const
    {
        return is_locked_;
    }
    bool Is_Empty() const;
    bool Begins_With(std::string_view text) const;
    /** Empties it, and writes what all logs begin with; the reason of a failure. */
    std::string Begin(std::string_view magic);
    /** Records are put here. */
    std::int64_t End() const
    {
        return end_;
    }
    void Set_End(std::int64_t end)
    {
        end_ = end;
    }
    /** @param at_once  otherwise it is written with what follows, or by Write */
    void Put(char kind, std::string_view bytes, bool at_once = true);
    void Write();
    /** Nothing where none stands that is whole. */
    std::optional<std::string> Record_At(std::int64_t offset, char& kind, std::int64_t& next) const;
    /** Why something could not be written; empty when all could. */
    const std::string& Failure() const
    {
        return failure_;
    }

private:
    int descriptor_ = -1;
    bool is_locked_ = false;
    std::int64_t end_ = 0;
    /** Records that stand behind the end. */
    std::string unwritten_;
    std::string failure_;
};

}  // namespace dicom_mend

#endif
