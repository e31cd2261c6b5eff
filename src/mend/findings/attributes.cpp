#include "mend/findings/attributes.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <map>
#include <set>

namespace lib_mend {

namespace {

/** What an entry of the library's dictionary has to say instead. Empty and 0: as it stands there. */
struct Correction {
    Tag tag;
    const char* name;
    unsigned short vr = 0;
    unsigned short other_vr = 0;
    unsigned short vm_min = 1;
    unsigned short vm_max = 1;
    bool retired = false;
};

constexpr unsigned short N = Attribute::Unbounded;

constexpr Correction Corrections[] = {
    {{0x0002, 0x0000}, "File Meta Information Group Length"},
    {{0x0008, 0x9237}, "Referenced Presentation State Sequence"},
    {{0x0018, 0x0029}, "Intervention Drug Code Sequence"},
    {{0x0018, 0x0032}, "Energy Window Centerline", VR_DS, 0, 1, 1, true},
    {{0x0018, 0x0037}, "Therapy Type", VR_CS, 0, 1, 1, true},
    {{0x0018, 0x0039}, "Therapy Description", VR_CS, 0, 1, 1, true},
    {{0x0018, 0x1011}, "Hardcopy Creation Device ID", VR_LO, 0, 1, 1, true},
    {{0x0018, 0x1016}, "Secondary Capture Device Manufacturer"},
    {{0x0018, 0x1017}, "Hardcopy Device Manufacturer", VR_LO, 0, 1, 1, true},
    {{0x0018, 0x1019}, "Secondary Capture Device Software Versions"},
    {{0x0018, 0x101B}, "Hardcopy Device Manufacturer's Model Name", VR_LO, 0, 1, 1, true},
    {{0x0018, 0x1020}, "Software Versions"},
    {{0x0018, 0x1141}, "Angular Position", VR_DS, 0, 1, 1, true},
    {{0x0018, 0x1240}, "Upper/Lower Pixel Values", VR_IS, 0, 1, N, true},
    {{0x0018, 0x4000}, "Acquisition Comments", VR_LT, 0, 1, 1, true},
    {{0x0018, 0x5021}, "Postprocessing Function", VR_LO, 0, 1, 1, true},
    {{0x0018, 0x5030}, "Dynamic Range", VR_DS, 0, 1, 1, true},
    {{0x0018, 0x5040}, "Total Gain", VR_DS, 0, 1, 1, true},
    {{0x0018, 0x5210}, "Image Transformation Matrix", VR_DS, 0, 6, 6, true},
    {{0x0018, 0x5212}, "Image Translation Vector", VR_DS, 0, 3, 3, true},
    {{0x0018, 0x6038}, "Doppler Sample Volume X Position (Retired)", VR_UL, 0, 1, 1, true},
    {{0x0018, 0x603A}, "Doppler Sample Volume Y Position (Retired)", VR_UL, 0, 1, 1, true},
    {{0x0018, 0x603C}, "TM-Line Position X0 (Retired)", VR_UL, 0, 1, 1, true},
    {{0x0018, 0x603E}, "TM-Line Position Y0 (Retired)", VR_UL, 0, 1, 1, true},
    {{0x0018, 0x6040}, "TM-Line Position X1 (Retired)", VR_UL, 0, 1, 1, true},
    {{0x0018, 0x6042}, "TM-Line Position Y1 (Retired)", VR_UL, 0, 1, 1, true},
    {{0x0018, 0x9066}, "Number of Zero Fills"},
    {{0x0018, 0x9096}, "Parallel Reduction Factor In-plane (Retired)", VR_FD, 0, 1, 1, true},
    {{0x0018, 0x9166}, "Bulk Motion Status", VR_CS, 0, 1, 1, true},
    {{0x0018, 0x925A}, "ASL Crusher Flow Limit"},
    {{0x0018, 0x9295}, "Chemical Shift Minimum Integration Limit in ppm"},
    {{0x0018, 0x9296}, "Chemical Shift Maximum Integration Limit in ppm"},
    {{0x0018, 0xA002}, "Contribution DateTime"},
    {{0x0020, 0x9251}, "R-R Interval Time Nominal"},
    {{0x0028, 0x0071}, "Perimeter Value", VR_US, VR_SS, 1, 1, true},
    {{0x0028, 0x1100}, "Gray Lookup Table Descriptor"},
    {{0x0028, 0x1101}, "Red Palette Color Lookup Table Descriptor"},
    {{0x0028, 0x1102}, "Green Palette Color Lookup Table Descriptor"},
    {{0x0028, 0x1103}, "Blue Palette Color Lookup Table Descriptor"},
    {{0x0028, 0x1111}, "Large Red Palette Color Lookup Table Descriptor"},
    {{0x0028, 0x1112}, "Large Green Palette Color Lookup Table Descriptor"},
    {{0x0028, 0x1113}, "Large Blue Palette Color Lookup Table Descriptor"},
    {{0x0028, 0x1300}, "Breast Implant Present"},
    {{0x0028, 0x3002}, "LUT Descriptor"},
    {{0x0028, 0x6022}, "Frame of Interest Description"},
    {{0x0028, 0x7FE0}, "Pixel Data Provider URL", VR_UR},
    {{0x0040, 0x072A}, "X Offset in Slide Coordinate System"},
    {{0x0040, 0x073A}, "Y Offset in Slide Coordinate System"},
    {{0x0040, 0x074A}, "Z Offset in Slide Coordinate System"},
    {{0x0040, 0x9211}, "Real World Value Last Value Mapped", VR_US, VR_SS},
    {{0x0040, 0x9216}, "Real World Value First Value Mapped", VR_US, VR_SS},
    {{0x0040, 0xA030}, "Verification DateTime"},
    {{0x0040, 0xA032}, "Observation DateTime"},
    {{0x0040, 0xB020}, "Waveform Annotation Sequence"},
    {{0x0040, 0xE010}, "Retrieve URI", VR_UR},
    {{0x0050, 0x0019}, "Inter-Marker Distance"},
    {{0x0072, 0x0052}, "Selector Sequence Pointer", VR_AT, 0, 1, N},
    {{0x0072, 0x0054}, "Selector Sequence Pointer Private Creator", VR_LO, 0, 1, N},
    {{0x0074, 0x100A}, "Contact URI", VR_UR},
    {{0x0100, 0x0420}, "SOP Authorization DateTime"},
    {{0x5200, 0x9230}, "Per-Frame Functional Groups Sequence"},
    {{0xFFFC, 0xFFFC}, "Data Set Trailing Padding"},
};

constexpr bool Are_Sorted()
{
    return std::is_sorted(std::begin(Corrections), std::end(Corrections),
                          [](const Correction& a, const Correction& b) { return a.tag < b.tag; });
}
static_assert(Are_Sorted(), "the search relies on the order");

const Correction* Correction_Of(Tag tag)
{
    const auto* const found =
        std::lower_bound(std::begin(Corrections), std::end(Corrections), tag,
                         [](const Correction& row, Tag wanted) { return row.tag < wanted; });
    return found != std::end(Corrections) && found->tag == tag ? found : nullptr;
}

/** Small letters and digits: what a search compares. */
std::string Letters_Of(std::string_view text)
{
    std::string letters;
    for (const char c : text) {
        if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z')) {
            letters += c;
        } else if (c >= 'A' && c <= 'Z') {
            letters += static_cast<char>(c - 'A' + 'a');
        }
    }
    return letters;
}

/** Entries of the dictionary that may have the text in their name, keyword or corrected name. */
std::vector<const TAG_db_Elems*> Candidates(const std::string& text)
{
    std::vector<const TAG_db_Elems*> candidates;
    // Every name with a possessive holds an "s".
    for (const char* const part : {text.c_str(), "s"}) {
        const TAG_db_Elems* entry = nullptr;
        while ((entry = NEMA_db_Find(part, entry)) != nullptr) {
            candidates.push_back(entry);
        }
    }
    for (const Correction& row : Corrections) {
        if (const TAG_db_Elems* const entry = NEMA_db_Locate(row.tag.group, row.tag.element)) {
            candidates.push_back(entry);
        }
    }
    return candidates;
}

}  // namespace

