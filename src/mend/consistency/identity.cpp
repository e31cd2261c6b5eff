// What a data set says it is: its SOP class and those of what it refers to, the modality that belongs
// to the class, and UIDs that are to identify one thing each.
#include "mend/consistency/rules.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace lib_mend {

namespace {

constexpr Tag SOP_Class = {0x0008, 0x0016};
constexpr Tag Related_Class = {0x0008, 0x001A};
constexpr Tag Modality = {0x0008, 0x0060};
constexpr Tag Referenced_Class = {0x0008, 0x1150};
constexpr Tag Class_In_File = {0x0004, 0x1510};

/** UIDs of the top level, each of something else. */
struct Identified {
    Tag tag;
    const char* what;
};

constexpr Identified Identities[] = {
    {{0x0020, 0x000D}, "study"},
    {{0x0020, 0x000E}, "series"},
    {{0x0008, 0x0018}, "instance"},
    {{0x0020, 0x0052}, "frame of reference"},
};

constexpr std::array Tags = {SOP_Class,         Related_Class,     Modality,
                             Referenced_Class,  Class_In_File,     Identities[0].tag,
                             Identities[1].tag, Identities[2].tag, Identities[3].tag};

struct Modality_Row {
    std::string_view sop_class;
    /** "A|B" */
    const char* modalities;
    const char* clause;
};

/** Modalities that the series of an IOD must have. Others are left to those who make the objects. */
constexpr Modality_Row Modalities[] = {
    {"1.2.840.10008.5.1.4.1.1.1.1", "DX|PX|IO|MG", "PS3.3 C.8.11.1"},
    {"1.2.840.10008.5.1.4.1.1.1.1.1", "DX|PX|IO|MG", "PS3.3 C.8.11.1"},
    {"1.2.840.10008.5.1.4.1.1.1.2", "MG", "PS3.3 C.8.11.6"},
    {"1.2.840.10008.5.1.4.1.1.1.2.1", "MG", "PS3.3 C.8.11.6"},
    {"1.2.840.10008.5.1.4.1.1.1.3", "IO", "PS3.3 C.8.11.8"},
    {"1.2.840.10008.5.1.4.1.1.1.3.1", "IO", "PS3.3 C.8.11.8"},
    {"1.2.840.10008.5.1.4.1.1.2.1", "CT", "PS3.3 C.8.15.1"},
    {"1.2.840.10008.5.1.4.1.1.4.1", "MR", "PS3.3 C.8.13.6"},
    {"1.2.840.10008.5.1.4.1.1.4.2", "MR", "PS3.3 C.8.13.6"},
    {"1.2.840.10008.5.1.4.1.1.11.1", "PR", "PS3.3 C.11.9"},
    {"1.2.840.10008.5.1.4.1.1.11.2", "PR", "PS3.3 C.11.9"},
    {"1.2.840.10008.5.1.4.1.1.11.3", "PR", "PS3.3 C.11.9"},
    {"1.2.840.10008.5.1.4.1.1.11.4", "PR", "PS3.3 C.11.9"},
    {"1.2.840.10008.5.1.4.1.1.12.1.1", "XA|RF", "PS3.3 C.8.19.1"},
    {"1.2.840.10008.5.1.4.1.1.12.2.1", "XA|RF", "PS3.3 C.8.19.1"},
    {"1.2.840.10008.5.1.4.1.1.66.1", "REG", "PS3.3 C.20.1"},
    {"1.2.840.10008.5.1.4.1.1.66.2", "FID", "PS3.3 C.21.1"},
    {"1.2.840.10008.5.1.4.1.1.66.4", "SEG", "PS3.3 C.8.20.1"},
    {"1.2.840.10008.5.1.4.1.1.67", "RWV", nullptr},
    {"1.2.840.10008.5.1.4.1.1.77.1.1", "ES", "PS3.3 A.32.1"},
    {"1.2.840.10008.5.1.4.1.1.77.1.1.1", "ES", "PS3.3 A.32.5"},
    {"1.2.840.10008.5.1.4.1.1.77.1.2", "GM", "PS3.3 A.32.2"},
    {"1.2.840.10008.5.1.4.1.1.77.1.2.1", "GM", "PS3.3 A.32.6"},
    {"1.2.840.10008.5.1.4.1.1.77.1.3", "SM", "PS3.3 A.32.3"},
    {"1.2.840.10008.5.1.4.1.1.77.1.4", "XC", "PS3.3 A.32.4"},
    {"1.2.840.10008.5.1.4.1.1.77.1.4.1", "XC", "PS3.3 A.32.7"},
    {"1.2.840.10008.5.1.4.1.1.77.1.5.1", "OP", "PS3.3 C.8.17.1"},
    {"1.2.840.10008.5.1.4.1.1.77.1.5.2", "OP", "PS3.3 C.8.17.1"},
    {"1.2.840.10008.5.1.4.1.1.77.1.5.4", "OPT", "PS3.3 C.8.17.6"},
    {"1.2.840.10008.5.1.4.1.1.77.1.6", "SM", "PS3.3 C.8.12.3"},
    {"1.2.840.10008.5.1.4.1.1.88.11", "SR", "PS3.3 C.17.1"},
    {"1.2.840.10008.5.1.4.1.1.88.22", "SR", "PS3.3 C.17.1"},
    {"1.2.840.10008.5.1.4.1.1.88.33", "SR", "PS3.3 C.17.1"},
    {"1.2.840.10008.5.1.4.1.1.88.34", "SR", "PS3.3 C.17.1"},
    {"1.2.840.10008.5.1.4.1.1.88.59", "KO", "PS3.3 C.17.6.1"},
    {"1.2.840.10008.5.1.4.1.1.88.67", "SR", "PS3.3 C.17.1"},
    {"1.2.840.10008.5.1.4.1.1.130", "PT", "PS3.3 C.8.22.1"},
    {"1.2.840.10008.5.1.4.1.1.481.1", "RTIMAGE", "PS3.3 C.8.8.1"},
    {"1.2.840.10008.5.1.4.1.1.481.2", "RTDOSE", "PS3.3 C.8.8.1"},
    {"1.2.840.10008.5.1.4.1.1.481.3", "RTSTRUCT", "PS3.3 C.8.8.1"},
    {"1.2.840.10008.5.1.4.1.1.481.4", "RTRECORD", "PS3.3 C.8.8.1"},
    {"1.2.840.10008.5.1.4.1.1.481.5", "RTPLAN", "PS3.3 C.8.8.1"},
    {"1.2.840.10008.5.1.4.1.1.481.6", "RTRECORD", "PS3.3 C.8.8.1"},
    {"1.2.840.10008.5.1.4.1.1.481.7", "RTRECORD", "PS3.3 C.8.8.1"},
    {"1.2.840.10008.5.1.4.1.1.481.8", "RTPLAN", "PS3.3 C.8.8.1"},
    {"1.2.840.10008.5.1.4.1.1.481.9", "RTRECORD", "PS3.3 C.8.8.1"},
};

/** The device that its own class of images is of; other devices make such images too, but seldom. */
constexpr Modality_Row Usual_Modalities[] = {
    {"1.2.840.10008.5.1.4.1.1.2", "CT", nullptr},
    {"1.2.840.10008.5.1.4.1.1.3.1", "US|IVUS", nullptr},
    {"1.2.840.10008.5.1.4.1.1.4", "MR", nullptr},
    {"1.2.840.10008.5.1.4.1.1.6.1", "US|IVUS", nullptr},
    {"1.2.840.10008.5.1.4.1.1.12.1", "XA|RF", nullptr},
    {"1.2.840.10008.5.1.4.1.1.12.2", "RF|XA", nullptr},
    {"1.2.840.10008.5.1.4.1.1.20", "NM|PT", nullptr},
    {"1.2.840.10008.5.1.4.1.1.128", "PT", nullptr},
};

const Modality_Row* Row_Of(std::span<const Modality_Row> rows, std::string_view sop_class)
{
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Modality_Row& each) {
        return sop_class == each.sop_class;
    });
    return row != rows.end() ? &*row : nullptr;
}

