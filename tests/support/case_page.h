// Cases of a test as rows of text, beside the test: NAME.cases.
//
//     # what the next rows show
//     [table]
//     $name = a text that many rows hold
//     field | field | " a field with blanks at its ends " | $name
//
// In a field, %0A stands for a byte, %n for the end of a line, %(text*16) for a text 16 times, and $name
// for what was set above. Fields left out at the end are empty.
#ifndef TESTS_CASE_PAGE_H
#define TESTS_CASE_PAGE_H

#include <Lib_DICOM/Lib_DICOM.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

class Case_Row {
public:
    explicit Case_Row(std::vector<std::string> fields) : fields_(std::move(fields))
    {
    }
    const std::string& operator[](std::size_t column) const
    {
        static const std::string none;
        return column < fields_.size() ? fields_[column] : none;
    }
    /** A number in C's notation; 0 where nothing stands. */
    int Number(std::size_t column) const
    {
        return static_cast<int>(std::strtoll((*this)[column].c_str(), nullptr, 0));
    }
    unsigned short VR(std::size_t column) const
    {
        return DICOM_VR((*this)[column].at(0), (*this)[column].at(1));
    }
    /** The text, or null where "null" stands. */
    const char* Text(std::size_t column) const
    {
        return (*this)[column] == "null" ? nullptr : (*this)[column].c_str();
    }
    std::size_t Size() const
    {
        return fields_.size();
    }

private:
    std::vector<std::string> fields_;
};

/** A page that is being read. */
class Case_Page {
public:
    explicit Case_Page(const std::string& name) : lines_(std::string(TEST_PAGES "/") + name)
    {
    }
    /** Goes to the next row of a table. */
    bool Next(const std::string& table, std::vector<std::string>& fields)
    {
        for (std::string line; std::getline(lines_, line);) {
            ++number;
            if (line.starts_with("[") && line.ends_with("]")) {
                table_ = line.substr(1, line.size() - 2);
            } else if (line.starts_with("$") && line.find(" = ") != line.npos) {
                const std::size_t equals = line.find(" = ");
                names_[line.substr(1, equals - 1)] = Read(line.substr(equals + 3));
            } else if (!line.empty() && line[0] != '#' && (table.empty() || table_ == table)) {
                Split(line, fields);
                return true;
            }
        }
        return false;
    }

    int number = 0;

private:
    void Split(const std::string& line, std::vector<std::string>& fields) const
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
    std::string Read(const std::string& text) const
    {
        std::string read;
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (text[at] == '$') {
                std::size_t end = at + 1;
                while (end < text.size() && (std::isalpha(text[end]) != 0 || text[end] == '_')) {
                    ++end;
                }
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

    std::ifstream lines_;
    std::string table_;
    std::map<std::string, std::string> names_;
};

/** Visits the rows of a table, or of all where none is named, which have so many columns at the most. */
template <class Visit>
void For_Each_Case(const std::string& name, const std::string& table, std::size_t columns,
                   const Visit& visit)
{
    Case_Page page(name);
    std::vector<std::string> fields;
    bool has_rows = false;
    while (page.Next(table, fields)) {
        const testing::ScopedTrace trace(name.c_str(), page.number, "of the cases");
        EXPECT_LE(fields.size(), columns);
        visit(Case_Row(fields));
        has_rows = true;
    }
    EXPECT_TRUE(has_rows) << "no table " << table << " in " << name;
}

#endif
