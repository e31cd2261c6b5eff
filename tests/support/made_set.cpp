#include "support/made_set.h"

#include "mend/reading/tree.h"
#include "support/stream_builder.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

using namespace lib_mend;

namespace {

/** What one value of a VR is made of. */
enum class Form { Texts, One_Text, Integer, Real, Tag_Number, Raw };

Form Form_Of(const std::string& vr)
{
    const auto is_one_of = [&](std::string_view all) {
        return all.find(vr) != all.npos;
    };
    return is_one_of("LT ST UT UR")               ? Form::One_Text
           : is_one_of("US SS UL SL UV SV")       ? Form::Integer
           : is_one_of("FL FD")                   ? Form::Real
           : vr == "AT"                           ? Form::Tag_Number
           : is_one_of("OB OD OF OL OV OW UN SQ") ? Form::Raw
                                                  : Form::Texts;
}

std::size_t Width_Of(const std::string& vr)
{
    return vr == "US" || vr == "SS" ? 2 : vr == "UV" || vr == "SV" || vr == "FD" ? 8 : 4;
}

void Append_Number(std::string& bytes, std::uint64_t bits, std::size_t width)
{
    for (std::size_t i = 0; i < width; ++i) {
        bytes += static_cast<char>(bits >> (8 * i));
    }
}

std::string Encoded(const Made_Element& element)
{
    const Form form = Form_Of(element.vr);
    const std::size_t width = Width_Of(element.vr);
    std::string bytes;
    for (const std::string& value : element.values) {
        const double real = std::strtod(value.c_str(), nullptr);
        if (form == Form::Integer) {
            Append_Number(bytes, static_cast<std::uint64_t>(static_cast<std::int64_t>(real)),
                          width);
        } else if (form == Form::Real) {
            Append_Number(bytes,
                          width == 8 ? std::bit_cast<std::uint64_t>(real)
                                     : std::bit_cast<std::uint32_t>(static_cast<float>(real)),
                          width);
        } else if (form == Form::Tag_Number) {
            const auto tag = std::strtoul(value.c_str(), nullptr, 16);
            Append_Number(bytes, tag >> 16U | tag << 16U, width);
        } else {
            bytes += (&value != element.values.data() ? "\\" : "") + value;
        }
    }
    const bool is_text = form == Form::Texts || form == Form::One_Text;
    return bytes.append(bytes.size() % 2, is_text && element.vr != "UI" ? ' ' : '\0');
}

void Append(Stream_Builder& stream, const Made_Set& set)
{
    for (const auto& [tag, element] : set.elements) {
        if (element.vr != "SQ") {
            stream.Element(tag.group, tag.element, element.vr, Encoded(element));
            continue;
        }
        stream.Sequence(tag.group, tag.element);
        for (const Made_Set& item : element.items) {
            stream.Item();
            Append(stream, item);
            stream.Item_End();
        }
        stream.Sequence_End();
    }
}

/** A number of a value in the byte order of its stream. */
std::string Number_Text(const char* bytes, const std::string& vr, bool is_big)
{
    const std::size_t width = Width_Of(vr);
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < width; ++i) {
        bits = bits << 8U | static_cast<unsigned char>(bytes[is_big ? i : width - 1 - i]);
    }
    const auto sign = static_cast<std::int64_t>(bits << (64 - 8 * width)) >> (64 - 8 * width);
    char text[40];
    if (Form_Of(vr) == Form::Tag_Number) {
        const auto tag = static_cast<std::uint32_t>(bits);
        std::snprintf(text, sizeof text, "%08X", is_big ? tag : tag >> 16U | tag << 16U);
        return text;
    }
    if (Form_Of(vr) == Form::Real) {
        std::snprintf(text, sizeof text, "%.17g",
                      width == 8 ? std::bit_cast<double>(bits)
                                 : std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
        return text;
    }
    return vr[0] == 'S' ? std::to_string(sign) : std::to_string(bits);
}

std::vector<std::string> Values_Of(const Data_Set& set, const DICOM_List& record,
                                   const std::string& vr)
{
    constexpr std::size_t Most = 8192;
    const Bytes loaded = set.Value(record, Most);
    const std::string bytes(loaded.begin(), loaded.end());
    const Form form = Form_Of(vr);
    std::vector<std::string> values;
    if (form == Form::Integer || form == Form::Real || form == Form::Tag_Number) {
        const bool is_big = (record.byte_order & DICOM_Order_Big_Endian) != 0;
        for (std::size_t at = 0; at + Width_Of(vr) <= bytes.size(); at += Width_Of(vr)) {
            values.push_back(Number_Text(bytes.data() + at, vr, is_big));
        }
        return values;
    }
    std::string rest = form == Form::Raw ? bytes.substr(0, 64) : Trimmed(loaded);
    std::size_t end = form == Form::Texts ? rest.find('\\') : rest.npos;
    for (; end != rest.npos; end = rest.find('\\')) {
        values.push_back(Trimmed(Bytes(rest.begin(), rest.begin() + static_cast<long>(end))));
        rest.erase(0, end + 1);
    }
    if (!rest.empty() || !values.empty()) {
        values.push_back(form == Form::Texts ? Trimmed(Bytes(rest.begin(), rest.end())) : rest);
    }
    return values;
}

}  // namespace

