#include "mend/consistency/study.h"

#include "mend/consistency/study_elements.h"
#include "mend/consistency/study_references.h"
#include "mend/consistency/study_tracking.h"
#include "mend/consistency/study_values.h"
#include "mend/healing/character_set.h"
#include "mend/healing/image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>

namespace lib_mend {

namespace {

/** Elements that identify, each something else; the first ones have the right to a UID. */
constexpr struct {
    Element element;
    const char* what;
} Identities[] = {
    {Study_UID, "a study"},
    {Series_UID, "a series"},
    {Instance_UID, "an instance"},
    {Frame_UID, "a frame of reference"},
};

}  // namespace

Study_Facts::Spot Spot_Of(const DICOM_List& record, const Path& path)
{
    // Path_Text leaves out the middle of long ones.
    constexpr std::ptrdiff_t Shown_Steps = 16;
    Study_Facts::Spot spot = {Tag_Of(record), {}, Position_Of(record), Size_Of(record)};
    if (path.size() <= 2 * Shown_Steps) {
        spot.path = path;
    } else {
        spot.path.assign(path.begin(), path.begin() + Shown_Steps + 1);
        spot.path.insert(spot.path.end(), path.end() - Shown_Steps, path.end());
    }
    return spot;
}

Study_Facts Facts_Of(const Data_Set& set)
{
    static_assert(Study_Facts::Elements == Element_Count);
    Study_Facts facts;
    facts.offsets.fill(Finding::Nowhere);
    facts.lengths.fill(Finding::Nowhere);
    facts.syntax = set.syntax;
    facts.is_encapsulated = set.encoding.encapsulated;
    const Character_Set characters(Text_In(set, set.records.Head(), Character_Set_Tag));
    for (const DICOM_List& record : Records(set.records.Head())) {
        const auto* const row =
            std::find_if(std::begin(Rows), std::end(Rows),
                         [&record](const Element_Row& each) { return each.tag == Tag_Of(record); });
        if (row != std::end(Rows)) {
            const auto element = static_cast<std::size_t>(row - Rows);
            facts.values[element] = Compared_Value(set, record, row->form, characters);
            facts.offsets[element] = Position_Of(record);
            facts.lengths[element] = Size_Of(record);
        }
    }
    Gather_References(set, facts);
    Gather_Trackings(set, facts);
    return facts;
}

Study::Study() : texts_(1)
{
}

Study::Value Study::Number_Of(const std::string& text)
{
    if (text.empty()) {
        return 0;
    }
    const auto [entry, is_new] = numbers_.emplace(text, static_cast<Value>(texts_.size()));
    if (is_new) {
        texts_.push_back(&entry->first);
    }
    return entry->second;
}

Study::Spot Study::Kept(const Study_Facts::Spot& spot)
{
    const std::string path(reinterpret_cast<const char*>(spot.path.data()),
                           spot.path.size() * sizeof(Path_Step));
    return {spot.offset, Number_Of(path), static_cast<std::uint32_t>(spot.length), spot.tag};
}

void Study::Add(const std::string& name, const Study_Facts& facts)
{
    File file;
    file.name = name;
    file.syntax = facts.syntax;
    file.is_encapsulated = facts.is_encapsulated;
    file.offsets = facts.offsets;
    std::transform(facts.lengths.begin(), facts.lengths.end(), file.lengths.begin(),
                   [](std::int64_t length) { return static_cast<std::uint32_t>(length); });
    std::transform(facts.values.begin(), facts.values.end(), file.values.begin(),
                   [this](const std::string& value) { return Number_Of(value); });
    if (file.values[Patient_ID] != 0) {
        file.patient = Number_Of(facts.values[Patient_ID] + '\\' + facts.values[Issuer]);
    }
    // Frames of reference that the registry has, such as atlases, belong to everyone.
    const std::string& frame = facts.values[Frame_UID];
    file.frame = DICOM_UID_Get(frame.c_str()) == nullptr ? file.values[Frame_UID] : 0;
    for (const Study_Facts::Reference& each : facts.references) {
        file.references.push_back({Number_Of(each.instance), Number_Of(each.sop_class),
                                   Kept(each.class_spot), each.frame, Kept(each.frame_spot)});
    }
    for (const Study_Facts::Tracked& each : facts.trackings) {
        file.trackings.push_back({Number_Of(each.uid), Number_Of(each.label), Kept(each.spot)});
    }
    files_.push_back(std::move(file));
}

void Study::Tell(Told& told, const File& file, std::size_t element, const Wording& wording,
                 std::string text) const
{
    const std::string* const value = texts_[file.values[element]];
    Tell_At(told, {file.offsets[element], 0, file.lengths[element], Rows[element].tag},
            Rows[element].vr, wording, std::move(text),
            value != nullptr ? *value : std::string_view());
}

void Study::Tell_At(Told& told, const Spot& spot, unsigned short vr, const Wording& wording,
                    std::string text, std::string_view value) const
{
    Path path;
    if (const std::string* const steps = texts_[spot.path]) {
        path.resize(steps->size() / sizeof(Path_Step));
        std::memcpy(path.data(), steps->data(), steps->size());
    }
    const bool is_there = spot.offset != Finding::Nowhere;
    const Place place = {true,  spot.tag,    vr,
                         &path, spot.offset, is_there ? spot.length : Finding::Nowhere};
    told.findings.Report(wording.fault, wording.level, place, std::move(text), {value, {}},
                         wording.clause);
}

/** A UID that names one thing in this file and another in others. */
void Study::Compare_UIDs(std::vector<Told>& told) const
{
    constexpr std::size_t Roles = std::size(Identities);
    constexpr std::size_t None = SIZE_MAX;
    std::unordered_map<Value, std::array<std::size_t, Roles>> first;
    for (std::size_t i = 0; i < files_.size(); ++i) {
        for (std::size_t role = 0; role < Roles; ++role) {
            const Value uid = files_[i].values[Identities[role].element];
            const auto [entry, is_new] = first.try_emplace(uid);
            if (is_new) {
                entry->second.fill(None);
            }
            entry->second[role] = std::min(entry->second[role], i);
        }
    }
    for (std::size_t i = 0; i < files_.size(); ++i) {
        for (std::size_t role = 1; role < Roles; ++role) {
            const Value uid = files_[i].values[Identities[role].element];
            for (std::size_t other = 0; other < role && uid != 0; ++other) {
                const std::size_t where = first.at(uid)[other];
                // What stands in one file is told when that is looked at.
                if (where != None && files_[i].values[Identities[other].element] != uid) {
                    Tell(told[i], files_[i], Identities[role].element,
                         {Fault::UID_Reused, Level::Kept},
                         std::string("is the UID of ") + Identities[other].what + " in " +
                             files_[where].name);
                    break;
                }
            }
        }
    }
}

void Study::Compare_Instances(const Sum_Of_File& sum_of, std::vector<Told>& told) const
{
    std::unordered_map<Value, std::size_t> first;
    std::map<std::size_t, std::string> sums;
    const auto sum = [&](std::size_t file) {
        const auto entry = sums.try_emplace(file).first;
        if (entry->second.empty()) {
            entry->second = sum_of(files_[file].name);
        }
        return entry->second;
    };
    for (std::size_t i = 0; i < files_.size(); ++i) {
        const Value uid = files_[i].values[Instance_UID];
        const auto [entry, is_new] = first.try_emplace(uid, i);
        if (uid == 0 || is_new) {
            continue;
        }
        const File& other = files_[entry->second];
        const bool is_packed = files_[i].is_encapsulated || other.is_encapsulated;
        if (is_packed && files_[i].syntax != other.syntax) {
            Tell(told[i], files_[i], Instance_UID,
                 {Fault::Unlikely, Level::Info, "", "PS3.3 C.12.1"},
                 "the same instance, in another transfer syntax, is in " + other.name);
            continue;
        }
        const std::string own = sum(i);
        const bool is_same = !own.empty() && own == sum(entry->second);
        const Wording wording = is_same ? Wording{Fault::Unlikely, Level::Info, "", "PS3.3 C.12.1"}
                                        : Wording{Fault::Duplicate_Instance, Level::Kept};
        Tell(told[i], files_[i], Instance_UID, wording,
             (is_same ? "the same instance is in " : "is that of other contents in ") + other.name);
    }
}

void Study::Compare_Reference(const Reference& reference, const File& target, Told& told) const
{
    const Value sop_class = target.values[SOP_Class];
    if (reference.sop_class != 0 && sop_class != 0 && reference.sop_class != sop_class) {
        Tell_At(told, reference.class_spot, VR_UI,
                {Fault::Reference, Level::Kept, "", "PS3.3 C.12.1"},
                "is not the SOP class of the instance, which is in " + target.name,
                *texts_[reference.sop_class]);
    }
    const std::string* const text = texts_[target.values[Frame_Count]];
    const std::int64_t count = text != nullptr ? std::strtoll(text->c_str(), nullptr, 10) : 1;
    if (reference.frame > count && count > 0) {
        Tell_At(told, reference.frame_spot, VR_IS, {Fault::Frame_Number, Level::Kept},
                "there is no such frame in " + target.name, std::to_string(reference.frame));
    }
}

/** What is said of instances that are among the files; of others nothing is known. */
void Study::Compare_References(std::vector<Told>& told) const
{
    std::unordered_map<Value, std::size_t> targets;
    for (std::size_t i = 0; i < files_.size(); ++i) {
        targets.try_emplace(files_[i].values[Instance_UID], i);
    }
    for (std::size_t i = 0; i < files_.size(); ++i) {
        for (const Reference& reference : files_[i].references) {
            const auto target = targets.find(reference.instance);
            if (reference.instance != 0 && target != targets.end() && target->second != i) {
                Compare_Reference(reference, files_[target->second], told[i]);
            }
        }
    }
}

std::vector<Study::Told> Study::Compare(const Sum_Of_File& sum_of)
{
    std::sort(files_.begin(), files_.end(),
              [](const File& a, const File& b) { return a.name < b.name; });
    std::vector<Told> told(files_.size());
    for (std::size_t i = 0; i < files_.size(); ++i) {
        told[i].file = files_[i].name;
    }
    Compare_Groups(told);
    Compare_Patients(told);
    Compare_UIDs(told);
    Compare_References(told);
    Compare_Trackings(told);
    Compare_Instances(sum_of, told);
    std::erase_if(told, [](const Told& each) { return each.findings.All().empty(); });
    return told;
}

}  // namespace lib_mend
