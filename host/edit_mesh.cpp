#include "cairn/animation/keyframes.h"
#include "cairn/document/change_scope.h"
#include "cairn/entities/mesh_interface.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/plane_move.h"
#include "cairn/geometry/validate.h"
#include "cairn/materials/material.h"
#include "cairn/materials/material_wrapper.h"
#include "host/editor.h"
#include "host/import_materials.h"
#include "host/mesh_builder.h"
#include "host/sound_mesh.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace cairn::host {

namespace {

using Words = std::span<const std::string>;
using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;

/// The least length that a plane move leaves an edge where the command names none.
double leastEdge(Words words) {
    const double least = words.empty() ? CN_LEVEL_TOLERANCE : Editor::number(words[0]);
    if (!(least >= 0))
        throw EditRefusal("an edge's least length is not negative");
    return least;
}

/// A grid to put an origin on; 0 stands for none.
double gridOf(const std::string& word) {
    const double grid = Editor::number(word);
    if (!(grid >= 0))
        throw EditRefusal("a grid is not negative");
    return grid;
}

void checkMoved(CN_PlaneMoveRefusal refusal) {
    if (refusal != CN_PlaneMoveRefusal::NONE)
        throw EditRefusal(CN_describe(refusal));
}

/// A polygon's plane before a move.
class PlaneBefore {
  public:
    explicit PlaneBefore(const CN_Polygon& polygon) : m_polygon(polygon), m_plane(polygon.getPlane()) {}
    /// Notes that a move which was meant to do something has left the plane where it was.
    void tellIfKept(Editor& editor, bool isMeant) const {
        const M_Plane3Template<double> now = m_polygon.getPlane();
        if (isMeant && now.getNormal() == m_plane.getNormal() && std::abs(m_plane.distance(now.getPoint())) == 0)
            editor.note("the plane stays where it is: along an axis it keeps to the grid of 0.0125");
    }

  private:
    const CN_Polygon& m_polygon;
    M_Plane3Template<double> m_plane;
};

/// The outline of a prism: corners in a plane, counter-clockwise seen from the side of the normal.
struct Outline {
    std::vector<Vector> corners;
    Vector normal;

    explicit Outline(Words words) {
        if (words.size() % 3 != 0)
            throw EditRefusal("a place has three numbers");
        for (std::size_t i = 0; i < words.size(); i += 3)
            corners.push_back(Editor::vector(words.subspan(i)));
        Vector area;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const Vector &a = corners[i], &b = corners[(i + 1) % corners.size()];
            if (!((b - a).length() > CN_LEVEL_TOLERANCE))
                throw EditRefusal(fmt::format("two corners lie at {:g} {:g} {:g}", a.x, a.y, a.z));
            area += (a - corners[0]).cross(b - corners[0]);
        }
        normal = area.normalized();
        if (!(area.length() > CN_LEVEL_TOLERANCE * CN_LEVEL_TOLERANCE))
            throw EditRefusal("the outline encloses nothing");
        for (const Vector& corner : corners)
            if (!(std::abs((corner - corners[0]).dot(normal)) <= CN_LEVEL_TOLERANCE))
                throw EditRefusal(
                    fmt::format("{:g} {:g} {:g} lies off the outline's plane", corner.x, corner.y, corner.z));
    }
};

/// A polygon on the way: the corners collected, with its plane and texture axes.
CN_Polygon& draw(CN_Mesh& mesh, const Outline& outline) {
    CN_Polygon& polygon = *mesh.addPolygon();
    const Vector origin = outline.corners[0], along = (outline.corners[1] - origin).normalized();
    polygon.setNormal(outline.normal);
    polygon.setWorldNormal(outline.normal);
    polygon.setReferenceNormal(outline.normal);
    for (const Vector& corner : outline.corners) {
        Vector place = corner - origin;
        CN_Polygon::projectGeneral(place, outline.normal, {});
        polygon.addVertex(place);
    }
    polygon.setPointOnPlane({});
    polygon.editUVSpace(0) = {Matrix(along, along.cross(outline.normal), outline.normal), {}, {}};
    return polygon;
}

} // namespace

void editLoft(Editor& editor, Words words) {
    CN_LevelEntity& parent = editor.changeableEntity(words[0]);
    const double distance = Editor::number(words[2]);
    if (!(std::abs(distance) > CN_LEVEL_TOLERANCE))
        throw EditRefusal(fmt::format("a prism of the height {:g} encloses nothing", distance));
    const Outline outline(words.subspan(3));
    auto& mesh = dynamic_cast<CN_Mesh&>(editor.addEntity(CN_KIND_MESH, parent, words[1], outline.corners[0]));
    const CN_ChangeScope change(&editor.document()); // also where the prism is refused, which stands there then
    mesh.handleOwnHierarchy();
    mesh.loftPolygon(&draw(mesh, outline), distance);
    mesh.texturize(requireWallMaterial(editor.document()), true);
    mesh.handleOwnHierarchy();
    refreshMesh(mesh);
    for (const CN_Finding& finding : CN_validateMesh(mesh, CN_LEVEL_TOLERANCE))
        throw EditRefusal("the outline makes no prism: " + finding.message);
}

void editPush(Editor& editor, Words words) {
    CN_Polygon& polygon = editor.polygon(words[0]);
    const double distance = Editor::number(words[1]), least = leastEdge(words.subspan(2));
    SoundMesh sound(editor, *polygon.getParent());
    const PlaneBefore before(polygon);
    checkMoved(sound.mesh().tryMovePolygonPlane(&polygon, distance, least, false, Matrix(), {}));
    sound.finish();
    before.tellIfKept(editor, distance != 0);
}

