// The built-in lines of the data dictionary.
#ifndef LIB_DICOM_SRC_DICTIONARY_TABLES_H
#define LIB_DICOM_SRC_DICTIONARY_TABLES_H

#include <cstddef>
#include <span>

namespace lib_dicom {

/** The lines of one group. */
struct Table {
    const char* const* lines;
    /** Size of the array of lines in bytes. */
    std::size_t size;

    std::span<const char* const> Lines() const
    {
        return {lines, size / sizeof *lines};
    }
};

/** The dictionary of the edition that the library follows, in ascending group order. */
std::span<const Table> Standard_Tables();
/** The rows that PS3.6 has gained since, in ascending group order. */
std::span<const Table> Current_Tables();

}  // namespace lib_dicom

#endif
