#include "attributes/create/value_builders.h"

#include "frame/c_memory.h"
#include "frame/vr_rules.h"

#include <Lib_DICOM/values.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace lib_dicom {

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Add";

/** Values are stored in the library's own byte order. */
constexpr unsigned char Order = DICOM_Order_Explicit_VR;

/** Number of values that a count stands for, in either form. */
long long Magnitude(int nb_arg)
{
    return nb_arg < 0 ? -static_cast<long long>(nb_arg) : nb_arg;
}

/** A value under construction, in a block of the C heap that grows with each value. */
class Value {
public:
    Value(HWND handle, int* size) : handle_(handle), size_(size)
    {
    }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    ~Value()
    {
        std::free(data_);
    }

    HWND Handle() const
    {
        return handle_;
    }
    /** Without memory, for which a length out of range counts too, the value stays as it is. */
    void Add(std::string_view bytes)
    {
        failed_ = failed_ || !Grow(bytes.size());
        if (!failed_) {
            std::copy(bytes.begin(), bytes.end(), data_ + used_);
            used_ += bytes.size();
            *size_ += static_cast<int>(bytes.size());
        }
    }
    template <std::size_t Size>
    void Add_Number(const unsigned char* bytes)
    {
        Add({reinterpret_cast<const char*>(bytes), Size});
    }
    /** Makes the length even. */
    void Pad(char pad)
    {
        if (used_ % 2 != 0) {
            Add({&pad, 1});
        }
    }
    bool Has_Failed() const
    {
        return failed_;
    }
    /** The bytes as a block of their size. */
    unsigned char* Release()
    {
        // A block that cannot shrink is as good.
        void* const block = used_ != 0 ? std::realloc(data_, used_) : nullptr;
        unsigned char* const data = std::exchange(data_, nullptr);
        return block != nullptr ? static_cast<unsigned char*>(block) : data;
    }

private:
    bool Grow(std::size_t room)
    {
        constexpr std::size_t Largest = INT_MAX;
        if (room > Largest - used_) {
            Report_Memory(handle_, This_Unit, "realloc", "data", INT_MAX);
            return false;
        }
        if (used_ + room <= capacity_) {
            return true;
        }
        // By more than is asked for, so that many values take time in proportion to their number.
        const std::size_t capacity = std::min(std::max(used_ + room, 2 * capacity_), Largest);
        if (!C_Resize(handle_, This_Unit, data_, capacity, "data")) {
            return false;
        }
        capacity_ = capacity;
        return true;
    }

    HWND handle_;
    int* size_;
    unsigned char* data_ = nullptr;
    std::size_t used_ = 0;
    std::size_t capacity_ = 0;
    bool failed_ = false;
};

/** What stands between values and at the end of a value. */
struct Layout {
    /** Between two values, NUL for nothing. */
    char separator = '\0';
    bool padded = false;
    char pad = '\0';
};

constexpr Layout Text_Layout = {'\\', true, ' '};
constexpr Layout Unpadded_Text_Layout = {'\\', false, '\0'};
constexpr Layout Number_Layout = {};

/**
 * The shape that the builders share: takes each value by `next`, which returns false where one is
 * missing, and appends it by `write`.
 */
template <class Next, class Write>
unsigned char* Build(HWND handle, int* size, long long count, Layout layout, Trace_Scope& trace,
                     const char* missing, Next&& next, Write&& write)
{
    const auto build = [&]() -> unsigned char* {
        Value value(handle, size);
        for (long long i = 0; i < count; ++i) {
            if (!next(i)) {
                return trace.Leave<unsigned char*>(nullptr, missing);
            }
            write(value);
            if (layout.separator != '\0' && i + 1 < count) {
                value.Add({&layout.separator, 1});
            }
            if (value.Has_Failed()) {
                return nullptr;
            }
        }
        if (layout.padded) {
            value.Pad(layout.pad);
        }
        return value.Has_Failed() ? nullptr : value.Release();
    };
    return Guarded(handle, This_Unit, static_cast<unsigned char*>(nullptr), build, "data");
}

/** The array that the vector form points to; null in the positional form. */
template <class Element>
const Element* Vector_Of(int nb_arg, Arguments& args)
{
    return nb_arg < 0 ? va_arg(args.list, const Element*) : nullptr;
}

