#pragma once

#include "host/commands.h"
#include "host/failure.h"

#include <memory>
#include <string>

namespace cairn::host {

/// The options that commands share; each command adds those it has.
struct CommonOptions {
    bool quiet = false;
    bool json = false;
    bool force = false;
    std::string content; ///< file of the content database, empty for none

    /// Each adds its option to the command.
    /// @{
    void addQuiet(CommandSyntax& command);
    OptionSyntax addJson(CommandSyntax& command);
    void addForce(CommandSyntax& command);
    void addContent(CommandSyntax& command);
    /// @}
};

/// A check of an option: refuses "-", which names neither a database nor a folder.
std::string refuseStandardStream(const std::string& path);

/// Adds the argument FILE, a level, which must be given.
void addLevel(CommandSyntax& command, std::string& file);
/// Adds the option `-o OUT`, which must be given.
void addOutput(CommandSyntax& command, std::string& output);

/// Writes the one JSON document of a command whose answer is no before it has any other.
void answerNo(const Failure& failure, Console& console);

/// Makes `run`, with the options as they are parsed by then, what `chosen` holds where the user gives this command.
template <class Options>
void onChosen(CommandSyntax& command, const std::shared_ptr<Options>& options,
              ExitCode (*run)(const Options&, Console&), Command& chosen) {
    command.onGiven([options, run, &chosen] {
        chosen = [options, run](Console& console) {
            console.setQuiet(options->quiet);
            try {
                return run(*options, console);
            } catch (const Failure& failure) {
                if (options->json && failure.code() == ExitCode::NO)
                    answerNo(failure, console);
                throw;
            }
        };
    });
}

} // namespace cairn::host
