// Sound files of all syntaxes, and the faults of the wild put into them by program: every case knows
// which element it damaged, so that a test can tell what else was lost.
#ifndef TESTS_FAULT_GENERATOR_H
#define TESTS_FAULT_GENERATOR_H

#include "support/plain_reader.h"

#include <functional>
#include <string>
#include <vector>

struct Sound_File {
    std::string name;
    std::string bytes;
    Plain_File plain;
};

struct Fault_Case {
    /** What a user would call it: "VR in small letters". */
    std::string kind;
    const Sound_File* sound = nullptr;
    std::string bytes;
    /** Path of the element that is damaged; empty for none. What is inside it counts as outside. */
    std::string damaged;
};

/** Made data sets in implicit and explicit VR, both byte orders, native and encapsulated. */
const std::vector<Sound_File>& Made_Sound_Files();

/** A file that a plain reader reads without a fault; `plain.error` tells whether it is one. */
Sound_File As_Sound_File(std::string name, std::string bytes);

/** Names of all kinds of faults, in the order of the table. */
std::vector<std::string> Fault_Kinds();

/**
 * Calls `visit` with every case: each kind at up to `places` elements that it applies to, which are
 * spread over the file.
 */
void For_Each_Fault(const Sound_File& sound, int places,
                    const std::function<void(const Fault_Case&)>& visit);

#endif