/** A builder of numbers: positional ones are taken by `Take`, and written by `Write`. */
template <class Number, Number (*Take)(Arguments&), void (*Write)(Value&, Number)>
unsigned char* Build_Numbers(HWND handle, int* size, int nb_arg, Arguments& args, Layout layout,
                             const char* call, const char* missing)
{
    Trace_Scope trace(handle, Trace_Entry, call, nb_arg);
    const Number* const array = Vector_Of<Number>(nb_arg, args);
    if (nb_arg < 0 && array == nullptr) {
        return trace.Leave<unsigned char*>(nullptr, missing);
    }
    Number number = {};
    return Build(
        handle, size, Magnitude(nb_arg), layout, trace, missing,
        [&](long long i) {
            number = array != nullptr ? array[i] : Take(args);
            return true;
        },
        [&](Value& value) { Write(value, number); });
}

/** A builder of values that positional arguments point to. */
template <class Record, void (*Write)(Value&, const Record&)>
unsigned char* Build_Pointed(HWND handle, int* size, int nb_arg, Arguments& args, Layout layout,
                             const char* call, const char* missing)
{
    Trace_Scope trace(handle, Trace_Entry, call, nb_arg);
    const Record* const array = Vector_Of<Record>(nb_arg, args);
    if (nb_arg < 0 && array == nullptr) {
        return trace.Leave<unsigned char*>(nullptr, missing);
    }
    const Record* record = nullptr;
    return Build(
        handle, size, Magnitude(nb_arg), layout, trace, missing,
        [&](long long i) {
            record = array != nullptr ? array + i : va_arg(args.list, const Record*);
            return record != nullptr;
        },
        [&](Value& value) { Write(value, *record); });
}

/** A builder of texts; `array` is null in the positional form. */
unsigned char* Build_Texts(HWND handle, int* size, long long count, Arguments& args,
                           const char* const* array, Layout layout, Trace_Scope& trace,
                           const char* missing)
{
    const char* text = nullptr;
    return Build(
        handle, size, count, layout, trace, missing,
        [&](long long i) {
            text = array != nullptr ? array[i] : va_arg(args.list, const char*);
            return text != nullptr;
        },
        [&](Value& value) { value.Add(text); });
}

// ---- how one value is taken and written

template <class Number>
Number Take_Int_Slot(Arguments& args)
{
    return static_cast<Number>(va_arg(args.list, int));
}

/** Callers pass the bits of the float in a slot of their own, since a float would be widened. */
float Take_Float_Bits(Arguments& args)
{
    return std::bit_cast<float>(va_arg(args.list, unsigned int));
}

double Take_Double(Arguments& args)
{
    return va_arg(args.list, double);
}

std::int64_t Take_Wide(Arguments& args)
{
    return va_arg(args.list, std::int64_t);
}

void Write_Byte(Value& value, unsigned char byte)
{
    value.Add_Number<1>(&byte);
}

void Write_Short(Value& value, short number)
{
    value.Add_Number<2>(Put_Short(Order, number));
}

void Write_UShort(Value& value, unsigned short number)
{
    value.Add_Number<2>(Put_UShort(Order, number));
}

void Write_Int(Value& value, int number)
{
    value.Add_Number<4>(Put_Int(Order, number));
}

void Write_Float(Value& value, float number)
{
    value.Add_Number<4>(Put_Float(Order, number));
}

void Write_Double(Value& value, double number)
{
    value.Add_Number<8>(Put_Double(Order, number));
}

/** The accessors know no integer of 64 bits; one travels as the bits of a double. */
void Write_Wide(Value& value, std::int64_t number)
{
    value.Add_Number<8>(Put_Double(Order, std::bit_cast<double>(number)));
}

void Write_Integer_Text(Value& value, int number)
{
    value.Add(std::to_string(number));
}

/** "%.7g" of a float, whatever the process's decimal point is. */
void Write_Decimal_Text(Value& value, const float& number)
{
    constexpr int Digits = 7;
    char text[32];
    const auto end = std::to_chars(std::begin(text), std::end(text), static_cast<double>(number),
                                   std::chars_format::general, Digits);
    const std::string_view shown(text, static_cast<std::size_t>(end.ptr - text));
    // Deliberate: the float just below 1 is written as 1, its negative is left as it is.
    value.Add(shown == "-0" ? "0" : shown == "0.9999999" ? "1" : shown);
}

void Write_Date(Value& value, const OrisWare_Date& date)
{
    unsigned short year = 0;
    unsigned short month = 0;
    unsigned short day = 0;
    if (Get_Oris_Date(&date, &year, &month, &day) == 0) {
        Report_Warning(value.Handle(), "VR=DA: no date (%d,%d,%d), 00000000 is stored", date.year,
                       date.month, date.day);
    }
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02d%02d", year, month, day);
    value.Add(text);
}

