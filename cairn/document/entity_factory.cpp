#include "cairn/document/entity_factory.h"

#include "cairn/document/shared_db.h"
#include "cairn/entities/ai_node.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/flare.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/item.h"
#include "cairn/entities/jumppoint.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/player.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/entities/trigger.h"
#include "cairn/entities/vol_lighting_box.h"
#include "cairn/entities/waypoint.h"
#include "cairn/platform/handlers.h"

namespace cairn {

namespace {

/// What the factory knows about a kind.
struct Registration {
    int id;
    const char* className;
    const char* typeName; ///< null for none
    int imageIndex;       ///< icon in the host's image list
    std::unique_ptr<CN_LevelEntity> (*make)();
    const char* withoutDatabase; ///< what to say where the kind needs the content database and there is none; else null
};

template <class Kind> std::unique_ptr<CN_LevelEntity> make() { return std::make_unique<Kind>(); }

/// Every kind there is: a new one is a line here.
constexpr Registration REGISTRATIONS[] = {
    {CN_KIND_MESH, "CN_LevelEntityMesh", "Mesh", 17, make<CN_LevelEntityMesh>, nullptr},
    {CN_KIND_LEVEL, "CN_CairnLevel", nullptr, 0, make<CN_CairnLevel>, nullptr},
    {CN_KIND_PREFAB, "CN_LevelEntityPrefab", "Prefab", 6, make<CN_LevelEntityPrefab>, nullptr},
    {CN_KIND_FSM, "CN_LevelEntityFSM", "FSM", 9, make<CN_LevelEntityFSM>, nullptr},
    {CN_KIND_TRIGGER, "CN_LevelEntityTrigger", "Trigger", 10, make<CN_LevelEntityTrigger>, nullptr},
    {CN_KIND_WAYPOINT, "CN_LevelEntityWaypoint", "Waypoint", 16, make<CN_LevelEntityWaypoint>, nullptr},
    {CN_KIND_JUMPPOINT, "CN_LevelEntityJumppoint", "Jumppoint", 12, make<CN_LevelEntityJumppoint>, nullptr},
    {CN_KIND_ITEM, "CN_LevelEntityItem", "Level_Item", 14, make<CN_LevelEntityItem>,
     "Can't create level item, because shared database is not set!"},
    {CN_KIND_ENEMY, "CN_LevelEntityEnemy", "Enemy", 13, make<CN_LevelEntityEnemy>,
     "Can't create enemy, because shared database is not set!"},
    {CN_KIND_DYN_POINTLIGHT, "CN_LevelEntityDynPointlight", "Dynamic_Pointlight", 15, make<CN_LevelEntityDynPointlight>,
     nullptr},
    {CN_KIND_POLYGON_GROUP, "CN_LevelEntityPolygonGroup", "Polygroup", 4, make<CN_LevelEntityPolygonGroup>, nullptr},
    {CN_KIND_RADIOSITY_LIGHT, "CN_LevelEntityRadiosityLight", "Radiosity_Light", 3, make<CN_LevelEntityRadiosityLight>,
     nullptr},
    {CN_KIND_PORTAL, "CN_LevelEntityPortal", "Portal", 5, make<CN_LevelEntityPortal>, nullptr},
    {CN_KIND_PREFAB_CONTENT, "CN_LevelEntityPrefabContent", nullptr, 2, make<CN_LevelEntityPrefabContent>, nullptr},
    {CN_KIND_PLAYER, "CN_LevelEntityPlayer", nullptr, 13, make<CN_LevelEntityPlayer>, nullptr},
    {CN_KIND_TRIMESH, "CN_LevelEntityTriMesh", "Triangle_Mesh", 18, make<CN_LevelEntityTriMesh>, nullptr},
    {CN_KIND_AI_NODE, "CN_LevelEntityAINode", "AIN", 19, make<CN_LevelEntityAINode>, nullptr},
    {CN_KIND_FLARE, "CN_LevelEntityFlare", "Flare", 21, make<CN_LevelEntityFlare>,
     "Can't create flare, because shared database is not set!"},
    {CN_KIND_VOL_LIGHTING_BOX, "CN_LevelEntityVolLightingBox", "Volume_Lighting_Box", 22,
     make<CN_LevelEntityVolLightingBox>, nullptr},
};

const Registration* findRegistration(int id) {
    for (const Registration& kind : REGISTRATIONS)
        if (kind.id == id)
            return &kind;
    return nullptr;
}

/// True if the content database is there, which is opened for it if need be.
bool haveDatabase() { return CN_SharedDB::instance() || CN_SharedDB::createInstance(); }

} // namespace

CN_EntityFactory::CN_EntityFactory() { createTypeNames(); }

CN_EntityFactory::~CN_EntityFactory() = default;

CN_EntityFactory* CN_EntityFactory::instance() {
    static CN_EntityFactory factory;
    return &factory;
}

void CN_EntityFactory::createTypeNames() {
    for (const Registration& kind : REGISTRATIONS)
        if (kind.typeName)
            m_typeNames.emplace(kind.id, kind.typeName);
}

void CN_EntityFactory::registerEntity(int id, CN_LevelEntity& entity) {
    std::unique_ptr<CN_LevelEntity> prototype(entity.clone());
    m_prototypes[id] = std::move(prototype);
}

CN_LevelEntity* CN_EntityFactory::createEntity(int id, CN_Document* document) {
    if (const auto prototype = m_prototypes.find(id); prototype != m_prototypes.end()) {
        CN_LevelEntity* entity = prototype->second->clone();
        entity->setDocument(document);
        return entity;
    }
    const Registration* kind = findRegistration(id);
    if (!kind)
        return nullptr;
    if (kind->withoutDatabase && !haveDatabase()) {
        AfxMessageBox(kind->withoutDatabase);
        return nullptr;
    }
    registerEntity(id, *kind->make());
    return createEntity(id, document);
}

bool CN_EntityFactory::isKnown(int id) const { return findRegistration(id) || m_prototypes.count(id) > 0; }

int CN_EntityFactory::getEntityType(const string& typeName) const {
    for (const auto& [id, name] : m_typeNames)
        if (name == typeName)
            return id;
    return 0;
}

string CN_EntityFactory::getEntityTypeName(int id) const {
    const auto name = m_typeNames.find(id);
    return name == m_typeNames.end() ? string() : name->second;
}

string getEntityClassName(int id) {
    const Registration* kind = findRegistration(id);
    return kind ? kind->className : "";
}

int getEntityImageIndex(int id) {
    const Registration* kind = findRegistration(id);
    return kind ? kind->imageIndex : -1;
}

} // namespace cairn
