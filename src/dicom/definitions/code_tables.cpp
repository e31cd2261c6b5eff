// Coded concepts: the entry of a code table that fits a name in free text.
#include "frame/c_memory.h"

#include <Lib_DICOM/codes.h>
#include <Lib_DICOM/definitions.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Work_Macro";

constexpr std::size_t Longest_Line = 179;
constexpr std::size_t Longest_Word = 79;

/** One entry of a table. */
struct Entry {
    std::string scheme;
    std::string value;
    std::string meaning;
    int line;
    int score = 0;
};

using Table = std::vector<Entry>;

/** Copies of an entry's codes for a record. */
struct Codes {
    C_Array<char> scheme;
    C_Array<char> value;
    C_Array<char> meaning;
};

Code_Seq*& Last_Coded()
{
    static Code_Seq* last = nullptr;
    return last;
}

std::string To_Upper(std::string_view text)
{
    std::string upper(text);
    for (char& letter : upper) {
        if (letter >= 'a' && letter <= 'z') {
            letter = static_cast<char>(letter - 'a' + 'A');
        }
    }
    return upper;
}

/** Takes what precedes the next blank off a text. */
std::string_view Take_Field(std::string_view& text)
{
    const std::size_t blank = std::min(text.find(' '), text.size());
    const std::string_view field = text.substr(0, blank);
    text.remove_prefix(std::min(blank + 1, text.size()));
    return field;
}

/* ---- tables ---- */

