// Files that are told of when the last one is done, for what only all of them together show.
#ifndef TOOLS_DICOM_MEND_ARCHIVE_COMPARISON_H
#define TOOLS_DICOM_MEND_ARCHIVE_COMPARISON_H

#include "archive/file_record.h"
#include "mend/io/spool.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace dicom_mend {

class Comparison {
public:
    /** What was found in a file. */
    struct Compared {
        lib_mend::Findings findings;
        /** As in File_Record. */
        std::vector<std::string> headers = {};
    };
    /** By the path of the file. */
    using By_File = std::multimap<std::string, Compared>;

    Comparison() = default;
    Comparison(const Comparison&) = delete;
    Comparison& operator=(const Comparison&) = delete;
    virtual ~Comparison() = default;

    /** Takes what is compared of a file. */
    virtual void Take(const File_Record& record) = 0;
    /** What all files come to. */
    virtual By_File Compare() = 0;
};

/** A file that waited for all others. */
struct Held_File {
    File_Record record;
    /** An earlier run has put its output in place, and printed what it found. */
    bool is_finished = false;
    bool is_said = false;
    /** The file itself decided what became of it. */
    bool is_final = false;
    /** What the comparison found and no earlier one; the record has it too, behind all else. */
    std::vector<lib_mend::Finding> news;
    std::vector<std::string> news_headers;
    /** An earlier comparison found something else. */
    bool is_other = false;
};

/** What was found waits outside of the memory: an archive has any number of files. */
class Held_Files {
public:
    explicit Held_Files(Comparison& comparison) : comparison_(comparison)
    {
    }

    /** Throws lib_mend::Spool_Failure when there is no room. What the file printed is not kept. */
    void Hold(const File_Record& record, bool is_finished, bool is_said, bool is_final);
    /**
     * Gives the files back in their order.
     *
     * @param is_whole     all files were held, and are compared
     * @param show_values  findings of the comparison keep values that may identify a person
     */
    void Release(bool is_whole, bool show_values, const std::function<void(Held_File&&)>& tell);

private:
    Comparison& comparison_;
    lib_mend::Spool spool_{lib_mend::Spool_Limits().in_memory};
};

}  // namespace dicom_mend

#endif
