#include "command_faults.h"

#include "mend/findings/letters.h"

#include <algorithm>

namespace dicom_mend {

namespace {

std::vector<std::string> Names_Of_Commands(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* const command : app.get_subcommands({})) {
        names.push_back(command->get_name());
    }
    return names;
}

std::vector<std::string> Names_Of_Options(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

}  // namespace

std::string Unknown_Word(const CLI::App& app, const std::vector<std::string>& words)
{
    if (words.empty() || words.front().starts_with('-')) {
        return {};
    }
    const std::string& name = words.front();
    const std::vector<std::string> commands = Names_Of_Commands(app);
    if (std::find(commands.begin(), commands.end(), name) == commands.end()) {
        return lib_mend::Printable(name) + ": there is no such command" +
               Suggestion(name, commands);
    }
    const std::vector<std::string> options = Names_Of_Options(*app.get_subcommand(name));
    for (std::size_t i = 1; i < words.size() && words[i] != "--"; ++i) {
        const std::string option = words[i].substr(0, words[i].find('='));
        if (option.starts_with("--") &&
            std::find(options.begin(), options.end(), option) == options.end()) {
            return lib_mend::Printable(option) + ": " + name + " has no such option" +
                   Suggestion(option, options);
        }
    }
    return {};
}

}  // namespace dicom_mend
