#include "tests/support/naive_plane_moves.h"

#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace cairn::test {

namespace {

using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;
using Polygons = std::vector<CN_Polygon*>;

bool contains(const auto& list, const auto& value) { return std::find(list.begin(), list.end(), value) != list.end(); }

bool areParallel(const Vector& a, const Vector& b) { return snapToGrid(std::abs(a.dot(b)), 1e-6) == 1; }

double angle(const Vector& a, const Vector& b) { return CN_Polygon::angle(a, b, false); }

bool hasAtEnd(const CN_Edge& edge, int vertex) { return edge.index(0) == vertex || edge.index(1) == vertex; }

int sign(double distance) {
    const double snapped = snapToGrid(distance, 1e-6);
    return snapped > 0 ? 1 : snapped < 0 ? -1 : 0;
}

struct NaiveMove {
    CN_Mesh& mesh;
    CN_Polygon* polygon;
    double distance, minEdgeLength;
    Vector oldNormal, newNormal;
    Polygons group, border;
    std::vector<int> own;
    Polygons slides;
    std::vector<CN_Edge*> far, touched;
    std::vector<Vector> newPlaces;

    const Vector& local(int vertex) const { return mesh.getVertexList()[vertex].local; }
    bool isInGroup(const CN_Polygon* other) const { return contains(group, other); }

    void gatherCoplanar(CN_Polygon* from) {
        from->createSharedEdgeList();
        const auto visit = [&](CN_Polygon* other) {
            if (other == from || isInGroup(other) || !areParallel(other->getNormal(), from->getNormal()))
                return;
            group.push_back(other);
            gatherCoplanar(other);
        };
        const F_DLList<CN_Polygon*> sharing = from->getSharedEdgeList();
        for (CN_Polygon* const other : sharing)
            visit(other);
        for (CN_Polygon& other : mesh.accessPolygonList())
            for (const CN_Edge& edge : other.getEdgeList())
                if (std::any_of(from->getEdgeList().begin(), from->getEdgeList().end(),
                                [&](const CN_Edge& mine) { return mine.index(0) == edge.index(0); })) {
                    visit(&other);
                    break;
                }
    }

    void gather() {
        group = {polygon};
        gatherCoplanar(polygon);
        for (CN_Polygon* const member : group) {
            member->createSharedEdgeList();
            for (CN_Polygon* const other : member->getSharedEdgeList())
                if (!contains(border, other))
                    border.push_back(other);
        }
        std::erase_if(border, [this](CN_Polygon* other) { return isInGroup(other); });
        polygon->accessSharedEdgeList().clear();
        for (CN_Polygon* const other : border)
            polygon->accessSharedEdgeList().add(other);
    }

    bool runsAlongGroup(const CN_Edge& edge) const {
        Vector point, vector;
        for (const CN_Polygon* const member : group)
            for (const CN_Edge& theirs : member->getEdgeList())
                if (edge.sharesSpace(&theirs, point, vector))
                    return true;
        return false;
    }

    bool hasOneEndInGroup(const CN_Edge& edge) const {
        for (const CN_Polygon* const member : group) {
            const bool a = member->vertexIsInPolygon(&edge.getLocal(0)),
                       b = member->vertexIsInPolygon(&edge.getLocal(1));
            if (a || b)
                return a != b;
        }
        return false;
    }

    bool checkCoplanarVertices(int vertex) const {
        std::vector<const CN_Edge*> edges;
        for (const CN_Polygon& other : mesh.getPolygonList())
            if (!isInGroup(&other))
                for (const CN_Edge& edge : other.getEdgeList())
                    if (hasAtEnd(edge, vertex) && !runsAlongGroup(edge) && hasOneEndInGroup(edge))
                        edges.push_back(&edge);
        return std::none_of(edges.begin(), edges.end(), [&](const CN_Edge* edge) {
            const double between = angle(edges.front()->dir(), edge->dir());
            return between > 0.0017453292522222226 && between < 3.139847324747778;
        });
    }

    bool checkEdgePlaneDeadlock(int vertex) const {
        Polygons holding;
        std::vector<const CN_Edge*> edges;
        for (CN_Polygon* const other : border) {
            if (!areParallel(other->getNormal(), oldNormal) && other->vertexIsInPolygon(&local(vertex)))
                holding.push_back(other);
            for (const CN_Edge& edge : other->getEdgeList())
                if (hasAtEnd(edge, vertex))
                    edges.push_back(&edge);
        }
        for (const CN_Edge* const edge : edges)
            for (const CN_Polygon* const other : holding)
                if (std::abs(angle(other->getNormal(), edge->dir()) - 1.570796327) < 0.0017453292522222226)
                    return true;
        return holding.empty();
    }

    bool checkCorners() const {
        for (const CN_Polygon* const member : group)
            for (const CN_Edge& edge : member->getEdgeList())
                if (!checkCoplanarVertices(edge.index(0)) || !checkEdgePlaneDeadlock(edge.index(0)))
                    return false;
        for (const CN_Polygon* const other : border)
            for (const CN_Edge& edge : other->getEdgeList())
                if (!checkCoplanarVertices(edge.index(0)))
                    return false;
        return true;
    }

