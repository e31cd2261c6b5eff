#include "mend/verify/about.h"

#include "mend/findings/faults.h"
#include "mend/verify/condition.h"

#include <string>
#include <string_view>

namespace lib_mend {

namespace {

bool Is_Capital(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool Is_Letter(char c)
{
    return Is_Capital(c) || (c >= 'a' && c <= 'z');
}

/** "Referenced " in front of "Image Sequence": the name has begun before. */
bool Ends_With_Word_Of_Name(std::string_view text)
{
    if (!text.ends_with(' ')) {
        return !text.empty() && Is_Letter(text.back());
    }
    text.remove_suffix(1);
    const std::size_t word = text.rfind(' ') == text.npos ? 0 : text.rfind(' ') + 1;
    // Sentences begin with a capital too.
    return word != 0 && word < text.size() && Is_Capital(text[word]);
}

/** " Sequence" behind "Modality LUT", " & Width Explanation" behind "Window Center". */
bool Begins_With_Word_Of_Name(std::string_view text)
{
    return (!text.empty() && Is_Letter(text[0])) || text.starts_with(" & ") ||
           (text.size() > 1 && text[0] == ' ' && Is_Capital(text[1]));
}

/** Whether a text has a name of an attribute, and not only a longer one that it is a part of. */
bool Has_Name(std::string_view text, std::string_view name)
{
    for (std::size_t at = text.find(name); at != text.npos; at = text.find(name, at + 1)) {
        if (!Ends_With_Word_Of_Name(text.substr(0, at)) &&
            !Begins_With_Word_Of_Name(text.substr(at + name.size()))) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool Is_About(const Finding& finding, Tag tag)
{
    const std::string number = Tag_Text(tag);
    for (const std::string* const text : {&finding.path, &finding.text, &finding.before}) {
        if (text->find(number) != text->npos) {
            return true;
        }
    }
    return (finding.has_tag && finding.tag == tag) || Has_Name(finding.text, Spoken_Name(tag)) ||
           Has_Name(Kind_Of(finding).rule, Spoken_Name(tag));
}

}  // namespace lib_mend
