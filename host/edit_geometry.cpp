#include "cairn/entities/polygon_group.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/validate.h"
#include "cairn/platform/handlers.h"
#include "host/edit_deletion.h"
#include "host/editor.h"
#include "host/entity_text.h"
#include "host/exit_link.h"
#include "host/import_materials.h"
#include "host/mesh_builder.h"
#include "host/text.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

namespace cairn::host {

namespace {

using Words = std::span<const std::string>;
using Vector = CN_LevelEntity::Vector;
using Plane = M_Plane3Template<double>;

/// Refuses a polygon that something stands on or leads through: it would be lost with it.
void checkPlain(const CN_Polygon& polygon, const std::string& word) {
    if (polygon.isExitPolygon())
        throw EditRefusal(fmt::format("\"{}\" is an exit: seal it first", toShownText(word)));
    if (polygon.isLight())
        throw EditRefusal(fmt::format("a light stands on \"{}\": delete it first", toShownText(word)));
}

/// Brings all that is derived of new polygons up to date.
void finish(CN_Mesh& mesh, const std::vector<CN_Polygon*>& made) {
    mesh.handleOwnHierarchy();
    for (CN_Polygon* const polygon : made) {
        polygon->triangulize(true);
        polygon->calculateUVCoordinates();
        polygon->buildBoundingBox(true);
    }
    mesh.calculateBoundingBox();
    mesh.invalidateObject(true);
}

/// True where corners lie on both sides of the plane, farther off than what a cut leaves out.
bool cuts(const Plane& plane, const CN_Polygon& polygon) {
    constexpr double LEAST = 0.0005;
    bool behind = false, front = false;
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        const double distance = (edge.getLocal(0) - plane.getPoint()).dot(plane.getNormal());
        behind |= distance < -LEAST;
        front |= distance > LEAST;
    }
    return behind && front;
}

/// Asks whether the polygons may become one; what the library would tell a user is the refusal.
void checkUnifiable(const CN_Polygon& a, const CN_Polygon& b) {
    std::string why = "a polygon cannot be united with itself";
    MessageBoxHandler before = setMessageBoxHandler([&why](const CString& text, unsigned) { why = text.str(); });
    const bool may = a.canUnify(&b);
    setMessageBoxHandler(std::move(before));
    if (!may)
        throw EditRefusal(toShownText(why));
}

/// A group of that name below the mesh: the one that is there, or a new one.
CN_LevelEntityPolygonGroup& groupNamed(Editor& editor, CN_Mesh& mesh, const std::string& name) {
    CN_LevelEntity* const known = mesh.hasChildNamed(CString(name));
    if (auto* const group = dynamic_cast<CN_LevelEntityPolygonGroup*>(known))
        return *group;
    Editor::checkName(name);
    if (known)
        throw EditRefusal(fmt::format("the name \"{}\" is taken there", toShownText(name)));
    auto made = std::make_unique<CN_LevelEntityPolygonGroup>();
    CN_LevelEntityPolygonGroup& group = *made;
    group.setDocument(&editor.document());
    group.setName(CString(name), false);
    mesh.addOwned(std::move(made), true);
    return group;
}

} // namespace

void editBox(Editor& editor, Words words) {
    CN_LevelEntity& parent = editor.changeableEntity(words[0]);
    const Vector least = Editor::vector(words.subspan(2)), sizes = Editor::vector(words.subspan(5));
    const std::string facing = words.size() > 8 ? asciiLowered(words[8]) : "in";
    if (facing != "in" && facing != "out")
        throw EditRefusal(fmt::format("\"{}\" is neither in nor out", toShownText(words[8])));
    for (const double size : {sizes.x, sizes.y, sizes.z})
        if (!(size >= CN_LEVEL_TOLERANCE))
            throw EditRefusal(fmt::format("a box of the size {:g} encloses nothing", size));
    auto& mesh = dynamic_cast<CN_LevelEntityMesh&>(editor.addEntity(CN_KIND_MESH, parent, words[1], least));
    MeshBuilder builder(mesh);
    builder.addBox({}, sizes, facing == "in", requireWallMaterial(editor.document()));
    builder.finish();
}