    bool isHeld(const CN_Polygon* member, int vertex) const {
        for (const CN_Polygon& other : mesh.getPolygonList())
            if (&other != member && !isInGroup(&other))
                for (const CN_Edge& edge : other.getEdgeList())
                    if (edge.index(0) == vertex && std::abs(angle(member->getNormal(), edge.dir()) - 1.570796327) > 0.1)
                        return true;
        return false;
    }

    void gatherOwn() {
        for (const CN_Polygon* const member : group)
            for (const CN_Edge& edge : member->getEdgeList())
                if (const int vertex = edge.index(0); !contains(own, vertex) && !isHeld(member, vertex)) {
                    own.push_back(vertex);
                    CN_Polygon* slide = nullptr;
                    for (CN_Polygon& other : mesh.accessPolygonList())
                        if (!slide && !isInGroup(&other) && !areParallel(other.getNormal(), oldNormal) &&
                            other.vertexIsInPolygon(&local(vertex)))
                            slide = &other;
                    slides.push_back(slide);
                }
    }

    bool request(CN_Edge& edge) {
        std::size_t apart = 0;
        const Vector a = edge.getLocal(0), b = edge.getLocal(1);
        for (const CN_Polygon* const member : group) {
            if (member->edgeIsInPolygon(&edge))
                return true;
            apart += !member->vertexIsInPolygon(&a) && !member->vertexIsInPolygon(&b);
        }
        if (apart == group.size()) {
            far.push_back(&edge);
            return true;
        }
        const Vector n = polygon->getNormal(), q = polygon->getPointOnPlane();
        const bool aIsOn = std::abs(n.dot(q) - n.dot(a)) < 1e-4, bIsOn = std::abs(n.dot(q) - n.dot(b)) < 1e-4;
        if (aIsOn && bIsOn)
            return true;
        const Vector near = aIsOn ? a : b, end = aIsOn ? b : a;
        Vector hit;
        if (!Plane(newNormal, q + polygon->getReferenceNormal() * distance).intersectLine(hit, near, end - near))
            return false;
        const double length = (hit - end).length();
        return length > 0 && snapToGrid((end - hit).normalized().dot((end - near).normalized()), 1e-4) > 0 &&
               length >= minEdgeLength && length <= 10 * (b - a).length();
    }

    void touch(CN_Edge& edge) {
        if (!contains(touched, &edge))
            touched.push_back(&edge);
    }

    bool place(const Plane& target) {
        for (const CN_Vertex& vertex : mesh.getVertexList())
            newPlaces.push_back(vertex.local);
        const auto placeOf = [this](int vertex) -> Vector& { return newPlaces[static_cast<std::size_t>(vertex)]; };
        for (CN_Polygon* const other : border)
            for (CN_Edge& edge : other->accessEdgeList()) {
                bool isIn = false, holds[2] = {false, false};
                for (const CN_Polygon* const member : group) {
                    isIn |= member->edgeIsInPolygon(&edge);
                    for (const int end : {0, 1})
                        holds[end] |= member->vertexIsInPolygon(&edge.getLocal(end));
                }
                if (isIn || holds[0] == holds[1])
                    continue;
                Vector ends[2] = {edge.getLocal(0), edge.getLocal(1)};
                Vector& moved = ends[holds[0] ? 0 : 1];
                if (!target.intersectLine(moved, Vector(moved), edge.dir()))
                    return false;
                placeOf(edge.index(0)) = ends[0];
                placeOf(edge.index(1)) = ends[1];
                touch(edge);
                for (CN_Edge& beside : other->accessEdgeList())
                    if (hasAtEnd(beside, edge.index(0)) || hasAtEnd(beside, edge.index(1)))
                        touch(beside);
            }
        for (CN_Polygon* const member : group)
            for (CN_Edge& edge : member->accessEdgeList())
                touch(edge);
        for (std::size_t i = 0; i < own.size(); ++i) {
            Vector direction = polygon->getReferenceNormal();
            if (slides[i]) {
                const Vector n = slides[i]->getNormal();
                direction += n * (-n.dot(direction) / n.dot(n));
            }
            if (!target.intersectLine(placeOf(own[i]), Vector(placeOf(own[i])), direction))
                return false;
        }
        return true;
    }

    Vector placeOf(const CN_Edge& edge, int end) const { return newPlaces[static_cast<std::size_t>(edge.index(end))]; }

    bool crosses(const CN_Edge& edge) const {
        const Vector v = edge.dir();
        if (snapToGrid(v.dot(oldNormal), 1e-4) == 0)
            return false;
        for (const CN_Polygon& other : mesh.getPolygonList()) {
            const Plane plane = other.getPlane();
            Vector hit;
            if (&other == edge.getParent() || isInGroup(&other) || std::abs(other.getNormal().dot(v)) < 1e-4 ||
                !plane.intersectLine(hit, edge.getLocal(1), v) || !other.vertexIsInPolygon(&hit))
                continue;
            for (const int end : {0, 1})
                if (sign(plane.distance(edge.getLocal(end))) != sign(plane.distance(placeOf(edge, end))))
                    return true;
        }
        return false;
    }

