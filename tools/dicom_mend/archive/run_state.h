// The state of a run: what a log says became of each file, and where its output is.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_RUN_STATE_H
#define TOOLS_DICOM_MEND_ARCHIVE_RUN_STATE_H

#include "archive/file_record.h"
#include "archive/run_log.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace dicom_mend {

/** What the state of a run has behind the name of its folder. It stands beside it, so that the folder
 * holds nothing but outputs. */
inline constexpr char State_Ending[] = ".state";

/** An output that a run has put into its place. */
struct Own_Output {
    /** Empty when there is none. */
    std::string path;
    std::int64_t size = 0;
    /** Time of the last change in nanoseconds: what was changed since is somebody else's. */
    std::int64_t modified = 0;
};

/** What the log says of a file. */
struct Logged_File {
    File_Record record;
    /** Where the worker left its output. */
    std::string staged;
    /** Its output, or that of an earlier mending. */
    Own_Output own;
    /** What that was to replace, an earlier output of the same file in the same place. */
    Own_Output replaced;
    /** Its output stands where the record says. */
    bool is_placed = false;
    /** What was found in it has been printed. */
    bool is_said = false;
    /** The record says why it has to be done again. */
    bool is_again = false;
};

class Run_State {
public:
    /**
     * Opens the log for this run alone.
     *
     * @param folder  where the outputs are; the log names them below it, so that it may be called otherwise
     *                when the run goes on
     * @param terms   what the run does, in a form in which it has to agree when it goes on
     * @param resume  an existing log is gone on with; a new run begins otherwise
     * @param force   an existing log may be replaced, but never another file
     * @return the reason of a failure
     */
    std::string Open(const std::string& path, const std::string& folder, const std::string& terms,
                     bool resume, bool force);
    bool Is_Open() const
    {
        return log_.Descriptor() >= 0;
    }
    /** The log is this run's alone. */
    bool Is_Locked() const
    {
        return log_.Is_Locked();
    }

    /** What is known of a file of an earlier run; nothing when it was not done. Read from the log. */
    std::optional<Logged_File> Find(const std::string& relative);
    /**
     * Files that nobody has asked for since the log was opened are not there any more.
     *
     * @return how many of them were done, and were there until then
     */
    std::size_t Put_Missing();
    /** A file is done: its output waits at the staged place. Written when Write is called or more is put. */
    void Put_Done(const File_Record& record, const std::string& staged);
    /**
     * The output of a file is in its place; what was found when it was placed goes with it.
     *
     * @param modified  of the output
     * @param replaced  an earlier output that stands there until then
     */
    void Put_Placed(const File_Record& record, std::int64_t modified = 0,
                    const Own_Output& replaced = {});
    /**
     * A file has to be done again, for the reason that the record gives.
     *
     * @param own   its output, or that of an earlier mending
     * @param gone  where its output was to stand and does not; empty for nowhere
     */
    void Put_Again(const File_Record& record, const Own_Output& own, const std::string& gone);
    /** What was found in a file has been printed. */
    void Put_Said(const File_Record& record);
    /** The run is at its end. */
    void Put_End();
    void Write()
    {
        log_.Write();
    }
    /** Another text for each run that went on with the log. */
    std::string Session() const;
    /** Hash values of the paths of all outputs, below the folder. */
    const std::unordered_set<std::size_t>& Outputs() const
    {
        return outputs_;
    }
    /** The log, for who brings it to the disk; -1 when there is none. */
    int Descriptor() const
    {
        return log_.Descriptor();
    }
    /** Why something could not be put; empty when all could. */
    const std::string& Failure() const
    {
        return log_.Failure();
    }

    /**
     * Goes through the files of a log; false when it is none.
     *
     * @param is_whole  receives whether the run is at its end
     */
    static bool Read(const std::string& path, const std::function<void(File_Record&&)>& take,
                     bool& is_whole);

private:
    struct Places {
        std::int64_t done = -1;
        /** Behind that, or of an earlier mending. */
        std::int64_t placed = -1;
        bool is_said = false;
        /** What stands at `done` says why the file has to be done again. */
        bool is_again = false;
        /** It was not there when the run was at its end. */
        bool is_missing = false;
        /** Somebody has asked for it. */
        bool is_asked_for = false;
    };

    /** Learns what the log says; where it is torn, it ends. */
    void Learn();
    Logged_File File_At(const Places& places) const;
    Own_Output Unpack_Own(Unpacker& bytes) const;
    void Pack_Own(const Own_Output& own, Packer& packer) const;
    /** A path as the log has it, and back. */
    std::string Below(const std::string& path) const;
    std::string Whole(const std::string& below) const;

    Run_Log log_;
    /** The last record says that the run is at its end. */
    bool is_ended_ = false;
    /** With a slash behind it. */
    std::string folder_;
    std::string terms_;
    /** By the names of the files. */
    std::unordered_map<std::uint64_t, Places> places_;
    std::unordered_set<std::size_t> outputs_;
};

}  // namespace dicom_mend

#endif
