#include "archive/layout.h"

#include "mend/findings/fnv.h"
#include "mend/findings/letters.h"
#include "mend/healing/character_set.h"
#include "mend/healing/image.h"
#include "mend/interface/element_path.h"
#include "suggestions.h"

#include <algorithm>

namespace dicom_mend {

namespace {

/** File systems take 255 bytes; a number that keeps names apart, and an ending, have to fit too. */
constexpr std::size_t Most_Bytes = 200;

std::string Value_Of(const lib_mend::Data_Set& set, const lib_mend::Element_Path& path)
{
    constexpr std::size_t Enough = 1024;
    const auto [item, record] = lib_mend::Find_Element(set, path);
    if (record == nullptr || !lib_mend::Has_Value(*record)) {
        return {};
    }
    const unsigned short vr = lib_mend::VR_Of(*record);
    if (vr == VR_US || vr == VR_UL || vr == VR_SS || vr == VR_SL) {
        const auto number = lib_mend::Number_In(set, record, path.tag);
        return number ? std::to_string(*number) : std::string();
    }
    const lib_mend::Character_Set characters(
        lib_mend::Text_In(set, set.records.Head(), lib_mend::Character_Set_Tag));
    return characters.To_UTF_8(lib_mend::Trimmed(set.Value(*record, Enough)), vr);
}

/** Names that some file systems keep for devices, and those that mean a folder itself. */
bool Is_Reserved(std::string_view name)
{
    if (name.find_first_not_of('.') == name.npos) {
        return true;
    }
    constexpr std::string_view Devices[] = {
        "CON",  "PRN",  "AUX",  "NUL",  "COM1", "COM2", "COM3", "COM4", "COM5", "COM6", "COM7",
        "COM8", "COM9", "LPT1", "LPT2", "LPT3", "LPT4", "LPT5", "LPT6", "LPT7", "LPT8", "LPT9"};
    std::string stem(name.substr(0, name.find('.')));
    std::transform(stem.begin(), stem.end(), stem.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return std::find(std::begin(Devices), std::end(Devices), stem) != std::end(Devices);
}

/** What a part of a path is when its values are in it. */
std::string Whole_Name(std::string name)
{
    // Blanks and dots at the end are lost on some file systems, a dot in front hides a file.
    while (!name.empty() && (name.back() == ' ' || name.back() == '.')) {
        name.pop_back();
    }
    if (name.empty() || Is_Reserved(name)) {
        name.insert(0, "_");
    }
    if (name.front() == '.') {
        name.front() = '_';
    }
    return Cut_Name(std::move(name), Most_Bytes);
}

}  // namespace

std::string Safe_Name(std::string_view text)
{
    constexpr std::string_view Unsafe = "/\\:*?\"<>|~";
    std::string name;
    while (!text.empty()) {
        const lib_mend::Letter letter = lib_mend::First_Letter(text);
        const std::size_t size = std::max<std::size_t>(letter.size, 1);
        const bool is_safe = letter.size > 0 && !lib_mend::Is_Control(letter.code) &&
                             letter.code != 0 && Unsafe.find(text.front()) == Unsafe.npos;
        name += is_safe ? text.substr(0, size) : "_";
        text.remove_prefix(size);
    }
    const std::size_t first = name.find_first_not_of(' ');
    const std::size_t last = name.find_last_not_of(' ');
    return first == name.npos ? "_" : name.substr(first, last - first + 1);
}

std::string Numbered(const std::string& name, int number)
{
    constexpr std::size_t Longest_Name = 255;
    constexpr std::size_t Longest_Ending = 32;
    const std::size_t begin = name.find_last_of('/') + 1;
    const std::string file = name.substr(begin);
    const std::size_t dot = file.find_last_of('.');
    const bool has_ending = dot != file.npos && dot > 0 && file.size() - dot <= Longest_Ending;
    const std::string behind =
        "~" + std::to_string(number) + (has_ending ? file.substr(dot) : std::string());
    return name.substr(0, begin) +
           Cut_Name(file.substr(0, has_ending ? dot : file.size()), Longest_Name - behind.size()) +
           behind;
}

std::string Cut_Name(std::string name, std::size_t most)
{
    if (name.size() <= most) {
        return name;
    }
    const auto is_inside = [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) == 0x80;
    };
    // The ending tells what a file is.
    const std::size_t dot = name.rfind('.');
    const std::string ending =
        dot != name.npos && name.size() - dot <= 8 ? name.substr(dot) : std::string();
    std::size_t cut = most - 20 - ending.size();
    while (cut > 0 && is_inside(name[cut])) {
        --cut;
    }
    return name.substr(0, cut) + "~" + std::to_string(lib_mend::FNV_1a(name) % 1'000'000'000'000) +
           ending;
}

std::string Layout::Parse(std::string_view text)
{
    if (text.empty() || text.front() == '/' || text.back() == '/') {
        return "has to be a path of a file below OUT_DIR, such as {PatientID}/{SOPInstanceUID}.dcm";
    }
    for (const char* const part : {"/../", "/./", "//"}) {
        if (("/" + std::string(text) + "/").find(part) != std::string::npos) {
            return "has to be a plain path below OUT_DIR, without \".\", \"..\" and empty parts";
        }
    }
    bool has_element = false;
    while (!text.empty()) {
        const std::size_t brace = text.find_first_of("{}");
        if (brace != 0) {
            parts_.push_back({std::string(text.substr(0, brace)), false, {}});
            text.remove_prefix(std::min(brace, text.size()));
            continue;
        }
        const std::size_t end = text.find('}');
        if (text.front() == '}' || end == text.npos) {
            return "has a brace without its other half";
        }
        const std::string name(text.substr(1, end - 1));
        const auto path = lib_mend::Parse_Path(name);
        if (!path) {
            return Path_Fault(name);
        }
        parts_.push_back({name, true, *path});
        has_element = true;
        text.remove_prefix(end + 1);
    }
    return has_element ? "" : "names no element, so that all files would have one name";
}

std::string Layout::Path_Of(const lib_mend::Data_Set& set) const
{
    std::string path;
    std::string name;
    const auto close = [&] {
        path += (path.empty() ? "" : "/") + Whole_Name(std::move(name));
        name.clear();
    };
    for (const Part& part : parts_) {
        if (part.is_element) {
            name += Safe_Name(Value_Of(set, part.path));
            continue;
        }
        for (const char c : part.text) {
            if (c == '/') {
                close();
            } else {
                name += c;
            }
        }
    }
    close();
    return path;
}

}  // namespace dicom_mend
