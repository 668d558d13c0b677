#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/file.h"
#include "host/command_line.h"
#include "host/entity_lookup.h"
#include "host/export_gltf.h"
#include "host/export_obj.h"
#include "host/level_session.h"
#include "host/text.h"

#include <fmt/format.h>

#include <filesystem>

namespace cairn::host {

namespace {

struct ExportOptions : CommonOptions {
    std::string file;
    std::string output;
    std::string format; ///< empty: the output's ending decides
    std::string filter;
    std::vector<std::string> names; ///< of entities
    bool selectionOnly = false;
};

constexpr const char* DETAILS =
    "The ending of OUT decides: .gltf (text with buffer and images inside), .glb (the same in one binary file) or "
    ".obj\n"
    "(with a .mtl and the images beside it). A z axis that runs the other way turns the level's left-handed space "
    "into\n"
    "that of the format.\n"
    "What is exported has the text of --filter in its name or stands below such an entity, and is selected where\n"
    "--select or --selection-only are given; places above it come along without their geometry. Exits are openings "
    "and\n"
    "have no surface. A polygon that was never triangulated is left out and told.";

std::string formatOf(const ExportOptions& options) {
    if (!options.format.empty()) {
        if (options.format == "obj" && options.output == "-")
            throw Failure(ExitCode::COMMAND_LINE, "export", "an .obj is several files and cannot be standard output");
        return options.format;
    }
    if (options.output == "-")
        throw Failure(ExitCode::COMMAND_LINE, "export", "--format is required with standard output");
    const std::string ending = asciiLowered(std::filesystem::path(options.output).extension().string());
    if (ending == ".gltf" || ending == ".glb" || ending == ".obj")
        return ending.substr(1);
    if (ending == ".xml" || ending == ".script")
        throw Failure(ExitCode::COMMAND_LINE, options.output,
                      "state machines are not exported by this version, only geometry (.obj, .gltf, .glb)");
    throw Failure(ExitCode::COMMAND_LINE, options.output,
                  "the ending is not that of a format to export (.obj, .gltf, .glb)");
}

/// Puts the entity and all below it into the selection, as selecting in an editor does.
void select(std::set<const CN_LevelEntity*>& selection, const CN_LevelEntity& entity) {
    selection.insert(&entity);
    CN_ConstPreIterator it = entity.createConstIterator();
    for (it.begin(); !it.end(); ++it)
        selection.insert(*it);
}

ExportChoice choose(const ExportOptions& options, CN_Document& document) {
    ExportChoice choice;
    choice.filter = options.filter;
    choice.selectionOnly = options.selectionOnly || !options.names.empty();
    for (const std::string& name : options.names) {
        const CN_LevelEntity* const entity = findEntity(*document.accessLevel(), name);
        if (!entity)
            throw Failure(ExitCode::NO, options.file, fmt::format("no entity is named \"{}\"", toShownText(name)));
        select(choice.selection, *entity);
    }
    if (options.names.empty()) {
        CN_SelectionIterator it = document.accessSelection()->createIterator();
        for (it.begin(); !it.end(); ++it)
            choice.selection.insert(*it);
    }
    return choice;
}

/// Refuses what stands in the way of a file before any is written: a link could lead out of the folder.
void checkPlace(const std::filesystem::path& place) {
    std::error_code error;
    const std::filesystem::file_type type = std::filesystem::symlink_status(place, error).type();
    if (type != std::filesystem::file_type::not_found && type != std::filesystem::file_type::regular)
        throw Failure(ExitCode::OUTPUT, place.string(), "something other than a plain file stands there");
}

/// The geometry comes last: as long as it is not there nobody takes the rest for whole.
void writeFiles(const std::vector<ExportFile>& files, const std::string& output) {
    const std::filesystem::path folder = std::filesystem::path(output).parent_path();
    for (std::size_t i = 0; i + 1 < files.size(); ++i)
        checkPlace(folder / files[i].name);
    for (const ExportFile& file : files) {
        const std::string place = &file == &files.back() ? output : (folder / file.name).string();
        withFailure(ExitCode::OUTPUT, place, [&] { F_File::replace(place, file.bytes); });
    }
}

void writeScene(ExportScene& scene, const std::string& format, const ExportOptions& options, Console& console) {
    const Progress progress(console, options.output);
    if (format == "obj") {
        writeFiles(writeObj(scene, std::filesystem::path(options.output).filename().string()), options.output);
        return;
    }
    const std::string bytes = writeGltf(scene, format == "glb", options.output);
    if (options.output == "-")
        console.write(bytes);
    else
        withFailure(ExitCode::OUTPUT, options.output, [&] {
            F_File::replace(options.output, {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
        });
}

/// For the end: a command that fails says nothing but why.
void tell(const ExportScene& scene, const std::string& format, const std::string& file, Console& console) {
    console.flush();
    std::size_t meshes = 0, animations = 0;
    for (const ExportNode& node : scene.nodes) {
        meshes += !node.surfaces.empty();
        animations += node.animations.size();
    }
    std::string text = fmt::format("{} triangles of {} meshes", scene.triangleCount(), meshes);
    if (format != "obj")
        text += fmt::format(" in {} entities, and {} animations", scene.nodes.size(), animations);
    console.note(file, "exported " + text);
    for (const ExportLoss& loss : scene.losses)
        console.warn(file, fmt::format("{} {}, the first is {}", loss.count, loss.what, loss.first));
}

ExitCode runExport(const ExportOptions& options, Console& console) {
    const std::string format = formatOf(options);
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, options.force);
    const ExportChoice choice = choose(options, *level.document);
    ExportScene scene;
    {
        const Progress progress(console, options.file, "polygons");
        scene = makeExportScene(*level.document->getLevel(), choice);
    }
    if (scene.nodes.empty())
        throw Failure(ExitCode::NO, options.file, "nothing of it is chosen for the export");
    writeScene(scene, format, options, console);
    tell(scene, format, options.file, console);
    session.warnOfFault(level, options.file, console);
    return level.isWhole() ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addExportCommand(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<ExportOptions>();
    CLI::App* command = app.add_subcommand("export", "Write a level's geometry as OBJ or glTF");
    command->footer(DETAILS);
    command->add_option("FILE", options->file, "Level file; \"-\" for standard input")->required();
    addOutput(*command, options->output);
    command->add_option("--format", options->format, "Format of the output where its ending does not tell")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"obj", "gltf", "glb"}));
    command->add_option("--filter", options->filter,
                        "Export what has this text in its name, in any case of its letters, and all below it");
    command
        ->add_option("--select", options->names,
                     "Export this entity (a qualified name, or @N as in tree --json) and all below it; may be repeated")
        ->type_name("NAME")
        ->take_all()
        ->expected(1);
    command->add_flag("--selection-only", options->selectionOnly,
                      "Export what is selected in the level; with --select, what that names instead");
    options->addContent(*command);
    options->addForce(*command);
    options->addQuiet(*command);
    onChosen(*command, options, runExport, chosen);
}

} // namespace cairn::host
