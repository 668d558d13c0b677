#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/file.h"
#include "host/command_line.h"
#include "host/entity_lookup.h"
#include "host/export_gltf.h"
#include "host/export_machines.h"
#include "host/export_obj.h"
#include "host/level_session.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
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
    "The ending of OUT decides:\n"
    ".gltf (text with buffer and images inside), .glb (the same in one binary file), .obj (with a .mtl and the images\n"
    "beside it): geometry. A z axis that runs the other way turns the level's left-handed space into that of the\n"
    "format. What is exported has the text of --filter in its name or stands below such an entity, and is selected\n"
    "where --select or --selection-only are given; places above it come along without their geometry. Exits are\n"
    "openings and have no surface. A polygon that was never triangulated is left out and told.\n"
    ".xml: the state machines, with the messages that have the text of --filter in their line (or all, of a machine\n"
    "whose entity's name has it) and that go to, or name, what is selected. Names and lines stand in it as they are:\n"
    "nothing is escaped.\n"
    ".script: the lines of the game's script, entity by entity; with --select or --selection-only those that have to\n"
    "do with nothing but what is selected; --filter does not go with it.";

/// A form of the output, named as its ending is.
struct Format {
    std::string_view name;
    bool isGeometry;
};
constexpr Format FORMATS[] = {{"obj", true}, {"gltf", true}, {"glb", true}, {"xml", false}, {"script", false}};

const Format* findFormat(std::string_view name) {
    const auto format =
        std::find_if(std::begin(FORMATS), std::end(FORMATS), [name](const Format& f) { return f.name == name; });
    return format == std::end(FORMATS) ? nullptr : format;
}

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const Format& format : FORMATS)
        names.emplace_back(format.name);
    return names;
}

const Format& formatOf(const ExportOptions& options) {
    const std::string ending = asciiLowered(std::filesystem::path(options.output).extension().string());
    if (options.format.empty() && options.output == "-")
        throw Failure(ExitCode::COMMAND_LINE, "export", "--format is required with standard output");
    const Format* const format = !options.format.empty()
                                     ? findFormat(options.format)
                                     : findFormat(std::string_view(ending).substr(ending.empty() ? 0 : 1));
    if (!format)
        throw Failure(
            ExitCode::COMMAND_LINE, options.output,
            fmt::format("the ending is not that of a format to export (.{})", fmt::join(formatNames(), ", .")));
    if (format->name == "obj" && options.output == "-")
        throw Failure(ExitCode::COMMAND_LINE, "export", "an .obj is several files and cannot be standard output");
    if (format->name == "script" && !options.filter.empty())
        throw Failure(ExitCode::COMMAND_LINE, "export", "--filter does not go with a script");
    return *format;
}

/// Selects the entities that the user names, and all below them, in place of what is selected in the level.
void selectNamed(const ExportOptions& options, CN_Document& document) {
    CN_Selection& selection = *document.accessSelection();
    selection.clear();
    for (const std::string& name : options.names) {
        CN_LevelEntity& entity = requireEntity(*document.accessLevel(), name, options.file);
        selection.add(&entity);
        selection.addSubTrees(true, &entity);
    }
}

ExportChoice choose(const ExportOptions& options, CN_Document& document) {
    ExportChoice choice;
    choice.filter = options.filter;
    choice.selectionOnly = options.selectionOnly || !options.names.empty();
    if (!options.names.empty())
        selectNamed(options, document);
    CN_SelectionIterator it = document.accessSelection()->createIterator();
    for (it.begin(); !it.end(); ++it)
        choice.selection.insert(*it);
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
    std::vector<F_File::Replacement> replacements;
    for (const ExportFile& file : files)
        replacements.push_back({&file == &files.back() ? output : (folder / file.name).string(), file.bytes});
    withFailure(ExitCode::OUTPUT, output, [&] { F_File::replaceAll(replacements); });
}

