#include "values/result_ring.h"

#include <array>
#include <utility>

namespace lib_dicom {

namespace {

/** As many results as one message or expression of a caller may hold at a time, and some more. */
constexpr std::size_t Slot_Count = 16;

struct Result_Ring {
    std::array<std::string, Slot_Count> slots;
    std::size_t next = 0;
};

Result_Ring& Ring()
{
    static Result_Ring ring;
    return ring;
}

std::string& Next_Slot()
{
    Result_Ring& ring = Ring();
    Critical_Util_In();
    std::string& slot = ring.slots[ring.next];
    ring.next = (ring.next + 1) % Slot_Count;
    Critical_Util_Out();
    return slot;
}

}  // namespace

const char* Keep_Result(std::string text)
{
    std::string& slot = Next_Slot();
    slot = std::move(text);
    return slot.c_str();
}

void Result_Ring_Cleanup()
{
    for (std::string& slot : Ring().slots) {
        // An assignment would keep the memory.
        std::string().swap(slot);
    }
}

}  // namespace lib_dicom
