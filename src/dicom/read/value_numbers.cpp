// Values as integers and as floats, from numbers and from texts.
#include "read/number_text.h"
#include "read/value_extractor.h"
#include "read/very_long.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_Value";

constexpr Extractor Int_Extractor = {
    .id = Extractor_Id::Int,
    .call = "NEMA_Value_Int()",
    .fetches = true,
    .bad_vr = "(%04x,%04x): bad VR value (%c%c) != DS,IS,US,UH,UL,SS,SL)",
};
constexpr Extractor Float_Extractor = {
    .id = Extractor_Id::Float,
    .call = "NEMA_Value_Float()",
    .fetches = true,
    .bad_vr = "(%04x,%04x): bad VR value (%c%c) != IS,DS,FL,FD)",
};

/** A number as another type: out of range of an integer it becomes the nearest limit. */
template <class Number, class Source>
Number Convert(Source number)
{
    if constexpr (std::is_integral_v<Number> && std::is_integral_v<Source>) {
        using Limits = std::numeric_limits<Number>;
        if (!std::in_range<Number>(number)) {
            return number < Source() ? Limits::min() : Limits::max();
        }
    } else if constexpr (std::is_integral_v<Number>) {
        using Limits = std::numeric_limits<Number>;
        if (std::isnan(number)) {
            return 0;
        }
        number = std::clamp<Source>(number, Limits::min(), Limits::max());
    }
    return static_cast<Number>(number);
}

std::int64_t Convert_Signed_Long(unsigned char order, const void* bytes)
{
    return static_cast<std::int64_t>(Convert_Unsigned_Long(order, bytes));
}

template <class Number>
struct Number_Rule {
    /** Reason of leaving. */
    const char* reason;
    /** Width of one binary value; 0 for text. */
    std::size_t width;
    Number (*convert)(unsigned char order, const void* bytes);
    Number (*parse)(const char* text);
    /** Reason of refusing a last value that is cut; null when its missing bytes count as zero. */
    const char* refuses_partial;
    unsigned short vr;
    bool current_only;
};

template <class Number, auto Get>
constexpr Number_Rule<Number> Binary(unsigned short vr, const char* reason,
                                     const char* refuses_partial = nullptr)
{
    constexpr auto convert = [](unsigned char order, const void* bytes) {
        return Convert<Number>(Get(order, bytes));
    };
    return {reason, sizeof(Get(0, nullptr)), convert, nullptr, refuses_partial, vr, false};
}

template <class Number, auto Parse>
constexpr Number_Rule<Number> Text(unsigned short vr, const char* reason)
{
    constexpr auto parse = [](const char* text) {
        return Convert<Number>(Parse(text));
    };
    return {reason, 0, nullptr, parse, nullptr, vr, false};
}

template <class Number>
constexpr Number_Rule<Number> Current(Number_Rule<Number> rule)
{
    rule.current_only = true;
    return rule;
}

constexpr Number_Rule<int> Int_Rules[] = {
    Binary<int, NEMA_Convert_Int>(VR_SL, "VR_SL"),
    Binary<int, NEMA_Convert_Int>(VR_AT, "VR_AT/VR_UL"),
    Binary<int, NEMA_Convert_Int>(VR_UL, "VR_AT/VR_UL"),
    Binary<int, NEMA_Convert_Short>(VR_SS, "VR_SS"),
    Binary<int, NEMA_Convert_Short>(VR_OW, "VR_OW"),
    Binary<int, NEMA_Convert_UShort>(VR_US, "VR_US/VR_UH"),
    Binary<int, NEMA_Convert_UShort>(VR_UH, "VR_US/VR_UH"),
    Text<int, Parse_Integer>(VR_IS, "VR_DS/VR_IS"),
    Text<int, Parse_Double>(VR_DS, "VR_DS/VR_IS"),
    Current(Binary<int, NEMA_Convert_Int>(VR_OL, "VR_OL")),
    Current(Binary<int, Convert_Signed_Long>(VR_SV, "VR_SV")),
    Current(Binary<int, Convert_Unsigned_Long>(VR_UV, "VR_UV")),
};

