#include "archive/run.h"

#include "archive/disk_sync.h"
#include "archive/file_sum.h"
#include "archive/interruption.h"
#include "archive/placing.h"
#include "archive/plan.h"
#include "archive/progress.h"
#include "archive/run_report.h"
#include "archive/run_state.h"
#include "archive/window.h"
#include "mend/findings/letters.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <thread>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dicom_mend {

namespace {

bool Is_Full(const std::string& reason)
{
    return reason.find(std::strerror(ENOSPC)) != reason.npos ||
           reason.find(std::strerror(EDQUOT)) != reason.npos;
}

/** @param output  where the output is, if there is one */
void Add_Sums(File_Record& record, const std::string& output)
{
    if (!record.is_foreign) {
        record.sum_in = Sum_Of_File(record.path);
        record.sum_out = record.has_output ? Sum_Of_File(output) : std::string();
    }
}

class Run {
public:
    Run(const Run_Options& options, const File_Work& work, const Run_Teller& tell)
        : options_(options), tell_(tell),
          workers_(options.jobs != 0 ? options.jobs
                                     : std::max(1U, std::thread::hardware_concurrency()),
                   [this, work](const Work_Item& item, File_Record& record) {
                       Work(work, item, record);
                   }),
          placing_(options.to, options.Work_Folder(), options.force,
                   options.has_layout && options.walk.shards > 1),
          line_(options.verbosity != Verbosity::Quiet)
    {
    }

