// Tracking UIDs across files: one finding of one patient, under one label.
#include "mend/consistency/study_tracking.h"

#include "mend/consistency/tracking.h"

#include <set>
#include <unordered_map>
#include <utility>

namespace lib_mend {

void Gather_Trackings(const Data_Set& set, Study_Facts& facts)
{
    Subject_Set subject = {set};
    Watch(subject);
    std::set<std::pair<std::string_view, std::string_view>> known;
    for (const Tracking& each : Trackings_Of(subject)) {
        const std::string_view uid = each.uid != nullptr ? subject.Text(*each.uid) : "";
        const std::string_view label = each.label != nullptr ? subject.Text(*each.label) : "";
        if (!uid.empty() && known.emplace(uid, label).second) {
            facts.trackings.push_back(
                {std::string(uid), std::string(label), Tag_Of(*each.uid), Position_Of(*each.uid)});
        }
    }
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
                Place place;
                place.has_tag = true;
                place.tag = each.tag;
                place.vr = VR_UI;
                place.offset = each.offset;
                told[i].findings.Report(Fault::UID_Reused, Level::Kept, place, std::move(text),
                                        {*texts_[each.uid], {}});
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
