// The loop of a plain client of the library: each header, each value, one flat list.
#ifndef TESTS_FLAT_READER_H
#define TESTS_FLAT_READER_H

#include "mend/reading/data_set.h"

/** Reads elements one behind the other, up to the first header that the library refuses. */
inline lib_mend::Record_List Read_Flat(const std::shared_ptr<lib_mend::Source>& source,
                                       unsigned char code)
{
    using namespace lib_mend;
    constexpr int Longest_Loaded = 1024;
    // The interface trusts its caller with the end of a memory image.
    constexpr std::int64_t Longest_Header = 12;
    Record_List flat;
    DICOM_Root root = {};
    Cursor cursor(source, 0);
    Header header;
    for (std::int64_t at = 0;
         at + Longest_Header <= source->Size() && cursor.Read_Header(code, header);
         at = cursor.Tell()) {
        DICOM_List record = {};
        record.byte_order = code;
        record.flags = DICOM_Origin_Stream;
        record.group = header.group;
        record.element = header.element;
        record.vr = header.vr;
        record.dict = NEMA_db_Locate(header.group, header.element);
        record.vr_default = record.dict != nullptr ? record.dict->vr[0] : VR_UN;
        record.pos = static_cast<unsigned int>(at);
        record.data_pos = static_cast<unsigned int>(cursor.Tell());
        record.size = header.length;
        const bool has_value =
            header.length > 0 && header.group != 0xFFFE && VR_Of(record) != VR_SQ;
        if (has_value && header.length > source->Size() - cursor.Tell()) {
            break;
        }
        Bytes value;
        if (has_value && header.length <= Longest_Loaded) {
            if (!cursor.Read_Value(header.length, value)) {
                break;
            }
            record.data = value.data();
        } else if (has_value && !cursor.Seek(record.data_pos + std::int64_t{header.length})) {
            break;
        }
        if (DICOM_Attribute_Insert(nullptr, &root, flat.Address(), &record, 0) == nullptr) {
            throw std::bad_alloc();
        }
    }
    return flat;
}

#endif
