#include "word_completion.h"

#include "definition_names.h"
#include "mend/findings/attributes.h"
#include "mend/findings/faults.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace dicom_mend {

namespace {

using Words = std::vector<std::string>;

/** What is offered, in the form of the answer. */
struct Offer {
    const char* kind = "words";
    Words words;
};

Words Commands_Of(CLI::App& app)
{
    Words words;
    for (CLI::App* const command : app.get_subcommands({})) {
        if (!command->get_group().empty()) {
            words.push_back(command->get_name() + "\t" + command->get_description());
        }
    }
    return words;
}

Words Kinds()
{
    Words words;
    for (const lib_mend::Finding_Kind& kind : lib_mend::All_Kinds()) {
        words.push_back(std::string(kind.name) + "\t" + kind.what);
    }
    return words;
}

Words Named(const std::vector<Definition_Name>& definitions)
{
    Words words;
    for (const Definition_Name& each : definitions) {
        words.push_back(each.name + "\t" + each.title);
    }
    return words;
}

Words Module_Codes()
{
    Words words = Named(Modules());
    words.emplace_back("auto\tthat of the SOP class");
    return words;
}

Words Table_Numbers()
{
    return Named(Tables());
}

Words Assigned_Keywords()
{
    Words words = lib_mend::Keywords();
    for (std::string& word : words) {
        word += "=";
    }
    return words;
}

Words None()
{
    return {};
}

/** How the help calls what options and operands take, and what there is of it. */
struct Operand_Kind {
    std::string_view name;
    const char* kind;
    Words (*words)();
};
constexpr Operand_Kind Operand_Kinds[] = {
    {"FILE", "files", &None},
    {"RUN", "files", &None},
    {"A", "files", &None},
    {"B", "files", &None},
    {"DIR", "folders", &None},
    {"OUT_DIR", "folders", &None},
    {"CODE", "words", &Module_Codes},
    {"TABLE", "words", &Table_Numbers},
    {"KIND", "words", &Kinds},
    {"TAG|PATH|NAME", "words", &lib_mend::Keywords},
    {"TAG|KEYWORD|PATH", "words", &lib_mend::Keywords},
    {"TAG|KEYWORD|PATH=VALUE", "open", &Assigned_Keywords},
};

/** The names of the values of an option that has few; see Choice. */
Words Choices_Of(CLI::Option& option)
{
    Words words;
    try {
        const std::string& names = option.get_validator()->get_name();
        for (std::size_t begin = 0; begin < names.size();) {
            const std::size_t end = std::min(names.find('|', begin), names.size());
            words.push_back(names.substr(begin, end - begin));
            begin = end + 1;
        }
    } catch (CLI::OptionNotFound&) {
        // It has none.
    }
    return words;
}

/** @param begun  what is typed of the word */
Offer Offer_Of(CLI::App& app, CLI::Option& option, const std::string& begun)
{
    const std::string name = option.get_positional() ? option.get_name() : option.get_option_text();
    if (name == "COMMAND") {
        return {.words = Commands_Of(app)};
    }
    const auto* const found =
        std::find_if(std::begin(Operand_Kinds), std::end(Operand_Kinds), [&](const auto& kind) {
            return name == kind.name || name == std::string(kind.name) + "...";
        });
    if (found != std::end(Operand_Kinds)) {
        Offer offer = {found->kind, found->words()};
        if (found->name.find("PATH") != found->name.npos) {
            // Behind a slash a path goes on with another keyword.
            const std::string way = begun.substr(0, begun.rfind('/') + 1);
            for (std::string& each : offer.words) {
                each.insert(0, way);
            }
        }
        return offer;
    }
    return {.words = Choices_Of(option)};
}

bool Takes_Value(CLI::Option& option)
{
    return option.get_type_size_max() > 0 && option.get_expected_max() > 0;
}

CLI::Option* Find_Option(CLI::App& command, const std::string& name)
{
    for (CLI::Option* const option : command.get_options({})) {
        if (!option->get_positional() && option->check_name(name)) {
            return option;
        }
    }
    return nullptr;
}

Words Options_Of(CLI::App& command)
{
    Words words;
    for (CLI::Option* const option : command.get_options({})) {
        for (const std::string& name : option->get_lnames()) {
            words.push_back("--" + name + "\t" + option->get_description());
        }
    }
    return words;
}

/** The operand of a command that the last word stands for; null behind all. */
CLI::Option* Operand_At(CLI::App& command, std::size_t place)
{
    for (CLI::Option* const option : command.get_options({})) {
        if (!option->get_positional()) {
            continue;
        }
        const auto most = static_cast<std::size_t>(option->get_expected_max());
        // What takes no vector takes one word.
        if (place < std::max<std::size_t>(most, 1)) {
            return option;
        }
        place -= most;
    }
    return nullptr;
}

/** What may follow the words of a command. @param words  those behind its name */
Offer Offer_In(CLI::App& app, CLI::App& command, const Words& words)
{
    std::size_t operands = 0;
    bool only_operands = false;
    CLI::Option* taking = nullptr;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        const bool is_option = !only_operands && words[i].starts_with('-') && words[i] != "-";
        if (taking != nullptr) {
            taking = nullptr;
        } else if (words[i] == "--") {
            only_operands = true;
        } else if (!is_option) {
            ++operands;
        } else if (words[i].find('=') == std::string::npos) {
            CLI::Option* const option = Find_Option(command, words[i]);
            taking = option != nullptr && Takes_Value(*option) ? option : nullptr;
        }
    }
    const std::string& word = words.back();
    if (taking != nullptr) {
        return Offer_Of(app, *taking, word);
    }
    if (!only_operands && word.starts_with("--") && word.find('=') != word.npos) {
        const std::size_t equals = word.find('=');
        CLI::Option* const option = Find_Option(command, word.substr(0, equals));
        Offer offer = option != nullptr ? Offer_Of(app, *option, word.substr(equals + 1)) : Offer();
        for (std::string& each : offer.words) {
            each.insert(0, word, 0, equals + 1);
        }
        return offer;
    }
    if (!only_operands && word.starts_with('-')) {
        return {.words = Options_Of(command)};
    }
    CLI::Option* const operand = Operand_At(command, operands);
    return operand != nullptr ? Offer_Of(app, *operand, word) : Offer();
}

Offer Offer_For(CLI::App& app, const Words& words)
{
    if (words.size() > 1) {
        for (CLI::App* const command : app.get_subcommands({})) {
            if (command->get_name() == words.front()) {
                return Offer_In(app, *command, {words.begin() + 1, words.end()});
            }
        }
        return {};
    }
    return {.words = words.front().starts_with('-') ? Options_Of(app) : Commands_Of(app)};
}

}  // namespace

std::string Completions(CLI::App& app, const std::vector<std::string>& words)
{
    const Offer offer = Offer_For(app, words.empty() ? Words{""} : words);
    const std::string begun = words.empty() ? std::string() : words.back();
    std::string answer = offer.kind + std::string("\n");
    for (const std::string& word : offer.words) {
        if (word.starts_with(begun)) {
            answer += word + "\n";
        }
    }
    return answer;
}

}  // namespace dicom_mend
