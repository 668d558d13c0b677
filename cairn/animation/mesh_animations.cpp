#include "cairn/animation/mesh_animations.h"

#include "cairn/animation/keyframes.h"

#include <algorithm>

namespace cairn {

CN_MeshAnimations::CN_MeshAnimations(const CN_MeshAnimations& other, CN_Keyframes* keyframes)
    : CN_AnimationContainer(), m_keyframes(keyframes) {
    copyValues(other);
    setKeyframes(keyframes);
}

CN_MeshAnimations::~CN_MeshAnimations() { killAll(); }

CN_MeshAnimation* CN_MeshAnimations::allocate() { return new CN_MeshAnimation(m_keyframes); }

void CN_MeshAnimations::free(CN_MeshAnimation* animation) { delete animation; }

void CN_MeshAnimations::setKeyframes(CN_Keyframes* keyframes) {
    m_keyframes = keyframes;
    for (const auto& [name, animation] : values())
        animation->setKeyFrames(keyframes);
}

void CN_MeshAnimations::updateKeyframes() {
    for (const auto& [name, animation] : values()) {
        animation->setStartFrame(animation->getStartFrame());
        animation->setEndFrame(animation->getEndFrame());
        animation->updateAllGraphs();
    }
}

bool CN_MeshAnimations::keyframeInUse(const string& name) const {
    return std::any_of(values().begin(), values().end(), [&name](const auto& entry) {
        return entry.second->getStartFrame() == name || entry.second->getEndFrame() == name;
    });
}

std::size_t CN_MeshAnimations::getMendedCount() const {
    const auto mended =
        std::count_if(values().begin(), values().end(), [](const auto& entry) { return entry.second->isMended(); });
    return static_cast<std::size_t>(mended);
}

const istring* CN_MeshAnimations::findNotFinite() const {
    for (const auto& [name, animation] : values())
        if (!animation->isFinite())
            return &name;
    return nullptr;
}

} // namespace cairn
