#include "mend/json/set_builder.h"

#include "mend/io/places.h"
#include "mend/json/base64.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

namespace lib_mend {

namespace {

constexpr unsigned short Delimiter_Group = 0xFFFE;

constexpr std::size_t Most_Empty_Items = 1'000'000;

/** Nothing when a name is no tag. */
std::optional<Tag> Tag_In(std::string_view name)
{
    constexpr std::size_t Size = 8;
    std::uint32_t number = 0;
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, number, 16);
    if (name.size() != Size || error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return Tag{static_cast<unsigned short>(number >> 16),
               static_cast<unsigned short>(number & 0xFFFF)};
}

}  // namespace

void Set_Builder::Report_Element(Level level, Tag tag, std::size_t at, const std::string& what)
{
    findings_.Report(
        Fault::JSON, level,
        {.has_tag = true, .tag = tag, .path = &way_, .offset = static_cast<std::int64_t>(at)},
        places_.Line_And_Column(at) + what);
}

void Set_Builder::Report(Level level, std::size_t at, const std::string& what)
{
    findings_.Report(Fault::JSON, level, {.offset = static_cast<std::int64_t>(at)},
                     places_.Line_And_Column(at) + what);
}

/** An element that cannot be read is left out. */
void Set_Builder::Refuse_Element(std::size_t at, const std::string& what)
{
    Element& element = objects_.back().element;
    if (!element.is_faulty) {
        Report_Element(Level::Error, element.tag, at, what);
    }
    // What was collected of it is of no use any more.
    element.is_faulty = true;
    element.values = JSON_Values();
    element.items = std::vector<Record_List>();
    element.bytes = Bytes();
    element.stored = {};
}

void Set_Builder::Scalar(JSON_Scalar kind, std::string_view text, std::size_t at)
{
    if (skipped_levels_ > 0) {
        return;
    }
    if (objects_.empty()) {
        Report(Level::Error, at, "is no data set, which is an object");
        return;
    }
    Object& object = objects_.back();
    if (object.is_in_element) {
        Element_Scalar(object.element, kind, text, at);
    } else if (object.group != 0) {
        Take_Group(object, kind, text, at);
    } else {
        Refuse_Element(at, "an element is no object");
    }
}

void Set_Builder::Take_Group(Object& object, JSON_Scalar kind, std::string_view text,
                             std::size_t at)
{
    const unsigned int bit = 1U << object.group;
    if ((object.groups_seen & bit) != 0) {
        object.fault = {at, "there are two of one group of a name"};
    } else if (kind == JSON_Scalar::String) {
        object.groups[object.group - 1] = text;
    } else if (kind != JSON_Scalar::Null) {
        object.fault = {at, "the group of a name is no string"};
    }
    object.groups_seen |= bit;
}

void Set_Builder::Element_Scalar(Element& element, JSON_Scalar kind, std::string_view text,
                                 std::size_t at)
{
    constexpr JSON_Values::Kind Kinds[] = {JSON_Values::Kind::Null, JSON_Values::Kind::Boolean,
                                           JSON_Values::Kind::Number, JSON_Values::Kind::String};
    if (element.is_faulty) {
        return;
    }
    if (objects_.back().is_in_values) {
        element.values.Add(Kinds[static_cast<int>(kind)], text, at);
        return;
    }
    const bool is_string = kind == JSON_Scalar::String;
    const bool is_null = kind == JSON_Scalar::Null;
    switch (element.name) {
    case Name::None:
    case Name::Other:
        break;
    case Name::VR:
        if (!is_string || text.size() != 2) {
            Refuse_Element(at, "the VR is no string of two letters");
        } else {
            element.vr = text;
        }
        break;
    case Name::Value:
        if (!is_null) {
            Refuse_Element(at, "Value is no array");
        }
        break;
    case Name::Inline: {
        std::optional<Bytes> bytes = is_string ? Decode_Base64(text) : std::nullopt;
        if (!bytes && !is_null) {
            Refuse_Element(at, "InlineBinary is no base64");
        } else if (bytes) {
            element.bytes = std::move(*bytes);
        }
        break;
    }
    case Name::Reference:
        if (!is_string) {
            Refuse_Element(at, "BulkDataURI is no string");
        } else {
            element.reference = text;
        }
        break;
    }
}

void Set_Builder::Key(std::string_view name, std::size_t at)
{
    if (skipped_levels_ > 0) {
        return;
    }
    Object& object = objects_.back();
    if (object.is_in_element) {
        Element_Key(object.element, name, at);
    } else {
        Set_Key(object, name, at);
    }
}

bool Set_Builder::Takes_Bytes() const
{
    if (skipped_levels_ > 0 || objects_.empty() || !objects_.back().is_in_element) {
        return false;
    }
    const Element& element = objects_.back().element;
    return !objects_.back().is_in_values && element.name == Name::Inline && !element.is_faulty;
}

void Set_Builder::Put_Bytes(std::span<const unsigned char> bytes)
{
    Value_Part& stored = objects_.back().element.stored;
    stored.offset = stored.size == 0 ? spool_.Size() : stored.offset;
    stored.size += std::ssize(bytes);
    spool_.Put(bytes);
}

void Set_Builder::End_Bytes(std::size_t at)
{
    if (objects_.back().element.stored.size >= Far_Size) {
        Refuse_Element(at, "InlineBinary of 2 GiB and more is not taken");
    }
}

void Set_Builder::Set_Key(Object& object, std::string_view name, std::size_t at)
{
    object.element = {};
    object.element.at = at;
    object.group = 0;
    const auto* const group = std::find(std::begin(Name_Groups), std::end(Name_Groups), name);
    if (group != std::end(Name_Groups) && objects_.size() > 1) {
        object.group = static_cast<std::size_t>(group - std::begin(Name_Groups)) + 1;
        object.group_count = std::max(object.group_count, object.group);
        return;
    }
    const std::optional<Tag> tag = Tag_In(name);
    if (!tag || tag->group == Delimiter_Group) {
        object.element.is_faulty = true;
        Report(Level::Error, at, "the name is no tag of an element");
        return;
    }
    object.element.tag = *tag;
}

void Set_Builder::Element_Key(Element& element, std::string_view name, std::size_t at)
{
    element.name = name == "vr"             ? Name::VR
                   : name == "Value"        ? Name::Value
                   : name == "InlineBinary" ? Name::Inline
                   : name == "BulkDataURI"  ? Name::Reference
                                            : Name::Other;
    if (element.name == Name::Other) {
        return;
    }
    constexpr unsigned int Of_Value = 1U << static_cast<int>(Name::Value) |
                                      1U << static_cast<int>(Name::Inline) |
                                      1U << static_cast<int>(Name::Reference);
    const unsigned int bit = 1U << static_cast<int>(element.name);
    const unsigned int other = (bit & Of_Value) != 0 ? Of_Value : bit;
    if ((element.seen & other) != 0) {
        Refuse_Element(at, element.name == Name::VR
                               ? "there are two VRs"
                               : "there are two of Value, InlineBinary and BulkDataURI");
    }
    element.seen |= bit;
    if ((bit & Of_Value) != 0) {
        element.value_at = at;
    }
}

void Set_Builder::Begin_Object(std::size_t at)
{
    if (skipped_levels_ > 0) {
        ++skipped_levels_;
        return;
    }
    if (objects_.empty()) {
        if (has_set_) {
            if (!has_set_twice_) {
                Report(Level::Error, at, "there are several data sets; the first alone is taken");
            }
            has_set_twice_ = true;
            Skip();
            return;
        }
        objects_.emplace_back().at = at;
        return;
    }
    Object& object = objects_.back();
    if (object.is_in_values && object.element.is_faulty) {
        Skip();
    } else if (object.is_in_values) {
        way_.push_back({object.element.tag, static_cast<int>(object.element.values.Count())});
        objects_.emplace_back().at = at;
    } else if (object.is_in_element) {
        if (object.element.name != Name::Other) {
            Refuse_Element(at, "an object stands where none can be");
        }
        Skip();
    } else if (object.group != 0) {
        object.fault = {at, "the group of a name is no string"};
        Skip();
    } else if (object.element.is_faulty) {
        Skip();
    } else {
        object.is_in_element = true;
    }
}

void Set_Builder::End_Object()
{
    if (skipped_levels_ > 0) {
        --skipped_levels_;
        return;
    }
    Object& object = objects_.back();
    if (object.is_in_element) {
        object.is_in_element = false;
        End_Element(object);
        object.element = {};
        return;
    }
    Sort(object);
    Object inner = std::move(object);
    objects_.pop_back();
    if (objects_.empty()) {
        done_ = std::move(inner);
        has_set_ = true;
    } else {
        way_.pop_back();
        End_Value_Object(inner);
    }
}

/** An object of a Value is an item or a name. */
void Set_Builder::End_Value_Object(Object& inner)
{
    Element& element = objects_.back().element;
    if (!inner.fault.why.empty()) {
        Refuse_Element(inner.fault.at, inner.fault.why);
    }
    const bool is_empty = inner.records.Head() == nullptr && inner.group_count == 0;
    if (is_empty && ++empty_items_ > Most_Empty_Items) {
        Refuse_Element(inner.at, "there are more than a million empty items");
    }
    if (element.is_faulty) {
        return;
    }
    if (inner.records.Head() != nullptr) {
        if (inner.group_count > 0) {
            Refuse_Element(inner.at, "an item has groups of a name");
            return;
        }
        element.values.Add(JSON_Values::Kind::Item, {}, inner.at);
        element.items.push_back(std::move(inner.records));
        return;
    }
    std::string name;
    for (std::size_t i = 0; i < inner.group_count; ++i) {
        name.append(i == 0 ? "" : "=").append(inner.groups[i]);
    }
    element.values.Add(is_empty ? JSON_Values::Kind::Empty_Object : JSON_Values::Kind::Name, name,
                       inner.at);
}

void Set_Builder::Begin_Array(std::size_t at)
{
    if (skipped_levels_ > 0) {
        ++skipped_levels_;
        return;
    }
    if (objects_.empty()) {
        if (is_array_) {
            Report(Level::Error, at, "is no data set, which is an object");
            Skip();
        }
        is_array_ = true;
        return;
    }
    Object& object = objects_.back();
    if (object.is_in_element && !object.is_in_values && object.element.name == Name::Value) {
        object.is_in_values = true;
        return;
    }
    if (object.is_in_element) {
        if (object.element.name != Name::Other) {
            Refuse_Element(at, "an array stands where none can be");
        }
    } else if (object.group != 0) {
        object.fault = {at, "the group of a name is no string"};
    } else {
        Refuse_Element(at, "an element is no object");
    }
    Skip();
}

void Set_Builder::End_Array()
{
    if (skipped_levels_ > 0) {
        --skipped_levels_;
    } else if (!objects_.empty()) {
        objects_.back().is_in_values = false;
    } else if (!has_set_) {
        Report(Level::Error, 0, "there is no data set");
    }
}

}  // namespace lib_mend
