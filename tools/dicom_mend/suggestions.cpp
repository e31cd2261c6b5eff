#include "suggestions.h"

#include "mend/findings/attributes.h"

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
    return nearest;
}

std::string Suggestion(const std::string& text, const std::vector<std::string>& names)
{
    const std::vector<std::string> nearest = Nearest(text, names);
    std::string suggestion;
    for (std::size_t i = 0; i < nearest.size(); ++i) {
        const bool is_last = i + 1 == nearest.size();
        suggestion += (i == 0 ? "" : is_last ? " or " : ", ") + nearest[i];
    }
    return suggestion.empty() ? suggestion : "; did you mean " + suggestion + "?";
}

std::string No_Attribute(const std::string& text)
{
    return text + " is neither a tag nor a keyword" + Suggestion(text, lib_mend::Keywords());
}

}  // namespace dicom_mend
