#include "host/brush_solid.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;

/// Half the side of the box that is cut, about the origin: beyond the corners of anything that is built, and small enough
/// for corners found between its own to be exact to a millionth of the tolerance.
constexpr double BOX_EXTENT = BRUSH_EXTENT;

constexpr std::uint32_t NO_CORNER = std::numeric_limits<std::uint32_t>::max();

/// Cuts a box by half-spaces.
class SolidCutter {
  public:
    SolidCutter(const std::vector<BrushPlane>& planes, double tolerance) : m_planes(planes), m_tolerance(tolerance) {}

    /// True where the last cut failed for its tolerance: corners beside each other counted as in the plane that are not.
    bool isTooCoarse() const { return m_tooCoarse; }

    BrushSolid cut() {
        makeBox();
        const auto count = static_cast<std::uint32_t>(m_planes.size());
        for (std::uint32_t plane = 0; plane < count && m_solid.isSolid(); ++plane)
            cutBy(plane);
        if (m_solid.isSolid())
            finish();
        if (!m_solid.isSolid()) {
            m_solid.corners.clear();
            m_solid.faces.clear();
            m_solid.idle.clear();
        }
        return std::move(m_solid);
    }

  private:
    enum Side : signed char { INSIDE = -1, WITHIN = 0, OUTSIDE = 1 };