/** Seconds with three decimals when they have any, whatever the process's decimal point is. */
std::string Seconds_Text(float number)
{
    const double seconds = number;
    const double whole = std::trunc(seconds);
    const double fraction = seconds - whole;
    const bool is_whole = fraction < 0.001 || fraction > 0.999;
    // Deliberate: 59.9995 becomes 60, which is not carried into the minutes.
    const double rounded = fraction < 0.001 ? whole : whole + 1;
    const double shown = !is_whole ? seconds : rounded == 0 ? 0 : rounded;  // no "-0"
    char text[64];
    const auto end = std::to_chars(std::begin(text), std::end(text), shown,
                                   std::chars_format::fixed, is_whole ? 0 : 3);
    const std::size_t width = is_whole ? 2 : 6;
    const std::size_t size = static_cast<std::size_t>(end.ptr - text);
    return std::string(width - std::min(width, size), '0').append(text, size);
}

void Write_Time(Value& value, const OrisWare_Time& time)
{
    unsigned short hour = time.hour;
    unsigned short minute = time.minute;
    float seconds = time.seconds;
    // The fields are written as they are, as 24:00:00 too; those of a text may not be filled in.
    const bool is_set = time.state == Oris_State_Text
                            ? Get_Oris_Time(&time, &hour, &minute, &seconds) != 0
                            : time.state != Oris_State_Unset && std::isfinite(seconds);
    if (!is_set) {
        seconds = std::isfinite(seconds) ? seconds : 0;
        Report_Warning(value.Handle(), "VR=TM: no time, %02d%02d%02d is stored", hour, minute,
                       static_cast<int>(std::clamp(seconds, 0.0F, 99.0F)));
    }
    char text[16];
    std::snprintf(text, sizeof text, "%02d%02d", hour, minute);
    value.Add(text + Seconds_Text(seconds));
}

}  // namespace

// ---- the builders

unsigned char* DICOM_Tag_Add_AT(HWND handle, int* size, int nb_arg, Arguments& args)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Tag_Add_AT(nb_arg=%d)", nb_arg);
    long long count = Magnitude(nb_arg);
    if (nb_arg < 0) {
        Report_Warning(handle, "VR=AT: vector fct not implemented (nb_arg=%d)", nb_arg);
    }
    if (count % 2 != 0) {
        Report_Warning(handle, "VR=AT: only multiple of 2 accepted (nb_arg=%d != 2*n)", nb_arg);
        count = 2;
    }
    unsigned short number = 0;
    return Build(
        handle, size, count, Number_Layout, trace, "",
        [&](long long) {
            number = Take_Int_Slot<unsigned short>(args);
            return true;
        },
        [&](Value& value) { Write_UShort(value, number); });
}

unsigned char* DICOM_Tag_Add_DA(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Pointed<OrisWare_Date, Write_Date>(
        handle, size, nb_arg, args, Unpadded_Text_Layout, "Lib_DICOM: DICOM_Tag_Add_DA(nb_arg=%d)",
        "! oris_date");
}

unsigned char* DICOM_Tag_Add_DS(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Pointed<float, Write_Decimal_Text>(handle, size, nb_arg, args, Text_Layout,
                                                    "Lib_DICOM: DICOM_Tag_Add_DS(nb_arg=%d)",
                                                    "! pt_float");
}

unsigned char* DICOM_Tag_Add_DT(HWND handle, int* size, int nb_arg, Arguments& args)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Tag_Add_DT(nb_arg=%d)", nb_arg);
    const bool vector = nb_arg < 0;
    const auto* const dates = Vector_Of<OrisWare_Date>(nb_arg, args);
    const auto* const times = Vector_Of<OrisWare_Time>(nb_arg, args);
    if (vector && dates == nullptr) {
        return trace.Leave<unsigned char*>(nullptr, "! oris_date");
    }
    if (vector && times == nullptr) {
        return trace.Leave<unsigned char*>(nullptr, "! oris_time");
    }
    const OrisWare_Date* date = nullptr;
    const OrisWare_Time* time = nullptr;
    unsigned char* const value = Build(
        handle, size, Magnitude(nb_arg), Unpadded_Text_Layout, trace, "! oris_date",
        [&](long long i) {
            date = vector ? dates + i : va_arg(args.list, const OrisWare_Date*);
            time = vector ? times + i : va_arg(args.list, const OrisWare_Time*);
            return date != nullptr && time != nullptr;
        },
        [&](Value& built) {
            Write_Date(built, *date);
            Write_Time(built, *time);
        });
    return date != nullptr && time == nullptr ? trace.Leave(value, "! oris_time") : value;
}

