// Coded concepts: the entry of a code table that fits a name in free text.
#include "definitions/code_table.h"

#include <Lib_DICOM/codes.h>

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Work_Macro";

Code_Seq*& Last_Coded()
{
    static Code_Seq* last = nullptr;
    return last;
}

/** Gives a record codes in place of its own; they come from the C heap. */
void Put_Codes(Code_Seq& code, char* scheme, char* value, char* meaning)
{
    std::free(code.coding_scheme);
    std::free(code.code_value);
    std::free(code.code_meaning);
    code.coding_scheme = scheme;
    code.code_value = value;
    code.code_meaning = meaning;
}

/** Moves the codes of an entry into a record. */
void Take_Codes(Code_Seq& code, Code_Table& table, std::size_t entry)
{
    Put_Codes(code, table.scheme.Take(entry), table.value.Take(entry), table.meaning.Take(entry));
}

/** The concept that needs no table. False after the memory message. */
bool Set_Technetium(Code_Seq& code)
{
    C_Array<char> scheme = C_Strdup(hwnd, This_Unit, "99SDM", "code->coding_scheme");
    C_Array<char> value = C_Strdup(hwnd, This_Unit, "C-163A8", "code->code_value");
    C_Array<char> meaning = C_Strdup(hwnd, This_Unit, "TC-99m", "code->code_meaning");
    if (scheme == nullptr || value == nullptr || meaning == nullptr) {
        return false;
    }
    Put_Codes(code, scheme.release(), value.release(), meaning.release());
    return true;
}

/** Indices of the entries with the best score, in file order; none when no entry fits. */
std::vector<std::size_t> Best_Entries(const Code_Table& table)
{
    int best_score = 1;
    std::vector<std::size_t> best;
    for (std::size_t i = 0; i < table.Entries().size(); ++i) {
        const int score = table.Entries()[i].score;
        if (score > best_score) {
            best.clear();
            best_score = score;
        }
        if (score == best_score) {
            best.push_back(i);
        }
    }
    return best;
}

void Warn_Of_Choice(const Code_Table& table, std::span<const std::size_t> best, const char* name)
{
    Report_Warning(hwnd,
                   "    \361\005WARNING:\002 Find to many matchs (\001%d\002) for \001%hs\002 in "
                   "table \001%hs",
                   static_cast<int>(best.size()), name, table.Name().c_str());
    for (const std::size_t entry : best) {
        Report_Warning(hwnd, "\t\t\t   %hs \001%hs\002 = \001%hs",
                       entry == best.front() ? "We used:" : "And not:  ", table.value[entry],
                       table.meaning[entry]);
    }
}

/** Codes a record; `trace` gets the reason. */
int Set_Codes(Code_Seq* code, const char* table_name, Trace_Scope& trace)
{
    if (code == nullptr || code->original_name == nullptr) {
        return trace.Leave(0, "! code->original_name");
    }
    if (To_Upper(code->original_name) == "TC-99M") {
        const bool coded = Set_Technetium(*code);
        Last_Coded() = coded ? code : nullptr;
        return trace.Leave(coded ? 1 : 0, "Tc-99m");
    }
    Code_Table table;
    if (!table.Read(table_name)) {
        return trace.Leave(0, "! f_table");
    }
    if (!table.Score(code->original_name)) {
        return trace.Leave(0, "! word");
    }
    const std::vector<std::size_t> best = Best_Entries(table);
    if (best.empty()) {
        return trace.Leave(0, "! match_max");
    }
    if (best.size() > 1) {
        Warn_Of_Choice(table, best, code->original_name);
    }
    Take_Codes(*code, table, best.front());
    Last_Coded() = code;
    return trace.Leave(1, "done");
}

/** Indices of the entries that fit, the best first. */
std::vector<std::size_t> Ranked_Entries(const Code_Table& table)
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < table.Entries().size(); ++i) {
        if (table.Entries()[i].score > 0) {
            found.push_back(i);
        }
    }
    std::stable_sort(found.begin(), found.end(), [&](std::size_t first, std::size_t second) {
        return table.Entries()[first].score > table.Entries()[second].score;
    });
    return found;
}

/** Hands entries over to the client; -1 without memory. */
int Make_Matches(Code_Table& table, std::span<const std::size_t> found, Code_Match** matches)
{
    C_Array<Code_Match> made = C_Calloc<Code_Match>(hwnd, This_Unit, found.size(), "matches");
    if (made == nullptr) {
        return -1;
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
        Take_Codes(made[i].code, table, found[i]);
        made[i].score = table.Entries()[found[i]].score;
    }
    *matches = made.release();
    return static_cast<int>(found.size());
}

}  // namespace

int DICOM_Macro_CodeSequence_Set(Code_Seq* code, const char* table)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Oris_DICOM_Get_CodeSequence(str:%hs, table:%hs)",
                      code != nullptr ? code->original_name : nullptr, table);
    Last_Coded() = nullptr;
    return Guarded(
        hwnd, This_Unit, 0, [&] { return Set_Codes(code, table, trace); }, "table");
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

int DICOM_Macro_CodeSequence_Rank(const char* name, const char* table_name, Code_Match** matches)
{
    Trace_Scope trace(hwnd, Trace_Entry,
                      "Lib_DICOM: DICOM_Macro_CodeSequence_Rank(str:%hs, table:%hs)", name,
                      table_name);
    *matches = nullptr;
    return Guarded(
        hwnd, This_Unit, -1,
        [&] {
            Code_Table table;
            if (name == nullptr || !table.Read(table_name) || !table.Score(name)) {
                return trace.Leave(-1, "! f_table");
            }
            const std::vector<std::size_t> found = Ranked_Entries(table);
            return found.empty() ? 0 : Make_Matches(table, found, matches);
        },
        "table");
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
