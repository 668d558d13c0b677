#include "cairn/document/document.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/fsm/walkers.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/edit_deletion.h"
#include "host/editor.h"
#include "host/entity_text.h"
#include "host/mesh_builder.h"
#include "host/sound_mesh.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace cairn::host {

namespace {

using Words = std::span<const std::string>;

/// Lets all messages that mean one entity mean another.
class Retargeting : public CN_FSMWalker {
  public:
    Retargeting(const CN_LevelEntity* from, CN_LevelEntity* to) : m_from(from), m_to(to) {}

  protected:
    void visit(E_FSM& machine) override {
        machine.forEachMessage([this](E_FSM::Message& message) {
            if (message.m_target == m_from)
                message.m_target = m_to;
            std::replace(message.m_objectArguments.begin(), message.m_objectArguments.end(),
                         const_cast<CN_LevelEntity*>(m_from), m_to);
        });
    }

  private:
    const CN_LevelEntity* m_from; ///< not owned
    CN_LevelEntity* m_to;         ///< not owned
};

/// Where a polygon of a mesh went: the polygon of another mesh, or null.
using Successor = std::function<CN_Polygon*(const CN_Polygon&)>;

/// Takes the portals and lights of polygons that went along below the mesh of the successor.
void moveStanding(CN_Mesh& from, const Successor& successor) {
    const std::vector<CN_LevelEntity*> children(from.getChildren().begin(), from.getChildren().end());
    for (CN_LevelEntity* const child : children) {
        auto* const portal = dynamic_cast<CN_LevelEntityPortal*>(child);
        auto* const light = dynamic_cast<CN_LevelEntityRadiosityLight*>(child);
        CN_Polygon* const before = portal ? portal->getPortalPolygon() : light ? light->getRadiosityPolygon() : nullptr;
        CN_Polygon* const after = before && before->getParent() == &from ? successor(*before) : nullptr;
        if (!after)
            continue;
        before->setAttachedEntity(nullptr);
        after->getParent()->add(child, true);
        if (portal)
            portal->setPortalPolygon(after);
        else
            light->setRadiosityPolygon(after);
    }
}

/// Leaves nothing on the polygons and nobody led through them: their successors have it.
void strip(CN_Mesh& mesh) {
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        polygon.setExitDestination(nullptr);
        polygon.setAttachedEntity(nullptr);
    }
}

/// Takes the place of a mesh that goes: its messages, the rest of what is below it, its name.
void replace(Editor& editor, CN_Mesh& old, const std::function<CN_Mesh&(const CN_LevelEntity&)>& heir, CN_Mesh& first,
             bool takesName) {
    const std::vector<CN_LevelEntity*> children(old.getChildren().begin(), old.getChildren().end());
    for (CN_LevelEntity* const child : children)
        if (!dynamic_cast<CN_LevelEntityPolygonGroup*>(child))
            heir(*child).add(child, true);
    Retargeting retargeting(&old, &first);
    editor.root().forEachEntity(&retargeting);
    const CString name(std::string(old.getName().view()));
    strip(old);
    Deletion deletion(editor.document());
    deletion.add(old);
    deletion.run();
    if (takesName)
        first.setName(name, false);
}

/// Gives a mesh the groups of another whose polygons have come to stand in it from the place `offset` on.
void copyGroups(CN_Mesh& mesh, CN_Mesh& other, int offset) {
    for (CN_LevelEntity* const child : other.getChildren()) {
        auto* const group = dynamic_cast<CN_LevelEntityPolygonGroup*>(child);
        if (!group)
            continue;
        CN_LevelEntityPolygonGroup& copy = *mesh.addNewPolygroup(group, false);
        copy.setName(CString(std::string(group->getName().view())), true);
        int place = offset;
        for (CN_Polygon& polygon : other.accessPolygonList()) {
            if (group->isMember(&polygon))
                copy.addPolygon(&mesh.accessPolygonList()[place]);
            ++place;
        }
    }
}

} // namespace

void editJoin(Editor& editor, Words words) {
    CN_Mesh &mesh = editor.mesh(words[0]), &other = editor.mesh(words[1]);
    if (&mesh == &other)
        throw EditRefusal("a mesh is not joined with itself");
    if (mesh.isParent(&other))
        throw EditRefusal(fmt::format("\"{}\" lies below \"{}\"", toShownText(words[0]), toShownText(words[1])));
    editor.movableEntity(words[1]);
    SoundMesh sound(editor, mesh);
    const int offset = mesh.getPolygonList().count();
    std::map<const CN_Polygon*, CN_Polygon*> successors; // looked up only
    mesh.join(&other);
    int place = offset;
    for (const CN_Polygon& polygon : other.getPolygonList())
        successors[&polygon] = &mesh.accessPolygonList()[place++];
    // The library has put portals and lights onto their new polygons, but left them where they stand in the tree.
    const std::vector<CN_LevelEntity*> children(other.getChildren().begin(), other.getChildren().end());
    copyGroups(mesh, other, offset);
    replace(
        editor, other, [&](const CN_LevelEntity&) -> CN_Mesh& { return mesh; }, mesh, false);
    sound.finish(true); // rooms that touch have their walls twice now
}

void editSeparate(Editor& editor, Words words) {
    CN_Polygon& polygon = editor.polygon(words[0]);
    CN_Mesh& mesh = *polygon.getParent();
    const double grid = Editor::number(words[1]);
    if (!(grid >= 0))
        throw EditRefusal("a grid is not negative");
    editor.root().handleOwnHierarchy();
    F_DLList<CN_Polygon*> reached, rest;
    if (!mesh.separated(&polygon, reached, rest) || rest.empty())
        throw EditRefusal(fmt::format("all polygons hang together with \"{}\"", toShownText(words[0])));
    const std::vector<CN_Polygon*> first(reached.begin(), reached.end()), second(rest.begin(), rest.end());
    const auto [near, far] = mesh.separate(&polygon, reached, rest, grid);
    std::map<const CN_Polygon*, CN_Polygon*> successors; // looked up only
    const auto succeed = [&successors](const std::vector<CN_Polygon*>& old, CN_Mesh& made) {
        for (std::size_t i = 0; i < old.size(); ++i)
            successors[old[i]] = &made.accessPolygonList()[static_cast<int>(i)];
    };
    succeed(first, *near);
    if (far)
        succeed(second, *far);
    moveStanding(mesh, [&successors](const CN_Polygon& old) {
        const auto found = successors.find(&old);
        return found == successors.end() ? nullptr : found->second;
    });
    if (far) {
        // What stood in the mesh goes into the part that it is inside of.
        const auto heir = [&](const CN_LevelEntity& child) -> CN_Mesh& {
            return far->isPositionInside(child.getWorldPosition()) ? *far : *near;
        };
        replace(editor, mesh, heir, *near, true);
        refreshMesh(*far);
    } else {
        for (CN_Polygon* const old : first) {
            old->setExitDestination(nullptr);
            old->setAttachedEntity(nullptr);
            mesh.deletePolygon(old);
        }
        refreshMesh(mesh);
    }
    refreshMesh(*near);
}

} // namespace cairn::host
