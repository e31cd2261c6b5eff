// Elements of data sets: found, gone through and read.
#include "mend/findings/attributes.h"
#include "mend/findings/privacy.h"
#include "mend/interface/element_path.h"
#include "mend/interface/handles.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"

namespace lib_mend {

namespace {

std::string Text_Of(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
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
