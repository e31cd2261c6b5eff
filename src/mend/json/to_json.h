// The DICOM JSON model of a data set (PS3.18 annex F), as text in UTF-8.
#ifndef LIB_MEND_TO_JSON_H
#define LIB_MEND_TO_JSON_H

#include "mend/reading/data_set.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>

namespace lib_mend {

struct JSON_Options {
    static constexpr std::int64_t All_Inline = std::numeric_limits<std::int64_t>::max();

    /**
     * Values of OB, OD, OF, OL, OV, OW and UN that are longer are references to their place in the
     * source of the data set, "BulkDataURI"; those that are not there as they stand in the data set,
     * in little endian, are inline all the same.
     */
    std::int64_t inline_limit = All_Inline;
    /** What "?offset=...&length=..." is appended to; the caller knows the name of the source. */
    std::string bulk_base = {};
    /** Line breaks and indentation: one line an element. */
    bool pretty = true;
    /** Tells which elements are in the text; nothing for all. */
    std::function<bool(const DICOM_List&)> shows = {};
    /**
     * All of group 0002. The model leaves it out; the transfer syntax alone is there even without
     * this option where pixel data are encapsulated, since they say nothing without it.
     */
    bool file_meta = false;
};

/** Takes a piece of the text; false stops. */
using JSON_Taker = std::function<bool(std::string_view)>;

/**
 * Gives the JSON of a data set as it stands, one object without a line end behind it, in pieces:
 * only one text at a time is held, and no bulk value. Texts are converted to UTF-8. A value that
 * JSON has no form for, such as a text that does not convert without loss, becomes "InlineBinary"
 * whatever its VR, and a finding says so. Throws std::bad_alloc.
 *
 * @return false when the taker stopped, or a value could not be read, which is an error finding
 */
bool To_JSON(const Data_Set& set, const JSON_Options& options, Findings& findings,
             const JSON_Taker& take);

}  // namespace lib_mend

#endif
