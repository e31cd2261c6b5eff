#include "attributes/repair/value_engine.h"

#include <algorithm>
#include <bitset>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>

namespace lib_dicom {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view Blanks_And_NULs = " \0"sv;

/** Text and its length for "%.*hs": values are not terminated and may be of any length. */
int Shown(std::string_view text)
{
    return static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX));
}

std::string_view Trim_End(std::string_view text, std::string_view pads)
{
    return text.substr(0, text.find_last_not_of(pads) + 1);
}

std::string_view Trim_Start(std::string_view text, char pad)
{
    return text.substr(std::min(text.find_first_not_of(pad), text.size()));
}

constexpr char Escape = '\033';

/** Length of the escape sequence at the front; tells whether two-byte characters follow it. */
std::size_t Escape_Size(std::string_view text, bool& two_bytes)
{
    if (text.size() > 1 && text[1] == '$') {
        const bool names_set = text.size() > 2 && (text[2] == '(' || text[2] == ')');
        // A set in G1 has the high bits set, so that its bytes are no backslashes.
        two_bytes = !names_set || text[2] == '(';
        return names_set ? 4 : 3;
    }
    two_bytes = false;
    return 3;
}

/**
 * Place of the backslash that ends the value at the front. In the two-byte character sets of
 * ISO 2022 the same byte is half of a letter (PS3.5 section 6.1.2.5); each value starts anew.
 */
std::size_t Find_Separator(std::string_view text)
{
    const std::size_t first = text.find('\\');
    if (DICOM_Flag_Current_Standard == 0 || first == text.npos ||
        text.substr(0, first).find(Escape) == text.npos) {
        return first;
    }
    bool two_bytes = false;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == Escape) {
            at += Escape_Size(text.substr(at), two_bytes);
        } else if (two_bytes) {
            at += 2;
        } else if (text[at] == '\\') {
            return at;
        } else {
            ++at;
        }
    }
    return text.npos;
}

bool Is_Continuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

bool Is_UTF_8(std::string_view text)
{
    while (!text.empty()) {
        const auto first = static_cast<unsigned char>(text[0]);
        const std::size_t size = first < 0x80                    ? 1
                                 : first >= 0xC2 && first < 0xE0 ? 2
                                 : first >= 0xE0 && first < 0xF0 ? 3
                                 : first >= 0xF0 && first < 0xF5 ? 4
                                                                 : 0;
        if (size == 0 || size > text.size() ||
            !std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(size),
                         Is_Continuation)) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

/**
 * Bytes of a text that fit into a number of characters. The current standard counts characters,
 * not bytes. Where the character set cannot be told nothing is cut: half a letter is no repair.
 */
std::size_t Fitting_Size(std::string_view text, std::size_t max)
{
    const bool is_plain = std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x80 && c != Escape;
    });
    if (is_plain || DICOM_Flag_Current_Standard == 0) {
        return std::min(max, text.size());
    }
    if (!Is_UTF_8(text)) {
        return text.size();
    }
    std::size_t size = 0;
    for (std::size_t letters = 0; size < text.size(); ++size) {
        letters += Is_Continuation(text[size]) ? 0U : 1U;
        if (letters > max) {
            break;
        }
    }
    return size;
}