constexpr Number_Rule<float> Float_Rules[] = {
    Binary<float, NEMA_Convert_Float>(VR_FL, "VR_FL", " tag->size % 4"),
    Binary<float, NEMA_Convert_Double>(VR_FD, "VR_FD", " tag->size % 8"),
    Text<float, Parse_Integer>(VR_IS, "VR_DS/VR_IS"),
    Text<float, Parse_Double>(VR_DS, "VR_DS/VR_IS"),
    Current(Binary<float, NEMA_Convert_Float>(VR_OF, "VR_OF", " tag->size % 4")),
    Current(Binary<float, NEMA_Convert_Double>(VR_OD, "VR_OD", " tag->size % 8")),
};

template <class Number>
void Convert_Values(const Value& value, const Number_Rule<Number>& rule, std::span<Number> numbers)
{
    std::string_view rest = value.bytes;
    for (Number& number : numbers) {
        char bytes[sizeof(double)] = {};
        rest.remove_prefix(rest.copy(bytes, rule.width));
        number = rule.convert(value.tag.byte_order, bytes);
    }
}

template <class Number>
bool Parse_Values(const Value& value, const Number_Rule<Number>& rule, std::span<Number> numbers)
{
    // No number holds a backslash, so only the end of the last one has to be marked.
    const std::size_t size = value.bytes.size();
    const C_Array<char> str = C_Malloc<char>(value.handle, This_Unit, size + 1, "str");
    if (str == nullptr) {
        return false;
    }
    *std::copy(value.bytes.begin(), value.bytes.end(), str.get()) = '\0';
    const char* text = str.get();
    for (Number& number : numbers) {
        number = rule.parse(text);
        text = std::find(text, static_cast<const char*>(str.get()) + size, Separator) + 1;
    }
    return true;
}

template <class Number>
Outcome<Number> Extract_Numbers(const Value& value, const Number_Rule<Number>& rule,
                                Pool_Array<Number>& slot, const char* variable)
{
    const bool is_text = rule.width == 0;
    const std::size_t size = value.bytes.size();
    if (rule.refuses_partial != nullptr && size % rule.width != 0) {
        return {nullptr, rule.refuses_partial};
    }
    const std::size_t count =
        is_text ? Count_Values(value.bytes) : (size + rule.width - 1) / rule.width;
    if (!slot.Reserve(value.handle, This_Unit, count, variable)) {
        return {};
    }
    const std::span<Number> numbers = slot.Items().first(count);
    if (!is_text) {
        Convert_Values(value, rule, numbers);
    } else if (!Parse_Values(value, rule, numbers)) {
        return {};
    }
    value.tag.vm = static_cast<unsigned int>(count);
    return {slot.Data(), rule.reason};
}

/** What RT, the VR of entries without one, stands for in a value of this size. */
unsigned short Placeholder_VR(int size)
{
    return size == 2 ? VR_US : size == 4 ? VR_UL : VR_OB;
}

}  // namespace

int* NEMA_Value_Int(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<int>(handle, tag, vr, Int_Extractor, [](Value value) {
        if (value.vr == VR_RT) {
            value.vr = Placeholder_VR(value.tag.size);
        }
        const Number_Rule<int>* const rule = Find_Rule(Int_Rules, value.vr);
        return rule == nullptr
                   ? Refuse_VR<int>(value, This_Unit)
                   : Extract_Numbers(value, *rule, Get_Value_Pools().integers[value.slot],
                                     "V_Int[cc]");
    });
}

float* NEMA_Value_Float(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<float>(handle, tag, vr, Float_Extractor, [](const Value& value) {
        const Number_Rule<float>* const rule = Find_Rule(Float_Rules, value.vr);
        return rule == nullptr ? Refuse_VR<float>(value, This_Unit)
                               : Extract_Numbers(value, *rule, Get_Value_Pools().floats[value.slot],
                                                 "V_Float[cc]");
    });
}
