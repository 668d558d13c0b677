#include "host/salvage_mending.h"

#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/fsm.h"
#include "cairn/fsm/message_tests.h"
#include "cairn/geometry/exit_table.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/lighting/lightmap_pool_interface.h"
#include "host/import_materials.h"

#include <memory>
#include <vector>

namespace cairn::host {

namespace {

class Mending {
  public:
    Mending(CN_Document& document, const MendingNeeds& needs) : m_document(document), m_needs(needs) {
        CN_PreIterator it = document.accessLevel()->createIterator();
        for (it.begin(); !it.end(); ++it)
            m_entities.push_back(*it);
    }

    void run() {
        findExits();
        CN_ExitDestinationPointerDeserializer::instance()->deserializePart(m_document.accessLevel(), nullptr);
        for (CN_Polygon* const exit : m_exits)
            mendExit(*exit);
        keepPortalsOfWalls();
        if (m_needs.entitiesLost) // a path from below "Recovered" may lead to another entity than it did
            silenceMessages([](const E_FSM::Message& message) {
                return message.m_targetId == 0 ||
                       CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.contains(message.m_targetId);
            });
        CN_FSMChangeManager::instance()->deserializeFSMs(m_document.accessLevel(), false);
        CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.clear();
        if (m_needs.entitiesLost)
            silenceMessages([this](const E_FSM::Message& message) { return leadsSomewhere(message); });
        mendLightmaps();
    }

  private:
    template <class Visit> void forEachPolygon(Visit&& visit) {
        for (CN_LevelEntity* const entity : m_entities)
            if (auto* const mesh = dynamic_cast<CN_Mesh*>(entity))
                for (CN_Polygon& polygon : mesh->accessPolygonList())
                    visit(polygon);
    }

    /// Those that name a partner, there or not.
    void findExits() {
        forEachPolygon([this](CN_Polygon& polygon) {
            if (polygon.getExitDestinationIndex() != CN_Polygon::NON_EXIT_INDEX)
                m_exits.push_back(&polygon);
        });
        for (CN_LevelEntity* const entity : m_entities)
            if (auto* const portal = dynamic_cast<CN_LevelEntityPortal*>(entity)) {
                const CN_Polygon* const exit = portal->getPortalPolygon();
                if (exit && exit->getExitDestinationIndex() != CN_Polygon::NON_EXIT_INDEX)
                    m_portals.push_back(portal);
            }
    }

    void mendExit(CN_Polygon& exit) {
        if (!exit.isExitPolygon())
            exit.sealExit(requireWallMaterial(m_document));
        else if (m_needs.entitiesLost && !exit.getLevelEntityPortal())
            addPortal(exit);
    }

    /// A portal stays on the polygon whose exit is a wall now, as a load leaves it.
    void keepPortalsOfWalls() {
        for (CN_LevelEntityPortal* const portal : m_portals)
            if (CN_Polygon* const wall = portal->getPortalPolygon(); !wall->isExitPolygon()) {
                portal->setPortalPolygon(wall);
                m_needs.tell(*portal,
                             "a portal: it is kept, but its exit led to a mesh that is lost, and is a wall now");
            }
    }

    void addPortal(CN_Polygon& exit) {
        CN_Mesh& mesh = *exit.getParent();
        auto made = std::make_unique<CN_LevelEntityPortal>();
        CN_LevelEntityPortal& portal = *made;
        portal.setDocument(&m_document);
        portal.setName(toCString(mesh.getNextExitName()), true);
        mesh.addOwned(std::move(made), false);
        portal.setPortalPolygon(&exit);
    }

    /// Makes comments of the messages to entities that `isSound` does not hold for.
    template <class IsSound> void silenceMessages(IsSound&& isSound) {
        const auto silenceAll = [&](CN_LevelEntity& entity) {
            if (E_FSM* const machine = entity.accessFSM())
                machine->forEachMessage([&](E_FSM::Message& message) {
                    if (!message.isCommentMessage() && !message.m_global && !isSound(message))
                        silence(message);
                });
        };
        silenceAll(*m_document.accessLevel());
        for (CN_LevelEntity* const entity : m_entities)
            silenceAll(*entity);
    }
    bool leadsSomewhere(const E_FSM::Message& message) {
        if (!message.m_target || !CN_isAboutExit(message))
            return message.m_target;
        const auto* const mesh = dynamic_cast<const CN_Mesh*>(message.m_target);
        return mesh && message.m_arguments.size() > 1 && m_table.find(*mesh, message.m_arguments[1]);
    }
    static void silence(E_FSM::Message& message) {
        E_FSM::Message comment;
        comment.m_text = "# " + message.m_text;
        message = std::move(comment);
    }

    void mendLightmaps() {
        const CN_LightmapPoolInterface& pool = *m_document.getLightmaps();
        forEachPolygon([&pool](CN_Polygon& polygon) {
            const unsigned long id = polygon.getLightmapMapping().getLightmapID();
            if (id != NO_LIGHTMAP && !pool.getLightmap(id))
                polygon.setLightmap(NO_LIGHTMAP);
        });
        for (CN_LevelEntity* const entity : m_entities)
            if (auto* const mesh = dynamic_cast<CN_LevelEntityTriMesh*>(entity))
                if (mesh->getLightmapID() != NO_LIGHTMAP && !pool.getLightmap(mesh->getLightmapID()))
                    mesh->setLightmapID(NO_LIGHTMAP);
    }

    CN_Document& m_document;
    const MendingNeeds& m_needs;
    std::vector<CN_LevelEntity*> m_entities;      ///< not owned: all but the root
    std::vector<CN_Polygon*> m_exits;             ///< not owned: that named a partner
    std::vector<CN_LevelEntityPortal*> m_portals; ///< not owned: of these
    CN_ExitTable m_table;
};

} // namespace

void mendReferences(CN_Document& document, const MendingNeeds& needs) { Mending(document, needs).run(); }

} // namespace cairn::host