void editSplit(Editor& editor, Words words) {
    CN_Polygon& polygon = editor.polygon(words[0]);
    checkPlain(polygon, words[0]);
    const Vector normal = Editor::vector(words.subspan(1)).normalized();
    if (normal == Vector())
        throw EditRefusal("a plane has a normal other than 0 0 0");
    const Plane plane(normal, Editor::vector(words.subspan(4)));
    if (!cuts(plane, polygon))
        throw EditRefusal(fmt::format("the plane does not cut \"{}\"", toShownText(words[0])));
    CN_Mesh& mesh = *polygon.getParent();
    std::vector<CN_Polygon*> made, front;
    const int before = mesh.getPolygonList().count();
    polygon.split(plane, &mesh, &made, &front, true);
    if (made.empty() || front.empty()) { // a plane nearly along the polygon, or a side that is too thin
        while (mesh.getPolygonList().count() > before)
            mesh.deletePolygon(mesh.accessPolygonList().last());
        throw EditRefusal(fmt::format("the plane does not cut \"{}\" in two", toShownText(words[0])));
    }
    made.insert(made.end(), front.begin(), front.end());
    mesh.deletePolygon(&polygon);
    finish(mesh, made);
}

void editUnify(Editor& editor, Words words) {
    CN_Polygon &first = editor.polygon(words[0]), &second = editor.polygon(words[1]);
    for (const auto& [polygon, word] : {std::pair(&first, &words[0]), {&second, &words[1]}})
        checkPlain(*polygon, *word);
    checkUnifiable(first, second);
    CN_Mesh& mesh = *first.getParent();
    CN_Polygon* const carrier = mesh.addPolygon();
    const std::vector<CN_Polygon*> made = carrier->buildFrom(&first, &second);
    mesh.deletePolygon(carrier);
    if (made.size() != 1) {
        for (CN_Polygon* const polygon : made)
            mesh.deletePolygon(polygon);
        throw EditRefusal("they do not make one polygon");
    }
    mesh.deletePolygon(&first);
    mesh.deletePolygon(&second);
    finish(mesh, made);
}

void editExit(Editor& editor, Words words) {
    CN_Polygon *const a = &editor.polygon(words[0]), *const b = &editor.polygon(words[1]);
    for (const auto& [polygon, word] : {std::pair(a, &words[0]), {b, &words[1]}})
        checkPlain(*polygon, *word);
    if (a == b)
        throw EditRefusal("an exit leads from one polygon to another");
    Editor::checkName(words[2]);
    for (CN_Mesh* const mesh : {a->getParent(), b->getParent()}) {
        if (mesh->hasChildNamed(CString(words[2])))
            throw EditRefusal(fmt::format("the name \"{}\" is taken below \"{}\"", toShownText(words[2]),
                                          toShownText(qualifiedName(*mesh))));
        mesh->handleOwnHierarchy();
    }
    linkExits(*a, *b, words[2]);
    if (const ExitPair pair = compareExits(*a, *b); !pair.matches())
        editor.note("the exits do not meet: " + (pair.isAskew()   ? pair.angleText()
                                                 : pair.isApart() ? pair.gapText()
                                                                  : pair.areaText()));
}

void editSmooth(Editor& editor, Words words) {
    auto* const mesh = dynamic_cast<CN_LevelEntityMesh*>(&editor.changeableEntity(words[0]));
    if (!mesh)
        throw EditRefusal(fmt::format("\"{}\" has no polygons", toShownText(words[0])));
    std::vector<CN_Polygon*> members;
    for (const std::string& word : words.subspan(2)) {
        members.push_back(&editor.polygon(word));
        if (members.back()->getParent() != mesh)
            throw EditRefusal(fmt::format("\"{}\" is no polygon of \"{}\"", toShownText(word), toShownText(words[0])));
    }
    CN_LevelEntityPolygonGroup& group = groupNamed(editor, *mesh, words[1]);
    for (CN_Polygon* const polygon : members)
        group.addPolygon(polygon);
    group.setSmooth(true);
    mesh->invalidateObject(true);
}

void editSeal(Editor& editor, Words words) {
    CN_Polygon& polygon = editor.polygon(words[0]);
    if (!polygon.isExitPolygon())
        throw EditRefusal(fmt::format("\"{}\" is no exit", toShownText(words[0])));
    Deletion deletion(editor.document());
    deletion.addExit(&polygon);
    deletion.run();
}

} // namespace cairn::host
