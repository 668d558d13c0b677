#include "cairn/foundation/file.h"
#include "host/command_line.h"
#include "host/level_session.h"
#include "host/salvage.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>

namespace cairn::host {

namespace {

struct RecoverOptions : CommonOptions {
    std::string file;
    std::string output;
};

Json toJson(const Salvage& salvage) {
    Json lost = Json::array();
    for (const LostPart& part : salvage.lost) {
        Json json;
        json["offset"] = part.offset;
        json["bytes"] = part.bytes;
        json["name"] = part.name.empty() ? Json() : Json(toUtf8(part.name));
        json["reason"] = toUtf8(part.reason);
        lost.push_back(std::move(json));
    }
    Json json;
    json["kept"] = salvage.kept;
    json["lost"] = std::move(lost);
    return json;
}

/// One line each: what is kept, and each loss.
template <class Write> void writeText(const Salvage& salvage, Write&& write) {
    write(fmt::format("kept: {}", salvage.kept));
    for (const LostPart& part : salvage.lost)
        write(fmt::format("lost: at {}, {} bytes: {}{}", part.offset, part.bytes,
                          part.name.empty() ? "" : "\"" + toShownText(part.name) + "\": ", toShownText(part.reason)));
}

/// All bytes, also of a file that does not begin like a level.
std::vector<unsigned char> readBytes(const std::string& file) {
    const F_File::Bounds bounds{UINT32_MAX, nullptr};
    return file == "-" ? F_File::readAll(stdin, "standard input", bounds) : F_File::readAll(file, bounds);
}

ExitCode runRecover(const RecoverOptions& options, Console& console) {
    if (options.json && options.output == "-")
        throw Failure(ExitCode::COMMAND_LINE, "recover", "standard output cannot take both the level and the report");
    LevelSession session(console, options.content);
    const Salvage salvage = withFailure(ExitCode::INPUT, options.file, [&] {
        const Progress progress(console, options.file);
        return salvageLevel(readBytes(options.file), [&session] { return session.createDocument(); });
    });
    if (!salvage.document)
        throw Failure(ExitCode::INPUT, options.file, "nothing like a level is in it");
    // A report that memory lacks for ends the command ahead of the output.
    if (options.json)
        console.writeLine(toJsonText(toJson(salvage)));
    else if (options.output != "-")
        writeText(salvage, [&console](const std::string& line) { console.writeLine(line); });
    session.save(*salvage.document, options.output, console);
    if (options.output == "-" && !salvage.lost.empty())
        writeText(salvage, [&](const std::string& line) { console.warn(options.file, line); });
    return salvage.lost.empty() ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addRecoverCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<RecoverOptions>();
    CommandSyntax command =
        program.addCommand("recover", "Save what is whole of a damaged level; exit code 1 with any loss");
    command.addOption("FILE", options->file, "Level file, damaged or not; \"-\" for standard input").required();
    addOutput(command, options->output);
    command.setFooter("What has lost its parent stands below the entity \"Recovered\" at the root.");
    options->addJson(command);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runRecover, chosen);
}

} // namespace cairn::host
