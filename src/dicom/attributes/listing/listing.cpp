// The listing of attribute lists: one line a record, for people. A line has these columns:
//
//     label      9  where the record comes from, or its most important mark
//     mark       1
//     tag       11  indented by two blanks a level of nesting
//     VR         2
//     size       7  "-" when undefined
//     name      24  less the indentation
//     value         between the bytes 006 and 002, for clients that convert its character set
#include "attributes/list/walk.h"
#include "attributes/listing/value_text.h"
#include "frame/c_memory.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"
#include "read/deferred_value.h"

#include <Lib_DICOM/attributes.h>
#include <Lib_DICOM/dictionary.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Attribute";

constexpr std::size_t Label_Width = 9;
constexpr std::size_t Size_Width = 7;
constexpr std::size_t Name_Width = 24;
constexpr std::size_t Least_Name_Width = 12;
constexpr std::size_t Indent_Step = 2;
constexpr std::string_view Dots = "...";

/* ---- labels and marks ---- */

struct Label {
    int bit;
    /** With its colour. */
    std::string_view text;
    char mark;
};

/** In the order of choice: the first whose bit is set is shown. */
constexpr Label Labels[] = {
    {DICOM_Mark_Append, "\004(Append)", '+'},   {DICOM_Mark_Forced, "\004(Forced)", '!'},
    {DICOM_Mark_Default, "\004(Default)", '='}, {DICOM_Mark_Invalid, "\005(Invalid)", ' '},
    {DICOM_Mark_Deleted, "\005(Deleted)", ' '}, {DICOM_Mark_Private, "\001(Private)", ' '},
    {DICOM_Mark_Retired, "\001(Retired)", ' '}, {DICOM_Origin_Stream, "\001(DICOM)", ' '},
    {DICOM_Origin_Library, "\004(Oris)", ' '},  {DICOM_Origin_Module, "\005(Module)", ' '},
};

/** Status bit that is listed with a mark and no label. */
constexpr int Marked_Only = 0x0080;

std::string Label_Columns(unsigned short flags)
{
    const auto* const label =
        std::find_if(std::begin(Labels), std::end(Labels),
                     [=](const Label& row) { return (flags & row.bit) != 0; });
    std::string columns;
    char mark = ' ';
    std::size_t used = 0;
    if (label != std::end(Labels)) {
        columns.append(label->text).append("\002");
        used = label->text.size() - 1;
        mark = label->mark;
    }
    columns.append(Label_Width - used, ' ');
    return columns + (mark == ' ' && (flags & Marked_Only) != 0 ? 'o' : mark);
}

/* ---- tag, VR, size ---- */

char VR_Letter(int code)
{
    return code >= ' ' && code <= '~' ? static_cast<char>(code) : '?';
}

std::string Header_Columns(const DICOM_List& record)
{
    const char colour = (record.flags & DICOM_Mark_Changed) != 0 ? '\004' : '\001';
    const unsigned short vr = Effective_VR(record);
    std::string code = "--";
    if (vr != 0) {
        code = {VR_Letter(vr >> 8), VR_Letter(vr & 0xFF)};
    }
    if ((record.flags & DICOM_Mark_Unknown_VR) != 0) {
        code = "\005" + code + "\002";
    }
    const std::string size = record.size < 0 ? "-" : std::to_string(record.size);
    char text[64];
    std::snprintf(text, sizeof text, "(%c%04x\002,%c%04x\002) %s %*s ", colour, record.group,
                  colour, record.element, code.c_str(), static_cast<int>(Size_Width), size.c_str());
    return text;
}

/* ---- name ---- */

const char* Name_Of(const DICOM_List& record)
{
    if (record.description != nullptr) {
        return record.description;
    }
    const TAG_db_Elems* const entry =
        record.dict != nullptr ? record.dict : NEMA_db_Locate(record.group, record.element);
    if (entry != nullptr) {
        return entry->name;
    }
    if (record.element == 0) {
        return "Group Length";
    }
    if (record.group % 2 != 0) {
        const bool is_creator = record.element >= 0x10 && record.element <= 0xFF;
        return is_creator ? "Private Creator" : "Private Element";
    }
    return "Unknown Element";
}