bool Attribute::Has_VR(unsigned short vr) const
{
    return std::find(vrs.begin(), vrs.end(), vr) != vrs.end();
}

Attribute Attribute_Of(const TAG_db_Elems& entry)
{
    Attribute attribute;
    attribute.tag = {entry.group, entry.element};
    attribute.elem_mask = entry.elem_mask;
    attribute.name = entry.name;
    attribute.retired = entry.nb_vr < 0;
    const int count = std::abs(entry.nb_vr);
    attribute.vrs.assign(entry.vr, entry.vr + count);
    if (count > 0) {
        attribute.vm_min = entry.vm[0].vm_min;
        attribute.vm_max = entry.vm[0].vm_max;
    }
    if (const Correction* const row = Correction_Of(attribute.tag)) {
        attribute.name = row->name;
        attribute.retired = attribute.retired || row->retired;
        if (row->vr != 0) {
            attribute.vrs.assign({row->vr});
            attribute.vm_min = row->vm_min;
            attribute.vm_max = row->vm_max;
        }
        if (row->other_vr != 0) {
            attribute.vrs.push_back(row->other_vr);
        }
    }
    return attribute;
}

std::optional<Attribute> Find_Attribute(Tag tag)
{
    const TAG_db_Elems* const entry = NEMA_db_Locate(tag.group, tag.element);
    return entry != nullptr ? std::optional(Attribute_Of(*entry)) : std::nullopt;
}

