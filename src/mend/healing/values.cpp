#include "mend/healing/values.h"

#include "mend/healing/long_texts.h"
#include "mend/healing/multiplicity.h"
#include "mend/healing/records.h"
#include "mend/healing/repair.h"
#include "mend/healing/strict.h"
#include "mend/healing/texts.h"
#include "mend/healing/value.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"

#include <optional>
#include <string>

namespace lib_mend {

namespace {

/** Texts say what they were before; numbers in binary say nothing to a reader of findings. */
Values Values_Of(const DICOM_List& record, std::string_view before, std::string_view after)
{
    return Is_Text(VR_Of(record)) ? Values{before, after} : Values();
}

void Report_Notes(const Notes& notes, const Place& place, const Values& values, Findings& findings)
{
    for (const Note& note : notes) {
        const bool changed = note.level == Level::Change;
        findings.Report(note.fault, note.level, place, note.text,
                        {values.before, changed ? values.after : std::string_view()});
    }
}

/** Applies the repairs of the library; false when nothing is left of the element. */
bool Apply_Strictly(const DICOM_List& record, const Place& place, const Character_Set& characters,
                    const Heal_Options& options, Healed_Value& healed, Findings& findings)
{
    const Strict_Value strict =
        Repair_Strictly(record, healed.bytes, characters, options.replace_uids);
    if (strict.bytes != healed.bytes) {
        findings.Report(Fault::Strict, Level::Error, place,
                        strict.deleted ? "the value cannot be repaired; the element is left out"
                                       : "repaired at the cost of what it says",
                        Values_Of(record, healed.bytes, strict.bytes));
    }
    healed.bytes = strict.bytes;
    return !strict.deleted;
}

/** Bytes that are left in the source, and padded when they are written. */
void Check_Bulk(const DICOM_List& record, const Place& place, Findings& findings)
{
    const std::size_t width = Width_Of(VR_Of(record));
    if (width != 0 && static_cast<std::size_t>(Size_Of(record)) % width != 0) {
        findings.Report(Fault::Size, Level::Kept, place, Wrong_Size_Text);
    }
    if (record.size % 2 != 0) {
        findings.Report(Fault::Odd_Length, Level::Change, place, Odd_Size_Text);
    }
}

/** A sequence that a writer without a dictionary took for unknown bytes, and that cannot be read. */
void Check_Unknown(const DICOM_List& record, const Place& place, Findings& findings)
{
    constexpr std::string_view Item_Tag("\xFE\xFF\x00\xE0", 4);
    constexpr std::string_view End_Of_Sequence("\xFE\xFF\xDD\xE0\0\0\0\0", 8);
    const std::string_view value = Bytes_Of(record);
    if (!value.starts_with(Item_Tag)) {
        return;
    }
    findings.Report(Fault::VR_Unknown, Level::Kept, place, "sequence stored as UN");
    if (value.ends_with(End_Of_Sequence)) {
        Place end = place;
        end.offset = Value_Position_Of(record) +
                     static_cast<std::int64_t>(value.size() - End_Of_Sequence.size());
        findings.Report(Fault::Nesting, Level::Kept, end,
                        "sequence delimitation inside a given length");
    }
}

/** Heals a text that stays in the source; false when it has to be in memory for that. */
bool Heal_Long_Text(const Data_Set& set, DICOM_List& record, const Place& place,
                    const Character_Set& characters, const Heal_Options& options,
                    Findings& findings)
{
    constexpr std::size_t Quoted = 1024;
    if (!Is_Long_Text(record)) {
        return false;
    }
    const std::optional<Long_Judgement> judged = Judge_Long_Text(set, record, characters);
    if (!judged || (options.strict && Has_Level(judged->notes, Level::Kept))) {
        return false;
    }
    const bool is_sound = judged->notes.empty() && Fits_Multiplicity(record, judged->count);
    if (is_sound || Size_Of(record) >= Far_Size) {
        return is_sound;
    }
    const Bytes front = set.Value(record, Quoted);
    const std::string_view before(reinterpret_cast<const char*>(front.data()), front.size());
    std::string after(before.substr(0, static_cast<std::size_t>(judged->size)));
    after += judged->size % 2 != 0 ? " " : "";
    Report_Notes(judged->notes, place, {before, after}, findings);
    if (!Fits_Multiplicity(record, judged->count)) {
        findings.Report(Fault::Multiplicity, Level::Kept, place,
                        Multiplicity_Text(record, judged->count), {after, {}});
    }
    Set_Size(*set.source, record, judged->size);
    return true;
}

/** The VR whose rules a value follows: terms of character sets are respelt by those who know them. */
unsigned short Rules_Of(const DICOM_List& record)
{
    const bool is_term = Tag_Of(record) == Character_Set_Tag && VR_Of(record) == VR_CS;
    return is_term ? VR_LO : VR_Of(record);
}

/** What is there to be done about one element. */
void Heal_Element(const Data_Set& set, DICOM_List& record, const Path& way,
                  const Character_Set& characters, const Heal_Options& options, Findings& findings)
{
    if (Has_Value(record) && !Is_Streamed(record)) {
        Heal_Value_Of(set, record, way, characters, options, findings);
    } else if (Is_Streamed(record) && record.size % 2 != 0 && record.size > 0) {
        findings.Report(Fault::Odd_Length, Level::Change, At(record, way), Odd_Size_Text);
    }
}

}  // namespace

void First_Look::Take(const DICOM_List& record, const Character_Set& characters)
{
    constexpr std::size_t Most_Remembered = std::size_t{1} << 16;
    const bool is_text = Is_Text(record);
    has_letters_ = has_letters_ || (is_text && !Is_Plain(set_, record));
    if (is_full_ || Is_In_Form(record, characters)) {
        return;
    }
    if (doubtful_.size() == Most_Remembered) {
        is_full_ = true;
    } else {
        doubtful_.push_back(&record);
    }
}

bool First_Look::Is_In_Form(const DICOM_List& record, const Character_Set& characters) const
{
    if (!Has_Value(record) || Is_Streamed(record)) {
        return !Is_Streamed(record);
    }
    if (VR_Of(record) == VR_UN || (record.data == nullptr && record.size != 0)) {
        return false;
    }
    const std::string_view bytes = Bytes_Of(record);
    const Healed_Value healed =
        Heal_Value({bytes, Rules_Of(record), characters, options_.replace_uids});
    return healed.notes.empty() && healed.bytes == bytes && Fits_Multiplicity(record, healed.count);
}

void Heal_Value_Of(const Data_Set& set, DICOM_List& record, const Path& way,
                   const Character_Set& characters, const Heal_Options& options, Findings& findings)
{
    const Place place = At(record, way);
    if (Is_Bulk(record)) {
        Check_Bulk(record, place, findings);
        return;
    }
    if (Heal_Long_Text(set, record, place, characters, options, findings)) {
        return;
    }
    if (Size_Of(record) >= Far_Size) {
        findings.Report(Fault::Length, Level::Kept, place,
                        "a text of 2 GiB or more is not looked into");
        return;
    }
    Loaded loaded(set, record);
    if (!loaded.Ready()) {
        findings.Report(Fault::Unreadable, Level::Error, place, "the value cannot be read");
        return;
    }
    const std::string_view before = Bytes_Of(record);
    if (VR_Of(record) == VR_UN) {
        Check_Unknown(record, place, findings);
    }
    Healed_Value healed = Heal_Value({before, Rules_Of(record), characters, options.replace_uids});
    Report_Notes(healed.notes, place, Values_Of(record, before, healed.bytes), findings);
    if (options.strict && Has_Level(healed.notes, Level::Kept) &&
        !Apply_Strictly(record, place, characters, options, healed, findings)) {
        record.flags |= DICOM_Mark_Deleted;
    }
    if (!Fits_Multiplicity(record, healed.count) && VR_Of(record) != VR_UN) {
        findings.Report(Fault::Multiplicity, Level::Kept, place,
                        Multiplicity_Text(record, healed.count),
                        Values_Of(record, healed.bytes, {}));
    }
    if (healed.bytes != before) {
        Set_Bytes(record, healed.bytes);
        loaded.Keep();
    }
}

void Heal_Values(Data_Set& set, Record_List& list, const Heal_Options& options, Findings& findings)
{
    Character_Sets_Of_Lists sets(set);
    For_Each_Element(list.Head(), [&](DICOM_List& record, const Path& way) {
        Heal_Element(set, record, way, sets.Of(record, way), options, findings);
    });
    if (options.strict) {
        Remove_Marked(list);
    }
}

void Heal_Doubtful(Data_Set& set, const First_Look& look, const Heal_Options& options,
                   Findings& findings)
{
    Character_Sets_Of_Lists sets(set);
    Tree_Walk walk(set.records.Head());
    auto next = look.Doubtful().begin();
    while (next != look.Doubtful().end()) {
        DICOM_List& record = *walk.Next();
        if (Is_Delimiter(record)) {
            continue;
        }
        const Character_Set& characters = sets.Of(record, walk.Way());
        if (&record == *next) {
            Heal_Element(set, record, walk.Way(), characters, options, findings);
            ++next;
        }
    }
    if (options.strict) {
        Remove_Marked(set.records);
    }
}

}  // namespace lib_mend
