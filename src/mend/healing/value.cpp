#include "mend/healing/value.h"

#include "mend/findings/letters.h"
#include "mend/healing/forms.h"
#include "mend/healing/sound_values.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace lib_mend {

namespace {

/** Blanks around a value that are no part of it and legal (PS3.5 section 6.2). */
enum class Blanks { None, Behind, Around };

struct Text_Rule {
    unsigned short vr;
    bool multiple;
    Blanks blanks;
    /** In characters; 0 without bound, or where the form says it. */
    std::size_t longest;
    /** Brings one value into form; null for free texts. */
    void (*heal)(Piece& piece);
};

constexpr Text_Rule Text_Rules[] = {
    {VR_AE, true, Blanks::Around, 16, &Heal_Application_Entity},
    {VR_AS, true, Blanks::None, 0, &Heal_Age},
    {VR_CS, true, Blanks::Around, 16, &Heal_Code_String},
    {VR_DA, true, Blanks::None, 0, &Heal_Date},
    {VR_DS, true, Blanks::Around, 16, &Heal_Decimal_String},
    {VR_DT, true, Blanks::Behind, 26, &Heal_Date_Time},
    {VR_IS, true, Blanks::Around, 12, &Heal_Integer_String},
    {VR_LO, true, Blanks::Around, 64, nullptr},
    {VR_LT, false, Blanks::Around, 10240, nullptr},
    {VR_PN, true, Blanks::Around, 0, &Heal_Name},
    {VR_SH, true, Blanks::Around, 16, nullptr},
    {VR_ST, false, Blanks::Around, 1024, nullptr},
    {VR_TM, true, Blanks::Behind, 14, &Heal_Time},
    {VR_UC, true, Blanks::Around, 0, nullptr},
    {VR_UI, true, Blanks::None, 0, &Heal_UID},
    {VR_UR, false, Blanks::Behind, 0, &Heal_URI},
    {VR_UT, false, Blanks::Around, 0, nullptr},
};

struct Width {
    unsigned short vr;
    std::size_t bytes;
    /** Its bytes are one value, however many there are. */
    bool single;
};

constexpr Width Widths[] = {
    {VR_AT, 4, false}, {VR_FD, 8, false}, {VR_FL, 4, false}, {VR_OB, 1, true},  {VR_OD, 8, true},
    {VR_OF, 4, true},  {VR_OL, 4, true},  {VR_OV, 8, true},  {VR_OW, 2, true},  {VR_SL, 4, false},
    {VR_SS, 2, false}, {VR_SV, 8, false}, {VR_UL, 4, false}, {VR_US, 2, false}, {VR_UV, 8, false},
};

const Text_Rule* Text_Rule_Of(unsigned short vr)
{
    const auto* const found = std::find_if(std::begin(Text_Rules), std::end(Text_Rules),
                                           [vr](const Text_Rule& rule) { return rule.vr == vr; });
    return found != std::end(Text_Rules) ? found : nullptr;
}

const Width* Find_Width(unsigned short vr)
{
    const auto* const found = std::find_if(std::begin(Widths), std::end(Widths),
                                           [vr](const Width& width) { return width.vr == vr; });
    return found != std::end(Widths) ? found : nullptr;
}

std::string_view Without(std::string_view text, std::string_view letters, bool in_front)
{
    const std::size_t end = text.find_last_not_of(letters) + 1;
    text = text.substr(0, end);
    const std::size_t start = in_front ? std::min(text.find_first_not_of(letters), end) : 0;
    return text.substr(start);
}

/** A whole value without the NULs that pad it, and the blanks among them. */
std::string_view Without_NULs(std::string_view value)
{
    constexpr std::string_view Padding(" \0", 2);
    const std::string_view core = Without(value, Padding, false);
    return value.substr(0, std::min(value.find('\0', core.size()), value.size()));
}

/**
 * Appends one value between backslashes, brought into the form of its VR.
 *
 * @param is_padding  a blank behind the last backslash, which makes the length even
 */
void Heal_Piece(const Value& value, const Text_Rule& rule, std::string_view text, bool is_padding,
                Notes& notes, std::string& form)
{
    // Padding of a list may stand behind each of its UIDs.
    const std::string_view blank = rule.vr == VR_UI ? std::string_view(" \0", 2) : " ";
    const std::string_view core = Without(text, blank, true);
    if (core.empty() && rule.vr == VR_AE && !text.empty() && !is_padding) {
        Add_Note(notes, {Fault::Characters, Level::Kept, "nothing but blanks"});
    }
    if (core.empty()) {
        form += rule.blanks == Blanks::None ? std::string_view() : text;
        return;
    }
    Piece piece(core, value.characters, notes, value.replace_uids);
    // A UID that holds any is none, which is said of it and may be healed.
    if (rule.vr != VR_UI && !Is_Plain_ASCII(core) && Has_Control_Characters(core, rule.vr)) {
        piece.Stays(Fault::Control_Characters, Control_Characters_Text);
        form += rule.blanks == Blanks::Around ? text : core;
        return;
    }
    if (rule.heal != nullptr) {
        rule.heal(piece);
    }
    if (piece.Text() != core) {
        text = piece.Text();
    } else if (rule.blanks == Blanks::None) {
        text = core;
    } else if (rule.blanks == Blanks::Behind) {
        text.remove_prefix(static_cast<std::size_t>(core.data() - text.data()));
    }
    const auto fits = [&](std::string_view bytes) {
        return rule.longest == 0 || bytes.size() <= rule.longest ||
               value.characters.Count(bytes, rule.vr) <= rule.longest;
    };
    // Blanks that are no part of the value do not make it too long.
    const std::string_view bare =
        fits(text) ? text : Without(text, " ", rule.blanks == Blanks::Around && rule.multiple);
    const bool is_short = fits(bare);
    if (!is_short && !piece.Stays_Wrong()) {
        piece.Stays(Fault::Length, Too_Long_Text);
    }
    form += is_short ? bare : text;
}

void Note_Padding(const Value& value, Healed_Value& healed)
{
    if (Has_Level(healed.notes, Level::Change) || healed.bytes == value.bytes) {
        return;
    }
    const bool only_odd = value.bytes.size() % 2 != 0 &&
                          healed.bytes.size() == value.bytes.size() + 1 &&
                          healed.bytes.starts_with(value.bytes);
    if (only_odd) {
        Add_Note(healed.notes, {Fault::Odd_Length, Level::Change, Odd_Size_Text});
    } else {
        Add_Note(healed.notes, {Fault::Padding, Level::Change, Wrong_Padding_Text});
    }
}

/** All values of a text in form, of even length. */
std::string Form_Of(const Value& value, const Text_Rule& rule, Notes& notes, std::size_t& count)
{
    const std::string_view bytes = Without_NULs(value.bytes);
    const bool is_even = bytes.size() % 2 == 0;
    std::string form;
    if (!bytes.empty()) {
        const std::vector<std::string_view> texts =
            rule.multiple ? value.characters.Split(bytes, '\\', rule.vr)
                          : std::vector<std::string_view>{bytes};
        count = texts.size();
        form.reserve(bytes.size() + 1);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            form += i > 0 ? "\\" : "";
            const bool is_padding = is_even && i > 0 && i + 1 == texts.size() && texts[i] == " ";
            Heal_Piece(value, rule, texts[i], is_padding, notes, form);
        }
    }
    if (form.size() % 2 != 0) {
        form += rule.vr == VR_UI ? '\0' : ' ';
    }
    return form;
}

