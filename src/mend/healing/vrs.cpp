// VRs that are not the registry's, PS3.5 section 6.2.2 and PS3.6.
//
//     Rows IS "512", UL 512            -> US 512             exactly the same number
//     Frame Time FL 1.5, FD 1.5        -> DS "1.5"            the same, or not at all
//     Series Description SH, UT        -> LO                 where the text fits
//     Rows FD 512.5, LO "many"         stays as it is, with its VR
//     Patient's Name UN                -> PN
//     a contour as UN of 107 KB        stays: a header of DS has 16 bits for the length
//     private "GPIIBBB49" for IS       UN, if the VR is that of a definition only
#include "mend/healing/vrs.h"

#include "mend/findings/attributes.h"
#include "mend/healing/multiplicity.h"
#include "mend/healing/numbers.h"
#include "mend/healing/real_numbers.h"
#include "mend/healing/records.h"
#include "mend/healing/repair.h"
#include "mend/healing/strict.h"
#include "mend/healing/value.h"
#include "mend/reading/header.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

namespace lib_mend {

namespace {

/** Longest value that an explicit header with a 2-byte length can have. */
constexpr int Longest_Short_Value = 65534;

bool Has_Alternative(const TAG_db_Elems& entry, unsigned short vr)
{
    const int count = std::abs(entry.nb_vr);
    return std::find(entry.vr, entry.vr + count, vr) != entry.vr + count;
}

/** The size that a value has once it is padded. */
std::size_t Even_Size(const DICOM_List& record)
{
    const auto size = static_cast<std::size_t>(Size_Of(record));
    return size + size % 2;
}

/** A standard element of one known VR that was written as UN: its value is little endian. */
unsigned short VR_For_Unknown(const DICOM_List& record)
{
    const bool is_plain = record.vr == VR_UN && record.dict != nullptr && record.group % 2 == 0 &&
                          record.size >= 0 && record.nb_item == 0 &&
                          std::abs(record.dict->nb_vr) == 1;
    if (!is_plain) {
        return VR_UN;
    }
    const unsigned short vr = Registry_VR(record, false);
    const std::size_t width = Width_Of(vr);
    const bool is_empty_sequence = vr == VR_SQ && record.size == 0;
    const bool known =
        is_empty_sequence || Is_Text(vr) || (width != 0 && Even_Size(record) % width == 0);
    return known ? vr : VR_UN;
}

/** The value in another VR, empty when it would not say the same. */
struct Conversion {
    bool done = false;
    std::string bytes = {};
    std::string before = {};
    std::string after = {};
    /** It took the repairs of strictness. */
    bool loses = false;
};

Conversion Convert_Number(const DICOM_List& record, std::string_view bytes, unsigned short to)
{
    const std::optional<Numbers> numbers = Numbers_In(bytes, record.vr, record.byte_order);
    if (!numbers || !Fits_Multiplicity(record, numbers->size())) {
        return {};
    }
    const std::optional<std::string> converted = Bytes_For(*numbers, to, record.byte_order);
    if (!converted) {
        return {};
    }
    const std::string text = Text_Of(*numbers);
    return {true, *converted, text, text};
}

/** Numbers with decimals, shown as text. */
Conversion Convert_Real(const DICOM_List& record, std::string_view bytes, unsigned short to)
{
    const std::optional<Real_Numbers> numbers = Real_Bytes(bytes, record.vr, to, record.byte_order);
    if (!numbers || !Fits_Multiplicity(record, numbers->count)) {
        return {};
    }
    const std::optional<Real_Numbers> text =
        Real_Bytes(numbers->bytes, to, VR_DS, record.byte_order);
    const std::string shown = text ? text->bytes : std::string();
    const char* const padding = numbers->bytes.size() % 2 != 0 ? " " : "";
    return {true, numbers->bytes + padding, shown, shown};
}

Conversion Convert_Text(const DICOM_List& record, std::string_view bytes, unsigned short to,
                        const Character_Set& characters)
{
    constexpr std::string_view Padding(" \0", 2);
    const unsigned short from = record.vr;
    if (!Is_Text(from) || !Is_Text(to) ||
        (Is_Multiple(from) != Is_Multiple(to) && bytes.find('\\') != bytes.npos)) {
        return {};
    }
    if (from == VR_UI || to == VR_UI) {
        bytes = bytes.substr(0, bytes.find_last_not_of(Padding) + 1);
    }
    const Healed_Value healed = Heal_Value({bytes, to, characters});
    const bool fits = std::all_of(healed.notes.begin(), healed.notes.end(),
                                  [](const Note& note) { return note.fault == Fault::Odd_Length; });
    if (!fits || !Fits_Multiplicity(record, healed.count)) {
        return {};
    }
    return {true, healed.bytes, std::string(Bytes_Of(record)), healed.bytes};
}

Conversion Convert_Bytes(const DICOM_List& record, std::string_view bytes, unsigned short to,
                         const Character_Set& characters)
{
    Conversion converted = Convert_Text(record, bytes, to, characters);
    converted = converted.done ? converted : Convert_Number(record, bytes, to);
    return converted.done ? converted : Convert_Real(record, bytes, to);
}

/** Converts what comes out of healing under the VR that the value has, or else it would later. */
Conversion Convert(const DICOM_List& record, unsigned short to, const Character_Set& characters,
                   const Heal_Options& options)
{
    if (record.size == 0) {
        return {true};
    }
    const Healed_Value healed =
        Heal_Value({Bytes_Of(record), record.vr, characters, options.replace_uids});
    if (healed.bytes.empty()) {
        return {true, {}, std::string(Bytes_Of(record)), {}};
    }
    Conversion converted = Convert_Bytes(record, healed.bytes, to, characters);
    if (converted.done || !options.strict || !Has_Level(healed.notes, Level::Kept)) {
        return converted;
    }
    const Strict_Value strict =
        Repair_Strictly(record, healed.bytes, characters, options.replace_uids);
    if (!strict.deleted) {
        converted = Convert_Bytes(record, strict.bytes, to, characters);
        converted.loses = true;
    }
    return converted;
}

/** Whatever a definition says, a value that has another form tells that it is not meant. */
bool Contradicts(const Healed_Value& healed)
{
    constexpr std::array Harmless = {Fault::Padding, Fault::Odd_Length, Fault::Length, Fault::Name};
    return std::any_of(healed.notes.begin(), healed.notes.end(), [&](const Note& note) {
        return std::find(Harmless.begin(), Harmless.end(), note.fault) == Harmless.end();
    });
}

/** A private element whose VR comes from a definition and not from the file. */
bool Has_Defined_VR(const DICOM_List& record)
{
    return record.vr == 0 && record.group % 2 != 0 && record.element > 0x00FF &&
           record.vr_default != 0 && record.vr_default != VR_UN && record.vr_default != VR_SQ;
}

class Settler {
public:
    Settler(Data_Set& set, const Heal_Options& options, Findings& findings)
        : set_(set), options_(options), findings_(findings)
    {
    }

