#include "mend/verify/iod.h"

#include "mend/verify/coded_entries.h"
#include "mend/verify/complete.h"
#include "mend/verify/content_items.h"
#include "mend/verify/explain.h"
#include "mend/verify/verify.h"

namespace lib_mend {

namespace {

std::string Name_Of(const Data_Set& set, const std::string& code, Findings& findings)
{
    return code == "auto" ? Module_Name_Of(set, findings) : code;
}

void Verify_All(const Data_Set& set, DICOM_List* module, Findings& findings)
{
    Verify(set, module, findings);
    Check_Content_Items(set, findings);
    Check_Coded_Entries(set, findings);
}

}  // namespace

void Verify_IOD(const Data_Set& set, const std::string& code, Findings& findings)
{
    const std::string name = Name_Of(set, code, findings);
    DICOM_List* const module = name.empty() ? nullptr : Read_Module(name, true, findings);
    if (module != nullptr) {
        Verify_All(set, module, findings);
    }
}

Explanation Explain_IOD(const Data_Set& set, const std::string& code, const Path& way, Tag tag,
                        const Findings& found, Findings& trouble)
{
    const std::string name = Name_Of(set, code, trouble);
    DICOM_List* const module = name.empty() ? nullptr : Read_Module(name, true, trouble);
    Findings all = found;
    if (module != nullptr) {
        Verify_All(set, module, all);
    }
    all.Sum_Up();
    const std::string iod = module != nullptr ? "IOD " + name : "no IOD";
    const std::string place = way.empty() ? "(" + Tag_Text(tag) + ")" : Path_Text(way, tag);
    return {place + " " + Tag_Name(tag) + ", " + iod + "\n" + Explain(set, module, tag, all, way),
            module != nullptr};
}

bool Complete_IOD(Data_Set& set, const std::string& code, Findings& findings)
{
    const std::string name = Name_Of(set, code, findings);
    if (name.empty() && DICOM_Override == nullptr) {
        findings.Report(Fault::IOD, Level::Error, {}, "no IOD; --module names one");
        return false;
    }
    DICOM_List* const module = Read_Module(name, false, findings);
    if (module == nullptr || !Complete(set, module, findings)) {
        return false;
    }
    Verify(set, module, findings);
    return true;
}

}  // namespace lib_mend
