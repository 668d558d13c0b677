#include "cairn/animation/mesh_animation.h"

#include "cairn/animation/keyframes.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace cairn {

namespace {

U_GraphEdit makeGraph(const char* label) {
    constexpr int LAYERS = 1, SORT_LAYERS = 0, SETTING = 0;
    return U_GraphEdit(label, LAYERS, SORT_LAYERS, SETTING, {255, 0, 0}, {});
}

/// In single precision; what lies beyond its range goes to the end of it.
float narrowed(double value) { return static_cast<float>(std::clamp<double>(value, -FLT_MAX, FLT_MAX)); }

M_Vector3Template<float> narrowed(const M_Vector3Template<double>& v) {
    return {narrowed(v.x), narrowed(v.y), narrowed(v.z)};
}

M_Matrix4x3Template<float> narrowed(const M_Matrix4x3Template<double>& m) {
    const auto& rows = m.rotation.rows;
    return {{narrowed(rows[0]), narrowed(rows[1]), narrowed(rows[2])}, narrowed(m.translation)};
}

/// The length by its reciprocal, in single precision.
float lengthOf(const M_Vector3Template<float>& v) {
    const float square = v.lengthSquared();
    const float reciprocal = 1.0f / std::sqrt(square);
    return square > 0 ? square * reciprocal : 0;
}

const CN_Keyframe* findIn(const CN_Keyframes* keyframes, const string& name) {
    return keyframes ? keyframes->find(name) : nullptr;
}

float sampleFirst(const U_Graph& graph, float t) {
    float layers[U_Graph::MAX_LAYERS] = {};
    graph.sampleLayers(layers, t);
    return layers[0];
}

} // namespace

CN_MeshAnimation::CN_MeshAnimation(CN_Keyframes* keyframes)
    : m_positionGraph(makeGraph("Position")), m_rotationGraph(makeGraph("Rotation")), m_keyframes(keyframes) {
    reset();
}

void CN_MeshAnimation::reset() {
    m_length = 0;
    m_inverseDistance = 0;
    for (U_GraphEdit* graph : {&m_positionGraph, &m_rotationGraph}) {
        graph->setYRange(0, 1);
        graph->addNode({0, {0}});
        graph->addNode({1, {1}});
    }
    updatePositionGraph();
    updateRotationGraph();
}

void CN_MeshAnimation::setStartFrame(const string& name) {
    m_startFrame = name;
    if (const CN_Keyframe* keyframe = findIn(m_keyframes, name))
        setStartMatrix(narrowed(keyframe->getMatrix()));
}

void CN_MeshAnimation::setEndFrame(const string& name) {
    m_endFrame = name;
    if (const CN_Keyframe* keyframe = findIn(m_keyframes, name))
        setEndMatrix(narrowed(keyframe->getMatrix()));
}

void CN_MeshAnimation::setStartMatrix(const M_Matrix4x3Template<float>& matrix) {
    m_startMatrix = matrix;
    m_startRotation = Quaternion::fromRotation(matrix.rotation).nearestTo(m_endRotation);
    updateInverseDistance();
}

void CN_MeshAnimation::setEndMatrix(const M_Matrix4x3Template<float>& matrix) {
    m_endMatrix = matrix;
    m_endRotation = Quaternion::fromRotation(matrix.rotation).nearestTo(m_startRotation);
    updateInverseDistance();
}

void CN_MeshAnimation::updateInverseDistance() {
    const float distance = lengthOf(m_startMatrix.translation - m_endMatrix.translation);
    m_inverseDistance = distance > 0 ? 1 / distance : 0;
}

// The factor is worked out in double: a node at the old end comes to stand at the new one to the last bit.
void CN_MeshAnimation::updateAllGraphs() {
    const CN_Keyframe* const start = findIn(m_keyframes, m_startFrame);
    const CN_Keyframe* const end = findIn(m_keyframes, m_endFrame);
    if (!start || !end)
        return;
    const bool wasFlat = m_positionGraph.getYMax() - m_positionGraph.getYMin() == 0;
    const double between = (start->getMatrix().translation - end->getMatrix().translation).length();
    const float distance = between > 0 ? narrowed(between) : 0;
    const float oldEnd = m_positionGraph.evaluate(1, 0);
    m_positionGraph.setYRange(0, distance);
    if (oldEnd > 0)
        m_positionGraph.scaleLayer(0, double{distance} / oldEnd);
    else if (distance > 0 && oldEnd == 0 && wasFlat)
        straightenPosition(distance);
    settlePosition(distance);
    updatePositionGraph();
    updateRotationGraph();
}

