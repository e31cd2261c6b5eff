// A data set from its DICOM JSON model (PS3.18 annex F).
#ifndef LIB_MEND_FROM_JSON_H
#define LIB_MEND_FROM_JSON_H

#include "mend/reading/data_set.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace lib_mend {

/** Fetches what a "BulkDataURI" refers to, in little endian; nothing when it cannot. */
using Bulk_Reader = std::function<std::optional<Bytes>(std::string_view uri)>;

/**
 * Makes a data set of an object of JSON, or of an array with one. Its elements are in explicit VR
 * little endian and in the order of their tags; pixel data are encapsulated when (0002,0010) says so.
 * It is not healed: Mend heals and writes it.
 *
 * What is wrong with the text are error findings with line and column, and offsets in the text.
 * An element that says nothing is left out; a text that is no JSON makes the data set unreadable, so
 * that it is not written. Throws std::bad_alloc.
 *
 * Long values in base64 are decoded into a temporary file.
 *
 * @param text      UTF-8; its name is that of the data set's source
 * @param findings  a Library_Session has to direct messages there
 * @param bulk      without it, values that stand elsewhere are errors
 */
Data_Set From_JSON(const Source& text, Findings& findings, const Bulk_Reader& bulk = {});

/** The same of a text in memory. */
Data_Set From_JSON(std::string_view text, const std::string& name, Findings& findings,
                   const Bulk_Reader& bulk = {});

}  // namespace lib_mend

#endif
