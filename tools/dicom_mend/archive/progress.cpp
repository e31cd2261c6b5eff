#include "archive/progress.h"

#include "mend/findings/letters.h"
#include "terminal.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include <unistd.h>

namespace dicom_mend {

namespace {

std::string Duration_Text(double seconds)
{
    const auto whole = static_cast<std::uint64_t>(std::ceil(seconds));
    constexpr std::uint64_t Minute = 60;
    constexpr std::uint64_t Hour = 60 * Minute;
    if (whole < 2 * Minute) {
        return std::to_string(whole) + " s";
    }
    if (whole < 2 * Hour) {
        return std::to_string((whole + Minute / 2) / Minute) + " min";
    }
    return std::to_string((whole + Hour / 2) / Hour) + " h";
}

}  // namespace

std::string Size_Text(std::int64_t bytes)
{
    constexpr std::array Units = {"B", "kB", "MB", "GB", "TB", "PB"};
    auto size = static_cast<double>(bytes);
    std::size_t unit = 0;
    // What would be shown as 1000.0 is one of the next unit.
    for (; size >= 999.95 && unit + 1 < Units.size(); ++unit) {
        size /= 1000;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", size, Units.at(unit));
    return text;
}

std::string Count_Text(std::uint64_t count)
{
    std::string text = std::to_string(count);
    for (std::size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, ",");
    }
    return text;
}

std::string Progress_Text(const Progress_State& state)
{
    std::string text = Count_Text(state.files) + " of " + Count_Text(state.all_files) +
                       (state.all_known ? "" : "+") +
                       (state.all_files == 1 && state.all_known ? " file, " : " files, ") +
                       Size_Text(state.bytes) + " of " + Size_Text(state.all_bytes) +
                       (state.all_known ? "" : "+");
    const double seconds = state.elapsed.count();
    if (seconds >= 1 && state.files > 0) {
        text += ", " + Size_Text(std::llround(static_cast<double>(state.bytes) / seconds)) + "/s";
        // Small files cost by their number, large ones by their bytes; the slower of both counts.
        const double by_files = static_cast<double>(state.all_files - state.files) * seconds /
                                static_cast<double>(state.files);
        const double by_bytes = state.bytes > 0
                                    ? static_cast<double>(state.all_bytes - state.bytes) * seconds /
                                          static_cast<double>(state.bytes)
                                    : 0;
        if (state.all_known) {
            text += ", " + Duration_Text(std::max(by_files, by_bytes)) + " left";
        }
    }
    text += ", " + Count_Text(state.findings) + (state.findings == 1 ? " finding" : " findings");
    if (!state.slow_file.empty()) {
        text += ", " + Duration_Text(state.slow_time.count()) + " in " +
                lib_mend::Printable(state.slow_file);
    }
    return text;
}

std::string Summary_Text(const Totals& totals, const Walk_Counts& left)
{
    std::string text = Count_Text(totals.files) + (totals.files == 1 ? " file (" : " files (") +
                       Size_Text(totals.bytes) + "): " + Count_Text(totals.clean) + " clean, " +
                       Count_Text(totals.with_findings) + " with findings, " +
                       Count_Text(totals.failed) + " not whole";
    const std::pair<std::uint64_t, const char*> others[] = {
        {totals.foreign, "not DICOM"},
        {left.hidden, "hidden"},
        {left.links, "by symbolic links"},
        {left.special, "not regular"},
    };
    const char* separator = "; left: ";
    for (const auto& [count, what] : others) {
        if (count > 0) {
            text += separator + Count_Text(count) + " " + what;
            separator = ", ";
        }
    }
    return text;
}

Progress_Line::Progress_Line(bool is_wanted)
{
    const Terminal terminal = Look_At(STDERR_FILENO);
    width_ = is_wanted && terminal.is_terminal ? terminal.width : 0;
}

void Progress_Line::Show(const Progress_State& state)
{
    if (Is_On()) {
        std::fprintf(stderr, "\r%s\x1B[K", Fitted(Progress_Text(state), width_ - 1).c_str());
        std::fflush(stderr);
        is_shown_ = true;
    }
}

void Progress_Line::Clear()
{
    if (is_shown_) {
        std::fputs("\r\x1B[K", stderr);
        is_shown_ = false;
    }
}

}  // namespace dicom_mend
