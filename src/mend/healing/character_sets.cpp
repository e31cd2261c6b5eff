#include "mend/healing/character_sets.h"

#include "mend/healing/long_texts.h"
#include "mend/healing/text_conversion.h"
#include "mend/healing/texts.h"

#include <algorithm>

namespace lib_mend {

namespace {

Place Place_Of(const Text_Scope& scope, const Path& path)
{
    if (scope.declaration != nullptr) {
        return At(*scope.declaration, path);
    }
    return {true, Character_Set_Tag, VR_CS, &path};
}

/** Declares terms in a scope and says why. */
void Change_Declaration(Data_Set& set, Text_Scope& scope, const Path& path, std::string_view terms,
                        const char* reason, Findings& findings)
{
    findings.Report(Fault::Character_Set, Level::Change, Place_Of(scope, path), reason,
                    {scope.terms, terms});
    Declare(set, scope, terms);
}

void Say_Of_Declaration(const Text_Scope& scope, const Path& path, const char* text,
                        Findings& findings)
{
    findings.Report(Fault::Character_Set, Level::Kept, Place_Of(scope, path), text,
                    {scope.terms, {}});
}

void Respell(Data_Set& set, Text_Scope& scope, const Path& path, Findings& findings)
{
    const Character_Terms terms = Read_Character_Terms(scope.terms);
    if (terms.respelt && !scope.is_former) {
        Change_Declaration(set, scope, path, terms.value,
                           terms.value.empty() ? "no value stands for the default repertoire"
                                               : "the defined term is respelt",
                           findings);
    }
    if (terms.has_unknown) {
        Say_Of_Declaration(scope, path, "a character set is declared that is none of the standard",
                           findings);
    }
    if (terms.is_crowded) {
        Say_Of_Declaration(scope, path,
                           "a character set that has to stand alone is declared beside others",
                           findings);
    }
}

/** What the texts of a scope are, apart from those in ASCII. */
struct Evidence {
    bool has_letters = false;
    bool is_utf_8 = true;
    bool fits_declaration = true;
};

std::vector<Evidence> Evidence_Of(const Data_Set& set, const std::vector<Text_Scope>& scopes,
                                  bool any_letters, bool without_private)
{
    const Character_Set utf_8(UTF_8_Term);
    std::vector<Evidence> all(scopes.size());
    if (!any_letters) {
        return all;
    }
    const auto take = [&](const DICOM_List& record, const Path&, std::size_t scope) {
        if (Is_Plain(set, record)) {
            return;
        }
        Evidence& evidence = all[scope];
        evidence.has_letters = true;
        evidence.is_utf_8 = evidence.is_utf_8 && Is_All_Valid(set, record, utf_8);
        evidence.fits_declaration =
            evidence.fits_declaration && Is_All_Valid(set, record, scopes[scope].characters);
    };
    For_Each_Text_That_Stays(set, without_private, take);
    return all;
}

/**
 * Tells whether texts that are UTF-8 throughout could hardly be in the declared set. In ISO 8859-1
 * and its likes, letters of UTF-8 read as a capital with an accent and a sign, over and over; in the
 * other sets of single bytes they may be words, unless a byte is no character at all.
 */
bool Is_Undeclared_UTF_8(const Text_Scope& scope, const Evidence& evidence)
{
    constexpr std::string_view Followed_By_Signs[] = {"100", "148", "203"};
    const Repertoire* const declared = Single_Repertoire(scope.terms);
    if (declared == nullptr || !declared->Is_Single_Byte() || !evidence.has_letters ||
        !evidence.is_utf_8) {
        return false;
    }
    return !evidence.fits_declaration ||
           std::find(std::begin(Followed_By_Signs), std::end(Followed_By_Signs), declared->term) !=
               std::end(Followed_By_Signs);
}

void Declare_UTF_8(Data_Set& set, std::vector<Text_Scope>& scopes,
                   const std::vector<Evidence>& evidence, Findings& findings)
{
    For_Each_Scope(set, scopes, [&](Text_Scope& scope, const Path& path) {
        const auto index = static_cast<std::size_t>(&scope - scopes.data());
        if (!scope.is_former && !scope.Holds_Items() &&
            Is_Undeclared_UTF_8(scope, evidence[index])) {
            Change_Declaration(set, scope, path, UTF_8_Term, "the texts are UTF-8", findings);
        }
    });
}

/** Texts that were converted before are UTF-8, whatever the user says of the file of old. */
bool Was_Converted(const Text_Scope& scope, const Evidence& evidence)
{
    return scope.terms == UTF_8_Term && evidence.is_utf_8;
}

void Declare_As_Told(Data_Set& set, std::vector<Text_Scope>& scopes,
                     const std::vector<Evidence>& evidence, const Heal_Options& options,
                     Findings& findings)
{
    const std::string terms = Read_Character_Terms(options.charset).value;
    For_Each_Scope(set, scopes, [&](Text_Scope& scope, const Path& path) {
        const auto index = static_cast<std::size_t>(&scope - scopes.data());
        const bool stays = scope.is_former || scope.Holds_Items() || scope.terms == terms ||
                           (options.to_utf8 && Was_Converted(scope, evidence[index]));
        if (!stays) {
            Change_Declaration(set, scope, path, terms, "the character set is declared as told",
                               findings);
        }
    });
}

void Check_Texts(const Data_Set& set, const std::vector<Text_Scope>& scopes, Findings& findings)
{
    For_Each_Text(set, [&](const DICOM_List& record, const Path& path, std::size_t scope) {
        if (!Is_Plain(set, record) && !Is_All_Valid(set, record, scopes[scope].characters)) {
            findings.Report(Fault::Character_Set_Bytes, Level::Kept, At(record, path),
                            "the text holds bytes that are no characters of its character set");
        }
    });
}

}  // namespace

void Heal_Character_Sets(Data_Set& set, const Heal_Options& options, Findings& findings,
                         const Text_Contents& contents)
{
    std::vector<Text_Scope> scopes = Text_Scopes_Of(set, contents);
    if (options.charset.empty()) {
        For_Each_Scope(set, scopes, [&](Text_Scope& scope, const Path& path) {
            Respell(set, scope, path, findings);
        });
    }
    const std::vector<Evidence> evidence =
        Evidence_Of(set, scopes, contents.letters, options.without_private);
    if (options.charset.empty()) {
        Declare_UTF_8(set, scopes, evidence, findings);
    } else {
        Declare_As_Told(set, scopes, evidence, options, findings);
    }
    const bool is_plain = std::none_of(evidence.begin(), evidence.end(),
                                       [](const Evidence& texts) { return texts.has_letters; });
    if (!is_plain) {
        Check_Texts(set, scopes, findings);
    }
    if (options.to_utf8) {
        Convert_To_UTF_8(set, scopes, options.without_private, findings);
    }
}

}  // namespace lib_mend
