#include "cairn/animation/graph_edit.h"
#include "cairn/foundation/memory_file.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_animations.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

U_GraphEdit graphOf(std::initializer_list<U_GraphEditNode> nodes, int layers = 1, int sortLayers = 0) {
    U_GraphEdit graph("y", layers, sortLayers, 0, {255, 0, 0}, {});
    for (const U_GraphEditNode& node : nodes)
        graph.addNode(node);
    graph.setYRange(-100, 100);
    return graph;
}

/// The bytes of each layer behind its head.
std::vector<std::vector<int>> sampleBytes(const U_Graph& graph) {
    F_MemoryFile file;
    file << graph;
    file.toRead();
    int head[4] = {};
    for (int& number : head)
        file >> number;
    std::vector<std::vector<int>> layers;
    for (int i = 0; i < head[2]; ++i) {
        int magic = 0, version = 0, samples = 0;
        float minimum = 0, step = 0;
        file >> magic >> version >> samples >> minimum >> step;
        std::vector<int>& layer = layers.emplace_back();
        for (int n = 0; n < samples; ++n) {
            unsigned char byte = 0;
            file >> byte;
            layer.push_back(byte);
        }
    }
    return layers;
}

TEST(GraphEdit, GoesThroughItsNodes) {
    struct Case {
        const char* what;
        U_GraphEdit graph;
        int interpolation;
        float x, value;
    };
    const U_GraphEdit uneven = graphOf({{0, {0}}, {1, {1}}, {3, {0}}, {4, {8}}});
    U_GraphEdit endless = graphOf({{0, {3e38f}}, {1, {-3e38f}}});
    endless.setYRange(-std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity());
    const Case cases[] = {
        {"no node", graphOf({}), 1, 0.5f, 0},
        {"one node", graphOf({{0.3f, {7}}}), 1, 0.9f, 7},
        {"two nodes are a line", graphOf({{0, {2}}, {2, {6}}}), 1, 0.5f, 3},
        {"the line goes on", graphOf({{0, {2}}, {1, {6}}}), 1, 2, 10},
        {"a step is its first node", graphOf({{1, {5}}, {1, {3}}}), 1, 1, 3},
        {"limited to the range", graphOf({{0, {0}}, {1, {1000}}}), 1, 1, 100},
        {"at a node", uneven, 1, 3, 0},
        // outer values 0 + (0 - 1) * 2 + 1 = -1 and (8 - 0) * 2 + 0 = 16; at the middle 9/16 of the inner, -1/16 of the outer
        {"between uneven nodes", uneven, 1, 2, -0.375f},
        // the slopes (0 - 0) / 3 and (8 - 1) / 3 over a width of 2
        {"hermite", uneven, 0, 2, -0.083333f},
        {"hermite of two nodes", graphOf({{0, {2}}, {2, {6}}}), 0, 0.5f, 3},
        {"another interpolation", uneven, 2, 2, 0},
        {"beyond float", endless, 1, -1, 0}, // three times 3e38
        {"no number", graphOf({{0, {2}}, {1, {6}}}), 1, NOT_A_NUMBER, -100},
    };
    for (Case c : cases) {
        c.graph.setInterpolation(c.interpolation);
        EXPECT_NEAR(c.graph.evaluate(c.x, 0), c.value, 1e-5) << c.what;
    }
}

TEST(GraphEdit, KeepsNodesInOrderAndTellsOfAClear) {
    int told = 0;
    U_GraphEdit graph("y", 1, 0, 0, {255, 0, 0}, [&told] { ++told; });
    for (const float value : {1.0f, 2.0f, 3.0f})
        graph.addNode({value == 2 ? 0.0f : 1.0f, {value}});
    std::vector<float> values;
    for (const U_GraphEditNode& node : graph.getNodes())
        values.push_back(node.values[0]);
    EXPECT_EQ(values, (std::vector<float>{2, 3, 1})) << "a node goes ahead of the one at its place";
    graph.setSamples(5);
    graph.setYRange(0, 2.5f);
    EXPECT_TRUE(graph.scaleLayer(0, 1));
    EXPECT_FALSE(graph.scaleLayer(0, 1));
    EXPECT_EQ(graph.evaluate(1, 0), 2.5f);
    graph.clear();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(graph.getSamples(), 16);
    EXPECT_EQ(graph.getYMax(), 2.5f);
    EXPECT_TRUE(graph.getNodes().empty());
}

