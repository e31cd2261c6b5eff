// The commands that answer questions without a file.
#include "definition_names.h"
#include "explain_kind.h"
#include "lookup.h"
#include "options/command.h"

#include <memory>

namespace dicom_mend {

namespace {

std::shared_ptr<Lookup_Request> Add_Terms(CLI::App& command, const char* value)
{
    auto request = std::make_shared<Lookup_Request>();
    command.add_option(value, request->terms, "What to look up; a name may be a part of one")
        ->required()
        ->option_text("...");
    return request;
}

std::shared_ptr<std::vector<std::string>> Add_Parts(CLI::App& command)
{
    auto parts = std::make_shared<std::vector<std::string>>();
    command.add_option("NAME", *parts, "Show those alone whose name or number holds this")
        ->option_text("[NAME...]");
    return parts;
}

}  // namespace

Run_Command Set_Up_Dict(CLI::App& command)
{
    return [request = Add_Terms(command, "TAG|PATH|NAME")] {
        return Run_Dict(*request);
    };
}

Run_Command Set_Up_UID(CLI::App& command)
{
    return [request = Add_Terms(command, "UID|NAME")] {
        return Run_UID(*request);
    };
}

Run_Command Set_Up_Code(CLI::App& command)
{
    const auto request = std::make_shared<Code_Request>();
    command
        .add_option("TABLE", request->table, "Number of a context group, or a table's file name")
        ->required()
        ->check(Table_Fault)
        ->option_text(" ");
    command.add_option("NAME", request->names, "The text, for example a drug's name")
        ->required()
        ->option_text("...");
    return [request] {
        return Run_Code(*request);
    };
}

Run_Command Set_Up_Modules(CLI::App& command)
{
    return [parts = Add_Parts(command)] {
        return Run_Modules(*parts);
    };
}

Run_Command Set_Up_Tables(CLI::App& command)
{
    return [parts = Add_Parts(command)] {
        return Run_Tables(*parts);
    };
}

Run_Command Set_Up_Explain(CLI::App& command)
{
    const auto kinds = std::make_shared<std::vector<std::string>>();
    command.add_option("KIND", *kinds, "Names of kinds, as check --format json prints them")
        ->option_text("[KIND...]");
    return [kinds] {
        return Run_Explain(*kinds);
    };
}

}  // namespace dicom_mend