/** Calls `visit` with each of the values between backslashes and returns how many there are. */
template <class Visit>
std::size_t For_Each_Value(std::string_view text, Visit&& visit)
{
    std::size_t count = 1;
    for (std::size_t end = Find_Separator(text); end != text.npos;
         end = Find_Separator(text), ++count) {
        visit(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    visit(text);
    return count;
}

/** What std::from_chars, which is free of the process's locale, does not skip by itself. */
std::string_view After_Blanks_And_Plus(std::string_view text)
{
    text = Trim_Start(text, ' ');
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    return text;
}

bool Is_In_Integer_Range(std::string_view text)
{
    text = After_Blanks_And_Plus(text);
    int number = 0;
    return std::from_chars(text.data(), text.data() + text.size(), number).ec !=
           std::errc::result_out_of_range;
}

/** The number at the start of a text, cut to an integer; none for "", "NaN" and what is too big. */
std::optional<int> To_Integer(std::string_view text)
{
    text = After_Blanks_And_Plus(text);
    double number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc()) {
        return std::nullopt;
    }
    number = std::trunc(number);
    const bool fits = number >= INT_MIN && number <= INT_MAX;
    return fits ? std::optional(static_cast<int>(number)) : std::nullopt;
}

/** Compares a text with a form in which each '0' stands for any digit. */
bool Has_Form(std::string_view text, std::string_view form)
{
    return std::equal(text.begin(), text.end(), form.begin(), form.end(), [](char c, char wanted) {
        return wanted == '0' ? c >= '0' && c <= '9' : c == wanted;
    });
}

int Number(std::string_view digits)
{
    int number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

/** Two digits stand for the years 1960 to 2059. */
int Year_Of_Two_Digits(int number)
{
    const int year = number + 1900;
    return year < 1960 ? year + 100 : year;
}

/**
 * A date of an old syntax as yyyymmdd. Empty when it has none of the old forms: digits are read,
 * never guessed, because a wrong date in a patient's record is worse than none.
 */
std::string Rewritten_Date(std::string_view date)
{
    if (Has_Form(date, "0000.00.00")) {
        return std::string(date.substr(0, 4)).append(date.substr(5, 2)).append(date.substr(8, 2));
    }
    if (!Has_Form(date, "000000")) {
        return "";
    }
    char text[16];
    // Raising the month is deliberate: the writers of this form counted months from 0.
    const int length = std::snprintf(text, sizeof text, "%04d%02d%02d",
                                     Year_Of_Two_Digits(Number(date.substr(0, 2))),
                                     Number(date.substr(2, 2)) + 1, Number(date.substr(4, 2)));
    return length == 8 ? text : "";
}

/** A year that was printed as "19" and the years since 1900, as in "19100.01.1". */
bool Has_Year_2000_Fault(std::string_view date)
{
    return date.size() == 10 && date.starts_with("19") && date[5] == '.';
}

/** The eight bytes of three numbers; a month of three digits pushes the last one out. */
std::string Date_Of_Numbers(int year, int month, int day)
{
    char text[40];
    std::snprintf(text, sizeof text, "%04d%02d%02d", year, month, day);
    return std::string(text, 8);
}

/** A date of six or ten bytes as yyyymmdd. What is no number where one should stand counts as 0. */
std::string Date_By_Places(std::string_view date)
{
    if (date.size() == 10) {
        return Date_Of_Numbers(Number(date.substr(0, 4)), Number(date.substr(5, 2)),
                               Number(date.substr(8, 2)));
    }
    // Raising the month is kept on purpose.
    return Date_Of_Numbers(Year_Of_Two_Digits(Number(date.substr(0, 2))),
                           Number(date.substr(2, 2)) + 1, Number(date.substr(4, 2)));
}

class Value_Engine {
public:
    Value_Engine(HWND handle, const DICOM_List& record, const VR_Rule& rule,
                 const Value_Policy& policy);

    Value_Findings Run();

private:
    std::size_t Apply_Rule();
    std::size_t Binary();
    std::size_t Age();
    std::size_t Date();
    std::size_t Text();
    std::size_t Text_Pass();
    std::size_t Multiple();
    std::size_t Single();

    void Fix_Padding();
    bool Fix_Trailing_Padding();
    void Take_Off_Even_Pad();
    void Check_Set();
    void Check_Last_Backslash();
    void Rewrite_Time();
    void Remove_Time_Separators();
    void Replace_Unprintable();
    bool Convert_Decimals();
    bool Check_Integers();
    bool Out_Of_Range(std::string_view text);
    bool Repair_Date(std::string_view date, std::string& result);
    bool Whole_Date();
    void Warn_Of_Year_2000(std::string_view date);
    void Note_Old_Syntax(std::string_view old, std::string_view made) const;
    std::string_view Repair_Text(std::string_view text);
    std::string_view Trim_Value(std::string_view text, std::string_view pads);
    std::string_view Strip_Value(std::string_view text);
    std::size_t Kept_Size(std::string_view text) const;
    bool Needs_Pad(std::size_t size) const;
    std::size_t Invalid_Size(const char* text, std::size_t size);
    void Note_Padding(std::string_view text);

    /** Rebuilds the value from what `repair` appends for each part; returns the number of parts. */
    template <class Repair>
    std::size_t Rebuild(Repair&& repair)
    {
        std::string rebuilt;
        rebuilt.reserve(value_.size());
        bool first = true;
        const std::size_t count = For_Each_Value(value_, [&](std::string_view part) {
            rebuilt.append(first ? 0 : 1, '\\');
            first = false;
            repair(part, rebuilt);
        });
        value_ = std::move(rebuilt);
        return count;
    }
    template <class... Args>
    void Note(const char* text, Args... args) const
    {
        Report_Note(handle_, text, note_label_.c_str(), args...);
    }
    template <class... Args>
    void Warn(const char* text, Args... args) const
    {
        Report_Warning(handle_, text, findings_.warning_label.c_str(), args...);
    }
    void Mark(unsigned short mark)
    {
        findings_.marks = static_cast<unsigned short>(findings_.marks | mark);
    }
    std::string Label(const char* format) const;

    HWND handle_;
    const DICOM_List& record_;
    const VR_Rule& rule_;
    const Value_Policy& policy_;
    bool current_;
    std::string_view original_;
    std::string value_;
    std::string note_label_;
    Value_Findings findings_;
    // These two are noted once a value, however many of its parts have them.
    bool padding_noted_ = false;
    bool backslash_noted_ = false;
};

Value_Engine::Value_Engine(HWND handle, const DICOM_List& record, const VR_Rule& rule,
                           const Value_Policy& policy)
    : handle_(handle), record_(record), rule_(rule), policy_(policy),
      current_(DICOM_Flag_Current_Standard != 0),
      original_(reinterpret_cast<const char*>(record.data),
                static_cast<std::size_t>(std::max(record.size, 0))),
      note_label_(Label(policy.note_label))
{
    findings_.warning_label = Label(policy.warning_label);
}

std::string Value_Engine::Label(const char* format) const
{
    char text[64];
    std::snprintf(text, sizeof text, format, record_.group, record_.element, rule_.vr >> 8,
                  rule_.vr & 0xFF);
    return text;
}

Value_Findings Value_Engine::Run()
{
    const bool fixed = rule_.kind == VR_Kind::Binary || rule_.kind == VR_Kind::Opaque;
    // Pixel data may be large: a value that cannot change is not copied.
    const bool copied = !fixed || Needs_Pad(original_.size());
    if (copied) {
        value_ = original_;
    }
    const std::size_t count = Apply_Rule();
    if (copied && count != 0 && Needs_Pad(value_.size())) {
        value_ += rule_.pad;
    }
    findings_.count = static_cast<int>(std::min<std::size_t>(count, INT_MAX));
    findings_.changed = copied && value_ != original_;
    if (findings_.changed || (current_ && count == 0)) {
        Mark(DICOM_Mark_Changed);
    }
    if (findings_.changed) {
        findings_.value = std::move(value_);
    }
    return std::move(findings_);
}

/** PS3.5 section 7.1.1 asks for an even length of every value, the fixed rules of texts only. */
bool Value_Engine::Needs_Pad(std::size_t size) const
{
    const bool is_text = rule_.kind == VR_Kind::Text_Multiple || rule_.kind == VR_Kind::Text_Single;
    return policy_.pads_to_even && (is_text || current_) && size % 2 != 0 && size < INT_MAX;
}

std::size_t Value_Engine::Apply_Rule()
{
    switch (rule_.kind) {
    case VR_Kind::Binary:
        return Binary();
    case VR_Kind::Age:
        return Age();
    case VR_Kind::Date:
        return Date();
    case VR_Kind::Text_Multiple:
    case VR_Kind::Text_Single:
        return Text();
    case VR_Kind::Opaque:
        break;
    }
    return 1;
}

std::size_t Value_Engine::Invalid_Size(const char* text, std::size_t size)
{
    Warn("%hs Invalid data! Expecting %hs but got %d bytes", text, static_cast<int>(size));
    Mark(DICOM_Mark_Invalid);
    return 0;
}

std::size_t Value_Engine::Binary()
{
    if (original_.size() % rule_.width != 0) {
        return Invalid_Size(rule_.expected, original_.size());
    }
    return rule_.counts ? original_.size() / rule_.width : 1;
}

std::size_t Value_Engine::Age()
{
    Take_Off_Even_Pad();
    Check_Set();
    if (value_.size() == 2 || value_.size() == 3) {
        value_.insert(0, 4 - value_.size(), '0');
    }
    // By the current standard an age that was padding only is an empty value, which is allowed.
    const bool is_absent = current_ && value_.empty();
    if (value_.size() != 4 && !is_absent) {
        Invalid_Size("4 bytes", value_.size());
    }
    return 1;
}

std::size_t Value_Engine::Date()
{
    Take_Off_Even_Pad();
    Check_Set();
    if (!current_) {
        return Whole_Date() ? For_Each_Value(value_, [](std::string_view) {}) : 0;
    }
    Check_Last_Backslash();
    bool valid = true;
    const std::size_t count = Rebuild([&](std::string_view date, std::string& result) {
        valid = valid && (date.empty() || Repair_Date(date, result));
    });
    return valid ? count : 0;
}

/** Appends a date in today's syntax; false after a warning when it has none of the known ones. */
bool Value_Engine::Repair_Date(std::string_view date, std::string& result)
{
    if (date.size() == 8) {
        result += date;
        return true;
    }
    if (Has_Year_2000_Fault(date)) {
        Warn_Of_Year_2000(date);
        return false;
    }
    const std::string rewritten = Rewritten_Date(date);
    if (rewritten.empty()) {
        Invalid_Size("6, 8 or 10 bytes", date.size());
        return false;
    }
    Note_Old_Syntax(date, rewritten);
    result += rewritten;
    return true;
}

/** Looks at the length of the whole value and at nothing else; false when it is of no use. */
bool Value_Engine::Whole_Date()
{
    const std::size_t size = value_.size();
    if (size != 6 && size != 8 && size != 10) {
        Invalid_Size("6, 8 or 10 bytes", size);
        return false;
    }
    if (Has_Year_2000_Fault(value_)) {
        // The value stays as it is: a part of a date is better than none.
        Warn_Of_Year_2000(value_);
    } else if (size != 8) {
        std::string old = std::exchange(value_, Date_By_Places(value_));
        Note_Old_Syntax(old, value_);
    }
    return true;
}

void Value_Engine::Warn_Of_Year_2000(std::string_view date)
{
    char read[16];
    std::snprintf(read, sizeof read, "%04d%.2s%.1s", 1900 + Number(date.substr(2, 3)),
                  date.data() + 6, date.data() + 9);
    Warn("%hs Y2K bug! \001%.*hs\002 = \001%7.7hs?\002 (Rejected since last digit of day is "
         "lost!)",
         Shown(date), date.data(), static_cast<const char*>(read));
    Mark(DICOM_Mark_Invalid);
}

void Value_Engine::Note_Old_Syntax(std::string_view old, std::string_view made) const
{
    Note("%hs Old syntax! \001%.*hs\002 changed to \001%.*hs", Shown(old), old.data(), Shown(made),
         made.data());
}

/**
 * The repairs of a text. One repair may uncover another: a cut may leave blanks at the end, blanks
 * may hide a backslash. By the current standard a mended value is one that needs no repair, so the
 * passes go on until one takes nothing off. Every pass but the last shortens the value, and all
 * that a run of characters calls for is done in one, so that their number stays small.
 */
std::size_t Value_Engine::Text()
{
    if (rule_.repair == VR_Repair::Integer && value_.find('.') != value_.npos &&
        !Convert_Decimals()) {
        return 0;
    }
    std::size_t count = 0;
    std::size_t size = 0;
    do {
        size = value_.size();
        count = Text_Pass();
    } while (current_ && count != 0 && value_.size() != size);
    return count;
}

std::size_t Value_Engine::Text_Pass()
{
    Fix_Padding();
    if (rule_.repair == VR_Repair::Time && current_) {
        // Before the set check, which would take the colons of the old syntax for mere dirt.
        Rewrite_Time();
    }
    Check_Set();
    if (rule_.repair == VR_Repair::Integer && !Check_Integers()) {
        return 0;
    }
    const std::size_t count = rule_.kind == VR_Kind::Text_Multiple ? Multiple() : Single();
    if (rule_.repair == VR_Repair::Printable) {
        Replace_Unprintable();
    } else if (rule_.repair == VR_Repair::Time && !current_) {
        Remove_Time_Separators();
    }
    return count;
}

std::size_t Value_Engine::Multiple()
{
    Trace(handle_, Trace_Structure, policy_.multiple_trace, record_.group, record_.element);
    if (value_.empty()) {
        return 1;
    }
    Check_Last_Backslash();
    return Rebuild(
        [this](std::string_view text, std::string& result) { result += Repair_Text(text); });
}

/** One value of several, no longer than allowed and without the blanks around it. */
std::string_view Value_Engine::Repair_Text(std::string_view text)
{
    // The fixed rules measure a value with its blanks; by the current standard they are no part of
    // it, and must not cost it its last characters.
    text = current_ ? Strip_Value(text) : text;
    if (Kept_Size(text) < text.size()) {
        const std::string_view kept = text.substr(0, Kept_Size(text));
        const std::string_view cut = text.substr(kept.size());
        Warn("%hs String too long! (\001%d\002/vs/\001%d max\002) Truncated to "
             "\"\001%.*hs\002\"(\004%.*hs\002)",
             Shown(text), rule_.max_length, Shown(kept), kept.data(), Shown(cut), cut.data());
        text = kept;
    }
    return Strip_Value(text);
}

/** What is left of a text that may be too long. An application entity knows no letters but ASCII. */
std::size_t Value_Engine::Kept_Size(std::string_view text) const
{
    const auto max = static_cast<std::size_t>(rule_.max_length);
    if (max == 0 || text.size() <= max) {
        return text.size();
    }
    return rule_.repair == VR_Repair::Printable ? max : Fitting_Size(text, max);
}

std::size_t Value_Engine::Single()
{
    if (Kept_Size(value_) < value_.size()) {
        const char* const text = value_.data();
        const std::size_t kept = Kept_Size(value_);
        Warn("%hs String too long! (\001%d\002/vs/\001%d max\002) Truncated to \"\001%20.20hs "
             "\002...\001 %20.20hs\002\"(\004%.*hs\002) ",
             Shown(value_), rule_.max_length, text, text + kept - 20,
             Shown(std::string_view(value_).substr(kept)), text + kept);
        value_.resize(kept);
    }
    return 1;
}

void Value_Engine::Fix_Padding()
{
    const bool is_done = rule_.padding != VR_Padding::Kept && Fix_Trailing_Padding();
    if (!is_done && rule_.padding == VR_Padding::Around) {
        value_.erase(0, value_.size() - Trim_Start(value_, ' ').size());
    }
}

/** The fixed rules take off one wrong character and then end, which a result of true says. */
bool Value_Engine::Fix_Trailing_Padding()
{
    const char pad = rule_.pad;
    const char wrong = pad == ' ' ? '\0' : ' ';
    if (current_) {
        const std::size_t size = Trim_End(value_, Blanks_And_NULs).size();
        if (value_.find(wrong, size) != value_.npos) {
            Note_Padding(value_);
        }
        value_.resize(size);
        return false;
    }
    value_.resize(Trim_End(value_, std::string_view(&pad, 1)).size());
    if (!value_.ends_with(wrong)) {
        return false;
    }
    Note_Padding(value_);
    value_.pop_back();
    return true;
}

void Value_Engine::Note_Padding(std::string_view text)
{
    if (padding_noted_) {
        return;
    }
    padding_noted_ = true;
    Note("%hs invalid padding char used in \"\001%.*hs\002\" (%hs)", Shown(text), text.data(),
         rule_.pad == '\0' ? "SPACE instead of NULL" : "NULL instead of SPACE");
}

/** Takes off pads at the end of a value; a NUL among them is no padding of text. */
std::string_view Value_Engine::Trim_Value(std::string_view text, std::string_view pads)
{
    const std::string_view trimmed = Trim_End(text, pads);
    if (text.find('\0', trimmed.size()) != text.npos) {
        Note_Padding(text);
    }
    return trimmed;
}

std::string_view Value_Engine::Strip_Value(std::string_view text)
{
    return Trim_Start(current_ ? Trim_Value(text, Blanks_And_NULs) : Trim_End(text, " "), ' ');
}

/**
 * AS and DA hold no blank, so the one that makes an odd length even by the current standard must be
 * taken off before the value is judged. Any other blank is left to the set check.
 */
void Value_Engine::Take_Off_Even_Pad()
{
    const bool is_padded = current_ && value_.size() % 2 == 0 && value_.ends_with(' ') &&
                           Trim_End(value_, Blanks_And_NULs).size() == value_.size() - 1;
    if (is_padded) {
        value_.pop_back();
    }
}

void Value_Engine::Check_Set()
{
    if (rule_.set == nullptr) {
        return;
    }
    std::bitset<UCHAR_MAX + 1> allowed;
    for (const char c : std::string_view(rule_.set)) {
        allowed.set(static_cast<unsigned char>(c));
    }
    const auto is_foreign = [&](char c) {
        return !allowed[static_cast<unsigned char>(c)];
    };
    const auto count = std::count_if(value_.begin(), value_.end(), is_foreign);
    if (count == 0) {
        return;
    }
    Note("%hs %d char in \"\001%.*hs\002\" not from set \"\001%hs\002\"", static_cast<int>(count),
         Shown(value_), value_.data(), rule_.set);
    std::erase_if(value_, is_foreign);
}

/** A backslash at the end announces a value that is not there. Private groups may mean it. */
void Value_Engine::Check_Last_Backslash()
{
    if (record_.group % 2 != 0 || !value_.ends_with('\\')) {
        return;
    }
    if (!backslash_noted_) {
        backslash_noted_ = true;
        Note(policy_.last_backslash);
    }
    value_.resize(current_ ? Trim_End(value_, "\\").size() : value_.size() - 1);
}

/** Turns the old hh:mm:ss and hh.mm.ss into hhmmss. */
void Value_Engine::Rewrite_Time()
{
    constexpr std::string_view separators = ":.";
    if (value_.size() < 3 || separators.find(value_[2]) == separators.npos) {
        return;
    }
    const std::string old = value_;
    for (const std::size_t pos : {std::size_t{2}, std::size_t{4}}) {
        const std::size_t start = std::min(pos, value_.size());
        const std::size_t end = value_.find_first_not_of(separators, start);
        value_.erase(start, std::min(end, value_.size()) - start);
    }
    Note_Old_Syntax(old, value_);
}

/** Takes the two separators out of hh:mm:ss or hh.mm.ss, of the whole value like the steps before. */
void Value_Engine::Remove_Time_Separators()
{
    const auto is_separator = [this](std::size_t at) {
        return at < value_.size() && (value_[at] == ':' || value_[at] == '.');
    };
    if (!is_separator(2)) {
        return;
    }
    const std::string old = value_;
    if (is_separator(5)) {
        value_.erase(5, 1);
    }
    value_.erase(2, 1);
    Note_Old_Syntax(old, value_);
}

void Value_Engine::Replace_Unprintable()
{
    const auto is_unprintable = [](char c) {
        return c < ' ' || c > '~';
    };
    const auto count = std::count_if(value_.begin(), value_.end(), is_unprintable);
    if (count != 0) {
        Note("%hs %d Invalid character in data", static_cast<int>(count));
        std::replace_if(value_.begin(), value_.end(), is_unprintable, '_');
    }
}

/**
 * Turns the decimals of an IS value into integers; false after a warning. No number means no value:
 * a text without one is not made a 0.
 */
bool Value_Engine::Convert_Decimals()
{
    if (!policy_.converts_decimals) {
        Warn("%hs Invalid data! Expecting VR=IS but got VR=DS");
        return false;
    }
    const std::string old = value_;
    std::optional<std::string> outside;
    Rebuild([&](std::string_view text, std::string& result) {
        const std::optional<int> number = To_Integer(text);
        if (number) {
            result += std::to_string(*number);
        } else if (!outside && !Trim_End(text, Blanks_And_NULs).empty()) {
            outside = text;
        }
    });
    if (outside) {
        value_ = old;
        return Out_Of_Range(*outside);
    }
    Warn("%hs Invalid data! Converted from \"\001%.*hs\002\" to \"\001%.*hs\002\"", Shown(old),
         old.data(), Shown(value_), value_.data());
    return true;
}

bool Value_Engine::Check_Integers()
{
    Trace(handle_, Trace_Structure, policy_.integer_trace, record_.group, record_.element);
    std::optional<std::string_view> outside;
    For_Each_Value(value_, [&](std::string_view text) {
        if (!outside && !Is_In_Integer_Range(text)) {
            outside = text;
        }
    });
    return !outside || Out_Of_Range(*outside);
}

bool Value_Engine::Out_Of_Range(std::string_view text)
{
    Warn("%hs Value out of range (\001%.*hs\002 \\vs\\ -2**31 to 2**31 - 1)", Shown(text),
         text.data());
    Mark(DICOM_Mark_Invalid);
    return false;
}

}  // namespace

Value_Findings Examine_Value(HWND handle, const DICOM_List& record, const VR_Rule& rule,
                             const Value_Policy& policy)
{
    return Value_Engine(handle, record, rule, policy).Run();
}

int Swab_Value(DICOM_List& record, Trace_Scope& trace)
{
    if (record.data == nullptr) {
        return trace.Leave(1, "! tag->data");
    }
    if ((record.byte_order & DICOM_Order_Big_Endian) == 0) {
        return trace.Leave(1, "LITTLE_ENDIAN");
    }
    record.byte_order =
        static_cast<unsigned char>(record.byte_order & ~unsigned{DICOM_Order_Big_Endian});
    const int width = Swab_Width(Effective_VR(record));
    if (width > 2 && record.size % width != 0) {
        return trace.Leave(0, width == 8 ? "tag->size % 8" : "tag->size % 4");
    }
    for (int pos = 0; width > 1 && pos <= record.size - width; pos += width) {
        std::reverse(record.data + pos, record.data + pos + width);
    }
    return trace.Leave(1, "");
}

}  // namespace lib_dicom