    /// Its faces have planes behind those of the brush.
    void makeBox() {
        for (int i = 0; i < 8; ++i)
            m_solid.corners.emplace_back((i & 1) ? BOX_EXTENT : -BOX_EXTENT, (i & 2) ? BOX_EXTENT : -BOX_EXTENT,
                                         (i & 4) ? BOX_EXTENT : -BOX_EXTENT);
        constexpr std::uint32_t LOOPS[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4},
                                               {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
        auto plane = static_cast<std::uint32_t>(m_planes.size());
        for (const auto& loop : LOOPS)
            m_solid.faces.push_back({plane++, {std::begin(loop), std::end(loop)}});
    }

    void cutBy(std::uint32_t plane) {
        classify(m_planes[plane]);
        if (!m_anyOutside)
            return;
        if (!m_anyInside) {
            m_solid.fault = "it encloses nothing";
            return;
        }
        m_cutEdges.clear();
        std::vector<BrushSolid::Face> kept;
        kept.reserve(m_solid.faces.size() + 1);
        for (BrushSolid::Face& face : m_solid.faces)
            if (clip(face))
                kept.push_back(std::move(face));
        m_solid.faces = std::move(kept);
        addCap(plane);
    }

    void classify(const BrushPlane& plane) {
        m_side.assign(m_solid.corners.size(), WITHIN);
        m_distance.resize(m_solid.corners.size());
        m_anyInside = m_anyOutside = false;
        for (const BrushSolid::Face& face : m_solid.faces)
            for (const std::uint32_t corner : face.corners) {
                const double distance = m_solid.corners[corner].dot(plane.normal) - plane.distance;
                m_distance[corner] = distance;
                m_side[corner] = distance > m_tolerance ? OUTSIDE : distance < -m_tolerance ? INSIDE : WITHIN;
                m_anyInside |= m_side[corner] == INSIDE;
                m_anyOutside |= m_side[corner] == OUTSIDE;
            }
    }

    /// Leaves of the face what is not outside. False where that is no face of its own: nothing of it is inside.
    bool clip(BrushSolid::Face& face) {
        const std::vector<std::uint32_t>& old = face.corners;
        bool anyInside = false, anyOutside = false;
        for (const std::uint32_t corner : old) {
            anyInside |= m_side[corner] == INSIDE;
            anyOutside |= m_side[corner] == OUTSIDE;
        }
        if (!anyInside || !anyOutside)
            return anyInside;
        std::vector<std::uint32_t> loop;
        loop.reserve(old.size() + 1);
        for (std::size_t i = 0; i < old.size(); ++i) {
            const std::uint32_t a = old[i], b = old[i + 1 < old.size() ? i + 1 : 0];
            if (m_side[a] != OUTSIDE)
                loop.push_back(a);
            if (m_side[a] * m_side[b] < 0)
                loop.push_back(cornerBetween(a, b));
        }
        face.corners = std::move(loop);
        return true;
    }

    /// The corner where the plane crosses the edge, the same one for the faces on both sides.
    std::uint32_t cornerBetween(std::uint32_t a, std::uint32_t b) {
        if (m_side[a] == OUTSIDE)
            std::swap(a, b);
        const auto [at, isNew] = m_cutEdges.try_emplace(std::uint64_t{a} << 32 | b, NO_CORNER);
        if (isNew) {
            const double t = m_distance[a] / (m_distance[a] - m_distance[b]);
            const Vector from = m_solid.corners[a], to = m_solid.corners[b];
            at->second = static_cast<std::uint32_t>(m_solid.corners.size());
            m_solid.corners.push_back(from + (to - from) * t);
            m_side.push_back(WITHIN);
        }
        return at->second;
    }

    /// Closes the cut by a face along the edges in the plane that no face runs back along.
    void addCap(std::uint32_t plane) {
        std::unordered_map<std::uint64_t, bool> edges;
        std::vector<std::uint64_t> order;
        for (const BrushSolid::Face& face : m_solid.faces)
            for (std::size_t i = 0; i < face.corners.size(); ++i) {
                const std::uint64_t a = face.corners[i], b = face.corners[i + 1 < face.corners.size() ? i + 1 : 0];
                if (m_side[a] != WITHIN || m_side[b] != WITHIN)
                    continue;
                if (const auto back = edges.find(b << 32 | a); back != edges.end())
                    back->second = false;
                else {
                    edges[a << 32 | b] = true;
                    order.push_back(a << 32 | b);
                }
            }
        std::unordered_map<std::uint32_t, std::uint32_t> next;
        std::uint32_t first = NO_CORNER;
        for (const std::uint64_t edge : order) {
            if (!edges[edge])
                continue;
            const auto a = static_cast<std::uint32_t>(edge >> 32), b = static_cast<std::uint32_t>(edge);
            first = std::min(first, b);
            if (!next.emplace(b, a).second) {
                failCut();
                return;
            }
        }
        if (next.empty())
            return;
        BrushSolid::Face cap{plane, {first}};
        for (auto at = next.find(first); at != next.end() && at->second != first; at = next.find(at->second)) {
            if (cap.corners.size() > next.size())
                break;
            cap.corners.push_back(at->second);
        }
        if (cap.corners.size() != next.size() || cap.corners.size() < 3) {
            failCut();
            return;
        }
        m_solid.faces.push_back(std::move(cap));
    }
    void failCut() {
        m_tooCoarse = true;
        m_solid.fault = "its planes lie too close for an outline of its faces";
    }

    void finish() {
        std::sort(m_solid.faces.begin(), m_solid.faces.end(),
                  [](const BrushSolid::Face& a, const BrushSolid::Face& b) { return a.plane < b.plane; });
        if (m_solid.faces.size() < 4) {
            m_solid.fault = "it encloses nothing";
            return;
        }
        if (m_solid.faces.back().plane >= m_planes.size()) {
            m_solid.fault = "its planes enclose no bounded space";
            return;
        }
        dropUnusedCorners();
        placeCorners();
        findIdle();
    }

    void dropUnusedCorners() {
        std::vector<std::uint32_t> numbers(m_solid.corners.size(), NO_CORNER);
        std::vector<Vector> used;
        for (BrushSolid::Face& face : m_solid.faces)
            for (std::uint32_t& corner : face.corners) {
                if (numbers[corner] == NO_CORNER) {
                    numbers[corner] = static_cast<std::uint32_t>(used.size());
                    used.push_back(m_solid.corners[corner]);
                }
                corner = numbers[corner];
            }
        m_solid.corners = std::move(used);
    }

    void placeCorners() {
        std::vector<std::vector<std::uint32_t>> planes(m_solid.corners.size());
        for (const BrushSolid::Face& face : m_solid.faces)
            for (const std::uint32_t corner : face.corners)
                planes[corner].push_back(face.plane);
        for (std::size_t i = 0; i < planes.size(); ++i)
            placeCorner(m_solid.corners[i], planes[i]);
    }

    /// Puts a corner exactly where three of its planes meet. One that would move farther than the tolerance allows stays:
    /// its planes are too nearly parallel to tell.
    void placeCorner(Vector& corner, const std::vector<std::uint32_t>& planes) const {
        if (planes.size() < 3)
            return;
        const BrushPlane& first = m_planes[planes[0]];
        const BrushPlane& second =
            *steepest(planes, [&](const BrushPlane& plane) { return first.normal.cross(plane.normal).length(); });
        const Vector along = first.normal.cross(second.normal);
        const BrushPlane& third =
            *steepest(planes, [&](const BrushPlane& plane) { return std::abs(along.dot(plane.normal)); });
        const double volume = along.dot(third.normal);
        const Vector place = (second.normal.cross(third.normal) * first.distance +
                              third.normal.cross(first.normal) * second.distance + along * third.distance) /
                             volume;
        if ((place - corner).length() < 4 * m_tolerance)
            corner = place;
    }
    template <class Measure>
    const BrushPlane* steepest(const std::vector<std::uint32_t>& planes, Measure&& measure) const {
        const BrushPlane* best = nullptr;
        double most = -1;
        for (const std::uint32_t plane : planes)
            if (const double value = measure(m_planes[plane]); value > most) {
                most = value;
                best = &m_planes[plane];
            }
        return best;
    }

    void findIdle() {
        std::size_t face = 0;
        for (std::uint32_t plane = 0; plane < m_planes.size(); ++plane)
            if (face < m_solid.faces.size() && m_solid.faces[face].plane == plane)
                ++face;
            else
                m_solid.idle.push_back(plane);
    }

    const std::vector<BrushPlane>& m_planes;
    double m_tolerance;
    bool m_tooCoarse = false;
    BrushSolid m_solid;
    std::vector<Side> m_side;       ///< of each corner to the plane that cuts
    std::vector<double> m_distance; ///< likewise
    bool m_anyInside = false;
    bool m_anyOutside = false;
    std::unordered_map<std::uint64_t, std::uint32_t> m_cutEdges; ///< corner on each edge that the plane crosses
};

} // namespace

