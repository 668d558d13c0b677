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

/// Says what a newer writer put into the file and the save drops.
void warnOfLoss(const SaveOptions& options, const CN_Document& document, const Console& console) {
    for (const CN_LoadFinding& finding : document.getLoadReport().getFindings())
        if (finding.code == "newer-data")
            console.warn(options.file, finding.hasEntity
                                           ? fmt::format("will not be saved: {} ({})", finding.text, finding.entity)
                                           : fmt::format("will not be saved: {}", finding.text));
}

ExitCode runSave(const SaveOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, options.force);
    warnOfLoss(options, *level.document, console);
    session.save(*level.document, options.output, console);
    session.warnOfFault(level, options.file, console);
    return level.isWhole() ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addSaveCommand(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<SaveOptions>();
    CLI::App* command = app.add_subcommand("save", "Load a level and save it in the newest form");
    command->add_option("FILE", options->file, "Level file; \"-\" for standard input")->required();
    addOutput(*command, options->output);
    options->addContent(*command);
    options->addForce(*command);
    options->addQuiet(*command);
    onChosen(*command, options, runSave, chosen);
}

} // namespace cairn::host
