#include "definitions/code_table.h"

#include "definitions/definitions.h"

#include <Lib_DICOM/definitions.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <utility>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Work_Macro";

constexpr std::size_t Longest_Line = 179;
constexpr std::size_t Longest_Word = 79;

/** Takes what precedes the next blank off a text. */
std::string_view Take_Field(std::string_view& text)
{
    const std::size_t blank = std::min(text.find(' '), text.size());
    const std::string_view field = text.substr(0, blank);
    text.remove_prefix(std::min(blank + 1, text.size()));
    return field;
}

/** Takes the next line off a text. */
std::string_view Take_Line(std::string_view& text)
{
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

bool Is_Comment(std::string_view line)
{
    return !line.empty() && std::string_view("#*;").find(line.front()) != line.npos;
}

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

}  // namespace

Code_Column::~Code_Column()
{
    for (char* const text : std::span(texts_, count_)) {
        std::free(text);
    }
    std::free(texts_);
}

bool Code_Column::Add(std::string_view text)
{
    // Room for a power of two keeps the cost of growing line by line linear.
    if (std::has_single_bit(count_) || count_ == 0) {
        if (!C_Resize(hwnd, This_Unit, texts_, std::max<std::size_t>(2 * count_, 1),
                      names_.array)) {
            return false;
        }
    }
    C_Array<char> copy = nullptr;
    if (!text.empty()) {
        copy = C_Strdup(hwnd, This_Unit, text, names_.text);
        if (copy == nullptr) {
            return false;
        }
    }
    texts_[count_++] = copy.release();
    return true;
}

char* Code_Column::Take(std::size_t line)
{
    return std::exchange(texts_[line], nullptr);
}

bool Code_Table::Read(const char* name)
{
    if (name == nullptr) {
        return false;
    }
    if (!Stays_Inside(name)) {
        Report_Error(hwnd, This_Unit, "Code table %hs is not below the definition directory", name);
        return false;
    }
    name_ = name;
    Definition_File file;
    std::string why;
    return DICOM_Module_Setup(hwnd, nullptr) != nullptr &&
           Get_Definitions().files.Read(name_, SIZE_MAX, file, why) && Read_Lines(file.text);
}

bool Code_Table::Read_Lines(std::string_view text)
{
    for (int line = 1; !text.empty(); ++line) {
        std::string_view fields = Take_Line(text);
        if (Is_Comment(fields)) {
            continue;
        }
        if (fields.size() > Longest_Line) {
            Report_Warning(hwnd,
                           "    \361\005WARNING:\002 Line \001%d\002 of table \001%hs\002 has "
                           "more than %d characters and is cut",
                           line, name_.c_str(), static_cast<int>(Longest_Line));
            fields = fields.substr(0, Longest_Line);
        }
        if (!Add_Entry(fields.substr(0, fields.find('\0')), line)) {
            return false;
        }
    }
    return true;
}

bool Code_Table::Add_Entry(std::string_view text, int line)
{
    if (text.ends_with('\r')) {
        text.remove_suffix(1);
    }
    const std::string_view scheme_text = Take_Field(text);
    const std::string_view value_text = Take_Field(text);
    if (!scheme.Add(scheme_text) || !value.Add(value_text) || !meaning.Add(text)) {
        return false;
    }
    const std::size_t index = entries_.size();
    entries_.push_back({line, 0});
    Trace(hwnd, Trace_Step, "-> DICOM_Macro_CodeSequence_Set: table line[%d] -> %hs  %hs  %hs",
          static_cast<int>(index), scheme[index], value[index], meaning[index]);
    return true;
}

bool Code_Table::Score(std::string_view name)
{
    const std::string capitals = To_Upper(name);
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const std::string upper = To_Upper(meaning[i]);
        const std::vector<std::string_view> words = Split_Words(upper);
        Trace_Words(words);
        int score = 0;
        for (const std::string_view word : words) {
            if (word.size() > Longest_Word) {
                Report_Error(hwnd, This_Unit,
                             "Word of %d characters in line %d of table %hs, at most %d are taken",
                             static_cast<int>(word.size()), entries_[i].line, name_.c_str(),
                             static_cast<int>(Longest_Word));
                return false;
            }
            score += Score_Word(word, capitals);
        }
        entries_[i].score = score >= Threshold_Of(capitals.size()) ? score : 0;
    }
    return true;
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

}  // namespace lib_dicom
