// What is wrong with a command line, in words that help to mend it.
#ifndef TOOLS_DICOM_MEND_COMMAND_FAULTS_H
#define TOOLS_DICOM_MEND_COMMAND_FAULTS_H

#include "suggestions.h"

#include <CLI/CLI.hpp>

#include <string>
#include <utility>
#include <vector>

namespace dicom_mend {

/** Says which command or option there is not, and which there is; empty when all are there. */
std::string Unknown_Word(const CLI::App& app, const std::vector<std::string>& words);

/** What to say of operands that a command has no place for. */
std::string Word_Too_Many(const CLI::App& command);

/** What to say where the parser misses a value, or has too many: "--only: 1 required TEXT missing". */
std::string Wrong_Number(const CLI::App& command, const std::string& what);

/**
 * Takes the names of an option's values; others are told with those that there are. The validator's own
 * name lists them, for the completion of words.
 */
template <class Value>
CLI::Validator Choice(const std::vector<std::pair<const char*, Value>>& choices)
{
    const auto take = [choices](std::string& text) {
        std::vector<std::string> names;
        for (const auto& [name, value] : choices) {
            if (text == name) {
                text = std::to_string(static_cast<int>(value));
                return std::string();
            }
            names.emplace_back(name);
        }
        std::string all;
        for (std::size_t i = 0; i < names.size(); ++i) {
            all += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
        }
        return "\"" + text + "\" has to be " + all + Suggestion(text, names);
    };
    std::string listed;
    for (const auto& [name, value] : choices) {
        listed += (listed.empty() ? "" : "|") + std::string(name);
    }
    return CLI::Validator(take, "", listed);
}

}  // namespace dicom_mend

#endif
