// Gathers what the lines of definition files say of each attribute, module by module.
#ifndef LIB_DICOM_SRC_DEFINITIONS_RULE_COLLECTOR_H
#define LIB_DICOM_SRC_DEFINITIONS_RULE_COLLECTOR_H

#include "definitions/rule_store.h"

#include <string>
#include <unordered_map>

namespace lib_dicom {

class Rule_Collector {
public:
    /** The module that lines belong to. */
    struct Part {
        /** -1 outside of all. */
        int index = -1;
        /** The level that it was included at. */
        int depth = -1;
        /** The lines stand in its own file, not in one that it includes. */
        bool is_file = false;

        bool Is_Module() const
        {
            return index >= 0;
        }
    };
    /** What one line says. */
    struct Line {
        /** 0 for none. */
        unsigned short type = 0;
        bool is_own_level = false;
        Clauses clauses;
        const char* file = "";
        int line = 0;
    };

    /** Begins a module. */
    Part Open(const DICOM_Part& part, int depth);
    /** Names a module, if the line stands in its own file. */
    void Name(const Part& part, const char* name);
    /**
     * Adds a line. Inside a module it changes what that module has said before; outside of all it
     * changes what any has said, clause by clause, and type 3 takes the conditions back.
     */
    void Add(const DICOM_List* record, const Part& part, const Line& line);
    /** The name of a file, in the memory of the arena. */
    const char* File_Name(Rule_Arena& arena, const std::string& file);
    void Give_To(Rule_Store& store, const DICOM_List* list);

private:
    Rule_Store::Parts parts_;
    std::unordered_map<const DICOM_List*, Rule_Store::Rules> rules_;
    std::unordered_map<std::string, const char*> files_;
};

}  // namespace lib_dicom

#endif