bool Is_One_Of(std::string_view modality, std::string_view modalities)
{
    while (!modalities.empty()) {
        const std::size_t end = std::min(modalities.find('|'), modalities.size());
        if (modalities.substr(0, end) == modality) {
            return true;
        }
        modalities.remove_prefix(std::min(end + 1, modalities.size()));
    }
    return false;
}

/** "XA or RF" */
std::string Alternatives(std::string text)
{
    for (std::size_t at = text.find('|'); at != text.npos; at = text.find('|', at)) {
        text.replace(at, 1, " or ");
    }
    return text;
}

void Check_Modality(Subject_Set& subject)
{
    const DICOM_List* const record = subject.Top(Modality);
    const std::string_view modality = subject.Top_Text(Modality);
    const std::string_view sop_class = subject.Top_Text(SOP_Class);
    if (modality.empty()) {
        return;
    }
    const Modality_Row* const row = Row_Of(Modalities, sop_class);
    if (row != nullptr && !Is_One_Of(modality, row->modalities)) {
        subject.doubts.push_back({record, Fault::Modality, Level::Kept,
                                  "the SOP class is one of " + Alternatives(row->modalities),
                                  row->clause, std::string(modality)});
    }
    const Modality_Row* const usual = Row_Of(Usual_Modalities, sop_class);
    if (usual != nullptr && !Is_One_Of(modality, usual->modalities)) {
        subject.doubts.push_back(
            {record, Fault::Unusual_Modality, Level::Kept,
             "the SOP class is mostly one of " + Alternatives(usual->modalities),
             "PS3.3 C.7.3.1.1.1", std::string(modality)});
    }
}

