#include "definitions/module_value.h"

#include "definitions/definition_text.h"
#include "definitions/text_form.h"
#include "frame/c_memory.h"
#include "frame/record_codes.h"
#include "frame/vr_rules.h"
#include "util/older_libraries.h"

#include <Lib_DICOM/definitions.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_IOD";

std::string Of_VR(unsigned short vr)
{
    return vr == 0 ? "without a VR" : "of VR " + VR_Text(vr);
}

[[noreturn]] void Refuse(Place place, unsigned short vr, std::string_view text,
                         const std::string& expected)
{
    throw Value_Fault{place, "a value " + Of_VR(vr) + " is " + expected + ", not " + Shown(text)};
}

std::string_view Strip(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/** Calls `take` with each of the values that backslashes separate. */
template <class Take>
void For_Each_Value(std::string_view text, Take&& take)
{
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find('\\', begin), text.size());
        take(text.substr(begin, end - begin));
        begin = end + 1;
    }
}

void Append_Little_Endian(std::string& bytes, std::uint64_t bits, std::size_t width)
{
    for (std::size_t i = 0; i < width; ++i) {
        bytes += static_cast<char>(bits >> 8 * i & 0xFF);
    }
}

template <class Number>
std::uint64_t Bits(Number number)
{
    if constexpr (std::is_same_v<Number, float>) {
        return lib_util::bit_cast<std::uint32_t>(number);
    } else if constexpr (std::is_same_v<Number, double>) {
        return lib_util::bit_cast<std::uint64_t>(number);
    } else {
        return static_cast<std::uint64_t>(number);
    }
}

template <class Number>
void Append_Number(std::string& bytes, unsigned short vr, std::string_view text)
{
    std::string_view digits = Strip(text);
    if (digits.starts_with('+') && !digits.starts_with("+-")) {
        digits.remove_prefix(1);
    }
    Number number = {};
    const char* const end = digits.data() + digits.size();
    const auto result = lib_util::from_chars(digits.data(), end, number);
    bool is_number = result.ec == std::errc() && result.ptr == end;
    if constexpr (std::is_floating_point_v<Number>) {
        is_number = is_number && std::isfinite(number);
    }
    if (!is_number) {
        Refuse(This_Unit, vr, text, "a decimal number within its range");
    }
    Append_Little_Endian(bytes, Bits(number), sizeof number);
}

void Append_Tag(std::string& bytes, unsigned short vr, std::string_view text)
{
    const std::string_view tag = Strip(text);
    const bool has_form = tag.size() == 9 && tag[4] == ',';
    const auto group = has_form ? Hex_Number(tag.substr(0, 4)) : std::nullopt;
    const auto element = has_form ? Hex_Number(tag.substr(5)) : std::nullopt;
    if (!group || !element) {
        Refuse(This_Unit, vr, text, "a tag gggg,eeee");
    }
    Append_Little_Endian(bytes, *group, sizeof *group);
    Append_Little_Endian(bytes, *element, sizeof *element);
}

struct Number_Form {
    unsigned short vr;
    void (*append)(std::string& bytes, unsigned short vr, std::string_view text);
};

constexpr Number_Form Number_Forms[] = {
    {VR_AT, &Append_Tag},
    {VR_FD, &Append_Number<double>},
    {VR_FL, &Append_Number<float>},
    {VR_SL, &Append_Number<std::int32_t>},
    {VR_SS, &Append_Number<std::int16_t>},
    {VR_SV, &Append_Number<std::int64_t>},
    {VR_UL, &Append_Number<std::uint32_t>},
    {VR_US, &Append_Number<std::uint16_t>},
    {VR_UV, &Append_Number<std::uint64_t>},
};

const Number_Form* Number_Form_Of(unsigned short vr)
{
    const auto* const form = std::find_if(std::begin(Number_Forms), std::end(Number_Forms),
                                          [=](const Number_Form& entry) { return entry.vr == vr; });
    return form != std::end(Number_Forms) ? form : nullptr;
}

/** Pairs of hexadecimal digits, with blanks or backslashes between them where one likes. */
std::string Hex_Bytes(const VR_Rule& rule, std::string_view text)
{
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
                 [](char character) { return character != ' ' && character != '\\'; });
    const std::size_t width = std::max<std::size_t>(rule.width, 1);
    if (digits.size() % (2 * width) != 0) {
        Refuse(This_Unit, rule.vr, text,
               "made of " + std::to_string(2 * width) + " hexadecimal digits each");
    }
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const auto byte = Hex_Number(std::string_view(digits).substr(i, 2));
        if (!byte) {
            Refuse(This_Unit, rule.vr, digits.substr(i, 2), "made of pairs of hexadecimal digits");
        }
        bytes += static_cast<char>(*byte);
    }
    return bytes;
}