/// An even move over the distance.
void CN_MeshAnimation::straightenPosition(float distance) {
    m_positionGraph.clear();
    m_positionGraph.setYRange(0, distance);
    m_positionGraph.addNode({0, {0}});
    m_positionGraph.addNode({1, {distance}});
}

/// Scales on until scaling changes nothing more, so that an animation that is loaded and saved again stays as it is. A
/// curve with a node at time 1 is there at once. Others approach it, and one that does not becomes straight.
void CN_MeshAnimation::settlePosition(float distance) {
    constexpr int MAX_ROUNDS = 16;
    for (int round = 0; round < MAX_ROUNDS; ++round) {
        const float end = m_positionGraph.evaluate(1, 0);
        if (!(end > 0) || !m_positionGraph.scaleLayer(0, double{distance} / end))
            return;
    }
    straightenPosition(distance);
    m_straightened = true;
}

bool CN_MeshAnimation::isMended() const {
    return m_straightened || m_positionGraph.wereSamplesLimited() || m_rotationGraph.wereSamplesLimited();
}

const M_Matrix4x3Template<float>& CN_MeshAnimation::getMatrixAt(float time) const {
    static M_Matrix4x3Template<float> s_matrix;
    if (time <= 0)
        return s_matrix = m_startMatrix;
    if (time >= m_length)
        return s_matrix = m_endMatrix;
    const float t = static_cast<float>(time / m_length);
    const float travelled = sampleFirst(m_positionSamples, t) * m_inverseDistance;
    const float turned = sampleFirst(m_rotationSamples, t);
    s_matrix.rotation = Quaternion::interpolate(m_startRotation, m_endRotation, turned).toRotation();
    s_matrix.translation =
        m_startMatrix.translation + (m_endMatrix.translation - m_startMatrix.translation) * travelled;
    return s_matrix;
}

bool CN_MeshAnimation::isFinite() const {
    return m_startMatrix.isFinite() && m_endMatrix.isFinite() && std::isfinite(m_length);
}

// Chunk 0, version 1: start and end matrix (float), samples of the position and of the rotation graph, double length,
//   names of the start and the end keyframe, position graph, rotation graph.
// Without a chunk: a float, the two matrices, three lists of texts (each: tag, int count, the texts), then the fields
//   from the samples on. The float and the lists are dropped.

void CN_MeshAnimation::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_MESH_ANIMATION_VERSION);
    file << m_startMatrix << m_endMatrix;
    file << m_positionSamples << m_rotationSamples;
    file << m_length << m_startFrame << m_endFrame;
    file << m_positionGraph << m_rotationGraph;
    file.closeChunk();
}

void CN_MeshAnimation::load(F_MemoryFile& file) {
    m_positionGraph.clear();
    m_rotationGraph.clear();
    m_straightened = false;
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (chunk.isValid()) {
        F_MemoryFile& body = chunk.getMemoryFile();
        body >> m_startMatrix >> m_endMatrix;
        loadBody(body);
        file.skipChunk();
    } else {
        float dropped = 0;
        file >> dropped >> m_startMatrix >> m_endMatrix;
        for (int list = 0; list < 3; ++list) {
            string text;
            for (std::size_t count = file.readTaggedCount(F_MemoryFile::TAG_VECTOR, 4); count > 0; --count)
                file >> text;
        }
        loadBody(file);
    }
    m_positionGraph.setInterpolation(U_GraphEdit::CATMULL_ROM);
    m_rotationGraph.setInterpolation(U_GraphEdit::CATMULL_ROM);
    m_startRotation = Quaternion::fromRotation(m_startMatrix.rotation);
    setEndMatrix(m_endMatrix);
}

void CN_MeshAnimation::loadBody(F_MemoryFile& file) {
    file >> m_positionSamples >> m_rotationSamples;
    file >> m_length >> m_startFrame >> m_endFrame;
    if (!isFinite())
        file.fail("A matrix or the length of an animation is not finite");
    file >> m_positionGraph >> m_rotationGraph;
}

} // namespace cairn
