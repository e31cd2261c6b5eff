// How much of a damaged file is there after mending: counted against the sound file that the fault was
// put into, by a reader that shares nothing with the code that mends.
#ifndef TESTS_RECOVERY_H
#define TESTS_RECOVERY_H

#include "support/fault_generator.h"
#include "support/mend_in_memory.h"

#include <string>
#include <vector>

struct Recovery {
    /** Elements with a value outside the damaged one, and those of them that came back as they were. */
    std::size_t wanted = 0;
    std::size_t recovered = 0;
    /** The pixel data: there are any outside the damaged element, and they came back. */
    bool has_picture = false;
    bool picture_recovered = false;
    double Fraction() const
    {
        return wanted == 0 ? 1 : static_cast<double>(recovered) / static_cast<double>(wanted);
    }
    /** Something was said. */
    bool said = false;
    /** What is missing or has another value, a path a line. */
    std::string missing;
};

/** Compares what a file held before a fault was put into it with what it holds after mending. */
Recovery Recovery_Of(const Fault_Case& fault, const Mended_File& mended);

struct Kind_Of_Fault_Count {
    std::string kind;
    std::size_t cases = 0;
    double recovered = 0;
    double worst = 1;
    /** What a plain reader gets of the damaged file itself, and of what a converter makes of it. */
    double read_plainly = 0;
    double converted = 0;
    std::size_t pictures_read_plainly = 0;
    std::size_t pictures_converted = 0;
    std::size_t pictures = 0;
    std::size_t pictures_recovered = 0;
    std::size_t unsaid = 0;

    /** Of a sum over all cases. */
    double Average(double sum) const
    {
        return cases == 0 ? 1 : sum / static_cast<double>(cases);
    }
    void Add(const Recovery& recovery, const Recovery& plainly, const Recovery& conversion);
};

/** The counts of all kinds over a list of sound files; the last row is that of all. */
std::vector<Kind_Of_Fault_Count> Count_Recovery(const std::vector<Sound_File>& files, int places);

#endif
