#include "tests/support/mesh_shelf.h"

#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"

#include <cmath>
#include <memory>

namespace cairn::test {

namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;

/// A corner of an outline on the ground.
struct GroundPoint {
    double x, z;
};
/// Runs clockwise in the picture with x to the right and z up; one of a hole the other way.
using Outline = std::vector<GroundPoint>;

const Outline BOX{{0, 0}, {0, 6}, {8, 6}, {8, 0}};
const Outline SQUARE{{0, 0}, {0, 8}, {8, 8}, {8, 0}};
const Outline PILLAR{{2, 2}, {4, 2}, {4, 4}, {2, 4}};

/// Newell's method: the area's vector, twice as long, along the side from which the loop runs counter-clockwise.
Vector newell(const CN_LevelEntityMesh& mesh, const Loop& loop) {
    Vector sum;
    for (std::size_t i = 0; i < loop.size(); ++i)
        sum += mesh.getVertexList()[loop[i]].local.cross(mesh.getVertexList()[loop[(i + 1) % loop.size()]].local);
    return sum;
}

/// A space along the loop's first edge, left-handed against the normal as the spaces of polygons are.
CN_Polygon::PlanarSpace spaceAlong(const CN_Edge& first, const Vector& normal) {
    const Vector u = first.dir().normalized();
    return {Matrix(u, u.cross(normal), normal), first.getLocal(0), {}};
}

void addVertices(CN_LevelEntityMesh& mesh, const std::vector<Vector>& points) {
    for (const Vector& point : points)
        mesh.addVertex(point);
}

void addPolygons(CN_LevelEntityMesh& mesh, const std::vector<Loop>& loops) {
    for (const Loop& loop : loops)
        fixturePolygon(mesh, {loop});
}

/// The vertices of an outline at the height, one after the other.
Loop addOutline(CN_LevelEntityMesh& mesh, const Outline& outline, double y) {
    Loop loop;
    for (const GroundPoint& point : outline) {
        loop.push_back(mesh.getVertexList().count());
        mesh.addVertex({point.x, y, point.z});
    }
    return loop;
}

Loop reversed(const Loop& loop) { return {loop.rbegin(), loop.rend()}; }

/// The walls between a loop and the one above it.
void addWalls(CN_LevelEntityMesh& mesh, const Loop& bottom, const Loop& top) {
    for (std::size_t i = 0; i < bottom.size(); ++i) {
        const std::size_t next = (i + 1) % bottom.size();
        fixturePolygon(mesh, {{bottom[i], top[i], top[next], bottom[next]}});
    }
}

/// A room over outlines, the outer one first: floor, ceiling, walls. Vertices: all of the floor, then all above.
void addPrism(CN_LevelEntityMesh& mesh, const std::vector<Outline>& outlines, double height) {
    std::vector<Loop> bottoms, tops, ceiling;
    for (const Outline& outline : outlines)
        bottoms.push_back(addOutline(mesh, outline, 0));
    for (const Outline& outline : outlines) {
        tops.push_back(addOutline(mesh, outline, height));
        ceiling.push_back(reversed(tops.back()));
    }
    fixturePolygon(mesh, bottoms);
    fixturePolygon(mesh, ceiling);
    for (std::size_t i = 0; i < outlines.size(); ++i)
        addWalls(mesh, bottoms[i], tops[i]);
}

/// A box room of those eight corners: floor, then what stands above it in the same order.
CN_LevelEntityMesh* boxOf(CN_Document& document, const CString& name, const std::vector<Vector>& corners) {
    CN_LevelEntityMesh* const mesh = addFixture(document, name);
    addVertices(*mesh, corners);
    addPolygons(*mesh, {{0, 1, 2, 3}, {7, 6, 5, 4}, {0, 4, 5, 1}, {1, 5, 6, 2}, {2, 6, 7, 3}, {3, 7, 4, 0}});
    finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* prismOf(CN_Document& document, const CString& name, const std::vector<Outline>& outlines,
                            double height) {
    CN_LevelEntityMesh* const mesh = addFixture(document, name);
    addPrism(*mesh, outlines, height);
    finishFixture(*mesh);
    return mesh;
}

void addPortal(CN_LevelEntityMesh& mesh, CN_Polygon& exit, const CString& name) {
    auto portal = std::make_unique<CN_LevelEntityPortal>();
    portal->setDocument(mesh.getDocument());
    portal->setName(name, false);
    portal->setPortalPolygon(&exit);
    mesh.addOwned(std::move(portal), false);
}

void makeExit(CN_Polygon& from, CN_Polygon& to) {
    from.setMaterial(nullptr);
    from.setPolyMode(PT_EXIT);
    from.setExitDestination(&to);
}

} // namespace

ShelfDocument::ShelfDocument() {
    createCairnLevelEntities();
    accessMaterials().addCategory(&accessTextures(), "Default")->add(0, "", nullptr)->setName("plain");
}

CN_Polygon* fixturePolygon(CN_LevelEntityMesh& mesh, const std::vector<Loop>& loops) {
    CN_Polygon* const polygon = mesh.addPolygon();
    Vector area;
    for (const Loop& loop : loops) {
        area += newell(mesh, loop);
        for (std::size_t i = 0; i < loop.size(); ++i)
            polygon->addEdge(loop[i], loop[(i + 1) % loop.size()], i == 0 && &loop != &loops.front());
    }
    const Vector normal = area.normalized();
    polygon->setNormal(normal);
    polygon->setWorldNormal(normal);
    polygon->setReferenceNormal(normal);
    polygon->updatePointOnPlane();
    polygon->setNumVertices(polygon->getEdgeList().count());
    polygon->setNumHoles(static_cast<int>(loops.size()) - 1);
    polygon->accessUVSpaces()[0].space = spaceAlong(*polygon->getEdgeList().first(), normal);
    polygon->setPolyMode(PT_SOLID);
    if (CN_Document* const document = mesh.getDocument())
        polygon->setMaterial(document->accessMaterials().getDefaultMaterial());
    return polygon;
}

void finishFixture(CN_LevelEntityMesh& mesh) {
    mesh.handleOwnHierarchy();
    mesh.triangulizeAll(true);
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        polygon.calculateUVCoordinates();
        polygon.buildBoundingBox(true);
    }
    mesh.calculateBoundingBox();
}

