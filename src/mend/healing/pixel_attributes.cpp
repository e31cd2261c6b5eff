// Attributes of an image that contradict each other (PS3.3 section C.7.6.3). Which of them is the
// wrong one nobody can tell, so that they stay as they are.
#include "mend/healing/image.h"
#include "mend/healing/pixel_data.h"

#include <algorithm>
#include <array>

namespace lib_mend {

namespace {

struct Colours {
    std::string_view photometric;
    std::int64_t samples;
};

constexpr Colours All_Colours[] = {
    {"MONOCHROME1", 1},
    {"MONOCHROME2", 1},
    {"PALETTE COLOR", 1},
    {"RGB", 3},
    {"HSV", 3},
    {"ARGB", 4},
    {"CMYK", 4},
    {"YBR_FULL", 3},
    {"YBR_FULL_422", 3},
    {"YBR_PARTIAL_422", 3},
    {"YBR_PARTIAL_420", 3},
    {"YBR_ICT", 3},
    {"YBR_RCT", 3},
    {"XYB", 3},
};

struct Named_Tag {
    Tag tag;
    const char* missing;
    const char* zero;
};

/** One list of attributes that is looked at. */
class Attributes {
public:
    Attributes(const Data_Set& set, DICOM_List* list, const Path& path, Findings& findings)
        : set_(set), list_(list), path_(path), findings_(findings)
    {
    }

    /** Without these nobody can show the pixels. */
    void Check_Size() const
    {
        constexpr std::array Needed = {
            Named_Tag{Rows_Tag, "Rows is missing", "Rows is 0"},
            Named_Tag{Columns_Tag, "Columns is missing", "Columns is 0"},
            Named_Tag{Bits_Allocated_Tag, "Bits Allocated is missing", "Bits Allocated is 0"}};
        for (const Named_Tag& needed : Needed) {
            if (Find_Record(list_, needed.tag) == nullptr) {
                Say(Pixel_Data_Tag, needed.missing);
            } else if (Number(needed.tag) == 0) {
                Say(needed.tag, needed.zero);
            }
        }
        const auto frames = Number(Frames_Tag);
        if (frames.has_value() && *frames < 1) {
            Say(Frames_Tag, "Number of Frames is below 1");
        }
    }
    void Check_Bits() const
    {
        const auto allocated = Number(Bits_Allocated_Tag);
        const auto stored = Number(Bits_Stored_Tag);
        const auto high = Number(High_Bit_Tag);
        const auto representation = Number(Representation_Tag);
        if (allocated > 0 && stored.has_value() && *stored > *allocated) {
            Say(Bits_Stored_Tag, "Bits Stored is above Bits Allocated");
        }
        if (stored.has_value() && high.has_value() && *high != *stored - 1) {
            Say(High_Bit_Tag, "High Bit is not Bits Stored less one");
        }
        if (representation.has_value() && (*representation < 0 || *representation > 1)) {
            Say(Representation_Tag, "Pixel Representation is neither 0 nor 1");
        }
    }
    void Check_Colours() const
    {
        const auto samples = Number(Samples_Tag);
        const std::string photometric = Text_In(set_, list_, Photometric_Tag);
        const auto* const row =
            std::find_if(std::begin(All_Colours), std::end(All_Colours),
                         [&](const Colours& known) { return known.photometric == photometric; });
        if (samples.has_value() && row != std::end(All_Colours) && *samples != row->samples) {
            Say(Samples_Tag, "Samples per Pixel does not fit the Photometric Interpretation");
        }
        if (samples.has_value() && *samples > 1 && !Number(Planar_Tag).has_value()) {
            Say(Samples_Tag, "Planar Configuration is missing");
        }
        const auto planar = Number(Planar_Tag);
        if (planar.has_value() && (*planar < 0 || *planar > 1)) {
            Say(Planar_Tag, "Planar Configuration is neither 0 nor 1");
        }
    }
    void Check_Palettes() const
    {
        constexpr unsigned short First_Descriptor = 0x1101;
        constexpr unsigned short First_Palette = 0x1201;
        constexpr unsigned short First_Segmented = 0x1221;
        const bool is_needed = Text_In(set_, list_, Photometric_Tag) == "PALETTE COLOR";
        bool is_missing = false;
        for (unsigned short colour = 0; colour < 3; ++colour) {
            const Tag descriptor = {0x0028, static_cast<unsigned short>(First_Descriptor + colour)};
            const Tag palette = {0x0028, static_cast<unsigned short>(First_Palette + colour)};
            const Tag segmented = {0x0028, static_cast<unsigned short>(First_Segmented + colour)};
            const DICOM_List* const data = Find_Record(list_, palette);
            is_missing = is_missing || Find_Record(list_, descriptor) == nullptr ||
                         (data == nullptr && Find_Record(list_, segmented) == nullptr);
            const auto entries = Number(descriptor, 0);
            const auto bits = Number(descriptor, 2);
            if (data == nullptr || data->size < 0 || !entries.has_value() || !bits.has_value()) {
                continue;
            }
            // 0 stands for 65536, which 16 bits do not hold; as SS it may look negative.
            constexpr std::int64_t Most = 65536;
            const std::int64_t count = *entries <= 0 ? *entries + Most : *entries;
            if (data->size < (*bits == 8 ? count : 2 * count)) {
                Say(palette, "the palette is shorter than its descriptor says");
            }
        }
        if (is_needed && is_missing) {
            Say(Photometric_Tag, "a palette of PALETTE COLOR is missing");
        }
    }

private:
    std::optional<std::int64_t> Number(Tag tag, int index = 0) const
    {
        return Number_In(set_, list_, tag, index);
    }
    void Say(Tag tag, const char* text) const
    {
        if (const DICOM_List* const record = Find_Record(list_, tag)) {
            findings_.Report(Fault::Pixel_Attributes, Level::Kept, At(*record, path_), text);
        }
    }

    const Data_Set& set_;
    DICOM_List* list_;
    const Path& path_;
    Findings& findings_;
};

}  // namespace

void Check_Pixel_Attributes(const Data_Set& set, DICOM_List* list, const Path& path,
                            Findings& findings)
{
    // Other lists may hold single attributes of the kind, as those of presentation states do.
    const bool has_rows = Find_Record(list, Rows_Tag) != nullptr;
    const bool has_bits = Find_Record(list, Bits_Allocated_Tag) != nullptr;
    const bool has_pixels = Find_Record(list, Pixel_Data_Tag) != nullptr &&
                            (has_rows || Find_Record(list, Columns_Tag) != nullptr);
    const Attributes attributes(set, list, path, findings);
    if (has_pixels) {
        attributes.Check_Size();
    }
    if (!has_rows || !has_bits) {
        return;
    }
    attributes.Check_Bits();
    attributes.Check_Colours();
    attributes.Check_Palettes();
}

}  // namespace lib_mend
