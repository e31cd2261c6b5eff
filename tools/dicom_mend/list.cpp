#include "list.h"

#include "mend/findings/letters.h"
#include "mend/healing/character_set.h"
#include "mend/json/to_json.h"
#include "mend/reading/tree.h"
#include "value_text.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dicom_mend {

namespace {

using lib_mend::Character_Set;
using lib_mend::Character_Set_Tag;
using lib_mend::Data_Set;
using lib_mend::Findings;
using lib_mend::Has_Value;
using lib_mend::Is_Delimiter;
using lib_mend::Item_Of;
using lib_mend::Printable;
using lib_mend::Tag_Of;
using lib_mend::VR_Of;

/** Length as the header gave it: a value that the end of the file cuts off keeps it aside. */
int Given_Length(const DICOM_List& record)
{
    return record.spare != 0 ? static_cast<int>(record.spare) : record.size;
}

/** Fragments are the value of their element, not a list of elements. */
bool Holds_Elements(const DICOM_List& record)
{
    return VR_Of(record) == VR_SQ || VR_Of(record) == VR_UN;
}

/** Catches the lines of the library's listing; other messages go where they went before. */
class Line_Catcher {
public:
    explicit Line_Catcher(Findings& findings)
        : findings_(findings), session_(Error_Sink_Set(&Line_Catcher::Take, this))
    {
    }
    Line_Catcher(const Line_Catcher&) = delete;
    Line_Catcher& operator=(const Line_Catcher&) = delete;
    ~Line_Catcher()
    {
        Error_Sink_Set(session_, &findings_);
    }

    /** The line of a record, with its markup. */
    const std::string& Line_Of(DICOM_Root& root, DICOM_List& record)
    {
        line_.clear();
        DICOM_Attribute_Stool_Tag(nullptr, &root, &record, Severity_Line);
        return line_;
    }

private:
    /** Unlike any other that the session uses. */
    static constexpr int Severity_Line = 9;

    static void Take(HWND handle, unsigned int severity, const char* text, void* context)
    {
        auto* const self = static_cast<Line_Catcher*>(context);
        if (severity == Severity_Line) {
            self->line_ = text;
        } else {
            self->session_(handle, severity, text, &self->findings_);
        }
    }

    Findings& findings_;
    Error_Sink session_;
    std::string line_;
};

/** Converts the value in a line, which stands between two bytes of markup, to UTF-8. */
std::string Converted(const std::string& line, const Character_Set& characters, unsigned short vr)
{
    const std::size_t start = line.find('\006') + 1;
    const std::size_t end = line.rfind('\002');
    if (start == 0) {
        return line;
    }
    const std::string_view value = std::string_view(line).substr(start, end - start);
    return line.substr(0, start) + Printable(characters.To_UTF_8(value, vr)) + line.substr(end);
}

class Lister {
public:
    Lister(const Data_Set& set, Findings& findings, const Terminal& terminal)
        : set_(set), terminal_(terminal), lines_(findings)
    {
    }

    /** Goes down without calling itself: sequences may nest as deep as memory allows. */
    void Print(DICOM_List* list)
    {
        levels_ = {{list, nullptr, 0, Characters_Of(list, std::make_shared<Character_Set>())}};
        while (!levels_.empty()) {
            DICOM_List* const record = levels_.back().next;
            if (record == nullptr) {
                Leave();
                continue;
            }
            levels_.back().next = record->next;
            if (Is_Delimiter(*record)) {
                continue;
            }
            Print_Record(*record, *levels_.back().characters);
            if (Holds_Elements(*record) && Item_Of(*record, 0) != nullptr) {
                Start_Sequence(*record);
                Enter(*record, 0);
            }
        }
    }

private:
    using Shared_Set = std::shared_ptr<const Character_Set>;
    /** A list that is being printed: the item of a sequence, or what stands at the top. */
    struct Level {
        DICOM_List* next;
        const DICOM_List* sequence;
        int item;
        Shared_Set characters;
    };

