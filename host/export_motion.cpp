#include "host/export_motion.h"

#include "cairn/animation/animation_interface.h"
#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "host/entity_text.h"

#include <algorithm>
#include <cfloat>

namespace cairn::host {

namespace {

/// A shorter or longer motion has no times that single precision tells apart.
constexpr double LEAST_LENGTH = 1e-6, GREATEST_LENGTH = FLT_MAX;

ExportKey keyAt(double time, const M_Matrix4x3Template<double>& matrix) {
    const ExportPlacement placement = placementAcross(matrix.rotation, matrix.translation);
    return {time, placement.translation, placement.rotation};
}

M_Matrix4x3Template<double> widened(const M_Matrix4x3Template<float>& m) {
    const auto wide = [](const M_Vector3Template<float>& v) { return M_Vector3Template<double>(v.x, v.y, v.z); };
    return {{wide(m.rotation.rows[0]), wide(m.rotation.rows[1]), wide(m.rotation.rows[2])}, wide(m.translation)};
}

/// Of a rotation and its negative each key gets the one nearer to the key before, so that no way leads round the far side.
void takeShortWays(std::vector<ExportKey>& keys) {
    for (std::size_t i = 1; i < keys.size(); ++i)
        keys[i].rotation = keys[i].rotation.nearestTo(keys[i - 1].rotation);
}

/// The placements at as many even moments. A play-back goes evenly from one sample of its curve to the next, so that
/// nothing is lost where there are as many moments as samples.
std::vector<ExportKey> sample(const CN_MeshAnimation& animation, int moments) {
    const double length = animation.getLength();
    std::vector<ExportKey> keys;
    if (!(length >= LEAST_LENGTH && length <= GREATEST_LENGTH)) { // it is over as soon as it begins
        keys.push_back(keyAt(0, widened(animation.getMatrixAt(FLT_MAX))));
        return keys;
    }
    const int last = std::max(moments, 2) - 1;
    for (int i = 0; i <= last; ++i) {
        const double time = length * i / last;
        keys.push_back(keyAt(time, widened(animation.getMatrixAt(i == last ? FLT_MAX : static_cast<float>(time)))));
    }
    takeShortWays(keys);
    return keys;
}

/// Whether a key's turn and place are all that the keyframe does to an entity of that scale.
bool isRigid(const M_Matrix4x3Template<double>& matrix, const M_Vector3Template<double>& scale) {
    constexpr double SAME_SCALE = 1e-6;
    const ExportPlacement placement = placementAcross(matrix.rotation, matrix.translation);
    return placement.isExact && (placement.scale - scale).length() <= SAME_SCALE * scale.length();
}

ExportAnimation stepThrough(const CN_Keyframes& keyframes, std::string name, const M_Vector3Template<double>& scale) {
    ExportAnimation steps;
    steps.name = std::move(name);
    steps.isStepped = true;
    std::vector<string> names;
    keyframes.getNames(names);
    for (const string& each : names) {
        const M_Matrix4x3Template<double>& matrix = keyframes.find(each)->getMatrix();
        steps.moves.push_back(keyAt(static_cast<double>(steps.moves.size()), matrix));
        steps.isExact &= isRigid(matrix, scale);
    }
    takeShortWays(steps.moves);
    steps.turns = steps.moves;
    return steps;
}

} // namespace

std::vector<ExportAnimation> makeExportAnimations(const CN_LevelEntity& entity) {
    std::vector<ExportAnimation> made;
    const auto* animated = dynamic_cast<const CN_AnimationInterface*>(&entity);
    if (!animated || !animated->getKeyframes())
        return made;
    if (const CN_MeshAnimations* animations = animated->getAnimations())
        for (const CN_MeshAnimation* each = animations->getFirst(); each; each = animations->getNext()) {
            ExportAnimation& animation = made.emplace_back();
            animation.name = qualifiedName(entity) + ' ' + std::string(view(*animations->getCurrentKey()));
            animation.moves = sample(*each, each->getPositionGraph().getSamples());
            animation.turns = sample(*each, each->getRotationGraph().getSamples());
        }
    if (made.empty() && animated->getKeyframes()->getCount() > 1)
        made.push_back(stepThrough(*animated->getKeyframes(), qualifiedName(entity) + " keyframes",
                                   placementAcross(entity.getRotation(), entity.getPosition()).scale));
    return made;
}

} // namespace cairn::host
