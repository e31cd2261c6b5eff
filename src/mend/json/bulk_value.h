// The bytes of a value in little endian, wherever they are, and those of encapsulated data as a stream.
#ifndef LIB_MEND_BULK_VALUE_H
#define LIB_MEND_BULK_VALUE_H

#include "mend/reading/data_set.h"
#include "mend/writing/output.h"

#include <functional>
#include <optional>
#include <vector>

namespace lib_mend {

/** The value of an element as it stands in a stream in little endian; bulk stays where it is. */
Encoded_File Little_Endian_Value(const Data_Set& set, const DICOM_List& record, unsigned short vr);

/** A part of some bytes. */
struct Value_Part {
    std::int64_t offset = 0;
    std::int64_t size = 0;
};

/** The fragments of encapsulated data as items, with the delimiter at their end (PS3.5 section A.4). */
Encoded_File Fragment_Stream(const Data_Set& set, const DICOM_List& record);

/**
 * The fragments in bytes that are such a stream from the first to the last; nothing when they are
 * not.
 *
 * @param read  fills `out` with what stands at a place among them
 */
std::optional<std::vector<Value_Part>>
Split_Fragment_Stream(std::int64_t size,
                      const std::function<bool(std::int64_t at, Bytes& out)>& read);

/**
 * Where the source holds the bytes of a value, or of fragments without the delimiter; nothing when
 * they are other ones there.
 */
std::optional<Extent> Place_In_Source(const Data_Set& set, const DICOM_List& record,
                                      unsigned short vr);

}  // namespace lib_mend

#endif
