// Person names (PS3.5 section 6.2.1).
#include <Lib_DICOM/values.h>

#include "values/owned_text.h"
#include "values/result_ring.h"

#include <array>
#include <utility>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "conv_name_fct";

/** The components in the order of the DICOM form. */
constexpr std::array Components = {&OrisWare_Name::family, &OrisWare_Name::given,
                                   &OrisWare_Name::middle, &OrisWare_Name::prefix,
                                   &OrisWare_Name::suffix};
using Name_Parts = std::array<const char*, Components.size()>;

bool Is_Set(const OrisWare_Name* name)
{
    return name != nullptr && name->defined != 0;
}

void Release(OrisWare_Name& name)
{
    for (const auto component : Components) {
        std::free(name.*component);
    }
    name = {};
}

/** Makes a name of copies of its components, which may be those that the record holds. */
bool Make(OrisWare_Name& name, const Name_Parts& parts)
{
    OrisWare_Name made = {};
    made.defined = 1;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (!Copy_Text(This_Unit, made.*Components[i], parts[i], "name->component")) {
            Release(made);
            break;
        }
    }
    Release(name);
    name = made;
    return Is_Set(&name);
}

/** The first component group of a PN value that is not empty. */
std::string_view First_Group(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of('='), text.size()));
    return text.substr(0, text.find('='));
}

/** Appends a part of a name, if it is not empty, behind what stands before it. */
void Append(std::string& text, const char* part, const char* separator)
{
    const std::string_view trimmed = Trimmed(part);
    if (!trimmed.empty()) {
        text.append(text.empty() ? "" : separator).append(trimmed);
    }
}

std::string DICOM_Form(const OrisWare_Name& name)
{
    std::string text;
    std::size_t missing_separators = 0;
    for (const auto component : Components) {
        if (const char* const part = name.*component; part != nullptr && *part != '\0') {
            text.append(missing_separators, '^').append(part);
            missing_separators = 0;
        }
        ++missing_separators;
    }
    return text;
}

std::string Form_For_People(const OrisWare_Name& name)
{
    std::string text;
    for (const char* const part : {name.prefix, name.given, name.middle, name.family}) {
        Append(text, part, " ");
    }
    Append(text, name.suffix, ", ");
    return text;
}

int Compare_Bytes(std::string_view first, std::string_view second)
{
    return first.compare(second);
}

int Compare_Letters(std::string_view first, std::string_view second)
{
    const auto [a, b] =
        std::mismatch(first.begin(), first.end(), second.begin(), second.end(),
                      [](char left, char right) { return Lower(left) == Lower(right); });
    if (a == first.end() || b == second.end()) {
        return static_cast<int>(a != first.end()) - static_cast<int>(b != second.end());
    }
    return static_cast<unsigned char>(Lower(*a)) - static_cast<unsigned char>(Lower(*b));
}

int Compare(const OrisWare_Name& first, const OrisWare_Name& second,
            int (*compare)(std::string_view, std::string_view))
{
    for (const auto component : Components) {
        const char* const a = first.*component;
        const char* const b = second.*component;
        const int order = compare(a == nullptr ? "" : a, b == nullptr ? "" : b);
        if (order != 0) {
            return order;
        }
    }
    return 0;
}

}  // namespace

int Make_Oris_Name(OrisWare_Name* name, const char* family, const char* given, const char* middle,
                   const char* prefix, const char* suffix)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Make_Oris_Name()");
    if (name == nullptr) {
        return trace.Leave(0, "! name");
    }
    const bool made = Make(*name, {family, given, middle, prefix, suffix});
    return made ? 1 : trace.Leave(0, "! memory");
}

int Name_From_DICOM(OrisWare_Name* name, const char* text)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Name_From_DICOM()");
    if (name == nullptr) {
        return trace.Leave(0, "! name");
    }
    const std::string_view group = First_Group(Trimmed(text));
    const C_Array<char> copy = C_Calloc<char>(hwnd, This_Unit, group.size() + 1, "text");
    if (copy == nullptr) {
        Release(*name);
        return trace.Leave(0, "! memory");
    }
    std::copy(group.begin(), group.end(), copy.get());
    Name_Parts parts = {};
    char* next = copy.get();
    for (const char*& part : parts) {
        if (next == nullptr) {
            break;
        }
        char* const separator = std::strchr(next, '^');
        if (separator != nullptr) {
            *separator = '\0';
        }
        part = next;
        next = separator == nullptr ? nullptr : separator + 1;
    }
    return Make(*name, parts) && Oris_Name_Postproc(name) != 0 ? 1 : trace.Leave(0, "! text");
}

const char* Name_2_DICOM(const OrisWare_Name* name)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Name_2_DICOM()");
    return Formatted(This_Unit,
                     [name] { return Is_Set(name) ? DICOM_Form(*name) : std::string(); });
}

const char* Name_2_Str(const OrisWare_Name* name)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Name_2_Str()");
    return Formatted(This_Unit,
                     [name] { return Is_Set(name) ? Form_For_People(*name) : std::string(); });
}

int Oris_Name_Cmp(const OrisWare_Name* first, const OrisWare_Name* second)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Oris_Name_Cmp()");
    if (!Is_Set(first) || !Is_Set(second)) {
        return static_cast<int>(!Is_Set(first)) - static_cast<int>(!Is_Set(second));
    }
    const int order = Compare(*first, *second, Compare_Letters);
    return order != 0 ? order : Compare(*first, *second, Compare_Bytes);
}

int Oris_Name_Postproc(OrisWare_Name* name)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Oris_Name_Postproc()");
    if (name == nullptr) {
        return trace.Leave(0, "! name");
    }
    bool is_empty = true;
    for (const auto component : Components) {
        char*& text = name->*component;
        if (text != nullptr && *Str_Strip_Spaces(text) == '\0') {
            std::free(std::exchange(text, nullptr));
        }
        is_empty = is_empty && text == nullptr;
    }
    if (!Is_Set(name) || is_empty) {
        Release(*name);
        return trace.Leave(0, "! components");
    }
    return 1;
}

int Name_Copy(OrisWare_Name* target, const OrisWare_Name* source)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Name_Copy()");
    if (target == nullptr) {
        return trace.Leave(0, "! target");
    }
    if (!Is_Set(source)) {
        Release(*target);
        return 1;
    }
    const bool made = Make(
        *target, {source->family, source->given, source->middle, source->prefix, source->suffix});
    return made ? 1 : trace.Leave(0, "! memory");
}

void Name_Swap(OrisWare_Name* first, OrisWare_Name* second)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Name_Swap()");
    if (first != nullptr && second != nullptr) {
        std::swap(*first, *second);
    }
}

void Name_Free(OrisWare_Name* name)
{
    Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: Name_Free()");
    if (name != nullptr) {
        Release(*name);
    }
}
