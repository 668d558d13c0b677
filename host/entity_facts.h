#pragma once

#include "cairn/entities/trimesh_parts.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/facts.h"

#include <string>

namespace cairn::host {

/// How a comparison knows that two things which are referred to are the same one, whatever they are called and numbered in
/// their levels.
class Identities {
  public:
    virtual ~Identities() = default;
    virtual std::string of(const CN_LevelEntity& entity) const = 0;
    virtual std::string of(const CN_Polygon& polygon) const = 0;
};

/// Each gives a sink what a level file keeps of an entity or a part of it; together that is all but names, children, bounds and
/// the numbers that a save gives.
/// @{

/// The settings of its kind, without place, machine, polygons and triangles.
void describeSettings(const CN_LevelEntity& entity, const Identities& identities, FactSink& facts);
/// Where it stands below its parent, and where its keyframes would put it.
void describePlace(const CN_LevelEntity& entity, FactSink& facts);
/// States, events, timers and handlers, without messages (entity_facts_machine.cpp).
void describeMachine(const E_FSM& machine, FactSink& facts);
/// What a message is compared by: a line that only follows where its target and arguments stand is the same
/// (entity_facts_machine.cpp).
std::string messageKey(const E_FSM::Message& message, const Identities& identities);

/// entity_facts_mesh.cpp
void describePolygon(const CN_Polygon& polygon, const Identities& identities, FactSink& facts);
void describeVertex(const CN_TMVertex& vertex, FactSink& facts);
void describeTriangle(const CN_TMTriangle& triangle, FactSink& facts);
/// @}

/// Where the polygon's edges run, as bytes (entity_facts_mesh.cpp).
std::string cornersKey(const CN_Polygon& polygon);
/// One number for the mesh's vertices and which of them its polygons name: it tells meshes apart that have the same polygons
/// in space (entity_facts_mesh.cpp).
std::uint64_t vertexNumbering(const CN_Mesh& mesh);

/// One number for all that is stored of an entity but what `describePlace` tells and the entities that it refers to.
std::uint64_t contentHash(const CN_LevelEntity& entity);

/// Calls `f` with the name of each list of messages ("HANDLER before", "HANDLER state:NAME") and the list.
void forEachMessageList(const E_FSM& machine,
                        const std::function<void(const std::string& name, const E_FSM::MessageList& messages)>& f);

} // namespace cairn::host
