// Holds the way of a data set to JSON and back against what the data set holds.
#ifndef TESTS_JSON_ROUND_TRIP_H
#define TESTS_JSON_ROUND_TRIP_H

#include "mend/healing/character_set.h"
#include "mend/json/from_json.h"
#include "mend/json/to_json.h"
#include "mend/reading/tree.h"
#include "support/mend_in_memory.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/** The JSON of a data set, and what was said on the way. */
inline std::string JSON_Of(const lib_mend::Data_Set& set, lib_mend::Findings& findings,
                           const lib_mend::JSON_Options& options = {.pretty = false})
{
    std::string text;
    To_JSON(set, options, findings, [&](std::string_view piece) {
        text += piece;
        return true;
    });
    return text;
}

inline std::string Without_Padding(std::string value)
{
    value.resize(value.find_last_not_of(std::string_view(" \0", 2)) + 1);
    return value;
}

namespace json_round_trip {

using namespace lib_mend;

struct Held {
    std::string vr;
    std::string value;
};

inline std::string In_Little_Endian(std::string value, const DICOM_List& record)
{
    static const std::map<unsigned short, std::size_t> units = {
        {VR_AT, 2}, {VR_OW, 2}, {VR_SS, 2}, {VR_US, 2}, {VR_FL, 4}, {VR_OF, 4}, {VR_OL, 4},
        {VR_SL, 4}, {VR_UL, 4}, {VR_FD, 8}, {VR_OD, 8}, {VR_OV, 8}, {VR_SV, 8}, {VR_UV, 8}};
    const auto unit = units.find(VR_Of(record));
    const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
    const std::size_t width = is_big && unit != units.end() ? unit->second : 1;
    const bool has_whole_units = width <= 2 || value.size() % width == 0;
    for (std::size_t at = 0; has_whole_units && width > 1 && at + width <= value.size();
         at += width) {
        std::reverse(value.begin() + static_cast<std::ptrdiff_t>(at),
                     value.begin() + static_cast<std::ptrdiff_t>(at + width));
    }
    return value;
}

/** The elements by their paths, texts in UTF-8, without padding at the end. */
inline std::map<std::string, Held> Elements_Of(const Data_Set& set)
{
    std::map<std::string, Held> elements;
    Character_Sets_Of_Lists characters(set);
    Tree_Walk walk(set.records.Head());
    while (DICOM_List* const record = walk.Next()) {
        const Character_Set& here = characters.Of(*record, walk.Way());
        const bool is_fragment = Is_Delimiter(*record) && VR_Of(*record) == VR_OB;
        const bool is_left_out =
            (Is_Delimiter(*record) && !is_fragment) || record->element == 0x0000 ||
            Tag_Of(*record) == Character_Set_Tag || (walk.Way().empty() && record->group == 0x0002);
        if (is_left_out) {
            continue;
        }
        const unsigned short vr = VR_Of(*record);
        Held held;
        if (record->vr != 0) {
            held.vr = {static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)};
        }
        const bool is_list = record->size < 0 || Item_Of(*record, 0) != nullptr;
        if (is_list || (vr == VR_SQ && record->data == nullptr)) {
            held.vr = vr == VR_UN ? "SQ" : held.vr;
        } else {
            const Bytes bytes = set.Value(*record);
            held.value = In_Little_Endian({bytes.begin(), bytes.end()}, *record);
            if (vr != VR_UN && Follows_Character_Set(vr)) {
                held.value = here.To_UTF_8_Without_Loss(held.value, vr).value_or(held.value);
            }
            held.value.resize(held.value.find_last_not_of(std::string_view(" \0", 2)) + 1);
        }
        std::string path = Path_Text(walk.Way(), Tag_Of(*record));
        if (is_fragment) {
            path.resize(path.rfind('/'));
        }
        elements.emplace(path, held);
    }
    return elements;
}

}  // namespace json_round_trip

/**
 * What is not the same in a data set and in what comes back from its JSON, a line each. VRs are
 * compared where the data set gives them.
 */
inline std::string JSON_Differences(const lib_mend::Data_Set& set)
{
    using namespace json_round_trip;
    Findings findings;
    const std::string text = JSON_Of(set, findings);
    // What is said not to be in the JSON need not come back.
    std::vector<std::string> lost;
    for (const Finding& finding : findings.All()) {
        if (finding.level == Level::Error) {
            lost.push_back(finding.path);
        }
    }
    const auto is_lost = [&lost](const std::string& path) {
        return std::any_of(lost.begin(), lost.end(),
                           [&path](const std::string& one) { return path.starts_with(one); });
    };
    std::string differences;
    Findings back_findings;
    const Data_Set back = From_JSON(text, "test", back_findings);
    for (const Finding& finding : back_findings.All()) {
        if (finding.fault == Fault::JSON) {
            differences += finding.path + " " + finding.text + "\n";
        }
    }
    const auto before = Elements_Of(set);
    const auto after = Elements_Of(back);
    for (const auto& [path, held] : before) {
        const auto found = after.find(path);
        if (is_lost(path)) {
            continue;
        }
        if (found == after.end()) {
            differences += path + " is gone\n";
        } else if (found->second.value != held.value) {
            differences += path + " has another value\n";
        } else if (!held.vr.empty() && found->second.vr != held.vr) {
            differences += path + " has VR " + found->second.vr + " and not " + held.vr + "\n";
        }
    }
    for (const auto& [path, held] : after) {
        differences += before.count(path) == 0 && !is_lost(path) ? path + " is new\n" : "";
    }
    // Values of odd length are padded once.
    Findings again;
    const std::string second = JSON_Of(back, again);
    const std::string third = JSON_Of(From_JSON(second, "test", again), again);
    differences += second != third ? "the JSON of what comes back is another\n" : "";
    return differences;
}

#endif