bool isBeyondBrushes(const M_Vector3Template<double>& point) {
    return !(std::abs(point.x) < BRUSH_EXTENT && std::abs(point.y) < BRUSH_EXTENT && std::abs(point.z) < BRUSH_EXTENT);
}

bool makeBrushPlane(const M_Vector3Template<double> points[3], BrushPlane& plane) {
    if (std::any_of(points, points + 3, isBeyondBrushes))
        return false;
    const Vector a = points[2] - points[0], b = points[1] - points[0];
    Vector normal = a.cross(b);
    const double size = normal.length();
    // Sides that are parallel but for rounding give no direction.
    if (!(size > 1e-9 * a.length() * b.length()))
        return false;
    normal = normal / size;
    plane.normal = normal;
    plane.distance = normal.dot(points[0]);
    return true;
}

BrushSolid intersectHalfSpaces(const std::vector<BrushPlane>& planes) {
    // Where planes nearly meet at just the distance of the tolerance a finer one tells them apart. The last is still far
    // above what rounding does to numbers of the box's size.
    for (const double tolerance : {BRUSH_TOLERANCE, BRUSH_TOLERANCE / 100}) {
        SolidCutter cutter(planes, tolerance);
        BrushSolid solid = cutter.cut();
        if (!cutter.isTooCoarse())
            return solid;
    }
    return SolidCutter(planes, BRUSH_TOLERANCE / 10000).cut();
}

} // namespace cairn::host
