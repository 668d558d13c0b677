#include "cairn/foundation/exception.h"
#include "cairn/version.h"
#include "host/command_line.h"

#include <fmt/format.h>

#include <new>
#include <sstream>

namespace cairn::host {

namespace {

constexpr const char* DESCRIPTION = "Makes, inspects and converts level files (NAME.cairn) without an editor.";
constexpr const char* FOOTER = "\"-\" is standard input or output where one file is named.\n"
                               "Exit codes: 0 done, 1 the answer is no, 2 wrong command line, 3 unreadable input,\n"
                               "4 unwritable output, 5 out of memory or a fault of the program.\n"
                               "\"cairn COMMAND --help\" tells more about a command.";

void addCommands(CLI::App& app, Command& chosen) {
    addNewCommand(app, chosen);
    addDemoCommand(app, chosen);
    addInfoCommand(app, chosen);
    addTreeCommand(app, chosen);
    addCheckCommand(app, chosen);
    addImportCommand(app, chosen);
    addSaveCommand(app, chosen);
    addContentCommand(app, chosen);
}

/// The words of the commands that were recognised, for the message about a wrong command line.
std::string nameOfCommand(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    if (chosen.empty())
        return "";
    const std::string inner = nameOfCommand(*chosen.front());
    return inner.empty() ? chosen.front()->get_name() : chosen.front()->get_name() + " " + inner;
}

ExitCode run(int argc, const char* const* argv, Console& console) {
    CLI::App app(DESCRIPTION, "cairn");
    app.footer(FOOTER);
    app.set_version_flag("--version", fmt::format("cairn {}", version()));
    app.require_subcommand(1);
    Command chosen;
    addCommands(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) { // --help and --version
        std::ostringstream text;
        app.exit(request, text, text);
        console.write(text.str());
        console.flush();
        return ExitCode::DONE;
    } catch (const CLI::ParseError& error) {
        const std::string command = nameOfCommand(app);
        throw Failure(ExitCode::COMMAND_LINE, command.empty() ? "command line" : command, error.what());
    }
    const ExitCode code = chosen(console);
    console.flush();
    return code;
}

int complain(ExitCode code, const std::string& subject, const std::string& text) {
    Console::complain(subject, text);
    return static_cast<int>(code);
}

} // namespace

int runProgram(int argc, const char* const* argv) {
    prepareStandardStreams();
    try {
        Console console;
        return static_cast<int>(run(argc, argv, console));
    } catch (const Failure& failure) {
        return complain(failure.code(), failure.subject(), failure.what());
    } catch (const std::bad_alloc&) {
        Console::complainOfMemory();
        return static_cast<int>(ExitCode::INTERNAL);
    } catch (const std::exception& e) {
        return complain(ExitCode::INTERNAL, "internal fault", e.what());
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return complain(ExitCode::INTERNAL, "internal fault", e->getErrorMessage());
    } catch (...) {
        return complain(ExitCode::INTERNAL, "internal fault", "an exception of an unknown kind");
    }
}

void CommonOptions::addQuiet(CLI::App& command) { command.add_flag("--quiet", quiet, "No notes and no progress"); }
void CommonOptions::addJson(CLI::App& command) {
    command.add_flag("--json", json, "One JSON document instead of text");
}
void CommonOptions::addForce(CLI::App& command) {
    command.add_flag(
        "--force", force,
        "Go on with what was read before a fault, each child of the root whole or not at all; the exit code is 1 then");
}
void CommonOptions::addContent(CLI::App& command) {
    command.add_option("--content", content, "Content database to check names against")
        ->type_name("DB")
        ->check(refuseStandardStream);
}

std::string refuseStandardStream(const std::string& path) {
    return path == "-" ? "it cannot be standard input or output" : "";
}

void addOutput(CLI::App& command, std::string& output) {
    command.add_option("-o,--output", output, "File to write, replaced if it exists; \"-\" for standard output")
        ->type_name("OUT")
        ->required();
}

} // namespace cairn::host
