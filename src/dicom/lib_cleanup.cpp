// The clean-up that releases every cache. It is the one place of the frame that calls upwards, and
// stands here so that nothing else has to. The order is that of the dependencies between the
// caches: typed values, module and private definitions, dictionary, callbacks, module tables.
#include <Lib_DICOM/attributes.h>
#include <Lib_DICOM/definitions.h>
#include <Lib_DICOM/dictionary.h>
#include <Lib_DICOM/frame.h>
#include <Lib_DICOM/read.h>
#include <Lib_DICOM/write.h>

#include "frame/report.h"
#include "values/result_ring.h"

using namespace lib_dicom;

void DICOM_Lib_Cleanup(void)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: DICOM_Lib_Cleanup()");
    NEMA_Value_Cleanup();
    DICOM_Module_Free();
    DICOM_Module_Free_Private();
    NEMA_db_Cleanup();
    DICOM_Attribute_List_Cleanup();
    DICOM_Module_List_Cleanup();
    DICOM_Module_Cleanup();
    Result_Ring_Cleanup();
}
