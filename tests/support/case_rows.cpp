#include "support/case_rows.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace {

/** Where a name in small letters ends that begins at a place. */
std::size_t End_Of_Name(const std::string& text, std::size_t at)
{
    while (at < text.size() && (std::islower(text[at]) != 0 || text[at] == '_')) {
        ++at;
    }
    return at;
}

}  // namespace

Case_Page::Case_Page(const std::string& name) : lines_(std::string(TEST_PAGES "/") + name)
{
}

bool Case_Page::Next(const std::string& table, std::vector<std::string>& fields)
{
    for (std::string line; std::getline(lines_, line);) {
        ++number;
        if (line.starts_with("[") && line.ends_with("]")) {
            table_ = line.substr(1, line.size() - 2);
        } else if (line.starts_with("$") && line.compare(End_Of_Name(line, 1), 3, " = ") == 0) {
            const std::size_t end = End_Of_Name(line, 1);
            names_[line.substr(1, end - 1)] = Read(line.substr(end + 3));
        } else if (!line.empty() && line[0] != '#' && (table.empty() || table_ == table)) {
            Split(line, fields);
            return true;
        }
    }
    return false;
}

void Case_Page::Split(const std::string& line, std::vector<std::string>& fields) const
{
    fields.clear();
    for (std::size_t at = 0; at <= line.size();) {
        const std::size_t end = std::min(line.find('|', at), line.size());
        std::string field = line.substr(at, end - at);
        field.erase(field.find_last_not_of(' ') + 1);
        field.erase(0, field.find_first_not_of(' '));
        const bool is_quoted = field.size() > 1 && field.front() == '"' && field.back() == '"';
        fields.push_back(Read(is_quoted ? field.substr(1, field.size() - 2) : field));
        at = end + 1;
    }
}

std::string Case_Page::Read(const std::string& text) const
{
    std::string read;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '$') {
            const std::size_t end = End_Of_Name(text, at + 1);
            read += names_.at(text.substr(at + 1, end - at - 1));
            at = end - 1;
        } else if (text[at] != '%') {
            read += text[at];
        } else if (text.at(at + 1) == 'n') {
            read += '\n';
            ++at;
        } else if (text[at + 1] == '(') {
            const std::size_t end = text.find(')', at);
            const std::size_t times = text.rfind('*', end);
            const std::string part = Read(text.substr(at + 2, times - at - 2));
            for (int i = std::stoi(text.substr(times + 1)); i > 0; --i) {
                read += part;
            }
            at = end;
        } else {
            std::size_t digits = 0;
            read += static_cast<char>(std::stoi(text.substr(at + 1, 2), &digits, 16));
            if (digits != 2) {
                throw std::invalid_argument(text);
            }
            at += 2;
        }
    }
    return read;
}
