// The builders of value bytes: one row for each, and the few shapes that they have.
#include "attributes/create/value_builders.h"

#include "attributes/create/value_buffer.h"
#include "attributes/create/value_forms.h"
#include "frame/report.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/values.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Add";

/** What stands between values and at the end of a value. */
struct Layout {
    /** Between two values, NUL for nothing. */
    char separator = '\0';
    bool is_padded = false;
    char pad = '\0';
};

constexpr Layout Texts = {.separator = '\\', .is_padded = true, .pad = ' '};
constexpr Layout Texts_As_They_Are = {.separator = '\\'};
constexpr Layout Bytes = {.is_padded = true, .pad = '\0'};
constexpr Layout Numbers = {};

/** One call of a builder. */
struct Call {
    HWND handle;
    const Builder_Rule& rule;
    int* size;
    long long count;
    /** The one argument points to an array. */
    bool is_vector;
    Arguments& args;
    Trace_Scope& trace;
};

using Shape = unsigned char* (*)(const Call& call);

/** The numbers of values that a builder takes. */
enum class Counts {
    Any,
    Pairs,  ///< an odd number stands for two, with a warning
    One     ///< any other number stands for one, with a warning
};

}  // namespace

struct Builder_Rule {
    /** Those that only the current PS3.5 knows stand in the second list. */
    std::array<unsigned short, 4> vrs = {};
    std::array<unsigned short, 3> current_vrs = {};
    /** The builder's name and argument, for its trace. */
    const char* call;
    Shape shape;
    Layout layout = {};
    /** Reason of leaving when a pointer is null. */
    const char* missing = nullptr;
    Counts counts = Counts::Any;
    /** Warning of the two other fields, where they say no. */
    const char* wrong_count = nullptr;
    /** Null where a pointer to an array may be passed; else the array counts as so many values. */
    const char* no_vector = nullptr;
};

