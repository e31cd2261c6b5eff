// Typed values of records: strings, numbers, bytes, names, dates and times.
#include <Lib_DICOM/read.h>

#include "frame/vr_rules.h"
#include "read/deferred_value.h"
#include "read/number_text.h"
#include "read/value_pools.h"
#include "read/very_long.h"
#include "values/date_text.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_Value";

constexpr char Separator = '\\';

/* ---- the frame of every extractor ---- */

struct Extractor {
    Extractor_Id id;
    const char* call;
    /** Fetches a value that was left in the source. */
    bool fetches;
    /** The VRs in these texts are not quite those that are accepted; the texts are known. */
    const char* bad_vr;
};

constexpr Extractor Str_Extractor = {
    Extractor_Id::Str, "NEMA_Value_Str()", true,
    "(%04x,%04x): bad VR value (%c%c) != AE,AS,CS,LO,LT,SH,ST,UI,UT)"};
constexpr Extractor Int_Extractor = {Extractor_Id::Int, "NEMA_Value_Int()", true,
                                     "(%04x,%04x): bad VR value (%c%c) != DS,IS,US,UH,UL,SS,SL)"};
constexpr Extractor Float_Extractor = {Extractor_Id::Float, "NEMA_Value_Float()", true,
                                       "(%04x,%04x): bad VR value (%c%c) != IS,DS,FL,FD)"};
constexpr Extractor Hex_Extractor = {Extractor_Id::Hex, "NEMA_Value_Hex()", true,
                                     "(%04x,%04x): bad VR value (%c%c) != OB or OW)"};
constexpr Extractor Name_Extractor = {Extractor_Id::Name, "NEMA_Value_Name()", false,
                                      "(%04x,%04x): bad VR value (%c%c) != PN)"};
constexpr Extractor Date_Extractor = {Extractor_Id::Date, "NEMA_Value_Date()", false,
                                      "(%04x,%04x): bad VR value (%c%c) != DA,DT)"};
constexpr Extractor Time_Extractor = {Extractor_Id::Time, "NEMA_Value_Time()", false,
                                      "(%04x,%04x): bad VR value (%c%c) != DT,TM)"};

/** A value on its way into a slot. */
struct Value {
    HWND handle;
    DICOM_List& tag;
    unsigned short vr;
    std::size_t slot;
    std::string_view bytes;
    const char* bad_vr;
};

/** What an extractor hands to its caller, and the reason of leaving for the trace. */
template <class Result>
struct Outcome {
    Result* result;
    const char* reason;
};

template <class Result, class Body>
Result* Extract(HWND handle, DICOM_List* tag, unsigned short vr, const Extractor& extractor,
                Body body)
{
    constexpr Result* None = nullptr;
    Trace_Scope trace(handle, Trace_Entry, extractor.call);
    const std::size_t slot = Get_Value_Pools().Next_Slot(extractor.id);
    tag->vm = 0;
    if (tag->size == 0) {
        return trace.Leave(None, "! tag->size");
    }
    if (extractor.fetches && Is_Left_In_Source(*tag) &&
        !Fetch_Deferred_Value(handle, This_Unit, *tag)) {
        return trace.Leave(None, "reading missing");
    }
    // A sequence of undefined length has no bytes of its own.
    if (tag->data == nullptr || tag->size < 0) {
        return trace.Leave(None, "! tag->data");
    }
    const Value value = {
        handle,
        *tag,
        vr != 0 ? vr : Effective_VR(*tag),
        slot,
        {reinterpret_cast<const char*>(tag->data), static_cast<std::size_t>(tag->size)},
        extractor.bad_vr};
    const Outcome<Result> outcome = body(value);
    return trace.Leave(outcome.result, outcome.reason);
}

template <class Result>
Outcome<Result> Refuse_VR(const Value& value, Place place)
{
    Trace(value.handle, Trace_Value, "File:%hs, Line:%d", place.unit, place.line);
    Trace(value.handle, Trace_Value, value.bad_vr, value.tag.group, value.tag.element,
          value.vr >> 8, value.vr & 0xFF);
    return {nullptr, "default"};
}

