#include "cairn/document/change_scope.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/validate.h"
#include "cairn/platform/handlers.h"
#include "host/edit_deletion.h"
#include "host/editor.h"
#include "host/entity_text.h"
#include "host/exit_link.h"
#include "host/explain.h"
#include "host/import_materials.h"
#include "host/mesh_builder.h"
#include "host/sound_mesh.h"
#include "host/text.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

namespace cairn::host {

namespace {

using Words = std::span<const std::string>;
using Vector = CN_LevelEntity::Vector;
using Plane = M_Plane3Template<double>;

/// The portal or light below the polygon's mesh that says it stands there.
const CN_LevelEntity* findStandingOn(const CN_Polygon& polygon) {
    for (const CN_LevelEntity* const child : polygon.getParent()->getChildren()) {
        const auto* const portal = dynamic_cast<const CN_LevelEntityPortal*>(child);
        const auto* const light = dynamic_cast<const CN_LevelEntityRadiosityLight*>(child);
        if ((portal && portal->getPortalPolygon() == &polygon) || (light && light->getRadiosityPolygon() == &polygon))
            return child;
    }
    return nullptr;
}

/// The polygon of an exit that leads to this one.
const CN_Polygon* findWayTo(CN_LevelEntity& root, const CN_Polygon& polygon) {
    CN_PreIterator it = root.createIterator();
    for (it.begin(); !it.end(); ++it)
        if (const auto* const mesh = dynamic_cast<const CN_Mesh*>(*it))
            for (const CN_Polygon* const exit : mesh->getExitList())
                if (exit->getExitDestination() == &polygon)
                    return exit;
    return nullptr;
}

/// Refuses a polygon that something stands on or leads through: it would be lost with it.
void checkPlain(Editor& editor, const CN_Polygon& polygon, const std::string& word) {
    if (polygon.isExitPolygon())
        throw EditRefusal(fmt::format("\"{}\" is an exit: seal it first", toShownText(word)));
    if (const CN_LevelEntity* const standing = findStandingOn(polygon))
        throw EditRefusal(fmt::format("\"{}\" stands on \"{}\": delete it first", toShownText(qualifiedName(*standing)),
                                      toShownText(word)));
    if (const CN_Polygon* const way = findWayTo(editor.root(), polygon))
        throw EditRefusal(fmt::format("the exit \"{}#{}\" leads to \"{}\": seal it first",
                                      toShownText(qualifiedName(*way->getParent())),
                                      way->getParent()->findPolygonIndex(way), toShownText(word)));
}

/// Refuses what cannot become an exit as it is.
void checkFitForExit(Editor& editor, const CN_Polygon& polygon, const std::string& word) {
    checkPlain(editor, polygon, word);
    if (CN_isDegenerate(polygon))
        throw EditRefusal(fmt::format("\"{}\" encloses nothing", toShownText(word)));
    if (polygon.getPolyMode() != PT_SOLID && polygon.getPolyMode() != PT_EXIT)
        throw EditRefusal(fmt::format("\"{}\" is drawn in mode {}: only a solid polygon becomes an exit",
                                      toShownText(word), polygon.getPolyMode()));
}

/// Brings all that is derived of new polygons up to date.
void finish(SoundMesh& sound, const std::vector<CN_Polygon*>& made) {
    sound.mesh().handleOwnHierarchy();
    for (CN_Polygon* const polygon : made)
        polygon->triangulize(true);
    sound.mesh().invalidateObject(true);
    sound.finish();
}

/// True where corners lie on both sides of the plane, farther off than what a cut leaves out.
bool cuts(const Plane& plane, const CN_Polygon& polygon) {
    constexpr double LEAST = CN_LEVEL_TOLERANCE; // nearer edges are one
    bool behind = false, front = false;
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        const double distance = (edge.getLocal(0) - plane.getPoint()).dot(plane.getNormal());
        behind |= distance < -LEAST;
        front |= distance > LEAST;
    }
    return behind && front;
}

/// The pieces behind and in front of the plane, at the end of the polygon's mesh; none where it does not part the polygon:
/// it lies nearly along it, or a side is too thin.
std::vector<CN_Polygon*> cut(CN_Polygon& polygon, const Plane& plane) {
    CN_Mesh& mesh = *polygon.getParent();
    const CN_ChangeScope change(mesh.getDocument());
    std::vector<CN_Polygon*> made, front;
    const int before = mesh.getPolygonList().count();
    polygon.split(plane, &mesh, &made, &front, true);
    if (made.empty() || front.empty()) {
        while (mesh.getPolygonList().count() > before)
            mesh.deletePolygon(mesh.accessPolygonList().last());
        return {};
    }
    made.insert(made.end(), front.begin(), front.end());
    return made;
}

/// The one polygon that two of a mesh make, at the mesh's end; none where they do not make one.
std::vector<CN_Polygon*> unite(CN_Polygon& first, CN_Polygon& second) {
    CN_Mesh& mesh = *first.getParent();
    const CN_ChangeScope change(mesh.getDocument());
    CN_Polygon* const carrier = mesh.addPolygon();
    std::vector<CN_Polygon*> made = carrier->buildFrom(&first, &second);
    mesh.deletePolygon(carrier);
    if (made.size() != 1) {
        for (CN_Polygon* const polygon : made)
            mesh.deletePolygon(polygon);
        made.clear();
    }
    return made;
}

/// The groups of either, in the order in which they stand below the mesh.
std::vector<CN_LevelEntityPolygonGroup*> groupsOf(const CN_Polygon& a, const CN_Polygon& b) {
    std::vector<CN_LevelEntityPolygonGroup*> groups;
    for (CN_LevelEntity* const child : a.getParent()->getChildren())
        if (auto* const group = dynamic_cast<CN_LevelEntityPolygonGroup*>(child);
            group && (a.getGroups().contains(group) || b.getGroups().contains(group)))
            groups.push_back(group);
    return groups;
}

/// Asks whether the polygons may become one; what the library would tell a user is the refusal.
void checkUnifiable(const CN_Polygon& a, const CN_Polygon& b) {
    std::string why = "a polygon cannot be united with itself";
    struct Listening {
        MessageBoxHandler before;
        ~Listening() { setMessageBoxHandler(std::move(before)); }
    } const listening{setMessageBoxHandler([&why](const CString& text, unsigned) { why = text.str(); })};
    if (!a.canUnify(&b))
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
        if (!(size > CN_LEVEL_TOLERANCE))
            throw EditRefusal(fmt::format("a box of the size {:g} encloses nothing", size));
    auto& mesh = dynamic_cast<CN_LevelEntityMesh&>(editor.addEntity(CN_KIND_MESH, parent, words[1], least));
    const CN_ChangeScope change(&editor.document());
    MeshBuilder builder(mesh);
    builder.addBox({}, sizes, facing == "in", requireWallMaterial(editor.document()));
    builder.finish();
}

void editSplit(Editor& editor, Words words) {
    CN_Polygon& polygon = editor.polygon(words[0]);
    checkPlain(editor, polygon, words[0]);
    const Vector normal = Editor::vector(words.subspan(1)).normalized();
    if (normal == Vector())
        throw EditRefusal("a plane has a normal other than 0 0 0");
    const Plane plane(normal, Editor::vector(words.subspan(4)));
    if (!cuts(plane, polygon))
        throw EditRefusal(fmt::format("the plane does not cut \"{}\"", toShownText(words[0])));
    CN_Mesh& mesh = *polygon.getParent();
    SoundMesh sound(editor, mesh);
    const std::vector<CN_Polygon*> made = cut(polygon, plane);
    if (made.empty())
        throw EditRefusal(fmt::format("the plane does not cut \"{}\" in two", toShownText(words[0])));
    const CN_ChangeScope change(&editor.document());
    for (CN_LevelEntityPolygonGroup* const group : polygon.getGroups())
        for (CN_Polygon* const piece : made)
            group->addPolygon(piece);
    mesh.deletePolygon(&polygon);
    finish(sound, made);
}

void editUnify(Editor& editor, Words words) {
    CN_Polygon &first = editor.polygon(words[0]), &second = editor.polygon(words[1]);
    for (const auto& [polygon, word] : {std::pair(&first, &words[0]), {&second, &words[1]}})
        checkPlain(editor, *polygon, *word);
    checkUnifiable(first, second);
    CN_Mesh& mesh = *first.getParent();
    SoundMesh sound(editor, mesh);
    const std::vector<CN_Polygon*> made = unite(first, second);
    if (made.empty())
        throw EditRefusal("they do not make one polygon");
    const CN_ChangeScope change(&editor.document());
    for (CN_LevelEntityPolygonGroup* const group : groupsOf(first, second)) {
        group->addPolygon(made.front());
        if (!group->isMember(&first) || !group->isMember(&second))
            editor.note(fmt::format("only one of them was in the group \"{}\"", toShownText(group->getName().view())));
    }
    mesh.deletePolygon(&first);
    mesh.deletePolygon(&second);
    finish(sound, made);
}

void editExit(Editor& editor, Words words) {
    CN_Polygon *const a = &editor.polygon(words[0]), *const b = &editor.polygon(words[1]);
    for (const auto& [polygon, word] : {std::pair(a, &words[0]), {b, &words[1]}})
        checkFitForExit(editor, *polygon, *word);
    if (a == b)
        throw EditRefusal("an exit leads from one polygon to another");
    Editor::checkName(words[2]);
    for (CN_Mesh* const mesh : {a->getParent(), b->getParent()}) {
        if (mesh->hasChildNamed(CString(words[2])))
            throw EditRefusal(fmt::format("the name \"{}\" is taken below \"{}\"", toShownText(words[2]),
                                          toShownText(qualifiedName(*mesh))));
        mesh->handleOwnHierarchy();
    }
    const CN_ChangeScope change(&editor.document());
    linkExits(*a, *b, words[2]);
    if (const ExitPair pair = compareExits(*a, *b); !pair.matches())
        editor.note("the exits do not meet: " + (pair.isAskew()   ? pair.angleText()
                                                 : pair.isApart() ? pair.gapText()
                                                                  : pair.areaText()));
    for (CN_Mesh* const mesh : {a->getParent(), b->getParent()})
        if (CN_findOpenEdges(*mesh, CN_LEVEL_TOLERANCE).empty() && CN_volume(*mesh) < 0)
            editor.note(fmt::format("the faces of \"{}\" look outward: nothing is inside it",
                                    toShownText(qualifiedName(*mesh))));
    for (const auto& [polygon, word] : {std::pair(a, &words[0]), {b, &words[1]}})
        for (const Reason& reason : explainExit(*polygon))
            if (reason.kind == "exit-hangs")
                editor.note(fmt::format("\"{}\": {}", toShownText(*word), reason.message));
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
    const CN_ChangeScope change(&editor.document());
    for (CN_Polygon* const polygon : members)
        group.addPolygon(polygon);
    group.setSmooth(true);
    mesh->invalidateObject(true);
}

void editSeal(Editor& editor, Words words) {
    CN_Polygon& polygon = editor.polygon(words[0]);
    if (!isOpening(polygon))
        throw EditRefusal(fmt::format("\"{}\" is no exit", toShownText(words[0])));
    Deletion deletion(editor.document());
    deletion.addExit(&polygon);
    deletion.run();
}

} // namespace cairn::host
