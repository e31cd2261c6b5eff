// Tracking UIDs across files: one finding of one patient, under one label.
#include "mend/consistency/study_tracking.h"

#include "mend/consistency/tracking.h"
#include "mend/reading/tree.h"

#include <set>
#include <unordered_map>
#include <utility>

namespace lib_mend {

void Gather_Trackings(const Data_Set& set, Study_Facts& facts)
{
    Subject_Set subject = {set};
    Watch(subject);
    std::set<std::pair<std::string_view, std::string_view>> known;
    std::unordered_multimap<const DICOM_List*, std::size_t> numbers;
    for (const Tracking& each : Trackings_Of(subject)) {
        const std::string_view uid = each.uid != nullptr ? subject.Text(*each.uid) : "";
        const std::string_view label = each.label != nullptr ? subject.Text(*each.label) : "";
        if (!uid.empty() && known.emplace(uid, label).second) {
            facts.trackings.push_back(
                {std::string(uid), std::string(label), Spot_Of(*each.uid, {})});
            numbers.emplace(each.uid, facts.trackings.size() - 1);
        }
    }
    if (numbers.empty()) {
        return;
    }
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path& path) {
        const auto [first, last] = numbers.equal_range(&record);
        for (auto entry = first; entry != last; ++entry) {
            facts.trackings[entry->second].spot = Spot_Of(record, path);
        }
    });
}

void Study::Compare_Trackings(std::vector<Told>& told) const
{
    struct First {
        std::size_t file;
        Value label;
    };
    std::unordered_map<Value, First> by_label;
    std::unordered_map<Value, std::size_t> by_patient;
    for (std::size_t i = 0; i < files_.size(); ++i) {
        for (const Tracked& each : files_[i].trackings) {
            const auto tell = [&](std::string text) {
                Tell_At(told[i], each.spot, VR_UI, {Fault::UID_Reused, Level::Kept},
                        std::move(text), *texts_[each.uid]);
            };
            // What stands in one file is told when that is looked at.
            if (each.label != 0) {
                const First& first =
                    by_label.try_emplace(each.uid, First{i, each.label}).first->second;
                if (first.label != each.label && first.file != i) {
                    tell("stands with another Tracking ID in " + files_[first.file].name);
                }
            }
            if (files_[i].patient != 0) {
                const std::size_t first = by_patient.try_emplace(each.uid, i).first->second;
                if (files_[first].patient != files_[i].patient) {
                    tell("stands for a finding of another patient in " + files_[first].name);
                }
            }
        }
    }
}

}  // namespace lib_mend
