#include "definitions/attribute_line.h"

#include "definitions/clause_reader.h"
#include "frame/record_codes.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

struct Type_Word {
    std::string_view word;
    unsigned short type;
};
constexpr Type_Word Type_Words[] = {
    {"1", Type_1}, {"1C", Type_1C}, {"2", Type_2}, {"2C", Type_2C}, {"3", Type_3}};

struct Mark_Sign {
    char sign;
    unsigned short mark;
};
constexpr Mark_Sign Mark_Signs[] = {
    {'!', DICOM_Mark_Forced}, {'=', DICOM_Mark_Default}, {'+', DICOM_Mark_Append}};

std::optional<unsigned short> Read_Type(Line_Cursor& cursor)
{
    cursor.At_End();
    const std::size_t column = cursor.Column();
    const std::string_view word = cursor.Word();
    if (word == "-") {
        return std::nullopt;
    }
    const auto* const type =
        std::find_if(std::begin(Type_Words), std::end(Type_Words),
                     [&](const Type_Word& entry) { return entry.word == word; });
    if (type == std::end(Type_Words)) {
        cursor.Expected(This_Unit, "a type (1, 1C, 2, 2C, 3 or -)", column);
    }
    return type->type;
}

void Read_Mark(Line_Cursor& cursor, Attribute_Line& line)
{
    const char sign = cursor.Peek();
    const auto* const entry =
        std::find_if(std::begin(Mark_Signs), std::end(Mark_Signs),
                     [=](const Mark_Sign& known) { return known.sign == sign; });
    if (entry != std::end(Mark_Signs)) {
        cursor.Take(sign);
        line.mark = entry->mark;
        cursor.At_End();
        line.value_column = static_cast<std::uint32_t>(cursor.Column());
        line.value = cursor.Quoted("a value");
    } else if (cursor.Take_Name("x")) {
        line.mark = DICOM_Mark_Delete_Request;
        line.value.emplace();
    }
}

}  // namespace

Attribute_Line Read_Attribute_Line(Line_Cursor& cursor)
{
    Attribute_Line line;
    line.tag_column = static_cast<std::uint32_t>(cursor.Column());
    const std::string_view tag = cursor.Tag();
    const auto group = Hex_Number(tag.substr(1, 4));
    const auto element = Hex_Number(tag.substr(6, 4));
    if (!group || !element || *group == Item_Group) {
        cursor.Expected(This_Unit, "the tag (gggg,eeee) of an attribute", line.tag_column);
    }
    line.group = *group;
    line.element = *element;
    line.type = Read_Type(cursor);
    cursor.At_End();
    line.vr_column = static_cast<std::uint32_t>(cursor.Column());
    const std::string_view vr = cursor.Word();
    if (vr != "--") {
        line.vr = Read_VR(cursor, vr, line.vr_column);
    }
    Read_Mark(cursor, line);
    return line;
}

void Read_Clauses(Line_Cursor& cursor, Rule_Arena& arena, unsigned short vr, Attribute_Line& line)
{
    if (!cursor.At_End()) {
        line.clause_column = static_cast<std::uint32_t>(cursor.Column());
        line.clauses =
            Clause_Reader(cursor, arena)
                .Read(line.mark != 0 ? "a clause (if, in, like or items) or the end of the line"
                                     : "a mark (!, =, + or x) or a clause (if, in, like or items)",
                      vr, line.group);
    }
}

void Check_Clauses(const Attribute_Line& line, unsigned short type, unsigned short vr)
{
    if (line.clauses.required.step_count != 0 && type != Type_1C && type != Type_2C) {
        throw Definition_Fault{This_Unit, line.clause_column,
                               "a condition belongs to type 1C or 2C"};
    }
    if (vr == VR_SQ ? line.clauses.value_set_count != 0 : line.clauses.item_count_count != 0) {
        throw Definition_Fault{This_Unit, line.clause_column,
                               "an attribute of VR " + VR_Text(vr) +
                                   (vr == VR_SQ ? " has no values" : " has no items")};
    }
}

}  // namespace lib_dicom
