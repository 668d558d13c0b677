#include "cairn/animation/graph.h"

#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace cairn {

namespace {

enum RecordMagic : int { GRAPH_MAGIC = 0x72, LAYER_MAGIC = 0x73 };

constexpr int VERSION = 1; ///< of both records

void requireHead(F_MemoryFile& file, int magic, const char* what) {
    int foundMagic = 0, version = 0;
    file >> foundMagic >> version;
    if (foundMagic != magic || version != VERSION)
        file.fail(
            formatText("No %s of version %d: its mark is %d, its version %d", what, VERSION, foundMagic, version));
}

/// The nearest byte, an even one of two; 0 for no number.
unsigned char nearestByte(double value) {
    if (!(value > 0))
        return 0;
    return static_cast<unsigned char>(std::nearbyint(std::min(value, 255.0)));
}

} // namespace

void U_Graph::sampleLayers(float* out, float t) const {
    const double at = t > 0 ? std::min(double{t}, 1.0) : 0;
    for (const Layer& layer : m_layers) {
        const std::size_t last = layer.samples.empty() ? 0 : layer.samples.size() - 1;
        const double place = at * static_cast<double>(last);
        const std::size_t low = std::min(static_cast<std::size_t>(place), last);
        const std::size_t high = std::min(low + 1, last);
        double value = 0;
        if (!layer.samples.empty()) {
            const double left = layer.samples[low], right = layer.samples[high];
            value = layer.minimum + (left + (right - left) * (place - static_cast<double>(low))) * layer.step;
        }
        *out++ = std::abs(value) <= FLT_MAX ? static_cast<float>(value) : 0;
    }
}

// The bytes span from the least value to the largest; a layer without a value above 0 has the smallest normal number for
// the latter. In double, as the span may be so small that its inverse is beyond float.
U_Graph::Layer U_Graph::reduce(const std::vector<float>& values) {
    double minimum = FLT_MAX, maximum = FLT_MIN;
    for (const float value : values) {
        minimum = std::min(minimum, double{value});
        maximum = std::max(maximum, double{value});
    }
    const double span = maximum - minimum, factor = span == 0 ? 0 : 1 / span * 255;
    Layer layer{static_cast<float>(minimum), static_cast<float>(span / 255), {}};
    layer.samples.reserve(values.size());
    for (const float value : values)
        layer.samples.push_back(nearestByte((value - minimum) * factor));
    return layer;
}

// Graph: int magic 0x72, int version 1, int layers, int samples, the layers.
// Layer: int magic 0x73, int version 1, int samples, float minimum, float step, a byte a sample.

F_MemoryFile& operator<<(F_MemoryFile& file, const U_Graph& graph) {
    file << int{GRAPH_MAGIC} << VERSION << graph.getLayers() << graph.m_samples;
    for (const U_Graph::Layer& layer : graph.m_layers)
        U_Graph::saveLayer(file, layer);
    return file;
}

F_MemoryFile& operator>>(F_MemoryFile& file, U_Graph& graph) {
    requireHead(file, GRAPH_MAGIC, "sampled graph");
    int layers = 0;
    U_Graph read;
    file >> layers >> read.m_samples;
    if (layers < 0 || layers > U_Graph::MAX_LAYERS || read.m_samples < 0)
        file.fail(formatText("A sampled graph of %d layers with %d samples", layers, read.m_samples));
    for (int i = 0; i < layers; ++i)
        read.m_layers.push_back(U_Graph::loadLayer(file, read.m_samples));
    graph = std::move(read);
    return file;
}

void U_Graph::saveLayer(F_MemoryFile& file, const Layer& layer) {
    const int samples = static_cast<int>(layer.samples.size());
    file << int{LAYER_MAGIC} << VERSION << samples << layer.minimum << layer.step;
    file.write(layer.samples.data(), samples);
}

U_Graph::Layer U_Graph::loadLayer(F_MemoryFile& file, int samples) {
    requireHead(file, LAYER_MAGIC, "layer of a sampled graph");
    int own = 0;
    Layer layer;
    file >> own >> layer.minimum >> layer.step;
    if (own != samples || static_cast<std::size_t>(own) > file.getRemaining())
        file.fail(formatText("A layer of %d samples in a sampled graph of %d", own, samples));
    layer.samples.resize(static_cast<std::size_t>(own));
    file.read(layer.samples.data(), own);
    return layer;
}

} // namespace cairn