    void Settle(DICOM_List& record, const Path& way, const Character_Set& characters,
                bool is_signed)
    {
        if (!Has_Value(record) || Is_Streamed(record)) {
            return;
        }
        const unsigned short known = VR_For_Unknown(record);
        if (known != VR_UN) {
            // One that is too long for the header of its VR is written as UN again.
            if (record.size <= Longest_Short_Value || Is_Long_VR(known)) {
                findings_.Report(Fault::VR_Unknown, Level::Change, At(record, way),
                                 "VR=UN is replaced by VR=" + VR_Text(known) + " of the registry");
            }
            record.vr = known;
            record.byte_order &= static_cast<unsigned char>(~DICOM_Order_Big_Endian);
        } else if (record.vr == 0 && record.dict != nullptr && std::abs(record.dict->nb_vr) > 1) {
            record.vr_default = Registry_VR(record, is_signed);
        } else if (record.vr != VR_UN && Has_Foreign_VR(record)) {
            Settle_Foreign(record, way, characters, Registry_VR(record, is_signed));
        } else if (Has_Defined_VR(record) && !Is_Bulk(record)) {
            Settle_Defined(record, way, characters);
        }
    }

private:
    void Settle_Foreign(DICOM_List& record, const Path& way, const Character_Set& characters,
                        unsigned short wanted)
    {
        std::optional<Loaded> loaded;
        if (wanted != VR_SQ && !Is_Bulk(record)) {
            loaded.emplace(set_, record);
        }
        const Place place = At(record, way);
        const Conversion converted = loaded && loaded->Ready()
                                         ? Convert(record, wanted, characters, options_)
                                         : Conversion();
        const std::string text = "VR=" + VR_Text(record.vr);
        if (!converted.done) {
            findings_.Report(Fault::VR_Other, Level::Kept, place,
                             text + " instead of VR=" + VR_Text(wanted));
            return;
        }
        if (converted.loses) {
            findings_.Report(Fault::Strict, Level::Error, place,
                             "repaired at the cost of what it says",
                             {converted.before, converted.after});
        }
        findings_.Report(Fault::Value_VR, Level::Change, place,
                         text + " is replaced by VR=" + VR_Text(wanted) + " of the registry",
                         {converted.before, converted.after});
        record.vr = wanted;
        if (converted.bytes != Bytes_Of(record)) {
            Set_Bytes(record, converted.bytes);
            loaded->Keep();
        }
    }

