#include "mend/healing/strict.h"

#include "mend/healing/records.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace lib_mend {

namespace {

/** A record of its own with a copy of a value. */
class Lone_Record {
public:
    Lone_Record(const DICOM_List& record, std::string_view bytes)
    {
        record_.byte_order = record.byte_order;
        record_.group = record.group;
        record_.element = record.element;
        record_.vr = record.vr;
        record_.vr_default = record.vr_default;
        record_.dict = record.dict;
        Set_Bytes(record_, bytes);
    }
    Lone_Record(const Lone_Record&) = delete;
    Lone_Record& operator=(const Lone_Record&) = delete;
    ~Lone_Record()
    {
        std::free(record_.data);
    }
    DICOM_List* Get()
    {
        return &record_;
    }

private:
    DICOM_List record_ = {};
};

Strict_Value Repair_Once(const DICOM_List& record, std::string_view bytes)
{
    Findings unheard;
    const Library_Session session(unheard);
    Lone_Record alone(record, bytes);
    DICOM_Attribute_Cleanup_Tag(nullptr, alone.Get());
    if (unheard.Out_Of_Memory()) {
        throw std::bad_alloc();
    }
    const std::string_view repaired = Bytes_Of(*alone.Get());
    return {std::string(repaired), repaired.empty() && !bytes.empty()};
}

}  // namespace

Strict_Value Repair_Strictly(const DICOM_List& record, std::string_view bytes,
                             const Character_Set& characters, bool replace_uids)
{
    // Each round leaves less that is wrong; the bound is for what no repair can help.
    constexpr int Most_Rounds = 16;
    Strict_Value value = {std::string(bytes)};
    if (Is_Text(VR_Of(record))) {
        // Of NULs behind a text a round takes one only.
        value.bytes.resize(value.bytes.find_last_not_of('\0') + 1);
    }
    for (int round = 0; round < Most_Rounds && !value.deleted; ++round) {
        Strict_Value repaired = Repair_Once(record, value.bytes);
        if (!repaired.deleted) {
            repaired.bytes =
                Heal_Value({repaired.bytes, VR_Of(record), characters, replace_uids}).bytes;
        }
        const bool settled = !repaired.deleted && repaired.bytes == value.bytes;
        value = std::move(repaired);
        if (settled) {
            break;
        }
    }
    return value;
}

}  // namespace lib_mend
