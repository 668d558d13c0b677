#include "cairn/animation/animation.h"

#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "cairn/entities/level_entity.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"

#include <utility>

namespace cairn {

CN_Animation::CN_Animation() = default;

CN_Animation::CN_Animation(const CN_Animation& other)
    : m_keyframes(other.m_keyframes ? std::make_unique<CN_Keyframes>(*other.m_keyframes) : nullptr),
      m_animations(other.m_animations ? std::make_unique<CN_MeshAnimations>(*other.m_animations, m_keyframes.get())
                                      : nullptr),
      m_currentKeyframe(other.m_currentKeyframe), m_defaultKeyframe(other.m_defaultKeyframe),
      m_lightingKeyframe(other.m_lightingKeyframe) {}

CN_Animation& CN_Animation::operator=(const CN_Animation& other) {
    CN_Animation copy(other);
    swap(copy);
    return *this;
}

CN_Animation::~CN_Animation() = default;

void CN_Animation::swap(CN_Animation& other) noexcept {
    m_keyframes.swap(other.m_keyframes);
    m_animations.swap(other.m_animations);
    m_currentKeyframe.swap(other.m_currentKeyframe);
    m_defaultKeyframe.swap(other.m_defaultKeyframe);
    m_lightingKeyframe.swap(other.m_lightingKeyframe);
}

void CN_Animation::setKeyframes(CN_Keyframes* keyframes) {
    if (keyframes == m_keyframes.get())
        return;
    m_keyframes.reset(keyframes);
    if (m_animations)
        m_animations->setKeyframes(keyframes);
}

void CN_Animation::setAnimations(CN_MeshAnimations* animations) {
    if (animations == m_animations.get())
        return;
    m_animations.reset(animations);
    if (m_animations)
        m_animations->setKeyframes(m_keyframes.get());
}

void CN_Animation::gotoKeyframe(CN_LevelEntity* entity, const string& name) {
    const CN_Keyframe* const keyframe = m_keyframes ? m_keyframes->find(name) : nullptr;
    if (!keyframe)
        return;
    const M_Matrix4x3Template<double> matrix = keyframe->getMatrix();
    const string to = name; // which may be a name held here, and moving the entity may change that
    entity->setPosition(matrix.translation);
    entity->setRotation(matrix.rotation);
    m_currentKeyframe = to;
}

bool CN_Animation::addKeyframe(CN_LevelEntity* entity, const string& name) {
    if (!m_keyframes)
        return false;
    CN_Keyframes::Held keyframe = m_keyframes->hold(m_keyframes->allocate());
    keyframe->setMatrix(entity);
    m_keyframes->insert(name, std::move(keyframe));
    return true;
}

void CN_Animation::transformKeyframes(const M_Matrix4x3Template<double>& matrix) {
    if (m_keyframes)
        m_keyframes->transform(matrix);
}

void CN_Animation::makeDynamic(CN_LevelEntity* entity) {
    if (!m_keyframes)
        setKeyframes(new CN_Keyframes);
    if (!m_animations)
        m_animations = std::make_unique<CN_MeshAnimations>(m_keyframes.get());
    string name;
    m_keyframes->getNextUniqueName(name, "Keyframe_");
    addKeyframe(entity, name);
    m_currentKeyframe = m_defaultKeyframe = m_lightingKeyframe = name;
}

void CN_Animation::makeStatic(CN_LevelEntity* entity) {
    gotoKeyframe(entity, m_defaultKeyframe);
    *this = CN_Animation();
}

string CN_Animation::findRecordFault() const {
    if (!m_keyframes || !m_animations)
        return "it has no keyframes and animations, as a dynamic entity must";
    if (const string* name = m_keyframes->findNotFinite())
        return formatText("its keyframe \"%s\" is not finite", name->c_str());
    if (const istring* name = m_animations->findNotFinite())
        return formatText("its animation \"%s\" is not finite", name->c_str());
    return {};
}

// Chunk 0, version 1: an embedded file of the keyframes and then the animations; the names of the current, the default
//   and the lighting keyframe.
// Without a chunk: no lighting keyframe.

void CN_Animation::saveAnimations(F_MemoryFile& file) const {
    if (const string fault = findRecordFault(); !fault.empty())
        throw new F_Exception("The animations of an entity cannot be saved: " + fault);
    file.createChunk(0, CAIRN_MESH_ANIMATION);
    file.writeEmbedded([this](F_MemoryFile& sets) {
        m_keyframes->save(sets);
        m_animations->save(sets);
    });
    file << m_currentKeyframe << m_defaultKeyframe << m_lightingKeyframe;
    file.closeChunk();
}

void CN_Animation::loadAnimations(F_MemoryFile& file) {
    CN_Animation read;
    read.m_keyframes = std::make_unique<CN_Keyframes>();
    read.m_animations = std::make_unique<CN_MeshAnimations>(read.m_keyframes.get());
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    F_MemoryFile& from = chunk.isValid() ? chunk.getMemoryFile() : file;
    from.readEmbedded([&read](F_MemoryFile& sets) {
        read.m_keyframes->load(sets);
        read.m_animations->load(sets);
    });
    from >> read.m_currentKeyframe >> read.m_defaultKeyframe;
    if (chunk.isValid()) {
        from >> read.m_lightingKeyframe;
        file.skipChunk();
    }
    if (!read.m_keyframes->find(read.m_lightingKeyframe) || !chunk.isValid())
        read.m_lightingKeyframe = read.m_defaultKeyframe;
    read.m_animations->updateKeyframes();
    swap(read);
}

string CN_Animation::describeLoadRepairs() const {
    string text;
    const auto tell = [&text](const char* what, std::size_t count) {
        if (count > 0)
            text += (text.empty() ? "" : "; ") + formatText("%s: %zu", what, count);
    };
    if (m_keyframes)
        tell("Keyframes dropped, as there was one of their name", m_keyframes->getDroppedCount());
    if (m_animations) {
        tell("Animations dropped, as there was one of their name", m_animations->getDroppedCount());
        tell("Animations with a curve that could not stay as it was", m_animations->getMendedCount());
    }
    return text;
}

} // namespace cairn