/** A value that is nothing of its VR may be binary: its last NULs may be a part of it. */
bool Is_Foreign(const Notes& notes)
{
    constexpr std::array Faults = {Fault::Control_Characters, Fault::Characters, Fault::Date,
                                   Fault::Form, Fault::Number};
    return !Has_Level(notes, Level::Change) &&
           std::any_of(notes.begin(), notes.end(), [&](const Note& note) {
               return std::find(Faults.begin(), Faults.end(), note.fault) != Faults.end();
           });
}

/** A free text in plain letters, as most are, is in form whatever it says. */
bool Is_Plain_And_Free(const Value& value, const Text_Rule& rule)
{
    return rule.heal == nullptr && value.bytes.size() % 2 == 0 &&
           (rule.longest == 0 || value.bytes.size() <= rule.longest) &&
           value.characters.Is_Plain(value.bytes);
}

Healed_Value Heal_Text(const Value& value, const Text_Rule& rule)
{
    Healed_Value healed;
    healed.count = Count_Sound_Values(value);
    if (healed.count > 0) {
        healed.bytes = value.bytes;
        return healed;
    }
    if (!value.bytes.empty() && Is_Plain_And_Free(value, rule)) {
        healed.bytes = value.bytes;
        const auto separators = std::count(value.bytes.begin(), value.bytes.end(), '\\');
        healed.count = 1 + (rule.multiple ? static_cast<std::size_t>(separators) : 0);
        return healed;
    }
    healed.bytes = Form_Of(value, rule, healed.notes, healed.count);
    if (Is_Foreign(healed.notes)) {
        healed.bytes = value.bytes;
        healed.bytes += healed.bytes.size() % 2 != 0 ? " " : "";
    } else if (healed.bytes != value.bytes) {
        // A blank that pads the length may make the last value too long for its other blanks.
        Value again = value;
        again.bytes = healed.bytes;
        Notes known;
        healed.bytes = Form_Of(again, rule, known, healed.count);
    }
    Note_Padding(value, healed);
    return healed;
}

Healed_Value Heal_Binary(const Value& value)
{
    Healed_Value healed;
    healed.bytes = value.bytes;
    const Width* const width = Find_Width(value.vr);
    // The byte that makes the length even may make one more value of it.
    const std::size_t size = value.bytes.size() + value.bytes.size() % 2;
    healed.count = value.bytes.empty()                 ? 0
                   : width == nullptr || width->single ? 1
                                                       : size / width->bytes;
    if (width != nullptr && value.bytes.size() % width->bytes != 0) {
        Add_Note(healed.notes, {Fault::Size, Level::Kept, Wrong_Size_Text});
    }
    if (value.bytes.size() % 2 != 0) {
        healed.bytes += '\0';
        Note_Padding(value, healed);
    }
    return healed;
}

}  // namespace

void Add_Note(Notes& notes, const Note& note)
{
    if (std::find(notes.begin(), notes.end(), note) == notes.end()) {
        notes.push_back(note);
    }
}

bool Has_Level(const Notes& notes, Level level)
{
    return std::any_of(notes.begin(), notes.end(),
                       [level](const Note& note) { return note.level == level; });
}

std::size_t Width_Of(unsigned short vr)
{
    const Width* const width = Find_Width(vr);
    return width != nullptr ? width->bytes : 0;
}

std::size_t Longest_Of(unsigned short vr)
{
    const Text_Rule* const rule = Text_Rule_Of(vr);
    return rule != nullptr ? rule->longest : 0;
}

bool Is_Multiple(unsigned short vr)
{
    const Text_Rule* const rule = Text_Rule_Of(vr);
    return rule != nullptr && rule->multiple;
}

Healed_Value Heal_Value(const Value& value)
{
    const Text_Rule* const rule = Text_Rule_Of(value.vr);
    return rule != nullptr ? Heal_Text(value, *rule) : Heal_Binary(value);
}

}  // namespace lib_mend
