// Playing mesh animations: a thousand times of one animation, as samples and as the curves they come from.
#include "bench/support/report.h"
#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"

#include <memory>
#include <vector>

namespace {

using namespace cairn;

constexpr int TIMES = 1000; ///< a row asks for

/// An animation that moves and turns, with `nodes` nodes a graph.
struct Scene {
    CN_Keyframes keyframes;
    CN_MeshAnimations animations{&keyframes};
    CN_MeshAnimation* animation = animations.allocate();

    explicit Scene(int nodes) {
        using Placement = M_Matrix4x3Template<double>;
        keyframes.insert("start", new CN_Keyframe(Placement()));
        keyframes.insert("end", new CN_Keyframe(Placement(M_Matrix3Template<double>::rotationY(2), {3, 4, 12})));
        animations.insert(toIString("move"), animation);
        animation->setLength(1);
        animation->setStartFrame("start");
        animation->setEndFrame("end");
        for (U_GraphEdit* graph : {&animation->getPositionGraph(), &animation->getRotationGraph()}) {
            graph->clear();
            graph->setSamples(64);
            for (int i = 0; i < nodes; ++i) {
                const float x = static_cast<float>(i) / static_cast<float>(nodes - 1);
                graph->addNode({x, {x * x}});
            }
        }
        animation->updateAllGraphs();
    }
};

template <class Ask> double sumOverTimes(const Ask& ask) {
    double sum = 0;
    for (int i = 0; i < TIMES; ++i)
        sum += double{ask(static_cast<float>(i) / TIMES)};
    return sum;
}

} // namespace

static void measure(cairn::bench::Report& report) {
    for (const int nodes : cairn::bench::sizes({2, 16, 128})) {
        const auto scene = std::make_shared<const Scene>(nodes);
        const auto graph = std::make_shared<const U_Graph>(scene->animation->getPositionGraph().sampled());
        report.add("1000 matrices", "getMatrixAt", nodes, [scene] {
            return sumOverTimes([&](float t) { return scene->animation->getMatrixAt(t).translation.z; });
        });
        report.add("1000 samples", "sampleLayers", nodes, [graph] {
            return sumOverTimes([&](float t) {
                float layers[U_Graph::MAX_LAYERS] = {};
                graph->sampleLayers(layers, t);
                return layers[0];
            });
        });
        report.add("1000 values of the curve", "evaluate", nodes, [scene] {
            return sumOverTimes([&](float t) { return scene->animation->getPositionGraph().evaluate(t, 0); });
        });
        report.add("reduce the curve", "sampled", nodes,
                   [scene] { return scene->animation->getPositionGraph().sampled().getSamples(); });
    }
    report.limitGrowth("1000 matrices", "getMatrixAt", 0.1);
    report.limitGrowth("1000 samples", "sampleLayers", 0.1);
}

static const cairn::bench::Scene SCENE(
    "animation",
    "A thousand times of one mesh animation, as samples and as the curves they come from, by the number of its nodes.",
    measure);
