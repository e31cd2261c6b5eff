#include "mend/verify/verify.h"

#include "mend/reading/vr_forms.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace lib_mend {

namespace {

constexpr Tag SOP_Class_Tag = {0x0008, 0x0016};
constexpr Tag Media_Class_Tag = {0x0002, 0x0002};

/** "1" for "1 ", "1C". */
std::string Type_Text(unsigned short type)
{
    const char second = static_cast<char>(type & 0xFF);
    return static_cast<char>(type >> 8) + (second == ' ' ? std::string() : std::string(1, second));
}

void Verify_List(const Data_Set& set, DICOM_List* list, DICOM_List* module, Path& path,
                 Findings& findings)
{
    std::map<Tag, DICOM_List*> present;
    for (DICOM_List& record : Records(list)) {
        present.emplace(Tag_Of(record), &record);
    }
    for (const DICOM_List& node : Records(module)) {
        const auto found = present.find(Tag_Of(node));
        if (found == present.end()) {
            if (node.type == Type_1 || node.type == Type_2) {
                // The item that should hold it tells the place.
                const bool in_item = !path.empty() && list != nullptr;
                const Place place = {true, Tag_Of(node), 0, &path,
                                     in_item ? Position_Of(*list) : Finding::Nowhere};
                findings.Report(Fault::Missing, Level::Kept, place,
                                "Missing required value for type " + Type_Text(node.type) + " tag");
            }
            continue;
        }
        const DICOM_List& record = *found->second;
        if ((node.type == Type_1 || node.type == Type_1C) && Is_Empty(set, record)) {
            findings.Report(Fault::Empty, Level::Kept, At(record, path),
                            "Empty required value for type " + Type_Text(node.type) + " tag");
        }
        for (int i = 0; Item_Of(node, 0) != nullptr && Item_Of(record, i) != nullptr; ++i) {
            path.push_back({Tag_Of(record), i});
            Verify_List(set, Item_Of(record, i), Item_Of(node, 0), path, findings);
            path.pop_back();
        }
    }
}

}  // namespace

bool Is_Empty(const Data_Set& set, const DICOM_List& record)
{
    constexpr int Longest_Padding = 64;
    if (Item_Of(record, 0) != nullptr) {
        return false;
    }
    if (record.size <= 0 || VR_Of(record) == VR_SQ) {
        return true;
    }
    return Is_Text(VR_Of(record)) && record.size <= Longest_Padding &&
           Trimmed(set.Value(record)).empty();
}

std::string Module_Name_Of(const Data_Set& set, Findings& findings)
{
    std::string uid = set.Text(SOP_Class_Tag);
    if (uid.empty()) {
        // A DICOMDIR names its class in the file meta information only.
        const DICOM_List* const record = Find_Record(set.meta.Head(), Media_Class_Tag);
        uid = record != nullptr ? Trimmed(set.Value(*record)) : uid;
    }
    const char* const name = uid.empty() ? nullptr : DICOM_Module_Name(nullptr, uid.c_str());
    const std::string errors = findings.Take_Errors();
    if (!errors.empty()) {
        findings.Report(Fault::Definitions, Level::Error, {}, "definition files: " + errors);
    } else if (name == nullptr) {
        const Path top;
        findings.Report(Fault::IOD, Level::Kept, {true, SOP_Class_Tag, VR_UI, &top},
                        uid.empty() ? "no SOP class tells the IOD"
                                    : "no IOD is known for the SOP class",
                        {uid, {}});
    }
    return name != nullptr ? name : "";
}

DICOM_List* Read_Module(const std::string& name, bool partial, Findings& findings)
{
    DICOM_List* const module = DICOM_Module_Read(nullptr, name.empty() ? nullptr : name.c_str());
    const std::string errors = findings.Take_Errors();
    if (!errors.empty() || module == nullptr) {
        findings.Report(errors.empty() ? Fault::IOD : Fault::Definitions, Level::Error, {},
                        errors.empty() ? "no definition of IOD " + name
                                       : "definition files: " + errors);
    }
    return errors.empty() || partial ? module : nullptr;
}

void Verify(const Data_Set& set, DICOM_List* module, Findings& findings)
{
    Path path;
    Verify_List(set, set.records.Head(), module, path, findings);
}

}  // namespace lib_mend