unsigned char* DICOM_Tag_Add_FD(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<double, Take_Double, Write_Double>(
        handle, size, nb_arg, args, Number_Layout, "Lib_DICOM: DICOM_Tag_Add_FD(nb_arg=%d)",
        "! pt_double");
}

unsigned char* DICOM_Tag_Add_FL(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<float, Take_Float_Bits, Write_Float>(
        handle, size, nb_arg, args, Number_Layout, "Lib_DICOM: DICOM_Tag_Add_FL(nb_arg=%d)",
        "! pt_float");
}

unsigned char* DICOM_Tag_Add_IS(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<int, Take_Int_Slot<int>, Write_Integer_Text>(
        handle, size, nb_arg, args, Text_Layout, "Lib_DICOM: DICOM_Tag_Add_IS(nb_arg=%d)",
        "! v_int");
}

unsigned char* DICOM_Tag_Add_OB(HWND handle, int* size, int nb_arg, Arguments& args)
{
    constexpr Layout Bytes_Layout = {'\0', true, '\0'};
    return Build_Numbers<unsigned char, Take_Int_Slot<unsigned char>, Write_Byte>(
        handle, size, nb_arg, args, Bytes_Layout, "Lib_DICOM: DICOM_Tag_Add_OB(nb_arg=%d)",
        "! v_char");
}

unsigned char* DICOM_Tag_Add_OW(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<unsigned short, Take_Int_Slot<unsigned short>, Write_UShort>(
        handle, size, nb_arg, args, Number_Layout, "Lib_DICOM: DICOM_Tag_Add_OW(nb_arg=%d)",
        "! v_ushort");
}

unsigned char* DICOM_Tag_Add_OV(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<std::int64_t, Take_Wide, Write_Wide>(
        handle, size, nb_arg, args, Number_Layout, "Lib_DICOM: DICOM_Tag_Add_OV(nb_arg=%d)",
        "! v_int64");
}

unsigned char* DICOM_Tag_Add_PN(HWND handle, int* size, int nb_arg, Arguments& args)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Tag_Add_PN(nb_arg=%d)", nb_arg);
    if (nb_arg < 0) {
        Report_Warning(handle, "VR=PN: vector fct not implemented (nb_arg=%d)", nb_arg);
    }
    return Build_Texts(handle, size, Magnitude(nb_arg), args, nullptr, Text_Layout, trace,
                       "! pt_char");
}

unsigned char* DICOM_Tag_Add_SL(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<int, Take_Int_Slot<int>, Write_Int>(
        handle, size, nb_arg, args, Number_Layout, "Lib_DICOM: DICOM_Tag_Add_SL(nb_arg=%d)",
        "! v_int");
}

unsigned char* DICOM_Tag_Add_SS(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<short, Take_Int_Slot<short>, Write_Short>(
        handle, size, nb_arg, args, Number_Layout, "Lib_DICOM: DICOM_Tag_Add_SS(nb_arg=%d)",
        "! v_short");
}

unsigned char* DICOM_Tag_Add_TM(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Pointed<OrisWare_Time, Write_Time>(
        handle, size, nb_arg, args, Unpadded_Text_Layout, "Lib_DICOM: DICOM_Tag_Add_TM(nb_arg=%d)",
        "! oris_time");
}

unsigned char* DICOM_Tag_Add_Text_Multiple(HWND handle, int* size, int nb_arg, Arguments& args)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Tag_Add_Text_Multiple(nb_arg=%d)",
                      nb_arg);
    const char* const* const array = Vector_Of<const char*>(nb_arg, args);
    if (nb_arg < 0 && array == nullptr) {
        return trace.Leave<unsigned char*>(nullptr, "! pt_char");
    }
    return Build_Texts(handle, size, Magnitude(nb_arg), args, array, Text_Layout, trace,
                       array != nullptr ? "! pt_char[i]" : "! pt_char");
}

unsigned char* DICOM_Tag_Add_Text_Single(HWND handle, int* size, int nb_arg, Arguments& args)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Tag_Add_Text_Single(nb_arg=%d)",
                      nb_arg);
    if (nb_arg < 0) {
        Report_Warning(handle, "VR=Text: vector fct not implemented (nb_arg=%d)", nb_arg);
    }
    if (Magnitude(nb_arg) != 1) {
        Report_Warning(handle, "VR=Text: only 1 value accepted (nb_arg=%d != 1)", nb_arg);
    }
    return Build_Texts(handle, size, 1, args, nullptr, Text_Layout, trace, "! pt_char");
}

