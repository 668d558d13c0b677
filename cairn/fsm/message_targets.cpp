#include "cairn/document/document.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/level_entity.h"
#include "cairn/fsm/fsm.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace cairn {

namespace {

bool isPlayer(const CN_LevelEntity* entity) {
    const CN_Document* const document = entity->getDocument();
    return CN_Document::isAlive(document) && document->getPlayer() == entity;
}

int depthOf(const CN_LevelEntity* entity) {
    int depth = 0;
    while ((entity = entity->getParent()))
        ++depth;
    return depth;
}

/// The name that the entity keeps; made anew while it keeps none, as behind an assignment to it.
istring qualifiedNameOf(const CN_LevelEntity* entity) {
    istring kept = entity->getQualifiedName();
    return kept.empty() && entity->getParent() ? toIString(CN_HierarchyUtils::makeFullyQualifiedName(entity)) : kept;
}

/// The shortest path from `from` to `to`; none where they stand in different trees.
std::optional<istring> findRelativeName(const CN_LevelEntity* from, const CN_LevelEntity* to) {
    if (isPlayer(to))
        return "player";
    if (from == to)
        return "this";
    int stepsUp = 0;
    std::vector<const CN_LevelEntity*> stepsDown; // the last one first
    int fromDepth = depthOf(from), toDepth = depthOf(to);
    while (from != to) {
        if (fromDepth == 0 && toDepth == 0)
            return {};
        const bool rise = fromDepth >= toDepth, fall = toDepth >= fromDepth;
        if (rise) {
            ++stepsUp;
            --fromDepth;
            from = from->getParent();
        }
        if (fall) {
            stepsDown.push_back(to);
            --toDepth;
            to = to->getParent();
        }
    }
    istring path;
    for (; stepsUp > 0; --stepsUp)
        path.append(path.empty() ? "parent" : "::parent");
    for (auto it = stepsDown.rbegin(); it != stepsDown.rend(); ++it)
        path.append(path.empty() ? "" : "::").append(toIString((*it)->getName()));
    return path;
}

} // namespace

bool E_FSM::Message::updateTargetName(E_FSM* fsm) {
    if (m_global || isCommentMessage())
        return true;
    const bool relative = nameRelative();
    CN_LevelEntity* const owner = fsm->getParent();
    if (!CN_LevelEntity::isAlive(m_target)) {
        // An empty line, and a name that was never known, name nothing.
        const istring path = relative ? getWrittenPath() : m_targetName;
        const bool named = relative ? !m_text.empty() : !path.empty();
        m_target = named && owner ? owner->mapNameToObject(path, nullptr) : nullptr;
        if (!m_target)
            return false;
    }
    istring qualified = qualifiedNameOf(m_target);
    std::optional<istring> path;
    if (!relative && m_target->getParent()) // no absolute path names a root
        path = qualified;
    else if (owner)
        path = findRelativeName(owner, m_target);
    if (!path)
        return false;
    m_targetPath = *std::move(path);
    m_targetName = std::move(qualified);
    m_text = m_targetPath;
    m_text.append("->").append(m_name).append("(").append(joinArguments(", ")).append(");");
    return true;
}

istring E_FSM::Message::joinArguments(const char* separator) const {
    istring text;
    for (const istring& argument : m_arguments) {
        if (&argument != &m_arguments.front())
            text += separator;
        text += argument;
    }
    return text;
}

std::size_t E_FSM::Message::findArguments() const {
    const std::size_t arrow = m_global ? istring::npos : m_text.find("->");
    return m_text.find('(', arrow == istring::npos ? 0 : arrow);
}

void E_FSM::Message::rewriteArguments(const istring& arguments) {
    m_text.erase(std::min(findArguments(), m_text.size()));
    m_text.append("(").append(arguments).append(");");
}

} // namespace cairn
