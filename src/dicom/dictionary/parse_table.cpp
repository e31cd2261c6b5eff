#include "dictionary/parse_table.h"

#include "frame/report.h"

#include <algorithm>
#include <charconv>

namespace lib_dicom {

namespace {

/** What is read of a line, of a name and of a value multiplicity. */
constexpr std::size_t Max_Line = 159;
constexpr std::size_t Max_Name = 79;
constexpr std::size_t Max_VM = 10;
/** Length of "(gggg,eeee) ". */
constexpr std::size_t Tag_Size = 12;

/** Reads half a tag; a character that is no hexadecimal digit counts as 0 and stays unmasked. */
void Read_Tag_Number(std::string_view text, std::size_t begin, unsigned short& number,
                     unsigned short& mask)
{
    for (std::size_t i = begin; i < begin + 4; i++) {
        unsigned short digit = 0;
        const char* const place = text.data() + std::min(i, text.size());
        const char* const end = text.data() + std::min(i + 1, text.size());
        const bool is_digit = std::from_chars(place, end, digit, 16).ptr != place;
        number = static_cast<unsigned short>(number << 4 | digit);
        mask = static_cast<unsigned short>(mask << 4 | (is_digit ? 0xF : 0));
    }
}

std::string_view Strip(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/** Cuts characters off the end. */
void Cut(std::string_view& text, std::size_t count)
{
    text.remove_suffix(std::min(count, text.size()));
}

/** Takes the VR and the VM off the end of a line. */
Alternative NEMA_db_Split_VR_VM(std::string_view& line)
{
    const std::size_t blank = line.rfind(' ');
    const std::size_t vm_begin = blank == line.npos ? 0 : blank + 1;
    const std::string_view vm = line.substr(vm_begin, Max_VM);
    line = Strip(line.substr(0, vm_begin));
    const char first = line.size() < 2 ? '\0' : line[line.size() - 2];
    const char second = line.empty() ? '\0' : line.back();
    Cut(line, 2);
    line = Strip(line);
    return {DICOM_VR(first, second), vm};
}

/** Takes "(VR VM) or (VR VM)" off the end of a line. Returns false when it breaks the grammar. */
bool Split_Alternatives(std::string_view& text, Dictionary_Line& line)
{
    while (text.ends_with(')')) {
        if (line.nb_alternative == Max_Alternatives) {
            return false;
        }
        Cut(text, 1);
        text = Strip(text);
        line.alternatives[line.nb_alternative++] = NEMA_db_Split_VR_VM(text);
        if (!text.ends_with('(')) {
            return false;
        }
        Cut(text, 1);
        text = Strip(text);
        // Deliberately no look at the character before: names that end so lose their end here too
        // ("LUT Descrip"), which keeps listings comparable.
        if (text.ends_with("or")) {
            Cut(text, 3);
        }
    }
    return true;
}

/** Tells whether a line ends in a number or in the "-n" or "-2n" of an open range. */
bool Ends_In_VM(std::string_view text)
{
    if (text.empty()) {
        return false;
    }
    const char last = text.back();
    const std::string_view before = text.substr(0, text.size() - 1);
    return (last >= '0' && last <= '9') ||
           (last == 'n' &&
            before.substr(before.size() - std::min<std::size_t>(before.size(), 2)).find('-') !=
                before.npos);
}

bool Parse_Line(std::string_view text, Dictionary_Line& line)
{
    text = text.substr(0, Max_Line);
    Read_Tag_Number(text, 1, line.group, line.group_mask);
    Read_Tag_Number(text, 6, line.element, line.elem_mask);
    line.is_retired = text.ends_with("RET");
    if (line.is_retired) {
        Cut(text, 4);
    }
    if (text.ends_with(')')) {
        if (!Split_Alternatives(text, line)) {
            return false;
        }
    } else if (Ends_In_VM(text)) {
        // Blanks are deliberately not stripped before this test: a line padded in front of "RET"
        // keeps its VR and VM in the name and counts as one without a VR.
        line.alternatives[line.nb_alternative++] = NEMA_db_Split_VR_VM(text);
    }
    text.remove_prefix(std::min(text.size(), Tag_Size));
    line.name = Strip(text.substr(0, Max_Name));
    return true;
}

}  // namespace

TAG_db_Group Group_Of(Dictionary_Lines lines)
{
    TAG_db_Group group = {0, 0, {}, lines};
    Read_Tag_Number(lines.front(), 1, group.group, group.group_mask);
    return group;
}

void NEMA_db_Parse_Table(HWND handle, Dictionary& dictionary, Dictionary_Lines lines)
{
    for (const char* const text : lines) {
        Dictionary_Line line;
        if (!Parse_Line(text, line)) {
            Report_Warning(handle,
                           "    \361\005WARNING:\002 Syntax error in definition file for %12.12s",
                           text);
            return;
        }
        dictionary.NEMA_db_Add_Entry(handle, line);
    }
}

}  // namespace lib_dicom
