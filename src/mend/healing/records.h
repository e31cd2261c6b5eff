// What healing needs of single records: their bytes, and which of them are left alone.
#ifndef LIB_MEND_RECORDS_H
#define LIB_MEND_RECORDS_H

#include "mend/reading/data_set.h"

#include <string_view>

namespace lib_mend {

/** The bytes of a value that is in memory. */
inline std::string_view Bytes_Of(const DICOM_List& record)
{
    return record.data != nullptr ? std::string_view(reinterpret_cast<const char*>(record.data),
                                                     static_cast<std::size_t>(record.size))
                                  : std::string_view();
}

/** Gives a record another value. Throws std::bad_alloc. */
void Set_Bytes(DICOM_List& record, std::string_view bytes);

/** Gives the value of a record back to the source if it was left there before. */
class Loaded {
public:
    /** Throws std::bad_alloc. */
    Loaded(const Data_Set& set, DICOM_List& record);
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;
    ~Loaded();

    /** False when the value cannot be read. */
    bool Ready() const
    {
        return ready_;
    }
    /** The value is another now. */
    void Keep()
    {
        was_left_ = false;
    }

private:
    DICOM_List& record_;
    bool was_left_;
    bool ready_;
};

/** Groups in front of this one are those of messages, files and directories. */
inline constexpr unsigned short First_Group_Of_Data = 0x0008;

/** Private creators reserve blocks (PS3.5 section 7.8.1). */
inline bool Is_Creator(const DICOM_List& record)
{
    return record.group % 2 != 0 && record.element >= 0x0010 && record.element <= 0x00FF;
}

}  // namespace lib_mend

#endif
