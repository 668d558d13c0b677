#include "cairn/geometry/plane_mover.h"

#include "cairn/geometry/retriangulation.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cairn {

namespace {

constexpr double SAME_PLANE = 1e-9;               // off a member's own plane
constexpr double GRID = 0.0125, NEAR_GRID = 1e-5; // of normals and centers next to an axis

} // namespace

/// Puts members and vertices back to what they were, unless the move was done.
class CN_PlaneMover::Undo {
  public:
    explicit Undo(CN_PlaneMover& mover) : m_mover(mover), m_isBSPDirty(mover.m_mesh.m_bspDirty) {}
    ~Undo() {
        if (!m_isKept)
            putBack();
    }
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;

    void saveMembers() {
        m_members.reserve(m_mover.m_members.size());
        for (const int member : m_mover.m_members) {
            CN_Polygon& polygon = m_mover.polygonAt(member);
            m_members.push_back({&polygon, polygon.getNormal(), polygon.getPointOnPlane(), polygon.isUVCalculated(),
                                 polygon.getUVSpaces()});
        }
    }
    void writePlaces() {
        std::vector<Vector> places;
        std::size_t i = 0;
        for (CN_Vertex& vertex : m_mover.m_mesh.m_vertexList)
            if (const Vector& place = m_mover.m_newPlaces[i++]; !(place == vertex.local)) {
                m_moved.emplace_back(&vertex, vertex.local);
                places.push_back(place);
            }
        for (i = 0; i < m_moved.size(); ++i)
            m_moved[i].first->local = places[i];
    }
    void keep() { m_isKept = true; }
    /// The vertices that were written.
    const std::vector<std::pair<CN_Vertex*, Vector>>& moved() const { return m_moved; }

  private:
    struct Member {
        CN_Polygon* polygon; ///< not owned
        Vector normal, point;
        bool isUVCalculated;
        CN_Polygon::UVSpaces spaces;
    };

    void putBack() {
        for (const auto& [vertex, place] : m_moved)
            vertex->local = place;
        for (Member& member : m_members) {
            member.polygon->setNormal(member.normal);
            member.polygon->setPointOnPlane(member.point);
            member.polygon->setUVCalculated(member.isUVCalculated);
            member.polygon->accessUVSpaces() = std::move(member.spaces);
        }
        m_mover.m_mesh.m_bspDirty = m_isBSPDirty;
    }

    CN_PlaneMover& m_mover;
    bool m_isBSPDirty;
    bool m_isKept = false;
    std::vector<Member> m_members;
    std::vector<std::pair<CN_Vertex*, Vector>> m_moved; ///< not owned; with their old places
};

CN_PlaneMover::Refusal CN_PlaneMover::run(CN_Polygon& polygon, const CN_PlaneMove& move) {
    constexpr double NEXT_TO_AXIS = 0.9999;
    m_polygon = &polygon;
    m_move = move;
    m_oldNormal = polygon.getNormal();
    m_newNormal = m_oldNormal * move.matrix;
    if (maxAbsComponent(m_newNormal) > NEXT_TO_AXIS) {
        snapVector(m_newNormal, GRID, NEAR_GRID);
        snapVector(m_move.center, GRID, NEAR_GRID);
    }
    refreshDerived();
    Undo undo(*this);
    if (const Refusal refusal = findRefusal(undo); refusal != Refusal::NONE)
        return refusal;
    return commit(undo);
}

/// World values and boxes may be of any age.
void CN_PlaneMover::refreshDerived() {
    m_mesh.transform();
    for (CN_Polygon* const polygon : m_polygons) {
        polygon->setWorldNormal(polygon->getNormal() * m_mesh.getWorldRotation());
        polygon->buildBoundingBox(true);
    }
}

CN_PlaneMover::Refusal CN_PlaneMover::findRefusal(Undo& undo) {
    gather();
    for (const std::vector<int>* const polygons : {&m_members, &m_border})
        for (const int polygon : *polygons)
            if (polygonAt(polygon).isExitPolygon())
                return Refusal::EXIT;
    if (const Refusal refusal = checkCorners(); refusal != Refusal::NONE)
        return refusal;
    gatherOwnVertices();
    undo.saveMembers();
    if (m_move.rotating)
        for (const int member : m_members)
            polygonAt(member).setPointOnPlane(m_move.center);
    if (const Refusal refusal = checkFollowing(); refusal != Refusal::NONE)
        return refusal;
    aim();
    if (const Refusal refusal = placeCorners(); refusal != Refusal::NONE)
        return refusal;
    if (crosses())
        return Refusal::CROSSING;
    if (const Refusal refusal = checkShape(); refusal != Refusal::NONE)
        return refusal;
    undo.writePlaces();
    return isPierced() ? Refusal::PIERCED : Refusal::NONE;
}

// Corners are put where the commit puts the plane: one along an axis is snapped first.
void CN_PlaneMover::aim() {
    m_delta = m_polygon->getReferenceNormal() * m_move.distance;
    for (const int member : m_members) {
        polygonAt(member).setPointOnPlane(polygonAt(member).getPointOnPlane() + m_delta);
        polygonAt(member).setUVCalculated(false);
    }
    Vector normal = m_newNormal, point = m_polygon->getPointOnPlane();
    if (maxAbsComponent(normal) == 1)
        snapPlane(normal, point);
    m_target = {normal, point};
}

