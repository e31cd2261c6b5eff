#include "list.h"

#include "value_text.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace dicom_mend {

namespace {

using dicom_client::Data_Set;
using dicom_client::Is_Delimiter;
using dicom_client::Item_Of;
using dicom_client::Records;
using dicom_client::Tag_Of;
using dicom_client::Tag_Text;

constexpr char Tag_Colour[] = "\033[36m";
constexpr char Name_Colour[] = "\033[1m";
constexpr char No_Colour[] = "\033[0m";

/** Length as the header gave it: a value that the end of the file cuts off keeps it aside. */
int Given_Length(const DICOM_List& record)
{
    return record.spare != 0 ? static_cast<int>(record.spare) : record.size;
}

/** Fragments are the value of their element, not a list of elements. */
bool Holds_Elements(const DICOM_List& record)
{
    return dicom_client::VR_Of(record) == VR_SQ || dicom_client::VR_Of(record) == VR_UN;
}

void Print_Line(const Data_Set& set, const DICOM_List& record, std::size_t indent,
                const Terminal& terminal)
{
    constexpr std::size_t Least_Name = 16;
    const std::size_t full_width = std::clamp<std::size_t>(terminal.width / 3, Least_Name, 32);
    const std::size_t name_width = std::max(full_width - std::min(indent, full_width), Least_Name);
    const std::string name = Cut(dicom_client::Tag_Name(Tag_Of(record)), name_width);
    const int length = Given_Length(record);
    const std::string size = length < 0 ? "-" : std::to_string(length);
    char fixed[64];
    std::snprintf(fixed, sizeof fixed, ") %s %8s ", VR_Text(dicom_client::VR_Of(record)).c_str(),
                  size.c_str());

    const std::string tag = Tag_Text(Tag_Of(record));
    const std::size_t used =
        indent + 1 + tag.size() + std::string_view(fixed).size() + name_width + 1;
    const std::size_t room = terminal.width > used + 8 ? terminal.width - used : 8;
    const std::string value = Cut(Value_Text(set, record), room);
    const bool colours = terminal.colours;
    std::printf("%*s(%s%s%s%s%s%-*s%s%s%s\n", static_cast<int>(indent), "",
                colours ? Tag_Colour : "", tag.c_str(), colours ? No_Colour : "", fixed,
                colours ? Name_Colour : "", static_cast<int>(name_width), name.c_str(),
                colours ? No_Colour : "", value.empty() ? "" : " ", value.c_str());
}

void Print_List(const Data_Set& set, DICOM_List* list, std::size_t indent, const Terminal& terminal)
{
    constexpr std::size_t Step = 2;
    for (const DICOM_List& record : Records(list)) {
        if (Is_Delimiter(record)) {
            continue;
        }
        Print_Line(set, record, indent, terminal);
        for (int i = 0; Holds_Elements(record) && Item_Of(record, i) != nullptr; ++i) {
            std::printf("%*sitem %d\n", static_cast<int>(indent + Step), "", i + 1);
            Print_List(set, Item_Of(record, i), indent + 2 * Step, terminal);
        }
    }
}

void Print_TSV_List(const Data_Set& set, DICOM_List* list, const std::string& path)
{
    constexpr std::size_t Shown_Bytes = 64;
    for (const DICOM_List& record : Records(list)) {
        if (Is_Delimiter(record)) {
            continue;
        }
        const std::string own = path + Tag_Text(Tag_Of(record));
        // What a sequence holds follows in lines of its own.
        const bool has_value = dicom_client::VR_Of(record) != VR_SQ;
        const dicom_client::Bytes value =
            has_value ? set.Value(record, Shown_Bytes) : dicom_client::Bytes();
        std::printf("%s\t%s\t%d\t%s\n", own.c_str(), VR_Text(dicom_client::VR_Of(record)).c_str(),
                    Given_Length(record), Hexadecimal(value).c_str());
        for (int i = 0; Holds_Elements(record) && Item_Of(record, i) != nullptr; ++i) {
            Print_TSV_List(set, Item_Of(record, i), own + "[" + std::to_string(i) + "]/");
        }
    }
}

}  // namespace

void Print_Text(const Data_Set& set, const Terminal& terminal)
{
    Print_List(set, set.meta.Head(), 0, terminal);
    Print_List(set, set.records.Head(), 0, terminal);
}

void Print_TSV(const Data_Set& set)
{
    Print_TSV_List(set, set.meta.Head(), "");
    Print_TSV_List(set, set.records.Head(), "");
}

}  // namespace dicom_mend
