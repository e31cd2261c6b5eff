// The promises of mending, as properties that any file can be held against. What a file holds is taken
// from the tree that reading gives, what the output holds from a reader that shares nothing with the
// code that mends; the two are matched by path, and against the findings.
#ifndef TESTS_PROMISES_H
#define TESTS_PROMISES_H

#include "support/mend_in_memory.h"

#include <string>
#include <vector>

/** All combinations of output options: four syntaxes, group lengths, defined lengths. */
std::vector<lib_mend::Mend_Options> All_Output_Options();

/** "explicit-big, group lengths" and so on. */
std::string Options_Text(const lib_mend::Mend_Options& options);

/**
 * Mends a file twice and checks it, and tells which promise does not hold, a line each: an element or
 * value that is not in the output and no error names it; a value that changed though no finding names
 * it; an output that a plain reader refuses, or that changes when it is mended again; findings of
 * checking that differ from those of mending.
 */
std::string Broken_Promises(const std::string& file, const lib_mend::Mend_Options& options);

#endif
