#include "cairn/foundation/file.h"
#include "host/command_line.h"
#include "host/level_session.h"
#include "host/obj_import.h"
#include "host/text.h"

#include <fmt/format.h>

#include <filesystem>
#include <optional>
#include <set>

namespace cairn::host {

namespace {

struct ImportOptions : CommonOptions {
    std::string source;
    std::string output;
    std::string format; ///< empty: the source's ending decides
    std::optional<double> scale;
    std::string textures; ///< folder of images, empty for none
};

bool endsIn(std::string_view name, std::string_view ending) {
    return name.size() >= ending.size() && asciiEqualNoCase(name.substr(name.size() - ending.size()), ending);
}

std::string formatOf(const ImportOptions& options) {
    if (!options.format.empty())
        return options.format;
    if (options.source == "-")
        throw Failure(ExitCode::COMMAND_LINE, "import", "--format is required with standard input");
    for (const char* format : {"map", "obj"})
        if (endsIn(options.source, std::string(".") + format))
            return format;
    throw Failure(ExitCode::COMMAND_LINE, options.source, "the ending is not that of a format to import (.map, .obj)");
}

std::string readSource(const std::string& source, std::size_t most) {
    const F_File::Bounds bounds{most};
    const std::vector<unsigned char> bytes =
        source == "-" ? F_File::readAll(stdin, "standard input", bounds) : F_File::readAll(source, bounds);
    return {bytes.begin(), bytes.end()};
}

/// What the source is called without its folder and ending.
std::string nameOf(const ImportOptions& options) {
    const std::string stem = options.source == "-" ? "" : std::filesystem::path(options.source).stem().string();
    return stem.empty() ? "imported" : stem;
}
std::filesystem::path folderOf(const ImportOptions& options) {
    const std::filesystem::path folder = std::filesystem::path(options.source).parent_path();
    return folder.empty() ? "." : folder;
}

ImportImages openImages(const ImportOptions& options, const std::string& format) {
    if (!options.textures.empty())
        return withFailure(ExitCode::INPUT, options.textures, [&] { return ImportImages(options.textures); });
    // An object's materials name their images from its own folder.
    return format == "obj" && options.source != "-" ? ImportImages::withoutSearch(folderOf(options)) : ImportImages();
}

/// What an import says when it is done.
struct Told {
    std::vector<ImportFinding> findings;
    std::set<std::string> imagesOutside; ///< names of images that were not taken
    std::string summary;
};

MapFile readMapShown(std::string_view text, const std::string& source, const Console& console) {
    const Progress progress(console, source, "faces");
    return readMap(text);
}
ObjFile readObjShown(std::string_view text, const std::string& source, const Console& console) {
    const Progress progress(console, source, "lines");
    return readObj(text);
}

Told importMapSource(const ImportOptions& options, const ImportImages& images, CN_Document& document,
                     const Console& console) {
    const std::string text = readSource(options.source, MAX_MAP_BYTES);
    const MapFile map = readMapShown(text, options.source, console);
    const Progress progress(console, options.source, "polygons");
    const double scale = options.scale.value_or(DEFAULT_MAP_SCALE);
    ImportMaterials materials(document, nameOf(options), 1 / scale, images);
    MapImportSummary summary = importMap(map, scale, materials, document);
    return {std::move(summary.findings), summary.materials.outside, summary.text()};
}

Told importObjSource(const ImportOptions& options, const ImportImages& images, CN_Document& document,
                     const Console& console) {
    const std::string text = readSource(options.source, MAX_OBJ_BYTES);
    const ObjFile object = readObjShown(text, options.source, console);
    const Progress progress(console, options.source, "polygons");
    std::vector<ImportFinding> findings;
    ObjImages names;
    if (options.source != "-")
        names = readObjMaterials(object, folderOf(options), findings);
    const double scale = options.scale.value_or(1);
    ImportMaterials materials(document, nameOf(options), ImportMaterials::GENERATED_SIZE / scale, images);
    const ObjImportSummary summary = importObj(object, names, nameOf(options), scale, materials, document);
    return {std::move(findings), summary.materials.outside, summary.text()};
}

void warnOfImages(const ImportOptions& options, const std::set<std::string>& outside, const Console& console) {
    const std::string folder = options.textures.empty() ? folderOf(options).string() : options.textures;
    std::size_t left = MapImportSummary::MAX_FINDINGS;
    for (const std::string& name : outside) {
        if (left-- == 0)
            return console.warn(options.source,
                                fmt::format("{} in all are not taken, as they lie outside of the folder \"{}\"",
                                            counted(outside.size(), "image", "images"), folder));
        console.warn(options.source, fmt::format("the image \"{}\" is not taken: it lies outside of the folder \"{}\"",
                                                 shownPiece(name), folder));
    }
}

ExitCode runImport(const ImportOptions& options, Console& console) {
    const std::string format = formatOf(options);
    const ImportImages images = openImages(options, format);
    const LevelSession session(console, options.content);
    const auto document = session.createDocument();
    document->createCairnLevelEntities();
    const Told told = withFailure(ExitCode::INPUT, options.source, [&] {
        return (format == "obj" ? importObjSource : importMapSource)(options, images, *document, console);
    });
    session.save(*document, options.output, console);
    Console::afterwards([&] {
        for (const ImportFinding& finding : told.findings)
            console.warn(options.source, fmt::format("line {}: {}", finding.line, finding.text));
        warnOfImages(options, told.imagesOutside, console);
        console.note(options.source, told.summary);
    });
    return ExitCode::DONE;
}

std::string refuseBadScale(const std::string& text) {
    double scale = 0;
    const bool good = readMapNumbers(text, &scale, 1) && scale > 0 && scale <= 1e6;
    return good ? "" : fmt::format("\"{}\" is no scale: a number above 0 and at most 1000000 is", text);
}

} // namespace

void addImportCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<ImportOptions>();
    CommandSyntax command = program.addCommand("import", "Make a level of a Quake-family .map or a Wavefront .obj");
    command.addOption("SOURCE", options->source, "File to import; \"-\" for standard input").required();
    addOutput(command, options->output);
    command.addOption("--format", options->format, "Format of the source where its ending does not tell")
        .typeName("FORMAT")
        .oneOf({"map", "obj"});
    command
        .addOption("--scale", options->scale,
                   "Units of the level to one of the source, by default 1/32 for a .map and 1 for a .obj")
        .typeName("S")
        .check(refuseBadScale);
    command.addOption("--textures", options->textures, "Folder with the image files that the source names")
        .typeName("DIR")
        .check(refuseStandardStream);
    options->addContent(command);
    options->addQuiet(command);
    command.setFooter("Of a .map, `targetname` and `target` become messages: whoever has a target sends it the event "
                      "\"Activate\", and\n"
                      "sends that to itself when it is touched, or dies. A killtarget is not imported.");
    onChosen(command, options, runImport, chosen);
}

} // namespace cairn::host
