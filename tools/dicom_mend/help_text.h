// What --help shows of a command; the manual says it in the same words.
#ifndef TOOLS_DICOM_MEND_HELP_TEXT_H
#define TOOLS_DICOM_MEND_HELP_TEXT_H

#include <CLI/CLI.hpp>

#include <string>

namespace dicom_mend {

bool Is_Shown(const CLI::Option& option);

/** What an option takes, or what the operand that it stands for is called. */
std::string Operands(const CLI::Option& option);

/** The same for all operands of a command, with a blank in front of each. */
std::string Operands(const CLI::App& app);

/** "dicom-mend", or "dicom-mend list": the words that begin its command line. */
std::string Words_Of(const CLI::App& app);

/** Options in two columns that end where terminals do, and operands under the names of the synopsis. */
class Help_Format : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string name) const override;
    std::string make_option(const CLI::Option* option, bool is_positional) const override;
};

}  // namespace dicom_mend

#endif
