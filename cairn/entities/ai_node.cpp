#include "cairn/entities/ai_node.h"

#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityAINode::CN_LevelEntityAINode() : CN_UISphereEntity(CN_KIND_AI_NODE, 19) { initializeMembers(); }

CN_LevelEntityAINode::CN_LevelEntityAINode(const CN_LevelEntityAINode& other) : CN_UISphereEntity(other) {
    requestSphereRenderer();
}

CN_LevelEntityAINode& CN_LevelEntityAINode::operator=(const CN_LevelEntityAINode& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityAINode::initializeMembers() { setRadius(0.5); }

CN_LevelEntity* CN_LevelEntityAINode::clone() { return new CN_LevelEntityAINode(*this); }

void CN_LevelEntityAINode::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_AINodeACVisitor>(visitor, *this);
}

void CN_LevelEntityAINode::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityAINode::saveEntitySpecificData(F_MemoryFile&) {}

I_Color CN_LevelEntityAINode::getColor() { return I_Color(0, 0, 255); }

bool CN_LevelEntityAINode::onCanAdd(int) { return false; }

} // namespace cairn
