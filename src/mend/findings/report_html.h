// Findings as one page of HTML for people: it refers to nothing outside itself, holds no script, and
// whatever files hold is text in it.
#ifndef LIB_MEND_REPORT_HTML_H
#define LIB_MEND_REPORT_HTML_H

#include "mend/findings/faults.h"
#include "mend/io/source.h"

#include <array>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace lib_mend {

/** The bytes of the header that a finding is about; empty where its place does not hold one. */
std::string Header_Bytes(const Source& source, const Finding& finding);

/** A finding and the bytes of its header. */
struct Finding_In_Page {
    const Finding* finding;
    std::string header;
};

/**
 * A page made piece by piece: what the parts return one after the other is the document. Of each file its
 * name and the number of its findings are kept, for the summary, which the page shows in front.
 */
class Html_Page {
public:
    /** @param show_values  also those that may identify a person */
    explicit Html_Page(bool show_values) : show_values_(show_values)
    {
    }

    static std::string Head();
    /** Counts a finding that the page may leave out. */
    void Count(const std::string& file, const Finding& finding);
    /** @param study  its UID; empty when it is not known */
    void Belongs_To(const std::string& file, const std::string& study);
    /** The findings of a file; may come more than once for a file. */
    std::string Findings_Of(const std::string& file, const std::vector<Finding_In_Page>& findings);
    /** Adds a table to the summary; a column whose title begins with "#" holds numbers. */
    void Add_Table(const std::string& title, const std::vector<std::string>& columns,
                   const std::vector<std::vector<std::string>>& rows);
    /** @param complete  false when a file could not be read */
    std::string Tail(bool complete) const;

private:
    /** Findings by severity. */
    using Counts = std::array<std::size_t, 3>;

    struct File {
        std::string name;
        Counts counts = {};
        std::size_t study = 0;
        bool has_section = false;
    };
    struct Kind_Count {
        std::size_t findings = 0;
        std::size_t files = 0;
        /** The file that was counted last. */
        std::size_t last = 0;
    };

    File& File_Of(const std::string& name);
    std::string Row(const Finding_In_Page& each) const;
    std::string Kind_Table() const;
    std::string Study_Table() const;
    std::string File_Table() const;

    bool show_values_;
    std::vector<File> files_;
    std::unordered_map<std::string, std::size_t> numbers_;
    /** UIDs; the first is none. */
    std::vector<std::string> studies_ = {""};
    std::unordered_map<std::string, std::size_t> study_numbers_ = {{"", 0}};
    std::map<std::pair<Severity, const Finding_Kind*>, Kind_Count> kinds_;
    std::string tables_;
};

}  // namespace lib_mend

#endif
