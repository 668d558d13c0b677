#include "cairn/foundation/strings.h"
#include "cairn/foundation/system.h"
#include "cairn/geometry/exit_edges.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/free_stretch.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double LONGEST_GAP = 0.001; // that a contour's edge may have in sum and still be attached

/// Finds what polygons an exit's contour lies on, and where it lies on none.
class ContourWalk {
  public:
    /// `touched` gets the polygons that are not in it yet, in the order in which they are met.
    ContourWalk(CN_Mesh& mesh, F_DLList<CN_Polygon*>& touched, const CN_Polygon* except)
        : m_mesh(mesh), m_touched(touched), m_except(except), m_known(touched.begin(), touched.end()) {}

    void walk(const F_DLList<Vector>& contour) {
        const std::vector<Vector> corners(contour.begin(), contour.end());
        for (std::size_t i = 0; i < corners.size(); ++i)
            visitEdge(static_cast<int>(i), corners[i], corners[(i + 1) % corners.size()]);
    }
    /// The free stretches of the edges that hang.
    const std::vector<CN_HangingStretch>& getHanging() const { return m_hanging; }

  private:
    void visitEdge(int edge, const Vector& a, const Vector& b) {
        constexpr double NO_LENGTH = 1e-12;
        const double length = (b - a).length();
        if (length < NO_LENGTH)
            return;
        const Vector along = (b - a) / length;
        CN_FreeStretch stretch(0, length);
        for (CN_Polygon& polygon : m_mesh.accessPolygonList())
            if (&polygon != m_except && isOnPlane(polygon, a) && isOnPlane(polygon, b))
                attach(polygon, a, b, along, stretch);
        const std::vector<CN_FreeStretch::Interval> free = stretch.getFree();
        const double freeLength = CN_FreeStretch::lengthOf(free);
        if (freeLength <= LONGEST_GAP)
            return;
        F_System::verbose("hanging, free length = %.6lf\n", freeLength);
        for (const CN_FreeStretch::Interval& interval : free)
            m_hanging.push_back({edge, a + along * interval.lower, a + along * interval.upper});
    }
    static bool isOnPlane(const CN_Polygon& polygon, const Vector& point) {
        constexpr double STEP = 0.0005;
        return snapToGrid(polygon.getNormal().dot(point - polygon.getPointOnPlane()), STEP) == 0;
    }
    /// Takes what lies on the polygon's pieces off the stretch.
    void attach(CN_Polygon& polygon, const Vector& a, const Vector& b, const Vector& along, CN_FreeStretch& stretch) {
        constexpr double THICKNESS = 0.0001, SHORTEST = 0.0001;
        Vector from, to;
        for (const CN_Triangle& piece : polygon.getTriangleList()) {
            if (!piece.intersectEdge(from, to, a, b, THICKNESS))
                continue;
            const double start = along.dot(from - a), end = along.dot(to - a);
            if (!(std::abs(start - end) > SHORTEST))
                continue;
            stretch.subtract(start, end);
            if (m_known.insert(&polygon).second)
                m_touched.add(&polygon);
        }
    }

    CN_Mesh& m_mesh;
    F_DLList<CN_Polygon*>& m_touched;
    const CN_Polygon* m_except;                    ///< not owned: may be null
    std::unordered_set<const CN_Polygon*> m_known; ///< those of `m_touched`
    std::vector<CN_HangingStretch> m_hanging;      ///< in the order of the contour
};

} // namespace

bool CN_Mesh::hasExits() const {
    return std::any_of(m_polygonList.begin(), m_polygonList.end(), [this](const CN_Polygon& polygon) {
        return polygon.isExitPolygon() && polygon.getExitDestinationMesh() != this;
    });
}

std::vector<const CN_Polygon*> CN_Mesh::getExitList() const {
    std::vector<const CN_Polygon*> exits;
    for (const CN_Polygon& polygon : m_polygonList)
        if (polygon.isExitPolygon())
            exits.push_back(&polygon);
    return exits;
}

const CN_Polygon* CN_Mesh::findExit(const istring& name) const {
    for (const CN_Polygon& polygon : m_polygonList)
        if (polygon.isExitPolygon() && polygon.getExitName() == name)
            return &polygon;
    return nullptr;
}

CN_Polygon* CN_Mesh::findExit(const istring& name) {
    return const_cast<CN_Polygon*>(static_cast<const CN_Mesh*>(this)->findExit(name));
}

istring CN_Mesh::getNextExitName() const {
    std::unordered_set<istring, F_HashNoCase> names;
    for (const CN_Polygon& polygon : m_polygonList)
        if (polygon.isExitPolygon())
            names.insert(polygon.getExitName());
    for (unsigned int number = 0;; ++number)
        if (istring name = toIString(formatText("Exit%u", number)); !names.contains(name))
            return name;
}

bool CN_Mesh::exitHangs(const F_DLListInit<Vector>& contour, F_DLList<CN_Polygon*>& touched) {
    const bool hangs = !findHangingStretches(contour, touched, nullptr).empty();
    F_System::verbose("-----\n");
    for (const CN_Polygon* const polygon : touched)
        F_System::verbose("%d\n", static_cast<int>(polygon->getPolygonIndex()));
    F_System::verbose("Exit splitup (hanging=%s), %d touched polys\n", hangs ? "YES" : "NO", touched.count());
    return hangs;
}

std::vector<CN_HangingStretch> CN_Mesh::findHangingStretches(const F_DLListInit<Vector>& contour,
                                                             F_DLList<CN_Polygon*>& touched, const CN_Polygon* except) {
    ContourWalk walk(*this, touched, except);
    walk.walk(contour);
    return walk.getHanging();
}

bool CN_Mesh::edgesAreJumpable(const CN_Edge* a, const CN_Edge* b) const {
    Vector point, vector;
    return a->sharesSpaceLocal(b, point, vector) &&
           CN_isOpenAcross(*a, *b, CN_findExitEdges(*this, a->getParent(), b->getParent()));
}

} // namespace cairn