TEST(Graph, SamplesTheCurve) {
    const auto samplesOf = [](U_GraphEdit graph, int samples) {
        graph.setSamples(samples);
        return sampleBytes(graph.sampled());
    };
    using Bytes = std::vector<std::vector<int>>;
    const U_GraphEdit line = graphOf({{0, {0}}, {1, {1}}});
    EXPECT_EQ(sampleBytes(line.sampled()).at(0).size(), 16u);
    EXPECT_EQ(samplesOf(line, 3), (Bytes{{0, 128, 255}})) << "127.5 goes to the even byte";
    EXPECT_EQ(samplesOf(line, 0), (Bytes{{0}}));
    EXPECT_EQ(samplesOf(graphOf({{0, {0}}, {1, {0}}}), 2), (Bytes{{0, 0}})) << "a span near 0";
    EXPECT_EQ(samplesOf(graphOf({{0, {-2}}, {1, {-1}}}), 2), (Bytes{{0, 128}})) << "the span reaches up to 0";
    EXPECT_EQ(samplesOf(graphOf({{0, {1, 0}}, {1, {0, 1}}}, 2), 2), (Bytes{{255, 0}, {0, 255}}));
    EXPECT_EQ(samplesOf(graphOf({{0, {1, 0}}, {1, {0, 1}}}, 2, 1), 2), (Bytes{{0, 0}, {0, 0}})) << "0 and 1 throughout";
    U_GraphEdit backward = line;
    backward.setXRange(1, 0);
    EXPECT_EQ(samplesOf(backward, 2), (Bytes{{255, 0}}));

    float values[U_Graph::MAX_LAYERS] = {-1, -1, -1};
    const U_Graph two = graphOf({{0, {2, 0}}, {1, {4, 1}}}, 2).sampled();
    for (const auto& [t, first] :
         {std::pair{0.0f, 2.0f}, {0.5f, 3.0f}, {1.0f, 4.0f}, {9.0f, 4.0f}, {NOT_A_NUMBER, 2.0f}}) {
        two.sampleLayers(values, t);
        EXPECT_NEAR(values[0], first, 0.01f) << t;
        EXPECT_NEAR(values[1], (first - 2) / 2, 0.01f) << t;
    }
    EXPECT_EQ(values[2], -1) << "a layer that is not there is not written";
}

TEST(Graph, RefusesNumbersOutOfRange) {
    struct Case {
        const char* what;
        std::vector<int> head; ///< magic, version, layers, samples; of the layer: magic, version, samples
    };
    for (const Case& c : {Case{"layers", {0x72, 1, 4, 2}},
                          {"no layers", {0x72, 1, -1, 2}},
                          {"samples", {0x72, 1, 1, -1}},
                          {"mark", {0x71, 1, 1, 2}},
                          {"version", {0x72, 2, 1, 2}},
                          {"layer's mark", {0x72, 1, 1, 2, 0x72, 1, 2}},
                          {"other samples", {0x72, 1, 1, 2, 0x73, 1, 3}},
                          {"more than there are", {0x72, 1, 1, 0x7FFFFFFF, 0x73, 1, 0x7FFFFFFF}}}) {
        F_MemoryFile file;
        for (const int number : c.head)
            file << number;
        file << 0.0f << 1.0f << 0 << 0;
        file.toRead();
        U_Graph graph;
        EXPECT_NE(test::failureText([&] { file >> graph; }), "(nothing thrown)") << c.what;
        EXPECT_EQ(graph.getLayers(), 0);
    }
}

TEST(GraphEdit, ReadsEveryVersion) {
    for (int version = 0; version <= 4; ++version) {
        SCOPED_TRACE(version);
        F_MemoryFile file, expected, saved;
        test::writeOldGraph(file, version, 5);
        file.toRead();
        U_GraphEdit graph("y", 1, 0, 21, {1, 2, 3}, {});
        file >> graph;
        if (version == 0 || version == 4) {
            EXPECT_TRUE(graph.getNodes().empty());
            EXPECT_EQ(file.getPosition(), 8u);
            continue;
        }
        EXPECT_EQ(file.getRemaining(), 0u);
        EXPECT_EQ(graph.getSamples(), version > 2 ? test::OLD_GRAPH_SAMPLES : 16);
        EXPECT_EQ(graph.getYMax(), 5);
        EXPECT_EQ(graph.evaluate(1, 0), 5);
        if (version == 3) {
            test::writeOldGraph(expected, version, 5);
            saved << graph;
            EXPECT_EQ(test::bytesOf(saved), test::bytesOf(expected)) << "all settings are given back";
        }
    }
}

} // namespace
} // namespace cairn