/// Finds the new places, and the edges that they change.
CN_PlaneMover::Refusal CN_PlaneMover::placeCorners() {
    m_newPlaces = m_places;
    m_isTouched.assign(m_sides.size(), 0);
    if (!placeFollowing())
        return Refusal::PARALLEL;
    for (const int member : m_members)
        forEachSideOf(member, [this](int i) { touch(i); });
    if (!placeOwn())
        return Refusal::PARALLEL;
    for (std::size_t i = 0; i < m_places.size(); ++i)
        if (!(m_newPlaces[i] == m_places[i]) && !m_newPlaces[i].isFinite())
            return Refusal::PARALLEL;
    return Refusal::NONE;
}

/// False where an edge runs along the new plane.
bool CN_PlaneMover::placeFollowing() {
    std::vector<int> changed;
    for (const Following& following : m_following) {
        const Side& edge = side(following.side);
        const int vertex = edge.ends[following.end], other = edge.ends[1 - following.end];
        Vector& place = m_newPlaces[at(vertex)];
        if (!m_target.intersectLine(place, m_places[at(vertex)], alongOf(edge)))
            return false;
        touch(following.side);
        changed.clear();
        for (const int end : {vertex, other})
            forEachSideAt(end, [&](int i) {
                if (side(i).polygon == edge.polygon)
                    changed.push_back(i);
            });
        std::sort(changed.begin(), changed.end());
        for (const int i : changed)
            touch(i);
    }
    return true;
}

/// Own vertices go along the reference normal, or as near to it as the polygon that they stay in allows.
bool CN_PlaneMover::placeOwn() {
    for (const OwnVertex& own : m_own) {
        Vector direction = m_polygon->getReferenceNormal();
        if (own.slide >= 0) {
            const Vector& normal = polygonAt(own.slide).getNormal();
            direction += normal * (-normal.dot(direction) / normal.dot(normal));
        }
        Vector& place = m_newPlaces[at(own.vertex)];
        if (!m_target.intersectLine(place, Vector(place), direction))
            return false;
    }
    return true;
}

void CN_PlaneMover::touch(int side) {
    if (!std::exchange(m_isTouched[at(side)], 1))
        m_touched.push_back(side);
}

CN_PlaneMover::Refusal CN_PlaneMover::commit(Undo& undo) {
    constexpr int KEYS = 3;
    const bool isAlongAxis = maxAbsComponent(m_newNormal) == 1;
    for (const int member : m_members) {
        CN_Polygon& polygon = polygonAt(member);
        // A key that is missing begins as space 0 was.
        for (int key = 0; key < KEYS; ++key)
            polygon.addUVSpace(key);
        for (int key = 0; key < KEYS; ++key)
            if (!turnSpace(polygon.accessUVSpaces()[key].space))
                return Refusal::NOT_A_MOVE;
        // One that faces the other way goes on doing so.
        Vector normal = polygon.getNormal().dot(m_oldNormal) < 0 ? -m_newNormal : m_newNormal;
        Vector point = polygon.getPointOnPlane();
        // One that was a little bent against the others is not any more: its corners went to the one plane.
        if (std::abs(m_target.distance(point)) > SAME_PLANE)
            CN_Polygon::projectGeneral(point, m_target.getNormal(), m_target.getPoint());
        if (isAlongAxis)
            snapPlane(normal, point);
        polygon.setNormal(normal);
        polygon.setPointOnPlane(point);
    }
    CN_renewTriangulations(m_mesh);
    undo.keep();
    for (const auto& [vertex, old] : undo.moved())
        vertex->world = m_mesh.worldTransform(vertex->local);
    for (const int member : m_members)
        polygonAt(member).setWorldNormal(polygonAt(member).getNormal() * m_mesh.getWorldRotation());
    m_mesh.setGeometryDirty();
    m_mesh.invalidateMapping();
    return Refusal::NONE;
}

/// Moves a texture along and turns it about the center, which becomes the origin; not where the snap has undone the tilt. False
/// for what is no number.
bool CN_PlaneMover::turnSpace(CN_Polygon::PlanarSpace& space) const {
    const bool isUndone = m_target.getNormal() == m_oldNormal && !(m_newNormal == m_oldNormal);
    space.setPoint(space.getPoint() + m_delta);
    const M_Vector2Template<double> offset = space.toUV(m_move.center);
    CN_Polygon::Matrix matrix = isUndone ? space.getMatrix() : space.getMatrix() * m_move.matrix;
    if (maxAbsComponent(m_newNormal) == 1)
        snapVector(matrix.row(2), GRID, NEAR_GRID);
    if (!std::isfinite(offset.x) || !std::isfinite(offset.y) || !matrix.isInvertible())
        return false;
    space.setOffset(offset);
    space.setPoint(m_move.center);
    space.setMatrix(matrix);
    return true;
}

} // namespace cairn
