#include "cairn/animation/graph_edit.h"

#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <span>
#include <utility>

namespace cairn {

namespace {

/// Sorts the few values of one sample; by hand, as the library's sort is made for many.
void sortAscending(std::span<float> values) {
    for (std::size_t i = 1; i < values.size(); ++i)
        for (std::size_t j = i; j > 0 && values[j] < values[j - 1]; --j)
            std::swap(values[j], values[j - 1]);
}

enum RecordMagic : int { NODE_MAGIC = 0x70, GRAPH_MAGIC = 0x71 };

constexpr int NODE_VERSION = 1, GRAPH_VERSION = 3;

/// A node's place in one layer.
struct Point {
    double x, y;

    Point(double x_, double y_) : x(x_), y(y_) {}
    Point(const U_GraphEditNode& node, std::size_t layer) : x(node.x), y(node.values[layer]) {}
    /// As far from this, the other way, as `o`.
    Point mirrored(const Point& o) const { return {x - (o.x - x), y - (o.y - y)}; }
};

/// The piece of a curve between `p1` and `p2`, with the points around it.
struct Piece {
    Point p0, p1, p2, p3;

    double width() const { return p2.x - p1.x; }

    /// The cubic through the two with the slopes of the chords around them. A piece without width is `p1`.
    double hermite(double x) const {
        if (width() == 0)
            return p1.y;
        const auto slope = [](const Point& a, const Point& b) { return a.x == b.x ? 0 : (b.y - a.y) / (b.x - a.x); };
        const double u = (x - p1.x) / width(), v = 1 - u;
        const double s1 = slope(p0, p2) * width(), s2 = slope(p1, p3) * width();
        return p1.y * (1 + 2 * u) * v * v + p2.y * (3 - 2 * u) * u * u + s1 * u * v * v - s2 * v * u * u;
    }