bool Made_Element::Is_Empty() const
{
    return items.empty() && std::all_of(values.begin(), values.end(),
                                        [](const std::string& one) { return one.empty(); });
}

bool Made_Element::Holds_Numbers() const
{
    const Form form = Form_Of(vr);
    return form == Form::Integer || form == Form::Real || vr == "IS" || vr == "DS";
}

bool Made_Element::Equals(std::size_t index, const std::string& text) const
{
    const std::string& value = values.at(index);
    return Holds_Numbers() ? !value.empty() && std::strtod(value.c_str(), nullptr) ==
                                                   std::strtod(text.c_str(), nullptr)
                           : value == text;
}

const Made_Element* Made_Set::Find(Tag tag) const
{
    const auto found = elements.find(tag);
    return found != elements.end() ? &found->second : nullptr;
}

std::string Made_Set::Bytes() const
{
    Stream_Builder stream;
    Append(stream, *this);
    return stream.Bytes();
}

Made_Set Made_Of(const Data_Set& set, DICOM_List* list)
{
    Made_Set made;
    for (const DICOM_List& record : Records(list)) {
        if (Is_Delimiter(record) || record.element == 0) {
            continue;
        }
        Made_Element& element = made.elements[Tag_Of(record)];
        const unsigned short vr = VR_Of(record);
        element.vr = {static_cast<char>(vr >> 8U), static_cast<char>(vr & 0xFFU)};
        if (Holds_Fragments(record)) {
            element.values = {"\1"};
        } else if (Holds_Items(record) || vr == VR_SQ) {
            element.vr = "SQ";
            for (int i = 0; Item_Of(record, i) != nullptr; ++i) {
                element.items.push_back(Made_Of(set, Item_Of(record, i)));
            }
        } else {
            element.values = Values_Of(set, record, element.vr);
        }
    }
    return made;
}

Made_Place Made_Place::At(Made_Set& top, const Path& way)
{
    Made_Place place = {{&top}, way};
    for (const Path_Step& step : way) {
        Made_Element& sequence = place.Here().elements.at(step.sequence);
        place.levels.push_back(&sequence.items.at(static_cast<std::size_t>(step.item)));
    }
    return place;
}

std::pair<Path, Tag> Path_Of(const std::string& text)
{
    Path way;
    const char* at = text.c_str();
    while (true) {
        char* end = nullptr;
        const auto group = static_cast<unsigned short>(std::strtoul(at, &end, 16));
        const auto element = static_cast<unsigned short>(std::strtoul(end + 1, &end, 16));
        if (*end != '[') {
            return {way, {group, element}};
        }
        way.push_back({{group, element}, static_cast<int>(std::strtol(end + 1, &end, 10))});
        at = end + 2;
    }
}
