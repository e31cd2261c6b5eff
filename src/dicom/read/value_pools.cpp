#include "read/value_pools.h"

#include <Lib_DICOM/read.h>

namespace lib_dicom {

namespace {

/** Holds the process-wide lock of the rotating slots. */
class Slot_Lock {
public:
    Slot_Lock()
    {
        Critical_Util_In();
    }
    Slot_Lock(const Slot_Lock&) = delete;
    Slot_Lock& operator=(const Slot_Lock&) = delete;
    ~Slot_Lock()
    {
        Critical_Util_Out();
    }
};

template <class Pool>
void Release_All(Pool& pool)
{
    for (auto& slot : pool) {
        slot.Release();
    }
}

}  // namespace

bool Pool_Strings::Set(HWND handle, Place place, std::size_t index, std::string_view text,
                       const char* variable)
{
    char*& string = strings_.Data()[index];
    if (!C_Resize(handle, place, string, text.size() + 1, variable)) {
        return false;
    }
    std::copy(text.begin(), text.end(), string);
    string[text.size()] = '\0';
    return true;
}

void Pool_Strings::Release()
{
    for (char* string : strings_.Items()) {
        std::free(string);
    }
    strings_.Release();
}

void Pool_Names::Clear()
{
    for (OrisWare_Name& name : names_.Items().first(count_)) {
        Name_Free(&name);
    }
    count_ = 0;
}

bool Pool_Names::Reset(HWND handle, Place place, std::size_t count, const char* variable)
{
    Clear();
    if (!names_.Reserve(handle, place, count, variable)) {
        return false;
    }
    count_ = count;
    return true;
}

void Pool_Names::Release()
{
    Clear();
    names_.Release();
}

std::size_t Value_Pools::Next_Slot(Extractor_Id extractor)
{
    const Slot_Lock lock;
    std::size_t& counter = counters_[static_cast<std::size_t>(extractor)];
    counter = (counter + 1) % Slots;
    return counter;
}

void Value_Pools::Release()
{
    Release_All(strings);
    Release_All(integers);
    Release_All(floats);
    Release_All(buffers);
    Release_All(names);
    for (OrisWare_Date& date : dates) {
        Date_Free(&date);
    }
    for (OrisWare_Time& time : times) {
        Time_Free(&time);
    }
}

Value_Pools& Get_Value_Pools()
{
    static Value_Pools pools;
    return pools;
}

}  // namespace lib_dicom

void NEMA_Value_Cleanup(void)
{
    const lib_dicom::Trace_Scope trace(hwnd, lib_dicom::Trace_Entry,
                                       "Lib_DICOM: NEMA_Value_Cleanup()");
    lib_dicom::Get_Value_Pools().Release();
}