    bool losesShape(const CN_Edge& edge) const {
        const Vector a = edge.dir(), b = placeOf(edge, 1) - placeOf(edge, 0);
        const double limit = minEdgeLength - 1e-6;
        return snapToGrid(a.dot(b), 0.01) < 0 || (snapToGrid(a.length(), 0.001) > snapToGrid(b.length(), 0.001) &&
                                                  a.length() > limit && b.length() <= limit);
    }

    bool isPierced(const Plane& target) const {
        for (const CN_Edge* const edge : far) {
            Vector hit;
            if (snapToGrid(edge->dir().dot(target.getNormal()), 1e-6) == 0 ||
                !target.intersectLine(hit, edge->getLocal(1), edge->dir()) ||
                !(snapToGrid((hit - edge->getLocal(0)).dot(hit - edge->getLocal(1)), 1e-6) < 0))
                continue;
            for (const CN_Polygon* const member : group)
                if (member->vertexIsInPolygon(&hit))
                    return true;
        }
        return false;
    }

    void swapPlaces() {
        std::size_t i = 0;
        for (CN_Vertex& vertex : mesh.accessVertexList())
            std::swap(vertex.local, newPlaces[i++]);
    }
};

} // namespace

bool naivePlaneMove(CN_Mesh& mesh, CN_Polygon* polygon, double distance, double minEdgeLength, bool rotating,
                    const M_Matrix3Template<double>& matrix, Vector center) {
    for (CN_Polygon& other : mesh.accessPolygonList())
        other.buildBoundingBox(true);
    NaiveMove move{
        mesh, polygon, distance, minEdgeLength, polygon->getNormal(), polygon->getNormal() * matrix, {}, {}, {}, {},
        {},   {},      {}};
    if (maxAbsComponent(move.newNormal) > 0.9999) {
        snapVector(move.newNormal, 0.0125, 1e-5);
        snapVector(center, 0.0125, 1e-5);
    }
    move.gather();
    for (const Polygons& polygons : {move.group, move.border})
        for (const CN_Polygon* const other : polygons)
            if (other->isExitPolygon())
                return false;
    if (!move.checkCorners())
        return false;
    move.gatherOwn();
    std::vector<Vector> points;
    for (CN_Polygon* const member : move.group) {
        points.push_back(member->getPointOnPlane());
        if (rotating)
            member->setPointOnPlane(center);
    }
    const auto refuse = [&] {
        for (std::size_t i = 0; i < points.size(); ++i)
            move.group[i]->setPointOnPlane(points[i]);
        return false;
    };
    for (CN_Polygon* const other : move.border)
        for (CN_Edge& edge : other->accessEdgeList())
            if (!move.request(edge))
                return refuse();
    const Vector delta = polygon->getReferenceNormal() * distance;
    for (CN_Polygon* const member : move.group)
        member->setPointOnPlane(member->getPointOnPlane() + delta);
    const bool isAlongAxis = maxAbsComponent(move.newNormal) == 1;
    Vector normal = move.newNormal, point = polygon->getPointOnPlane();
    if (isAlongAxis)
        snapPlane(normal, point);
    const Plane target(normal, point);
    if (!move.place(target))
        return refuse();
    for (const CN_Edge* const edge : move.touched)
        if (move.crosses(*edge) || move.losesShape(*edge))
            return refuse();
    for (CN_Polygon& other : mesh.accessPolygonList())
        if (!move.isInGroup(&other) && !contains(move.border, &other))
            for (CN_Edge& edge : other.accessEdgeList())
                move.far.push_back(&edge);
    move.swapPlaces();
    if (move.isPierced(target)) {
        move.swapPlaces();
        return refuse();
    }
    const bool isUndone = normal == move.oldNormal && !(move.newNormal == move.oldNormal);
    for (CN_Polygon* const member : move.group) {
        Vector memberNormal = member->getNormal().dot(move.oldNormal) < 0 ? -move.newNormal : move.newNormal;
        Vector memberPoint = member->getPointOnPlane();
        if (std::abs(target.distance(memberPoint)) > 1e-9)
            CN_Polygon::projectGeneral(memberPoint, target.getNormal(), target.getPoint());
        if (isAlongAxis)
            snapPlane(memberNormal, memberPoint);
        member->setNormal(memberNormal);
        member->setPointOnPlane(memberPoint);
        for (const int key : {0, 1, 2})
            member->addUVSpace(key);
        for (const int key : {0, 1, 2}) {
            CN_Polygon::PlanarSpace& space = member->editUVSpace(key);
            space.setPoint(space.getPoint() + delta);
            const M_Vector2Template<double> offset = space.toUV(center);
            M_Matrix3Template<double> rows = isUndone ? space.getMatrix() : space.getMatrix() * matrix;
            if (isAlongAxis)
                snapVector(rows.row(2), 0.0125, 1e-5);
            space.setOffset(offset);
            space.setPoint(center);
            space.setMatrix(rows);
        }
    }
    mesh.setGeometryDirty();
    mesh.invalidateMapping();
    mesh.triangulizeAll(true);
    return true;
}

} // namespace cairn::test
