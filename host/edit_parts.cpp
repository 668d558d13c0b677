#include "cairn/document/change_scope.h"
#include "cairn/document/document.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/fsm/walkers.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/validate.h"
#include "host/edit_deletion.h"
#include "host/editor.h"
#include "host/entity_text.h"
#include "host/exit_link.h"
#include "host/mesh_builder.h"
#include "host/sound_mesh.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <vector>

namespace cairn::host {

namespace {

using Words = std::span<const std::string>;
/// The polygons that have taken the place of others; looked up only.
using Successors = std::map<const CN_Polygon*, CN_Polygon*>;

/// Lets all messages that mean a mesh that goes mean its heir: of those that name an exit the mesh that has it now.
class Retargeting : public CN_FSMWalker {
  public:
    Retargeting(const CN_Mesh& old, CN_Mesh& heir, CN_Mesh* other) : m_old(old), m_heir(heir), m_other(other) {}

  protected:
    void visit(E_FSM& machine) override {
        machine.forEachMessage([this](E_FSM::Message& message) {
            if (message.m_target == &m_old)
                message.m_target = isOfOther(message) ? m_other : &m_heir;
            for (CN_LevelEntity*& argument : message.m_objectArguments)
                if (argument == &m_old)
                    argument = &m_heir;
        });
    }

  private:
    bool isOfOther(const E_FSM::Message& message) const {
        const istring* const exit = m_other ? CN_findExitName(message) : nullptr;
        return exit && !m_heir.findExit(*exit) && m_other->findExit(*exit);
    }

    const CN_Mesh& m_old;
    CN_Mesh& m_heir;
    CN_Mesh* m_other; ///< not owned: null for none
};

std::vector<CN_LevelEntity*> childrenOf(const CN_LevelEntity& entity) {
    return {entity.getChildren().begin(), entity.getChildren().end()};
}

/// Takes the portals and lights of polygons that have successors below the successors' mesh, and messages along with portals
/// that get another name there.
void moveStanding(Editor& editor, CN_Mesh& old, const Successors& successors) {
    for (CN_LevelEntity* const child : childrenOf(old)) {
        auto* const portal = dynamic_cast<CN_LevelEntityPortal*>(child);
        auto* const light = dynamic_cast<CN_LevelEntityRadiosityLight*>(child);
        CN_Polygon* const now = portal ? portal->getPortalPolygon() : light ? light->getRadiosityPolygon() : nullptr;
        if (!now)
            continue;
        // The library's join has put them onto their new polygons already.
        const auto found = successors.find(now);
        CN_Polygon* const after = now->getParent() != &old ? now : found != successors.end() ? found->second : nullptr;
        if (!after)
            continue;
        if (now != after)
            now->setAttachedEntity(nullptr);
        const std::string name(child->getName().view());
        after->getParent()->add(child, true);
        if (portal)
            portal->setPortalPolygon(after);
        else
            light->setRadiosityPolygon(after);
        const std::string newName(child->getName().view());
        if (portal && newName != name) {
            ForEach_FSMRenameExits rename(&old, toIString(name), toIString(newName));
            editor.root().forEachEntity(&rename);
            editor.note(fmt::format("the exit \"{}\" is named \"{}\" now", toShownText(name), toShownText(newName)));
        }
    }
}

/// Leads to the successors what led to a polygon, from wherever it is.
void leadToSuccessors(CN_LevelEntity& root, const Successors& successors) {
    CN_PreIterator it = root.createIterator();
    for (it.begin(); !it.end(); ++it)
        if (auto* const mesh = dynamic_cast<CN_Mesh*>(*it))
            for (CN_Polygon& polygon : mesh->accessPolygonList())
                if (const auto found = successors.find(polygon.getExitDestination()); found != successors.end())
                    polygon.setExitDestination(found->second);
}

/// Leaves nothing on a polygon and nobody led through it: its successor has it.
void strip(CN_Polygon& polygon) {
    polygon.setExitDestination(nullptr);
    polygon.setAttachedEntity(nullptr);
}

void deleteOld(Editor& editor, CN_Mesh& old) {
    for (CN_Polygon& polygon : old.accessPolygonList())
        strip(polygon);
    Deletion deletion(editor.document());
    deletion.add(old);
    deletion.run();
}

/// Gives a mesh the groups of another whose polygons have come to stand in it.
void copyGroups(CN_Mesh& mesh, CN_Mesh& other, const Successors& successors) {
    for (CN_LevelEntity* const child : childrenOf(other)) {
        auto* const group = dynamic_cast<CN_LevelEntityPolygonGroup*>(child);
        if (!group)
            continue;
        CN_LevelEntityPolygonGroup& copy = *mesh.addNewPolygroup(group, false);
        copy.setName(CString(std::string(group->getName().view())), true);
        for (CN_Polygon& polygon : other.accessPolygonList())
            if (group->isMember(&polygon))
                copy.addPolygon(successors.at(&polygon));
    }
}

/// What a join would lose is refused.
void checkJoinable(const CN_Mesh& other, const std::string& word) {
    const char* const what = other.isDynamic()   ? "is dynamic: make it static first"
                             : other.isTrigger() ? "is a trigger"
                             : other.hasFSM()    ? "has a state machine"
                                                 : nullptr;
    if (what)
        throw EditRefusal(fmt::format("\"{}\" {}", toShownText(word), what));
}

/// The exits that lead on from parts as they did from the whole, but do not meet their partners any more, are told.
void tellOfApartExits(Editor& editor, const std::map<const CN_Polygon*, std::string>& meeting,
                      const Successors& successors) {
    for (const auto& [old, name] : meeting)
        if (const auto found = successors.find(old);
            found != successors.end() && found->second->isExitPolygon() &&
            !compareExits(*found->second, *found->second->getExitDestination()).matches())
            editor.note(fmt::format("the exit \"{}\" does not meet its partner any more", name));
}

/// Both parts of a mesh that is cut in two, and what they have of it.
class Parting {
  public:
    Parting(Editor& editor, CN_Mesh& old, CN_Mesh& near, CN_Mesh* far, const Successors& successors)
        : m_editor(editor), m_old(old), m_near(near), m_far(far), m_successors(successors) {}

