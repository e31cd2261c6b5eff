// Overlays (PS3.3 section C.9.2): groups 6000 to 601E, planes of one bit that stand in their own data
// or, in old files, in bits of the pixel data that the image does not use.
#include "mend/healing/image.h"
#include "mend/healing/pixel_data.h"

namespace lib_mend {

namespace {

constexpr unsigned short First_Group = 0x6000;
constexpr unsigned short Last_Group = 0x60FE;

struct Overlay {
    const Data_Set& set;
    DICOM_List* list;
    unsigned short group;

    std::optional<std::int64_t> Number(unsigned short element, int index = 0) const
    {
        return Number_In(set, list, {group, element}, index);
    }
    std::int64_t Frames() const
    {
        return Number(0x0015).value_or(1);
    }
    /** Bytes of all planes; none when the attributes do not tell. */
    std::optional<std::uint64_t> Size() const
    {
        Image plane;
        plane.rows = Number(0x0010);
        plane.columns = Number(0x0011);
        plane.bits_allocated = 1;
        plane.frames = Frames();
        return plane.Size();
    }
};

/** Of what stands in bits of the pixel data each pixel of the image has one. */
bool Is_Of_Another_Size(const Overlay& overlay, const Image& image)
{
    return image.rows && image.columns &&
           (overlay.Number(0x0010) != image.rows || overlay.Number(0x0011) != image.columns);
}

/** An overlay may be larger than the image, or stand beside it; who draws it has to cut it off there. */
bool Reaches_Beyond(const Overlay& overlay, const Image& image)
{
    const auto reaches = [&](unsigned short size, int index, std::optional<std::int64_t> limit) {
        const std::int64_t first = overlay.Number(0x0050, index).value_or(1);
        return limit && (first < 1 || first - 1 > *limit - overlay.Number(size).value_or(0));
    };
    return reaches(0x0010, 0, image.rows) || reaches(0x0011, 1, image.columns);
}

const char* Fault_Of(const Overlay& overlay, const DICOM_List* data, const Image& image)
{
    const std::optional<std::uint64_t> size = overlay.Size();
    if (data != nullptr && data->size >= 0 && size.has_value() &&
        static_cast<std::uint64_t>(Size_Of(*data)) < *size) {
        return "the overlay is shorter than its rows and columns";
    }
    if (data == nullptr &&
        overlay.Number(0x0102).value_or(0) >= image.bits_allocated.value_or(16)) {
        return "the overlay stands beyond the bits of the pixel data";
    }
    if (data == nullptr && Is_Of_Another_Size(overlay, image)) {
        return "the overlay is in bits of the pixel data, and has other rows or columns";
    }
    if (overlay.Number(0x0051).value_or(1) - 1 > image.frames - overlay.Frames()) {
        return "the overlay has frames beyond those of the image";
    }
    return nullptr;
}

}  // namespace

void Check_Overlays(const Data_Set& set, Findings& findings)
{
    constexpr unsigned short Rows_Element = 0x0010;
    constexpr unsigned short Data_Element = 0x3000;
    std::optional<Image> image;
    for (DICOM_List& rows : Records(set.records.Head())) {
        if (rows.group < First_Group || rows.group > Last_Group || rows.group % 2 != 0 ||
            rows.element != Rows_Element) {
            continue;
        }
        if (!image.has_value()) {
            image = Image_Of(set, set.records.Head());
        }
        const Overlay overlay = {set, &rows, rows.group};
        const DICOM_List* const data = Find_Record(&rows, {rows.group, Data_Element});
        if (const char* const fault = Fault_Of(overlay, data, *image)) {
            findings.Report(Fault::Overlay, Level::Kept, At(data != nullptr ? *data : rows, {}),
                            fault);
        } else if (Reaches_Beyond(overlay, *image)) {
            findings.Report(Fault::Unlikely, Level::Info, At(rows, {}),
                            "the overlay reaches beyond the image", {}, "PS3.3 C.9.2");
        }
    }
}

}  // namespace lib_mend