/** Tells what a UID is instead of a SOP class; null when nothing is wrong with it. */
const char* What_Is_Wrong(const std::string& uid)
{
    constexpr std::string_view Standard_Root = "1.2.840.10008.";
    const DICOM_UID_Entry* const entry = DICOM_UID_Get(uid.c_str());
    if (entry != nullptr) {
        return std::string_view(entry->kind).find("SOP Class") == std::string_view::npos
                   ? "is the UID of something else, not of a SOP class"
                   : nullptr;
    }
    return uid.starts_with(Standard_Root) ? "" : nullptr;
}

/** False when something is wrong. */
bool Check_Class(Subject_Set& subject, const DICOM_List& record, const std::string& uid)
{
    const char* const fault = What_Is_Wrong(uid);
    if (fault != nullptr && *fault != '\0') {
        subject.doubts.push_back({&record, Fault::SOP_Class, Level::Kept, fault, nullptr, uid});
    } else if (fault != nullptr) {
        subject.doubts.push_back({&record, Fault::Unlikely, Level::Info,
                                  "is a UID of the standard, and in no registry known here",
                                  "PS3.6 A", uid});
    }
    return fault == nullptr;
}

void Check_Identities(Subject_Set& subject)
{
    for (std::size_t i = 1; i < std::size(Identities); ++i) {
        const std::string_view uid = subject.Top_Text(Identities[i].tag);
        for (std::size_t k = 0; k < i && !uid.empty(); ++k) {
            if (uid == subject.Top_Text(Identities[k].tag)) {
                subject.doubts.push_back(
                    {subject.Top(Identities[i].tag), Fault::UID_Reused, Level::Kept,
                     std::string("is the UID of the ") + Identities[k].what + " too", nullptr,
                     std::string(uid)});
                break;
            }
        }
    }
}

void Check(Subject_Set& subject)
{
    std::string_view last;
    subject.For_Each([&](const Watched& element) {
        const Tag tag = element.tag;
        if (tag == SOP_Class || tag == Related_Class || tag == Referenced_Class ||
            tag == Class_In_File) {
            // What refers to a thousand images of a kind is not looked up a thousand times.
            const std::string_view uid = subject.Text(*element.record);
            if (uid != last && Check_Class(subject, *element.record, std::string(uid))) {
                last = uid;
            }
        }
    });
    Check_Modality(subject);
    Check_Identities(subject);
}

}  // namespace

constinit const Rule Identity_Rule = {Tags, Check};

}  // namespace lib_mend