bool Starts_Letter(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
}

/** A name in UTF-8, cut or padded to a number of letters. */
std::string Fitted(const std::string& name, std::size_t width)
{
    const auto letters =
        static_cast<std::size_t>(std::count_if(name.begin(), name.end(), &Starts_Letter));
    if (letters <= width) {
        return name + std::string(width - letters, ' ');
    }
    std::size_t end = 0;
    for (std::size_t kept = 0; kept + Dots.size() <= width; ++end) {
        kept += Starts_Letter(name[end]) ? 1U : 0U;
    }
    return name.substr(0, end - 1).append(Dots);
}

/**
 * The name column. Descriptions that the library makes begin with markup of their own; banners of
 * groups also have a width of their own.
 */
std::string Name_Columns(const char* name, std::size_t width)
{
    constexpr std::string_view Banner = "\361\002";
    constexpr std::string_view Highlight = "\001";
    const std::string_view text = name;
    if (text.starts_with(Banner)) {
        return std::string(Banner) + Visible(text.substr(Banner.size())) + "\360";
    }
    if (text.starts_with(Highlight)) {
        return std::string(Highlight) + Fitted(Visible(text.substr(Highlight.size())), width) +
               "\002";
    }
    return Fitted(Visible(text), width);
}

/* ---- value ---- */

/** Other values in items are fragments of pixel data. */
bool Holds_Elements(const DICOM_List& record)
{
    const unsigned short vr = Effective_VR(record);
    return vr == VR_SQ || vr == VR_UN;
}

std::string Count_Text(const DICOM_List& record)
{
    int count = 0;
    while (count < record.nb_item && record.item[count] != nullptr) {
        ++count;
    }
    const char* const unit = Holds_Elements(record) ? " item" : " fragment";
    return std::to_string(count) + unit + (count == 1 ? "" : "s");
}

Value_Text Shown_Value(const DICOM_List& record, const Value_Limit& limit)
{
    if (record.nb_item > 0 || (Effective_VR(record) == VR_SQ && record.size <= 0)) {
        return {Count_Text(record)};
    }
    if (record.size > 0 && record.data == nullptr) {
        char text[64];
        std::snprintf(text, sizeof text, "(data from file at offset=%d)",
                      static_cast<int>(record.data_pos));
        return {text};
    }
    return Text_Of_Value(record, limit);
}

/** The value with its markup. The dots stand outside: they are not in its character set. */
std::string Marked(const Value_Text& value)
{
    return "\006" + value.text + "\002" + (value.is_cut ? "..." : "");
}

/* ---- lines ---- */

std::size_t Indent_Of(const DICOM_Root* root)
{
    const int depth = root != nullptr ? root->Sequence_Depth : 0;
    return Indent_Step * static_cast<std::size_t>(std::clamp(depth, 0, DICOM_Max_Depth - 1));
}

std::string Line_Of(const DICOM_Root* root, const DICOM_List& record)
{
    const std::size_t indent = Indent_Of(root);
    const std::size_t width = std::max(Name_Width - std::min(indent, Name_Width), Least_Name_Width);
    const Value_Text value = Shown_Value(record, Line_Limit);
    std::string line = Label_Columns(record.flags) + std::string(indent, ' ') +
                       Header_Columns(record) + Name_Columns(Name_Of(record), width);
    if (value.text.empty()) {
        return line.erase(line.find_last_not_of(' ') + 1);
    }
    return line + " " + Marked(value);
}

int Report_Line(HWND handle, int flag, const std::string& line)
{
    Error_Fct(handle, static_cast<unsigned int>(flag), "%hs", line.c_str());
    return 1;
}

