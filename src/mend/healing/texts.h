// The texts of a data set, and the declarations of character sets that they follow.
#ifndef LIB_MEND_TEXTS_H
#define LIB_MEND_TEXTS_H

#include "mend/healing/character_set.h"
#include "mend/reading/tree.h"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lib_mend {

/** Former values, by systems that changed them (PS3.3 section C.12.1.1.9). */
inline constexpr Tag Original_Attributes_Tag = {0x0400, 0x0561};

/** A list with a declaration of its own, and what inherits it. The first one is the data set. */
struct Text_Scope {
    /** The record of (0008,0005); null for a data set without one. */
    DICOM_List* declaration = nullptr;
    /** A former value in Original Attributes, which stays as it is. */
    bool is_former = false;
    /** The value of the declaration without its padding. */
    std::string terms;
    Character_Set characters;

    /** What stands in the place of the declaration is none, and stays what it is. */
    bool Holds_Items() const
    {
        return declaration != nullptr && !Has_Value(*declaration);
    }
};

/** Tells whether the values of an element are texts in the declared character sets. */
bool Is_Text(const DICOM_List& record);

/** The bytes of a value for the length of a scope, wherever they are. */
class Text_Bytes {
public:
    Text_Bytes(const Data_Set& set, const DICOM_List& record);

    std::string_view View() const;

private:
    const DICOM_List& record_;
    Bytes loaded_;
};

/** Tells whether a text is the same in every set whose G0 is ASCII. */
bool Is_Plain(std::string_view text);

/** Tells whether `holds(piece)` for all pieces of a value, which is not held for that. */
template <class Holds>
bool All_Pieces(const Data_Set& set, const DICOM_List& record, Holds&& holds)
{
    const auto text = [](std::span<const unsigned char> bytes) {
        return std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    };
    const std::int64_t size = std::max<std::int64_t>(Size_Of(record), 0);
    if (record.data != nullptr) {
        return holds(text({record.data, static_cast<std::size_t>(size)}));
    }
    constexpr std::int64_t Block = std::int64_t{1} << 16;
    Bytes block(static_cast<std::size_t>(std::min(size, Block)));
    for (std::int64_t at = 0; at < size; at += Block) {
        const auto wanted = static_cast<std::size_t>(std::min(size - at, Block));
        const std::span<unsigned char> piece = std::span(block).first(wanted);
        if (set.Read(record, at, piece) != wanted || !holds(text(piece))) {
            return false;
        }
    }
    return true;
}

/** The same of the text of an element, however long it is. */
bool Is_Plain(const Data_Set& set, const DICOM_List& record);

/** What may be there; where it is not, nothing has to be looked for. */
struct Text_Contents {
    /** Declarations of character sets, and those of items. */
    bool declarations = true;
    bool declarations_in_items = true;
    /** Texts that are not plain. */
    bool letters = true;
};

/** The scopes of a data set, in the order of the tree. */
std::vector<Text_Scope> Text_Scopes_Of(const Data_Set& set, const Text_Contents& contents);

/** Calls `visit(record, path, scope)` for the elements of a data set, with the index of the scope. */
template <class Visit>
void For_Each_In_Scopes(const Data_Set& set, Visit&& visit)
{
    std::size_t count = 1;
    Inherited<std::size_t> scopes(0);
    For_Each_Element(set.records.Head(), [&](DICOM_List& record, const Path& path) {
        const std::size_t scope =
            scopes.At(record, path, [&](DICOM_List& first, std::size_t around) {
                const bool is_own =
                    !path.empty() && Find_Record(&first, Character_Set_Tag) != nullptr;
                return is_own ? count++ : around;
            });
        visit(record, path, scope);
    });
}

/** The same for the texts. */
template <class Visit>
void For_Each_Text(const Data_Set& set, Visit&& visit)
{
    For_Each_In_Scopes(set, [&](DICOM_List& record, const Path& path, std::size_t scope) {
        if (Is_Text(record)) {
            visit(record, path, scope);
        }
    });
}

/**
 * The same for the texts that stay.
 *
 * @param without_private  private elements are left out later, and what their sequences hold
 */
template <class Visit>
void For_Each_Text_That_Stays(const Data_Set& set, bool without_private, Visit&& visit)
{
    Inherited<bool> is_private(false);
    For_Each_In_Scopes(set, [&](DICOM_List& record, const Path& path, std::size_t scope) {
        const bool is_inside = is_private.At(record, path, [&](DICOM_List&, bool around) {
            return around || (!path.empty() && path.back().sequence.group % 2 != 0);
        });
        const bool goes = without_private && (is_inside || record.group % 2 != 0);
        if (Is_Text(record) && !goes) {
            visit(record, path, scope);
        }
    });
}

/** Calls `visit(scope, path)` for each scope, that of the data set first where it has none of its own. */
template <class Visit>
void For_Each_Scope(const Data_Set& set, std::vector<Text_Scope>& scopes, Visit&& visit)
{
    const bool is_declared = scopes[0].declaration != nullptr;
    if (!is_declared || scopes.size() == 1) {
        visit(scopes[0], Path());
    }
    if (scopes.size() == 1) {
        return;
    }
    For_Each_In_Scopes(set, [&](DICOM_List& record, const Path& path, std::size_t scope) {
        if (scopes[scope].declaration == &record && (scope != 0 || is_declared)) {
            visit(scopes[scope], path);
        }
    });
}

/** Gives a record a text, padded to an even length. */
void Set_Text(DICOM_List& record, std::string_view text);

/** Declares terms: in the record of a scope, or in a new one at the front of the data set. */
void Declare(Data_Set& set, Text_Scope& scope, std::string_view terms);

}  // namespace lib_mend

#endif
