#include "cairn/geometry/planar/planar_picture.h"

#include "cairn/foundation/exception.h"
#include "cairn/foundation/system.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/geometry/polygon/polygon.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

namespace cairn {

namespace {

using Point = CN_2DPolygon::Point;

constexpr double SIDE = 800;   // of the drawing, in pixels
constexpr double MARGIN = 40;  // round it
constexpr double CAPTION = 30; // below it

bool isFinite(const Point& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

/// Draws in pixels, with V upwards.
class Picture {
  public:
    explicit Picture(const CN_2DPolygon& polygon) : m_polygon(polygon) {
        Point high;
        bool any = false;
        for (const Point& p : polygon.getVertices()) {
            if (!isFinite(p))
                continue;
            m_low = any ? Point(std::min(m_low.x, p.x), std::min(m_low.y, p.y)) : p;
            high = any ? Point(std::max(high.x, p.x), std::max(high.y, p.y)) : p;
            any = true;
        }
        m_extent = std::max(high.x - m_low.x, high.y - m_low.y);
        if (!(m_extent > 0) || !std::isfinite(m_extent))
            m_extent = 1;
    }

    string draw() {
        m_text += formatText(
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" font-family=\"Arial\" "
            "font-size=\"12\">\n<title>Cairn</title>\n<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
            SIDE + 2 * MARGIN, SIDE + 2 * MARGIN + CAPTION);
        drawTriangles();
        for (const CN_2DEdge& edge : m_polygon.getEdges())
            drawEdge(edge);
        drawVertices();
        const CN_Polygon* const source = m_polygon.getSource();
        m_text +=
            formatText("<text x=\"%.0f\" y=\"%.0f\" font-size=\"16\">Polygon %d</text>\n</svg>\n", MARGIN,
                       SIDE + 2 * MARGIN + CAPTION / 2, source ? static_cast<int>(source->getPolygonIndex()) : -1);
        return std::move(m_text);
    }

  private:
    Point place(const Point& p) const {
        return {MARGIN + (p.x - m_low.x) / m_extent * SIDE, MARGIN + SIDE - (p.y - m_low.y) / m_extent * SIDE};
    }
    const Point& vertex(int i) const { return m_polygon.getVertices()[static_cast<std::size_t>(i)]; }

    void drawTriangles() {
        const std::vector<int>& corners = m_polygon.getTriangles();
        for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
            const Point a = place(vertex(corners[i])), b = place(vertex(corners[i + 1])),
                        c = place(vertex(corners[i + 2]));
            if (isFinite(a) && isFinite(b) && isFinite(c))
                m_text +=
                    formatText("<polygon points=\"%.2f,%.2f %.2f,%.2f %.2f,%.2f\" fill=\"#dde8f4\" stroke=\"#9ab\" "
                               "stroke-width=\"0.5\"/>\n",
                               a.x, a.y, b.x, b.y, c.x, c.y);
        }
    }

    void drawEdge(const CN_2DEdge& edge) {
        static constexpr const char* COLOURS[] = {"#202020", "#b02020", "#2060b0", "#208040", "#a06010", "#803090"};
        const Point a = place(edge.point(0)), b = place(edge.point(1));
        if (!isFinite(a) || !isFinite(b))
            return;
        // The head of the arrow stands on the right alone, where inside is; in pixels that is to the left of the way.
        const Point along = (b - a) * (1 / std::max((b - a).length(), 1e-9)), right(-along.y, along.x);
        const Point head = b - along * 10 + right * 4;
        m_text +=
            formatText("<path d=\"M%.2f,%.2f L%.2f,%.2f L%.2f,%.2f\" fill=\"none\" stroke=\"%s\"/>\n", a.x, a.y, b.x,
                       b.y, head.x, head.y, COLOURS[static_cast<unsigned>(edge.getLassoID() + 1) % std::size(COLOURS)]);
    }

    void drawVertices() {
        for (std::size_t i = 0; i < m_polygon.getVertices().size(); ++i) {
            const Point at = place(m_polygon.getVertices()[i]);
            if (isFinite(at))
                m_text += formatText("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"2\"/><text x=\"%.2f\" y=\"%.2f\">%d</text>\n",
                                     at.x, at.y, at.x + 4, at.y - 4, static_cast<int>(i));
        }
    }

    const CN_2DPolygon& m_polygon;
    Point m_low;         ///< of the vertices
    double m_extent = 0; ///< the larger of both
    string m_text;
};

void writeFile(const std::filesystem::path& path, const string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush())
        throw new F_Exception(formatText("The picture %s cannot be written", path.string().c_str()));
}

} // namespace

string CN_drawPlanarPolygon(const CN_2DPolygon& polygon) { return Picture(polygon).draw(); }

string CN_writePlanarPicture(const CN_2DPolygon& polygon, const string& folder, const string& base) {
    static int s_number = 0;
    const string text = CN_drawPlanarPolygon(polygon);
    const string name = formatText("%s%d.svg", base.c_str(), s_number++);
    const std::filesystem::path path = std::filesystem::path(folder.c_str()) / name.c_str();
    writeFile(path, text);
    F_System::verbose("Created SVG file %s", path.string().c_str());
    writeFile(path.parent_path() / ("temp" + path.filename().string()), text);
    return path.string().c_str();
}

} // namespace cairn