/** Tells whether a name stays below the directory that it is appended to. */
bool Stays_Inside(std::string_view name)
{
    const std::string_view separators = "/\\";
    if (name.empty() || separators.find(name.front()) != std::string_view::npos ||
        name.find(':') != std::string_view::npos) {
        return false;
    }
    while (!name.empty()) {
        const std::size_t end = std::min(name.find_first_of(separators), name.size());
        if (name.substr(0, end) == "..") {
            return false;
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return true;
}

std::filesystem::path To_Path(std::wstring_view text)
{
#if defined(_WIN32)
    return text;
#else
    // From char32_t the path becomes UTF-8; from wchar_t it would follow the process's locale.
    return std::u32string(text.begin(), text.end());
#endif
}

/** The path of a table, empty when there is none. */
std::filesystem::path Table_Path(const char* table)
{
    if (table == nullptr) {
        return {};
    }
    if (!Stays_Inside(table)) {
        Report_Error(hwnd, This_Unit, "Code table %hs is not below the definition directory",
                     table);
        return {};
    }
    const wchar_t* const directory = DICOM_Module_Setup(hwnd, nullptr);
    const C_Array<wchar_t> name(Char_2_Wchar(table));
    if (directory == nullptr || name == nullptr) {
        return {};
    }
    std::filesystem::path path = To_Path(std::wstring(directory) + name.get());
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) ? path : std::filesystem::path();
}

void Add_Entry(Table& entries, std::string_view text, int line)
{
    if (text.ends_with('\r')) {
        text.remove_suffix(1);
    }
    const std::string scheme(Take_Field(text));
    const std::string value(Take_Field(text));
    entries.push_back({scheme, value, std::string(text), line});
    Trace(hwnd, Trace_Step, "-> DICOM_Macro_CodeSequence_Set: table line[%d] -> %hs  %hs  %hs",
          static_cast<int>(entries.size() - 1), scheme.c_str(), value.c_str(),
          entries.back().meaning.c_str());
}

/** The entries of a table; nothing when it cannot be opened. */
std::optional<Table> Read_Table(const char* table)
{
    const std::filesystem::path path = Table_Path(table);
    std::ifstream file;
    if (!path.empty()) {
        file.open(path, std::ios::binary);
    }
    if (!file.is_open()) {
        return std::nullopt;
    }
    Table entries;
    std::array<char, Longest_Line + 1> buffer;
    for (int line = 1; !file.eof(); ++line) {
        file.getline(buffer.data(), buffer.size());
        if (file.bad() || (file.eof() && file.gcount() == 0)) {
            break;
        }
        const std::string_view text = buffer.data();
        const bool is_comment =
            !text.empty() && std::string_view("#*;").find(text.front()) != std::string_view::npos;
        if (file.fail()) {
            // What lies behind is no line of its own: it must not be taken for an entry.
            file.clear();
            file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
            if (!is_comment) {
                Report_Warning(hwnd,
                               "    \361\005WARNING:\002 Line \001%d\002 of table \001%hs\002 has "
                               "more than %d characters and is cut",
                               line, table, static_cast<int>(Longest_Line));
            }
        }
        if (!is_comment) {
            Add_Entry(entries, text, line);
        }
    }
    return file.bad() ? std::nullopt : std::optional(std::move(entries));
}

/* ---- scores ---- */

/**
 * The score of the longest beginning of a word, of two characters at least, that stands in a name;
 * where it stands first decides about the extra for the beginning of a word.
 *
 * One pass in the manner of Knuth, Morris and Pratt: names may be of any length.
 */
int Score_Word(std::string_view word, std::string_view name)
{
    constexpr std::size_t Shortest = 2;
    // border[k]: length of the longest beginning of the word that also ends its first k + 1 letters
    std::array<std::size_t, Longest_Word> border{};
    for (std::size_t i = 1, k = 0; i < word.size(); ++i) {
        while (k > 0 && word[i] != word[k]) {
            k = border[k - 1];
        }
        k += word[i] == word[k] ? 1U : 0U;
        border[i] = k;
    }
    std::size_t best = 0;
    std::size_t start = 0;
    for (std::size_t i = 0, k = 0; i < name.size() && best < word.size(); ++i) {
        while (k > 0 && name[i] != word[k]) {
            k = border[k - 1];
        }
        k += name[i] == word[k] ? 1U : 0U;
        if (k > best) {
            best = k;
            start = i + 1 - k;
        }
    }
    if (best < Shortest) {
        return 0;
    }
    const bool begins_word = start == 0 || name[start - 1] == ' ';
    return 5 * static_cast<int>(best) + (begins_word ? 10 : 0);
}

std::vector<std::string_view> Split_Words(std::string_view text)
{
    constexpr std::string_view Separators = " ^\t";
    std::vector<std::string_view> words;
    for (std::size_t at = text.find_first_not_of(Separators); at != std::string_view::npos;
         at = text.find_first_not_of(Separators, at)) {
        const std::size_t end = std::min(text.find_first_of(Separators, at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

void Trace_Words(std::span<const std::string_view> words)
{
    Trace(hwnd, Trace_Step, "-> DICOM_Macro_CodeSequence_Set: count_b=%d",
          static_cast<int>(words.size()));
    for (int i = 0; const std::string_view word : words) {
        Trace(hwnd, Trace_Step, "-> DICOM_Macro_CodeSequence_Set: [%d] = %.*hs", i++,
              static_cast<int>(word.size()), word.data());
    }
}

int Threshold_Of(std::size_t length)
{
    constexpr std::array<int, 10> Thresholds = {0, 10, 20, 25, 25, 30, 30, 35, 35, 40};
    return Thresholds[std::min(length, Thresholds.size() - 1)];
}

/** Scores one entry for a name in capitals. False after a message on a word that is too long. */
bool Score_Entry(Entry& entry, std::string_view name, const char* table)
{
    const std::string meaning = To_Upper(entry.meaning);
    const std::vector<std::string_view> words = Split_Words(meaning);
    Trace_Words(words);
    int score = 0;
    for (const std::string_view word : words) {
        if (word.size() > Longest_Word) {
            Report_Error(hwnd, This_Unit,
                         "Word of %d characters in line %d of table %hs, at most %d are taken",
                         static_cast<int>(word.size()), entry.line, table,
                         static_cast<int>(Longest_Word));
            return false;
        }
        score += Score_Word(word, name);
    }
    entry.score = score >= Threshold_Of(name.size()) ? score : 0;
    return true;
}

bool Score_Table(Table& entries, const char* name, const char* table)
{
    const std::string capitals = To_Upper(name);
    return std::all_of(entries.begin(), entries.end(),
                       [&](Entry& entry) { return Score_Entry(entry, capitals, table); });
}

/* ---- results ---- */

/** Copies one code; an empty one is null. False after the memory message. */
bool Copy_Code(C_Array<char>& target, const std::string& text, const char* variable)
{
    if (!text.empty()) {
        target = C_Strdup(hwnd, This_Unit, text, variable);
    }
    return text.empty() || target != nullptr;
}

/** Gives a record the codes of an entry in place of its own; false without memory. */
bool Take_Codes(Code_Seq& code, const Entry& entry)
{
    Codes made;
    if (!Copy_Code(made.scheme, entry.scheme, "code->coding_scheme") ||
        !Copy_Code(made.value, entry.value, "code->code_value") ||
        !Copy_Code(made.meaning, entry.meaning, "code->code_meaning")) {
        return false;
    }
    std::free(code.coding_scheme);
    std::free(code.code_value);
    std::free(code.code_meaning);
    code.coding_scheme = made.scheme.release();
    code.code_value = made.value.release();
    code.code_meaning = made.meaning.release();
    return true;
}

void Warn_Of_Choice(std::span<const Entry* const> best, const char* name, const char* table)
{
    Report_Warning(hwnd,
                   "    \361\005WARNING:\002 Find to many matchs (\001%d\002) for \001%hs\002 in "
                   "table \001%hs",
                   static_cast<int>(best.size()), name, table);
    const char* label = "We used:";
    for (const Entry* entry : best) {
        Report_Warning(hwnd, "\t\t\t   %hs \001%hs\002 = \001%hs", label, entry->value.c_str(),
                       entry->meaning.c_str());
        label = "And not:  ";
    }
}

/** The entries with the best score, none when no score is above zero. */
std::vector<const Entry*> Best_Entries(const Table& entries)
{
    std::vector<const Entry*> best;
    int best_score = 1;
    for (const Entry& entry : entries) {
        if (entry.score > best_score) {
            best.clear();
            best_score = entry.score;
        }
        if (entry.score == best_score) {
            best.push_back(&entry);
        }
    }
    return best;
}

/** Codes a record; `trace` gets the reason. */
int Set_Codes(Code_Seq* code, const char* table, Trace_Scope& trace)
{
    if (code->original_name == nullptr) {
        return trace.Leave(0, "! code->original_name");
    }
    if (To_Upper(code->original_name) == "TC-99M") {
        const Entry technetium = {"99SDM", "C-163A8", "TC-99m", 0};
        const bool coded = Take_Codes(*code, technetium);
        Last_Coded() = coded ? code : nullptr;
        return trace.Leave(coded ? 1 : 0, "Tc-99m");
    }
    std::optional<Table> entries = Read_Table(table);
    if (!entries) {
        return trace.Leave(0, "! f_table");
    }
    if (!Score_Table(*entries, code->original_name, table)) {
        return trace.Leave(0, "! word");
    }
    const std::vector<const Entry*> best = Best_Entries(*entries);
    if (best.empty()) {
        return trace.Leave(0, "! match_max");
    }
    if (best.size() > 1) {
        Warn_Of_Choice(best, code->original_name, table);
    }
    if (!Take_Codes(*code, *best.front())) {
        return trace.Leave(0, "! _strdup");
    }
    Last_Coded() = code;
    return trace.Leave(1, "done");
}

/** Frees an array of matches; those that were not made are null. */
struct Free_Matches {
    int count;
    void operator()(Code_Match* matches) const
    {
        DICOM_Macro_CodeSequence_Free(&matches, count);
    }
};

/** Hands scored entries over to the client; -1 without memory. */
int Make_Matches(std::span<const Entry* const> found, Code_Match** matches)
{
    const int count = static_cast<int>(found.size());
    std::unique_ptr<Code_Match[], Free_Matches> made(
        C_Calloc<Code_Match>(hwnd, This_Unit, found.size(), "matches").release(),
        Free_Matches{count});
    if (made == nullptr) {
        return -1;
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!Take_Codes(made[i].code, *found[i])) {
            return -1;
        }
        made[i].score = found[i]->score;
    }
    *matches = made.release();
    return count;
}

}  // namespace

int DICOM_Macro_CodeSequence_Set(Code_Seq* code, const char* table)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Oris_DICOM_Get_CodeSequence(str:%hs, table:%hs)",
                      code->original_name, table);
    Last_Coded() = nullptr;
    return Guarded(hwnd, This_Unit, 0, [&] { return Set_Codes(code, table, trace); });
}

Code_Seq* DICOM_Macro_Code_Sequence_Get(void)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Macro_Code_Sequence_Get()");
    return Last_Coded();
}

