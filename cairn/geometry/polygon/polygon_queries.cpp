#include "cairn/entities/polygon_group.h"
#include "cairn/foundation/system.h"
#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double LEAST_LENGTH = 1e-12;  // a shorter edge makes no line
constexpr double LINE_TOLERANCE = 1e-5; // corners within this of a line lie on it

const char* modeName(unsigned int mode) {
    static const char* const NAMES[] = {"PT_SOLID", "PT_ADD",   "PT_MUL",   "PT_ALPHAMAP",
                                        "PT_EXIT",  "PT_PHONG", "PT_ENVMAP"};
    return mode < std::size(NAMES) ? NAMES[mode] : "unknown";
}

/// A vector in the log.
string shown(const Vector& v, int digits) {
    return formatText("(%.*f, %.*f, %.*f)", digits, v.x, digits, v.y, digits, v.z);
}

} // namespace

bool CN_Polygon::linear() const {
    if (m_edgeList.empty())
        return m_numVertices < 3;
    if (m_edgeList.count() < 3)
        return true;
    const CN_Edge* witness = m_edgeList.first(); // the corner that was off the last line, most likely off the next, too
    for (const CN_Edge& line : m_edgeList) {
        if (line.dir().length() < LEAST_LENGTH)
            continue;
        const auto distance = [&line](const CN_Edge& corner) {
            return CN_lineDistance(corner.getLocal(0), line.getLocal(0), line.getLocal(1));
        };
        double farthest = distance(*witness);
        for (const CN_Edge* corner = m_edgeList.first(); corner && farthest < LINE_TOLERANCE;
             corner = m_edgeList.next(corner))
            if (const double d = distance(*corner); !(d <= farthest)) {
                farthest = d;
                witness = corner;
            }
        if (farthest < LINE_TOLERANCE) {
            F_System::verbose("Linear polygon found (md = %.12f) %d verts\n", farthest, m_numVertices);
            return true;
        }
    }
    return false;
}

void CN_Polygon::getCenter(Vector& out) const {
    out = Vector();
    for (const CN_Edge& edge : m_edgeList)
        out += edge.getWorld(0);
    if (!m_edgeList.empty())
        out = out / static_cast<double>(m_edgeList.count());
}

double CN_Polygon::lengthAlong(const Vector& direction) const {
    if (m_edgeList.empty())
        return 0;
    const Vector unit = direction.normalized();
    double least = m_edgeList.first()->getLocal(0).dot(unit), largest = least;
    for (const CN_Edge& edge : m_edgeList) {
        const double along = edge.getLocal(0).dot(unit);
        least = std::min(least, along);
        largest = std::max(largest, along);
    }
    return largest - least;
}

CN_Vertex* CN_Polygon::findFarthestVertex(const Vector& point) {
    CN_Vertex* found = nullptr;
    double farthest = -1;
    for (const CN_Edge& edge : m_edgeList)
        if (const double d = (edge.getLocal(0) - point).lengthSquared(); d > farthest) {
            farthest = d;
            found = &requireMesh().accessVertexList()[edge.index(0)];
        }
    return found;
}

CN_Edge* CN_Polygon::findSelectedEdge(const Vector& point) {
    CN_Edge* found = nullptr;
    double nearest = std::numeric_limits<double>::infinity();
    for (CN_Edge& edge : m_edgeList) {
        const Vector along = edge.dirWorld();
        const double t = (point - edge.getWorld(0)).dot(along) / along.lengthSquared();
        // An edge without length gives no number.
        if (!(t >= 0 && t <= 1))
            continue;
        if (const double d = CN_lineDistance(point, edge.getWorld(0), edge.getWorld(1)); d < nearest) {
            nearest = d;
            found = &edge;
        }
    }
    return found;
}

void CN_Polygon::dump() const {
    F_System::verbose("POLYGON: %d vertices, parent %s, index %d\n", m_numVertices,
                      m_parent ? m_parent->getName().str().c_str() : "", static_cast<int>(m_polygonIndex));
    F_System::verbose("Poly mode: %s\n", modeName(m_polyMode));
    F_System::verbose("normal %s\n", shown(m_normal, 9).c_str());
    const Vector onPlane = m_parent ? m_parent->worldTransform(m_pointOnPlane) : m_pointOnPlane;
    F_System::verbose("pointonplane\n%s\n", shown(onPlane, 9).c_str());
    F_System::verbose("Texturespace\n");
    for (const Vector& row : getUVSpace(0).getMatrix().rows)
        F_System::verbose("%s\n", shown(row, 9).c_str());
    const auto writeEdge = [this](const CN_Edge& edge, const Vector& from, const Vector& to, int digits) {
        F_System::verbose("(%.9f, %.6f): %s - %s\n", distLocal(edge.getLocal(0)), edge.dir().length(),
                          shown(from, digits).c_str(), shown(to, digits).c_str());
    };
    F_System::verbose("edges (local)\n");
    for (const CN_Edge& edge : m_edgeList)
        writeEdge(edge, edge.getLocal(0), edge.getLocal(1), 9);
    F_System::verbose("edges (world)\n");
    for (const CN_Edge& edge : m_edgeList)
        writeEdge(edge, edge.getWorld(0), edge.getWorld(1), 6);
    F_System::verbose("Member of %d groups:\n", static_cast<int>(m_groups.size()));
    // In the order in which they were made, not in that of their addresses; those that have died at the end.
    std::vector<CN_LevelEntityPolygonGroup*> groups(m_groups.begin(), m_groups.end());
    const auto ageOf = [](const CN_LevelEntityPolygonGroup* group) {
        return CN_LevelEntity::isAlive(group) ? group->getProcessNumber() : std::numeric_limits<std::uint32_t>::max();
    };
    std::stable_sort(groups.begin(), groups.end(), [&](const auto* a, const auto* b) { return ageOf(a) < ageOf(b); });
    for (CN_LevelEntityPolygonGroup* const group : groups)
        F_System::verbose("%08X (%s)\n", static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(group)),
                          CN_LevelEntity::isAlive(group) ? group->getName().str().c_str() : "INVALID");
    F_System::verbose("--------\n");
}

} // namespace cairn
