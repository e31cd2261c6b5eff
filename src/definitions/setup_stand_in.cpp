// Names the definition directory until the reader of the module files does.
#include <Lib_DICOM/frame.h>

#include <string>

LIB_DICOM_API const wchar_t* DICOM_Module_Setup(HWND handle, const wchar_t* directory);

const wchar_t* DICOM_Module_Setup(HWND, const wchar_t* directory)
{
    static std::wstring used;
    if (directory != nullptr) {
        used = std::wstring(directory) + L"/";
    }
    return used.empty() ? nullptr : used.c_str();
}
