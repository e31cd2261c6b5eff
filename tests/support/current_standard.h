// Follows the current standard, or not, for the length of a scope.
#ifndef TESTS_CURRENT_STANDARD_H
#define TESTS_CURRENT_STANDARD_H

#include <Lib_DICOM/Lib_DICOM.h>

class Current_Standard {
public:
    explicit Current_Standard(bool is_set = true)
    {
        DICOM_Flag_Current_Standard = is_set ? 1 : 0;
    }
    Current_Standard(const Current_Standard&) = delete;
    Current_Standard& operator=(const Current_Standard&) = delete;
    ~Current_Standard()
    {
        DICOM_Flag_Current_Standard = 0;
    }
};

#endif
