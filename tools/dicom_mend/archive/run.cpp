#include "archive/run.h"

#include "archive/inputs.h"
#include "archive/interruption.h"
#include "archive/run_course.h"
#include "mend/findings/letters.h"

#include <csignal>
#include <cstdio>

#include <poll.h>
#include <sys/stat.h>

namespace dicom_mend {

namespace {

constexpr char Interrupted[] = "interrupted";

}  // namespace

/** Makes and opens what a run needs; what a run that is refused has made is taken away again. */
std::string Run::Prepare()
{
    std::string error = Refusal_Of(options_);
    if (!error.empty()) {
        return error;
    }
    std::vector<std::string> made;
    for (const std::string& path : {options_.to, options_.quarantine, options_.State_Path()}) {
        struct stat status = {};
        if (!path.empty() && lstat(path.c_str(), &status) != 0) {
            made.push_back(path);
        }
    }
    error = Open_All();
    if (!error.empty()) {
        // Where the state belongs to a run that is at work, the folders of staged files do too.
        const bool is_own = state_.Is_Locked() || (!made.empty() && made.front() == options_.to);
        if (!options_.to.empty() && is_own) {
            placing_.Unmake_Work();
        }
        for (const std::string& path : made) {
            // Folders that are not empty stay.
            std::remove(path.c_str());
        }
    }
    return error;
}

std::string Run::Open_All()
{
    std::string error = options_.to.empty() ? std::string() : placing_.Make_Work();
    if (!error.empty()) {
        return options_.to + ": error: cannot be written to: " + error;
    }
    error = options_.quarantine.empty() ? std::string() : Make_Folders(options_.quarantine);
    if (!error.empty()) {
        return options_.quarantine + ": error: cannot be made: " + error;
    }
    // A link may have led nowhere until now.
    error = Refusal_Of(options_);
    if (!error.empty()) {
        return error;
    }
    if (quarantine_.Is_Asked_For() && options_.resume) {
        quarantine_.Clear_Copies();
    }
    const std::string state = options_.State_Path();
    if (!state.empty()) {
        error = state_.Open(state, options_.to, options_.terms, options_.resume, options_.force);
        if (!error.empty()) {
            return state + ": error: " + error;
        }
        session_ = state_.Session();
        placing_.Set_Taken(state_.Outputs());
        placing_.Take_Place(state);
    }
    if (!options_.report.empty()) {
        placing_.Take_Place(options_.report);
        error = report_.Open(options_.report, options_.command, options_.show_values,
                             options_.force || options_.resume);
        if (!error.empty()) {
            return options_.report + ": error: " + error;
        }
    }
    return {};
}

void Run::Fill(Plan& plan)
{
    Walk_Entry entry;
    while (!window_.Is_Full() && stopped_.empty() && plan.Next(entry)) {
        Take_Entry(std::move(entry));
    }
}

void Run::Hand_Out()
{
    while (stopped_.empty()) {
        Slot* const slot = window_.First_Waiting();
        if (slot == nullptr || !workers_.Has_Room_For(slot->item)) {
            break;
        }
        window_.Begin(*slot);
        workers_.Give(slot->item);
    }
    workers_.Hand_Over();
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
    if (workers_.Have_Plenty()) {
        // To be woken up by each file takes longer than to look after many at a time.
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    constexpr int Milliseconds = 200;
    if (poll(polled.data(), polled.size(), line_.Is_On() ? Milliseconds : -1) > 0) {
        plan.Take();
        for (Done_File& file : workers_.Take()) {
            Take_Done(std::move(file));
        }
        state_.Write();
        Stop_Without_State();
    }
    if (Interruptible::Asked_By() != 0 && stopped_.empty()) {
        stopped_ = Interrupted;
    }
    if (Interruptible::Is_Urgent()) {
        workers_.Kill();
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
    return !workers_.Are_Busy() && (!stopped_.empty() || (plan.Is_Over() && window_.Is_Empty()));
}

void Run::Print_Summary(const Plan& plan) const
{
    if (options_.verbosity == Verbosity::Quiet && stopped_.empty()) {
        return;
    }
    std::string text = Summary_Text(totals_, plan.Counts());
    text += finished_ > 0 ? "; done before: " + Count_Text(finished_) : "";
    text += changed_ > 0 ? "; changed since: " + Count_Text(changed_) : "";
    text += missing_ > 0 ? "; not there any more: " + Count_Text(missing_) : "";
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
    if (is_whole) {
        missing_ = state_.Put_Missing();
        state_.Put_End();
    }
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
    if (stopped_ == Interrupted && !Interruptible::Is_Urgent() && window_.Is_Done() &&
        plan.Has_No_More()) {
        // Nothing was left to do.
        stopped_.clear();
    }
    Tell_Ready(true);
    if (held_) {
        line_.Clear();
        Tell_Held();
    }
    return Finish(plan);
}

Exit_Status Run_Files(const Run_Options& options, const File_Work& work, const Run_Teller& tell,
                      Comparison* comparison)
{
    Exit_Status status = Exit_Clean;
    int signal = 0;
    {
        const Interruptible signals;
        // The names of elements are those of today's standard where findings are printed, too.
        lib_mend::Findings unasked;
        const lib_mend::Library_Session session(unasked);
        Run run(options, work, tell, comparison);
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
