#pragma once

#include "host/console.h"

#include <functional>
#include <string>

namespace CLI {
class App;
}

namespace cairn::host {

/// What the command line asks for, ready to run.
using Command = std::function<ExitCode(Console&)>;

/// Each adds its command to the program's command line; once that is parsed, the command the user chose is in `chosen`,
/// which must live as long as `app`.
void addNewCommand(CLI::App& app, Command& chosen);
void addDemoCommand(CLI::App& app, Command& chosen);
void addInfoCommand(CLI::App& app, Command& chosen);
void addTreeCommand(CLI::App& app, Command& chosen);
void addCheckCommand(CLI::App& app, Command& chosen);
void addImportCommand(CLI::App& app, Command& chosen);
void addExportCommand(CLI::App& app, Command& chosen);
void addEditCommand(CLI::App& app, Command& chosen);
void addFsmCommand(CLI::App& app, Command& chosen);
void addRefsCommand(CLI::App& app, Command& chosen);
void addExplainCommand(CLI::App& app, Command& chosen);
void addSaveCommand(CLI::App& app, Command& chosen);
void addDiffCommand(CLI::App& app, Command& chosen);
void addMeasureCommand(CLI::App& app, Command& chosen);
void addWhereCommand(CLI::App& app, Command& chosen);
void addRoomsCommand(CLI::App& app, Command& chosen);
void addRenderCommand(CLI::App& app, Command& chosen);
void addGenerateCommand(CLI::App& app, Command& chosen);
void addRecoverCommand(CLI::App& app, Command& chosen);
void addImageCommand(CLI::App& app, Command& chosen);
void addTexturesCommand(CLI::App& app, Command& chosen);
void addThumbsCommand(CLI::App& app, Command& chosen);
void addContentCommand(CLI::App& app, Command& chosen);
/// All of them.
void addCommands(CLI::App& app, Command& chosen);

/// For the start of the process: where a destructor has no memory that it needs, as those of JSON documents may, the process
/// ends with the exit code and the line for that, not by a signal. Outputs are as they were then.
void keepExitCodeWithoutMemory();
/// Runs the program with the arguments of `main` and gives its exit code. Nothing is thrown.
int runProgram(int argc, const char* const* argv);

} // namespace cairn::host
