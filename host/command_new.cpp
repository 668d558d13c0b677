#include "host/command_line.h"
#include "host/level_session.h"

namespace cairn::host {

namespace {

struct NewOptions : CommonOptions {
    std::string output;
    std::string build;
};

ExitCode runNew(const NewOptions& options, Console& console) {
    const LevelSession session(console, options.content);
    const auto document = session.createDocument();
    document->createCairnLevelEntities();
    document->setInfoDocumentCreatedWithBuild(options.build);
    session.save(*document, options.output, console);
    return ExitCode::DONE;
}

} // namespace

void addNewCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<NewOptions>();
    CommandSyntax command =
        program.addCommand("new", "Make a fresh level: a root \"World_Group\" with a child \"player\"");
    command.addOption("OUT", options->output, "File to write, replaced if it exists; \"-\" for standard output")
        .required();
    command.addOption("--build", options->build, "The build that the level names as its maker").typeName("TEXT");
    options->addQuiet(command);
    onChosen(command, options, runNew, chosen);
}

} // namespace cairn::host
