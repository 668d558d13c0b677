#include "host/command_line.h"
#include "host/generate_level.h"
#include "host/level_session.h"

#include <fmt/format.h>

#include <charconv>

namespace cairn::host {

namespace {

struct GenerateOptions : CommonOptions {
    std::string output;
    int rooms = 0;
    std::uint64_t seed = 0;
};

ExitCode runGenerate(const GenerateOptions& options, Console& console) {
    const LevelSession session(console, options.content);
    const auto document = session.createDocument();
    document->createCairnLevelEntities();
    document->setInfoDocumentCreatedWithBuild("cairn generate");
    {
        const Progress progress(console, options.output, "rooms");
        generateLevel(*document, options.rooms, options.seed);
    }
    session.save(*document, options.output, console);
    return ExitCode::DONE;
}

/// What reads numbers takes a sign, and what is too large, for another number.
std::string refuseBadSeed(const std::string& text) {
    std::uint64_t seed = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seed);
    return error == std::errc() && stop == end ? "" : fmt::format("\"{}\" is no whole number from 0 to 2^64 - 1", text);
}

} // namespace

void addGenerateCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<GenerateOptions>();
    CommandSyntax command = program.addCommand("generate", "Make a level of any size for tests and timings");
    command.addOption("--rooms", options->rooms, "How many rooms it has")
        .typeName("N")
        .required()
        .between(1, MAX_GENERATED_ROOMS);
    command.addOption("--seed", options->seed, "What chance begins with, from 0 on: the same gives the same level")
        .typeName("S")
        .required()
        .check(refuseBadSeed);
    addOutput(command, options->output);
    options->addContent(command);
    options->addQuiet(command);
    command.setFooter(
        "The rooms are closed and stand on a grid: boxes, L-shaped rooms and rooms with a ramp, some with\n"
        "pillars, each with a light and some with a trigger, whose state machines\n"
        "speak to those behind the doors.");
    onChosen(command, options, runGenerate, chosen);
}

} // namespace cairn::host