void writeFile(const std::string& bytes, const ExportOptions& options, Console& console) {
    if (options.output == "-")
        console.write(bytes);
    else
        withFailure(ExitCode::OUTPUT, options.output, [&] {
            F_File::replace(options.output, {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
        });
}

void writeScene(ExportScene& scene, const Format& format, const ExportOptions& options, Console& console) {
    const Progress progress(console, options.output);
    if (format.name == "obj")
        writeFiles(writeObj(scene, std::filesystem::path(options.output).filename().string()), options.output);
    else
        writeFile(writeGltf(scene, format.name == "glb", options.output), options, console);
}

[[noreturn]] void refuseNothing(const std::string& file) {
    throw Failure(ExitCode::NO, file, "nothing of it is chosen for the export");
}

/// For the end, as a command that fails says nothing but why: what was exported and what was not.
void tell(const std::string& done, const std::vector<ExportLoss>& losses, const std::string& file, Console& console) {
    console.flush();
    Console::afterwards([&] {
        console.note(file, "exported " + done);
        for (const ExportLoss& loss : losses)
            console.warn(file, fmt::format("{} {}, the first is {}", loss.count, loss.what, loss.first));
    });
}

std::string describe(const ExportScene& scene, const Format& format) {
    std::size_t meshes = 0, animations = 0;
    for (const ExportNode& node : scene.nodes) {
        meshes += !node.surfaces.empty();
        animations += node.animations.size();
    }
    std::string text = fmt::format("{} of {}", counted(scene.triangleCount(), "triangle", "triangles"),
                                   counted(meshes, "mesh", "meshes"));
    if (format.name != "obj")
        text += fmt::format(" in {}, and {}", counted(scene.nodes.size(), "entity", "entities"),
                            counted(animations, "animation", "animations"));
    return text;
}

void exportGeometry(CN_Document& document, const Format& format, const ExportOptions& options, Console& console) {
    ExportScene scene;
    {
        const Progress progress(console, options.file, "polygons");
        scene = makeExportScene(*document.getLevel(), choose(options, document));
    }
    if (scene.nodes.empty())
        refuseNothing(options.file);
    const std::string exported = describe(scene, format);
    writeScene(scene, format, options, console);
    tell(exported, scene.losses, options.file, console);
}

void exportMachines(CN_Document& document, const Format& format, const ExportOptions& options, Console& console) {
    const ExportChoice choice = choose(options, document);
    const MachineText machines =
        format.name == "xml" ? makeMachineXml(*document.getLevel(), choice) : makeScript(document, choice);
    if (machines.machines == 0 && (choice.selectionOnly || !choice.filter.empty()))
        refuseNothing(options.file);
    const std::string exported = counted(machines.machines, "state machine", "state machines");
    writeFile(machines.text, options, console);
    tell(exported, machines.losses, options.file, console);
}

ExitCode runExport(const ExportOptions& options, Console& console) {
    const Format& format = formatOf(options);
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, options.force);
    (format.isGeometry ? exportGeometry : exportMachines)(*level.document, format, options, console);
    session.warnOfFault(level, options.file, console);
    return level.isWhole() ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addExportCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<ExportOptions>();
    CommandSyntax command = program.addCommand("export", "Write a level's geometry, or its state machines");
    command.setFooter(DETAILS);
    addLevel(command, options->file);
    addOutput(command, options->output);
    command.addOption("--format", options->format, "Format of the output where its ending does not tell")
        .typeName("FORMAT")
        .oneOf(formatNames());
    command.addOption("--filter", options->filter,
                      "Export what has this text in its name (in .xml in its line), in any case of its letters");
    command
        .addOption("--select", options->names,
                   "Export this entity (a qualified name, or @N as in tree --json) and all below it; may be repeated")
        .typeName("NAME")
        .repeatable();
    command.addFlag("--selection-only", options->selectionOnly,
                    "Export what is selected in the level; with --select, what that names instead");
    options->addContent(command);
    options->addForce(command);
    options->addQuiet(command);
    onChosen(command, options, runExport, chosen);
}

} // namespace cairn::host
