#include "cairn/foundation/file.h"
#include "host/command_line.h"
#include "host/edit_set.h"
#include "host/editor.h"
#include "host/level_session.h"
#include "host/text.h"

#include <fmt/format.h>

namespace cairn::host {

namespace {

struct EditOptions : CommonOptions {
    std::string file;
    std::string output;
    std::vector<std::string> commands; ///< in their order
    std::string script;                ///< file of commands, empty for none
};

std::string readScriptFile(const std::string& file) {
    return withFailure(ExitCode::INPUT, file, [&] {
        const std::vector<unsigned char> bytes = F_File::readAll(file, {MAX_EDIT_SCRIPT_BYTES});
        std::string text(bytes.begin(), bytes.end());
        if (toUtf8(text) != text)
            throw new F_Exception("The script is not UTF-8");
        return text;
    });
}

void runLine(Editor& editor, const EditLine& line, std::string_view subject, const Console& console) {
    const auto refuse = [&](const std::string& why) {
        throw EditRefusal(fmt::format("line {}: {}: {}", line.number, toShownText(line.words.front()), why));
    };
    try {
        editor.run(line.words);
        for (const std::string& note : editor.takeNotes())
            console.warn(subject, fmt::format("line {}: {}: {}", line.number, line.words.front(), note));
        for (const std::string& told : editor.takeTold())
            console.note(subject, fmt::format("line {}: {}: {}", line.number, line.words.front(), told));
    } catch (const EditRefusal& refusal) {
        refuse(refusal.what());
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        refuse(toShownText(std::string_view(e->getErrorMessage())));
    }
}

/// Runs the commands of the script, or those of the command line, which count as lines.
void runCommands(Editor& editor, const EditOptions& options, std::string_view script, const Console& console) {
    EditLine line;
    EditScriptReader reader(script);
    while (reader.read(line))
        runLine(editor, line, options.script, console);
    for (std::size_t i = 0; i < options.commands.size(); ++i) {
        try {
            line = {i + 1, readEditWords(options.commands[i])};
        } catch (const EditRefusal& refusal) {
            throw EditRefusal(fmt::format("line {}: {}", i + 1, refusal.what()));
        }
        if (!line.words.empty())
            runLine(editor, line, options.file, console);
    }
}

ExitCode runEdit(const EditOptions& options, Console& console) {
    if (options.commands.empty() == options.script.empty())
        throw Failure(ExitCode::COMMAND_LINE, "edit", "either -c or --script gives the commands");
    LevelSession session(console, options.content);
    try {
        const std::string script = options.script.empty() ? "" : readScriptFile(options.script);
        const OpenedLevel level = session.openForUse(options.file, false);
        {
            Editor editor(*level.document, session.readCatalogue(""));
            runCommands(editor, options, script, console);
            editor.finish();
        }
        session.warnOfLoss(level, options.file);
        session.save(*level.document, options.output, console);
    } catch (const EditRefusal& refusal) {
        throw Failure(ExitCode::NO, options.script.empty() ? options.file : options.script, refusal.what());
    }
    return ExitCode::DONE;
}

std::string listOfCommands() {
    std::string list =
        "Commands run in their order; the first that is refused ends the run with exit code 1, and nothing "
        "is written.\nAn entity is named by its qualified name (::Room1::Crate, the root ::) or by @N, its "
        "number in tree --json.\nWords with blanks stand in quotes. # begins a comment.\n"
        "\"cairn edit --help COMMAND\" tells of one command alone.\nCommands:";
    for (const EditCommand& command : editCommands()) {
        list += fmt::format("\n  {} {}", command.name, command.usage);
        if (!command.help.empty())
            list += fmt::format("\n      {}", command.help);
    }
    return list;
}

} // namespace

void addEditCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<EditOptions>();
    CommandSyntax command = program.addCommand("edit", "Run edit commands on a level and save it");
    addLevel(command, options->file);
    addOutput(command, options->output);
    command.addOption("-c,--command", options->commands, "One command; may be given several times")
        .typeName("COMMAND")
        .oneEachTime();
    command.addOption("--script", options->script, "File of commands, one a line")
        .typeName("FILE")
        .check(refuseStandardStream);
    command.setFooter(listOfCommands());
    command.setHelpOn("FILE", describeEditCommand);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runEdit, chosen);
}

} // namespace cairn::host
