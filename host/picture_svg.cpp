#include "host/picture_svg.h"

#include "host/label_font.h"
#include "host/picture_order.h"
#include "host/picture_raster.h"
#include "host/text.h"

#include <fmt/format.h>

#include <cmath>

namespace cairn::host {

namespace {

std::string colorText(const I_Color& color) {
    return fmt::format("#{:02x}{:02x}{:02x}", color.red, color.green, color.blue);
}

/// To a hundredth of a pixel.
std::string number(double value) { return toNumberText(std::nearbyint(value * 100) / 100 + 0.0); }
std::string place(const PicturePoint& point) { return number(point.x) + ' ' + number(point.y); }

/// The text as characters of XML; what XML has no place for is U+FFFD.
std::string xmlText(std::string_view text) {
    constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";
    std::string out;
    while (!text.empty()) {
        const std::size_t length = utf8SequenceLength(text);
        const std::string_view sequence = text.substr(0, length);
        const auto first = static_cast<unsigned char>(text[0]);
        if (length == 0 || first < 0x20 || sequence == "\xEF\xBF\xBE" || sequence == "\xEF\xBF\xBF")
            out += REPLACEMENT;
        else if (first == '&' || first == '<' || first == '>' || first == '"')
            out += fmt::format("&#{};", first);
        else
            out += sequence;
        text.remove_prefix(length > 0 ? length : 1);
    }
    return out;
}

class SvgWriter {
  public:
    explicit SvgWriter(const PictureView& view) : m_view(view), m_palette(PicturePalette::forView(view)) {}

    std::string write(const std::vector<SeenFace>& faces, const PictureLabels& labels, bool wire) {
        m_text = fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" "
                             "viewBox=\"0 0 {0} {1}\">\n"
                             "<rect width=\"{0}\" height=\"{1}\" fill=\"{2}\"/>\n",
                             m_view.getWidth(), m_view.getHeight(), colorText(m_palette.background));
        for (const SeenFace& face : faces) {
            if (face.kind == PictureFaceKind::SURFACE)
                fill(face);
            if (wire || face.kind != PictureFaceKind::SURFACE)
                stroke(face);
        }
        for (const std::vector<PicturePoint>& route : labels.routes)
            draw(route);
        for (const PictureDot& dot : labels.dots)
            m_text += fmt::format("<circle cx=\"{}\" cy=\"{}\" r=\"3.5\" fill=\"{}\"/>\n", number(dot.x), number(dot.y),
                                  colorText(dot.color));
        for (const PictureLabel& label : labels.labels)
            m_text += fmt::format("<text x=\"{}\" y=\"{}\" font-family=\"monospace\" font-size=\"{}\" fill=\"{}\">{}"
                                  "</text>\n",
                                  label.left, label.top + LabelFont::HEIGHT - 1, LabelFont::HEIGHT,
                                  colorText(label.color), xmlText(label.text));
        return m_text + "</svg>\n";
    }

  private:
    /// The thin line of the same colour closes the seams that viewers leave between neighbours.
    void fill(const SeenFace& face) {
        std::string path;
        for (const PictureLoop& loop : face.loops) {
            char command = 'M';
            for (const PictureCorner& corner : loop) {
                path += command + place(m_view.project(corner.at));
                command = 'L';
            }
            path += 'Z';
        }
        m_text +=
            fmt::format("<path fill-rule=\"evenodd\" fill=\"{0}\" stroke=\"{0}\" stroke-width=\"0.5\" d=\"{1}\"/>\n",
                        colorText(face.color), path);
    }

    void stroke(const SeenFace& face) {
        std::string path;
        for (const PictureLoop& loop : face.loops)
            for (std::size_t i = 0; i < loop.size(); ++i)
                if (loop[i].isEdge)
                    path += 'M' + place(m_view.project(loop[i].at)) + 'L' +
                            place(m_view.project(loop[(i + 1) % loop.size()].at));
        if (!path.empty())
            m_text += fmt::format(
                "<path fill=\"none\" stroke=\"{}\" stroke-width=\"{}\" stroke-linecap=\"round\" d=\"{}\"/>\n",
                colorText(m_palette.lineColor(face.kind)), widthOf(face.kind), path);
    }

    const char* widthOf(PictureFaceKind kind) const {
        if (kind == PictureFaceKind::SURFACE)
            return "0.7";
        return kind == PictureFaceKind::EXIT && m_view.isFromAbove() ? "3" : "2";
    }

    void draw(const std::vector<PicturePoint>& route) {
        std::string path;
        for (const PicturePoint& point : route)
            path += (path.empty() ? 'M' : 'L') + place(point);
        m_text += fmt::format("<path fill=\"none\" stroke=\"{}\" d=\"{}\"/>\n", colorText(m_palette.route), path);
    }

    const PictureView& m_view;
    PicturePalette m_palette;
    std::string m_text;
};

} // namespace

std::string drawSvg(const PictureView& view, std::vector<SeenFace> faces, const PictureLabels& labels, bool wire) {
    return SvgWriter(view).write(orderForPainting(std::move(faces)), labels, wire);
}

} // namespace cairn::host
