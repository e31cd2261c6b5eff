// Findings as a log of SARIF 2.1.0 (OASIS), which code hosts, editors and dashboards read.
#ifndef LIB_MEND_REPORT_SARIF_H
#define LIB_MEND_REPORT_SARIF_H

#include "mend/findings/faults.h"

#include <string>
#include <string_view>

namespace lib_mend {

/**
 * A log with one run, made piece by piece: what the parts return one after the other is the document.
 * Kinds of findings are rules; the path of an element is a logical location, its bytes are a region.
 */
class Sarif_Log {
public:
    /** @param show_values  also those that may identify a person */
    explicit Sarif_Log(bool show_values) : show_values_(show_values)
    {
    }

    std::string Head() const;
    /** @param file  name of the file that the finding is about */
    std::string Result(const std::string& file, const Finding& finding);
    /**
     * @param complete   false when a file could not be read
     * @param artifacts  what is said of the files themselves, objects with commas between them
     * @param totals     of all files, an object; empty for none
     */
    std::string Tail(bool complete, const std::string& artifacts = {},
                     const std::string& totals = {}) const;
    /** A file name as a URI reference (RFC 3986). */
    static std::string URI_Of(std::string_view file);

private:
    bool show_values_;
    bool is_first_ = true;
};

}  // namespace lib_mend

#endif
