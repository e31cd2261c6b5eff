// A reader of sound files that shares nothing with the code under test but the data dictionary: it
// tells what a file holds, and refuses whatever a plain reader would stumble over.
#ifndef TESTS_PLAIN_READER_H
#define TESTS_PLAIN_READER_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

struct Plain_Element {
    /** "0040,0275[0]/0008,0100"; fragments are "7fe0,0010[0]" and so on. */
    std::string path;
    /** As it stands in the file; of implicit VR "SQ" or empty. */
    std::string vr;
    /** Empty for sequences. */
    std::string value;
    /** Places in the file: of the tag, of the value, and behind the element with all it holds. */
    std::size_t start = 0;
    std::size_t value_start = 0;
    std::size_t end = 0;
    bool undefined_length = false;
    int depth = 0;
};

struct Plain_File {
    /** What is wrong, empty when the file is sound. */
    std::string error;
    std::string syntax;
    bool is_explicit = true;
    bool is_big = false;
    /** Where the data set begins. */
    std::size_t data_set = 0;
    /** Group 0002 and the data set, in the order of the file. */
    std::vector<Plain_Element> elements;

    /** Values by path; sequences and the file meta information left out. */
    std::map<std::string, std::string> Values() const;
    const Plain_Element* Find(const std::string& path) const;
};

Plain_File Read_Plain(const std::string& bytes);

#endif