unsigned char* DICOM_Tag_Add_UI(HWND handle, int* size, int nb_arg, Arguments& args)
{
    // Deliberate: unlike other texts, several UIDs follow each other without a backslash. Clients
    // that need more than one hand over the text with its backslashes as one value.
    constexpr Layout UID_Layout = {'\0', true, '\0'};
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Tag_Add_UI(nb_arg=%d)", nb_arg);
    if (nb_arg < 0) {
        Report_Warning(handle, "VR=UI: vector fct not implemented (nb_arg=%d)", nb_arg);
    }
    return Build_Texts(handle, size, Magnitude(nb_arg), args, nullptr, UID_Layout, trace,
                       "! pt_char");
}

unsigned char* DICOM_Tag_Add_UL(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<int, Take_Int_Slot<int>, Write_Int>(
        handle, size, nb_arg, args, Number_Layout, "Lib_DICOM: DICOM_Tag_Add_UL(nb_arg=%d)",
        "! v_int");
}

unsigned char* DICOM_Tag_Add_US(HWND handle, int* size, int nb_arg, Arguments& args)
{
    return Build_Numbers<unsigned short, Take_Int_Slot<unsigned short>, Write_UShort>(
        handle, size, nb_arg, args, Number_Layout, "Lib_DICOM: DICOM_Tag_Add_US(nb_arg=%d)",
        "! v_ushort");
}

Value_Builder Find_Value_Builder(unsigned short vr)
{
    struct Entry {
        unsigned short vr;
        Value_Builder builder;
        /** Known by the current PS3.5 only. */
        bool current;
    };
    static constexpr Entry Builders[] = {
        {VR_AE, &DICOM_Tag_Add_Text_Multiple, false},
        {VR_CS, &DICOM_Tag_Add_Text_Multiple, false},
        {VR_LO, &DICOM_Tag_Add_Text_Multiple, false},
        {VR_SH, &DICOM_Tag_Add_Text_Multiple, false},
        {VR_AS, &DICOM_Tag_Add_Text_Single, false},
        {VR_LT, &DICOM_Tag_Add_Text_Single, false},
        {VR_ST, &DICOM_Tag_Add_Text_Single, false},
        {VR_UT, &DICOM_Tag_Add_Text_Single, false},
        {VR_AT, &DICOM_Tag_Add_AT, false},
        {VR_DA, &DICOM_Tag_Add_DA, false},
        {VR_DS, &DICOM_Tag_Add_DS, false},
        {VR_DT, &DICOM_Tag_Add_DT, false},
        {VR_FD, &DICOM_Tag_Add_FD, false},
        {VR_FL, &DICOM_Tag_Add_FL, false},
        {VR_IS, &DICOM_Tag_Add_IS, false},
        {VR_OB, &DICOM_Tag_Add_OB, false},
        {VR_OW, &DICOM_Tag_Add_OW, false},
        {VR_PN, &DICOM_Tag_Add_PN, false},
        {VR_SL, &DICOM_Tag_Add_SL, false},
        {VR_SS, &DICOM_Tag_Add_SS, false},
        {VR_TM, &DICOM_Tag_Add_TM, false},
        {VR_UI, &DICOM_Tag_Add_UI, false},
        {VR_UL, &DICOM_Tag_Add_UL, false},
        {VR_US, &DICOM_Tag_Add_US, false},
        {VR_UC, &DICOM_Tag_Add_Text_Multiple, true},
        {VR_UR, &DICOM_Tag_Add_Text_Single, true},
        {VR_OD, &DICOM_Tag_Add_FD, true},
        {VR_OF, &DICOM_Tag_Add_FL, true},
        {VR_OL, &DICOM_Tag_Add_UL, true},
        {VR_OV, &DICOM_Tag_Add_OV, true},
        {VR_SV, &DICOM_Tag_Add_OV, true},
        {VR_UV, &DICOM_Tag_Add_OV, true},
    };
    const auto* const entry =
        std::find_if(std::begin(Builders), std::end(Builders), [vr](const Entry& candidate) {
            return candidate.vr == vr && (!candidate.current || DICOM_Flag_Current_Standard != 0);
        });
    return entry != std::end(Builders) ? entry->builder : nullptr;
}

}  // namespace lib_dicom
