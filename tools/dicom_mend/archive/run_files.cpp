#include "archive/file_sum.h"
#include "archive/run_course.h"
#include "mend/findings/report_text.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace dicom_mend {

namespace {

bool Is_Full(const std::string& reason)
{
    return reason.find(std::strerror(ENOSPC)) != reason.npos ||
           reason.find(std::strerror(EDQUOT)) != reason.npos;
}

/** What a run says of a file. */
std::string Told_Of(const File_Record& record)
{
    std::string told = record.failure;
    for (const lib_mend::Finding& finding : record.findings) {
        told += '\n' + lib_mend::Finding_Line("", finding, true);
    }
    return told;
}

/** An earlier run has said just that. */
bool Is_Told(const Slot& slot)
{
    return !slot.told.empty() && slot.told == Told_Of(slot.record);
}

/** @param output  where the output is, if there is one */
void Add_Sums(File_Record& record, const std::string& output)
{
    if (!record.is_foreign) {
        record.sum_in = Sum_Of_File(record.path);
        record.sum_out = record.has_output ? Sum_Of_File(output) : std::string();
    }
}

}  // namespace

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
    } else if (!options_.to.empty()) {
        slot.item.staged = placing_.Staged(session_, slot.item.index);
    }
    if (options_.resume) {
        Look_Up(slot);
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
    struct stat status = {};
    const bool is_staged = logged->record.has_output &&
                           lstat(logged->staged.c_str(), &status) == 0 &&
                           status.st_size == logged->record.output_size;
    // Where the output still waits, what stands in its place is what it was to replace.
    slot.own = logged->is_placed && is_staged ? logged->replaced : logged->own;
    slot.own.path = logged->own.path;
    if (logged->is_again || slot.stage == Slot::Stage::Done) {
        slot.told = logged->is_again && logged->is_said ? Told_Of(logged->record) : std::string();
        return;
    }
    slot.is_said = logged->is_said;
    if (logged->record.size != slot.item.size || logged->record.modified != slot.item.modified) {
        ++changed_;
        return;
    }
    if (logged->is_placed && !is_staged &&
        (!logged->record.has_output || Placing::Is_In_Place(logged->own))) {
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
    }
    if (slot.record.try_again && Is_Full(slot.record.failure) && stopped_.empty()) {
        stopped_ = "there is no room left in " + options_.to;
    }
}

/**
 * Tells of what an earlier run made of a file that has changed since. It stays: whoever looks at it now may have
 * changed it, or put another file there.
 */
void Run::Say_Old_Output(Slot& slot) const
{
    if (!Placing::Is_In_Place(slot.own)) {
        return;
    }
    // A layout makes names of values, which may tell who somebody is.
    Add_Finding(slot.record, lib_mend::Fault::Old_Output, lib_mend::Level::Kept,
                "what was made of the file before it changed stays" +
                    (options_.has_layout ? " in its place in the layout" : ": " + slot.own.path));
}

void Run::Place(Slot& slot)
{
    File_Record& record = slot.record;
    std::string own = slot.own.path;
    if (!record.has_output) {
        Say_Old_Output(slot);
        state_.Put_Placed(record);
        return;
    }
    auto outcome = Placing::Outcome::Taken;
    while (outcome == Placing::Outcome::Taken) {
        placing_.Choose(record, own, slot.item.is_numbered);
        const bool is_same = record.output == own;
        if (!is_same && !own.empty()) {
            Say_Old_Output(slot);
        }
        const bool is_own = is_same && slot.own.modified != 0 && Placing::Is_Own(slot.own);
        // The log says first where the file will be, so that it is found there whenever the run is killed.
        state_.Put_Placed(record, Modified_Of(slot.staged), is_own ? slot.own : Own_Output());
        if (Stop_Without_State()) {
            Add_Finding(record, lib_mend::Fault::Not_Written, lib_mend::Level::Error,
                        "is not put into its place, for the state of the run cannot be written");
            record.output.clear();
            record.has_output = false;
            return;
        }
        const std::string output = record.output;
        outcome = placing_.Place(record, slot.staged, is_own);
        if (outcome == Placing::Outcome::Failed) {
            state_.Put_Again(record, is_same ? slot.own : Own_Output(), is_same ? "" : output);
        } else if (outcome == Placing::Outcome::Was_There) {
            state_.Put_Placed(record, Modified_Of(output));
        } else if (outcome == Placing::Outcome::Taken && is_own) {
            Say_Old_Output(slot);
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
    Add_Failure(shown);
    totals_.Add(shown);
    report_.Add(shown);
}

/** Copies what could not be mended whole to the quarantine; false when that fails. */
bool Run::Keep_Apart(Slot& slot)
{
    File_Record& record = slot.record;
    if (!quarantine_.Is_Asked_For()) {
        return true;
    }
    if (record.status != Exit_Failure) {
        // An earlier run may have found something.
        if (options_.resume) {
            quarantine_.Leave(record);
        }
        return true;
    }
    const std::string error = quarantine_.Take(record, options_.show_values);
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
        if (quarantine_.Is_Asked_For() &&
            (record.status != Exit_Failure || !quarantine_.Has(record, options_.show_values))) {
            Keep_Apart(slot);
        }
        if (!slot.is_said) {
            Print(record, false);
        }
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
            const Own_Output placed = {record.output, record.output_size,
                                       Modified_Of(record.output)};
            state_.Put_Again(record, record.output.empty() ? slot.own : placed, "");
        }
    } else {
        state_.Put_Again(record, slot.own, "");
    }
    Print(record, Is_Told(slot));
    Add(record);
}

/**
 * Prints what there is to say of a file, and notes that it is out: whatever was not is said again.
 *
 * @param is_known  an earlier run has said just that
 */
void Run::Print(const File_Record& record, bool is_known)
{
    if (!is_known) {
        line_.Clear();
        tell_(record);
    }
    if (state_.Is_Open() && (!record.findings.empty() || !record.failure.empty())) {
        std::fflush(stdout);
        state_.Put_Said(record);
    }
}

/** @param all  also those that stand behind a file that will not be done */
void Run::Tell_Ready(bool all)
{
    while (!window_.Is_Empty() && (all || window_.Front().stage == Slot::Stage::Done)) {
        Slot& slot = window_.Front();
        if (slot.stage == Slot::Stage::Done && held_) {
            const bool is_said = slot.is_final ? slot.is_said : Is_Told(slot);
            held_->Hold(slot.record, slot.is_finished, is_said, slot.is_final);
        } else if (slot.stage == Slot::Stage::Done) {
            Tell(slot);
        }
        window_.Pop();
    }
}

/** Where the run has ended early, the files that are done are told of without being compared. */
void Run::Tell_Held()
{
    held_->Release(stopped_.empty(), options_.show_values, [this](Held_File&& held) {
        Slot slot;
        slot.record = std::move(held.record);
        slot.is_finished = held.is_finished;
        slot.is_said = held.is_said;
        slot.is_final = held.is_final;
        slot.told = held.is_said && !held.is_final ? Told_Of(slot.record) : std::string();
        if (held.is_finished && held.is_other) {
            if (held.is_said && !held.news.empty()) {
                // Of the rest an earlier run has told.
                File_Record news = slot.record;
                news.findings = std::move(held.news);
                news.headers = std::move(held.news_headers);
                tell_(news);
            }
            state_.Put_Placed(slot.record);
        }
        Tell(slot);
    });
}

}  // namespace dicom_mend
