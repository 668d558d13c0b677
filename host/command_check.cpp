#include "host/command_line.h"
#include "host/problems.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace cairn::host {

namespace {

struct CheckOptions : CommonOptions {
    std::vector<std::string> files;
    std::vector<std::string> ignored; ///< codes
    std::string catalogue;            ///< file, empty for the usual ones
    bool strict = false;

    bool isIgnored(const Problem& problem) const {
        return std::find(ignored.begin(), ignored.end(), problem.kind->code) != ignored.end();
    }
};

const char* severityName(const Problem& problem) {
    return problem.kind->severity == Severity::ERROR ? "error" : "warning";
}

/// The problems of one file that are not ignored.
struct CheckedFile {
    std::string file;
    std::vector<Problem> problems;

    bool isOk() const {
        return std::none_of(problems.begin(), problems.end(),
                            [](const Problem& p) { return p.kind->severity == Severity::ERROR; });
    }
};

CheckedFile checkFile(const CheckOptions& options, const std::string& file, LevelSession& session,
                      const CN_FSMMessageInfoProvider* catalogue) {
    CheckedFile checked{file, {}};
    const OpenedLevel level = withFailure(ExitCode::INTERNAL, file, [&] { return session.open(file); });
    checked.problems = findProblems(level, session.hasContent(), catalogue, options.force);
    std::erase_if(checked.problems, [&](const Problem& p) { return options.isIgnored(p); });
    return checked;
}

Json toJson(const CheckedFile& checked) {
    Json problems = Json::array();
    for (const Problem& problem : checked.problems) {
        Json json;
        json["severity"] = severityName(problem);
        json["code"] = problem.kind->code;
        json["entity"] = problem.entity ? Json(*problem.entity) : Json();
        json["polygon"] = problem.polygon >= 0 ? Json(problem.polygon) : Json();
        json["message"] = problem.message;
        problems.push_back(std::move(json));
    }
    Json json;
    json["file"] = checked.file;
    json["ok"] = checked.isOk();
    json["problems"] = std::move(problems);
    return json;
}

void writeText(const CheckedFile& checked, Console& console) {
    for (const Problem& problem : checked.problems) {
        const bool error = problem.kind->severity == Severity::ERROR;
        std::string line = fmt::format("{}: {}: {}: ", toShownText(checked.file),
                                       console.colored(severityName(problem), error), problem.kind->code);
        if (problem.entity)
            line += toShownText(*problem.entity);
        if (problem.polygon >= 0)
            line += fmt::format("#{}", problem.polygon);
        if (problem.entity || problem.polygon >= 0)
            line += ": ";
        std::string message = problem.message;
        std::replace(message.begin(), message.end(), '\n', ' ');
        console.writeLine(line + toShownText(message));
    }
    if (checked.problems.empty())
        console.writeLine(toShownText(checked.file) + ": ok");
}

ExitCode runCheck(const CheckOptions& options, Console& console) {
    if (options.files.size() > 1 && std::find(options.files.begin(), options.files.end(), "-") != options.files.end())
        throw Failure(ExitCode::COMMAND_LINE, "check", "standard input cannot be one of several files");
    LevelSession session(console, options.content);
    const CN_FSMMessageInfoProvider* const catalogue = session.readCatalogue(options.catalogue);
    bool ok = true, spotless = true;
    Json files = Json::array();
    for (const std::string& file : options.files) {
        const CheckedFile checked = checkFile(options, file, session, catalogue);
        ok &= checked.isOk();
        spotless &= checked.problems.empty();
        if (options.json)
            files.push_back(toJson(checked));
        else
            writeText(checked, console);
    }
    if (options.json) {
        Json document;
        document["ok"] = ok;
        document["files"] = std::move(files);
        console.writeLine(toJsonText(document));
    }
    return ok && (spotless || !options.strict) ? ExitCode::DONE : ExitCode::NO;
}

std::string refuseUnknownCode(const std::string& code) {
    return findProblemKind(code) ? "" : fmt::format("no problem has the code \"{}\"", code);
}

std::string listOfCodes() {
    std::string list = "A content database that cannot be read ends the command with exit code 3.\nCodes:";
    for (const ProblemKind& kind : problemKinds())
        list += fmt::format(" {}", kind.code);
    return list;
}

} // namespace

void addCheckCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<CheckOptions>();
    CommandSyntax command =
        program.addCommand("check", "Report everything wrong with levels; exit code 1 with any error");
    command.addOption("FILE", options->files, "Level files; \"-\" for standard input where it is the only one")
        .required();
    command.addFlag("--strict", options->strict, "Exit code 1 with any problem");
    command.addOption("--ignore", options->ignored, "Leave out problems of that code")
        .typeName("CODE")
        .oneEachTime()
        .check(refuseUnknownCode);
    command
        .addOption("--catalogue", options->catalogue,
                   "Message catalogue to check machines against; else messages.txt here, or the one that ships")
        .typeName("FILE")
        .check(refuseStandardStream);
    command.setFooter(listOfCodes());
    options->addJson(command);
    options->addContent(command);
    options->addForce(command);
    options->addQuiet(command);
    onChosen(command, options, runCheck, chosen);
}

} // namespace cairn::host
