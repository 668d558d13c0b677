#include "cairn/document/entity_factory.h"
#include "cairn/entities/cairn_level.h"
#include "host/command_line.h"
#include "host/level_session.h"

#include <fmt/format.h>

namespace cairn::host {

namespace {

struct SaveOptions : CommonOptions {
    std::string file;
    std::string output;
};

ExitCode runSave(const SaveOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, options.force);
    session.warnOfLoss(level, options.file);
    session.save(*level.document, options.output, console);
    session.warnOfFault(level, options.file, console);
    return level.isWhole() ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addSaveCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<SaveOptions>();
    CommandSyntax command = program.addCommand("save", "Load a level and save it in the newest form");
    addLevel(command, options->file);
    addOutput(command, options->output);
    options->addContent(command);
    options->addForce(command);
    options->addQuiet(command);
    onChosen(command, options, runSave, chosen);
}

} // namespace cairn::host
