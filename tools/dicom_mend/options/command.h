// The commands of dicom-mend, with their options.
#ifndef TOOLS_DICOM_MEND_OPTIONS_COMMAND_H
#define TOOLS_DICOM_MEND_OPTIONS_COMMAND_H

#include "report.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <span>

namespace dicom_mend {

using Run_Command = std::function<Exit_Status()>;

struct Command {
    const char* name;
    /** One line. */
    const char* description;
    /** Examples, and where the output goes. */
    const char* foot;
    /**
     * Adds the options, which costs more than a small file does and is left out for the commands that nobody
     * asked for.
     *
     * @return what runs the command once they are read
     */
    Run_Command (*set_up)(CLI::App& command);
};

/** In the order of the help. */
std::span<const Command> All_Commands();

Run_Command Set_Up_List(CLI::App& command);
Run_Command Set_Up_Check(CLI::App& command);
Run_Command Set_Up_Diff(CLI::App& command);
Run_Command Set_Up_Report(CLI::App& command);

Run_Command Set_Up_Mend(CLI::App& command);
Run_Command Set_Up_Complete(CLI::App& command);
Run_Command Set_Up_Undo(CLI::App& command);
Run_Command Set_Up_From_JSON(CLI::App& command);

Run_Command Set_Up_Dict(CLI::App& command);
Run_Command Set_Up_UID(CLI::App& command);
Run_Command Set_Up_Code(CLI::App& command);
Run_Command Set_Up_Modules(CLI::App& command);
Run_Command Set_Up_Tables(CLI::App& command);
Run_Command Set_Up_Explain(CLI::App& command);

}  // namespace dicom_mend

#endif
