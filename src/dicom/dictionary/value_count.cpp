#include "dictionary/value_count.h"

#include "frame/report.h"

namespace lib_dicom {

int Check_Value_Count(HWND handle, const DICOM_List& attribute, int count, const char* label)
{
    if (attribute.dict == nullptr || attribute.dict->nb_vr < 1) {
        return 1;
    }
    const TAG_db_VM vm = attribute.dict->vm[0];
    if (vm.vm_min == vm.vm_max) {
        if (count == vm.vm_min) {
            return 1;
        }
        Report_Warning(handle,
                       "%hs Invalid number of values in data!, Expecting VN=%d but got %d values",
                       label, vm.vm_min, count);
        return 0;
    }
    if (count < vm.vm_min && !Is_Bounded(vm)) {
        Report_Warning(handle, "%hs Not enough values in data! Expecting VN=%d-n but got %d values",
                       label, vm.vm_min, count);
        return 0;
    }
    if (count < vm.vm_min) {
        Report_Warning(handle,
                       "%hs Not enough values in data! Expecting VN=%d-%d but got %d values", label,
                       vm.vm_min, vm.vm_max, count);
        return 0;
    }
    if (Is_Bounded(vm) && count > vm.vm_max) {
        Report_Warning(handle, "%hs To many values in data! Expecting VN=%d-%d but got %d values",
                       label, vm.vm_min, vm.vm_max, count);
        return 0;
    }
    return 1;
}

}  // namespace lib_dicom
