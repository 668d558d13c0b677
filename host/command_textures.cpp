#include "cairn/foundation/file.h"
#include "cairn/materials/texture_list.h"
#include "host/command_line.h"
#include "host/image_formats.h"
#include "host/level_session.h"
#include "host/safe_file_names.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace cairn::host {

namespace {

struct TexturesOptions : CommonOptions {
    std::string file;
    std::string folder; ///< empty: nothing is extracted
};

/// The ending that a file of the texture's bytes has: that of its name where it tells the format, which a name with a
/// NUL in it does not: nobody looks beyond that.
std::string endingFor(const CN_Texture& texture) {
    const std::string_view name = texture.name().view();
    if (name.find('\0') != std::string_view::npos)
        return formatName(texture.getSourceFormat()).ending;
    const bool tellsFormat = [&] {
        try {
            return I_Image::determineImageFormat(texture.name().GetString()) == texture.getSourceFormat();
        } catch (I_ImageException* e) {
            const F_ExceptionGuard guard(e);
            return false;
        }
    }();
    const std::size_t dot = name.rfind('.');
    if (tellsFormat && dot != std::string_view::npos)
        return std::string(name.substr(dot));
    return formatName(texture.getSourceFormat()).ending;
}

std::span<const unsigned char> sourceOf(const CN_Texture& texture) {
    return {static_cast<const unsigned char*>(texture.getSource()), static_cast<std::size_t>(texture.getSourceSize())};
}

/// Where each texture of the list goes, in its order.
std::vector<std::filesystem::path> choosePlaces(const CN_TextureList& textures, const std::filesystem::path& folder) {
    SafeFileNames names;
    std::vector<std::filesystem::path> places;
    for (const CN_Texture& texture : textures.list())
        places.push_back(folder / names.make(texture.name().view(), endingFor(texture)));
    return places;
}

/// Refuses what stands in the way of a file before any is written: a link could lead out of the folder.
void checkPlace(const std::filesystem::path& place) {
    std::error_code error;
    const std::filesystem::file_type type = std::filesystem::symlink_status(place, error).type();
    if (type != std::filesystem::file_type::not_found && type != std::filesystem::file_type::regular)
        throw Failure(ExitCode::OUTPUT, place.string(), "something other than a plain file stands there");
}

void extract(const CN_TextureList& textures, const std::vector<std::filesystem::path>& places,
             const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    requireMemory(error);
    if (error)
        throw Failure(ExitCode::OUTPUT, folder, error.message());
    for (const std::filesystem::path& place : places)
        checkPlace(place);
    std::vector<F_File::Replacement> files;
    for (const CN_Texture& texture : textures.list())
        files.push_back({places[files.size()].string(), sourceOf(texture)});
    withFailure(ExitCode::OUTPUT, folder, [&] { F_File::replaceAll(files); });
}

Json describe(const CN_TextureList& textures) {
    Json list = Json::array();
    for (const CN_Texture& texture : textures.list()) {
        Json& json = list.emplace_back();
        json["name"] = texture.name().str();
        json["format"] = formatName(texture.getSourceFormat()).word;
        json["width"] = texture.getWidth();
        json["height"] = texture.getHeight();
        json["bytes"] = texture.getSourceSize();
        json["refs"] = texture.getMaterialRefs();
    }
    return Json{{"textures", std::move(list)}};
}

void writeText(const CN_TextureList& textures, const std::vector<std::filesystem::path>& places, Console& console) {
    std::size_t index = 0;
    for (const CN_Texture& texture : textures.list()) {
        console.writeLine(
            fmt::format("\"{}\" {} {} x {}, {} bytes, {}{}", toShownText(texture.name().view()),
                        formatName(texture.getSourceFormat()).word, texture.getWidth(), texture.getHeight(),
                        texture.getSourceSize(),
                        counted(static_cast<std::size_t>(texture.getMaterialRefs()), "reference", "references"),
                        places.empty() ? "" : fmt::format(" -> {}", toShownText(places[index].string()))));
        ++index;
    }
}

ExitCode runTextures(const TexturesOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    const CN_TextureList& textures = level.document->getTextures();
    std::vector<std::filesystem::path> places;
    if (!options.folder.empty())
        places = choosePlaces(textures, options.folder);
    if (options.json)
        console.writeLine(toJsonText(describe(textures)));
    else
        writeText(textures, places, console);
    if (!options.folder.empty())
        extract(textures, places, options.folder);
    console.flush();
    if (!options.folder.empty())
        Console::afterwards([&] {
            const std::string number = counted(places.size(), "texture", "textures");
            console.note(options.file, fmt::format("{} extracted to {}", number, options.folder));
        });
    return ExitCode::DONE;
}

} // namespace

void addTexturesCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<TexturesOptions>();
    CommandSyntax command = program.addCommand("textures", "List a level's textures, or extract their image files");
    addLevel(command, options->file);
    command
        .addOption("--extract", options->folder,
                   "Write the image file of each texture, byte for byte, to a plain name in this folder; all are on "
                   "the disk before the first takes its place")
        .check(refuseStandardStream)
        .check([](const std::string& folder) { return folder.empty() ? "a folder is needed" : ""; });
    options->addJson(command);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runTextures, chosen);
}

} // namespace cairn::host
