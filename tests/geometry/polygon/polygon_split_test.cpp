#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/validate.h"
#include "cairn/lighting/lightmap.h"
#include "cairn/lighting/lightmap_pool.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace cairn {
namespace {

using test::failureText;
using test::Loop;
using test::ProcessStateGuard;
using test::ShelfDocument;
using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;
using Polygons = std::vector<CN_Polygon*>;

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

double areaOf(const CN_Polygon& polygon) { return CN_areaVector(polygon).dot(polygon.getNormal()); }

double areaOf(const Polygons& polygons) {
    double sum = 0;
    for (const CN_Polygon* const polygon : polygons)
        sum += areaOf(*polygon);
    return sum;
}

TEST(PolygonSplit, WhichSideIsWhich) {
    for (const double way : {1.0, -1.0}) {
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::unitFloor(document);
        CN_Polygon& floor = mesh.accessPolygonList()[0];
        floor.accessUVSpaces()[0].space = CN_Polygon::PlanarSpace();
        Polygons behind, front;
        floor.split({{way, 0, 0}, {0.25, 7, 7}}, &mesh, &behind, &front, true);
        ASSERT_EQ(behind.size(), 1u);
        ASSERT_EQ(front.size(), 1u);
        EXPECT_NEAR(areaOf(behind), way > 0 ? 0.25 : 0.75, 1e-12);
        EXPECT_NEAR(areaOf(front), way > 0 ? 0.75 : 0.25, 1e-12);
        EXPECT_EQ(mesh.getPolygonList().count(), 3);
        EXPECT_EQ(&mesh.getPolygonList()[1], behind[0]) << "what is behind comes first";
        EXPECT_EQ(floor.getEdgeList().count(), 4) << "the source stays";
        EXPECT_EQ(behind[0]->numVertices(), 4);
        EXPECT_TRUE(behind[0]->getTriangleList().empty());
    }
}

TEST(PolygonSplit, PiecesByTheCut) {
    struct Case {
        const char* name;
        CN_LevelEntityMesh* (*build)(CN_Document&);
        Plane plane;
        std::size_t behind, front;
        int holes; ///< of all pieces
    };
    const Case cases[] = {
        {"an L at its notch", test::lRoom, {{1, 0, 0}, {6, 0, 0}}, 1, 1, 0},
        {"an L across both arms", test::lRoom, {Vector(1, 0, 1).normalized(), {5, 0, 5}}, 1, 2, 0},
        {"through a hole", test::pillarRoom, {{0, 0, 1}, {0, 0, 3}}, 1, 1, 0},
        {"beside the hole", test::pillarRoom, {{0, 0, 1}, {0, 0, 6}}, 1, 1, 1},
        {"along the hole's edge", test::pillarRoom, {{0, 0, 1}, {0, 0, 4}}, 1, 1, 0},
        {"along an edge", test::boxRoom, {{1, 0, 0}, {8, 0, 0}}, 1, 0, 0},
        {"all in front", test::pillarRoom, {{1, 0, 0}, {-1e30, 0, 0}}, 0, 1, 1},
        {"all behind", test::pillarRoom, {{1, 0, 0}, {1e12, 0, 0}}, 1, 0, 1},
    };
    for (const Case& c : cases)
        for (const bool checkExtents : {false, true}) {
            SCOPED_TRACE(c.name);
            ShelfDocument document;
            CN_LevelEntityMesh& mesh = *c.build(document);
            CN_Polygon& floor = mesh.accessPolygonList()[0];
            Polygons behind, front;
            const ProcessStateGuard guard;
            floor.split(c.plane, &mesh, &behind, &front, checkExtents);
            EXPECT_EQ(behind.size(), c.behind);
            EXPECT_EQ(front.size(), c.front);
            EXPECT_EQ(guard.log().starts_with("Extents: In "), checkExtents && (c.behind == 0 || c.front == 0));
            int holes = 0;
            for (const Polygons& side : {behind, front})
                for (const CN_Polygon* const piece : side)
                    holes += piece->getNumHoles();
            EXPECT_EQ(holes, c.holes);
            EXPECT_NEAR(areaOf(behind) + areaOf(front), areaOf(floor), 1e-9);
        }
}

TEST(PolygonSplit, CornersOnTheGridStayOnIt) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::pillarRoom(document);
    const auto isOnGrid = [&mesh] {
        return std::all_of(mesh.getVertexList().begin(), mesh.getVertexList().end(), [](const CN_Vertex& vertex) {
            const Vector eighths = vertex.local * 8;
            return eighths == Vector(std::round(eighths.x), std::round(eighths.y), std::round(eighths.z));
        });
    };
    for (const Plane& plane :
         {Plane({0, 0, 1}, {0, 0, 3.125}), Plane({1, 0, 0}, {1.375, 0, 0}), Plane({0, -1, 0}, {0, 2.5, 0})}) {
        Polygons old;
        for (CN_Polygon& polygon : mesh.accessPolygonList())
            old.push_back(&polygon);
        for (CN_Polygon* const polygon : old) {
            Polygons made;
            polygon->split(plane, &mesh, &made, &made, true);
            mesh.deletePolygon(polygon);
        }
        EXPECT_TRUE(isOnGrid());
    }
    CN_Polygon &a = mesh.accessPolygonList()[0], &b = mesh.accessPolygonList()[1];
    mesh.addPolygon()->buildFrom(&a, &b);
    EXPECT_TRUE(isOnGrid());
}