    void Settle_Defined(DICOM_List& record, const Path& way, const Character_Set& characters)
    {
        const Loaded loaded(set_, record);
        if (!Contradicts(Heal_Value({Bytes_Of(record), record.vr_default, characters}))) {
            return;
        }
        findings_.Report(Fault::Private_Definition, Level::Kept, At(record, way),
                         "the value is not of VR=" + VR_Text(record.vr_default) +
                             " as its definition says, and is left as it is",
                         {Bytes_Of(record), {}});
        record.vr_default = VR_UN;
        record.vr = VR_UN;
    }

    Data_Set& set_;
    const Heal_Options& options_;
    Findings& findings_;
};

bool Is_Declaration(const DICOM_List& record)
{
    return Tag_Of(record) == Character_Set_Tag;
}

}  // namespace

bool Signs_Of_Lists::Of(DICOM_List& record, const Path& way)
{
    return any_ && lists_.At(record, way, [this](DICOM_List& first, bool around) {
        const DICOM_List* const sign = Find_Record(&first, Pixel_Representation_Tag);
        if (sign == nullptr) {
            return around;
        }
        const Bytes value = set_.Value(*sign, 2);
        return value.size() == 2 && Get_UShort(sign->byte_order, value.data()) == 1;
    });
}

unsigned short Registry_VR(const DICOM_List& record, bool is_signed)
{
    if (record.dict == nullptr || record.dict->nb_vr == 0) {
        return Is_Creator(record) ? VR_LO : record.vr_default;
    }
    const Attribute attribute = Attribute_Of(*record.dict);
    if (attribute.Has_VR(VR_US) && attribute.Has_VR(VR_SS)) {
        if (attribute.Has_VR(VR_OW) && record.size > Longest_Short_Value) {
            return VR_OW;
        }
        return is_signed ? VR_SS : VR_US;
    }
    return attribute.Has_VR(VR_OW) ? VR_OW : attribute.vrs.empty() ? VR_UN : attribute.vrs.front();
}

bool Has_Foreign_VR(const DICOM_List& record)
{
    const bool is_no_length = record.element == 0x0000 && !Is_Group_Length(record);
    if (record.vr == 0 || Is_Streamed(record) || is_no_length) {
        return false;
    }
    if (record.dict == nullptr || record.dict->nb_vr == 0) {
        return Is_Creator(record) && record.vr != VR_LO;
    }
    return !Has_Alternative(*record.dict, record.vr) &&
           !Attribute_Of(*record.dict).Has_VR(record.vr);
}

void Settle_VRs(Data_Set& set, const Contents& contents, const Heal_Options& options,
                Findings& findings, const Element_Visit& at_hand)
{
    Signs_Of_Lists signs(set, contents.signs);
    Character_Sets_Of_Lists characters(set, contents.declarations);
    Settler settler(set, options, findings);
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& way) {
        const Character_Set& here = characters.Of(record, way);
        const bool is_signed = signs.Of(record, way);
        if (!Is_Declaration(record)) {
            settler.Settle(record, way, here, is_signed);
        }
        at_hand(record, way, here);
    });
}

void Settle_VRs_Of_Declarations(Data_Set& set, const Heal_Options& options, Findings& findings)
{
    const Character_Set characters;
    Settler settler(set, options, findings);
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& way) {
        if (Is_Declaration(record)) {
            settler.Settle(record, way, characters, false);
        }
    });
}

void Settle_VR_Of_Declaration(Data_Set& set, const Heal_Options& options, Findings& findings)
{
    if (DICOM_List* const record = Find_Record(set.records.Head(), Character_Set_Tag)) {
        Settler(set, options, findings).Settle(*record, {}, Character_Set(), false);
    }
}

}  // namespace lib_mend
