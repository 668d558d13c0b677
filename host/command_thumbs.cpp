#include "cairn/foundation/file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/material_wrapper.h"
#include "host/command_line.h"
#include "host/label_font.h"
#include "host/level_session.h"
#include "host/png_writer.h"
#include "host/sheet_layout.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace cairn::host {

namespace {

struct ThumbsOptions : CommonOptions {
    std::string file;
    std::string output;
};

constexpr I_Color BACKGROUND(32, 34, 38);
constexpr I_Color MATERIAL_COLOR(226, 226, 226);
constexpr I_Color CATEGORY_COLOR(255, 204, 102);
constexpr I_Color MISSING_COLOR(176, 64, 64);

constexpr int ICON = CN_Material::THUMB_SIZE;
constexpr int GAP = SheetLayout::GAP;

/// One sheet of a level's materials: a heading for each category, its materials in rows below, each over its name.
class ContactSheet {
  public:
    /// The layout must fit.
    ContactSheet(const CN_MaterialWrapper& materials, const SheetLayout& layout)
        : m_materials(materials), m_layout(layout),
          m_picture(static_cast<unsigned>(layout.width), static_cast<unsigned>(layout.height)) {}

    const I_Image& draw() {
        std::fill_n(m_picture.accessPixels(), std::ptrdiff_t{m_picture.getWidth()} * m_picture.getHeight(), BACKGROUND);
        int y = GAP;
        for (const CN_MaterialsCategory& category : m_materials.getCategories())
            y = drawCategory(category, y);
        if (m_materials.getCategories().empty())
            LabelFont::draw(m_picture, GAP, y, "no materials", MATERIAL_COLOR);
        return m_picture;
    }

  private:
    int drawCategory(const CN_MaterialsCategory& category, int y) {
        const int room = (m_picture.getWidth() - 2 * GAP) / LabelFont::WIDTH;
        const std::string count = fmt::format(" ({})", category.numMaterials());
        LabelFont::draw(m_picture, GAP, y,
                        LabelFont::shorten(category.name().view(), room - static_cast<int>(count.size())) + count,
                        CATEGORY_COLOR);
        y += SheetLayout::HEADING_HEIGHT;
        int index = 0;
        for (const CN_Material* material : category.getMaterials()) {
            drawMaterial(*material, GAP + index % m_layout.columns * SheetLayout::CELL_WIDTH,
                         y + index / m_layout.columns * SheetLayout::CELL_HEIGHT);
            ++index;
        }
        return y + m_layout.rowsOf(category.numMaterials()) * SheetLayout::CELL_HEIGHT;
    }

    void drawMaterial(const CN_Material& material, int x, int y) {
        const std::string label =
            LabelFont::shorten(material.name().view(), (SheetLayout::CELL_WIDTH - GAP) / LabelFont::WIDTH);
        drawIcon(material.getThumbImage(), x, y);
        LabelFont::draw(m_picture, x, y + ICON + 1, label, MATERIAL_COLOR);
    }

    /// The icon as the host's lists show it, or a crossed box where there is none.
    void drawIcon(const I_Image* icon, int left, int top) {
        const auto pixel = [&](int x, int y) {
            const bool crossed = x == y || x == ICON - 1 - y || x % (ICON - 1) == 0 || y % (ICON - 1) == 0;
            I_Color color = icon ? icon->getPixels()[y * ICON + x] : crossed ? MISSING_COLOR : BACKGROUND;
            color.alpha = 255;
            return color;
        };
        for (int y = 0; y < ICON; ++y)
            for (int x = 0; x < ICON; ++x)
                m_picture.accessPixels()[std::ptrdiff_t{top + y} * m_picture.getWidth() + left + x] = pixel(x, y);
    }

    const CN_MaterialWrapper& m_materials;
    SheetLayout m_layout;
    I_Image m_picture;
};

SheetLayout layOut(const CN_MaterialWrapper& materials, const std::string& subject) {
    std::vector<int> categories;
    for (const CN_MaterialsCategory& category : materials.getCategories())
        categories.push_back(category.numMaterials());
    const SheetLayout layout = layOutSheet(categories);
    if (!layout.fits())
        throw Failure(ExitCode::OUTPUT, subject,
                      fmt::format("a sheet of {} materials in {} categories would have more than {} pixels",
                                  materials.numMaterials(), categories.size(), I_Image::MAX_PIXELS));
    return layout;
}

ExitCode runThumbs(const ThumbsOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    const CN_MaterialWrapper& materials = level.document->getMaterials();
    const std::string subject = options.output == "-" ? "standard output" : options.output;
    withFailure(ExitCode::OUTPUT, subject, [&] {
        ContactSheet sheet(materials, layOut(materials, subject));
        const I_Image& picture = sheet.draw();
        const std::vector<unsigned char> png = encodePng(picture.getPixels(), picture.getWidth(), picture.getHeight());
        if (options.output == "-")
            console.write({reinterpret_cast<const char*>(png.data()), png.size()});
        else
            F_File::replace(options.output, png);
    });
    console.flush();
    Console::afterwards([&] {
        const auto number = static_cast<std::size_t>(materials.numMaterials());
        const auto categories = static_cast<std::size_t>(materials.getCategories().count());
        console.note(options.file, fmt::format("{} in {}", counted(number, "material", "materials"),
                                               counted(categories, "category", "categories")));
    });
    return ExitCode::DONE;
}

} // namespace

void addThumbsCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<ThumbsOptions>();
    CommandSyntax command =
        program.addCommand("thumbs", "Make one labelled sheet of all material thumbnails; it has room for about 6,000, "
                                     "in few categories for 8,000");
    addLevel(command, options->file);
    addOutput(command, options->output);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runThumbs, chosen);
}

} // namespace cairn::host
