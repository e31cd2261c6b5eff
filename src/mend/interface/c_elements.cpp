// Elements of data sets: found, gone through, read and changed.
#include "mend/findings/attributes.h"
#include "mend/findings/letters.h"
#include "mend/findings/privacy.h"
#include "mend/healing/value.h"
#include "mend/interface/element_change.h"
#include "mend/interface/element_path.h"
#include "mend/interface/handles.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "mend/writing/encoder.h"

#include <limits>

namespace lib_mend {

namespace {

/** The record or one behind it that is no header of an item. */
const DICOM_List* Past_Header(const DICOM_List* record)
{
    while (record != nullptr && Is_Delimiter(*record)) {
        record = record->next;
    }
    return record;
}

bool Is_Ascii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

std::string Text_Of(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

bool Is_UTF_8(std::string_view text)
{
    while (!text.empty()) {
        const Letter letter = First_Letter(text);
        if (letter.size == 0) {
            return false;
        }
        text.remove_prefix(letter.size);
    }
    return true;
}

/** An element of another VR, or with a value, would lose that. */
bool May_Hold_Items(const dicom_mend_dataset& data_set, const Target& target)
{
    const auto* const there = dicom_mend_find(&data_set, Item(target.item), Number_Of(target.tag));
    const unsigned short vr = VR_For(data_set.set, target, "");
    return (vr == 0 || vr == VR_SQ || vr == VR_UN) && dicom_mend_length(there) == 0;
}

bool All_Texts_Are_Ascii(const Data_Set& set)
{
    bool all = true;
    For_Each_Element(set.records.Head(), [&](const DICOM_List& record, const Path&) {
        if (all && Has_Value(record) && Follows_Character_Set(VR_Of(record))) {
            const Bytes value = set.Value(record);
            all = Is_Ascii({reinterpret_cast<const char*>(value.data()), value.size()});
        }
    });
    return all;
}

/**
 * The bytes of a text in UTF-8 as the data set has texts: UTF-8 is declared where nothing is yet and
 * nothing stands against it.
 */
void Settle_Characters(dicom_mend_dataset& data_set, const Target& target, unsigned short vr,
                       std::string_view text)
{
    if (Is_Ascii(text)) {
        return;
    }
    if (!Follows_Character_Set(vr) || !Is_UTF_8(text)) {
        throw Failure{DICOM_MEND_BAD_VALUE, {}};
    }
    DICOM_List* const list = target.item != nullptr ? target.item : data_set.set.records.Head();
    DICOM_List* const neighbour = const_cast<DICOM_List*>(Past_Header(list));
    const auto holds = [&](const Character_Set& characters) {
        return characters.To_UTF_8_Without_Loss(text, vr) == text;
    };
    if (neighbour != nullptr ? holds(data_set.values.Characters_Of(*neighbour))
                             : holds(Character_Set(data_set.set.Text(Character_Set_Tag)))) {
        return;
    }
    if (!data_set.set.Text(Character_Set_Tag).empty() || !All_Texts_Are_Ascii(data_set.set)) {
        throw Failure{DICOM_MEND_BAD_VALUE, {}};
    }
    constexpr std::string_view UTF_8 = "ISO_IR 192";
    Set_Value(data_set.set, {nullptr, Character_Set_Tag}, VR_CS,
              {reinterpret_cast<const unsigned char*>(UTF_8.data()), UTF_8.size()});
    data_set.values.Forget();
}

/** Runs a change; the VR that it is for is an argument of it. */
template <class Change>
dicom_mend_status Changed(dicom_mend_dataset* data_set, const dicom_mend_item* item, uint32_t tag,
                          const char* vr, Change&& change) noexcept
{
    if (data_set == nullptr) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Guarded([&] {
        const Target target = {Of(item), Tag_Of_Number(tag)};
        const unsigned short code = VR_For(data_set->set, target, vr != nullptr ? vr : "");
        if (code == 0 || code == VR_SQ || Is_Delimiter_Tag(target.tag)) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        const std::optional<Bytes> bytes = change(target, code);
        if (!bytes ||
            bytes->size() > static_cast<std::size_t>(std::numeric_limits<int>::max()) - 1) {
            return DICOM_MEND_BAD_VALUE;
        }
        Set_Value(data_set->set, target, code, *bytes);
        data_set->values.Forget();
        return DICOM_MEND_OK;
    });
}

template <class Value, class Read>
dicom_mend_status Got(const dicom_mend_dataset* data_set, const dicom_mend_element* element,
                      Value* value, Read&& read) noexcept
{
    if (data_set == nullptr || element == nullptr || value == nullptr) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Guarded([&] {
        const std::optional<Value> got = read(data_set->values, *Of(element));
        *value = got.value_or(Value{});
        return got ? DICOM_MEND_OK : DICOM_MEND_BAD_VALUE;
    });
}

}  // namespace

}  // namespace lib_mend

using namespace lib_mend;

const dicom_mend_element* dicom_mend_first(const dicom_mend_dataset* data_set,
                                           const dicom_mend_item* item)
{
    if (item != nullptr) {
        return Element(Past_Header(Of(item)));
    }
    return data_set != nullptr ? Element(Past_Header(data_set->set.records.Head())) : nullptr;
}

const dicom_mend_element* dicom_mend_first_meta(const dicom_mend_dataset* data_set)
{
    return data_set != nullptr ? Element(data_set->set.meta.Head()) : nullptr;
}

const dicom_mend_element* dicom_mend_next(const dicom_mend_element* element)
{
    return element != nullptr ? Element(Past_Header(Of(element)->next)) : nullptr;
}

const dicom_mend_element* dicom_mend_find(const dicom_mend_dataset* data_set,
                                          const dicom_mend_item* item, uint32_t tag)
{
    if (item != nullptr) {
        return Element(Find_Record(Of(item), Tag_Of_Number(tag)));
    }
    return data_set != nullptr
               ? Element(Find_Element(data_set->set, {{}, Tag_Of_Number(tag)}).record)
               : nullptr;
}

dicom_mend_status dicom_mend_find_path(const dicom_mend_dataset* data_set, const char* path,
                                       const dicom_mend_element** element,
                                       const dicom_mend_item** item)
{
    Clear(element, item);
    if (data_set == nullptr || path == nullptr || element == nullptr) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Guarded([&] {
        const std::optional<Element_Path> parsed = Parse_Path(path);
        if (!parsed) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        const Found_Element found = Find_Element(data_set->set, *parsed);
        *element = Element(found.record);
        if (item != nullptr) {
            *item = Item(found.item);
        }
        return found.record != nullptr ? DICOM_MEND_OK : DICOM_MEND_NOT_FOUND;
    });
}

uint32_t dicom_mend_tag(const dicom_mend_element* element)
{
    return element != nullptr ? Number_Of(Tag_Of(*Of(element))) : 0;
}

void dicom_mend_vr(const dicom_mend_element* element, char vr[3])
{
    if (vr == nullptr) {
        return;
    }
    const bool known =
        element != nullptr && !Is_Delimiter(*Of(element)) && VR_Of(*Of(element)) != 0;
    const unsigned short code = known ? VR_Of(*Of(element)) : static_cast<unsigned short>(0);
    vr[0] = static_cast<char>(code >> 8);
    vr[1] = static_cast<char>(code & 0xFF);
    vr[2] = '\0';
}

size_t dicom_mend_length(const dicom_mend_element* element)
{
    const bool has_value = element != nullptr && Has_Value(*Of(element));
    return has_value ? static_cast<std::size_t>(Size_Of(*Of(element))) : 0;
}

int64_t dicom_mend_offset(const dicom_mend_element* element)
{
    return element != nullptr ? Position_Of(*Of(element)) : 0;
}

int dicom_mend_is_sequence(const dicom_mend_element* element)
{
    return element != nullptr && Holds_Items(*Of(element)) && !Holds_Fragments(*Of(element)) ? 1
                                                                                             : 0;
}

size_t dicom_mend_item_count(const dicom_mend_element* sequence)
{
    return dicom_mend_is_sequence(sequence) != 0
               ? static_cast<std::size_t>(Item_Count(*Of(sequence)))
               : 0;
}

const dicom_mend_item* dicom_mend_get_item(const dicom_mend_element* sequence, size_t index)
{
    const bool may_be = dicom_mend_is_sequence(sequence) != 0 &&
                        index < static_cast<std::size_t>(Of(sequence)->nb_item);
    return may_be ? Item(Item_Of(*Of(sequence), static_cast<int>(index))) : nullptr;
}

size_t dicom_mend_fragment_count(const dicom_mend_element* element)
{
    return element != nullptr && Holds_Fragments(*Of(element))
               ? static_cast<std::size_t>(Item_Count(*Of(element)))
               : 0;
}

const dicom_mend_element* dicom_mend_get_fragment(const dicom_mend_element* element, size_t index)
{
    const bool may_be = element != nullptr && Holds_Fragments(*Of(element)) &&
                        index < static_cast<std::size_t>(Of(element)->nb_item);
    return may_be ? Element(Item_Of(*Of(element), static_cast<int>(index))) : nullptr;
}

dicom_mend_status dicom_mend_get_bytes(const dicom_mend_dataset* data_set,
                                       const dicom_mend_element* element, size_t offset,
                                       unsigned char* buffer, size_t size, size_t* copied)
{
    Clear(copied);
    if (data_set == nullptr || element == nullptr || (buffer == nullptr && size != 0) ||
        copied == nullptr) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Guarded([&] {
        const Bytes bytes = Little_Endian_Bytes(data_set->set, *Of(element), offset, size);
        std::copy(bytes.begin(), bytes.end(), buffer);
        *copied = bytes.size();
        const std::size_t whole = dicom_mend_length(element);
        const std::size_t wanted = std::min(size, whole - std::min(offset, whole));
        return bytes.size() == wanted ? DICOM_MEND_OK : DICOM_MEND_CANNOT_READ;
    });
}

size_t dicom_mend_value_count(const dicom_mend_dataset* data_set, const dicom_mend_element* element)
{
    std::size_t count = 0;
    if (data_set != nullptr && element != nullptr) {
        Guarded([&] {
            count = data_set->values.Count(*Of(element));
            return DICOM_MEND_OK;
        });
    }
    return count;
}

dicom_mend_status dicom_mend_get_text(const dicom_mend_dataset* data_set,
                                      const dicom_mend_element* element, size_t index, char* buffer,
                                      size_t capacity, size_t* length)
{
    Clear(length);
    Hand_Out("", buffer, capacity);
    if (data_set == nullptr || element == nullptr) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Guarded([&] {
        const std::optional<std::string> text = data_set->values.Text(*Of(element), index);
        const std::size_t size = Hand_Out(text ? std::string_view(*text) : "", buffer, capacity);
        if (length != nullptr) {
            *length = size;
        }
        return text ? DICOM_MEND_OK : DICOM_MEND_NOT_FOUND;
    });
}

int dicom_mend_is_harmless(const dicom_mend_dataset* data_set, const dicom_mend_element* element)
{
    constexpr std::int64_t Longest = 4096;
    bool is_harmless = false;
    if (data_set != nullptr && element != nullptr) {
        Guarded([&] {
            DICOM_List& record = *Of(element);
            const unsigned short vr = VR_Of(record);
            const bool is_empty = !Has_Value(record) || Size_Of(record) == 0;
            // Of numbers one stands for all.
            const std::string text = is_empty       ? ""
                                     : !Is_Text(vr) ? data_set->values.Text(record, 0).value_or("")
                                                    : Text_Of(data_set->set.Value(record, Longest));
            const bool is_whole = !Is_Text(vr) || Size_Of(record) <= Longest;
            is_harmless = is_empty || (is_whole && Is_Harmless(Tag_Of(record), vr, text));
            return DICOM_MEND_OK;
        });
    }
    return is_harmless ? 1 : 0;
}

dicom_mend_status dicom_mend_get_double(const dicom_mend_dataset* data_set,
                                        const dicom_mend_element* element, size_t index,
                                        double* value)
{
    Clear(value);
    return Got(data_set, element, value, [index](Value_Reader& values, DICOM_List& record) {
        return values.Real(record, index);
    });
}

dicom_mend_status dicom_mend_get_int(const dicom_mend_dataset* data_set,
                                     const dicom_mend_element* element, size_t index,
                                     int64_t* value)
{
    Clear(value);
    return Got(data_set, element, value, [index](Value_Reader& values, DICOM_List& record) {
        return values.Integer(record, index);
    });
}

dicom_mend_status dicom_mend_set_text(dicom_mend_dataset* data_set, const dicom_mend_item* item,
                                      uint32_t tag, const char* vr, const char* text, size_t size)
{
    if (text == nullptr && size != 0) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Changed(data_set, item, tag, vr,
                   [&](const Target& target, unsigned short code) -> std::optional<Bytes> {
                       const std::string_view value(text, size);
                       if (!Is_Text(code)) {
                           return Encoded_Text_Of_Numbers(code, value);
                       }
                       Settle_Characters(*data_set, target, code, value);
                       return Bytes(value.begin(), value.end());
                   });
}

dicom_mend_status dicom_mend_set_bytes(dicom_mend_dataset* data_set, const dicom_mend_item* item,
                                       uint32_t tag, const char* vr, const unsigned char* bytes,
                                       size_t size)
{
    if (bytes == nullptr && size != 0) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Changed(data_set, item, tag, vr,
                   [&](const Target&, unsigned short) -> std::optional<Bytes> {
                       return Bytes(bytes, bytes + size);
                   });
}

dicom_mend_status dicom_mend_set_doubles(dicom_mend_dataset* data_set, const dicom_mend_item* item,
                                         uint32_t tag, const char* vr, const double* values,
                                         size_t count)
{
    if (values == nullptr && count != 0) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Changed(data_set, item, tag, vr, [&](const Target&, unsigned short code) {
        return Encoded_Numbers(code, std::span(values, count));
    });
}

dicom_mend_status dicom_mend_set_ints(dicom_mend_dataset* data_set, const dicom_mend_item* item,
                                      uint32_t tag, const char* vr, const int64_t* values,
                                      size_t count)
{
    if (values == nullptr && count != 0) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Changed(data_set, item, tag, vr, [&](const Target&, unsigned short code) {
        return Encoded_Numbers(code, std::span(values, count));
    });
}

dicom_mend_status dicom_mend_add_item(dicom_mend_dataset* data_set, const dicom_mend_item* item,
                                      uint32_t tag, const dicom_mend_item** added)
{
    Clear(added);
    if (data_set == nullptr || added == nullptr || Is_Delimiter_Tag(Tag_Of_Number(tag))) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Guarded([&] {
        const Target target = {Of(item), Tag_Of_Number(tag)};
        if (!May_Hold_Items(*data_set, target)) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        *added = Item(Add_Item(data_set->set, target));
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_remove(dicom_mend_dataset* data_set, const dicom_mend_item* item,
                                    uint32_t tag)
{
    if (data_set == nullptr) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Guarded([&] {
        const Target target = {Of(item), Tag_Of_Number(tag)};
        const bool was_there =
            !Is_Delimiter_Tag(target.tag) && Remove_Element(data_set->set, target);
        data_set->values.Forget();
        return was_there ? DICOM_MEND_OK : DICOM_MEND_NOT_FOUND;
    });
}

size_t dicom_mend_tag_name(uint32_t tag, char* buffer, size_t capacity)
{
    std::size_t size = Hand_Out("", buffer, capacity);
    Guarded([&] {
        size = Hand_Out(Tag_Name(Tag_Of_Number(tag)), buffer, capacity);
        return DICOM_MEND_OK;
    });
    return size;
}

size_t dicom_mend_tag_keyword(uint32_t tag, char* buffer, size_t capacity)
{
    std::size_t size = Hand_Out("", buffer, capacity);
    Guarded([&] {
        const std::optional<Attribute> attribute = Find_Attribute(Tag_Of_Number(tag));
        size = Hand_Out(attribute ? Keyword_Of(attribute->name) : "", buffer, capacity);
        return DICOM_MEND_OK;
    });
    return size;
}

dicom_mend_status dicom_mend_parse_tag(const char* text, uint32_t* tag)
{
    Clear(tag);
    if (text == nullptr || tag == nullptr) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Guarded([&] {
        const std::optional<Tag> parsed = Parse_Tag(text);
        *tag = parsed ? Number_Of(*parsed) : 0;
        return parsed ? DICOM_MEND_OK : DICOM_MEND_NOT_FOUND;
    });
}
