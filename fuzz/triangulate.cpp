#include "cairn/geometry/planar/planar_picture.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/platform/handlers.h"
#include "fuzz/support/one_polygon.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// Any outline triangulates to triangles that cover no more than it encloses, or to none, and leaves the mesh usable.
//
// The first byte tells how the others are read: as corners of small whole numbers, of small numbers with a shift of scale, or
// of any doubles; a corner with a certain mark starts another loop.

namespace {

using namespace cairn;

/// Reads numbers from bytes; zeros at their end.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}

    bool empty() const { return m_at == m_end; }
    std::uint8_t next() { return empty() ? std::uint8_t{0} : *m_at++; }
    double number(int kind) {
        if (kind == 0)
            return next() % 16;
        if (kind == 1)
            return std::ldexp(next() % 4, -(next() % 64));
        double value = 0;
        std::uint8_t raw[sizeof value];
        for (std::uint8_t& byte : raw)
            byte = next();
        std::memcpy(&value, raw, sizeof value);
        return value;
    }

  private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
};

double areaOf(const CN_2DPolygon& planar) {
    double sum = 0;
    const std::vector<int>& corners = planar.getTriangles();
    for (std::size_t i = 0; i < corners.size(); i += 3) {
        const auto at = [&](std::size_t k) { return planar.getVertices()[static_cast<std::size_t>(corners[i + k])]; };
        const double area = (at(2) - at(0)).cross(at(1) - at(0)) / 2;
        if (area < 0 && std::fabs(area) > 1e-12 * (at(1) - at(0)).length() * (at(2) - at(0)).length())
            std::abort(); // runs the wrong way
        sum += area;
    }
    return sum;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::OnePolygon level;
    CN_LevelEntityMesh& mesh = *level.mesh;
    CN_Polygon& polygon = *level.polygon;

    Bytes bytes(data, size);
    const int kind = bytes.next() % 3;
    int first = 0;
    const auto closeLoop = [&] {
        const int end = mesh.getVertexList().count();
        for (int i = first; i < end; ++i)
            polygon.addEdge(i, i + 1 < end ? i + 1 : first, false);
        first = end;
    };
    while (!bytes.empty() && mesh.getVertexList().count() < 300) {
        if (bytes.next() == 0xFF)
            closeLoop();
        const double x = bytes.number(kind);
        mesh.addVertex({x, 0, bytes.number(kind)});
    }
    closeLoop();

    CN_2DPolygon planar(&polygon, 1e-5);
    planar.triangulate();
    const double area = areaOf(planar);
    // Where no edges cross, what is to the right of them is covered, and nothing twice.
    double extent = 0;
    for (const CN_2DPolygon::Point& p : planar.getVertices())
        extent = std::max({extent, std::fabs(p.x), std::fabs(p.y)});
    if (planar.getNumTriangles() > 0 && area > 8 * extent * extent * (1 + 1e-9))
        std::abort();
    CN_drawPlanarPolygon(planar);
    polygon.triangulize(true);
    polygon.triangulize(false);
    mesh.calculateBoundingBox();
    return 0;
}
