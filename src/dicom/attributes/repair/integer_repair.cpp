// Integers as texts: decimals become integers, and all stay within 32 bits.
#include "attributes/repair/value_work.h"
#include "util/older_libraries.h"

#include <cmath>
#include <optional>

namespace lib_dicom {

namespace {

/** What std::from_chars, which is free of the process's locale, does not skip by itself. */
std::string_view After_Blanks_And_Plus(std::string_view text)
{
    text = Trim_Start(text, ' ');
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    return text;
}

bool Is_In_Integer_Range(std::string_view text)
{
    text = After_Blanks_And_Plus(text);
    int number = 0;
    return std::from_chars(text.data(), text.data() + text.size(), number).ec !=
           std::errc::result_out_of_range;
}

/** The number at the start of a text, cut to an integer; none for "", "NaN" and what is too big. */
std::optional<int> To_Integer(std::string_view text)
{
    text = After_Blanks_And_Plus(text);
    double number = 0;
    if (lib_util::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc()) {
        return std::nullopt;
    }
    number = std::trunc(number);
    const bool fits = number >= INT_MIN && number <= INT_MAX;
    return fits ? std::optional(static_cast<int>(number)) : std::nullopt;
}

bool Out_Of_Range(Value_Work& work, std::string_view text)
{
    work.Warn("%hs Value out of range (\001%.*hs\002 \\vs\\ -2**31 to 2**31 - 1)", Shown(text),
              text.data());
    work.Mark(DICOM_Mark_Invalid);
    return false;
}

}  // namespace

/**
 * Turns the decimals of an IS value into integers; false after a warning. No number means no value:
 * a text without one is not made a 0.
 */
bool Convert_Decimals(Value_Work& work)
{
    if (!work.policy.converts_decimals) {
        work.Warn("%hs Invalid data! Expecting VR=IS but got VR=DS");
        return false;
    }
    const std::string old = work.value;
    std::optional<std::string> outside;
    work.Rebuild([&](std::string_view text, std::string& result) {
        const std::optional<int> number = To_Integer(text);
        if (number) {
            result += std::to_string(*number);
        } else if (!outside && !Trim_End(text, ' ').empty()) {
            outside = text;
        }
    });
    if (outside) {
        work.value = old;
        return Out_Of_Range(work, *outside);
    }
    work.Warn("%hs Invalid data! Converted from \"\001%.*hs\002\" to \"\001%.*hs\002\"", Shown(old),
              old.data(), Shown(work.value), work.value.data());
    return true;
}

bool Check_Integers(Value_Work& work)
{
    Trace(work.handle, Trace_Structure, work.policy.integer_trace, work.record.group,
          work.record.element);
    std::optional<std::string_view> outside;
    For_Each_Value(work.value, [&](std::string_view text) {
        if (!outside && !Is_In_Integer_Range(text)) {
            outside = text;
        }
    });
    return !outside || Out_Of_Range(work, *outside);
}

}  // namespace lib_dicom
