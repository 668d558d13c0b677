#include "host/picture_raster.h"

#include "host/console.h"
#include "host/label_font.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cairn::host {

namespace {

using Vector = PictureView::Vector;

constexpr double SAME_NEARNESS = 1e-7; // as a part of itself: two faces of one plane don't flicker
constexpr double LINE_LIFT = 2e-3;     // as a part of itself: lines come before the faces that they bound

class Raster {
  public:
    Raster(const PictureView& view, I_Image& image)
        : m_view(view), m_image(image), m_width(image.getWidth()), m_height(image.getHeight()),
          m_nearness(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height),
                     -std::numeric_limits<double>::max()) {}

    void fill(const SeenFace& face) {
        double least = std::numeric_limits<double>::max(), most = -least;
        m_crossings.clear();
        for (const PictureLoop& loop : face.loops) {
            PicturePoint from = m_view.project(loop.back().at);
            for (const PictureCorner& corner : loop) {
                const PicturePoint to = m_view.project(corner.at);
                least = std::min(least, to.nearness);
                most = std::max(most, to.nearness);
                addCrossings(from, to);
                from = to;
            }
        }
        std::sort(m_crossings.begin(), m_crossings.end());
        const Vector plane = m_view.nearnessOf(face);
        for (std::size_t i = 0; i + 1 < m_crossings.size(); i += 2) {
            const auto& [row, left] = m_crossings[i];
            const double right = m_crossings[i + 1].second;
            for (int x = firstMiddle(left, m_width); x < firstMiddle(right, m_width); ++x) {
                // A face that is not quite flat stays between its corners.
                const double nearness = std::clamp(plane.x * (x + 0.5) + plane.y * (row + 0.5) + plane.z, least, most);
                put(x, row, nearness - std::abs(nearness) * SAME_NEARNESS, nearness, face.color);
            }
        }
    }

    /// Lines `width` pixels wide, an odd number.
    void drawEdges(const SeenFace& face, const I_Color& color, int width) {
        for (const PictureLoop& loop : face.loops)
            for (std::size_t i = 0; i < loop.size(); ++i)
                if (loop[i].isEdge)
                    drawLine(m_view.project(loop[i].at), m_view.project(loop[(i + 1) % loop.size()].at),
                             [&](int x, int y, double nearness) {
                                 const double lifted = nearness + std::abs(nearness) * LINE_LIFT + LINE_LIFT;
                                 for (int row = y - width / 2; row <= y + width / 2; ++row)
                                     for (int column = x - width / 2; column <= x + width / 2; ++column)
                                         put(column, row, lifted, nearness, color);
                             });
    }

    /// Over all faces, which hides nothing that is drawn later.
    void drawRoute(const std::vector<PicturePoint>& points, const I_Color& color) {
        for (std::size_t i = 1; i < points.size(); ++i)
            drawLine(points[i - 1], points[i], [&](int x, int y, double) { put(x, y, ABOVE_ALL, -ABOVE_ALL, color); });
    }

    void drawDot(const PictureDot& dot) {
        constexpr int RADIUS = 3;
        const double far = 2.0 * RADIUS + std::max(m_width, m_height);
        if (!(std::abs(dot.x) < far && std::abs(dot.y) < far))
            return;
        const int middleX = static_cast<int>(std::floor(dot.x)), middleY = static_cast<int>(std::floor(dot.y));
        for (int y = -RADIUS; y <= RADIUS; ++y)
            for (int x = -RADIUS; x <= RADIUS; ++x)
                if (x * x + y * y <= RADIUS * RADIUS + 1)
                    put(middleX + x, middleY + y, ABOVE_ALL, ABOVE_ALL, dot.color);
    }

  private:
    static constexpr double ABOVE_ALL = std::numeric_limits<double>::max();

    /// The first pixel from 0 to `count` whose middle is not before the place.
    static int firstMiddle(double place, int count) {
        return static_cast<int>(std::clamp(std::ceil(place - 0.5), 0.0, static_cast<double>(count)));
    }

