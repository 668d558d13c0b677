#include "cairn/animation/keyframes.h"

#include "cairn/entities/level_entity.h"

namespace cairn {

void CN_Keyframe::setMatrix(const CN_LevelEntity* entity) {
    m_matrix = M_Matrix4x3Template<double>(entity->getRotation(), entity->getPosition());
}

void CN_Keyframes::getNames(std::vector<string>& names) const {
    for (const auto& [name, keyframe] : values())
        names.push_back(name);
}

} // namespace cairn
