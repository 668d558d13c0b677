#include "host/edit_deletion.h"

#include "cairn/document/change_scope.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/portal.h"
#include "cairn/fsm/walkers.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/editor.h"
#include "host/entity_text.h"
#include "host/explain.h"
#include "host/import_materials.h"
#include "host/text.h"

#include <fmt/format.h>

namespace cairn::host {

void Deletion::add(CN_LevelEntity& top) {
    const auto addOne = [this](CN_LevelEntity* entity) {
        if (m_isDying.insert(entity).second)
            m_dying.push_back(entity);
    };
    m_tops.push_back(&top);
    addOne(&top);
    CN_PreIterator it = top.createIterator();
    for (it.begin(); !it.end(); ++it)
        addOne(*it);
}

void Deletion::addExit(CN_Polygon* exit) {
    if (!exit || !isOpening(*exit) || !m_isClosing.insert(exit).second)
        return;
    if (!m_isDying.contains(exit->getParent()) && CN_HierarchyUtils::isNonEditablePrefabContent(exit->getParent()))
        throw EditRefusal(fmt::format("an exit of \"{}\" leads there, which belongs to its prefab",
                                      toShownText(qualifiedName(*exit->getParent()))));
    m_exits.push_back(exit);
    CN_LevelEntityPortal* const portal = exit->getLevelEntityPortal();
    if (portal && !m_isDying.contains(portal))
        add(*portal);
}

void Deletion::run() {
    gatherWaysIn();
    for (std::size_t i = 0, k = 0; i < m_dying.size() || k < m_exits.size();) // both grow by the ways back
        if (i < m_dying.size())
            gatherExits(*m_dying[i++]);
        else
            addWaysInto(m_exits[k++]);
    const CN_ChangeScope change(&m_document);
    for (CN_Polygon* const exit : m_exits)
        closeExit(*exit);
    ForEach_FSMDeleteObject deleteMessages(m_isDying);
    m_document.accessLevel()->forEachEntity(&deleteMessages);
    for (CN_LevelEntity* const one : m_dying) {
        m_document.accessSelection()->remove(one);
        if (auto* const mesh = dynamic_cast<CN_MeshInterface*>(one))
            mesh->updateMaterialRefCounts(false);
    }
    for (CN_LevelEntity* const top : m_tops) {
        top->getParent()->remove(top);
        delete top;
    }
}

void Deletion::gatherWaysIn() {
    CN_PreIterator it = m_document.accessLevel()->createIterator();
    for (it.begin(); !it.end(); ++it)
        if (auto* const mesh = dynamic_cast<CN_Mesh*>(*it))
            for (CN_Polygon& polygon : mesh->accessPolygonList())
                if (const CN_Polygon* const partner = polygon.getExitDestination())
                    m_waysInto[partner].push_back(&polygon);
}

void Deletion::addWaysInto(const CN_Polygon* polygon) {
    if (const auto ways = m_waysInto.find(polygon); ways != m_waysInto.end())
        for (CN_Polygon* const way : ways->second)
            addExit(way);
}

void Deletion::gatherExits(CN_LevelEntity& entity) {
    if (auto* const mesh = dynamic_cast<CN_Mesh*>(&entity))
        for (CN_Polygon& polygon : mesh->accessPolygonList()) {
            addExit(&polygon);
            addWaysInto(&polygon);
        }
    if (auto* const portal = dynamic_cast<CN_LevelEntityPortal*>(&entity))
        if (CN_Polygon* const exit = portal->getPortalPolygon(); exit && exit->getAttachedEntity() == portal)
            addExit(exit); // another portal keeps it open
}

void Deletion::closeExit(CN_Polygon& exit) {
    if (const istring name = exit.getExitName(); !name.empty() && !m_isDying.contains(exit.getParent())) {
        ForEach_FSMDeleteExitSends deleteMessages(exit.getParent(), name);
        m_document.accessLevel()->forEachEntity(&deleteMessages);
    }
    exit.sealExit(requireWallMaterial(m_document));
}

} // namespace cairn::host
