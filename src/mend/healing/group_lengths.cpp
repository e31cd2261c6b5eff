#include "mend/healing/groups.h"
#include "mend/reading/tree.h"

#include <optional>

namespace lib_mend {

namespace {

constexpr std::int64_t Unknown = -1;

/** Where the group of a group length ends in the source; Unknown behind an open sequence. */
std::int64_t End_Of_Group(const DICOM_List& length)
{
    const DICOM_List* last = &length;
    const DICOM_List* next = length.next;
    while (next != nullptr && (next->group == length.group || Tag_Of(*next) == Sequence_End_Tag)) {
        last = next;
        next = next->next;
    }
    if (next != nullptr) {
        return Position_Of(*next);
    }
    return last->size >= 0 ? Value_Position_Of(*last) + Size_Of(*last) : Unknown;
}

bool Is_Right(const Data_Set& set, const DICOM_List& length)
{
    constexpr int Size = 4;
    const std::int64_t end = End_Of_Group(length);
    if (length.size != Size) {
        return false;
    }
    const Bytes value = set.Value(length);
    const auto given = static_cast<std::uint32_t>(
        value.size() == Size ? Get_Int(length.byte_order, value.data()) : 0);
    return end == Unknown || end - Value_Position_Of(length) - Size == given;
}

}  // namespace

void Check_Group_Lengths(const Data_Set& set, DICOM_List** list, Findings& findings)
{
    std::optional<Place> first;
    Path first_path;
    std::size_t count = 0;
    For_Each_Element(*list, [&](const DICOM_List& record, const Path& path) {
        if (record.element == 0x0000 && !Is_Group_Length(record)) {
            findings.Report(Fault::Group_Length, Level::Kept, At(record, path),
                            "stands in the place of a group length and is none; it is kept");
            return;
        }
        if (record.element != 0x0000 || Is_Right(set, record)) {
            return;
        }
        if (++count == 1) {
            first_path = path;
            first = At(record, first_path);
        }
    });
    if (first.has_value()) {
        findings.Report(
            Fault::Group_Length, Level::Change, *first,
            "the group length is not that of its group" +
                (count > 1 ? ", nor are " + std::to_string(count - 1) + " others" : ""));
    }
}

}  // namespace lib_mend
