// Numbers that count what stands beside them, as the points of a contour or the wedges of a beam do, and
// shapes that have a certain number of points.
#include "mend/consistency/rules.h"
#include "mend/healing/character_set.h"
#include "mend/healing/image.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace lib_mend {

namespace {

/** A number, and what it counts in the same item. */
struct Count_Row {
    Tag number;
    Tag counted;
    const char* name;
    const char* clause;
    /** Values that one of them has; 0 where items are counted. */
    std::size_t width = 0;
};

constexpr Count_Row Rows[] = {
    {{0x003A, 0x0005}, {0x003A, 0x0200}, "Number of Waveform Channels", "PS3.3 C.10.9"},
    {{0x0054, 0x0011}, {0x0054, 0x0012}, "Number of Energy Windows", "PS3.3 C.8.4.10"},
    {{0x0054, 0x0021}, {0x0054, 0x0022}, "Number of Detectors", "PS3.3 C.8.4.11"},
    {{0x0054, 0x0031}, {0x0054, 0x0032}, "Number of Phases", "PS3.3 C.8.4.14"},
    {{0x0054, 0x0051}, {0x0054, 0x0052}, "Number of Rotations", "PS3.3 C.8.4.12"},
    {{0x0066, 0x0001}, {0x0066, 0x0002}, "Number of Surfaces", "PS3.3 C.27.1"},
    {{0x0070, 0x0021}, {0x0070, 0x0022}, "Number of Graphic Points", "PS3.3 C.10.5", 2},
    {{0x3004, 0x0056}, {0x3004, 0x0058}, "DVH Number of Bins", "PS3.3 C.8.8.4", 2},
    {{0x3006, 0x0046}, {0x3006, 0x0050}, "Number of Contour Points", "PS3.3 C.8.8.6", 3},
    {{0x300A, 0x0080}, {0x300C, 0x0004}, "Number of Beams", "PS3.3 C.8.8.13"},
    {{0x300A, 0x00A0}, {0x300C, 0x000A}, "Number of Brachy Application Setups", "PS3.3 C.8.8.13"},
    {{0x300A, 0x00D0}, {0x300A, 0x00D1}, "Number of Wedges", "PS3.3 C.8.8.14"},
    {{0x300A, 0x00D0}, {0x300A, 0x03AA}, "Number of Wedges", "PS3.3 C.8.8.25"},
    {{0x300A, 0x00E0}, {0x300A, 0x00E3}, "Number of Compensators", "PS3.3 C.8.8.14"},
    {{0x300A, 0x00E0}, {0x300A, 0x02EA}, "Number of Compensators", "PS3.3 C.8.8.25"},
    {{0x300A, 0x00ED}, {0x300C, 0x00B0}, "Number of Boli", "PS3.3 C.8.8.14"},
    {{0x300A, 0x00F0}, {0x300A, 0x00F4}, "Number of Blocks", "PS3.3 C.8.8.14"},
    {{0x300A, 0x00F0}, {0x300A, 0x03A6}, "Number of Blocks", "PS3.3 C.8.8.25"},
    {{0x300A, 0x0104}, {0x300A, 0x0106}, "Block Number of Points", "PS3.3 C.8.8.14", 2},
    {{0x300A, 0x0110}, {0x300A, 0x0111}, "Number of Control Points", "PS3.3 C.8.8.14"},
    {{0x300A, 0x0110}, {0x300A, 0x02D0}, "Number of Control Points", "PS3.3 C.8.8.15"},
    {{0x300A, 0x0110}, {0x300A, 0x03A8}, "Number of Control Points", "PS3.3 C.8.8.25"},
    {{0x300A, 0x0312}, {0x300A, 0x0314}, "Number of Range Shifters", "PS3.3 C.8.8.25"},
    {{0x300A, 0x0330}, {0x300A, 0x0332}, "Number of Lateral Spreading Devices", "PS3.3 C.8.8.25"},
    {{0x300A, 0x0340}, {0x300A, 0x0342}, "Number of Range Modulators", "PS3.3 C.8.8.25"},
    {{0x300A, 0x0392}, {0x300A, 0x0394}, "Number of Scan Spot Positions", "PS3.3 C.8.8.25", 2},
    {{0x300A, 0x0392}, {0x300A, 0x0396}, "Number of Scan Spot Positions", "PS3.3 C.8.8.25", 1},
};
static_assert(std::is_sorted(std::begin(Rows), std::end(Rows),
                             [](const Count_Row& a, const Count_Row& b) {
                                 return a.number < b.number;
                             }));

/** Each value of a vector is the number of one of those that are counted behind it. */
struct Vector_Row {
    Tag vector;
    Tag number;
    const char* text;
};

constexpr Vector_Row Vectors[] = {
    {{0x0054, 0x0010}, {0x0054, 0x0011}, "there is no such energy window"},
    {{0x0054, 0x0020}, {0x0054, 0x0021}, "there is no such detector"},
    {{0x0054, 0x0030}, {0x0054, 0x0031}, "there is no such phase"},
    {{0x0054, 0x0050}, {0x0054, 0x0051}, "there is no such rotation"},
    {{0x0054, 0x0060}, {0x0054, 0x0061}, "there is no such R-R interval"},
    {{0x0054, 0x0070}, {0x0054, 0x0071}, "there is no such time slot"},
    {{0x0054, 0x0080}, {0x0054, 0x0081}, "there is no such slice"},
};

/** How many points a shape has, or a range of time. */
struct Shape_Row {
    std::string_view shape;
    std::size_t points;
    /** More than these, by pairs. */
    bool in_pairs = false;
};

constexpr Shape_Row Shapes[] = {
    {"POINT", 1},
    {"CIRCLE", 2},
    {"ELLIPSE", 4},
    {"ELLIPSOID", 6},
};
constexpr Shape_Row Ranges[] = {
    {"POINT", 1}, {"BEGIN", 1}, {"END", 1}, {"SEGMENT", 2}, {"MULTISEGMENT", 2, true},
};

constexpr Tag Graphic_Data = {0x0070, 0x0022};
constexpr Tag Graphic_Type = {0x0070, 0x0023};
constexpr Tag Graphic_Annotations = {0x0070, 0x0001};
constexpr Tag Frame_Of_Reference = {0x3006, 0x0024};
constexpr Tag Value_Type = {0x0040, 0xA040};
constexpr Tag Range_Type = {0x0040, 0xA130};
constexpr Tag Range_Values[] = {{0x0040, 0xA132}, {0x0040, 0xA138}, {0x0040, 0xA13A}};

constexpr Tag Window_Center = {0x0028, 0x1050};
/** What has a value for each window, which its center and its width make together. */
constexpr Tag Of_Windows[] = {{0x0028, 0x1051}, {0x0028, 0x1055}};

constexpr std::size_t Row_Count = std::size(Rows) + std::size(Vectors);

constexpr std::array<Tag, Row_Count + 5> All_Tags()
{
    std::array<Tag, Row_Count + 5> tags = {Graphic_Data, Graphic_Type, Range_Type, Window_Center,
                                           Value_Type};
    auto* const behind = std::transform(std::begin(Rows), std::end(Rows), tags.begin() + 5,
                                        [](const Count_Row& row) { return row.number; });
    std::transform(std::begin(Vectors), std::end(Vectors), behind,
                   [](const Vector_Row& row) { return row.vector; });
    return tags;
}

constexpr std::array Tags = All_Tags();

std::string Plural(std::size_t count, const char* one)
{
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

void Doubt_Of(Subject_Set& subject, const DICOM_List& record, std::string text, const char* clause)
{
    subject.doubts.push_back({&record, Fault::Item_Count, Level::Kept, std::move(text), clause});
}

void Check_Count(Subject_Set& subject, const Count_Row& row, const DICOM_List& record)
{
    const Numbers numbers = subject.Whole_Numbers(record);
    const DICOM_List* const counted = Behind(record, row.counted);
    if (counted == nullptr || numbers.size() != 1 || numbers.front() < 0) {
        return;
    }
    const auto wanted = static_cast<std::size_t>(numbers.front());
    const auto count = row.width == 0 ? static_cast<std::size_t>(Item_Count(*counted))
                                      : subject.Count(*counted).value_or(wanted * row.width);
    const std::size_t each = std::max<std::size_t>(row.width, 1);
    // One that is empty is told as such where it may not be.
    if (count != 0 && (count % each != 0 || count / each != wanted)) {
        Doubt_Of(subject, *counted,
                 Plural(count, row.width == 0 ? "item" : "value") + " where " + row.name + " is " +
                     std::to_string(wanted),
                 row.clause);
    }
}

void Check_Vector(Subject_Set& subject, const Vector_Row& row, const DICOM_List& record)
{
    const DICOM_List* const number = Behind(record, row.number);
    const Numbers counts = number != nullptr ? subject.Whole_Numbers(*number) : Numbers();
    const Numbers values = counts.size() == 1 ? subject.Whole_Numbers(record) : Numbers();
    const auto wrong = std::find_if(values.begin(), values.end(), [&](std::int64_t value) {
        return value < 1 || value > counts.front();
    });
    if (wrong != values.end()) {
        subject.doubts.push_back({&record, Fault::Reference, Level::Kept, row.text, "PS3.3 C.8.4.8",
                                  std::to_string(*wrong)});
    }
}

void Check_Shape(Subject_Set& subject, std::span<const Shape_Row> rows, const DICOM_List& type,
                 const DICOM_List& data, std::size_t width, const char* clause)
{
    const std::string_view shape = subject.Text(type);
    const std::size_t count = subject.Count(data).value_or(0);
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [&](const Shape_Row& each) { return each.shape == shape; });
    if (count == 0) {
        return;
    }
    if (count % width != 0) {
        Doubt_Of(subject, data,
                 Plural(count, "value") + " are not those of points of " + std::to_string(width),
                 clause);
    } else if (row != rows.end() &&
               (row->in_pairs ? count / width % row->points != 0 : count / width != row->points)) {
        Doubt_Of(subject, data,
                 Plural(count / width, "point") + " where " + std::string(row->shape) +
                     (row->in_pairs ? " has pairs of them" : " has " + std::to_string(row->points)),
                 clause);
    }
}

/**
 * Shapes of documents, in the plane or in space, and of presentations.
 *
 * @param value_type  the last one in front of it, which may be that of another item; null for none
 */
void Check_Graphic(Subject_Set& subject, const Watched& element, const DICOM_List* data,
                   const DICOM_List* value_type)
{
    // Polylines of a presentation are counted by a number of their own.
    const DICOM_List& type = *element.record;
    if (data != nullptr && data->next == &type) {
        const bool is_told = value_type != nullptr && Behind(*value_type, Graphic_Data) == data;
        const std::string_view told = is_told ? subject.Text(*value_type) : std::string_view();
        const bool has_frame = Behind(type, Frame_Of_Reference) != nullptr;
        const bool in_space = told == "SCOORD3D" || (has_frame && told != "SCOORD");
        // The UID is of type 3.
        if (in_space && !has_frame) {
            subject.doubts.push_back(
                {data, Fault::Unlikely, Level::Info,
                 "points in space, and no Referenced Frame of Reference UID tells in which",
                 "PS3.3 C.18.9"});
        }
        const bool is_presented = element.outermost == Graphic_Annotations;
        Check_Shape(subject, Shapes, type, *data, in_space ? 3 : 2,
                    is_presented ? "PS3.3 C.10.5.1.2"
                    : in_space   ? "PS3.3 C.18.9.1.2"
                                 : "PS3.3 C.18.6.1.2");
    }
}

void Check_Range(Subject_Set& subject, const DICOM_List& type)
{
    for (const Tag tag : Range_Values) {
        if (const DICOM_List* const values = Behind(type, tag)) {
            Check_Shape(subject, Ranges, type, *values, 1, "PS3.3 C.18.7.1.1");
        }
    }
}

void Check_Windows(Subject_Set& subject, const DICOM_List& center)
{
    const std::size_t windows = subject.Count(center).value_or(0);
    for (const Tag tag : Of_Windows) {
        const DICOM_List* const record = Behind(center, tag);
        std::size_t count = record != nullptr ? subject.Count(*record).value_or(0) : 0;
        if (windows == 0 || count == 0 || count == windows) {
            continue;
        }
        // Explanations are letters, a part of which may look like a separator.
        const Character_Set characters(
            Text_In(subject.set, subject.set.records.Head(), Character_Set_Tag));
        const std::string_view text = subject.Text(*record);
        count = text.empty() ? count : characters.Split(text, '\\', VR_Of(*record)).size();
        if (count != windows) {
            Doubt_Of(subject, *record,
                     Plural(count, "value") + " where Window Center has " + std::to_string(windows),
                     "PS3.3 C.11.2.1.2");
        }
    }
}

void Check(Subject_Set& subject)
{
    const DICOM_List* data = nullptr;
    const DICOM_List* value_type = nullptr;
    subject.For_Each([&](const Watched& element) {
        const DICOM_List& record = *element.record;
        const Tag tag = Tag_Of(record);
        if (tag == Graphic_Data) {
            data = &record;
        } else if (tag == Graphic_Type) {
            // One is asked once: many shapes may stand in its item, far behind it.
            Check_Graphic(subject, element, data, std::exchange(value_type, nullptr));
        } else if (tag == Value_Type) {
            value_type = &record;
        } else if (tag == Range_Type) {
            Check_Range(subject, record);
        } else if (tag == Window_Center) {
            Check_Windows(subject, record);
        }
        const auto* row = std::lower_bound(
            std::begin(Rows), std::end(Rows), tag,
            [](const Count_Row& each, Tag wanted) { return each.number < wanted; });
        for (; row != std::end(Rows) && row->number == tag; ++row) {
            Check_Count(subject, *row, record);
        }
        const auto* const vector =
            std::find_if(std::begin(Vectors), std::end(Vectors),
                         [&](const Vector_Row& each) { return each.vector == tag; });
        if (vector != std::end(Vectors) && element.Is_Outermost()) {
            Check_Vector(subject, *vector, record);
        }
    });
}

}  // namespace

constinit const Rule Count_Rule = {Tags, Check};

}  // namespace lib_mend
