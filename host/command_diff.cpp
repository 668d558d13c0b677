#include "host/command_line.h"
#include "host/level_diff.h"
#include "host/level_session.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace cairn::host {

namespace {

struct DiffOptions : CommonOptions {
    std::string first, second;
};

constexpr const char* KINDS[] = {"added", "removed", "renamed", "moved", "changed"};

Json toJson(const std::optional<std::string>& text) { return text ? Json(*text) : Json(); }

Json toJson(const std::vector<LevelChange>& changes) {
    Json list = Json::array();
    for (const LevelChange& change : changes) {
        Json json;
        json["kind"] = KINDS[change.kind];
        json["entity"] = toJson(change.entity);
        json["what"] = change.what;
        json["from"] = toJson(change.from);
        json["to"] = toJson(change.to);
        list.push_back(std::move(json));
    }
    Json json;
    json["equal"] = changes.empty();
    json["changes"] = std::move(list);
    return json;
}

/// A value for people: on one line, and no longer than they read.
std::string toLine(const std::string& text) {
    constexpr std::size_t MOST = 160;
    if (text.size() <= MOST)
        return toShownText(text);
    std::size_t end = MOST;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) // not within a character
        --end;
    return toShownText(text.substr(0, end)) + "...";
}

std::string toLine(const LevelChange& change) {
    const std::string what = "    " + toShownText(change.what);
    if (change.from && change.to)
        return fmt::format("{}: {} -> {}", what, toLine(*change.from), toLine(*change.to));
    if (change.from || change.to)
        return fmt::format("{} {}: {}", what, change.to ? "came" : "went",
                           toLine(change.to ? *change.to : *change.from));
    return what;
}

/// An entity a paragraph: a line for its coming, going, name or place, else for itself, and one below for each change.
void writeText(const std::vector<LevelChange>& changes, Console& console) {
    std::optional<std::string> headed; // the paragraph's entity
    bool isFirst = true;
    for (const LevelChange& change : changes) {
        const std::string entity = change.entity ? toShownText(*change.entity) : "level";
        const bool isNew = isFirst || headed != change.entity || change.kind != LevelChange::CHANGED;
        isFirst = false;
        headed = change.entity;
        if (change.kind == LevelChange::RENAMED || change.kind == LevelChange::MOVED)
            console.writeLine(fmt::format("{:<7} {} -> {}", KINDS[change.kind], toShownText(*change.from), entity));
        else if (change.kind != LevelChange::CHANGED)
            console.writeLine(fmt::format("{:<7} {} ({})", KINDS[change.kind], entity,
                                          toShownText(change.to ? *change.to : *change.from)));
        else if (isNew)
            console.writeLine(fmt::format("{:<7} {}", KINDS[change.kind], entity));
        if (change.kind == LevelChange::CHANGED)
            console.writeLine(toLine(change));
    }
}

/// How many entities came, went and so on; an entity of two kinds counts for both.
std::string summaryOf(const std::vector<LevelChange>& changes) {
    std::array<int, std::size(KINDS)> counts{};
    const LevelChange* lastChanged = nullptr;
    for (const LevelChange& change : changes) {
        if (change.kind == LevelChange::CHANGED && lastChanged && lastChanged->entity == change.entity)
            continue;
        ++counts[change.kind];
        lastChanged = change.kind == LevelChange::CHANGED ? &change : lastChanged;
    }
    std::vector<std::string> parts;
    for (std::size_t kind = 0; kind < counts.size(); ++kind)
        if (counts[kind] > 0)
            parts.push_back(fmt::format("{} {}", counts[kind], KINDS[kind]));
    return fmt::format("{}", fmt::join(parts, ", "));
}

/// A load passes over what a newer writer has added.
void warnOfNewerData(const OpenedLevel& level, const std::string& file, const Console& console) {
    for (const CN_LoadFinding& finding : level.document->getLoadReport().getFindings())
        if (finding.code == "newer-data")
            console.warn(file, fmt::format("is not compared: {}", toShownText(finding.text)));
}

ExitCode runDiff(const DiffOptions& options, Console& console) {
    if (options.first == "-" && options.second == "-")
        throw Failure(ExitCode::COMMAND_LINE, "diff", "only one of both can be standard input");
    LevelSession session(console, options.content);
    const OpenedLevel first = session.openForUse(options.first, false);
    const OpenedLevel second = session.openForUse(options.second, false);
    const std::vector<LevelChange> changes = [&] {
        const Progress progress(console, options.second);
        return withFailure(ExitCode::INTERNAL, "diff",
                           [&] { return compareLevels(*first.document, *second.document); });
    }();
    if (options.json) {
        console.writeLine(toJsonText(toJson(changes)));
    } else if (!changes.empty()) {
        writeText(changes, console);
        console.writeLine(summaryOf(changes));
    }
    console.flush();
    warnOfNewerData(first, options.first, console);
    warnOfNewerData(second, options.second, console);
    return changes.empty() ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addDiffCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<DiffOptions>();
    CommandSyntax command = program.addCommand("diff", "Show what differs between two levels");
    command.setFooter(
        "Entities are known by name, and where that is gone by likeness: a room that was renamed is one "
        "change, and so is\none that was moved elsewhere. For each other entity follows what of it has changed. "
        "Nothing is printed for equal\nlevels. Exit codes: 0 equal, 1 not.");
    command.addOption("A", options->first, "Level file; \"-\" for standard input").required();
    command.addOption("B", options->second, "Level file to compare it with; \"-\" for standard input").required();
    options->addJson(command);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runDiff, chosen);
}

} // namespace cairn::host
