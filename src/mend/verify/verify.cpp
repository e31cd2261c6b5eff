#include "mend/verify/verify.h"

#include "mend/reading/vr_forms.h"
#include "mend/verify/judge.h"
#include "mend/verify/module_walk.h"

namespace lib_mend {

namespace {

constexpr Tag Media_Class_Tag = {0x0002, 0x0002};

}  // namespace

std::string Type_Text(unsigned short type)
{
    const char second = static_cast<char>(type & 0xFF);
    return static_cast<char>(type >> 8) + (second == ' ' ? std::string() : std::string(1, second));
}

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
    Object object(set);
    Judge judge(object, module, Judge::Purpose::Report, findings);
    judge.Check_Parts(findings);
    Module_Walk(object, module)
        .Run([&](const DICOM_List& node, const DICOM_List* record, unsigned short group) {
            judge.Check(node, record, group, findings);
        });
}

}  // namespace lib_mend