void Check_Text(const VR_Rule& rule, std::string_view text)
{
    if (rule.max_length > 0 && Letters_In(text) > static_cast<std::size_t>(rule.max_length)) {
        Refuse(This_Unit, rule.vr, text,
               "at most " + std::to_string(rule.max_length) + " characters long");
    }
    if (rule.set != nullptr && text.find_first_not_of(rule.set) != text.npos) {
        Refuse(This_Unit, rule.vr, text, std::string("made of the characters ") + Shown(rule.set));
    }
    const std::string_view value = Strip(text);
    const char* const expected = value.empty() ? nullptr : Missed_Form(rule.vr, value);
    if (expected != nullptr) {
        Refuse(This_Unit, rule.vr, text, expected);
    }
}

std::string Unpadded_Bytes(const VR_Rule& rule, std::string_view text)
{
    std::string bytes;
    const Number_Form* const form = Number_Form_Of(rule.vr);
    if (form != nullptr) {
        For_Each_Value(text, [&](std::string_view value) { form->append(bytes, rule.vr, value); });
    } else if (rule.kind == VR_Kind::Binary || rule.kind == VR_Kind::Opaque) {
        bytes = Hex_Bytes(rule, text);
    } else {
        if (rule.kind == VR_Kind::Text_Single) {
            Check_Text(rule, text);
        } else {
            For_Each_Value(text, [&](std::string_view value) { Check_Text(rule, value); });
        }
        bytes = text;
    }
    return bytes;
}

}  // namespace

std::string lib_dicom::Value_Bytes(unsigned short vr, std::string_view text)
{
    const VR_Rule* const rule = Find_Any_VR_Rule(vr);
    if (rule == nullptr || vr == VR_SQ) {
        throw Value_Fault{This_Unit, "an attribute " + Of_VR(vr) + " takes no value"};
    }
    if (text.empty()) {
        return {};
    }
    std::string bytes = Unpadded_Bytes(*rule, text);
    if (bytes.size() % 2 != 0) {
        bytes += rule->pad;
    }
    if (bytes.size() > INT_MAX) {
        Refuse(This_Unit, vr, text, "less than 2 GB long");
    }
    return bytes;
}

bool lib_dicom::Is_Number_VR(unsigned short vr)
{
    return vr == VR_DS || vr == VR_IS || (vr != VR_AT && Number_Form_Of(vr) != nullptr);
}

void lib_dicom::Check_Compared(unsigned short vr, std::string_view text)
{
    const VR_Rule* const rule = Find_Any_VR_Rule(vr);
    const Number_Form* const form = Number_Form_Of(vr);
    if (rule == nullptr) {
        return;
    }
    if (form == nullptr && (rule->kind == VR_Kind::Binary || rule->kind == VR_Kind::Opaque)) {
        throw Value_Fault{This_Unit, "a value " + Of_VR(vr) + " is never compared"};
    }
    if (Strip(text) != text) {
        Refuse(This_Unit, vr, text, "compared without blanks around it");
    }
    if (rule->kind != VR_Kind::Text_Single && text.find('\\') != text.npos) {
        Refuse(This_Unit, vr, text, "compared by itself");
    }
    std::string unused;
    if (vr == VR_AT) {
        const bool is_plain =
            text.size() == 8 && Hex_Number(text.substr(0, 4)) && Hex_Number(text.substr(4));
        if (!is_plain) {
            Append_Tag(unused, vr, text);
        }
    } else if (form != nullptr) {
        form->append(unused, vr, text);
    } else {
        Check_Text(*rule, text);
    }
}

void lib_dicom::Replace_Value(DICOM_List& record, std::string_view bytes)
{
    unsigned char* data = nullptr;
    if (!bytes.empty()) {
        data = static_cast<unsigned char*>(std::malloc(bytes.size()));
        if (data == nullptr) {
            throw std::bad_alloc();
        }
        std::memcpy(data, bytes.data(), bytes.size());
    }
    std::free(record.data);
    record.data = data;
    record.size = static_cast<int>(bytes.size());
    record.byte_order = DICOM_Order_Explicit_VR;
}

int DICOM_Module_Read_Value(HWND handle, DICOM_List* record, const char* text)
{
    Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: DICOM_Module_Read_Value(%04x,%04x)",
                      record->group, record->element);
    if (text == nullptr) {
        return trace.Leave(0, "! text");
    }
    return Guarded(handle, This_Unit, 0, [&] {
        try {
            Replace_Value(*record, Value_Bytes(Effective_VR(*record), text));
            return 1;
        } catch (const Value_Fault& fault) {
            char tag[16];
            std::snprintf(tag, sizeof tag, "(%04x,%04x) ", record->group, record->element);
            Report_Definition_Error(handle, fault.place, tag + fault.text);
            return trace.Leave(0, "! value");
        }
    });
}
