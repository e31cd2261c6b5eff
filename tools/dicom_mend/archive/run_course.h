// What a run is made of: run.cpp has its course, run_files.cpp what becomes of each file.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_RUN_COURSE_H
#define TOOLS_DICOM_MEND_ARCHIVE_RUN_COURSE_H

#include "archive/comparison.h"
#include "archive/disk_sync.h"
#include "archive/placing.h"
#include "archive/plan.h"
#include "archive/progress.h"
#include "archive/quarantine.h"
#include "archive/run.h"
#include "archive/run_report.h"
#include "archive/run_state.h"
#include "archive/window.h"
#include "archive/workers.h"

#include <algorithm>
#include <optional>
#include <thread>

namespace dicom_mend {

class Run {
public:
    Run(const Run_Options& options, const File_Work& work, const Run_Teller& tell,
        Comparison* comparison)
        : options_(options), tell_(tell),
          workers_(
              options.jobs != 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency()),
              [this, work](const Work_Item& item, File_Record& record) {
                  Work(work, item, record);
              },
              options.prints),
          placing_(options.to, options.Work_Folder(), options.walk.paths, options.force,
                   options.has_layout && options.walk.shards > 1),
          quarantine_(options.quarantine, options.walk.paths),
          line_(options.verbosity != Verbosity::Quiet)
    {
        if (comparison != nullptr) {
            held_.emplace(*comparison);
        }
    }

    Exit_Status All();

private:
    std::string Prepare();
    std::string Open_All();
    void Work(const File_Work& work, const Work_Item& item, File_Record& record) const;
    void Fill(Plan& plan);
    void Take_Entry(Walk_Entry&& entry);
    void Look_Up(Slot& slot);
    void Hand_Out();
    void Wait(Plan& plan);
    void Take_Done(Done_File&& file);
    void Tell_Ready(bool all);
    void Tell(Slot& slot);
    void Tell_Held();
    void Place(Slot& slot);
    void Say_Old_Output(Slot& slot) const;
    void Print(const File_Record& record, bool is_known);
    bool Stop_Without_State();
    bool Keep_Apart(Slot& slot);
    void Add(const File_Record& record);
    void Show(const Plan& plan);
    bool Is_Ended(const Plan& plan) const;
    Exit_Status Finish(const Plan& plan);
    void Print_Summary(const Plan& plan) const;

    const Run_Options& options_;
    const Run_Teller& tell_;
    Workers workers_;
    Placing placing_;
    Quarantine quarantine_;
    Progress_Line line_;
    Run_State state_;
    Run_Report report_;
    std::optional<Disk_Sync> sync_;
    /** Files that are told of when all are known; nothing where none have to wait. */
    std::optional<Held_Files> held_;
    /** Tells the staged files of this session from those of earlier ones. */
    std::string session_;
    Window window_;
    Totals totals_;
    std::uint64_t done_files_ = 0;
    std::int64_t done_bytes_ = 0;
    std::uint64_t findings_ = 0;
    std::uint64_t changed_ = 0;
    /** Files that the log knew when the run began, and that were not met again. */
    std::uint64_t missing_ = 0;
    std::uint64_t finished_ = 0;
    Exit_Status status_ = Exit_Clean;
    /** Why no more files are begun; empty while they are. */
    std::string stopped_;
    Workers::Clock::time_point start_ = Workers::Clock::now();
    Workers::Clock::time_point shown_ = start_;
};

}  // namespace dicom_mend

#endif
