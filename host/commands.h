#pragma once

#include "host/command_syntax.h"
#include "host/console.h"

#include <functional>
#include <string>

namespace cairn::host {

/// What the command line asks for, ready to run.
using Command = std::function<ExitCode(Console&)>;

/// Each adds its command to the program's command line; once that is parsed, the command the user chose is in `chosen`,
/// which must live as long as the command line.
void addNewCommand(CommandSyntax& program, Command& chosen);
void addDemoCommand(CommandSyntax& program, Command& chosen);
void addInfoCommand(CommandSyntax& program, Command& chosen);
void addTreeCommand(CommandSyntax& program, Command& chosen);
void addCheckCommand(CommandSyntax& program, Command& chosen);
void addImportCommand(CommandSyntax& program, Command& chosen);
void addExportCommand(CommandSyntax& program, Command& chosen);
void addEditCommand(CommandSyntax& program, Command& chosen);
void addFsmCommand(CommandSyntax& program, Command& chosen);
void addRefsCommand(CommandSyntax& program, Command& chosen);
void addExplainCommand(CommandSyntax& program, Command& chosen);
void addSaveCommand(CommandSyntax& program, Command& chosen);
void addDiffCommand(CommandSyntax& program, Command& chosen);
void addMeasureCommand(CommandSyntax& program, Command& chosen);
void addWhereCommand(CommandSyntax& program, Command& chosen);
void addRoomsCommand(CommandSyntax& program, Command& chosen);
void addRenderCommand(CommandSyntax& program, Command& chosen);
void addGenerateCommand(CommandSyntax& program, Command& chosen);
void addRecoverCommand(CommandSyntax& program, Command& chosen);
void addImageCommand(CommandSyntax& program, Command& chosen);
void addTexturesCommand(CommandSyntax& program, Command& chosen);
void addThumbsCommand(CommandSyntax& program, Command& chosen);
void addContentCommand(CommandSyntax& program, Command& chosen);
/// All of them.
void addCommands(CommandSyntax& program, Command& chosen);
/// The words of all commands, in the order of the help.
std::vector<std::string> commandNames();

/// For the start of the process: where a destructor has no memory that it needs, as those of JSON documents may, the process
/// ends with the exit code and the line for that, not by a signal. Outputs are as they were then.
void keepExitCodeWithoutMemory();
/// Runs the program with the arguments of `main` and gives its exit code. Nothing is thrown.
int runProgram(int argc, const char* const* argv);

} // namespace cairn::host