TEST(PolygonSplit, SliversOfTheFirstAxisGo) {
    struct Case {
        const char* name;
        Vector normal, point;
        std::size_t front;
        const char* log;
    };
    // U of the floor runs along z.
    const Case cases[] = {
        {"thin along U", {0, 0, 1}, {0, 0, 0.9996}, 0, "Extents: In 0.999600000, out 0.000400000\n"},
        {"wide enough", {0, 0, 1}, {0, 0, 0.9994}, 1, ""},
        {"thin along V", {1, 0, 0}, {0.9996, 0, 0}, 1, ""},
        {"none", {0, 0, 1}, {0, 0, 2}, 0, "Extents: In 1.000000000, out 0.000000000\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::unitFloor(document);
        const ProcessStateGuard guard;
        Polygons front;
        mesh.accessPolygonList()[0].split({c.normal, c.point}, &mesh, nullptr, &front, true);
        EXPECT_EQ(front.size(), c.front);
        EXPECT_EQ(mesh.getPolygonList().count(), 2 + static_cast<int>(c.front));
        EXPECT_EQ(guard.log(), c.log);
    }
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::sliverBox(document);
    CN_Polygon* const strip = test::fixturePolygon(mesh, {{1, 7, 8, 2}});
    strip->accessUVSpaces()[0].space = CN_Polygon::PlanarSpace({{0, 0, 1}, {0, 1, 0}, {1, 0, 0}}, {}, {});
    for (CN_Vertex& vertex : mesh.accessVertexList())
        vertex.local.z *= 1.0 / 32; // the strip is 1/4096 wide
    const ProcessStateGuard guard;
    Polygons behind, front;
    strip->split({{0, 1, 0}, {0, 2, 0}}, &mesh, &behind, &front, true);
    EXPECT_TRUE(behind.empty() && front.empty());
    EXPECT_EQ(guard.log(), "Extents: In 0.000244141, out 0.000244141\n") << "once for both";
}

TEST(PolygonSplit, AParallelPlaneGivesACopy) {
    constexpr double DEGREE = 0.017453292519943295;
    for (const double degrees : {0.0, 0.09, 0.11, 179.95}) {
        SCOPED_TRACE(degrees);
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::pillarRoom(document);
        CN_LevelEntityMesh& other = *test::emptyMesh(document);
        CN_Polygon& floor = mesh.accessPolygonList()[0];
        floor.accessLightmapMapping().setResolution(9);
        for (CN_LevelEntityMesh* const target : {&mesh, &other}) {
            Polygons list;
            const int before = target->getPolygonList().count();
            floor.split({{0, std::cos(degrees * DEGREE), std::sin(degrees * DEGREE)}, {4, 0, 4}}, target, &list, &list,
                        false);
            const CN_Polygon& last = *target->getPolygonList().last();
            EXPECT_NEAR(std::fabs(areaOf(last)), degrees == 0.11 ? 30 : 60, 2.1);
            if (degrees == 0.11)
                continue;
            EXPECT_TRUE(list.empty());
            EXPECT_EQ(target->getPolygonList().count(), before + 1);
            EXPECT_EQ(last.getEdgeList().count(), 8);
            EXPECT_EQ(last.getEdgeList().first()->getParent(), &last);
            EXPECT_EQ(last.getMaterial(), floor.getMaterial());
            EXPECT_NE(last.getLightmapMapping().getResolution(), 9);
        }
    }
}

TEST(PolygonSplit, PiecesKeepWhatThePolygonHas) {
    ShelfDocument document;
    CN_LevelEntityMesh& room = *test::twoRooms(document);
    auto& pool = dynamic_cast<CN_LightmapPool&>(*document.accessLightmaps());
    pool.allocateNew(1);
    CN_Polygon& exit = room.accessPolygonList()[4];
    exit.setLightmap(1);
    exit.setPolygonIndex(5);
    exit.accessLightmapMapping().setResolution(9);
    Polygons behind, front;
    exit.split({{0, 1, 0}, {0, 1, 0}}, &room, &behind, &front, true);
    EXPECT_EQ(pool.getLightmap(1)->getRefCount(), 3u);
    for (CN_Polygon* const piece : {behind.at(0), front.at(0)}) {
        EXPECT_EQ(piece->getExitDestination(), exit.getExitDestination());
        EXPECT_EQ(piece->getPolyMode(), PT_EXIT);
        EXPECT_EQ(piece->getPolygonIndex(), 5u);
        EXPECT_EQ(piece->getLightmapMapping().getResolution(), 9);
        EXPECT_TRUE(piece->getLightmapMapping().isLightmapValid());
        room.deletePolygon(piece);
    }
    EXPECT_EQ(pool.getLightmap(1)->getRefCount(), 1u);
}

TEST(PolygonSplit, WhatCannotBeCutIsRefused) {
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    floor.setPolygonIndex(7);
    const auto split = [&](const Plane& plane, CN_Mesh* target) {
        return failureText([&] { floor.split(plane, target, nullptr, nullptr, true); });
    };
    const std::string refused = "Polygon 7 cannot be split: ";
    EXPECT_EQ(split({{1, 0, 0}, {}}, nullptr), refused + "there is no mesh for the pieces");
    EXPECT_EQ(split({{0, 0, 0}, {}}, &mesh), refused + "the plane has no normal");
    EXPECT_EQ(split({{NOT_A_NUMBER, 0, 0}, {}}, &mesh), refused + "the plane is not finite");
    EXPECT_EQ(split({{1, 0, 0}, {INFINITE, 0, 0}}, &mesh), refused + "the plane is not finite");
    EXPECT_EQ(split({Vector(1, 1, 0).normalized(), {1.7e308, 1.7e308, 0}}, &mesh),
              refused + "the plane is too far away");
    mesh.accessVertexList()[2].local.x = INFINITE;
    EXPECT_EQ(split({{1, 0, 0}, {}}, &mesh), refused + "it is not finite");
    mesh.accessVertexList()[2].local.x = 1;
    floor.setNormal({});
    EXPECT_EQ(split({{1, 0, 0}, {}}, &mesh), "M_PlanarSpace3 is singular!");
    EXPECT_EQ(mesh.getPolygonList().count(), 1);

    CN_Polygon& line = *mesh.addPolygon();
    line.setNormal({0, 1, 0});
    line.addEdge(0, 2, false);
    line.addEdge(2, 0, false);
    line.split({{1, 0, 0}, {0.5, 0, 0}}, &mesh, nullptr, nullptr, false);
    EXPECT_EQ(mesh.getPolygonList().count(), 2) << "a polygon of two corners has no pieces";
}

/// A room over a ragged floor with up to two pillars, its corners on a grid of 1/8, under a roof that may be tilted.
CN_LevelEntityMesh& addRoom(CN_Document& document, test::RandomPolygons& random) {
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Room");
    const double height = random.count(32, 64) / 8.0;
    const bool isTilted = random.count(0, 1) == 1;
    const double riseX = isTilted ? random.count(-1, 1) / 8.0 : 0, riseZ = isTilted ? random.count(-1, 1) / 8.0 : 0;
    std::vector<Loop> floor, roof;
    const auto addStar = [&](double x, double least, double largest, int corners, bool isHole) {
        std::vector<Vector> outline;
        for (int i = 0; i < corners; ++i) {
            const double angle = -(i + random.number(0, 0.4)) * 2 * 3.141592653589793 / corners;
            const double radius = random.number(least, largest);
            outline.emplace_back(std::round((x + std::cos(angle) * radius) * 8) / 8, 0,
                                 std::round(std::sin(angle) * radius * 8) / 8);
        }
        if (isHole)
            std::reverse(outline.begin(), outline.end());
        Loop bottom, top;
        for (const Vector& corner : outline) {
            bottom.push_back(mesh.getVertexList().count());
            mesh.addVertex(corner);
        }
        for (const Vector& corner : outline) {
            top.push_back(mesh.getVertexList().count());
            mesh.addVertex(corner + Vector(0, height + riseX * corner.x + riseZ * corner.z, 0));
        }
        for (std::size_t i = 0; i < bottom.size(); ++i) {
            const std::size_t next = (i + 1) % bottom.size();
            test::fixturePolygon(mesh, {{bottom[i], top[i], top[next], bottom[next]}});
        }
        floor.push_back(bottom);
        roof.emplace_back(top.rbegin(), top.rend());
    };
    addStar(0, 7, 12, random.count(8, 16), false);
    for (int hole = random.count(0, 2); hole > 0; --hole)
        addStar(hole == 1 ? -3 : 3, 1, 2, random.count(3, 6), true);
    test::fixturePolygon(mesh, floor);
    test::fixturePolygon(mesh, roof);
    mesh.handleOwnHierarchy();
    return mesh;
}

/// Cuts every polygon of a mesh by one plane and holds pieces and unions against the polygons.
class CutMesh {
  public:
    /// `slack` is by how much corners may lie off their planes.
    CutMesh(CN_LevelEntityMesh& mesh, const Plane& plane, double slack)
        : m_mesh(mesh), m_plane(plane), m_slack(slack) {}

    /// False where the plane misses corners by so little that the pieces are snapped.
    bool isClear() const {
        for (const CN_Vertex& vertex : m_mesh.getVertexList())
            if (const double d = std::fabs(m_plane.distance(vertex.local)); d > 1e-12 && d < 1e-3)
                return false;
        return true;
    }
    void run() {
        const bool wasClosed = CN_findOpenEdges(m_mesh, SLACK).empty();
        const double volume = CN_volume(m_mesh);
        Polygons sources;
        for (CN_Polygon& polygon : m_mesh.accessPolygonList())
            sources.push_back(&polygon);
        for (CN_Polygon* const source : sources)
            cut(*source);
        if (wasClosed && m_slack < SLACK) {
            EXPECT_TRUE(CN_findOpenEdges(m_mesh, SLACK).empty());
            EXPECT_NEAR(CN_volume(m_mesh), volume, 1e-9 * (1 + volume));
        }
    }
    int restored() const { return m_restored; }

  private:
    static constexpr double SLACK = 1e-6;

    void cut(CN_Polygon& source) {
        Polygons behind, front;
        const int before = m_mesh.getPolygonList().count();
        source.split(m_plane, &m_mesh, &behind, &front, false);
        const double area = areaOf(source);
        if (behind.empty() && front.empty()) {
            EXPECT_NEAR(areaOf(*m_mesh.getPolygonList().last()), area, 0) << "a copy, in the plane";
        } else {
            EXPECT_EQ(m_mesh.getPolygonList().count() - before, static_cast<int>(behind.size() + front.size()));
            EXPECT_NEAR(areaOf(behind) + areaOf(front), area, 1e-9 * (1 + area) + m_slack * 100);
            for (CN_Polygon* const piece : behind)
                checkPiece(*piece, -1);
            for (CN_Polygon* const piece : front)
                checkPiece(*piece, 1);
            if (behind.size() == 1 && front.size() == 1)
                checkUnion(source, *behind[0], *front[0]);
        }
        m_mesh.deletePolygon(&source);
    }
    void checkPiece(CN_Polygon& piece, double side) const {
        EXPECT_GE(piece.getEdgeList().count(), 3);
        for (const CN_Edge& edge : piece.getEdgeList())
            EXPECT_GE(side * m_plane.distance(edge.getLocal(0)), -1e-9 - m_slack);
        piece.triangulize(true);
        EXPECT_NEAR(piece.calcArea(), areaOf(piece), 1e-9 * (1 + areaOf(piece)));
    }
    void checkUnion(const CN_Polygon& source, CN_Polygon& a, CN_Polygon& b) {
        CN_Polygon carrier(&m_mesh);
        const Polygons made = carrier.buildFrom(&a, &b);
        carrier.setMaterial(nullptr);
        EXPECT_EQ(made.size(), 1u);
        EXPECT_NEAR(areaOf(made), areaOf(source), 1e-8 * (1 + areaOf(source)) + m_slack * 100);
        if (made.size() == 1) {
            EXPECT_EQ(made[0]->getNumHoles(), source.getNumHoles());
            EXPECT_TRUE(hasCornersOf(*made[0], source) && hasCornersOf(source, *made[0]));
            ++m_restored;
        }
        for (CN_Polygon* const polygon : made)
            m_mesh.deletePolygon(polygon);
    }
    /// True if each corner of the other at which its outline bends is one of the polygon.
    bool hasCornersOf(const CN_Polygon& polygon, const CN_Polygon& other) const {
        for (const CN_Polygon::Lasso& loop : const_cast<CN_Polygon&>(other).getLassos())
            for (std::size_t i = 0; i < loop.size(); ++i) {
                const CN_Edge &edge = *loop[i], &next = *loop[(i + 1) % loop.size()];
                const Vector corner = next.getLocal(0);
                if (edge.dir().normalized().cross(next.dir()).length() < 1e-4)
                    continue;
                const CN_Polygon::EdgeList& edges = polygon.getEdgeList();
                if (std::none_of(edges.begin(), edges.end(), [&](const CN_Edge& own) {
                        return (own.getLocal(0) - corner).length() < 1e-8 + 2 * m_slack;
                    }))
                    return false;
            }
        return true;
    }

    CN_LevelEntityMesh& m_mesh;
    Plane m_plane;
    double m_slack;
    int m_restored = 0;
};

Plane randomPlane(test::RandomPolygons& random, int round) {
    constexpr double REACH = 8;
    const Vector point(random.number(-REACH, REACH), random.number(0, REACH), random.number(-REACH, REACH));
    if (round % 3 > 0)
        return {random.rotation().row(2), point};
    // On the grid on which corners lie.
    Vector axis;
    axis[random.count(0, 2)] = 1;
    return {axis, {std::round(point.x * 8) / 8, std::round(point.y * 8) / 8, std::round(point.z * 8) / 8}};
}

void cutRandomRooms(int count) {
    int restored = 0;
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(i);
        test::RandomPolygons random(static_cast<unsigned int>(i));
        ShelfDocument document;
        CN_LevelEntityMesh& room = addRoom(document, random);
        CutMesh cut(room, randomPlane(random, i), 0);
        if (!cut.isClear())
            continue;
        cut.run();
        restored += cut.restored();
        if (testing::Test::HasFailure())
            return;
    }
    EXPECT_GT(restored, count);
}

TEST(PolygonSplit, PiecesAddUpAndUniteOverTheShelf) {
    for (const test::ShelfMesh& sample : test::meshShelf()) {
        if (sample.polygons > 100)
            continue;
        for (int i = 0; i < 30; ++i) {
            SCOPED_TRACE(sample.name + ' ' + std::to_string(i));
            test::RandomPolygons random(static_cast<unsigned int>(i));
            ShelfDocument document;
            CutMesh cut(*sample.build(document), randomPlane(random, i),
                        sample.tolerance > 1e-9 ? sample.tolerance : 0);
            if (cut.isClear())
                cut.run();
        }
    }
}

TEST(PolygonSplit, PiecesAddUpAndUniteInRandomRooms) { cutRandomRooms(500); }

TEST(PolygonSplit, DISABLED_PiecesAddUpAndUniteInManyRandomRooms) { cutRandomRooms(10000); }

} // namespace
} // namespace cairn
