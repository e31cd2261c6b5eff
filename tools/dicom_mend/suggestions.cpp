#include "suggestions.h"

#include "mend/findings/attributes.h"
#include "mend/findings/report_text.h"
#include "mend/interface/element_path.h"

#include <algorithm>
#include <utility>

namespace dicom_mend {

namespace {

std::string Small(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

/** The optimal string alignment of two texts, by the rows of its table. */
std::size_t Distance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> before;
    std::vector<std::size_t> last(b.size() + 1);
    for (std::size_t j = 0; j < last.size(); ++j) {
        last[j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::vector<std::size_t> row(b.size() + 1, i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, changed});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        before = std::exchange(last, std::move(row));
    }
    return last[b.size()];
}

/** Who remembers a part of a name gets those that hold it, the shortest first. */
std::vector<std::string> Holding(const std::string& part, const std::vector<std::string>& names)
{
    constexpr std::size_t Shortest = 3;
    constexpr std::size_t Most = 3;
    std::vector<std::string> holding;
    for (const std::string& name : names) {
        if (part.size() >= Shortest && Small(name).find(part) != name.npos) {
            holding.push_back(name);
        }
    }
    std::stable_sort(
        holding.begin(), holding.end(),
        [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
    holding.resize(std::min(holding.size(), Most));
    return holding;
}

/** Names with words in them that are near a part that is mistyped; @param part  in small letters */
std::vector<std::string> With_Words_Near(const std::string& part,
                                         const std::vector<std::string>& names)
{
    constexpr std::size_t Most = 3;
    constexpr std::size_t Shortest = 4;
    std::vector<std::string> near;
    std::size_t least = part.size() / 3;
    for (const std::string& name : names) {
        const std::string small = Small(name);
        for (std::size_t at = 0; part.size() >= Shortest && at < small.size(); ++at) {
            const bool is_begin = at == 0 || small[at - 1] == ' ' || small[at - 1] == '-';
            if (!is_begin || small.size() - at + least < part.size()) {
                continue;
            }
            const std::size_t distance = Distance(part, small.substr(at, part.size()));
            if (distance < least) {
                near.clear();
                least = distance;
            }
            if (distance == least && (near.empty() || near.back() != name)) {
                near.push_back(name);
            }
        }
    }
    std::stable_sort(near.begin(), near.end(), [](const std::string& a, const std::string& b) {
        return a.size() < b.size();
    });
    near.resize(std::min(near.size(), Most));
    return near;
}

/** A text without the "0x" in front of its numbers. */
std::string Without_Marks(std::string text)
{
    for (std::size_t mark = text.find("0x"); mark != text.npos; mark = text.find("0x", mark)) {
        text.erase(mark, 2);
    }
    return text;
}

/** Digits of a tag in another form than the usual ones: "0010.0010", "010,0010", "0x00100010". */
bool Looks_Like_Tag(const std::string& tag)
{
    const std::string text = Without_Marks(tag);
    return text.find_first_not_of("0123456789abcdefABCDEF,.:()[] ") == text.npos &&
           std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }) > 2;
}

}  // namespace

std::vector<std::string> Nearest(const std::string& text, const std::vector<std::string>& names)
{
    constexpr std::size_t Most = 3;
    constexpr std::size_t Longest = 128;
    std::vector<std::string> nearest;
    std::size_t least = std::max<std::size_t>(1, text.size() / 3);
    if (text.size() > Longest) {
        return nearest;
    }
    for (const std::string& name : names) {
        const std::size_t longer = std::max(name.size(), text.size());
        if (longer - std::min(name.size(), text.size()) > least) {
            continue;
        }
        const std::size_t distance = Distance(Small(text), Small(name));
        if (distance < least) {
            nearest.clear();
            least = distance;
        }
        if (distance == least && nearest.size() < Most) {
            nearest.push_back(name);
        }
    }
    nearest = nearest.empty() ? Holding(Small(text), names) : nearest;
    return nearest.empty() ? With_Words_Near(Small(text), names) : nearest;
}

std::string Suggestion(const std::string& text, const std::vector<std::string>& names)
{
    return Listed(Nearest(text, names));
}

std::string Listed(const std::vector<std::string>& nearest)
{
    std::string suggestion;
    for (std::size_t i = 0; i < nearest.size(); ++i) {
        const bool is_last = i + 1 == nearest.size();
        suggestion += (i == 0 ? "" : is_last ? " or " : ", ") + nearest[i];
    }
    return suggestion.empty() ? suggestion : "; did you mean " + suggestion + "?";
}

std::string Tag_Suggestion(const std::string& text)
{
    constexpr std::size_t Half = 4;
    std::string tag = Without_Marks(Small(text));
    std::replace_if(
        tag.begin(), tag.end(), [](char c) { return c == '.' || c == ':' || c == ' '; }, ',');
    std::erase_if(tag,
                  [](char c) { return (c < '0' || c > '9') && (c < 'a' || c > 'f') && c != ','; });
    if (tag.find(',') == tag.npos && tag.size() >= Half) {
        tag.insert(Half, ",");
    }
    // Zeros in front are left out in other places.
    const std::size_t comma = tag.find(',');
    if (comma != tag.npos && comma > 0 && comma < Half && tag.find(',', comma + 1) == tag.npos) {
        const std::string element = tag.substr(comma + 1);
        const std::string whole = std::string(Half - comma, '0') + tag.substr(0, comma) + "," +
                                  std::string(Half - std::min(Half, element.size()), '0') + element;
        const auto parsed = lib_mend::Parse_Tag_Digits(whole);
        tag = parsed && lib_mend::Find_Attribute(*parsed) ? whole : tag;
    }
    if (lib_mend::Parse_Tag_Digits(tag) && !lib_mend::Parse_Tag_Digits(text)) {
        return "; did you mean " + tag + "?";
    }
    std::vector<std::string> tags;
    for (const std::string& keyword : lib_mend::Keywords()) {
        tags.push_back(lib_mend::Tag_Text(lib_mend::Tag_Of_Keyword(keyword).value()));
    }
    std::sort(tags.begin(), tags.end());
    // The group is seldom what was mistyped.
    std::stable_partition(tags.begin(), tags.end(), [&](const std::string& each) {
        return each.substr(0, Half) == tag.substr(0, Half);
    });
    return Suggestion(tag, tags);
}

namespace {

std::string No_Attribute(const std::string& text)
{
    return text + " is neither a tag nor a keyword" +
           (Looks_Like_Tag(text) ? Tag_Suggestion(text) : Suggestion(text, lib_mend::Keywords()));
}

}  // namespace

std::string Path_Fault(const std::string& text)
{
    if (lib_mend::Parse_Path(text)) {
        return {};
    }
    std::size_t begin = 0;
    for (std::size_t slash = text.find('/'); slash != text.npos; slash = text.find('/', begin)) {
        const std::string step = text.substr(begin, slash - begin);
        const std::string name = step.substr(0, step.find('['));
        if (!lib_mend::Parse_Tag(name)) {
            return No_Attribute(name);
        }
        if (!lib_mend::Parse_Path(step + "/00080018")) {
            return step + " has to name an item, as " + name + "[0] does";
        }
        begin = slash + 1;
    }
    const std::string name = text.substr(begin);
    const std::size_t bracket = name.find(']');
    if (bracket != name.npos) {
        return bracket + 1 == name.size()
                   ? name + " is an item; an attribute in it has to follow, behind a slash"
                   : name + " lacks the slash behind the item";
    }
    return No_Attribute(name);
}

}  // namespace dicom_mend
