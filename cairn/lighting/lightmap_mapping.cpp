#include "cairn/lighting/lightmap_mapping.h"

#include "cairn/geometry/planar_space_record.h"
#include "cairn/geometry/polygon/polygon.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;
using Point = M_Vector2Template<double>;

constexpr int MIN_SIZE = 4;          // texels a side
constexpr int MAX_SIZE = 256;        // texels a side
constexpr double MAX_MARGIN = 0.05;  // level units left free along the border, for both sides together
constexpr double MARGIN_SHARE = 0.1; // of the smaller extent, for polygons too thin for that

/// The first of the longest edges, null where none has a length.
const CN_Edge* findLongestEdge(const CN_Polygon& polygon) {
    const CN_Edge* longest = nullptr;
    double longestLength = 0;
    for (const CN_Edge& edge : polygon.getEdgeList())
        if (const double length = edge.dir().length(); length > longestLength) {
            longestLength = length;
            longest = &edge;
        }
    return longest;
}

/// The size of a side that needs that many texels: the next power of two, in its limits. A need that is no number is none.
int textureSize(double texels) {
    if (!(texels > MIN_SIZE)) // what is larger than the smallest size may go to the power
        return MIN_SIZE;
    if (texels >= MAX_SIZE)
        return MAX_SIZE;
    int exponent = 0;
    if (std::frexp(texels, &exponent) == 0.5) // a power of two already
        --exponent;
    return 1 << exponent;
}

} // namespace

M_Vector2Template<float> CN_LightmapMapping::getRenderingUV(const M_Vector3Template<double>& point) const {
    const Point uv = toUV(point);
    return {static_cast<float>(uv.x), static_cast<float>(uv.y)};
}

bool CN_LightmapMapping::determineLightmapSize(CN_Polygon* polygon, float resolution, int& width, int& height,
                                               Space& space, M_Vector2Template<double>& min,
                                               M_Vector2Template<double>& max) {
    const CN_Edge* const longest = findLongestEdge(*polygon);
    if (!longest)
        return false;
    const Vector along = longest->dir(), normal = polygon->getNormal();
    Matrix rows = Matrix(along, normal.cross(along), normal).orthonormalized();
    // Left-handed against the normal, as all spaces of polygons are.
    rows.row(1) = rows.row(0).cross(rows.row(2));
    rows = rows.orthonormalized();
    if (!rows.isInvertible())
        return false;
    space.setMatrix(rows);
    space.setPoint(longest->getLocal(0));

    constexpr double LARGEST = std::numeric_limits<float>::max();
    min = {LARGEST, LARGEST};
    max = {-LARGEST, -LARGEST};
    for (const CN_Edge& edge : polygon->getEdgeList()) {
        const Point uv = space.toUV(edge.getLocal(0));
        min = {std::min(min.x, uv.x), std::min(min.y, uv.y)};
        max = {std::max(max.x, uv.x), std::max(max.y, uv.y)};
    }
    constexpr double ROUNDING = 0.5;
    width = textureSize((max.x - min.x) * static_cast<double>(resolution) + ROUNDING);
    height = textureSize((max.y - min.y) * static_cast<double>(resolution) + ROUNDING);
    return true;
}

void CN_LightmapMapping::initialFitLightmap(CN_Polygon* polygon, bool keepScale) {
    m_lightmapValid = false;
    Space space = *this;
    Point min, max;
    int width = 0, height = 0;
    if (!determineLightmapSize(polygon, m_resolution, width, height, space, min, max))
        return;
    const Point extent = max - min;
    const double margin = std::min(MAX_MARGIN, MARGIN_SHARE * std::min(extent.x, extent.y));
    // From the middle of a texel to the middle of its neighbour: the outermost middles lie half the margin inside.
    const double stepU = (extent.x - margin) / (width - 1), stepV = (extent.y - margin) / (height - 1);

    space.setPoint(space.fromUV(min));
    const Vector u = space.getMatrix().row(0).normalized(), v = space.getMatrix().row(1).normalized();
    const Vector halfMarginIn = (u + v) * (margin * 0.5), halfTexelOut = (u * stepU + v * stepV) * 0.5;
    space.setPoint(space.getPoint() - halfTexelOut + halfMarginIn);
    if (keepScale) {
        Matrix rows = space.getMatrix();
        rows.row(0) = u * (2 * width * stepU / static_cast<double>(width));
        rows.row(1) = v * (2 * height * stepV / static_cast<double>(height));
        if (!rows.isInvertible())
            return;
        space.setMatrix(rows);
    }
    setLightmapping(space);
}

void CN_LightmapMapping::setValidLightmapID(unsigned long id) {
    m_lightmapID = CN_lightmapID(id);
    m_lightmapValid = true;
}

void CN_LightmapMapping::setLightmapping(const Space& space) { getPhysicalSpace() = space; }

// No chunk, one form: the space, float resolution, bool valid, unsigned long id.

F_MemoryFile& operator<<(F_MemoryFile& file, const CN_LightmapMapping& mapping) {
    {
        F_MemoryFile::Run out(file, CN_PLANAR_SPACE_BYTES + sizeof(float) + 1);
        CN_savePlanarSpace(out, mapping);
        out << mapping.m_resolution << mapping.m_lightmapValid;
    }
    return file << mapping.m_lightmapID;
}

bool CN_LightmapMapping::load(F_MemoryFile& file) {
    Space space;
    bool sound = CN_loadPlanarSpace(file, space);
    setLightmapping(space);
    file >> m_resolution >> m_lightmapValid >> m_lightmapID;
    if (!std::isfinite(m_resolution)) {
        m_resolution = CN_LightmapMapping().m_resolution;
        sound = false;
    }
    return sound;
}

F_MemoryFile& operator>>(F_MemoryFile& file, CN_LightmapMapping& mapping) {
    mapping.load(file);
    return file;
}

} // namespace cairn