/** The rule for the value's VR in an extractor's table, or null. */
template <class Rule, std::size_t Size>
const Rule* Find_Rule(const Rule (&rules)[Size], unsigned short vr)
{
    const Rule* const rule = std::find_if(std::begin(rules), std::end(rules),
                                          [&](const Rule& entry) { return entry.vr == vr; });
    const bool is_known =
        rule != std::end(rules) && (!rule->current_only || DICOM_Flag_Current_Standard != 0);
    return is_known ? rule : nullptr;
}

std::size_t Count_Values(std::string_view text)
{
    return 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), Separator));
}

/* ---- strings ---- */

/** Splits the value at its backslashes into the strings of its slot and counts it in `vm`. */
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

bool Take_Whole(const Value& value)
{
    Pool_Strings& strings = Get_Value_Pools().strings[value.slot];
    if (!strings.Reserve(value.handle, This_Unit, 1, "V_Str[cc]") ||
        !strings.Set(value.handle, This_Unit, 0, value.bytes, "(V_Str[cc][tag->vm])")) {
        return false;
    }
    value.tag.vm = 1;
    return true;
}

struct Str_Rule {
    unsigned short vr;
    bool splits;
    bool current_only = false;
};

constexpr Str_Rule Str_Rules[] = {
    {VR_AE, true},  {VR_CS, true},       {VR_LO, true},        {VR_SH, true},  {VR_UI, true},
    {VR_AS, false}, {VR_LT, false},      {VR_OB, false},       {VR_ST, false}, {VR_UN, false},
    {VR_UT, false}, {VR_UC, true, true}, {VR_UR, false, true},
};

/* ---- numbers ---- */

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
        return {nullptr, ""};
    }
    const std::span<Number> numbers = slot.Items().first(count);
    if (!is_text) {
        Convert_Values(value, rule, numbers);
    } else if (!Parse_Values(value, rule, numbers)) {
        return {nullptr, ""};
    }
    value.tag.vm = static_cast<unsigned int>(count);
    return {slot.Data(), rule.reason};
}

/** What RT, the VR of entries without one, stands for in a value of this size. */
unsigned short Placeholder_VR(int size)
{
    return size == 2 ? VR_US : size == 4 ? VR_UL : VR_OB;
}

/* ---- bytes ---- */

struct Hex_Rule {
    unsigned short vr;
    bool current_only = false;
};

constexpr Hex_Rule Hex_Rules[] = {
    {VR_OB}, {VR_OW}, {VR_OX}, {VR_UN}, {VR_OD, true}, {VR_OF, true}, {VR_OL, true}, {VR_OV, true},
};

/* ---- names ---- */

/** Given, middle, prefix and suffix component of a name. */
using Components = std::array<const char*, 4>;

/**
 * Cuts a name at its "^". The text itself is then the family component. Components that the name
 * lacks keep what they were; those behind the fifth are dropped.
 *
 * @return the number of components that the name has behind its family component
 */
std::size_t Cut_Name(char* text, Components& components)
{
    std::size_t own = 0;
    for (; own < components.size(); ++own) {
        text = std::strchr(text, '^');
        if (text == nullptr) {
            return own;
        }
        *text++ = '\0';
        components[own] = text;
    }
    text[std::strcspn(text, "^")] = '\0';
    return own;
}

/** How much text names take over from the names before them. */
class Carried_Text {
public:
    explicit Carried_Text(const Value& value) : value_(value)
    {
    }

    /** Counts what a name takes over; beyond the bound it takes over nothing, which is told once. */
    void Limit(std::span<const char*> components)
    {
        for (const char*& component : components) {
            if (!is_over_ && component != nullptr) {
                size_ += std::strlen(component);
                Check();
            }
            component = is_over_ ? nullptr : component;
        }
    }

private:
    // One long component before many short names would grow with the square of the value.
    static constexpr std::size_t Bound = std::size_t{16} << 20;

    void Check()
    {
        if (size_ > Bound) {
            is_over_ = true;
            Report_Warning(value_.handle,
                           "\361\005WARNING:\002 (%04x,%04x): name components taken over from "
                           "earlier names exceed %d bytes, the rest is left out",
                           value_.tag.group, value_.tag.element, static_cast<int>(Bound));
        }
    }

