// The elements that `list --only` and `--depth` show.
#ifndef TOOLS_DICOM_MEND_SELECTION_H
#define TOOLS_DICOM_MEND_SELECTION_H

#include "mend/interface/element_path.h"
#include "mend/reading/data_set.h"

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace dicom_mend {

struct Selection_Request {
    /** Tags, keywords or paths; none for all elements. */
    std::vector<std::string> only;
    /** Levels of sequences that are opened; nothing for all. */
    std::optional<std::size_t> depth;
};

class Selection {
public:
    /**
     * An element that is asked for is shown with all that it holds, and with the sequences and items
     * around it.
     */
    Selection(const lib_mend::Data_Set& set, const Selection_Request& request);

    bool Is_All() const
    {
        return is_all_;
    }
    /** The data set has none of the elements that were asked for. */
    bool Is_Empty() const
    {
        return !is_all_ && shown_.empty();
    }
    /** Of an element, or of an item by its header. */
    bool Shows(const DICOM_List& record) const
    {
        return is_all_ || shown_.contains(&record);
    }

private:
    void Look_Through(DICOM_List* list, const Selection_Request& request,
                      const std::vector<lib_mend::Element_Path>& only);

    bool is_all_;
    std::unordered_set<const DICOM_List*> shown_;
};

}  // namespace dicom_mend

#endif
