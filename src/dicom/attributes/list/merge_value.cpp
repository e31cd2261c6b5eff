// What a merge of two records does with their values, marks and descriptions.
#include "attributes/list/attribute_lists.h"
#include "frame/c_memory.h"
#include "frame/vr_rules.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <iterator>

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Tag_Copy";

/** How a value is joined to one that is there already. */
enum class Join {
    Values,  ///< a backslash, the value and a blank
    Lines,   ///< a line feed, the value and a blank
    Bytes,   ///< the value as it is
    Refused,
    Ignored
};

struct Join_Rule {
    unsigned short vr;
    Join join;
};

constexpr Join_Rule Join_Rules[] = {
    {VR_AE, Join::Values},  {VR_AS, Join::Values},  {VR_CS, Join::Values},  {VR_DS, Join::Values},
    {VR_IS, Join::Values},  {VR_LO, Join::Values},  {VR_PN, Join::Values},  {VR_SH, Join::Values},
    {VR_LT, Join::Lines},   {VR_ST, Join::Lines},   {VR_UT, Join::Lines},   {VR_AT, Join::Bytes},
    {VR_FD, Join::Bytes},   {VR_FL, Join::Bytes},   {VR_OB, Join::Bytes},   {VR_OF, Join::Bytes},
    {VR_OW, Join::Bytes},   {VR_OX, Join::Bytes},   {VR_SL, Join::Bytes},   {VR_SS, Join::Bytes},
    {VR_UL, Join::Bytes},   {VR_UN, Join::Bytes},   {VR_US, Join::Bytes},   {VR_DA, Join::Refused},
    {VR_DT, Join::Refused}, {VR_TM, Join::Refused}, {VR_UI, Join::Refused}, {VR_SQ, Join::Refused},
};

Join Join_Of(unsigned short vr)
{
    const auto* const rule =
        std::find_if(std::begin(Join_Rules), std::end(Join_Rules),
                     [vr](const Join_Rule& candidate) { return candidate.vr == vr; });
    return rule != std::end(Join_Rules) ? rule->join : Join::Ignored;
}

/** Values that are too long together, or not in memory, cannot be joined. */
bool Can_Join(const DICOM_List& target, const DICOM_List& source)
{
    constexpr std::int64_t Room_For_Separators = 2;
    return target.size > 0 && source.size > 0 && target.data != nullptr &&
           std::int64_t{target.size} + source.size + Room_For_Separators <= INT_MAX;
}

bool Append_Value(HWND handle, DICOM_List* target, const DICOM_List* source)
{
    const Join join = Join_Of(Effective_VR(*source));
    if (join == Join::Ignored) {
        return true;
    }
    if (join == Join::Refused || !Can_Join(*target, *source)) {
        Report_Warning(handle, "\361\005WARNING:\002 Unable to append to tag (%04x,%04x)",
                       target->group, target->element);
        return true;
    }
    const auto old_size = static_cast<std::size_t>(target->size);
    const auto added = static_cast<std::size_t>(source->size);
    const bool separated = join != Join::Bytes;
    const std::size_t size = old_size + added + (separated ? 2 : 0);
    if (!C_Resize(handle, This_Unit, target->data, size, "target->data")) {
        return false;
    }
    // A value that was left in the source only makes room: what it will hold is not known here.
    unsigned char* const end = target->data + old_size;
    std::fill(end, target->data + size, separated ? ' ' : '\0');
    if (source->data != nullptr) {
        std::copy(source->data, source->data + added, end + (separated ? 1 : 0));
        if (separated) {
            end[0] = join == Join::Values ? '\\' : '\n';
        }
    }
    target->size = static_cast<int>(size);
    return true;
}

bool Replace_Value(HWND handle, DICOM_List* target, const DICOM_List* source)
{
    C_Array<unsigned char> data;
    if (source->data != nullptr && source->size > 0) {
        const auto size = static_cast<std::size_t>(source->size);
        data = C_Malloc<unsigned char>(handle, This_Unit, size, "target->data");
        if (data == nullptr) {
            return false;
        }
        std::memcpy(data.get(), source->data, size);
    }
    std::free(target->data);
    target->data = data.release();
    target->size = source->size;
    return true;
}

bool Copy_Description(HWND handle, DICOM_List* target, const DICOM_List* source)
{
    if (source->description == nullptr) {
        return true;
    }
    C_Array<char> text;
    if (*source->description != '\0') {
        text = C_Strdup(handle, This_Unit, source->description, "target->description");
        if (text == nullptr) {
            return false;
        }
    }
    std::free(target->description);
    target->description = text.release();
    return true;
}

template <class Field>
void Take_Over(Field& target, const Field& source)
{
    if (source != Field{}) {
        target = source;
    }
}

}  // namespace

bool lib_dicom::Merge_Value(HWND handle, const DICOM_Root* root, DICOM_List* target,
                            const DICOM_List* source)
{
    const bool append = (source->flags & DICOM_Mark_Append) != 0;
    const bool holds_value = target->flags != 0 && target->size != 0;
    if ((target->flags & DICOM_Mark_Forced) != 0 || (holds_value && !append)) {
        return true;
    }
    target->depth = static_cast<unsigned char>(root->Sequence_Depth);
    target->group = source->group;
    target->element = source->element;
    target->flags |= source->flags;
    Take_Over(target->byte_order, source->byte_order);
    Take_Over(target->type, source->type);
    Take_Over(target->vr, source->vr);
    Take_Over(target->spare, source->spare);
    Take_Over(target->pos, source->pos);
    Take_Over(target->data_pos, source->data_pos);
    Take_Over(target->dict, source->dict);
    if ((source->flags & DICOM_Mark_Unknown_VR) != 0) {
        target->vr_default = VR_UN;
    } else {
        Take_Over(target->vr_default, source->vr_default);
    }
    if (source->size != 0) {
        const bool copied = target->size != 0 && append ? Append_Value(handle, target, source)
                                                        : Replace_Value(handle, target, source);
        if (!copied) {
            return false;
        }
    }
    return Copy_Description(handle, target, source);
}
