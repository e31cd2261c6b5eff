// Code tables: text files with a coded concept a line.
#ifndef LIB_DICOM_SRC_DEFINITIONS_CODE_TABLE_H
#define LIB_DICOM_SRC_DEFINITIONS_CODE_TABLE_H

#include "frame/c_memory.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace lib_dicom {

/** One column of a table. Its texts come from the C heap, since records take them over. */
class Code_Column {
public:
    /** What memory messages call the array and its texts. */
    struct Names {
        const char* array;
        const char* text;
    };

    explicit Code_Column(const Names& names) : names_(names)
    {
    }
    Code_Column(const Code_Column&) = delete;
    Code_Column& operator=(const Code_Column&) = delete;
    ~Code_Column();

    /** Appends a copy of a text, null for an empty one. False after the memory message. */
    bool Add(std::string_view text);
    /** A text, "" for none. */
    const char* operator[](std::size_t line) const
    {
        return texts_[line] != nullptr ? texts_[line] : "";
    }
    /** Hands a text over. */
    char* Take(std::size_t line);

private:
    Names names_;
    std::size_t count_ = 0;
    char** texts_ = nullptr;
};

/** The entries of a table in file order. */
class Code_Table {
public:
    struct Entry {
        /** Its line in the file, from 1. */
        int line;
        /** How well it fits a name; 0 when it does not. */
        int score;
    };

    /** Reads a table of the definition directory. False when it cannot be read. */
    bool Read(const char* name);
    /** Scores the entries for a name. False after a message on a word that is too long. */
    bool Score(std::string_view name);

    const std::string& Name() const
    {
        return name_;
    }
    const std::vector<Entry>& Entries() const
    {
        return entries_;
    }

    Code_Column scheme{{"coding_scheme", "coding_scheme[nb_lines]"}};
    Code_Column value{{"code_value", "code_value[nb_lines]"}};
    Code_Column meaning{{"code_meaning", "code_meaning[nb_lines]"}};

private:
    bool Read_Lines(std::string_view text);
    bool Add_Entry(std::string_view text, int line);

    std::string name_;
    std::vector<Entry> entries_;
};

/** A text with its ASCII letters in capitals. */
std::string To_Upper(std::string_view text);

}  // namespace lib_dicom

#endif
