#include "cairn/foundation/file.h"
#include "host/command_line.h"
#include "host/level_session.h"
#include "host/map_import.h"

#include <fmt/format.h>

#include <cmath>

namespace cairn::host {

namespace {

struct ImportOptions : CommonOptions {
    std::string source;
    std::string output;
    std::string format; ///< empty: the source's ending decides
    double scale = DEFAULT_MAP_SCALE;
};

void requireMap(const ImportOptions& options) {
    const bool named = !options.format.empty() || options.source == "-";
    if (options.format.empty() && options.source == "-")
        throw Failure(ExitCode::COMMAND_LINE, "import", "--format is required with standard input");
    const std::string_view source = options.source;
    const bool endsInMap = source.size() >= 4 && asciiEqualNoCase(source.substr(source.size() - 4), ".map");
    if (!named && !endsInMap)
        throw Failure(ExitCode::COMMAND_LINE, options.source, "the ending is not that of a format to import (.map)");
}

std::vector<unsigned char> readSource(const std::string& source) {
    const F_File::Bounds bounds{MAX_MAP_BYTES};
    return source == "-" ? F_File::readAll(stdin, "standard input", bounds) : F_File::readAll(source, bounds);
}

ExitCode runImport(const ImportOptions& options, Console& console) {
    requireMap(options);
    const LevelSession session(console, options.content);
    const auto document = session.createDocument();
    document->createCairnLevelEntities();
    const MapImportSummary summary = withFailure(ExitCode::INPUT, options.source, [&] {
        const std::vector<unsigned char> bytes = readSource(options.source);
        const MapFile map = readMap({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        return importMap(map, options.scale, *document);
    });
    session.save(*document, options.output, console);
    console.note(options.source, summary.text());
    return ExitCode::DONE;
}

std::string refuseBadScale(const std::string& text) {
    double scale = 0;
    const bool good = readMapNumbers(text, &scale, 1) && scale > 0 && scale <= 1e6;
    return good ? "" : fmt::format("\"{}\" is no scale: a number above 0 and at most 1000000 is", text);
}

} // namespace

void addImportCommand(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<ImportOptions>();
    CLI::App* command = app.add_subcommand("import", "Make a level of the point entities of a Quake-family .map");
    command->add_option("SOURCE", options->source, "File to import; \"-\" for standard input")->required();
    addOutput(*command, options->output);
    command->add_option("--format", options->format, "Format of the source where its ending does not tell")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"map"}));
    command->add_option("--scale", options->scale, "Units of the level to one of the source, by default 1/32")
        ->type_name("S")
        ->check(refuseBadScale);
    options->addContent(*command);
    options->addQuiet(*command);
    onChosen(*command, options, runImport, chosen);
}

} // namespace cairn::host
