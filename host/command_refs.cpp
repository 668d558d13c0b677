#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "cairn/fsm/message_tests.h"
#include "host/command_line.h"
#include "host/entity_lookup.h"
#include "host/entity_text.h"
#include "host/level_session.h"
#include "host/machine_walk.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace cairn::host {

namespace {

struct RefsOptions : CommonOptions {
    std::string file;
    std::string entity;
};

/// A message that names the entity, and its place.
struct Reference {
    const CN_LevelEntity* entity; ///< not owned: of the machine
    std::string handler;
    std::string list;
    std::size_t index; ///< in the list
    std::string text;
};

/// True for a message that opens or closes an exit by its name.
bool namesExit(const E_FSM::Message& message, const CN_LevelEntity& to) {
    const istring* const exit = CN_findExitName(message);
    return exit && dynamic_cast<const CN_LevelEntityPortal*>(&to) && message.m_target == to.getParent() &&
           *exit == toIString(std::string(to.getName().view()));
}

std::vector<Reference> findReferences(const CN_LevelEntity& root, const CN_LevelEntity& to) {
    std::vector<Reference> found;
    forEachEntityOf(root, [&](const CN_LevelEntity& entity) {
        if (!entity.hasFSM())
            return;
        for (const auto& entry : entity.getFSM()->getMessageHandlers())
            forEachNamedList(entry.second, [&](const std::string& list, const E_FSM::MessageList& messages) {
                for (std::size_t i = 0; i < messages.size(); ++i)
                    if ((messages[i].refersTo(&to) || namesExit(messages[i], to)) && !messages[i].isCommentMessage())
                        found.push_back(
                            {&entity, std::string(view(entry.first)), list, i, std::string(view(messages[i].m_text))});
            });
    });
    return found;
}

Json toJson(const std::vector<Reference>& references) {
    Json list = Json::array();
    for (const Reference& reference : references) {
        Json json;
        json["entity"] = qualifiedName(*reference.entity);
        json["handler"] = reference.handler;
        json["list"] = reference.list;
        json["index"] = reference.index;
        json["text"] = reference.text;
        list.push_back(std::move(json));
    }
    Json json;
    json["refs"] = std::move(list);
    return json;
}

ExitCode runRefs(const RefsOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    CN_LevelEntity& root = *level.document->accessLevel();
    const CN_LevelEntity& entity = requireEntity(root, options.entity, options.file);
    const std::vector<Reference> references = findReferences(root, entity);
    if (options.json) {
        console.writeLine(toJsonText(toJson(references)));
        return ExitCode::DONE;
    }
    for (const Reference& reference : references)
        console.writeLine(fmt::format("{}, {}, {} {}: {}", toShownText(qualifiedName(*reference.entity)),
                                      toShownText(reference.handler), toShownText(reference.list), reference.index,
                                      toShownText(reference.text)));
    if (references.empty())
        console.note(options.file, fmt::format("nothing refers to \"{}\"", toShownText(qualifiedName(entity))));
    return ExitCode::DONE;
}

} // namespace

void addRefsCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<RefsOptions>();
    CommandSyntax command = program.addCommand("refs", "Show the messages of state machines that name an entity");
    command.setFooter("Each message whose target or argument is the entity, or that names the exit of a portal: the "
                      "entity that sends it, the handler, the "
                      "list in that\n(before, after or state:NAME) with the message's place from 0, and the line.");
    addLevel(command, options->file);
    command.addOption("ENTITY", options->entity, "A qualified name, or @N as in tree --json").required();
    options->addJson(command);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runRefs, chosen);
}

} // namespace cairn::host