    const Value& value_;
    std::size_t size_ = 0;
    bool is_over_ = false;
};

/** False without memory for all names. */
bool Make_Names(const Value& value, OrisWare_Name* names)
{
    char* const* const strings = Get_Value_Pools().strings[value.slot].Data();
    // Components of earlier names are carried over on purpose.
    Components components = {};
    Carried_Text carried(value);
    for (std::size_t i = 0; i < value.tag.vm; ++i) {
        const std::size_t own = Cut_Name(strings[i], components);
        carried.Limit(std::span(components).subspan(own));
        if (Make_Oris_Name(&names[i], strings[i], components[0], components[1], components[2],
                           components[3]) == 0) {
            return false;
        }
    }
    return true;
}

/* ---- dates and times ---- */

/** The start of a value as a text; dates and times are no longer than 10 characters. */
using Date_Text = std::array<char, 20>;

Date_Text Copy_Text(std::string_view bytes)
{
    Date_Text text = {};
    bytes.copy(text.data(), 10);
    return text;
}

/** Tells the old form of dates, "yyyy.mm.dd". */
bool Has_Dots(const Date_Text& text)
{
    return text[4] == '.';
}

/** The template for a DA value of this size, or null. */
const char* Date_Template(std::size_t size)
{
    switch (size) {
    case 6:
        return "yymmdd";
    case 8:
        return "yyyymmdd";
    case 10:
        return "yyyy.mm.dd";
    default:
        return nullptr;
    }
}

/** The UTC offset of a DT behind its six decimals, "+hhmm"; it ends the time part. */
struct UTC_Offset {
    int hours = 0;
    int minutes = 0;
};

UTC_Offset Take_Offset(Date_Text& time)
{
    const int sign = time[13] == '-' ? -1 : 1;
    UTC_Offset offset;
    offset.minutes = sign * Parse_Integer(&time[16]);
    time[16] = '\0';
    offset.hours = sign * Parse_Integer(&time[14]);
    return offset;
}

/** Makes the time of a DT value, "yyyymmddhhmmss.ffffff+hhmm". False when it is too long. */
bool Make_Time_Of_DT(std::string_view bytes, OrisWare_Time& result)
{
    constexpr std::size_t Date_Size = 8;
    constexpr std::size_t Longest_Without_Offset = 21;

    Date_Text time = {};
    const std::string_view part = bytes.substr(std::min(Date_Size, bytes.size()));
    if (part.size() >= time.size()) {
        return false;
    }
    part.copy(time.data(), part.size());
    const UTC_Offset offset =
        bytes.size() > Longest_Without_Offset ? Take_Offset(time) : UTC_Offset();
    time[13] = '\0';
    const double seconds = Parse_Double(&time[4]);
    time[4] = '\0';
    const int minutes = Parse_Integer(&time[2]);
    time[2] = '\0';
    const int hours = Parse_Integer(&time[0]);
    // The offset is added on purpose; a sum below zero travels as its 16-bit complement.
    Make_Oris_Time(&result, static_cast<unsigned short>(hours + offset.hours),
                   static_cast<unsigned short>(minutes + offset.minutes),
                   static_cast<float>(seconds));
    return true;
}

/** False without memory. */
bool Make_Time_Of_TM(std::string_view bytes, OrisWare_Time& result)
{
    const Date_Text text = Copy_Text(bytes);
    const bool has_separators = text[2] == ':' || text[2] == '.';
    const char* const time_template = has_separators ? "hh:mm:ss.ffff" : "hhmmss.ffffff";
    return Make_Oris_Time(&result, text.data(), time_template) != 0 ||
           !Parse_Time(text.data(), time_template);
}

}  // namespace

char** NEMA_Value_Str(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<char*>(handle, tag, vr, Str_Extractor, [](const Value& value) {
        using Strings = Outcome<char*>;
        const Str_Rule* const rule = Find_Rule(Str_Rules, value.vr);
        if (rule == nullptr) {
            return Refuse_VR<char*>(value, This_Unit);
        }
        if (!(rule->splits ? Split(value) : Take_Whole(value))) {
            return Strings{nullptr, ""};
        }
        return Strings{Get_Value_Pools().strings[value.slot].Data(),
                       rule->splits ? "VR_AE..." : "VR_AS..."};
    });
}

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

