#include "cairn/animation/keyframes.h"

#include "cairn/entities/level_entity.h"

namespace cairn {

void CN_Keyframe::setMatrix(const CN_LevelEntity* entity) {
    m_matrix = M_Matrix4x3Template<double>(entity->getRotation(), entity->getPosition());
}

// The three rows of the rotation, the position: twelve double.

void CN_Keyframe::saveBase(F_MemoryFile& file) const { file << m_matrix; }

void CN_Keyframe::loadBase(F_MemoryFile& file) {
    M_Matrix4x3Template<double> matrix;
    file >> matrix;
    if (!matrix.isFinite())
        file.fail("The placement of a keyframe is not finite");
    m_matrix = matrix;
}

CN_Keyframes::CN_Keyframes(const CN_Keyframes& other) : CN_AnimationContainer() { copyValues(other); }

CN_Keyframes& CN_Keyframes::operator=(const CN_Keyframes& other) {
    CN_Keyframes copy(other);
    swapValues(copy);
    return *this;
}

CN_Keyframes::~CN_Keyframes() { killAll(); }

CN_Keyframe* CN_Keyframes::allocate() { return new CN_Keyframe; }

void CN_Keyframes::free(CN_Keyframe* keyframe) { delete keyframe; }

void CN_Keyframes::getNames(std::vector<string>& names) const {
    for (const auto& [name, keyframe] : values())
        names.push_back(name);
}

void CN_Keyframes::transform(const M_Matrix4x3Template<double>& matrix) {
    for (const auto& [name, keyframe] : values())
        keyframe->setMatrix(keyframe->getMatrix() * matrix);
}

const string* CN_Keyframes::findNotFinite() const {
    for (const auto& [name, keyframe] : values())
        if (!keyframe->getMatrix().isFinite())
            return &name;
    return nullptr;
}

} // namespace cairn
