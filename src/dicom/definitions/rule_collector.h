// Gathers what the lines of definition files say of each attribute, module by module.
#ifndef LIB_DICOM_SRC_DEFINITIONS_RULE_COLLECTOR_H
#define LIB_DICOM_SRC_DEFINITIONS_RULE_COLLECTOR_H

#include "definitions/rule_store.h"

#include <vector>

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
        const Clauses& clauses;
        const char* file = "";
        int line = 0;
    };

    /** Begins a module. */
    Part Open(const DICOM_Part& part, int depth);
    /** Names a module, if the line stands in its own file. */
    void Name(const Part& part, const char* name);
    /** The rules of one record. */
    struct Chain {
        static constexpr int None = -1;

        int first = None;
        int last = None;
    };
    /**
     * Adds a line. Inside a module it changes what that module has said before; outside of all it
     * changes what any has said, clause by clause, and type 3 takes the conditions back.
     */
    void Add(Chain& chain, const Part& part, const Line& line);
    /** The rules of a chain, until it is asked for those of another one. */
    const Rule_Store::Rules& Rules_Of(const Chain& chain);
    Rule_Store::Parts& Parts()
    {
        return parts_;
    }

private:
    /** A rule, and the next one of its record. */
    struct Link {
        DICOM_Rule rule = {};
        int next = Chain::None;
    };
    Link& At(int index)
    {
        return links_[static_cast<std::size_t>(index)];
    }

    Rule_Store::Parts parts_;
    std::vector<Link> links_;
    Rule_Store::Rules rules_;
};

}  // namespace lib_dicom

#endif