unsigned char* NEMA_Value_Hex(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<unsigned char>(handle, tag, vr, Hex_Extractor, [](const Value& value) {
        using Bytes = Outcome<unsigned char>;
        if (Find_Rule(Hex_Rules, value.vr) == nullptr) {
            return Refuse_VR<unsigned char>(value, This_Unit);
        }
        Pool_Array<unsigned char>& buffer = Get_Value_Pools().buffers[value.slot];
        if (!buffer.Reserve(value.handle, This_Unit, value.bytes.size(), "Buffer[cc]")) {
            return Bytes{nullptr, ""};
        }
        std::copy(value.bytes.begin(), value.bytes.end(), buffer.Data());
        value.tag.vm = 1;
        return Bytes{buffer.Data(), "VR_OB..."};
    });
}

OrisWare_Name* NEMA_Value_Name(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<OrisWare_Name>(handle, tag, vr, Name_Extractor, [](const Value& value) {
        using Names = Outcome<OrisWare_Name>;
        // The value is split whatever its VR is, and counted in `vm`.
        if (!Split(value)) {
            return Names{nullptr, ""};
        }
        if (value.vr != VR_PN) {
            return Refuse_VR<OrisWare_Name>(value, This_Unit);
        }
        Pool_Names& names = Get_Value_Pools().names[value.slot];
        if (!names.Reset(value.handle, This_Unit, value.tag.vm, "Oris_Name[cc]") ||
            !Make_Names(value, names.Data())) {
            value.tag.vm = 0;
            return Names{nullptr, ""};
        }
        return Names{names.Data(), "VR_PN"};
    });
}

OrisWare_Date* NEMA_Value_Date(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<OrisWare_Date>(handle, tag, vr, Date_Extractor, [](const Value& value) {
        if (value.vr != VR_DA && value.vr != VR_DT) {
            return Refuse_VR<OrisWare_Date>(value, This_Unit);
        }
        Date_Text text = Copy_Text(value.bytes);
        const char* date_template = Date_Template(value.bytes.size());
        if (value.vr == VR_DT) {
            const std::size_t size = Has_Dots(text) ? 10 : 8;
            text[size] = '\0';
            date_template = Date_Template(size);
        }
        if (date_template == nullptr) {
            return Outcome<OrisWare_Date>{nullptr, "VR_DA"};
        }
        OrisWare_Date* const date = &Get_Value_Pools().dates[value.slot];
        if (Make_Oris_Date(date, text.data(), date_template) == 0 &&
            Parse_Date(text.data(), date_template)) {
            return Outcome<OrisWare_Date>{nullptr, "! memory"};
        }
        value.tag.vm = 1;
        return Outcome<OrisWare_Date>{date, ""};
    });
}

OrisWare_Time* NEMA_Value_Time(HWND handle, DICOM_List* tag, unsigned short vr)
{
    return Extract<OrisWare_Time>(handle, tag, vr, Time_Extractor, [](const Value& value) {
        if (value.vr != VR_TM && value.vr != VR_DT) {
            return Refuse_VR<OrisWare_Time>(value, This_Unit);
        }
        OrisWare_Time* const time = &Get_Value_Pools().times[value.slot];
        if (value.vr == VR_TM && !Make_Time_Of_TM(value.bytes, *time)) {
            return Outcome<OrisWare_Time>{nullptr, "! memory"};
        }
        if (value.vr == VR_DT && !Has_Dots(Copy_Text(value.bytes)) &&
            !Make_Time_Of_DT(value.bytes, *time)) {
            return Outcome<OrisWare_Time>{nullptr, "VR_DT"};
        }
        value.tag.vm = 1;
        return Outcome<OrisWare_Time>{time, ""};
    });
}

void NEMA_Value_Cleanup(void)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: NEMA_Value_Cleanup()");
    Get_Value_Pools().Release();
}
