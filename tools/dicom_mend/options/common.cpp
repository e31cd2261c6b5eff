#include "options/common.h"

#include "command_faults.h"
#include "definition_names.h"
#include "mend/healing/character_terms.h"

namespace dicom_mend {

namespace {

std::string Charset_Fault(const std::string& terms)
{
    return lib_mend::Is_Character_Set(terms) ? std::string()
                                             : "\"" + terms +
                                                   "\" is no defined term of a character set, as "
                                                   "\"ISO_IR 100\" is, nor several with "
                                                   "backslashes between them";
}

}  // namespace

void Add_Verbosity(CLI::App& command, Run_Options& run)
{
    Verbosity& verbosity = run.verbosity;
    command.add_flag("--show-values", run.show_values,
                     "Quote values in reports that may identify a person");
    CLI::Option* const quiet = command.add_flag_callback(
        "-q,--quiet", [&verbosity] { verbosity = Verbosity::Quiet; }, "Report errors only");
    quiet->option_text(" ");
    command
        .add_flag_callback(
            "-v,--verbose", [&verbosity] { verbosity = Verbosity::Verbose; },
            "Report also what is worth knowing but no fault")
        ->excludes(quiet)
        ->option_text(" ");
}

void Add_Healing(CLI::App& command, lib_mend::Heal_Options& heal)
{
    command.add_flag(
        "--strict", heal.strict,
        "Apply the fixed repairs of the VRs in full, at the price of what does not fit");
    command.add_flag("--replace-uids", heal.replace_uids,
                     "Replace UIDs that are none by ones made from a hash of the old value");
    command.add_flag("--pad-pixels", heal.pad_pixels, "Fill pixel data that is too short");
    command
        .add_option("--charset", heal.charset,
                    "Character set that the texts have, whatever the file declares, for example "
                    "\"ISO_IR 100\"")
        ->check(Charset_Fault)
        ->option_text("TERM");
    command.add_flag("--to-utf8", heal.to_utf8, "Convert all texts to UTF-8");
    command.add_flag("--record", heal.record,
                     "Keep what is changed in the file's Original Attributes Sequence");
}

void Add_Module(CLI::App& command, std::string& module, const char* text)
{
    command.add_option("--module", module, text)->check(Module_Fault)->option_text("CODE");
}

void Add_Looks(CLI::App& command, Looks& looks)
{
    const std::vector<std::pair<const char*, Colours>> colours = {
        {"auto", Colours::Auto}, {"always", Colours::Always}, {"never", Colours::Never}};
    command
        .add_option("--color", looks.colours,
                    "auto (default), on a terminal unless NO_COLOR is set; always, or never")
        ->transform(Choice(colours))
        ->option_text("WHEN");
    command
        .add_flag_callback(
            "--no-pager", [&looks] { looks.pager = false; },
            "Do not show long output on a terminal by PAGER (less by default)")
        ->option_text(" ");
}

}  // namespace dicom_mend
