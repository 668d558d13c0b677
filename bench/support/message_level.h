#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/walkers.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace cairn::bench {

inline CN_LevelEntity* addEntity(CN_LevelEntity& parent, const std::string& name) {
    auto made = std::make_unique<CN_LevelEntityFSM>();
    CN_LevelEntity* const entity = made.get();
    entity->setDocument(parent.getDocument());
    entity->setName(CString(name), false);
    parent.addOwned(std::move(made), false);
    return entity;
}

/// Rooms of entities with ten messages each, to entities all over the level; a hundredth of them to the first one.
class MessageLevel {
  public:
    static constexpr int MESSAGES_AN_ENTITY = 10;

    explicit MessageLevel(int messages) {
        constexpr int ENTITIES_A_ROOM = 100;
        m_document.createCairnLevelEntities();
        CN_LevelEntity* room = nullptr;
        for (int i = 0; i < messages / MESSAGES_AN_ENTITY; ++i) {
            if (i % ENTITIES_A_ROOM == 0)
                room = addEntity(root(), fmt::format("Room{:05}", i));
            m_entities.push_back(addEntity(*room, fmt::format("Door{:05}", i)));
        }
        for (int i = 0; i < messages; ++i)
            listOf(i).push_back(makeMessage(i));
        for (CN_LevelEntity* const entity : m_entities)
            m_machines.push_back(*entity->getFSM());
    }

    CN_LevelEntity& root() { return *m_document.accessLevel(); }
    CN_LevelEntity* first() { return m_entities.front(); }
    void run(CN_ForEach&& walker) { root().forEachEntity(&walker); }
    /// Makes this the document that updates are for.
    void use() { CN_FSMChangeManager::instance()->documentChangedNotification(nullptr, &m_document, nullptr); }

    /// Brings back the messages of the beginning.
    void restore() {
        for (std::size_t i = 0; i < m_entities.size(); ++i)
            *m_entities[i]->accessFSM() = m_machines[i];
    }

    /// The same where nothing but messages changed, in memory that they have: far cheaper. The machine of the first entity may
    /// have changed otherwise.
    void restoreMessages() {
        *m_entities[0]->accessFSM() = m_machines[0];
        for (std::size_t i = 1; i < m_entities.size(); ++i) {
            std::vector<const E_FSM::MessageList*> kept;
            m_machines[i].forEachList([&](const E_FSM::MessageList& messages) { kept.push_back(&messages); });
            auto at = kept.begin();
            m_entities[i]->accessFSM()->forEachList([&](E_FSM::MessageList& messages) { messages = **at++; });
        }
    }

    /// Turns every reference into an identity as a record holds it; `known` says whether the load met its entity.
    void unbind(bool known) {
        auto& loaded = CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;
        loaded.clear();
        for (CN_LevelEntity* const entity : m_entities) {
            if (known)
                loaded.emplace(CN_LevelEntity::getSerialisationId(entity), entity);
            entity->accessFSM()->forEachMessage([](E_FSM::Message& message) {
                message.m_targetId = CN_LevelEntity::getSerialisationId(message.m_target);
                message.m_target = nullptr;
                message.m_objectArgumentIds.clear();
                for (CN_LevelEntity*& object : message.m_objectArguments)
                    message.m_objectArgumentIds.push_back(
                        CN_LevelEntity::getSerialisationId(std::exchange(object, nullptr)));
            });
        }
    }

    /// The bytes of all lines and the messages that have a target.
    std::size_t summary() const {
        std::size_t sum = 0;
        for (const CN_LevelEntity* const entity : m_entities)
            entity->getFSM()->forEachMessage(
                [&](const E_FSM::Message& message) { sum += message.m_text.size() + (message.m_target ? 1 : 0); });
        return sum;
    }

  private:
    E_FSM::MessageList& listOf(int message) {
        E_FSM& machine = *m_entities[static_cast<std::size_t>(message / MESSAGES_AN_ENTITY)]->accessFSM();
        return message % 2 ? machine.createMessageHandler("Startup").m_sendBefore
                           : machine.createMessageHandler("OnUse").m_sendOnState["idle"];
    }

    E_FSM::Message makeMessage(int i) {
        constexpr int TO_THE_FIRST = 100;
        static const std::pair<istring, std::vector<istring>> SENT[] = {{"FSM_Switch", {"old"}},
                                                                        {"FSM_StartTimer", {"old"}},
                                                                        {"FSM_Send", {"old"}},
                                                                        {"DO_Animate", {"old", "1"}},
                                                                        {"EnableExit", {"1", "old"}}};
        E_FSM::Message message;
        const auto index = static_cast<std::size_t>(i);
        message.m_target = i / 5 % (TO_THE_FIRST / 5) == 0 ? first() : m_entities[index * 7919 % m_entities.size()];
        std::tie(message.m_name, message.m_arguments) = SENT[index % std::size(SENT)];
        message.m_objectArguments.resize(message.m_arguments.size());
        message.m_arguments.push_back(message.m_target->getQualifiedName());
        message.m_objectArguments.push_back(message.m_target);
        message.m_text = i % 4 ? "" : "::";
        message.updateTargetName(listOwner(i)->accessFSM());
        return message;
    }

    CN_LevelEntity* listOwner(int message) {
        return m_entities[static_cast<std::size_t>(message / MESSAGES_AN_ENTITY)];
    }

    CN_Document m_document;
    std::vector<CN_LevelEntity*> m_entities; ///< those with messages
    std::vector<E_FSM> m_machines;           ///< theirs as they were made
};

} // namespace cairn::bench
