#include "host/map_links.h"

#include "cairn/foundation/exception.h"
#include "cairn/fsm/fsm.h"

#include <fmt/format.h>

namespace cairn::host {

namespace {

E_FSM& accessMachine(CN_LevelEntity& entity) {
    entity.createFSM();
    E_FSM& machine = *entity.accessFSM();
    machine.addCustomEvent(ACTIVATE_EVENT);
    return machine;
}

/// Adds a message that sends `to` the event.
void sendActivate(E_FSM& machine, const istring& handler, CN_LevelEntity& to) {
    E_FSM::Message message;
    message.m_name = "FSM_Send";
    message.m_arguments = {ACTIVATE_EVENT};
    message.m_objectArguments = {nullptr};
    message.m_target = &to;
    message.updateTargetName(&machine);
    machine.createMessageHandler(handler).m_sendBefore.push_back(std::move(message));
}

} // namespace

void MapLinks::add(const MapFile& map, const MapEntity& source, CN_LevelEntity& made,
                   std::vector<CN_LevelEntity*> touched) {
    if (const std::string_view name = map.value(source, "targetname"); !name.empty())
        m_targets[name].push_back(&made);
    m_kills += map.find(source, "killtarget") ? 1u : 0u;
    const MapKey* const target = map.find(source, "target");
    if (target && !target->value.empty())
        m_links.push_back({&made, std::move(touched), target->value, target->line});
}

MapLinkCounts MapLinks::bind() {
    MapLinkCounts counts;
    counts.kills = m_kills;
    for (const auto& [name, entities] : m_targets)
        for (CN_LevelEntity* const entity : entities)
            accessMachine(*entity);
    const istring onActivate = E_FSM::makeSendHandlerName(ACTIVATE_EVENT);
    for (const Link& link : m_links) {
        E_FSM& machine = accessMachine(*link.entity);
        const auto targets = m_targets.find(link.target);
        if (targets == m_targets.end()) {
            ++counts.unbound;
            continue;
        }
        counts.messages += targets->second.size();
        if (counts.messages > MAX_LINK_MESSAGES)
            throw new F_Exception(
                fmt::format("line {}: the targets need more than {} messages", link.line, MAX_LINK_MESSAGES));
        for (CN_LevelEntity* const target : targets->second)
            sendActivate(machine, onActivate, *target);
        for (CN_LevelEntity* const mesh : link.touched)
            sendActivate(*mesh->accessFSM(), "T_Activate", *link.entity);
        if (link.entity->getEntityId() == CN_KIND_TRIGGER)
            sendActivate(machine, "T_Activate", *link.entity);
        else if (link.entity->getEntityId() == CN_KIND_ENEMY)
            sendActivate(machine, "OnDeath", *link.entity);
    }
    return counts;
}

} // namespace cairn::host
