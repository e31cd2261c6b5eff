#include "help_text.h"

#include <sstream>

namespace dicom_mend {

namespace {

constexpr std::size_t Width = 80;

/** A text behind a name, broken between words; what does not fit beside the name begins below it. */
std::string In_Columns(std::string line, const std::string& text, std::size_t column)
{
    std::string lines;
    if (line.size() >= column) {
        lines = line + "\n";
        line.clear();
    }
    line.resize(column, ' ');
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (line.size() > column && line.size() + 1 + word.size() > Width) {
            lines += line + "\n";
            line.assign(column, ' ');
        }
        line += (line.size() > column ? " " : "") + word;
    }
    return lines + line + "\n";
}

}  // namespace

bool Is_Shown(const CLI::Option& option)
{
    return !option.get_group().empty();
}

std::string Operands(const CLI::Option& option)
{
    const std::string text = option.get_option_text() == " " ? "" : option.get_option_text();
    const bool has_own_words = !text.empty() && text != "...";
    return option.get_positional() && !has_own_words ? option.get_name() + text : text;
}

std::string Operands(const CLI::App& app)
{
    std::string operands;
    for (const CLI::Option* const option : app.get_options()) {
        if (option->get_positional() && Is_Shown(*option)) {
            operands += " " + Operands(*option);
        }
    }
    return operands;
}

std::string Words_Of(const CLI::App& app)
{
    const CLI::App* const parent = app.get_parent();
    return parent == nullptr ? app.get_name() : parent->get_name() + " " + app.get_name();
}

std::string Help_Format::make_usage(const CLI::App* app, std::string /*name*/) const
{
    return "Usage: " + Words_Of(*app) +
           (app->get_parent() == nullptr ? " COMMAND [OPTION...] [OPERAND...]"
                                         : " [OPTION...]" + Operands(*app)) +
           "\n";
}

std::string Help_Format::make_option(const CLI::Option* option, bool is_positional) const
{
    const std::string operands = Operands(*option);
    const std::string name = is_positional      ? operands
                             : operands.empty() ? option->get_name(false, true)
                                                : option->get_name(false, true) + " " + operands;
    return In_Columns("  " + name, option->get_description(), column_width_);
}

}  // namespace dicom_mend
