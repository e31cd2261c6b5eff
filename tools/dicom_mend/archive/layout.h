// `--layout`: where a mended file stands below OUT_DIR, by what it says of itself.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_LAYOUT_H
#define TOOLS_DICOM_MEND_ARCHIVE_LAYOUT_H

#include "mend/interface/element_path.h"

#include <string>
#include <string_view>
#include <vector>

namespace dicom_mend {

/** A text such as "{PatientID}/{StudyDate}-{Modality}/{SOPInstanceUID}.dcm". */
class Layout {
public:
    /** @return the reason why a text is no layout; empty when it is one */
    std::string Parse(std::string_view text);
    bool Is_Given() const
    {
        return !parts_.empty();
    }
    /**
     * The path of a file. Whatever its values hold, the path has as many parts as the layout, stays below
     * its folder, and each part is a name that file systems take: separators, controls and signs that
     * some of them forbid become "_", and "_" stands for what is not there.
     */
    std::string Path_Of(const lib_mend::Data_Set& set) const;

private:
    /** A plain text, or the value of an element behind it. */
    struct Part {
        std::string text;
        bool is_element = false;
        lib_mend::Element_Path path = {};
    };

    std::vector<Part> parts_;
};

/** "a/b~2.dcm" of "a/b.dcm". */
std::string Numbered(const std::string& name, int number);

/** Cuts a name, at a letter; a number made of the whole keeps different ones apart. */
std::string Cut_Name(std::string name, std::size_t most);

/** A text as a part of a name: see Layout::Path_Of. */
std::string Safe_Name(std::string_view text);

}  // namespace dicom_mend

#endif
