// Values that the client left in the source when it read the element's header.
#ifndef LIB_DICOM_SRC_READ_DEFERRED_VALUE_H
#define LIB_DICOM_SRC_READ_DEFERRED_VALUE_H

#include "frame/report.h"
#include "read/byte_source.h"

#include <cstddef>
#include <span>

namespace lib_dicom {

/** The source that the exported settings name, open for as long as the object lives. */
class Value_Source {
public:
    Value_Source();

    bool Is_Open() const
    {
        return is_file_ ? file_.Descriptor() >= 0 : DICOM_Lib_File_Name != nullptr;
    }
    /** The source's name for messages. */
    const wchar_t* Name() const;
    /** Number of bytes from a position on. */
    long long Rest(unsigned int position) const;
    /** Returns the number of bytes read, fewer than asked for at the end; -1 after a system error.
     */
    std::ptrdiff_t Read(unsigned int position, std::span<unsigned char> out) const;

private:
    bool is_file_;
    Opened_File file_;
    long long size_;
};

/** Tells whether the bytes of a record were left in the source; short values are always loaded. */
bool Is_Left_In_Source(const DICOM_List& tag);
/** The same of a value, which the contents of a sequence, an item or a delimiter are not. */
bool Is_Deferred(const DICOM_List& tag);

/**
 * Fetches the value into the record, from the source that the exported settings name.
 *
 * @return false after a message. Where the source ended or failed inside the value, the record
 *         keeps what could be read, zeros behind it.
 */
bool Fetch_Deferred_Value(HWND handle, Place place, DICOM_List& tag);

}  // namespace lib_dicom

#endif