void DICOM_Macro_Code_Sequence_Reset(void)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Macro_Code_Sequence_Reset()");
    Last_Coded() = nullptr;
}

int DICOM_Macro_CodeSequence_Rank(const char* name, const char* table, Code_Match** matches)
{
    Trace_Scope trace(hwnd, Trace_Entry,
                      "Lib_DICOM: DICOM_Macro_CodeSequence_Rank(str:%hs, table:%hs)", name, table);
    *matches = nullptr;
    return Guarded(hwnd, This_Unit, -1, [&] {
        std::optional<Table> entries = name != nullptr ? Read_Table(table) : std::nullopt;
        if (!entries || !Score_Table(*entries, name, table)) {
            return trace.Leave(-1, "! f_table");
        }
        std::vector<const Entry*> found;
        for (const Entry& entry : *entries) {
            if (entry.score > 0) {
                found.push_back(&entry);
            }
        }
        std::stable_sort(found.begin(), found.end(), [](const Entry* first, const Entry* second) {
            return first->score > second->score;
        });
        return found.empty() ? 0 : Make_Matches(found, matches);
    });
}

void DICOM_Macro_CodeSequence_Free(Code_Match** matches, int count)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Macro_CodeSequence_Free(%d)",
                            count);
    for (int i = 0; *matches != nullptr && i < count; ++i) {
        std::free((*matches)[i].code.coding_scheme);
        std::free((*matches)[i].code.code_value);
        std::free((*matches)[i].code.code_meaning);
    }
    std::free(*matches);
    *matches = nullptr;
}
