// What a word of a command line may become, for the shells' completion.
#ifndef TOOLS_DICOM_MEND_WORD_COMPLETION_H
#define TOOLS_DICOM_MEND_WORD_COMPLETION_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace dicom_mend {

/**
 * What the last of some words may be, for the scripts of the shells: the first line says whether the shell
 * offers "files" or "folders", ends the "words" with a blank, or keeps them "open" for what follows; each
 * other line is a word, with a tabulator and its description when it has one.
 *
 * @param words  those behind the name of the tool; the last one, maybe empty, is being typed
 */
std::string Completions(CLI::App& app, const std::vector<std::string>& words);

}  // namespace dicom_mend

#endif
