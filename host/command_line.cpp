#include "host/command_line.h"

#include <nlohmann/json.hpp>

namespace cairn::host {

void CommonOptions::addQuiet(CommandSyntax& command) { command.addFlag("--quiet", quiet, "No notes and no progress"); }
OptionSyntax CommonOptions::addJson(CommandSyntax& command) {
    return command.addFlag("--json", json, "One JSON document instead of text");
}
void CommonOptions::addForce(CommandSyntax& command) {
    command.addFlag(
        "--force", force,
        "Go on with what was read before a fault, each child of the root whole or not at all; the exit code is 1 then");
}
void CommonOptions::addContent(CommandSyntax& command) {
    command.addOption("--content", content, "Content database to check names against")
        .typeName("DB")
        .check(refuseStandardStream);
}

void answerNo(const Failure& failure, Console& console) {
    console.write(nlohmann::ordered_json{{"error", failure.what()}}.dump() + '\n');
    console.flush();
}

std::string refuseStandardStream(const std::string& path) {
    return path == "-" ? "it cannot be standard input or output" : "";
}

void addOutput(CommandSyntax& command, std::string& output) {
    command.addOption("-o,--output", output, "File to write, replaced if it exists; \"-\" for standard output")
        .typeName("OUT")
        .required();
}

void addLevel(CommandSyntax& command, std::string& file) {
    command.addOption("FILE", file, "Level file; \"-\" for standard input").required();
}

} // namespace cairn::host