void Report_Item(HWND handle, const DICOM_Root& root, int flag)
{
    const std::string blanks(Label_Width + 1 + Indent_Of(&root), ' ');
    const int number = root.Item_Number[root.Sequence_Depth];
    Report_Line(handle, flag, blanks + "item " + std::to_string(number));
}

/** Tells whether a list is nested, and not the flat one that a stream gives. */
bool Is_Nested(const DICOM_List* list)
{
    while (list != nullptr && list->nb_item == 0) {
        list = list->next;
    }
    return list != nullptr;
}

class Lister final : public List_Visitor {
public:
    /** @param is_nested  the list that the walk begins with is no flat one */
    Lister(HWND handle, const DICOM_Root* root, int flag, bool is_nested)
        : handle_(handle), root_(root), flag_(flag), is_nested_(is_nested)
    {
    }

    Way_In Enter(DICOM_List** list) override
    {
        if (is_inside_) {
            Report_Item(handle_, *root_, flag_);
        }
        is_inside_ = true;
        return {.first = *list};
    }
    bool Visit_Record(DICOM_List**, DICOM_List* record, const DICOM_List* owner) override
    {
        // Item and delimitation tags are left out where the nesting tells them; elsewhere they tell
        // the structure, or are fragments.
        const bool hides_delimiters = owner != nullptr ? Holds_Elements(*owner) : is_nested_;
        if (hides_delimiters && record->group == Item_Group) {
            return false;
        }
        Report_Line(handle_, flag_, Line_Of(root_, *record));
        return true;
    }

private:
    HWND handle_;
    const DICOM_Root* root_;
    int flag_;
    bool is_nested_;
    bool is_inside_ = false;
};

bool Is_Wanted(int flag)
{
    return Error_Wanted(static_cast<unsigned int>(flag)) != 0;
}

}  // namespace

int DICOM_Attribute_Stool(HWND handle, DICOM_Root* root, DICOM_List* list, int flag)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Stool(%d)", flag);
    if (!Is_Wanted(flag)) {
        return trace.Leave(1, "hidden");
    }
    DICOM_Root top = {};
    root = root != nullptr ? root : &top;
    Lister lister(handle, root, flag, Is_Nested(list));
    return Walk_Lists(handle, This_Unit, {.root = root}, &list, lister) ? 1 : 0;
}

int DICOM_Attribute_Stool_Tag(HWND handle, DICOM_Root* root, DICOM_List* record, int flag)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Stool_Tag(%d)", flag);
    if (record == nullptr) {
        return trace.Leave(0, "! record");
    }
    if (!Is_Wanted(flag)) {
        return trace.Leave(1, "hidden");
    }
    return Guarded(handle, This_Unit, 0,
                   [&] { return Report_Line(handle, flag, Line_Of(root, *record)); });
}

int DICOM_Attribute_Stool_Data(HWND handle, DICOM_List* record, int flag)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Stool_Data(%d)", flag);
    if (record == nullptr) {
        return trace.Leave(0, "! record");
    }
    if (!Is_Wanted(flag)) {
        return trace.Leave(1, "hidden");
    }
    return Guarded(handle, This_Unit, 0, [&] {
        return Report_Line(handle, flag, Marked(Shown_Value(*record, Line_Limit)));
    });
}

char* DICOM_Attribute_Get_Data(HWND handle, DICOM_List* record)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Attribute_Get_Data()");
    char* const None = nullptr;
    if (record == nullptr) {
        return trace.Leave(None, "! record");
    }
    if (Is_Deferred(*record) && !Fetch_Deferred_Value(handle, This_Unit, *record)) {
        return trace.Leave(None, "reading missing");
    }
    return Guarded(handle, This_Unit, None, [&] {
        const std::string text = Shown_Value(*record, No_Limit).text;
        C_Array<char> copy = C_Malloc<char>(handle, This_Unit, text.size() + 1, "text");
        if (copy != nullptr) {
            std::memcpy(copy.get(), text.c_str(), text.size() + 1);
        }
        return copy.release();
    });
}