    /// Where an edge crosses the middles of rows. Faces that share an edge get the same numbers, whichever way it runs.
    void addCrossings(const PicturePoint& from, const PicturePoint& to) {
        const bool down = from.y < to.y || (from.y == to.y && from.x < to.x);
        const PicturePoint &upper = down ? from : to, &lower = down ? to : from;
        const int end = firstMiddle(lower.y, m_height);
        for (int row = firstMiddle(upper.y, m_height); row < end; ++row)
            m_crossings.emplace_back(row,
                                     upper.x + (row + 0.5 - upper.y) * ((lower.x - upper.x) / (lower.y - upper.y)));
    }

    /// Calls `draw` with each pixel of a line and its nearness there.
    template <class Draw> static void drawLine(const PicturePoint& from, const PicturePoint& to, Draw&& draw) {
        const double length = std::max(std::abs(to.x - from.x), std::abs(to.y - from.y));
        const int steps = static_cast<int>(std::ceil(length));
        for (int i = 0; i <= steps; ++i) {
            const double t = steps > 0 ? static_cast<double>(i) / steps : 0;
            const double x = from.x + (to.x - from.x) * t, y = from.y + (to.y - from.y) * t;
            const double nearness = from.nearness + (to.nearness - from.nearness) * t;
            draw(static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y)), nearness);
        }
    }

    /// Colours the pixel, which may lie outside, where `nearness` is above what is there; it has `kept` then.
    void put(int x, int y, double nearness, double kept, const I_Color& color) {
        if (x < 0 || y < 0 || x >= m_width || y >= m_height)
            return;
        const std::ptrdiff_t at = std::ptrdiff_t{y} * m_width + x;
        double& there = m_nearness[static_cast<std::size_t>(at)];
        if (!(nearness > there))
            return;
        there = std::max(there, kept);
        m_image.accessPixels()[at] = color;
    }

    const PictureView& m_view;
    I_Image& m_image;
    int m_width, m_height;
    std::vector<double> m_nearness;                  ///< of what a pixel shows
    std::vector<std::pair<int, double>> m_crossings; ///< rows and places of the face at work
};

} // namespace

PicturePalette PicturePalette::forView(const PictureView& view) {
    if (view.isFromAbove())
        return {{250, 249, 245}, {60, 60, 66}, {0, 150, 80}, {220, 120, 20}, {225, 70, 225}};
    return {{32, 34, 38}, {16, 16, 18}, {0, 200, 110}, {255, 150, 40}, {225, 70, 225}};
}

std::unique_ptr<I_Image> drawRaster(const PictureView& view, const std::vector<SeenFace>& faces,
                                    const PictureLabels& labels, bool wire) {
    const PicturePalette palette = PicturePalette::forView(view);
    auto image =
        std::make_unique<I_Image>(static_cast<unsigned>(view.getWidth()), static_cast<unsigned>(view.getHeight()));
    std::fill_n(image->accessPixels(), std::ptrdiff_t{view.getWidth()} * view.getHeight(), palette.background);
    Raster raster(view, *image);
    for (const SeenFace& face : faces) {
        if (face.kind == PictureFaceKind::SURFACE)
            raster.fill(face);
        Progress::count();
    }
    for (const SeenFace& face : faces)
        if (wire && face.kind == PictureFaceKind::SURFACE)
            raster.drawEdges(face, palette.wire, 1);
    for (const SeenFace& face : faces)
        if (face.kind != PictureFaceKind::SURFACE)
            raster.drawEdges(face, palette.lineColor(face.kind),
                             view.isFromAbove() && face.kind == PictureFaceKind::EXIT ? 3 : 1);
    for (const std::vector<PicturePoint>& route : labels.routes)
        raster.drawRoute(route, palette.route);
    for (const PictureDot& dot : labels.dots)
        raster.drawDot(dot);
    for (const PictureLabel& label : labels.labels)
        LabelFont::draw(*image, label.left, label.top, label.text, label.color);
    return image;
}

} // namespace cairn::host
