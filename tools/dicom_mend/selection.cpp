#include "selection.h"

#include "mend/interface/element_path.h"
#include "mend/reading/tree.h"

#include <algorithm>

namespace dicom_mend {

namespace {

/** An element on the way to the one that is looked at, and the header of the item that is open in it. */
struct Step {
    const DICOM_List* element = nullptr;
    const DICOM_List* item = nullptr;
    /** It was asked for, or something around it. */
    bool is_whole = false;
};

}  // namespace

Selection::Selection(const lib_mend::Data_Set& set, const Selection_Request& request)
    : is_all_(request.only.empty() && !request.depth)
{
    if (is_all_) {
        return;
    }
    std::vector<lib_mend::Element_Path> only;
    for (const std::string& name : request.only) {
        only.push_back(lib_mend::Parse_Path(name).value_or(lib_mend::Element_Path()));
    }
    Look_Through(set.meta.Head(), request, only);
    Look_Through(set.records.Head(), request, only);
}

void Selection::Look_Through(DICOM_List* list, const Selection_Request& request,
                             const std::vector<lib_mend::Element_Path>& only)
{
    // The first step is the list itself.
    std::vector<Step> way(1);
    lib_mend::Tree_Walk walk(list);
    while (const DICOM_List* const record = walk.Next()) {
        const std::size_t level = walk.Way().size();
        way.resize(level + 1);
        if (lib_mend::Is_Delimiter(*record)) {
            way[level].item = record;
            if (way[level].is_whole && (!request.depth || level <= *request.depth)) {
                shown_.insert(record);
            }
            continue;
        }
        // A tag alone is asked for wherever it stands.
        const bool is_asked_for =
            only.empty() || way[level].is_whole ||
            std::any_of(only.begin(), only.end(), [&](const lib_mend::Element_Path& path) {
                return path.tag == lib_mend::Tag_Of(*record) &&
                       (path.way.empty() || path.way == walk.Way());
            });
        way.push_back({record, nullptr, is_asked_for});
        if (!is_asked_for || (request.depth && level > *request.depth)) {
            continue;
        }
        shown_.insert(record);
        for (std::size_t i = level; i > 0; --i) {
            const bool is_new = shown_.insert(way[i].item).second;
            if (!shown_.insert(way[i].element).second && !is_new) {
                break;
            }
        }
    }
}

}  // namespace dicom_mend
