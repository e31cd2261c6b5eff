// The registry of unique identifiers, a sorted table.
#include "dictionary/name_search.h"
#include "frame/report.h"

#include <Lib_DICOM/dictionary.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "uids.hpp"

using namespace lib_dicom;

namespace {

constexpr const DICOM_UID_Entry* None = nullptr;

}  // namespace

const DICOM_UID_Entry* DICOM_UID_Get(const char* uid)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_UID_Get(%hs)", uid);
    if (uid == nullptr) {
        return trace.Leave(None, "! uid");
    }
    std::string_view wanted = uid;
    wanted = wanted.substr(0, wanted.find_last_not_of(' ') + 1);
    const DICOM_UID_Entry* const entry =
        std::lower_bound(std::begin(uids), std::end(uids), wanted,
                         [](const DICOM_UID_Entry& row, std::string_view text) {
                             return std::string_view(row.uid) < text;
                         });
    return entry != std::end(uids) && entry->uid == wanted ? entry : trace.Leave(None, "! entry");
}

const char* DICOM_UID_Name(const char* uid)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_UID_Name(%hs)", uid);
    const DICOM_UID_Entry* const entry = DICOM_UID_Get(uid);
    return entry != nullptr && *entry->name != '\0' ? entry->name : nullptr;
}

const DICOM_UID_Entry* DICOM_UID_Find(const char* name_part, const DICOM_UID_Entry* previous)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_UID_Find(%hs)", name_part);
    if (name_part == nullptr) {
        return trace.Leave(None, "! name_part");
    }
    const DICOM_UID_Entry* const first = previous == nullptr ? uids : previous + 1;
    const DICOM_UID_Entry* const entry =
        std::find_if(first, std::end(uids), [=](const DICOM_UID_Entry& row) {
            return Name_Contains(row.name, name_part);
        });
    return entry != std::end(uids) ? entry : trace.Leave(None, "! entry");
}
