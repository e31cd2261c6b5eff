#include "command_faults.h"

#include "help_text.h"

#include <algorithm>
#include <iterator>

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
        for (const std::string& name : option->get_snames()) {
            names.push_back("-" + name);
        }
    }
    return names;
}

/** What other programs call the same. */
struct Other_Name {
    const char* other;
    const char* command;
};

constexpr Other_Name Other_Names[] = {
    {"show", "list"},        {"dump", "list"},    {"print", "list"},   {"view", "list"},
    {"validate", "check"},   {"verify", "check"}, {"test", "check"},   {"fix", "mend"},
    {"repair", "mend"},      {"convert", "mend"}, {"compare", "diff"}, {"find", "dict"},
    {"version", "--version"}};

std::string Command_Suggestion(const std::string& name, std::vector<std::string> names)
{
    const std::string suggestion = Suggestion(name, names);
    if (!suggestion.empty()) {
        return suggestion;
    }
    for (const Other_Name& each : Other_Names) {
        names.emplace_back(each.other);
    }
    const std::vector<std::string> nearest = Nearest(name, names);
    const auto* const meant =
        std::find_if(std::begin(Other_Names), std::end(Other_Names), [&](const Other_Name& each) {
            return !nearest.empty() && nearest.front() == each.other;
        });
    return meant != std::end(Other_Names) ? std::string("; did you mean ") + meant->command + "?"
                                          : std::string();
}

bool Is_Letter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/** The first option that a command does not have, in words; @param first  where its words begin */
std::string Unknown_Option(const CLI::App& command, const std::vector<std::string>& words,
                           std::size_t first)
{
    const std::vector<std::string> options = Names_Of_Options(command);
    for (std::size_t i = first; i < words.size() && words[i] != "--"; ++i) {
        const std::string option = words[i].substr(0, words[i].find('='));
        // A number behind a dash may be the value of an option.
        const bool is_short = option.size() == 2 && option[0] == '-' && Is_Letter(option[1]);
        if ((option.starts_with("--") || is_short) &&
            std::find(options.begin(), options.end(), option) == options.end()) {
            const bool is_version =
                command.get_parent() == nullptr && (option == "-V" || option == "-v");
            const std::string suggestion = is_version ? "; did you mean --version?"
                                           : is_short ? ""
                                                      : Suggestion(option, options);
            const bool is_of_commands = command.get_parent() == nullptr && suggestion.empty();
            return option + ": " + command.get_name() + " has no such option" + suggestion +
                   (is_of_commands ? "; those of a command stand behind its name" : "");
        }
    }
    return {};
}

}  // namespace

std::string Unknown_Word(const CLI::App& app, const std::vector<std::string>& words)
{
    if (words.empty()) {
        return "a command is missing; dicom-mend help lists them all";
    }
    if (words.front().starts_with('-')) {
        return Unknown_Option(app, words, 0);
    }
    const std::string& name = words.front();
    const std::vector<std::string> commands = Names_Of_Commands(app);
    if (std::find(commands.begin(), commands.end(), name) == commands.end()) {
        return name + ": there is no such command" + Command_Suggestion(name, commands);
    }
    return Unknown_Option(*app.get_subcommand(name), words, 1);
}

std::string Word_Too_Many(const CLI::App& command)
{
    const std::vector<std::string> words = command.remaining();
    return (words.empty() ? std::string() : words.front() + ": ") + command.get_name() +
           " takes no more than" + Operands(command);
}

std::string Wrong_Number(const CLI::App& command, const std::string& what)
{
    const std::string name = what.substr(0, what.find(':'));
    const CLI::Option* const option =
        name.starts_with('-') ? command.get_option_no_throw(name) : nullptr;
    return option != nullptr ? name + ": " + Operands(*option) + " is missing behind it"
                             : Word_Too_Many(command);
}

}  // namespace dicom_mend
