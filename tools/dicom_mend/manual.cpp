#include "manual.h"

#include "help_text.h"
#include "mend/io/system_files.h"

#include <Lib_DICOM_Mend/dicom_mend.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace dicom_mend {

namespace {

constexpr char Section[] = "1";

/** A text that means nothing to the formatter. */
std::string Plain(const std::string& text)
{
    std::string plain;
    for (const char c : text) {
        if ((c == '.' || c == '\'') && (plain.empty() || plain.back() == '\n')) {
            plain += "\\&";
        }
        switch (c) {
        case '\\':
            plain += "\\e";
            break;
        case '-':
            plain += "\\-";
            break;
        case '\'':
            plain += "\\(aq";
            break;
        case '^':
            plain += "\\(ha";
            break;
        case '~':
            plain += "\\(ti";
            break;
        case '`':
            plain += "\\(ga";
            break;
        default:
            plain += c;
        }
    }
    return plain;
}

std::string Bold(const std::string& text)
{
    return "\\fB" + Plain(text) + "\\fR";
}

std::string Capitals(std::string text)
{
    for (char& c : text) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return text;
}

std::vector<const CLI::App*> Commands_Of(const CLI::App& app)
{
    return app.get_subcommands(
        [](const CLI::App* command) { return !command->get_group().empty(); });
}

std::string Page_Name(const CLI::App& app)
{
    const CLI::App* const parent = app.get_parent();
    return parent == nullptr ? app.get_name() : parent->get_name() + "-" + app.get_name();
}

void Put_Synopsis(std::ostream& page, const CLI::App& app)
{
    page << ".SH SYNOPSIS\n" << Bold(Words_Of(app));
    if (app.get_parent() == nullptr) {
        page << "\n\\fICOMMAND\\fR [\\fIOPTION\\fR...] [\\fIOPERAND\\fR...]\n";
        return;
    }
    page << " [\\fIOPTION\\fR...]\\fI" << Plain(Operands(app)) << "\\fR\n";
}

void Put_Options(std::ostream& page, const CLI::App& app, bool positional)
{
    bool is_first = true;
    for (const CLI::Option* const option : app.get_options()) {
        if (!Is_Shown(*option) || option->get_positional() != positional) {
            continue;
        }
        if (is_first) {
            page << ".SH " << (positional ? "OPERANDS" : "OPTIONS") << "\n";
            is_first = false;
        }
        const std::string operands = Operands(*option);
        page << ".TP\n"
             << (positional ? "" : Bold(option->get_name(false, true)))
             << (positional || operands.empty() ? "" : " ")
             << (operands.empty() ? "" : "\\fI" + Plain(operands) + "\\fR") << "\n"
             << Plain(option->get_description()) << "\n";
    }
}

void Put_Commands(std::ostream& page, const CLI::App& app)
{
    const std::vector<const CLI::App*> commands = Commands_Of(app);
    if (commands.empty()) {
        return;
    }
    page << ".SH COMMANDS\n";
    for (const CLI::App* const command : commands) {
        page << ".TP\n"
             << Bold(command->get_name()) << "\n"
             << Plain(command->get_description()) << "; see " << Bold(Page_Name(*command)) << "("
             << Section << ").\n";
    }
}

/** The foot of the help: examples as they are typed, and paragraphs. */
void Put_Foot(std::ostream& page, const CLI::App& app)
{
    std::istringstream foot(app.get_footer());
    std::string line;
    bool is_typed = false;
    bool is_noted = false;
    while (std::getline(foot, line)) {
        const bool is_example = line.starts_with(' ');
        if (is_typed && !is_example) {
            page << ".EE\n";
        }
        if (line == "Examples:") {
            page << ".SH EXAMPLES\n";
        } else if (is_example) {
            page << (is_typed ? "" : ".EX\n") << Plain(line) << "\n";
        } else if (!line.empty()) {
            page << (is_noted ? "" : ".SH NOTES\n") << Plain(line) << "\n";
            is_noted = true;
        } else if (is_noted) {
            page << ".PP\n";
        }
        is_typed = is_example;
    }
    page << (is_typed ? ".EE\n" : "");
}

}  // namespace

std::string Manual_Page(const CLI::App& app)
{
    std::ostringstream page;
    page << ".\\\" Made of what --help shows, by the build.\n"
         << ".TH " << Plain(Capitals(Page_Name(app))) << " " << Section << " \"\" \"dicom\\-mend "
         << DICOM_MEND_VERSION << "\" \"User Commands\"\n"
         << ".SH NAME\n"
         << Plain(Page_Name(app)) << " \\- "
         << Plain(app.get_parent() == nullptr ? "read, check and mend DICOM files"
                                              : app.get_description())
         << "\n";
    Put_Synopsis(page, app);
    page << ".SH DESCRIPTION\n" << Plain(app.get_description()) << "\n";
    Put_Options(page, app, true);
    Put_Options(page, app, false);
    Put_Commands(page, app);
    Put_Foot(page, app);
    if (app.get_parent() != nullptr) {
        page << ".SH SEE ALSO\n" << Bold(app.get_parent()->get_name()) << "(" << Section << ")\n";
    }
    return page.str();
}

Exit_Status Write_Manual(const CLI::App& app, const std::string& folder)
{
    std::vector<const CLI::App*> pages = Commands_Of(app);
    pages.push_back(&app);
    for (const CLI::App* const each : pages) {
        const std::string name = Page_Name(*each) + "." + Section;
        std::ofstream file(lib_mend::Native_Path(folder) / name, std::ios::binary);
        file << Manual_Page(*each) << std::flush;
        if (!file) {
            Report_Failure(name, "cannot be written");
            return Exit_Failure;
        }
    }
    return Exit_Clean;
}

}  // namespace dicom_mend
