#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/ascii.h"
#include "cairn/foundation/file.h"
#include "host/command_line.h"
#include "host/level_session.h"
#include "host/picture_raster.h"
#include "host/picture_roofs.h"
#include "host/picture_svg.h"
#include "host/png_writer.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>

namespace cairn::host {

namespace {

struct RenderOptions : CommonOptions {
    std::string file;
    std::string output;
    std::string format; ///< empty: the output's ending decides
    std::vector<double> from, to;
    bool top = false;
    bool wire = false;
    std::vector<int> size{1024, 768};
};

constexpr int MAX_SIDE = 16384;

bool isSvg(const RenderOptions& options) {
    if (!options.format.empty())
        return options.format == "svg";
    if (options.output == "-")
        throw Failure(ExitCode::COMMAND_LINE, "render", "--format is required with standard output");
    const std::string_view name = options.output;
    const std::string_view ending = name.substr(name.size() - std::min<std::size_t>(name.size(), 4));
    if (!asciiEqualNoCase(ending, ".png") && !asciiEqualNoCase(ending, ".svg"))
        throw Failure(ExitCode::COMMAND_LINE, options.output, "the ending is not that of a picture (.png, .svg)");
    return asciiEqualNoCase(ending, ".svg");
}

void checkNumbers(const RenderOptions& options) {
    for (const std::vector<double>* place : {&options.from, &options.to})
        for (const double number : *place)
            if (!std::isfinite(number))
                throw Failure(ExitCode::COMMAND_LINE, "render", "a place must be three finite numbers");
    for (const int side : options.size)
        if (side < 1 || side > MAX_SIDE)
            throw Failure(ExitCode::COMMAND_LINE, "render",
                          fmt::format("a side must be from 1 to {} pixels", MAX_SIDE));
    if (static_cast<std::size_t>(options.size[0]) * static_cast<std::size_t>(options.size[1]) > I_Image::MAX_PIXELS)
        throw Failure(ExitCode::COMMAND_LINE, "render",
                      fmt::format("a picture must have no more than {} pixels", I_Image::MAX_PIXELS));
}

PictureView chooseView(const RenderOptions& options, const PictureScene& scene) {
    const int width = options.size[0], height = options.size[1];
    if (options.top)
        return PictureView::fromAbove(scene, width, height);
    if (options.from.empty())
        return PictureView::ofScene(scene, width, height);
    return withFailure(ExitCode::COMMAND_LINE, "render", [&] {
        return PictureView::between(scene, {options.from[0], options.from[1], options.from[2]},
                                    {options.to[0], options.to[1], options.to[2]}, width, height);
    });
}

/// What the picture lacks of the level.
std::string lossesOf(const PictureScene& scene, std::size_t roofs, const PictureLabels& labels) {
    std::vector<std::string> losses;
    const auto add = [&](std::size_t count, const char* what) {
        if (count > 0)
            losses.push_back(fmt::format("{} {}", count, what));
    };
    add(scene.hidden, "hidden with all below them");
    add(roofs, "of roofs");
    add(scene.flat, "without area");
    add(scene.tooFar, "too far away");
    add(labels.leftOut, "names without room");
    return losses.empty() ? "" : fmt::format("; not drawn: {}", fmt::join(losses, ", "));
}

PictureScene collectScene(CN_Document& document, const RenderOptions& options, const Console& console) {
    const Progress progress(console, options.file);
    return makePictureScene(*document.accessLevel());
}

ExitCode runRender(const RenderOptions& options, Console& console) {
    const bool svg = isSvg(options);
    checkNumbers(options);
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    PictureScene scene = collectScene(*level.document, options, console);
    const Progress progress(console, options.output, "faces");
    const std::size_t roofs = options.top ? markRoofs(scene) : 0;
    const PictureView view = chooseView(options, scene);
    const std::vector<SeenFace> faces = view.look(scene);
    const PictureLabels labels = options.top ? placeLabels(scene, view) : PictureLabels();
    const bool wire = options.wire || options.top;

    std::string bytes;
    if (svg)
        bytes = drawSvg(view, faces, labels, wire);
    else {
        const auto image = drawRaster(view, faces, labels, wire);
        const std::vector<unsigned char> png = encodePng(image->getPixels(), image->getWidth(), image->getHeight());
        bytes.assign(png.begin(), png.end());
    }
    if (options.output == "-")
        console.write(bytes);
    else
        withFailure(ExitCode::OUTPUT, options.output, [&] {
            F_File::replace(options.output, {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
        });
    Console::afterwards([&] {
        console.note(options.file, fmt::format("{} of {} faces seen{}", faces.size(), scene.faces.size(),
                                               lossesOf(scene, roofs, labels)));
    });
    return ExitCode::DONE;
}

} // namespace

void addRenderCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<RenderOptions>();
    CommandSyntax command = program.addCommand("render", "Draw a picture of a level without a graphics card");
    addLevel(command, options->file);
    addOutput(command, options->output);
    command.addOption("--format", options->format, "Format of the picture where its ending does not tell")
        .typeName("FORMAT")
        .oneOf({"png", "svg"});
    OptionSyntax from = command.addOption("--from", options->from, "Where the viewer stands").typeName("X Y Z");
    OptionSyntax to = command.addOption("--to", options->to, "What the viewer looks at").typeName("X Y Z");
    from.expected(3).needs(to);
    to.expected(3).needs(from);
    command
        .addFlag("--top", options->top,
                 "A floor plan: from above, with the names of rooms, entities and exits and the ways between rooms")
        .excludes(from)
        .excludes(to);
    command.addFlag("--wire", options->wire, "Draw the edges of polygons, too");
    command.addOption("--size", options->size, "Pixels, by default 1024 768").typeName("W H").expected(2);
    options->addContent(command);
    options->addQuiet(command);
    command.setFooter(
        "Without --from and --to the whole level is seen from above and in front. A face is drawn in its\n"
        "material's average colour and only where its front looks at the viewer, so that one sees into a room\n"
        "from outside. Exits (green) and triggers (orange) are outlines.\n"
        "On a plan +X runs right and +Z up; a line (violet) joins the middles of two rooms through their exits. In\n"
        "a level without rooms, as a .map gives, the highest solid over a floor is a roof and left out where there\n"
        "is space below it, so that one sees the floors and the tops of walls.\n"
        "Where names have no room beside each other, those of rooms come first and those of lights last.");
    onChosen(command, options, runRender, chosen);
}

} // namespace cairn::host
