// Elements of data sets changed.
#include "mend/healing/value.h"
#include "mend/interface/element_change.h"
#include "mend/interface/handles.h"
#include "mend/reading/tree.h"
#include "mend/reading/vr_forms.h"
#include "mend/writing/encoder.h"
#include "util/utf8_decoding.h"

#include <algorithm>
#include <limits>

namespace lib_mend {

namespace {

bool Is_Ascii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
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
    if (!Follows_Character_Set(vr) || !lib_util::Is_Utf8(text)) {
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

template <class Number>
dicom_mend_status Set_Numbers(dicom_mend_dataset* data_set, const dicom_mend_item* item,
                              uint32_t tag, const char* vr, const Number* values,
                              std::size_t count) noexcept
{
    if (values == nullptr && count != 0) {
        return DICOM_MEND_BAD_ARGUMENT;
    }
    return Changed(data_set, item, tag, vr, [&](const Target&, unsigned short code) {
        return Encoded_Numbers(code, std::span(values, count));
    });
}

}  // namespace

}  // namespace lib_mend

using namespace lib_mend;

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
    return Set_Numbers(data_set, item, tag, vr, values, count);
}

dicom_mend_status dicom_mend_set_ints(dicom_mend_dataset* data_set, const dicom_mend_item* item,
                                      uint32_t tag, const char* vr, const int64_t* values,
                                      size_t count)
{
    return Set_Numbers(data_set, item, tag, vr, values, count);
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
