#include "cairn/content/shared_db.h"
#include "cairn/content/shared_db_writer.h"
#include "host/command_line.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace cairn::host {

namespace {

struct ContentOptions : CommonOptions {
    std::string file;
    std::string kind; ///< a kind's word; empty for all
    std::vector<std::string> names;
    std::string skin;
    std::string draw; ///< empty: yes
};

ExitCode runCreate(const ContentOptions& options, Console&) {
    withFailure(ExitCode::OUTPUT, options.file, [&] { Y_SharedDBWriter::create(options.file); });
    return ExitCode::DONE;
}

/// A name that is refused is an answer, no output that cannot be written.
void addEntry(Y_SharedDBWriter& writer, Y_SharedDBKind kind, const std::string& name,
              const Y_SharedDBEntryOptions& entry, const std::string& file) {
    try {
        writer.add(kind, name, entry);
    } catch (Y_SharedDBWriter_Exception_Refused* e) {
        const F_ExceptionGuard guard(e);
        throw Failure(ExitCode::NO, file, e->getErrorMessage());
    }
}

/// Refuses an option that means nothing for the kind.
void checkOptions(const ContentOptions& options, Y_SharedDBKind kind) {
    const auto refuseFor = [&](const char* option, const std::string& value, Y_SharedDBKind owner) {
        if (!value.empty() && kind != owner)
            throw Failure(ExitCode::COMMAND_LINE, "content add",
                          fmt::format("{} is for the kind {} alone", option, getSharedDBKindInfo(owner).name));
    };
    refuseFor("--skin", options.skin, Y_SharedDBKind::ANIMATION);
    refuseFor("--draw", options.draw, Y_SharedDBKind::SURFACE_MATERIAL);
}

bool isReadable(const std::string& file) {
    try {
        const Y_SharedDB content(file, true);
        return true;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return false;
    }
}

/// Opens the database to add to it. One that can be read, and nothing more, is an output that cannot be written.
std::unique_ptr<Y_SharedDBWriter> openWriter(const std::string& file) {
    try {
        return std::make_unique<Y_SharedDBWriter>(file);
    } catch (F_Exception*) {
        rethrowAsFailure(isReadable(file) ? ExitCode::OUTPUT : ExitCode::INPUT, file);
    }
}

ExitCode runAdd(const ContentOptions& options, Console&) {
    Y_SharedDBEntryOptions entry;
    entry.skin = options.skin;
    entry.drawPolygons = options.draw != "no";
    const Y_SharedDBKind kind = findSharedDBKind(options.kind)->kind;
    checkOptions(options, kind);
    const auto writer = openWriter(options.file);
    withFailure(ExitCode::OUTPUT, options.file, [&] {
        for (const std::string& name : options.names)
            addEntry(*writer, kind, name, entry, options.file);
        writer->commit();
    });
    return ExitCode::DONE;
}

ExitCode runList(const ContentOptions& options, Console& console) {
    const auto content =
        withFailure(ExitCode::INPUT, options.file, [&] { return std::make_unique<Y_SharedDB>(options.file, true); });
    Json kinds = Json::object();
    for (const Y_SharedDBKindInfo& info : getSharedDBKinds())
        if (options.kind.empty() || options.kind == info.name)
            kinds[info.name] = content->getNames(info.kind);
    if (options.json) {
        console.writeLine(toJsonText(kinds));
        return ExitCode::DONE;
    }
    for (const auto& [kind, names] : kinds.items())
        for (const Json& name : names)
            console.writeLine(fmt::format("{} {}", kind, toShownText(name.get_ref<const std::string&>())));
    return ExitCode::DONE;
}

std::string refuseUnknownKind(const std::string& word) {
    if (findSharedDBKind(word))
        return "";
    std::string text = fmt::format("\"{}\" is no kind of content:", word);
    for (const Y_SharedDBKindInfo& info : getSharedDBKinds())
        text += fmt::format(" {}", info.name);
    return text;
}

using Run = ExitCode (*)(const ContentOptions&, Console&);

CommandSyntax addCommand(CommandSyntax content, const char* name, const char* description, Run run, Command& chosen,
                         const std::shared_ptr<ContentOptions>& options) {
    CommandSyntax command = content.addCommand(name, description);
    command.addOption("DB", options->file, "File of the content database").required().check(refuseStandardStream);
    options->addQuiet(command);
    onChosen(command, options, run, chosen);
    return command;
}

} // namespace

void addContentCommand(CommandSyntax& program, Command& chosen) {
    CommandSyntax content = program.addCommand("content", "Make, fill and list a content database");
    content.requireCommand();
    const auto options = std::make_shared<ContentOptions>();
    addCommand(content, "create", "Make an empty content database; replaces a content database, refuses any other file",
               runCreate, chosen, options);

    CommandSyntax add = addCommand(content, "add", "Add names of one kind, all or none", runAdd, chosen, options);
    add.addOption("KIND", options->kind, "What the names are of: level-item, skin, flare, ...")
        .required()
        .check(refuseUnknownKind);
    add.addOption("NAME", options->names, "Names to add").required();
    add.addOption("--skin", options->skin, "Skin that animations belong to, by default the first").typeName("NAME");
    add.addOption("--draw", options->draw, "Whether polygons of a surface material are seen, by default yes")
        .typeName("yes|no")
        .oneOf({"yes", "no"});

    CommandSyntax list =
        addCommand(content, "list", "Show the names, of all kinds or of one", runList, chosen, options);
    list.addOption("KIND", options->kind, "Kind to show").check(refuseUnknownKind);
    options->addJson(list);
}

} // namespace cairn::host