namespace {

unsigned char* Leave_Missing(const Call& call)
{
    return call.trace.Leave<unsigned char*>(nullptr, call.rule.missing);
}

/**
 * What all shapes do: `add` takes each value and writes it. Where one is null it returns false, and
 * may set the reason.
 */
template <class Add>
unsigned char* Build(const Call& call, Add&& add, const char* const& missing)
{
    const auto build = [&]() -> unsigned char* {
        const Layout& layout = call.rule.layout;
        Value_Buffer value(call.handle, call.size);
        for (long long i = 0; i < call.count; ++i) {
            if (!add(value, i)) {
                return call.trace.Leave<unsigned char*>(nullptr, missing);
            }
            if (layout.separator != '\0' && i + 1 < call.count) {
                value.Add({&layout.separator, 1});
            }
            if (value.Has_Failed()) {
                return nullptr;
            }
        }
        if (layout.is_padded) {
            value.Pad(layout.pad);
        }
        return value.Has_Failed() ? nullptr : value.Release();
    };
    return Guarded(call.handle, This_Unit, static_cast<unsigned char*>(nullptr), build, "data");
}

/** The array of the vector form; null in the positional form. */
template <class Element>
const Element* Vector_Of(const Call& call)
{
    return call.is_vector ? va_arg(call.args.list, const Element*) : nullptr;
}

/** Numbers that positional arguments hold. */
template <class Number, Number (*Take)(Arguments&), void (*Write)(Value_Buffer&, Number)>
unsigned char* Build_Numbers(const Call& call)
{
    const Number* const array = Vector_Of<Number>(call);
    if (call.is_vector && array == nullptr) {
        return Leave_Missing(call);
    }
    const auto add = [&](Value_Buffer& value, long long i) {
        Write(value, array != nullptr ? array[i] : Take(call.args));
        return true;
    };
    return Build(call, add, call.rule.missing);
}

/** Values that positional arguments point to. */
template <class Record, void (*Write)(Value_Buffer&, const Record&)>
unsigned char* Build_Pointed(const Call& call)
{
    const Record* const array = Vector_Of<Record>(call);
    if (call.is_vector && array == nullptr) {
        return Leave_Missing(call);
    }
    const auto add = [&](Value_Buffer& value, long long i) {
        const Record* const record =
            array != nullptr ? array + i : va_arg(call.args.list, const Record*);
        if (record != nullptr) {
            Write(value, *record);
        }
        return record != nullptr;
    };
    return Build(call, add, call.rule.missing);
}

unsigned char* Build_Texts(const Call& call)
{
    const char* const* const array = Vector_Of<const char*>(call);
    if (call.is_vector && array == nullptr) {
        return Leave_Missing(call);
    }
    const auto add = [&](Value_Buffer& value, long long i) {
        const char* const text = array != nullptr ? array[i] : va_arg(call.args.list, const char*);
        if (text != nullptr) {
            value.Add(text);
        }
        return text != nullptr;
    };
    return Build(call, add, array != nullptr ? "! pt_char[i]" : call.rule.missing);
}

/** A date and a time for each value, or two arrays. */
unsigned char* Build_Date_Times(const Call& call)
{
    const auto* const dates = Vector_Of<OrisWare_Date>(call);
    const auto* const times = Vector_Of<OrisWare_Time>(call);
    const char* const no_date = "! oris_date";
    const char* const no_time = "! oris_time";
    if (call.is_vector && (dates == nullptr || times == nullptr)) {
        return call.trace.Leave<unsigned char*>(nullptr, dates == nullptr ? no_date : no_time);
    }
    const char* missing = no_date;
    const auto add = [&](Value_Buffer& value, long long i) {
        const auto* const date =
            dates != nullptr ? dates + i : va_arg(call.args.list, const OrisWare_Date*);
        const auto* const time =
            times != nullptr ? times + i : va_arg(call.args.list, const OrisWare_Time*);
        if (date == nullptr || time == nullptr) {
            missing = date == nullptr ? no_date : no_time;
            return false;
        }
        Write_Date(value, *date);
        Write_Time(value, *time);
        return true;
    };
    return Build(call, add, missing);
}

constexpr Builder_Rule Rules[] = {
    {.vrs = {VR_AE, VR_CS, VR_LO, VR_SH},
     .current_vrs = {VR_UC},
     .call = "Lib_DICOM: DICOM_Tag_Add_Text_Multiple(nb_arg=%d)",
     .shape = &Build_Texts,
     .layout = Texts,
     .missing = "! pt_char"},
    {.vrs = {VR_AS, VR_LT, VR_ST, VR_UT},
     .current_vrs = {VR_UR},
     .call = "Lib_DICOM: DICOM_Tag_Add_Text_Single(nb_arg=%d)",
     .shape = &Build_Texts,
     .layout = Texts,
     .missing = "! pt_char",
     .counts = Counts::One,
     .wrong_count = "VR=Text: only 1 value accepted (nb_arg=%d != 1)",
     .no_vector = "VR=Text: vector fct not implemented (nb_arg=%d)"},
    {.vrs = {VR_AT},
     .call = "Lib_DICOM: DICOM_Tag_Add_AT(nb_arg=%d)",
     .shape = &Build_Numbers<unsigned short, Take_Int_Slot<unsigned short>, Write_UShort>,
     .layout = Numbers,
     .counts = Counts::Pairs,
     .wrong_count = "VR=AT: only multiple of 2 accepted (nb_arg=%d != 2*n)",
     .no_vector = "VR=AT: vector fct not implemented (nb_arg=%d)"},
    {.vrs = {VR_DA},
     .call = "Lib_DICOM: DICOM_Tag_Add_DA(nb_arg=%d)",
     .shape = &Build_Pointed<OrisWare_Date, Write_Date>,
     .layout = Texts_As_They_Are,
     .missing = "! oris_date"},
    {.vrs = {VR_DS},
     .call = "Lib_DICOM: DICOM_Tag_Add_DS(nb_arg=%d)",
     .shape = &Build_Pointed<float, Write_Decimal_Text>,
     .layout = Texts,
     .missing = "! pt_float"},
    {.vrs = {VR_DT},
     .call = "Lib_DICOM: DICOM_Tag_Add_DT(nb_arg=%d)",
     .shape = &Build_Date_Times,
     .layout = Texts_As_They_Are},
    {.vrs = {VR_FD},
     .current_vrs = {VR_OD},
     .call = "Lib_DICOM: DICOM_Tag_Add_FD(nb_arg=%d)",
     .shape = &Build_Numbers<double, Take_Double, Write_Double>,
     .layout = Numbers,
     .missing = "! pt_double"},
    {.vrs = {VR_FL},
     .current_vrs = {VR_OF},
     .call = "Lib_DICOM: DICOM_Tag_Add_FL(nb_arg=%d)",
     .shape = &Build_Numbers<float, Take_Float_Bits, Write_Float>,
     .layout = Numbers,
     .missing = "! pt_float"},
    {.vrs = {VR_IS},
     .call = "Lib_DICOM: DICOM_Tag_Add_IS(nb_arg=%d)",
     .shape = &Build_Numbers<int, Take_Int_Slot<int>, Write_Integer_Text>,
     .layout = Texts,
     .missing = "! v_int"},
    {.vrs = {VR_OB},
     .call = "Lib_DICOM: DICOM_Tag_Add_OB(nb_arg=%d)",
     .shape = &Build_Numbers<unsigned char, Take_Int_Slot<unsigned char>, Write_Byte>,
     .layout = Bytes,
     .missing = "! v_char"},
    {.current_vrs = {VR_OV, VR_SV, VR_UV},
     .call = "Lib_DICOM: DICOM_Tag_Add_OV(nb_arg=%d)",
     .shape = &Build_Numbers<std::int64_t, Take_Wide, Write_Wide>,
     .layout = Numbers,
     .missing = "! v_int64"},
    {.vrs = {VR_OW},
     .call = "Lib_DICOM: DICOM_Tag_Add_OW(nb_arg=%d)",
     .shape = &Build_Numbers<unsigned short, Take_Int_Slot<unsigned short>, Write_UShort>,
     .layout = Numbers,
     .missing = "! v_ushort"},
    {.vrs = {VR_PN},
     .call = "Lib_DICOM: DICOM_Tag_Add_PN(nb_arg=%d)",
     .shape = &Build_Texts,
     .layout = Texts,
     .missing = "! pt_char",
     .no_vector = "VR=PN: vector fct not implemented (nb_arg=%d)"},
    {.vrs = {VR_SL},
     .call = "Lib_DICOM: DICOM_Tag_Add_SL(nb_arg=%d)",
     .shape = &Build_Numbers<int, Take_Int_Slot<int>, Write_Int>,
     .layout = Numbers,
     .missing = "! v_int"},
    {.vrs = {VR_SS},
     .call = "Lib_DICOM: DICOM_Tag_Add_SS(nb_arg=%d)",
     .shape = &Build_Numbers<short, Take_Int_Slot<short>, Write_Short>,
     .layout = Numbers,
     .missing = "! v_short"},
    {.vrs = {VR_TM},
     .call = "Lib_DICOM: DICOM_Tag_Add_TM(nb_arg=%d)",
     .shape = &Build_Pointed<OrisWare_Time, Write_Time>,
     .layout = Texts_As_They_Are,
     .missing = "! oris_time"},
    // A kept quirk: several UIDs follow each other without a backslash. For more than one, clients
    // hand over the text with its backslashes as one value.
    {.vrs = {VR_UI},
     .call = "Lib_DICOM: DICOM_Tag_Add_UI(nb_arg=%d)",
     .shape = &Build_Texts,
     .layout = Bytes,
     .missing = "! pt_char",
     .no_vector = "VR=UI: vector fct not implemented (nb_arg=%d)"},
    {.vrs = {VR_UL},
     .current_vrs = {VR_OL},
     .call = "Lib_DICOM: DICOM_Tag_Add_UL(nb_arg=%d)",
     .shape = &Build_Numbers<int, Take_Int_Slot<int>, Write_Int>,
     .layout = Numbers,
     .missing = "! v_int"},
    {.vrs = {VR_US},
     .call = "Lib_DICOM: DICOM_Tag_Add_US(nb_arg=%d)",
     .shape = &Build_Numbers<unsigned short, Take_Int_Slot<unsigned short>, Write_UShort>,
     .layout = Numbers,
     .missing = "! v_ushort"},
};

template <std::size_t Size>
bool Holds(const std::array<unsigned short, Size>& vrs, unsigned short vr)
{
    return vr != 0 && std::find(vrs.begin(), vrs.end(), vr) != vrs.end();
}

/** The number of values to take, after a warning where it is not the one asked for. */
long long Count_Of(HWND handle, const Builder_Rule& rule, int nb_arg)
{
    const long long count = nb_arg < 0 ? -static_cast<long long>(nb_arg) : nb_arg;
    const bool is_right =
        rule.counts == Counts::Any || (rule.counts == Counts::Pairs ? count % 2 == 0 : count == 1);
    if (is_right) {
        return count;
    }
    Report_Warning(handle, rule.wrong_count, nb_arg);
    return rule.counts == Counts::Pairs ? 2 : 1;
}

}  // namespace

const Builder_Rule* Find_Builder_Rule(unsigned short vr)
{
    const auto* const rule =
        std::find_if(std::begin(Rules), std::end(Rules), [vr](const Builder_Rule& candidate) {
            return Holds(candidate.vrs, vr) ||
                   (DICOM_Flag_Current_Standard != 0 && Holds(candidate.current_vrs, vr));
        });
    return rule != std::end(Rules) ? rule : nullptr;
}

unsigned char* Build_Value(HWND handle, const Builder_Rule& rule, int* size, int nb_arg,
                           Arguments& args)
{
    Trace_Scope trace(handle, Trace_Entry, rule.call, nb_arg);
    bool is_vector = nb_arg < 0;
    if (is_vector && rule.no_vector != nullptr) {
        Report_Warning(handle, rule.no_vector, nb_arg);
        is_vector = false;
    }
    const long long count = Count_Of(handle, rule, nb_arg);
    return rule.shape({handle, rule, size, count, is_vector, args, trace});
}

}  // namespace lib_dicom
