// Copies of files that could not be mended whole, each with its findings beside it, so that somebody looks at
// them apart.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_QUARANTINE_H
#define TOOLS_DICOM_MEND_ARCHIVE_QUARANTINE_H

#include "archive/file_record.h"
#include "archive/inputs.h"

#include <string>
#include <vector>

namespace dicom_mend {

class Quarantine {
public:
    /**
     * @param folder  empty for none
     * @param inputs  files and folders in which nothing is replaced or removed
     */
    Quarantine(std::string folder, const std::vector<std::string>& inputs)
        : folder_(std::move(folder)), inputs_(folder_.empty() ? std::vector<std::string>() : inputs)
    {
    }

    bool Is_Asked_For() const
    {
        return !folder_.empty();
    }
    /** Removes what is left of copies that were cut short. */
    void Clear_Copies() const;
    /** Tells whether the copy of a file and its findings are there. */
    bool Has(const File_Record& record, bool show_values) const;
    /** Copies a file and its findings; the reason of a failure. */
    std::string Take(const File_Record& record, bool show_values) const;
    /** Removes the copy of a file, of which an earlier run found faults that are there no more. */
    void Leave(const File_Record& record) const;

private:
    bool Is_Inside(const std::string& path) const;

    std::string folder_;
    Inputs inputs_;
};

}  // namespace dicom_mend

#endif
