#include "cairn/foundation/exception.h"
#include "cairn/version.h"
#include "host/commands.h"
#include "host/failure.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string_view>

namespace cairn::host {

namespace {

constexpr const char* DESCRIPTION = "Makes, inspects and converts level files (NAME.cairn) without an editor.";
constexpr const char* FOOTER = "\"-\" is standard input or output where one file is named.\n"
                               "Exit codes: 0 done, 1 the answer is no, 2 wrong command line, 3 unreadable input,\n"
                               "4 unwritable output, 5 out of memory or a fault of the program.\n"
                               "\"cairn COMMAND --help\" tells more about a command.";

/// The words of the commands that were recognised, for the message about a wrong command line.
std::string nameOfCommand(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    if (chosen.empty())
        return "";
    const std::string inner = nameOfCommand(*chosen.front());
    return inner.empty() ? chosen.front()->get_name() : chosen.front()->get_name() + " " + inner;
}

/// Stands ahead of a word that the parser would take apart: "[a,b]" is one word here, a list to the parser, and "-.5" or
/// "-inf" is a number here, options to the parser.
constexpr char WORD_MARK = '\x01';

bool isNegativeNumber(const std::string& word) {
    char* end = nullptr;
    std::strtod(word.c_str(), &end);
    return word.size() > 1 && word[0] == '-' && end == word.c_str() + word.size();
}

std::string marked(std::string word) {
    const bool special = !word.empty() && (isNegativeNumber(word) || word[0] == '[' || word[0] == WORD_MARK);
    return special ? WORD_MARK + word : word;
}

std::string unmarked(std::string word) { return !word.empty() && word[0] == WORD_MARK ? word.substr(1) : word; }

/// Makes all options of the program take their words as the user gave them.
void unmarkWords(CLI::App& app) {
    for (CLI::Option* option : app.get_options())
        option->transform(unmarked);
    for (CLI::App* command : app.get_subcommands({}))
        unmarkWords(*command);
}

/// What is wrong with the command line, in terms of the words that the user gave.
std::string textOf(const CLI::ParseError& error, const CLI::App& app) {
    const CLI::App* inner = &app;
    while (!inner->get_subcommands().empty())
        inner = inner->get_subcommands().front();
    const std::vector<std::string> left = inner->remaining();
    const bool wantsCommand = inner->get_require_subcommand_min() > 0;
    if (left.empty() || (!wantsCommand && error.get_exit_code() != static_cast<int>(CLI::ExitCodes::ExtrasError)))
        return error.what();
    return fmt::format(fmt::runtime(wantsCommand ? "\"{}\" is no command" : "\"{}\" was not expected"),
                       unmarked(left.front()));
}

ExitCode run(int argc, const char* const* argv, Console& console) {
    CLI::App app(DESCRIPTION, "cairn");
    app.footer(FOOTER);
    app.set_version_flag("--version", fmt::format("cairn {}", version()));
    app.require_subcommand(1);
    Command chosen;
    CommandSyntax program(app);
    addCommands(program, chosen);
    unmarkWords(app);
    std::vector<std::string> words; // the last word first, as the parser takes them
    for (int i = argc - 1; i > 0; --i)
        words.push_back(marked(argv[i]));
    try {
        app.parse(std::move(words));
    } catch (const CLI::Success& request) { // --help and --version
        std::ostringstream text;
        text.exceptions(std::ios::badbit); // for want of memory it would stop in the middle
        app.exit(request, text, text);
        console.write(text.str());
        console.flush();
        return ExitCode::DONE;
    } catch (const CLI::ParseError& error) {
        const std::string command = nameOfCommand(app);
        throw Failure(ExitCode::COMMAND_LINE, command.empty() ? "command line" : command, textOf(error, app));
    }
    const ExitCode code = chosen(console);
    console.flush();
    return code;
}

/// Gives the exit code of a failure that is told. Where memory lacks for the words that is what is told.
int complain(ExitCode code, std::string_view subject, std::string_view text) noexcept {
    try {
        Console::complain(subject, text);
        return static_cast<int>(code);
    } catch (const std::bad_alloc&) {
        Console::complainOfMemory();
        return static_cast<int>(ExitCode::INTERNAL);
    }
}

std::terminate_handler s_usualEnd = nullptr; ///< of the language: tells of a fault of our own

[[noreturn]] void endProgram() {
    try {
        if (std::current_exception())
            throw;
    } catch (const std::bad_alloc&) {
        Console::complainOfMemory();
        std::_Exit(static_cast<int>(ExitCode::INTERNAL));
    } catch (...) {
    }
    s_usualEnd();
    std::abort();
}

} // namespace

void addCommands(CommandSyntax& program, Command& chosen) {
    addNewCommand(program, chosen);
    addDemoCommand(program, chosen);
    addInfoCommand(program, chosen);
    addTreeCommand(program, chosen);
    addCheckCommand(program, chosen);
    addImportCommand(program, chosen);
    addExportCommand(program, chosen);
    addEditCommand(program, chosen);
    addFsmCommand(program, chosen);
    addRefsCommand(program, chosen);
    addExplainCommand(program, chosen);
    addSaveCommand(program, chosen);
    addDiffCommand(program, chosen);
    addMeasureCommand(program, chosen);
    addWhereCommand(program, chosen);
    addRoomsCommand(program, chosen);
    addRenderCommand(program, chosen);
    addGenerateCommand(program, chosen);
    addRecoverCommand(program, chosen);
    addImageCommand(program, chosen);
    addTexturesCommand(program, chosen);
    addThumbsCommand(program, chosen);
    addContentCommand(program, chosen);
}

std::vector<std::string> commandNames() {
    CLI::App app;
    CommandSyntax program(app);
    Command chosen;
    addCommands(program, chosen);
    std::vector<std::string> names;
    for (const CLI::App* const command : app.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

void keepExitCodeWithoutMemory() { s_usualEnd = std::set_terminate(endProgram); }

int runProgram(int argc, const char* const* argv) {
    prepareStandardStreams();
    try {
        Console console(argc > 0 ? argv[0] : "cairn");
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

} // namespace cairn::host