std::string Keyword_Of(std::string_view name)
{
    // Units keep their small letters: XRayTubeCurrentInmA.
    constexpr std::string_view Small[] = {"dB", "dt",  "mA", "mAs", "ms", "ppm",
                                          "uA", "uAs", "uS", "yyy", "zzz"};
    const auto is_letter = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    };
    std::string keyword;
    while (!name.empty()) {
        const auto end = static_cast<std::size_t>(
            std::find_if_not(name.begin(), name.end(), is_letter) - name.begin());
        const std::string_view word = name.substr(0, end);
        const bool is_unit = std::find(std::begin(Small), std::end(Small), word) != std::end(Small);
        if (!word.empty() && word[0] >= 'a' && word[0] <= 'z' && !is_unit) {
            keyword += static_cast<char>(word[0] - 'a' + 'A');
            keyword += word.substr(1);
        } else {
            keyword += word;
        }
        name.remove_prefix(end);
        const bool is_possessive = name.starts_with("'s");
        name.remove_prefix(is_possessive ? 2 : std::min<std::size_t>(name.size(), 1));
    }
    return keyword;
}

namespace {

using Tags_By_Keyword = std::map<std::string, Tag, std::less<>>;

const Tags_By_Keyword& All_Keywords()
{
    static const Tags_By_Keyword Tags = [] {
        std::map<std::string, Tag, std::less<>> tags;
        // Every name has one of the letters.
        for (char part[] = "a"; part[0] <= 'z'; ++part[0]) {
            const TAG_db_Elems* entry = nullptr;
            while ((entry = NEMA_db_Find(part, entry)) != nullptr) {
                const Attribute attribute = Attribute_Of(*entry);
                const std::string key = Keyword_Of(attribute.name);
                // Of a name that two have, the one that is in use counts.
                if (attribute.retired) {
                    tags.emplace(key, attribute.tag);
                } else {
                    tags.insert_or_assign(key, attribute.tag);
                }
            }
        }
        return tags;
    }();
    return Tags;
}

}  // namespace

std::vector<std::string> Keywords()
{
    std::vector<std::string> keywords;
    for (const auto& [keyword, tag] : All_Keywords()) {
        keywords.push_back(keyword);
    }
    return keywords;
}

std::optional<Tag> Tag_Of_Keyword(std::string_view keyword)
{
    const auto found = All_Keywords().find(keyword);
    return found != All_Keywords().end() ? std::optional(found->second) : std::nullopt;
}

std::vector<Attribute> Search_Attributes(const std::string& text)
{
    const std::string wanted = Letters_Of(text);
    std::vector<Attribute> found;
    std::set<const TAG_db_Elems*> seen;
    if (wanted.empty()) {
        return found;
    }
    for (const TAG_db_Elems* const entry : Candidates(text)) {
        const Attribute attribute = Attribute_Of(*entry);
        const bool fits = Letters_Of(attribute.name).find(wanted) != std::string::npos ||
                          Letters_Of(Keyword_Of(attribute.name)).find(wanted) != std::string::npos;
        if (fits && seen.insert(entry).second) {
            found.push_back(attribute);
        }
    }
    std::sort(found.begin(), found.end(),
              [](const Attribute& a, const Attribute& b) { return a.tag < b.tag; });
    std::stable_partition(found.begin(), found.end(), [&](const Attribute& attribute) {
        return Letters_Of(attribute.name) == wanted ||
               Letters_Of(Keyword_Of(attribute.name)) == wanted;
    });
    return found;
}

}  // namespace lib_mend
