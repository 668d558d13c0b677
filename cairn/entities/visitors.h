#pragma once

namespace cairn {

class CN_CairnLevel;
class CN_LevelEntity;
class CN_LevelEntityAINode;
class CN_LevelEntityDynPointlight;
class CN_LevelEntityEnemy;
class CN_LevelEntityFSM;
class CN_LevelEntityFlare;
class CN_LevelEntityItem;
class CN_LevelEntityJumppoint;
class CN_LevelEntityMesh;
class CN_LevelEntityPlayer;
class CN_LevelEntityPolygonGroup;
class CN_LevelEntityPortal;
class CN_LevelEntityPrefab;
class CN_LevelEntityPrefabContent;
class CN_LevelEntityRadiosityLight;
class CN_LevelEntityTriMesh;
class CN_LevelEntityTrigger;
class CN_LevelEntityVolLightingBox;
class CN_LevelEntityWaypoint;

/// The base of every visitor: a concrete one derives from it and from the interfaces below of the kinds that it cares
/// for. A kind that it has no interface for is not visited; no kind falls back on another's.
class CN_AcyclicLevelVisitor {
  public:
    virtual ~CN_AcyclicLevelVisitor() = default;
};

/// Visits entities of one kind: the base of the interfaces below.
template <class Kind> class CN_KindACVisitor {
  public:
    virtual ~CN_KindACVisitor() = default;
    virtual void visit(Kind& entity) = 0;
};

class CN_LevelACVisitor : public CN_KindACVisitor<CN_CairnLevel> {};
class CN_EntityACVisitor : public CN_KindACVisitor<CN_LevelEntity> {};
class CN_AINodeACVisitor : public CN_KindACVisitor<CN_LevelEntityAINode> {};
class CN_DynPointlightACVisitor : public CN_KindACVisitor<CN_LevelEntityDynPointlight> {};
class CN_EnemyACVisitor : public CN_KindACVisitor<CN_LevelEntityEnemy> {};
class CN_FlareACVisitor : public CN_KindACVisitor<CN_LevelEntityFlare> {};
class CN_FSMACVisitor : public CN_KindACVisitor<CN_LevelEntityFSM> {};
class CN_ItemACVisitor : public CN_KindACVisitor<CN_LevelEntityItem> {};
class CN_JumppointACVisitor : public CN_KindACVisitor<CN_LevelEntityJumppoint> {};
class CN_MeshACVisitor : public CN_KindACVisitor<CN_LevelEntityMesh> {};
class CN_PlayerACVisitor : public CN_KindACVisitor<CN_LevelEntityPlayer> {};
class CN_PolygonGroupACVisitor : public CN_KindACVisitor<CN_LevelEntityPolygonGroup> {};
class CN_PortalACVisitor : public CN_KindACVisitor<CN_LevelEntityPortal> {};
class CN_PrefabACVisitor : public CN_KindACVisitor<CN_LevelEntityPrefab> {};
class CN_PrefabContentACVisitor : public CN_KindACVisitor<CN_LevelEntityPrefabContent> {};
class CN_RadiosityLightACVisitor : public CN_KindACVisitor<CN_LevelEntityRadiosityLight> {};
class CN_TriggerACVisitor : public CN_KindACVisitor<CN_LevelEntityTrigger> {};
class CN_TriMeshACVisitor : public CN_KindACVisitor<CN_LevelEntityTriMesh> {};
class CN_VolLightingBoxACVisitor : public CN_KindACVisitor<CN_LevelEntityVolLightingBox> {};
class CN_WaypointACVisitor : public CN_KindACVisitor<CN_LevelEntityWaypoint> {};

/// Calls `visitor` with `entity` if it has the interface: the body of `acceptACVisitor` in every kind.
template <class Interface, class Kind> void CN_acceptAs(CN_AcyclicLevelVisitor& visitor, Kind& entity) {
    if (auto* interface = dynamic_cast<Interface*>(&visitor))
        interface->visit(entity);
}

} // namespace cairn