    void run() {
        leadToSuccessors(m_editor.root(), m_successors);
        moveStanding(m_editor, m_old, m_successors);
        if (m_far)
            replaceOld();
        else
            cutOut();
    }

  private:
    void replaceOld() {
        for (CN_Mesh* const part : {&m_near, m_far})
            part->setTriggerProperties(m_old.getTriggerProperties());
        for (CN_LevelEntity* const child : childrenOf(m_old))
            if (!dynamic_cast<CN_VirtualNode*>(child))
                (isInside(*m_far, *child) && !isInside(m_near, *child) ? *m_far : m_near).add(child, true);
        Retargeting retargeting(m_old, m_near, m_far);
        m_editor.root().forEachEntity(&retargeting);
        if (m_old.hasFSM()) {
            m_near.deleteFSM();
            m_near.assignFSMTo(m_old.releaseFSM());
        }
        const CString name(std::string(m_old.getName().view()));
        deleteOld(m_editor, m_old);
        m_near.setName(name, false);
        refreshMesh(*m_far);
    }
    /// A dynamic mesh goes on without the part.
    void cutOut() {
        for (const auto& [old, successor] : m_successors)
            strip(*const_cast<CN_Polygon*>(old));
        std::vector<CN_Polygon*> gone;
        for (CN_Polygon& polygon : m_old.accessPolygonList())
            if (m_successors.contains(&polygon))
                gone.push_back(&polygon);
        for (CN_Polygon* const polygon : gone)
            m_old.deletePolygon(polygon);
        refreshMesh(m_old);
    }
    /// In a room; all the world is inside a solid that is turned inside out.
    static bool isInside(CN_Mesh& part, const CN_LevelEntity& child) {
        return CN_volume(part) > 0 && part.isPositionInside(child.getWorldPosition());
    }

    Editor& m_editor;
    CN_Mesh &m_old, &m_near;
    CN_Mesh* m_far; ///< not owned: null for a dynamic mesh
    const Successors& m_successors;
};

} // namespace

void editJoin(Editor& editor, Words words) {
    CN_Mesh &mesh = editor.mesh(words[0]), &other = editor.mesh(words[1]);
    if (&mesh == &other)
        throw EditRefusal("a mesh is not joined with itself");
    if (mesh.isParent(&other))
        throw EditRefusal(fmt::format("\"{}\" lies below \"{}\"", toShownText(words[0]), toShownText(words[1])));
    editor.movableEntity(words[1]);
    checkJoinable(other, words[1]);
    SoundMesh sound(editor, mesh);
    sound.include(other);
    const auto meeting = findMeetingExits(other);
    int place = mesh.getPolygonList().count();
    mesh.join(&other);
    const CN_ChangeScope change(&editor.document());
    Successors successors;
    for (const CN_Polygon& polygon : other.getPolygonList())
        successors[&polygon] = &mesh.accessPolygonList()[place++];
    leadToSuccessors(editor.root(), successors);
    copyGroups(mesh, other, successors);
    moveStanding(editor, other, successors);
    for (CN_LevelEntity* const child : childrenOf(other))
        if (!dynamic_cast<CN_VirtualNode*>(child))
            mesh.add(child, true);
    Retargeting retargeting(other, mesh, nullptr);
    editor.root().forEachEntity(&retargeting);
    deleteOld(editor, other);
    sound.finish(true); // rooms that touch have their walls twice now
    tellOfApartExits(editor, meeting, successors);
}

void editSeparate(Editor& editor, Words words) {
    CN_Polygon& polygon = editor.polygon(words[0]);
    CN_Mesh& mesh = *polygon.getParent();
    const double grid = Editor::number(words[1]);
    if (!(grid >= 0))
        throw EditRefusal("a grid is not negative");
    if (polygon.isExitPolygon())
        throw EditRefusal(fmt::format("\"{}\" is an exit: name a wall of the part", toShownText(words[0])));
    editor.placeableEntity(words[0].substr(0, words[0].rfind('#')));
    editor.root().handleOwnHierarchy();
    F_DLList<CN_Polygon*> reached, rest;
    if (!mesh.separated(&polygon, reached, rest) || rest.empty())
        throw EditRefusal(fmt::format("all polygons hang together with \"{}\"", toShownText(words[0])));
    const std::vector<CN_Polygon*> first(reached.begin(), reached.end()), second(rest.begin(), rest.end());
    const auto meeting = findMeetingExits(mesh);
    const auto [near, far] = mesh.separate(&polygon, reached, rest, grid);
    const CN_ChangeScope change(&editor.document());
    Successors successors;
    const auto succeed = [&successors](const std::vector<CN_Polygon*>& old, CN_Mesh& made) {
        for (std::size_t i = 0; i < old.size(); ++i)
            successors[old[i]] = &made.accessPolygonList()[static_cast<int>(i)];
    };
    succeed(first, *near);
    if (far)
        succeed(second, *far);
    Parting(editor, mesh, *near, far, successors).run();
    refreshMesh(*near);
    tellOfApartExits(editor, meeting, successors);
}

} // namespace cairn::host