    Exit_Status All();

private:
    std::string Refusal() const;
    std::string Prepare();
    void Work(const File_Work& work, const Work_Item& item, File_Record& record) const;
    void Fill(Plan& plan);
    void Take_Entry(Walk_Entry&& entry);
    void Look_Up(Slot& slot);
    void Hand_Out();
    void Wait(Plan& plan);
    void Take_Done(Done_File&& file);
    void Tell_Ready(bool all);
    void Tell(Slot& slot);
    void Place(Slot& slot);
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
    Progress_Line line_;
    Run_State state_;
    Run_Report report_;
    std::optional<Disk_Sync> sync_;
    /** Tells the staged files of this session from those of earlier ones. */
    std::string session_;
    Window window_;
    Totals totals_;
    std::uint64_t done_files_ = 0;
    std::int64_t done_bytes_ = 0;
    std::uint64_t findings_ = 0;
    std::uint64_t changed_ = 0;
    /** Files that the log knew when the run began, and those of them that were met again. */
    std::uint64_t logged_ = 0;
    std::uint64_t known_ = 0;
    std::uint64_t finished_ = 0;
    Exit_Status status_ = Exit_Clean;
    /** Why no more files are begun; empty while they are. */
    std::string stopped_;
    Workers::Clock::time_point start_ = Workers::Clock::now();
    Workers::Clock::time_point shown_ = start_;
};

/** Why the folders cannot be what they are to be; before anything is made. */
std::string Run::Refusal() const
{
    const std::string& to = options_.to;
    const std::string& quarantine = options_.quarantine;
    for (const std::string& folder : {to, quarantine}) {
        for (const std::string& path : options_.walk.paths) {
            if (!folder.empty() && Stands_In(path, folder)) {
                return folder + ": error: holds the input " + path + ", which is never overwritten";
            }
        }
    }
    if (!quarantine.empty() && (Stands_In(quarantine, to) || Stands_In(to, quarantine))) {
        return quarantine + ": error: the folder of quarantine has to stand apart from that of the "
                            "outputs";
    }
    if (options_.has_layout && options_.walk.shards > 1 && options_.force) {
        return to + ": error: --force cannot tell what other shards put there from older files";
    }
    return {};
}

std::string Run::Prepare()
{
    std::string error = Refusal();
    if (!error.empty()) {
        return error;
    }
    error = options_.to.empty() ? std::string() : placing_.Make_Work();
    if (!error.empty()) {
        return options_.to + ": error: cannot be written to: " + error;
    }
    error = options_.quarantine.empty() ? std::string() : Make_Folders(options_.quarantine);
    if (!error.empty()) {
        return options_.quarantine + ": error: cannot be made: " + error;
    }
    if (!options_.quarantine.empty() && options_.resume) {
        Clear_Copies(options_.quarantine);
    }
    const std::string state = options_.State_Path();
    if (!state.empty()) {
        error = state_.Open(state, options_.to, options_.terms, options_.resume, options_.force);
        if (!error.empty()) {
            return state + ": error: " + error;
        }
        session_ = state_.Session();
        logged_ = state_.Files();
        placing_.Set_Taken(state_.Outputs());
    }
    if (!options_.report.empty()) {
        error = report_.Open(options_.report, options_.command, options_.show_values,
                             options_.force || options_.resume);
        if (!error.empty()) {
            return options_.report + ": error: " + error;
        }
    }
    return {};
}

/** In a worker. */
void Run::Work(const File_Work& work, const Work_Item& item, File_Record& record) const
{
    work(item, record);
    if (!options_.show_values) {
        Leave_Out_Values(record.findings);
    }
    record.found = record.findings.size();
    if (!options_.report.empty()) {
        Add_Sums(record, item.staged);
    }
}

void Run::Fill(Plan& plan)
{
    Walk_Entry entry;
    while (!window_.Is_Full() && stopped_.empty() && plan.Next(entry)) {
        Take_Entry(std::move(entry));
    }
}

void Run::Take_Entry(Walk_Entry&& entry)
{
    Slot slot;
    slot.item = std::move(entry.item);
    slot.item.index = window_.Next_Index();
    slot.record.path = slot.item.path;
    slot.record.relative = slot.item.relative;
    if (!entry.trouble.empty()) {
        slot.record.failure = std::move(entry.trouble);
        slot.record.status = Exit_Failure;
        slot.stage = Slot::Stage::Done;
    } else {
        if (!options_.to.empty()) {
            slot.item.staged = placing_.Staged(session_, slot.item.index);
        }
        if (options_.resume) {
            Look_Up(slot);
        }
    }
    window_.Push(std::move(slot));
}

/** What an earlier run did need not be done again, unless the file has changed or its output is gone. */
void Run::Look_Up(Slot& slot)
{
    std::optional<Logged_File> logged = state_.Find(slot.item.relative);
    if (!logged) {
        return;
    }
    ++known_;
    slot.own = logged->own;
    slot.was_kept_apart = logged->record.status == Exit_Failure;
    if (logged->record.size != slot.item.size || logged->record.modified != slot.item.modified) {
        ++changed_;
        return;
    }
    struct stat status = {};
    const bool is_staged = logged->record.has_output &&
                           lstat(logged->staged.c_str(), &status) == 0 &&
                           status.st_size == logged->record.output_size;
    if (logged->is_placed && !is_staged && placing_.Is_In_Place(logged->record)) {
        slot.is_finished = true;
    } else if (logged->record.has_output && !is_staged) {
        return;
    }
    slot.record = std::move(logged->record);
    slot.record.path = slot.item.path;
    slot.staged = std::move(logged->staged);
    if (!options_.report.empty() && slot.record.sum_in.empty()) {
        // The run that did it wrote no report.
        Add_Sums(slot.record, is_staged ? slot.staged : slot.record.output);
    }
    slot.is_final = true;
    slot.stage = Slot::Stage::Done;
}

void Run::Hand_Out()
{
    while (stopped_.empty() && workers_.Has_Idle()) {
        const Slot* const slot = window_.Take_Waiting();
        if (slot == nullptr) {
            return;
        }
        workers_.Give(slot->item);
    }
}

void Run::Wait(Plan& plan)
{
    std::vector<pollfd> polled;
    workers_.Add_To(polled);
    if (plan.Descriptor() >= 0) {
        polled.push_back({plan.Descriptor(), POLLIN, 0});
    }
    if (polled.empty()) {
        return;
    }
    constexpr int Milliseconds = 200;
    if (poll(polled.data(), polled.size(), line_.Is_On() ? Milliseconds : -1) > 0) {
        plan.Take();
        for (Done_File& file : workers_.Take()) {
            Take_Done(std::move(file));
        }
    }
    if (Interruptible::Asked_By() != 0 && stopped_.empty()) {
        stopped_ = "interrupted";
    }
    if (Interruptible::Is_Urgent()) {
        workers_.Kill();
    }
}

void Run::Take_Done(Done_File&& file)
{
    Slot& slot = window_.At(file.index);
    slot.stage = Slot::Stage::Done;
    slot.staged = slot.item.staged;
    slot.record = std::move(file.record);
    slot.is_final = slot.record.failure.empty() && !slot.record.try_again;
    ++done_files_;
    done_bytes_ += slot.item.size;
    findings_ += slot.record.findings.size();
    if (slot.is_final) {
        state_.Put_Done(slot.record, slot.staged);
        Stop_Without_State();
    }
    if (slot.record.try_again && Is_Full(slot.record.failure) && stopped_.empty()) {
        stopped_ = "there is no room left in " + options_.to;
    }
}

void Run::Place(Slot& slot)
{
    File_Record& record = slot.record;
    if (!record.has_output) {
        state_.Put_Placed(record);
        return;
    }
    std::string own = slot.own;
    auto outcome = Placing::Outcome::Taken;
    while (outcome == Placing::Outcome::Taken) {
        placing_.Choose(record, own);
        // The log says first where the file will be, so that it is found there whenever the run is killed.
        state_.Put_Placed(record);
        if (Stop_Without_State()) {
            Add_Finding(record, lib_mend::Fault::Not_Written, lib_mend::Level::Error,
                        "is not put into its place, for the state of the run cannot be written");
            record.output.clear();
            record.has_output = false;
            return;
        }
        const std::string output = record.output;
        outcome = placing_.Place(record, slot.staged, output == own);
        if (outcome == Placing::Outcome::Failed) {
            state_.Put_Gone(record, output);
        }
        own.clear();
    }
}

/** Nothing is done that the log does not know. True when that has to end. */
bool Run::Stop_Without_State()
{
    if (!state_.Failure().empty() && stopped_.empty()) {
        stopped_ = "the state of the run " + state_.Failure();
    }
    return !state_.Failure().empty();
}

void Run::Add(const File_Record& record)
{
    status_ = std::max(status_, record.status);
    File_Record shown = record;
    std::erase_if(shown.findings, [this](const lib_mend::Finding& finding) {
        return options_.verbosity != Verbosity::Verbose &&
               Severity_Of(finding) == lib_mend::Severity::Info;
    });
    totals_.Add(shown);
    report_.Add(shown);
}

/** Copies what could not be mended whole to the quarantine; false when that fails. */
bool Run::Keep_Apart(Slot& slot)
{
    File_Record& record = slot.record;
    if (options_.quarantine.empty()) {
        return true;
    }
    if (record.status != Exit_Failure) {
        if (slot.was_kept_apart) {
            Leave_Quarantine(options_.quarantine, record);
        }
        return true;
    }
    const std::string error = Quarantine(options_.quarantine, record, options_.show_values);
    if (!error.empty()) {
        Add_Finding(record, lib_mend::Fault::Not_Written, lib_mend::Level::Error,
                    "cannot be copied to " + options_.quarantine + ": " + error);
    }
    return error.empty();
}

void Run::Tell(Slot& slot)
{
    File_Record& record = slot.record;
    if (slot.is_finished) {
        ++finished_;
        ++done_files_;
        done_bytes_ += slot.item.size;
        Add(record);
        return;
    }
    // The log says that a file is told of when nothing is left to do for it.
    bool is_kept = Keep_Apart(slot);
    if (slot.is_final) {
        const Exit_Status before = record.status;
        Place(slot);
        is_kept = (record.status == before || Keep_Apart(slot)) && is_kept;
        if (!is_kept) {
            // It is done again when the run goes on.
            state_.Put_Gone(record, record.output);
        }
    }
    line_.Clear();
    tell_(record);
    Add(record);
}

/** @param all  also those that stand behind a file that will not be done */
void Run::Tell_Ready(bool all)
{
    while (!window_.Is_Empty() && (all || window_.Front().stage == Slot::Stage::Done)) {
        if (window_.Front().stage == Slot::Stage::Done) {
            Tell(window_.Front());
        }
        window_.Pop();
    }
}

void Run::Show(const Plan& plan)
{
    constexpr auto Often = std::chrono::milliseconds(200);
    constexpr auto Long = std::chrono::seconds(3);
    const auto now = Workers::Clock::now();
    if (!line_.Is_On() || now - shown_ < Often) {
        return;
    }
    shown_ = now;
    Progress_State state;
    state.files = done_files_;
    state.bytes = done_bytes_;
    state.all_files = plan.Files();
    state.all_bytes = plan.Bytes();
    state.all_known = plan.Is_Known();
    state.findings = findings_;
    state.elapsed = now - start_;
    Workers::Clock::time_point since;
    const Work_Item* const slow = workers_.Slowest(since);
    if (slow != nullptr && now - since > Long) {
        state.slow_file = slow->path;
        state.slow_time = now - since;
    }
    line_.Show(state);
}

bool Run::Is_Ended(const Plan& plan) const
{
    return workers_.Busy() == 0 && (!stopped_.empty() || (plan.Is_Over() && window_.Is_Empty()));
}

void Run::Print_Summary(const Plan& plan) const
{
    if (options_.verbosity == Verbosity::Quiet && stopped_.empty()) {
        return;
    }
    std::string text = Summary_Text(totals_, plan.Counts());
    text += finished_ > 0 ? "; done before: " + Count_Text(finished_) : "";
    text += changed_ > 0 ? "; changed since: " + Count_Text(changed_) : "";
    if (stopped_.empty() && logged_ > known_) {
        text += "; not there any more: " + Count_Text(logged_ - known_);
    }
    std::fprintf(stderr, "%s\n", text.c_str());
    if (!stopped_.empty()) {
        std::fprintf(stderr, "%s: the run is not at its end%s\n", stopped_.c_str(),
                     state_.Is_Open() ? "; --resume goes on with it" : "");
    }
}

Exit_Status Run::Finish(const Plan& plan)
{
    line_.Clear();
    if (plan.Is_Cut_Off() && stopped_.empty()) {
        stopped_ = "the walk through the folders was ended";
    }
    const bool is_whole = stopped_.empty();
    if (is_whole && !options_.to.empty()) {
        placing_.Clear_Work();
    }
    const std::string unsynced = sync_->Now();
    if (!unsynced.empty()) {
        Report_Failure(options_.to, "cannot be synced: " + unsynced);
        status_ = Exit_Failure;
    }
    const std::string unreported = report_.Close(totals_, is_whole);
    if (!unreported.empty()) {
        Report_Failure(options_.report, unreported);
        status_ = Exit_Failure;
    }
    if (!state_.Failure().empty()) {
        Report_Failure(options_.State_Path(), state_.Failure());
        status_ = Exit_Failure;
    }
    Print_Summary(plan);
    return is_whole ? status_ : Exit_Failure;
}

Exit_Status Run::All()
{
    const std::string error = Prepare();
    if (!error.empty()) {
        std::fprintf(stderr, "%s\n", lib_mend::Printable(error).c_str());
        return Exit_Failure;
    }
    Walk_Options walk = options_.walk;
    walk.outputs = options_.to;
    for (const std::string& folder : {options_.to, options_.quarantine}) {
        File_Identity identity;
        if (!folder.empty() && Identity_Of(folder, identity)) {
            walk.own_folders.push_back(identity);
        }
    }
    sync_.emplace(options_.to, state_.Descriptor());
    Plan plan(walk);
    while (!Is_Ended(plan)) {
        Fill(plan);
        Hand_Out();
        Tell_Ready(false);
        Wait(plan);
        Show(plan);
        sync_->From_Time_To_Time();
    }
    Tell_Ready(true);
    return Finish(plan);
}

}  // namespace

Exit_Status Run_Files(const Run_Options& options, const File_Work& work, const Run_Teller& tell)
{
    Exit_Status status = Exit_Clean;
    int signal = 0;
    {
        const Interruptible signals;
        // The names of elements are those of today's standard where findings are printed, too.
        lib_mend::Findings unasked;
        const lib_mend::Library_Session session(unasked);
        Run run(options, work, tell);
        status = run.All();
        signal = Interruptible::Asked_By();
    }
    if (signal != 0) {
        // Who waits for the process learns that it was interrupted.
        std::fflush(nullptr);
        std::raise(signal);
    }
    return status;
}

}  // namespace dicom_mend