    /** @param outer  the character set of what is around the list */
    Shared_Set Characters_Of(DICOM_List* list, const Shared_Set& outer) const
    {
        constexpr std::size_t Enough = 1024;
        const DICOM_List* const terms = Find_Record(list, Character_Set_Tag);
        return terms == nullptr ? outer
                                : std::make_shared<const Character_Set>(
                                      lib_mend::Trimmed(set_.Value(*terms, Enough)));
    }

    void Print_Record(DICOM_List& record, const Character_Set& characters)
    {
        constexpr int Longest_Loaded = 512;
        if (record.size <= Longest_Loaded && Has_Value(record)) {
            set_.Load(record);
        }
        const std::string line =
            Converted(lines_.Line_Of(root_, record), characters, VR_Of(record));
        std::printf("%s\n", Rendered(line, terminal_).c_str());
    }

    /** The library's context indents lines, and knows a few levels only; those below stand there too. */
    bool Is_In_Context() const
    {
        return levels_.size() < DICOM_Max_Depth;
    }

    void Start_Sequence(const DICOM_List& record)
    {
        if (Is_In_Context()) {
            DICOM_Attribute_Sequence_Start(nullptr, &root_, record.group, record.element,
                                           record.flags, 0);
        }
    }

    void Enter(const DICOM_List& sequence, int item)
    {
        constexpr int Label_Columns = 10;
        DICOM_Attribute_Item_Start(nullptr, &root_, 0);
        std::printf("%*sitem %d\n", Label_Columns + 2 * root_.Sequence_Depth, "", item + 1);
        DICOM_List* const list = Item_Of(sequence, item);
        levels_.push_back({list, &sequence, item, Characters_Of(list, levels_.back().characters)});
    }

    /** Goes on with the next item, or behind the sequence. */
    void Leave()
    {
        const Level left = std::move(levels_.back());
        levels_.pop_back();
        if (left.sequence == nullptr) {
            return;
        }
        DICOM_Attribute_Item_Stop(nullptr, &root_, 0);
        if (Item_Of(*left.sequence, left.item + 1) != nullptr) {
            Enter(*left.sequence, left.item + 1);
        } else if (Is_In_Context()) {
            DICOM_Attribute_Sequence_Stop(nullptr, &root_, 0);
        }
    }

    const Data_Set& set_;
    const Terminal& terminal_;
    Line_Catcher lines_;
    DICOM_Root root_ = {};
    std::vector<Level> levels_;
};

void Print_TSV_List(const Data_Set& set, DICOM_List* list)
{
    constexpr std::size_t Shown_Bytes = 64;
    lib_mend::For_Each_Element(list, [&](const DICOM_List& record, const lib_mend::Path& path) {
        // What a sequence holds follows in lines of its own.
        const bool has_value = VR_Of(record) != VR_SQ;
        const lib_mend::Bytes value =
            has_value ? set.Value(record, Shown_Bytes) : lib_mend::Bytes();
        std::printf("%s\t%s\t%d\t%s\n", Path_Text(path, Tag_Of(record)).c_str(),
                    VR_Text(VR_Of(record)).c_str(), Given_Length(record),
                    Hexadecimal(value).c_str());
    });
}

}  // namespace

void Print_Text(const Data_Set& set, Findings& findings, const Terminal& terminal)
{
    Lister lister(set, findings, terminal);
    lister.Print(set.meta.Head());
    lister.Print(set.records.Head());
}

void Print_TSV(const Data_Set& set)
{
    Print_TSV_List(set, set.meta.Head());
    Print_TSV_List(set, set.records.Head());
}

void Print_JSON(const Data_Set& set, Findings& findings)
{
    if (set.foreign) {
        std::fputs("null", stdout);
        return;
    }
    To_JSON(set, {}, findings, [](std::string_view text) {
        return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    });
}

}  // namespace dicom_mend