void editTilt(Editor& editor, Words words) {
    CN_Polygon& polygon = editor.polygon(words[0]);
    const Vector from = Editor::vector(words.subspan(1)), to = Editor::vector(words.subspan(4));
    const double angle = Editor::number(words[7]) * std::numbers::pi / 180, least = leastEdge(words.subspan(8));
    if (!((to - from).length() > 0))
        throw EditRefusal("an axis leads from one place to another");
    for (const Vector& place : {from, to})
        if (const double off = std::abs(polygon.distLocal(place)); !(off <= CN_LEVEL_TOLERANCE))
            throw EditRefusal(fmt::format("the axis lies {:g} off the polygon's plane", off));
    SoundMesh sound(editor, *polygon.getParent());
    const PlaneBefore before(polygon);
    checkMoved(sound.mesh().tryRotatePolygonPlane(&polygon, from, to, angle, least));
    sound.finish();
    before.tellIfKept(editor, angle != 0);
}

void editWeld(Editor& editor, Words words) {
    SoundMesh sound(editor, editor.mesh(words[0]));
    const double radius = Editor::number(words[1]);
    if (!(radius > 0))
        throw EditRefusal("a radius is above 0");
    const bool wasClosed = CN_findOpenEdges(sound.mesh(), CN_LEVEL_TOLERANCE).empty();
    const double volume = CN_volume(sound.mesh());
    CString report;
    sound.mesh().temporaryCreateWeldGroupsAndWeldVertices(radius, radius, report);
    const CN_ChangeScope change(&editor.document()); // also where what is left is refused
    sound.mesh().triangulizeAll(true);
    sound.finish();
    if (const double left = CN_volume(sound.mesh()); wasClosed && !(volume * left > 0))
        throw EditRefusal("nothing would be left inside the mesh");
    if (report.str().empty())
        editor.note("three corners or fewer: nothing to weld");
    else
        editor.tell(report.str());
}

void editMirror(Editor& editor, Words words) {
    SoundMesh sound(editor, editor.mesh(words[0]));
    const Vector normal = Editor::vector(words.subspan(1)).normalized(), point = Editor::vector(words.subspan(4));
    if (normal == Vector())
        throw EditRefusal("a plane has a normal other than 0 0 0");
    sound.mesh().mirror({normal, point}, false);
    sound.finish();
}

void editScale(Editor& editor, Words words) {
    SoundMesh sound(editor, editor.mesh(words[0]));
    const Vector factors = Editor::vector(words.subspan(1));
    for (int axis = 0; axis < 3; ++axis)
        if (factors[axis] == 0)
            throw EditRefusal("a factor other than 0 stretches a mesh");
    sound.mesh().scale({}, factors, nullptr);
    sound.mesh().reworkVerticesWithoutWelding(); // planes along an axis have gone to the grid
    sound.finish();
}

void editFlip(Editor& editor, Words words) {
    SoundMesh sound(editor, editor.mesh(words[0]));
    sound.mesh().flipFaces();
    sound.finish();
}

void editRecenter(Editor& editor, Words words) {
    SoundMesh sound(editor, editor.mesh(words[0]));
    sound.mesh().relocateCenter(gridOf(words[1]));
    sound.finish();
}

void editTexture(Editor& editor, Words words) {
    CN_Mesh& mesh = editor.mesh(words[0]);
    const bool fit = words.size() > 3;
    if (fit && asciiLowered(words[3]) != "fit")
        throw EditRefusal(fmt::format("\"{}\" is not fit", toShownText(words[3])));
    CN_MaterialWrapper& materials = editor.document().accessMaterials();
    const CString category(words[1]), name(words[2]);
    if (!materials.listExists(category))
        throw EditRefusal(fmt::format("no category is named \"{}\"", toShownText(words[1])));
    CN_Material* const material = materials.find(category, name);
    if (!material)
        throw EditRefusal(
            fmt::format("no material is named \"{}\" in \"{}\"", toShownText(words[2]), toShownText(words[1])));
    const CN_ChangeScope change(&editor.document());
    mesh.texturize(material, fit);
    refreshMesh(mesh);
}

void editTJunctions(Editor& editor, Words words) {
    SoundMesh sound(editor, editor.mesh(words[0]));
    constexpr double LARGEST = 0.1; // beyond it corners are missed
    const double tolerance = Editor::number(words[1]);
    if (!(tolerance > 0 && tolerance <= LARGEST))
        throw EditRefusal(fmt::format("a tolerance lies above 0 and up to {:g}", LARGEST));
    sound.mesh().createVerticesInTJunctions(tolerance);
    sound.finish();
}

void editDynamic(Editor& editor, Words words) {
    auto* const mesh = dynamic_cast<CN_MeshInterface*>(&editor.changeableEntity(words[0]));
    if (!mesh)
        throw EditRefusal(fmt::format("\"{}\" is no mesh", toShownText(words[0])));
    const std::string state = asciiLowered(words[1]);
    if (state != "on" && state != "off")
        throw EditRefusal(fmt::format("\"{}\" is neither on nor off", toShownText(words[1])));
    if (mesh->isDynamic() == (state == "on"))
        return;
    const CN_ChangeScope change(&editor.document());
    if (state == "on")
        mesh->makeDynamic(false);
    else
        mesh->makeStatic();
}

void editKeyframe(Editor& editor, Words words) {
    auto* const animated = dynamic_cast<CN_AnimationInterface*>(&editor.changeableEntity(words[0]));
    if (!animated || !animated->getKeyframes())
        throw EditRefusal(fmt::format("\"{}\" is not dynamic", toShownText(words[0])));
    Editor::checkName(words[1]);
    if (animated->getKeyframes()->find(words[1].c_str()) || !animated->addKeyframe(words[1].c_str()))
        throw EditRefusal(fmt::format("a keyframe is named \"{}\" already", toShownText(words[1])));
}

} // namespace cairn::host
