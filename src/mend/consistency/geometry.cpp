// Directions, distances and widths that are none: an image whose rows are not perpendicular to its columns
// lies nowhere, and nothing fits into a window of no width.
#include "mend/consistency/rules.h"
#include "mend/verify/value_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <vector>

namespace lib_mend {

namespace {

constexpr Tag Rows_Tag = {0x0028, 0x0010};
constexpr Tag Columns_Tag = {0x0028, 0x0011};
constexpr Tag Window_Width = {0x0028, 0x1051};
constexpr Tag Window_Function = {0x0028, 0x1056};
constexpr Tag Smallest = {0x0028, 0x0106};
constexpr Tag Largest = {0x0028, 0x0107};
constexpr Tag Orientation = {0x0020, 0x0037};
constexpr Tag Slide_Orientation = {0x0048, 0x0102};

/** Distances between the centres of pixels: of rows, of columns. */
constexpr Tag Spacings[] = {{0x0018, 0x1164}, {0x0018, 0x2010}, {0x0028, 0x0030}};

constexpr std::array Tags = {Rows_Tag,    Columns_Tag, Window_Width,      Smallest,
                             Largest,     Orientation, Slide_Orientation, Spacings[0],
                             Spacings[1], Spacings[2]};

/** The numbers of an element; none when it holds anything else. */
std::vector<double> Decimals_In(const Subject_Set& subject, const DICOM_List& record)
{
    const Value_View value(subject.set, record);
    std::vector<double> numbers;
    for (int i = 0; value.Is_Known() && i < value.Count(); ++i) {
        const std::optional<double> number = value.Number(i);
        if (!number) {
            return {};
        }
        numbers.push_back(*number);
    }
    return numbers;
}

void Doubt_Of(Subject_Set& subject, const DICOM_List& record, const char* text, const char* clause)
{
    subject.doubts.push_back({&record, Fault::Image_Values, Level::Kept, text, clause,
                              std::string(subject.Text(record))});
}

double Product(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/** Two directions of length one, perpendicular as far as numbers that were rounded can be. */
void Check_Orientation(Subject_Set& subject, const DICOM_List& record)
{
    constexpr double Rounding = 0.01;
    const std::vector<double> numbers = Decimals_In(subject, record);
    if (numbers.size() != 6) {
        return;
    }
    const double* const row = numbers.data();
    const double* const column = row + 3;
    const char* const clause =
        Tag_Of(record) == Orientation ? "PS3.3 C.7.6.2.1.1" : "PS3.3 C.8.12.4";
    const auto is_unit = [&](const double* direction) {
        return std::abs(std::sqrt(Product(direction, direction)) - 1) < Rounding;
    };
    if (!is_unit(row) || !is_unit(column)) {
        Doubt_Of(subject, record, "directions are not of length one", clause);
    } else if (!(std::abs(Product(row, column)) < Rounding)) {
        Doubt_Of(subject, record, "rows and columns are not perpendicular", clause);
    }
}

/** Of a single row or column there is no distance to the next. */
void Check_Spacing(Subject_Set& subject, const DICOM_List& record)
{
    const auto is_single = [&](Tag tag) {
        return subject.Top(tag) != nullptr &&
               subject.Whole_Numbers(*subject.Top(tag)) == Numbers{1};
    };
    const std::vector<double> numbers = Decimals_In(subject, record);
    const bool may_be_zero = is_single(Rows_Tag) || is_single(Columns_Tag);
    if (std::any_of(numbers.begin(), numbers.end(),
                    [&](double number) { return number < 0 || (number == 0 && !may_be_zero); })) {
        Doubt_Of(subject, record, "pixels are no distance apart", "PS3.3 10.7.1.3");
    }
}

void Check_Window(Subject_Set& subject, const DICOM_List& record)
{
    const DICOM_List* const function = Behind(record, Window_Function);
    const std::string_view name =
        function != nullptr ? subject.Text(*function) : std::string_view();
    const bool is_linear = name.empty() || name == "LINEAR";
    const std::vector<double> numbers = Decimals_In(subject, record);
    if (std::any_of(numbers.begin(), numbers.end(),
                    [&](double number) { return is_linear ? number < 1 : number <= 0; })) {
        Doubt_Of(subject, record,
                 is_linear ? "the window is less than 1 wide" : "the window has no width",
                 "PS3.3 C.11.2.1.2");
    }
}

void Check_Extremes(Subject_Set& subject)
{
    const DICOM_List* const smallest = subject.Top(Smallest);
    const DICOM_List* const largest = subject.Top(Largest);
    if (smallest == nullptr || largest == nullptr) {
        return;
    }
    const Numbers low = subject.Whole_Numbers(*smallest);
    const Numbers high = subject.Whole_Numbers(*largest);
    if (low.size() == 1 && high.size() == 1 && low.front() > high.front()) {
        subject.doubts.push_back({smallest, Fault::Image_Values, Level::Kept,
                                  "the smallest pixel value is above the largest", "PS3.3 C.7.6.3",
                                  Text_Of(low)});
    }
}

void Check(Subject_Set& subject)
{
    subject.For_Each([&](const Watched& element) {
        const DICOM_List& record = *element.record;
        const Tag tag = Tag_Of(record);
        if (tag == Orientation || tag == Slide_Orientation) {
            Check_Orientation(subject, record);
        } else if (tag == Window_Width) {
            Check_Window(subject, record);
        } else if (std::find(std::begin(Spacings), std::end(Spacings), tag) != std::end(Spacings)) {
            Check_Spacing(subject, record);
        }
    });
    Check_Extremes(subject);
}

}  // namespace

constinit const Rule Geometry_Rule = {Tags, Check};

}  // namespace lib_mend
