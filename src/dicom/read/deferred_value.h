// Values that the client left in the source when it read the element's header.
#ifndef LIB_DICOM_SRC_READ_DEFERRED_VALUE_H
#define LIB_DICOM_SRC_READ_DEFERRED_VALUE_H

#include "frame/c_memory.h"
#include "read/byte_source.h"

#include <cstddef>
#include <span>

namespace lib_dicom {

/** What kept a value from being read. */
enum class Fetch_Fault {
    None,
    Memory,  ///< after the memory message
    Seek,    ///< errno tells why
    Read,    ///< errno tells why
    End      ///< the source ends inside the value
};

struct Fetched_Value {
    Fetch_Fault fault;
    /** Number of bytes that were read, or that the source holds when none were. */
    long long count = 0;
    /** As many bytes as the value has, those that were not read zero; null without any. */
    C_Array<unsigned char> data = nullptr;
};

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
    /** Reads the value of a record. @param variable  what it is for, for the memory message */
    Fetched_Value Fetch(HWND handle, Place place, const DICOM_List& tag,
                        const char* variable) const;

private:
    bool Seek(unsigned int position) const;
    std::ptrdiff_t Take(unsigned int position, std::span<unsigned char> out) const;

    bool is_file_;
    Opened_File file_;
    /** -1 after a system error. */
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
