// Where the outputs of a run stand: staged below OUT_DIR by the workers, and put in their places by one
// process alone, in the order of the run, so that names do not depend on who is faster.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_PLACING_H
#define TOOLS_DICOM_MEND_ARCHIVE_PLACING_H

#include "archive/file_record.h"
#include "archive/inputs.h"
#include "archive/run_state.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace dicom_mend {

class Placing {
public:
    /**
     * @param folder  OUT_DIR
     * @param work    the folder of this run below it
     * @param inputs  files and folders in which nothing is replaced
     * @param force   files that other runs left may be replaced
     * @param shared  other shards put their outputs there under names of a layout
     */
    Placing(std::string folder, std::string work, const std::vector<std::string>& inputs,
            bool force, bool shared);
    Placing(const Placing&) = delete;
    Placing& operator=(const Placing&) = delete;
    ~Placing();

    /** Where the worker leaves the output of a file. @param session  of the run, as its log counts */
    std::string Staged(const std::string& session, std::uint64_t index) const;
    /** Makes the folders of staged outputs, for this run alone; the reason of a failure. */
    std::string Make_Work();
    /** Takes them away again, if nothing is in them. */
    void Unmake_Work() const;
    /** Removes what the workers of this run and of killed ones left. */
    void Clear_Work() const;
    /** Paths that other files of the run have, by their hash values. */
    void Set_Taken(std::unordered_set<std::size_t> taken)
    {
        taken_ = std::move(taken);
    }
    /** The run writes another file of its own there. */
    void Take_Place(const std::string& path);
    /**
     * Chooses the place of an output, and says it in the record.
     *
     * @param own          path that an earlier mending of the file left; empty for none
     * @param is_numbered  a number in the place of the input tells it from another one
     */
    void Choose(File_Record& record, const std::string& own, bool is_numbered);
    enum class Outcome { In_Place, Was_There, Failed, Taken };
    /**
     * Puts an output in the place that was chosen, unless a file of the same bytes was there. A failure is a finding,
     * unless the place turned out to be taken by another shard of the run: another one can be chosen then.
     *
     * @param is_own  what stands there is the file's own
     */
    Outcome Place(File_Record& record, const std::string& staged, bool is_own);
    /** An output stands in its place, and nobody has changed it. */
    static bool Is_In_Place(const Own_Output& own);
    /** The same, or nothing stands there, or the empty file that a machine leaves when it loses power. */
    static bool Is_Own(const Own_Output& own);

private:
    /** Workers that make files in one folder wait for each other. */
    static constexpr std::uint64_t Folders = 8;

    std::string Put(const std::string& staged, const std::string& path, const std::string& input,
                    bool is_own);

    std::string folder_;
    std::string work_;
    /** Locked for as long as the run is at work, whatever state it has. */
    int work_folder_ = -1;
    bool force_;
    bool shared_;
    Inputs inputs_;
    std::string last_folder_;
    std::unordered_set<std::size_t> taken_;
};

/** Time of the last change in nanoseconds; 0 where nothing is. */
std::int64_t Modified_Of(const std::string& path);

/** Creates a folder and those around it; the reason of a failure. */
std::string Make_Folders(const std::string& path);

}  // namespace dicom_mend

#endif
