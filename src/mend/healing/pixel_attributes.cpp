// Attributes of an image that contradict each other (PS3.3 section C.7.6.3). Which of them is the
// wrong one nobody can tell, so that they stay as they are.
#include "mend/healing/image.h"
#include "mend/healing/pixel_data.h"
#include "mend/reading/tree.h"

#include <algorithm>

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

/** One list of attributes that is looked at. */
class Attributes {
public:
    Attributes(const Data_Set& set, DICOM_List* list, const Path& path, Findings& findings)
        : set_(set), list_(list), path_(path), findings_(findings)
    {
    }

    void Check_Bits() const
    {
        const auto allocated = Number(Bits_Allocated_Tag);
        const auto stored = Number(Bits_Stored_Tag);
        const auto high = Number(High_Bit_Tag);
        const auto representation = Number(Representation_Tag);
        if (allocated == 0) {
            Say(Bits_Allocated_Tag, "Bits Allocated is 0");
        } else if (allocated.has_value() && stored.has_value() && *stored > *allocated) {
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
    }
    void Check_Palettes() const
    {
        constexpr unsigned short First_Descriptor = 0x1101;
        constexpr unsigned short First_Palette = 0x1201;
        for (unsigned short colour = 0; colour < 3; ++colour) {
            const Tag descriptor = {0x0028, static_cast<unsigned short>(First_Descriptor + colour)};
            const Tag palette = {0x0028, static_cast<unsigned short>(First_Palette + colour)};
            const DICOM_List* const data = Find_Record(list_, palette);
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

void Check_Pixel_Attributes(Data_Set& set, Findings& findings)
{
    For_Each_List(set.records.Address(), [&](DICOM_List** list, const Path& path) {
        // Other lists may hold single attributes of the kind, as those of presentation states do.
        if (Find_Record(*list, Rows_Tag) == nullptr ||
            Find_Record(*list, Bits_Allocated_Tag) == nullptr) {
            return;
        }
        const Attributes attributes(set, *list, path, findings);
        attributes.Check_Bits();
        attributes.Check_Colours();
        attributes.Check_Palettes();
    });
}

}  // namespace lib_mend
