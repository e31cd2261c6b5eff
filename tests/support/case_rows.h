// Cases of a test as rows of text, beside the test: NAME.cases.
//
//     # what the next rows show
//     [table]
//     $name = a text that many rows hold
//     field | field | " a field with blanks at its ends " | $name
//
// In a field, %0A stands for a byte, %n for the end of a line, %(text*16) for a text 16 times, and $name
// in small letters for what was set above. Fields left out at the end are empty.
#ifndef TESTS_CASE_ROWS_H
#define TESTS_CASE_ROWS_H

#include <Lib_DICOM/Lib_DICOM.h>

#include <cstdlib>
#include <fstream>
#include <map>
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
    /** A tag "gggg,eeee". */
    unsigned int Tag(std::size_t column) const
    {
        const std::string& text = (*this)[column];
        return static_cast<unsigned int>(
            std::stoul(text.substr(0, 4) + text.substr(5, 4), nullptr, 16));
    }
    /** A VR, or 0 for "--". */
    unsigned short VR(std::size_t column) const
    {
        const std::string& text = (*this)[column];
        return text == "--" ? 0 : DICOM_VR(text.at(0), text.at(1));
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
    /** The page of a path below tests/. */
    explicit Case_Page(const std::string& name);
    /** Goes to the next row of a table, or of any where none is named. */
    bool Next(const std::string& table, std::vector<std::string>& fields);

    int number = 0;

private:
    void Split(const std::string& line, std::vector<std::string>& fields) const;
    std::string Read(const std::string& text) const;

    std::ifstream lines_;
    std::string table_;
    std::map<std::string, std::string> names_;
};

#endif
