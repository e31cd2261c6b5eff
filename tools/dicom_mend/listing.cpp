#include "listing.h"

#include "mend/findings/attributes.h"
#include "mend/findings/letters.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "value_text.h"

#include <algorithm>
#include <utility>

namespace dicom_mend {

namespace {

using lib_mend::Character_Set;
using lib_mend::Item_Of;
using lib_mend::Tag_Of;
using lib_mend::VR_Of;

constexpr std::size_t Indent_Step = 2;
/** Deeper levels stand where this one does. */
constexpr std::size_t Deepest_Indent = 8;
constexpr std::size_t Size_Width = 7;
/** Tag, VR, length and the blanks behind them. */
constexpr std::size_t Header_Width = 11 + 1 + 2 + 1 + Size_Width + 1;

constexpr std::string_view Tag_Colour = "\033[36m";
constexpr std::string_view Value_Colour = "\033[32m";
constexpr std::string_view Item_Colour = "\033[33m";

/** Columns that a name has on any terminal. */
constexpr std::size_t Least_Name = 16;

/** The column of names takes less than half of what a terminal leaves. */
std::size_t Name_Width(const Terminal& terminal)
{
    constexpr std::size_t Usual = 40;
    constexpr std::size_t Most = 64;
    if (!terminal.is_terminal) {
        return Usual;
    }
    const std::size_t room = terminal.width - std::min(terminal.width, Header_Width);
    return std::clamp(room * 9 / 20, Least_Name, Most);
}

/** Fragments are the value of their element, not a list of elements. */
bool Holds_Elements(const DICOM_List& record)
{
    return VR_Of(record) == VR_SQ || VR_Of(record) == VR_UN;
}

/** The row of the dictionary; null for what is private or unknown. */
const TAG_db_Elems* Entry_Of(const DICOM_List& record)
{
    const bool is_private = record.group % 2 != 0 && record.element != 0;
    return record.dict != nullptr || is_private ? record.dict
                                                : NEMA_db_Locate(record.group, record.element);
}

}  // namespace

std::string Element_Name(const DICOM_List& record)
{
    if (record.description != nullptr) {
        return record.description;
    }
    if (const TAG_db_Elems* const entry = Entry_Of(record)) {
        const lib_mend::Attribute attribute = lib_mend::Attribute_Of(*entry);
        return attribute.name + (attribute.retired ? " (retired)" : "");
    }
    if (record.element == 0) {
        return "Group Length";
    }
    if (record.group % 2 != 0) {
        return record.element >= 0x10 && record.element <= 0xFF ? "Private Creator"
                                                                : "Private Element";
    }
    return "Unknown Element";
}

Listing::Listing(const lib_mend::Data_Set& set, const Selection& selection,
                 const Terminal& terminal, Output_Buffer& out)
    : set_(set), selection_(selection), terminal_(terminal), out_(out),
      name_width_(Name_Width(terminal))
{
}

void Listing::Print(DICOM_List* list)
{
    levels_ = {{list, nullptr, 0, Characters_Of(list, std::make_shared<const Character_Set>())}};
    while (!levels_.empty()) {
        DICOM_List* const record = levels_.back().next;
        if (record == nullptr) {
            Leave();
            continue;
        }
        levels_.back().next = record->next;
        if (lib_mend::Is_Delimiter(*record) || !selection_.Shows(*record)) {
            continue;
        }
        Print_Record(*record, *levels_.back().characters);
        if (Holds_Elements(*record)) {
            Enter(*record, 0);
        }
    }
}

/** @param outer  the character set of what is around the list */
Listing::Shared_Set Listing::Characters_Of(DICOM_List* list, const Shared_Set& outer) const
{
    constexpr std::size_t Enough = 1024;
    const DICOM_List* const terms = Find_Record(list, lib_mend::Character_Set_Tag);
    return terms == nullptr ? outer
                            : std::make_shared<const Character_Set>(
                                  lib_mend::Trimmed(set_.Value(*terms, Enough)));
}

bool Listing::Enter(const DICOM_List& sequence, int item)
{
    DICOM_List* list = Item_Of(sequence, item);
    while (list != nullptr && !selection_.Shows(*list)) {
        list = Item_Of(sequence, ++item);
    }
    if (list == nullptr) {
        return false;
    }
    line_.append(Indent() + Indent_Step, ' ');
    Append_Colour(Item_Colour);
    line_ += "item ";
    Append_Number(line_, item + 1);
    Append_Colour(No_Colour);
    End_Line();
    levels_.push_back({list, &sequence, item, Characters_Of(list, levels_.back().characters)});
    return true;
}

/** Goes on with the next item, or behind the sequence. */
void Listing::Leave()
{
    const Level left = std::move(levels_.back());
    levels_.pop_back();
    if (left.sequence != nullptr) {
        Enter(*left.sequence, left.item + 1);
    }
}

std::size_t Listing::Indent() const
{
    return Indent_Step * std::min(levels_.size() - 1, Deepest_Indent);
}

void Listing::Print_Record(const DICOM_List& record, const Character_Set& characters)
{
    line_.append(Indent(), ' ');
    line_ += '(';
    Append_Colour(Tag_Colour);
    Append_Tag(line_, Tag_Of(record));
    Append_Colour(No_Colour);
    line_ += ") ";
    Append_VR(line_, VR_Of(record));
    const std::size_t size_at = line_.size();
    if (Given_Length(record) < 0) {
        line_ += '-';
    } else {
        Append_Number(line_, Given_Length(record));
    }
    const std::size_t digits = line_.size() - size_at;
    line_.insert(size_at, 1 + Size_Width - std::min(digits, Size_Width), ' ');
    line_ += ' ';
    Append_Name_And_Contents(record, characters);
    End_Line();
}

void Listing::Append_Name_And_Contents(const DICOM_List& record, const Character_Set& characters)
{
    const std::size_t column = name_width_ - std::min(Indent(), name_width_ / 2);
    const std::size_t room =
        terminal_.width - std::min(terminal_.width, Header_Width + Indent() + 1);
    name_.clear();
    lib_mend::Append_Printable(name_, Name_Of(record));
    const std::size_t columns = Columns_Of(name_);
    const std::size_t rest = room - std::min(room, columns);
    Make_Contents(record, characters, rest);
    std::size_t needed = Columns_Of(contents_);
    const std::size_t number_at = VR_Of(record) == VR_UI ? contents_.find(" (") : std::string::npos;
    if (needed > rest && number_at != std::string::npos) {
        // Of the number behind the name the beginning will do.
        constexpr std::size_t Beginning = 6;
        needed = number_at + Beginning;
    }
    const bool fits = needed <= rest;
    // Half a UID is none: one that no name stands for has a line of its own rather, as all have on a
    // terminal that has no room for a name and a value side by side.
    const bool is_cut_uid = VR_Of(record) == VR_UI && number_at == std::string::npos;
    const bool is_below = !fits && (is_cut_uid || room < 2 * Least_Name);
    // The column gives way, to either side, where both have room on the line.
    const std::size_t left = is_below ? room : fits ? room - needed : column;
    const std::size_t width =
        std::clamp(left, std::min(column, columns), std::max(column, columns));
    if (columns > width) {
        name_ = Fitted(name_, width);
    }
    line_ += name_;
    line_.append(width - std::min(width, columns), ' ');
    if (contents_.empty()) {
        // Nothing stands behind the name, not even blanks.
        line_.erase(line_.find_last_not_of(' ') + 1);
        return;
    }
    if (is_below) {
        line_.erase(line_.find_last_not_of(' ') + 1);
        End_Line();
        line_.append(
            std::min(Header_Width + Indent(), terminal_.width - std::min(terminal_.width, needed)),
            ' ');
    } else {
        line_ += ' ';
    }
    Append_Colour(Value_Colour);
    line_ += contents_;
    Append_Colour(No_Colour);
}

std::string_view Listing::Name_Of(const DICOM_List& record)
{
    if (record.description != nullptr) {
        return record.description;
    }
    const TAG_db_Elems* const entry = Entry_Of(record);
    std::string& name = names_[entry];
    if (name.empty() || entry == nullptr) {
        name = Element_Name(record);
    }
    return name;
}

void Listing::Make_Contents(const DICOM_List& record, const Character_Set& characters,
                            std::size_t room)
{
    contents_.clear();
    const bool has_items = Holds_Elements(record);
    if (record.nb_item > 0 || VR_Of(record) == VR_SQ) {
        const int count = lib_mend::Item_Count(record);
        Append_Number(contents_, count);
        contents_ += has_items ? " item" : " fragment";
        contents_ += count == 1 ? "" : "s";
    } else {
        Append_Value(contents_, set_, record, characters, UID_Form::Number_First);
        if (VR_Of(record) == VR_UI && Columns_Of(contents_) > room) {
            contents_.clear();
            Append_Value(contents_, set_, record, characters, UID_Form::Name_First);
        }
    }
}

void Listing::Append_Colour(std::string_view colour)
{
    line_ += terminal_.colours ? colour : std::string_view();
}

void Listing::End_Line()
{
    if (terminal_.is_terminal) {
        out_.Text() += Fitted(line_, terminal_.width);
    } else {
        out_.Text() += line_;
    }
    out_.Text() += '\n';
    out_.Line_Done();
    line_.clear();
}

}  // namespace dicom_mend
