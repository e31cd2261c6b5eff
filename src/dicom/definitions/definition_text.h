// The text of definition files: lines, the words in them, and the report of their faults.
#ifndef LIB_DICOM_SRC_DEFINITIONS_DEFINITION_TEXT_H
#define LIB_DICOM_SRC_DEFINITIONS_DEFINITION_TEXT_H

#include "frame/report.h"

#include <climits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace lib_dicom {

/** What is wrong with a line. Thrown inside the readers; Reading::Lines reports it. */
struct Definition_Fault {
    /** Who says so. */
    Place place;
    /** The byte of the line, from 0. */
    std::size_t column;
    std::string text;
};

/** A piece of a file as a message can show it: in quotes, of bounded length, printable. */
std::string Shown(std::string_view text);

/** The letters of a text in UTF-8. */
std::size_t Letters_In(std::string_view text);

/** "(0008,0060)" */
std::string Shown_Tag(unsigned short group, unsigned short element);

/** Reads one line from left to right. */
class Line_Cursor {
public:
    /** @param number  of the line in its file, from 1 */
    explicit Line_Cursor(std::string_view line, int number) : line_(line), number_(number)
    {
    }

    /** Refuses a line that is too long or holds control characters. */
    void Check() const;
    /** Skips blanks; true at the end of the line and at a comment. */
    bool At_End();
    void Expect_End();
    /** Skips blanks; the character that stands there, NUL at the end. */
    char Peek()
    {
        return At_End() ? '\0' : line_[at_];
    }
    /** Skips blanks; takes a character if it stands there. */
    bool Take(char character);
    /** Skips blanks; takes a sign of several characters if it stands there. */
    bool Take_Sign(std::string_view sign);
    /** Skips blanks; takes a word of small letters if that very word stands there. */
    bool Take_Name(std::string_view name);
    /** Takes the characters from here that are among the given ones. */
    std::string_view Run(std::string_view characters);
    /** Tells whether a tag begins here, and no parenthesis. */
    bool Is_Tag() const
    {
        return line_.size() - at_ > 5 && line_[at_] == '(' && line_[at_ + 5] == ',';
    }
    /** Skips blanks; takes what stands up to the next blank, quote or comment; may be empty. */
    std::string_view Word();
    /** Takes a text in quotes; two quotes inside stand for one. */
    std::string Quoted(const char* what);
    /** Two hexadecimal numbers of four digits each, "(0029,1008)"; `x` is allowed where asked. */
    std::string_view Tag();

    std::size_t Column() const
    {
        return at_;
    }
    int Number() const
    {
        return number_;
    }
    /** Where the line stands in memory, which tells it from all others. */
    const char* Address() const
    {
        return line_.data();
    }
    /** What was taken since a column, without the blanks behind it. */
    std::string_view Text_From(std::size_t column) const;
    /** Throws "expected ..., found ..." for the word that begins at a column. */
    [[noreturn]] void Expected(Place place, const std::string& what, std::size_t column) const;
    [[noreturn]] void Expected(Place place, const std::string& what) const
    {
        Expected(place, what, at_);
    }

private:
    std::string_view line_;
    int number_;
    std::size_t at_ = 0;
};

/** Half a tag: four hexadecimal digits; none when a character is no such digit. */
std::optional<unsigned short> Hex_Number(std::string_view digits);

/** A VR of two letters, also one that only the current PS3.5 has. Throws when it is none. */
unsigned short Read_VR(const Line_Cursor& cursor, std::string_view word, std::size_t column);

/** One run over definition files: what it has reported and how much it may still read. */
class Reading {
public:
    explicit Reading(HWND handle) : handle_(handle)
    {
    }

    /**
     * Hands the lines of a text that are neither empty nor comments to `read`, and reports the
     * faults that it throws: each once, however often the file is read in this run.
     */
    template <class Read>
    void Lines(const std::string& file, std::string_view text, Read&& read)
    {
        File& state = files_[file];
        for (int number = 1; !text.empty() && number < state.end; ++number) {
            const std::string_view line = Take_Line(text);
            if (!Charge(file, number, line.size())) {
                return;
            }
            try {
                Line_Cursor cursor(line, number);
                if (!cursor.At_End()) {
                    read(cursor);
                }
            } catch (const Definition_Fault& fault) {
                Report(file, state, number, Letters_In(line.substr(0, fault.column)), fault);
            }
        }
    }
    bool Has_Faults() const
    {
        return has_faults_;
    }

private:
    /** What is known of a file. */
    struct File {
        std::unordered_set<int> faulty_lines;
        /** The line at which reading stops. */
        int end = INT_MAX;
    };

    static std::string_view Take_Line(std::string_view& text);
    /** Counts a line; false when the run has read too much. */
    bool Charge(const std::string& file, int line, std::size_t size);
    /** @param column  in letters, from 0 */
    void Report(const std::string& file, File& state, int line, std::size_t column,
                const Definition_Fault& fault);

    HWND handle_;
    std::unordered_map<std::string, File> files_;
    std::size_t lines_ = 0;
    std::size_t bytes_ = 0;
    bool is_exhausted_ = false;
    bool has_faults_ = false;
};

/** Reports an error of definition files. */
void Report_Definition_Error(HWND handle, Place place, const std::string& text);

}  // namespace lib_dicom

#endif
