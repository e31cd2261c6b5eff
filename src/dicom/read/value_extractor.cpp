#include "read/value_extractor.h"

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Read_Value";

}  // namespace

std::optional<Value> Begin_Extraction(HWND handle, DICOM_List& tag, unsigned short vr,
                                      const Extractor& extractor, Trace_Scope& trace)
{
    const std::size_t slot = Get_Value_Pools().Next_Slot(extractor.id);
    tag.vm = 0;
    if (tag.size == 0) {
        return trace.Leave(std::nullopt, "! tag->size");
    }
    if (extractor.fetches && Is_Left_In_Source(tag) &&
        !Fetch_Deferred_Value(handle, This_Unit, tag)) {
        return trace.Leave(std::nullopt, "reading missing");
    }
    // A sequence of undefined length has no bytes of its own.
    if (tag.data == nullptr || tag.size < 0) {
        return trace.Leave(std::nullopt, "! tag->data");
    }
    const std::string_view bytes(reinterpret_cast<const char*>(tag.data),
                                 static_cast<std::size_t>(tag.size));
    return Value{handle, tag, vr != 0 ? vr : Effective_VR(tag), slot, bytes, extractor.bad_vr};
}

void Report_Bad_VR(const Value& value, Place place)
{
    Trace(value.handle, Trace_Value, "File:%hs, Line:%d", place.unit, place.line);
    Trace(value.handle, Trace_Value, value.bad_vr, value.tag.group, value.tag.element,
          value.vr >> 8, value.vr & 0xFF);
}

bool Split(const Value& value)
{
    Pool_Strings& strings = Get_Value_Pools().strings[value.slot];
    const std::size_t count = Count_Values(value.bytes);
    if (!strings.Reserve(value.handle, This_Unit, count, "V_Str[cc]")) {
        return false;
    }
    std::string_view rest = value.bytes;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view text = rest.substr(0, rest.find(Separator));
        if (!strings.Set(value.handle, This_Unit, i, text, "V_Str[cc][tag->vm]")) {
            return false;
        }
        rest.remove_prefix(std::min(text.size() + 1, rest.size()));
    }
    value.tag.vm = static_cast<unsigned int>(count);
    return true;
}

}  // namespace lib_dicom
