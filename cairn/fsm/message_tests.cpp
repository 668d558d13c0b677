#include "cairn/fsm/message_tests.h"

#include "cairn/entities/level_entity.h"
#include "cairn/platform/handlers.h"

#include <fmt/format.h>

namespace cairn {

bool CN_isAboutExit(const E_FSM::Message& message) {
    return message.m_name == "EnableExit" || message.m_name == "EnableExitAIActivation";
}

const istring* CN_findExitName(const E_FSM::Message& message) {
    return CN_isAboutExit(message) && message.m_arguments.size() > 1 ? &message.m_arguments[1] : nullptr;
}

bool FSMPred_RefersAnimation::operator()(const E_FSM::Message& message) const {
    return m_entity && message.m_target == m_entity && message.m_name == "DO_Animate" && !message.m_arguments.empty() &&
           message.m_arguments.front() == m_name && !message.isCommentMessage();
}

bool FSMPred_ObjectReferenced::operator()(const E_FSM::Message& message) {
    const bool refers = message.refersTo(m_entity) && !message.isCommentMessage();
    m_found |= refers;
    return refers;
}

bool FSMPred_NonlocalNameReference::operator()(const E_FSM::Message& message) {
    if (!m_entity || message.m_target != m_entity || message.isCommentMessage() || !m_fsm->getParent())
        return false;
    int position = 0, length = 0;
    if (!m_fsm->getParent()->getObjectReferenceFromMessageString(m_entity, message.m_text, position, length)) {
        AfxMessageBox(
            CString(fmt::format("Couldn't find valid target reference from message '{}'!", view(message.m_text))));
        return false;
    }
    const istring step = message.m_text.substr(static_cast<std::size_t>(position), static_cast<std::size_t>(length));
    const bool named = step != "this" && step != "parent";
    m_found |= named;
    return named;
}

bool FSMPred_IsLocal::operator()(const E_FSM::Message& message) {
    if (message.m_global || message.isCommentMessage() || !message.nameRelative())
        return true;
    const bool below = CN_LevelEntity::isAlive(message.m_target) &&
                       (message.m_target == m_entity || message.m_target->isParent(m_entity));
    m_local &= below;
    return below;
}

bool FSMPred_SendsTo::operator()(const E_FSM::Message& message) {
    const bool sends = m_entity && message.m_target == m_entity && message.m_name == m_name &&
                       message.m_arguments == m_arguments && !message.isCommentMessage();
    m_found |= sends;
    return sends;
}

void FSMPred_PrefabReferenced::operator()(const E_FSM::Message& message) {
    if (message.isCommentMessage())
        return;
    const auto gather = [this](const CN_LevelEntity* entity) {
        if (CN_LevelEntity::isAlive(entity) && entity->getEntityId() == CN_KIND_PREFAB)
            m_prefabs.insert(entity);
    };
    gather(message.m_target);
    for (const CN_LevelEntity* const entity : message.m_objectArguments)
        gather(entity);
}

} // namespace cairn
