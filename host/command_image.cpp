#include "cairn/foundation/file.h"
#include "cairn/imaging/image.h"
#include "host/command_line.h"
#include "host/png_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace cairn::host {

namespace {

struct ImageOptions : CommonOptions {
    std::string source;
    std::string output;
    std::string format; ///< an ending without its point; empty: the source's own decides
};

/// No image that is decoded is longer: 16 bits a channel, and as much again for what stands around the pixels.
constexpr std::size_t MAX_IMAGE_BYTES = 9 * I_Image::MAX_PIXELS;

I_Image::Format formatOf(const ImageOptions& options) {
    if (options.format.empty() && options.source == "-")
        throw Failure(ExitCode::COMMAND_LINE, "image", "--format is required with standard input");
    return withFailure(ExitCode::COMMAND_LINE, options.source, [&] {
        const std::string name = options.format.empty() ? options.source : '.' + options.format;
        return I_Image::determineImageFormat(name.c_str());
    });
}

/// True where the first bytes are this mark.
template <char... mark> bool beginsWith(std::span<const unsigned char> head) {
    constexpr unsigned char bytes[] = {static_cast<unsigned char>(mark)...};
    return head.size() >= sizeof bytes && std::equal(std::begin(bytes), std::end(bytes), head.begin());
}

/// Nobody waits for the rest of what does not begin like its format, where that has a mark.
F_File::Bounds boundsFor(I_Image::Format format) {
    switch (format) {
    case I_Image::PNG:
        return {MAX_IMAGE_BYTES, beginsWith<'\x89', 'P', 'N', 'G'>};
    case I_Image::JPEG:
        return {MAX_IMAGE_BYTES, beginsWith<'\xFF', '\xD8'>};
    case I_Image::BMP:
        return {MAX_IMAGE_BYTES, beginsWith<'B', 'M'>};
    case I_Image::PCX:
        return {MAX_IMAGE_BYTES, beginsWith<'\n'>};
    default:
        return {MAX_IMAGE_BYTES};
    }
}

void decode(const std::string& source, I_Image::Format format, I_Image& image) {
    const F_File::Bounds bounds = boundsFor(format);
    const std::vector<unsigned char> bytes =
        source == "-" ? F_File::readAll(stdin, "standard input", bounds) : F_File::readAll(source, bounds);
    image.construct(format, reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
}

ExitCode runImage(const ImageOptions& options, Console& console) {
    const I_Image::Format format = formatOf(options);
    I_Image image;
    withFailure(ExitCode::INPUT, options.source, [&] { decode(options.source, format, image); });
    const std::vector<unsigned char> png = encodePng(image.getPixels(), image.getWidth(), image.getHeight());
    if (options.output == "-")
        console.write({reinterpret_cast<const char*>(png.data()), png.size()});
    else
        withFailure(ExitCode::OUTPUT, options.output, [&] { F_File::replace(options.output, png); });
    console.flush();
    if (image.getFaceCount() > 1)
        Console::afterwards([&] {
            console.note(options.source, fmt::format("the first of its {} faces is written", image.getFaceCount()));
        });
    return ExitCode::DONE;
}

} // namespace

void addImageCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<ImageOptions>();
    CommandSyntax command = program.addCommand("image", "Decode an image file and write it as PNG, pixel for pixel");
    command.addOption("IN", options->source, "Image file; \"-\" for standard input").required();
    addOutput(command, options->output);
    command.addOption("--format", options->format, "Format of the image where its ending does not tell")
        .typeName("FORMAT")
        .oneOf({"tga", "jpg", "jpeg", "pcx", "scx", "png", "bmp"});
    options->addQuiet(command);
    onChosen(command, options, runImage, chosen);
}

} // namespace cairn::host
