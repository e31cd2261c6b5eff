#include "mend/healing/texts.h"

#include "mend/healing/list_index.h"
#include "mend/healing/record_building.h"

#include <algorithm>
#include <array>
#include <utility>

namespace lib_mend {

bool Is_Text(const DICOM_List& record)
{
    constexpr std::array VRs = {VR_SH, VR_LO, VR_ST, VR_LT, VR_UC, VR_UT, VR_PN};
    return record.size > 0 && Has_Value(record) &&
           std::find(VRs.begin(), VRs.end(), VR_Of(record)) != VRs.end();
}

Text_Bytes::Text_Bytes(const Data_Set& set, const DICOM_List& record) : record_(record)
{
    if (record.data == nullptr) {
        loaded_ = set.Value(record);
    }
}

std::string_view Text_Bytes::View() const
{
    if (record_.data != nullptr) {
        return {reinterpret_cast<const char*>(record_.data),
                static_cast<std::size_t>(record_.size)};
    }
    return {reinterpret_cast<const char*>(loaded_.data()), loaded_.size()};
}

bool Is_Plain(std::string_view text)
{
    // Without a way out in the middle, many bytes are compared at once.
    bool is_plain = true;
    for (const char byte : text) {
        is_plain &= static_cast<unsigned char>(byte) < 0x80 && byte != Escape_Byte;
    }
    return is_plain;
}

bool Is_Plain(const Data_Set& set, const DICOM_List& record)
{
    return All_Pieces(set, record, [](std::string_view piece) { return Is_Plain(piece); });
}

namespace {

Text_Scope Scope_Of(const Data_Set& set, DICOM_List* declaration, bool is_former)
{
    constexpr std::size_t Enough = 1024;
    Text_Scope scope = {declaration, is_former, {}, {}};
    if (!scope.Holds_Items()) {
        scope.terms = Trimmed(set.Value(*declaration, Enough));
    }
    scope.characters = Character_Set(scope.terms);
    return scope;
}

}  // namespace

std::vector<Text_Scope> Text_Scopes_Of(const Data_Set& set, const Text_Contents& contents)
{
    std::vector<Text_Scope> scopes(1);
    DICOM_List* const outermost =
        contents.declarations ? Find_Record(set.records.Head(), Character_Set_Tag) : nullptr;
    if (outermost != nullptr) {
        scopes[0] = Scope_Of(set, outermost, false);
    }
    if (!contents.declarations_in_items) {
        return scopes;
    }
    Inherited<bool> is_former(false);
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& path) {
        is_former.At(record, path, [&](DICOM_List& first, bool around) {
            const bool own =
                around || (!path.empty() && path.back().sequence == Original_Attributes_Tag);
            DICOM_List* const declaration =
                path.empty() ? nullptr : Find_Record(&first, Character_Set_Tag);
            if (declaration != nullptr) {
                scopes.push_back(Scope_Of(set, declaration, own));
            }
            return own;
        });
    });
    return scopes;
}

void Set_Text(DICOM_List& record, std::string_view text)
{
    Bytes bytes(text.begin(), text.end());
    if (bytes.size() % 2 != 0) {
        bytes.push_back(' ');
    }
    Set_Bytes(record, bytes);
    record.flags |= DICOM_Mark_Changed;
}

void Declare(Data_Set& set, Text_Scope& scope, std::string_view terms)
{
    if (scope.declaration == nullptr) {
        scope.declaration = List_Index(set).Insert(
            set.records.Address(), Record_List(New_Record(Character_Set_Tag, VR_CS)));
    }
    Set_Text(*scope.declaration, terms);
    scope.terms = terms;
    scope.characters = Character_Set(terms);
}

}  // namespace lib_mend
