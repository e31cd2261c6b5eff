#include "mend/healing/text_conversion.h"

#include "mend/healing/character_terms.h"

namespace lib_mend {

namespace {

bool Stays(const Text_Scope& scope)
{
    return scope.is_former || scope.Holds_Items() || scope.terms == UTF_8_Term;
}

/** Longest value of the VRs whose explicit header has a length of 2 bytes. */
constexpr std::size_t Longest_Short_Text = 65534;

bool Fits_Header(const std::string& text, unsigned short vr)
{
    return vr == VR_UC || vr == VR_UT || text.size() <= Longest_Short_Text;
}

/** A text in UTF-8, without what was padding for the old length and is none for the new one. */
std::optional<std::string> Converted(std::string_view text, unsigned short vr,
                                     const Character_Set& characters)
{
    std::optional<std::string> converted = characters.To_UTF_8_Without_Loss(text, vr);
    if (converted && converted->size() % 2 != 0 && converted->back() == ' ') {
        converted->pop_back();
    }
    return converted;
}

/** Finds the texts that do not convert; false when there are some. */
bool Can_Convert(const Data_Set& set, const std::vector<Text_Scope>& scopes, bool without_private,
                 Findings& findings)
{
    bool all_convert = true;
    const auto take = [&](const DICOM_List& record, const Path& path, std::size_t scope) {
        if (Stays(scopes[scope])) {
            return;
        }
        const Text_Bytes bytes(set, record);
        const std::optional<std::string> text =
            Converted(bytes.View(), VR_Of(record), scopes[scope].characters);
        if (!text) {
            findings.Report(
                Fault::Character_Set_Bytes, Level::Error, At(record, path),
                "the text does not convert to UTF-8 without loss; no text is converted");
        } else if (!Fits_Header(*text, VR_Of(record)) && *text != bytes.View()) {
            findings.Report(Fault::Length, Level::Error, At(record, path),
                            "the text would be too long in UTF-8; no text is converted");
        } else {
            return;
        }
        all_convert = false;
    };
    For_Each_Text_That_Stays(set, without_private, take);
    return all_convert;
}

void Convert_Text(const Data_Set& set, DICOM_List& record, const Path& path,
                  const Character_Set& characters, Findings& findings)
{
    const Text_Bytes bytes(set, record);
    const std::string before(bytes.View());
    const std::string after = *Converted(before, VR_Of(record), characters);
    if (after != before) {
        findings.Report(Fault::Character_Set, Level::Change, At(record, path),
                        "the text is converted to UTF-8", {before, after});
        Set_Text(record, after);
    }
}

}  // namespace

void Convert_To_UTF_8(Data_Set& set, std::vector<Text_Scope>& scopes, bool without_private,
                      Findings& findings)
{
    if (!Can_Convert(set, scopes, without_private, findings)) {
        return;
    }
    const auto convert = [&](DICOM_List& record, const Path& path, std::size_t scope) {
        if (!Stays(scopes[scope])) {
            Convert_Text(set, record, path, scopes[scope].characters, findings);
        }
    };
    For_Each_Text_That_Stays(set, without_private, convert);
    For_Each_Scope(set, scopes, [&](Text_Scope& scope, const Path& path) {
        if (Stays(scope)) {
            return;
        }
        const Place nowhere = {true, Character_Set_Tag, VR_CS, &path};
        findings.Report(Fault::Character_Set, Level::Change,
                        scope.declaration != nullptr ? At(*scope.declaration, path) : nowhere,
                        "the texts are UTF-8", {scope.terms, UTF_8_Term});
        Declare(set, scope, UTF_8_Term);
    });
}

}  // namespace lib_mend