    /// E. Catmull and R. Rom, "A class of local interpolating splines", 1974, with the outer values brought to the
    /// spacing of the two. Exact at both ends.
    double catmullRom(double x) const {
        const double u = width() == 0 ? 0 : (x - p1.x) / width();
        const auto spaced = [this](const Point& outer, const Point& inner, double outerWidth) {
            return outerWidth == 0 ? inner.y : (outer.y - inner.y) * width() / outerWidth + inner.y;
        };
        const double y0 = spaced(p0, p1, p1.x - p0.x), y3 = spaced(p3, p2, p3.x - p2.x);
        return ((-0.5 * u + 1) * u - 0.5) * u * y0 + ((1.5 * u - 2.5) * u * u + 1) * p1.y +
               ((-1.5 * u + 2) * u + 0.5) * u * p2.y + (0.5 * u - 0.5) * u * u * y3;
    }
};

} // namespace

U_GraphEdit::U_GraphEdit(const CString& yLabel, int layers, int sortLayers, int setting, const Colour& colour,
                         Changed changed)
    : m_yLabel(yLabel), m_layers(std::clamp(layers, 0, U_Graph::MAX_LAYERS)), m_sortLayers(sortLayers),
      m_colour(colour), m_setting(setting), m_changed(std::move(changed)) {}

void U_GraphEdit::setSamples(int samples) { m_samples = std::clamp(samples, MIN_SAMPLES, MAX_SAMPLES); }

void U_GraphEdit::addNode(const U_GraphEditNode& node) {
    for (const U_GraphEditNode& present : m_nodes)
        if (present.x >= node.x) {
            m_nodes.insertBefore(&present, node);
            return;
        }
    m_nodes.add(node);
}

void U_GraphEdit::clear() {
    m_nodes.clear();
    m_viewState1 = 0;
    m_viewState2 = -1;
    m_viewState3 = m_viewState4 = 1;
    m_viewState5 = 2;
    m_interpolation = CATMULL_ROM;
    m_viewState6 = 0;
    m_samples = 16;
    m_samplesLimited = false;
    if (m_changed)
        m_changed();
}

bool U_GraphEdit::scaleLayer(int layer, double factor) {
    bool changed = false;
    for (U_GraphEditNode& node : m_nodes) {
        float& value = node.values[static_cast<std::size_t>(layer)];
        const float scaled = limited(value * factor);
        changed = changed || scaled != value;
        value = scaled;
    }
    return changed;
}

float U_GraphEdit::evaluate(float x, int layer) const { return evaluateFrom(pieceAt(x, m_nodes.first()), x, layer); }

/// The first node from `from` on whose next one does not lie ahead of `x`, at most the last but one.
const U_GraphEditNode* U_GraphEdit::pieceAt(float x, const U_GraphEditNode* from) const {
    if (!from || from == m_nodes.last())
        return from;
    const U_GraphEditNode* next = m_nodes.next(from);
    while (next != m_nodes.last() && next->x < x) {
        from = next;
        next = m_nodes.next(from);
    }
    return from;
}

float U_GraphEdit::evaluateFrom(const U_GraphEditNode* node, float x, int layer) const {
    if (!node)
        return limited(0);
    const auto point = [at = static_cast<std::size_t>(layer)](const U_GraphEditNode* of) { return Point(*of, at); };
    const U_GraphEditNode* const end = m_nodes.next(node);
    if (!end)
        return limited(point(node).y);
    const Point p1 = point(node), p2 = point(end);
    const bool alone = m_nodes.count() == 2;
    const U_GraphEditNode* const before = m_nodes.prev(node);
    const U_GraphEditNode* const behind = m_nodes.next(end);
    const Piece piece{alone    ? p1.mirrored(p2)
                      : before ? point(before)
                               : p1,
                      p1, p2,
                      alone    ? p2.mirrored(p1)
                      : behind ? point(behind)
                               : p2};
    switch (m_interpolation) {
    case HERMITE:
        return limited(piece.hermite(x));
    case CATMULL_ROM:
        return limited(piece.catmullRom(x));
    default:
        return limited(0);
    }
}

/// The value within the y range, always finite.
float U_GraphEdit::limited(double value) const {
    double result = value >= m_yMin ? value : m_yMin;
    if (result > m_yMax)
        result = m_yMax;
    return std::abs(result) <= FLT_MAX ? static_cast<float>(result) : 0;
}

float U_GraphEdit::sampleX(int sample) const {
    if (m_samples == 1)
        return m_xMin;
    return m_xMin + static_cast<float>(sample) / static_cast<float>(m_samples - 1) * (m_xMax - m_xMin);
}

// The samples are taken from the smallest x on, so that one walk over the nodes serves them all.
U_Graph U_GraphEdit::sampled() const {
    const auto layers = static_cast<std::size_t>(m_layers), samples = static_cast<std::size_t>(m_samples);
    std::array<std::vector<float>, U_Graph::MAX_LAYERS> values;
    for (std::size_t layer = 0; layer < layers; ++layer)
        values[layer].resize(samples);
    const bool forward = m_xMin <= m_xMax;
    const U_GraphEditNode* node = m_nodes.first();
    for (int n = 0; n < m_samples; ++n) {
        const int sample = forward ? n : m_samples - 1 - n;
        const float x = sampleX(sample);
        node = pieceAt(x, node);
        std::array<float, U_Graph::MAX_LAYERS> here{};
        for (int layer = 0; layer < m_layers; ++layer)
            here[static_cast<std::size_t>(layer)] = evaluateFrom(node, x, layer);
        if (m_sortLayers)
            sortAscending(std::span(here).first(layers));
        for (std::size_t layer = 0; layer < layers; ++layer)
            values[layer][static_cast<std::size_t>(sample)] = here[layer];
    }
    U_Graph graph;
    graph.m_samples = m_samples;
    for (std::size_t layer = 0; layer < layers; ++layer)
        graph.m_layers.push_back(U_Graph::reduce(values[layer]));
    return graph;
}

// Version 3: int magic 0x71, int version, labels x and y, layers, sorting of the layers, view settings 1 to 5, x range,
//   y range, colour, interpolation, view setting 6, setting, samples, nodes, extra.
// Version 2: no samples.
// Version 1: neither view setting 2 nor the setting.

F_MemoryFile& operator<<(F_MemoryFile& file, const U_GraphEdit& graph) {
    file << int{GRAPH_MAGIC} << GRAPH_VERSION << graph.m_xLabel << graph.m_yLabel;
    file << graph.m_layers << graph.m_sortLayers;
    file << graph.m_viewState1 << graph.m_viewState2 << graph.m_viewState3 << graph.m_viewState4 << graph.m_viewState5;
    file << graph.m_xMin << graph.m_xMax << graph.m_yMin << graph.m_yMax;
    for (const unsigned long component : graph.m_colour)
        file << component;
    file << graph.m_interpolation << graph.m_viewState6 << graph.m_setting << graph.m_samples;
    graph.saveNodes(file);
    return file << graph.m_extra;
}

F_MemoryFile& operator>>(F_MemoryFile& file, U_GraphEdit& graph) {
    int magic = 0, version = 0, layers = 0;
    file >> magic >> version;
    if (version <= 0 || version > GRAPH_VERSION)
        return file;
    file >> graph.m_xLabel >> graph.m_yLabel >> layers >> graph.m_sortLayers;
    if (layers < 0 || layers > U_Graph::MAX_LAYERS)
        file.fail(formatText("A graph of %d layers", layers));
    graph.m_layers = layers;
    file >> graph.m_viewState1;
    if (version > 1)
        file >> graph.m_viewState2;
    file >> graph.m_viewState3 >> graph.m_viewState4 >> graph.m_viewState5;
    file >> graph.m_xMin >> graph.m_xMax >> graph.m_yMin >> graph.m_yMax;
    for (unsigned long& component : graph.m_colour)
        file >> component;
    file >> graph.m_interpolation >> graph.m_viewState6;
    if (version > 1)
        file >> graph.m_setting;
    if (version > 2) {
        int samples = 0;
        file >> samples;
        graph.setSamples(samples);
        graph.m_samplesLimited = graph.m_samples != samples;
    }
    graph.loadNodes(file);
    return file >> graph.m_extra;
}

// Unsigned count, the nodes.

void U_GraphEdit::saveNodes(F_MemoryFile& file) const {
    file.writeCount(static_cast<std::size_t>(m_nodes.count()));
    for (const U_GraphEditNode& node : m_nodes)
        file << node;
}

void U_GraphEdit::loadNodes(F_MemoryFile& file) {
    constexpr std::size_t LEAST_BYTES = 8; // magic and version
    m_nodes.clear();
    try {
        for (std::size_t count = file.readCount(LEAST_BYTES); count > 0; --count)
            file >> m_nodes.addNew();
    } catch (...) {
        m_nodes.clear();
        throw;
    }
}

// Version 1: int magic 0x70, int version, x, three values. Any other version holds no numbers.

F_MemoryFile& operator<<(F_MemoryFile& file, const U_GraphEditNode& node) {
    file << int{NODE_MAGIC} << NODE_VERSION << node.x;
    for (const float value : node.values)
        file << value;
    return file;
}

F_MemoryFile& operator>>(F_MemoryFile& file, U_GraphEditNode& node) {
    int magic = 0, version = 0;
    file >> magic >> version;
    if (version != NODE_VERSION)
        return file;
    file >> node.x;
    for (float& value : node.values)
        file >> value;
    return file;
}

} // namespace cairn