CN_LevelEntityMesh* addFixture(CN_Document& document, const CString& name) {
    auto owned = std::make_unique<CN_LevelEntityMesh>();
    CN_LevelEntityMesh* const mesh = owned.get();
    mesh->setDocument(&document);
    mesh->setName(name, false);
    document.accessLevel()->addOwned(std::move(owned), false);
    return mesh;
}

CN_LevelEntityMesh* unitFloor(CN_Document& document) {
    CN_LevelEntityMesh* const mesh = addFixture(document, "Floor");
    addVertices(*mesh, {{0, 0, 0}, {0, 0, 1}, {1, 0, 1}, {1, 0, 0}});
    addPolygons(*mesh, {{0, 1, 2, 3}});
    finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* boxRoom(CN_Document& document) { return prismOf(document, "Box", {BOX}, 4); }

CN_LevelEntityMesh* lRoom(CN_Document& document) {
    return prismOf(document, "L", {{{0, 0}, {0, 8}, {4, 8}, {4, 4}, {8, 4}, {8, 0}}}, 4);
}

CN_LevelEntityMesh* pillarRoom(CN_Document& document) { return prismOf(document, "Pillar", {SQUARE, PILLAR}, 4); }

CN_LevelEntityMesh* blockRoom(CN_Document& document) {
    CN_LevelEntityMesh* const mesh = addFixture(document, "Block");
    const Loop floor = addOutline(*mesh, SQUARE, 0), block = addOutline(*mesh, PILLAR, 0);
    const Loop ceiling = addOutline(*mesh, SQUARE, 4), blockTop = addOutline(*mesh, PILLAR, 2);
    fixturePolygon(*mesh, {floor, block});
    fixturePolygon(*mesh, {reversed(ceiling)});
    addWalls(*mesh, floor, ceiling);
    addWalls(*mesh, block, blockTop);
    fixturePolygon(*mesh, {reversed(blockTop)});
    finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* twoRooms(CN_Document& document) {
    CN_LevelEntityMesh* const first = prismOf(document, "First", {BOX}, 4);
    CN_LevelEntityMesh* const second = prismOf(document, "Second", {{{8, 0}, {8, 6}, {14, 6}, {14, 0}}}, 4);
    CN_Polygon& there = first->accessPolygonList()[4]; // the wall x = 8 of each
    CN_Polygon& back = second->accessPolygonList()[2];
    makeExit(there, back);
    makeExit(back, there);
    addPortal(*first, there, "ToSecond");
    addPortal(*second, back, "ToFirst");
    return first;
}

CN_LevelEntityMesh* splitBox(CN_Document& document, Split split) {
    CN_LevelEntityMesh* const mesh = addFixture(document, "Split");
    addOutline(*mesh, BOX, 0);
    addOutline(*mesh, BOX, 4);
    const int copies = split == Split::UNSHARED ? 3 : 1; // of the two corners: floor and ceiling, one half, the other
    for (int i = 0; i < copies; ++i)
        addVertices(*mesh, {{0, 0, 3}, {0, 4, 3}});
    if (split == Split::T_JUNCTION)
        addPolygons(*mesh, {{0, 1, 2, 3}, {7, 6, 5, 4}});
    else
        addPolygons(*mesh, {{0, 8, 1, 2, 3}, {7, 6, 5, 9, 4}});
    const int near = split == Split::UNSHARED ? 10 : 8, far = split == Split::UNSHARED ? 12 : 8;
    addPolygons(*mesh, {{0, 4, near + 1, near}, {far, far + 1, 5, 1}, {1, 5, 6, 2}, {2, 6, 7, 3}, {3, 7, 4, 0}});
    finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* rampRoom(CN_Document& document) {
    return boxOf(document, "Ramp",
                 {{0, 0, 0}, {0, 2, 6}, {8, 2, 6}, {8, 0, 0}, {0, 4, 0}, {0, 4, 6}, {8, 4, 6}, {8, 4, 0}});
}

CN_LevelEntityMesh* tiltedRoof(CN_Document& document) {
    return boxOf(document, "Roof",
                 {{0, 0, 0}, {0, 2, 6}, {8, 2, 6}, {8, 0, 0}, {0, 4, 0}, {0, 4.5, 6}, {8, 5.5, 6}, {8, 5, 0}});
}

CN_LevelEntityMesh* tPair(CN_Document& document) {
    CN_LevelEntityMesh* const mesh = addFixture(document, "T");
    addVertices(*mesh, {{0, 0, 0}, {0, 0, 4}, {8, 0, 4}, {8, 0, 0}});
    addVertices(*mesh, {{0, 0, -4}, {4, 0, 0}, {4, 0, -4}, {8, 0, -4}});
    addPolygons(*mesh, {{0, 1, 2, 3}, {4, 0, 5, 6}, {6, 5, 3, 7}});
    finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* duplicatedBox(CN_Document& document) {
    ShelfDocument plan;
    const CN_LevelEntityMesh* const box = boxRoom(plan);
    CN_LevelEntityMesh* const mesh = addFixture(document, "Duplicated");
    int made = 0;
    for (const CN_Polygon& face : box->getPolygonList()) {
        Loop loop;
        for (const CN_Edge& edge : face.getEdgeList()) {
            constexpr double STEP = 1.0 / 1024; // at most 2 of them along each of two axes
            mesh->addVertex(edge.getLocal(0) + Vector(made % 3, made / 3 % 3, 0) * STEP);
            loop.push_back(made++);
        }
        fixturePolygon(*mesh, {loop});
    }
    finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* sliverBox(CN_Document& document) {
    constexpr double NEAR = 3, FAR = NEAR + 1.0 / 128;
    return prismOf(document, "Sliver", {{{0, 0}, {0, NEAR}, {0, FAR}, {0, 6}, {8, 6}, {8, 0}}}, 4);
}

CN_LevelEntityMesh* pyramid(CN_Document& document) {
    CN_LevelEntityMesh* const mesh = addFixture(document, "Pyramid");
    addVertices(*mesh, {{0, 0, 0}, {0, 0, 4}, {4, 0, 4}, {4, 0, 0}, {2, 3, 2}});
    addPolygons(*mesh, {{0, 1, 2, 3}, {0, 4, 1}, {1, 4, 2}, {2, 4, 3}, {3, 4, 0}});
    finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* rotatedRoom(CN_Document& document) {
    CN_LevelEntityMesh* const mesh = prismOf(document, "Rotated", {BOX}, 4);
    mesh->setPosition({10, -2, 3});
    mesh->setRotation(Matrix::rotationX(0.5) * Matrix::rotationY(1.25) * Matrix::rotationZ(2));
    finishFixture(*mesh);
    return mesh;
}

CN_LevelEntityMesh* emptyMesh(CN_Document& document) { return addFixture(document, "Empty"); }

CN_LevelEntityMesh* corridor(CN_Document& document) {
    constexpr int SECTIONS = 1249;
    CN_LevelEntityMesh* const mesh = addFixture(document, "Corridor");
    for (int i = 0; i <= SECTIONS; ++i)
        addVertices(*mesh, {Vector(0, 0, i), Vector(0, 3, i), Vector(4, 3, i), Vector(4, 0, i)});
    addPolygons(*mesh, {{0, 3, 2}, {0, 2, 1}});
    for (int near = 0; near < 4 * SECTIONS; near += 4)
        for (int corner = 0; corner < 4; ++corner) {
            const int next = (corner + 1) % 4;
            fixturePolygon(*mesh, {{near + corner, near + next, near + 4 + next, near + 4 + corner}});
        }
    constexpr int END = 4 * SECTIONS;
    addPolygons(*mesh, {{END, END + 1, END + 2}, {END, END + 2, END + 3}});
    finishFixture(*mesh);
    return mesh;
}

const std::vector<ShelfMesh>& meshShelf() {
    static const auto split = [](Split how) {
        return [how](CN_Document& document) { return splitBox(document, how); };
    };
    static const std::vector<ShelfMesh> shelf{
        {"unitFloor", unitFloor, 4, 4, 1, false, 0},
        {"boxRoom", boxRoom, 8, 12, 6, true, 192},
        {"lRoom", lRoom, 12, 18, 8, true, 192},
        {"pillarRoom", pillarRoom, 16, 24, 10, true, 240},
        {"blockRoom", blockRoom, 16, 24, 11, true, 248},
        {"twoRooms", twoRooms, 8, 12, 6, true, 192},
        {"splitBox", split(Split::SHARED), 10, 15, 7, true, 192},
        {"splitBoxT", split(Split::T_JUNCTION), 10, 17, 7, true, 192},
        {"splitBoxU", split(Split::UNSHARED), 14, 20, 7, true, 192},
        {"rampRoom", rampRoom, 8, 12, 6, true, 144},
        {"tiltedRoof", tiltedRoof, 8, 12, 6, true, 180},
        {"tPair", tPair, 8, 11, 3, false, 0},
        {"duplicatedBox", duplicatedBox, 24, 24, 6, true, 192, 0.01},
        {"sliverBox", sliverBox, 12, 18, 8, true, 192},
        {"pyramid", pyramid, 5, 8, 5, true, 16},
        {"rotatedRoom", rotatedRoom, 8, 12, 6, true, 192},
        {"emptyMesh", emptyMesh, 0, 0, 0, true, 0},
        {"corridor", corridor, 5000, 9998, 5000, true, 14988},
    };
    return shelf;
}

} // namespace cairn::test
