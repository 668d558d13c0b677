#include "cairn/entities/cairn_level.h"
#include "host/command_line.h"
#include "host/entity_text.h"
#include "host/level_session.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace cairn::host {

namespace {

struct TreeOptions : CommonOptions {
    std::string file;
};

/// Writes the tree in pre-order. Recursion is as deep as the tree, which a load bounds.
class TreeWriter {
  public:
    explicit TreeWriter(Console& console) : m_console(console) {}

    void writeJson(const CN_LevelEntity& entity) {
        const CN_LevelEntity::Vector& at = entity.getWorldPosition();
        Json json;
        json["number"] = m_number++;
        json["name"] = plainName(entity);
        json["kind"] = kindName(entity.getEntityId());
        json["id"] = entity.getEntityId();
        json["qualified"] = qualifiedName(entity);
        json["visible"] = entity.isVisible();
        json["excluded"] = entity.isExcludedFromGame();
        json["position"] = {at.x, at.y, at.z};
        json["flags"] = flagsOf(entity);
        // The children go straight into the result: a document of the whole tree would take many times its text.
        std::string text = toJsonText(json);
        text.back() = ',';
        m_console.write(text);
        m_console.write("\"children\":[");
        bool first = true;
        for (const CN_LevelEntity* child : entity.getChildren()) {
            if (!first)
                m_console.write(",");
            first = false;
            writeJson(*child);
        }
        m_console.write("]}");
    }

    void writeText(const CN_LevelEntity& entity, std::size_t depth) {
        std::vector<std::string> flags = flagsOf(entity);
        if (!entity.isVisible())
            flags.emplace_back("hidden");
        if (entity.isExcludedFromGame())
            flags.emplace_back("excluded");
        m_console.writeLine(fmt::format("{}{} ({}){}", std::string(2 * depth, ' '), toShownText(plainName(entity)),
                                        kindName(entity.getEntityId()),
                                        flags.empty() ? "" : fmt::format(" [{}]", fmt::join(flags, ", "))));
        for (const CN_LevelEntity* child : entity.getChildren())
            writeText(*child, depth + 1);
    }

  private:
    Console& m_console;
    std::size_t m_number = 0; ///< of the next entity
};

ExitCode runTree(const TreeOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, options.force);
    const CN_LevelEntity& root = *level.document->getLevel();
    TreeWriter writer(console);
    if (options.json) {
        writer.writeJson(root);
        console.write("\n");
    } else
        writer.writeText(root, 0);
    session.warnOfFault(level, options.file, console);
    return level.isWhole() ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addTreeCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<TreeOptions>();
    CommandSyntax command = program.addCommand("tree", "Show the entities, one a line: indented name, kind, flags");
    addLevel(command, options->file);
    options->addJson(command);
    options->addContent(command);
    options->addForce(command);
    options->addQuiet(command);
    onChosen(command, options, runTree, chosen);
}

} // namespace cairn::host
