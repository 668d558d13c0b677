#include "cairn/animation/animation.h"

namespace cairn {

CN_Animation::CN_Animation(const CN_Animation& other)
    : m_keyframes(other.m_keyframes ? std::make_unique<CN_Keyframes>(*other.m_keyframes) : nullptr) {}

CN_Animation& CN_Animation::operator=(const CN_Animation& other) {
    CN_Animation copy(other);
    m_keyframes.swap(copy.m_keyframes);
    return *this;
}

void CN_Animation::setKeyframes(CN_Keyframes* keyframes) {
    if (keyframes != m_keyframes.get())
        m_keyframes.reset(keyframes);
}

void CN_Animation::transformKeyframes(const M_Matrix4x3Template<double>& matrix) {
    if (!m_keyframes)
        return;
    for (CN_Keyframe* keyframe = m_keyframes->getFirst(); keyframe; keyframe = m_keyframes->getNext())
        keyframe->setMatrix(keyframe->getMatrix() * matrix);
}

} // namespace cairn
