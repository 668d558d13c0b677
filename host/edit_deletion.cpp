#include "host/edit_deletion.h"

#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "cairn/fsm/walkers.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/import_materials.h"

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
    for (; exit && exit->isExitPolygon() && m_isClosing.insert(exit).second; exit = exit->getExitDestination()) {
        m_exits.push_back(exit);
        CN_LevelEntityPortal* const portal = exit->getLevelEntityPortal();
        if (portal && !m_isDying.contains(portal))
            add(*portal);
    }
}

void Deletion::run() {
    for (std::size_t i = 0; i < m_dying.size(); ++i) // it grows by the portals of the ways back
        gatherExits(*m_dying[i]);
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

void Deletion::gatherExits(CN_LevelEntity& entity) {
    if (auto* const mesh = dynamic_cast<CN_Mesh*>(&entity))
        for (CN_Polygon& polygon : mesh->accessPolygonList())
            addExit(&polygon);
    if (auto* const portal = dynamic_cast<CN_LevelEntityPortal*>(&entity))
        addExit(portal->getPortalPolygon());
}

void Deletion::closeExit(CN_Polygon& exit) {
    if (const istring name = exit.getExitName(); !name.empty() && !m_isDying.contains(exit.getParent())) {
        ForEach_FSMDeleteExitSends deleteMessages(exit.getParent(), name);
        m_document.accessLevel()->forEachEntity(&deleteMessages);
    }
    exit.sealExit(requireWallMaterial(m_document));
}

} // namespace cairn::host
