// What the files of one patient, study, series or frame of reference agree about.
#include "mend/consistency/study.h"
#include "mend/consistency/study_elements.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>

namespace lib_mend {

namespace {

/** What has the same key agrees about the elements. */
struct Group_Row {
    Fault fault;
    Level level;
    const char* name;
    /** Element_Count for the patient, whose key are two of them. */
    Element key;
    Element first;
    Element last;
    const char* clause = nullptr;
    /** All of them stand for one thing, of which the first that differs tells. */
    bool is_one = false;
};

constexpr Group_Row Groups[] = {
    {Fault::Patient_Differs, Level::Kept, "patient", Element_Count, Patient_Name, Sex},
    {Fault::Study_Differs, Level::Kept, "study", Study_UID, Patient_ID, Sex},
    {Fault::Study_Differs, Level::Kept, "study", Study_UID, Study_Date, Referring_Physician},
    {Fault::Series_Differs, Level::Kept, "series", Series_UID, Study_UID, Study_UID},
    {Fault::Series_Differs, Level::Kept, "series", Series_UID, Modality, Frame_UID},
    {Fault::Frame_Of_Reference_Differs, Level::Kept, "frame of reference", Frame_UID,
     Reference_Indicator, Reference_Indicator},
    {Fault::Frame_Of_Reference_Differs, Level::Kept, "frame of reference", Frame_UID, Patient_ID,
     Sex, "PS3.3 C.7.4.1.1.1", true},
};

std::string Counted(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " other file of the " : " other files of the ");
}

/** "2 of 3 other files of the study", or how many of those that have a value. */
std::string Share_Text(std::size_t differing, std::size_t valued, std::size_t files,
                       const char* name)
{
    return std::to_string(differing) + " of " + Counted(valued) + name +
           (valued == files ? ""
            : valued == 1   ? " that has a value"
                            : " that have a value");
}

}  // namespace

Study::Value Study::Key_Of(const File& file, std::size_t element)
{
    return element == Element_Count ? file.patient
           : element == Frame_UID   ? file.frame
                                    : file.values[element];
}

/** The values of one element in what has the same key. */
struct Study::Shares {
    struct Seen {
        /** Files that have it. */
        std::size_t count = 0;
        /** Those among them that were not told of before, and the first of these. */
        std::size_t compared = 0;
        std::size_t first = 0;
    };

    std::map<Value, Seen> values;
    std::size_t files = 0;
    std::size_t valued = 0;

    void Add(Value value, std::size_t file, bool is_compared)
    {
        ++files;
        if (value == 0) {
            return;
        }
        ++valued;
        Seen& seen = values[value];
        ++seen.count;
        if (is_compared && seen.compared++ == 0) {
            seen.first = file;
        }
    }
    /** What most have is taken for right; of those that are as many, what the first file has. */
    Value Right() const
    {
        const auto is_less = [](const auto& a, const auto& b) {
            return a.second.compared != b.second.compared ? a.second.compared < b.second.compared
                                                          : a.second.first > b.second.first;
        };
        return std::max_element(values.begin(), values.end(), is_less)->first;
    }
};

std::vector<bool> Study::Compare_Element(std::size_t key, std::size_t element,
                                         const Wording& wording,
                                         const std::vector<bool>& is_left_out,
                                         std::vector<Told>& told) const
{
    std::vector<bool> differs(files_.size());
    // What is left out is counted all the same: others differ from it too.
    std::map<Value, Shares> all;
    for (std::size_t i = 0; i < files_.size(); ++i) {
        const Value name = Key_Of(files_[i], key);
        if (name != 0) {
            all[name].Add(files_[i].values[element], i, !is_left_out[i]);
        }
    }
    std::map<Value, Value> right;
    for (const auto& [name, shares] : all) {
        if (shares.values.size() > 1) {
            right.emplace(name, shares.Right());
        }
    }
    for (std::size_t i = 0; i < files_.size() && !right.empty(); ++i) {
        const Value value = files_[i].values[element];
        const auto wanted =
            value != 0 && !is_left_out[i] ? right.find(Key_Of(files_[i], key)) : right.end();
        if (wanted != right.end() && value != wanted->second) {
            const Shares& shares = all[wanted->first];
            Tell(told[i], files_[i], element, wording,
                 "differs from " + Share_Text(shares.valued - shares.values.at(value).count,
                                              shares.valued - 1, shares.files - 1, wording.name));
            differs[i] = true;
        }
    }
    return differs;
}

void Study::Compare_Groups(std::vector<Told>& told) const
{
    // What differs within the patient is not told of the study again.
    std::array<std::vector<bool>, Elements> is_told;
    is_told.fill(std::vector<bool>(files_.size()));
    for (const Group_Row& group : Groups) {
        std::vector<bool> is_left_out(files_.size());
        for (std::size_t element = group.first; element <= group.last; ++element) {
            std::vector<bool> without = is_told[element];
            for (std::size_t i = 0; i < files_.size(); ++i) {
                without[i] = without[i] || is_left_out[i];
            }
            const std::vector<bool> differs = Compare_Element(
                group.key, element, {group.fault, group.level, group.name, group.clause}, without,
                told);
            for (std::size_t i = 0; i < files_.size(); ++i) {
                is_told[element][i] = is_told[element][i] || differs[i];
                is_left_out[i] = is_left_out[i] || (group.is_one && differs[i]);
            }
        }
    }
}

/** A file of a study whose patient is known elsewhere belongs to nobody without a number of its own. */
void Study::Compare_Patients(std::vector<Told>& told) const
{
    struct Count {
        std::size_t all = 0;
        std::size_t with_number = 0;
    };
    std::map<Value, Count> studies;
    for (const File& file : files_) {
        Count& count = studies[file.values[Study_UID]];
        ++count.all;
        count.with_number += file.values[Patient_ID] != 0 ? 1U : 0U;
    }
    for (std::size_t i = 0; i < files_.size(); ++i) {
        const Count& count = studies[files_[i].values[Study_UID]];
        if (files_[i].values[Study_UID] != 0 && files_[i].values[Patient_ID] == 0 &&
            count.with_number != 0) {
            Tell(told[i], files_[i], Patient_ID, {Fault::Study_Differs, Level::Kept},
                 "has no value, other than in " + std::to_string(count.with_number) + " of " +
                     Counted(count.all - 1) + "study");
        }
    }
}

}  // namespace lib_mend
