#pragma once

#include "cairn/animation/graph.h"
#include "cairn/containers/dl_list.h"
#include "cairn/platform/string.h"

#include <array>
#include <functional>

namespace cairn {

/// A node of an edited curve. Plain: it begins as zeros in a list.
struct U_GraphEditNode {
    float x;
    float values[U_Graph::MAX_LAYERS]; ///< a value each layer

    bool operator==(const U_GraphEditNode&) const = default;
};

F_MemoryFile& operator>>(F_MemoryFile& file, U_GraphEditNode& node);
F_MemoryFile& operator<<(F_MemoryFile& file, const U_GraphEditNode& node);

/// A curve of up to three layers as a host edits it: nodes in ascending x with a cubic between them.
class U_GraphEdit {
  public:
    /// Called after `clear`.
    using Changed = std::function<void()>;
    using Nodes = F_DLList<U_GraphEditNode>;
    /// Red, green, blue.
    using Colour = std::array<unsigned long, 3>;
    enum Interpolation : int { HERMITE = 0, CATMULL_ROM = 1 };

    /// Samples of the reduced form: limits of what can be set or read.
    static constexpr int MIN_SAMPLES = 1, MAX_SAMPLES = 1024;

    /// A curve without nodes. `layers` is limited to 0 to 3, `changed` may be empty.
    U_GraphEdit(const CString& yLabel, int layers, int sortLayers, int setting, const Colour& colour, Changed changed);

    const CString& getXLabel() const { return m_xLabel; }
    const CString& getYLabel() const { return m_yLabel; }
    int getLayers() const { return m_layers; }
    /// Not 0: a sample's values stand in ascending order over the layers.
    int getSortLayers() const { return m_sortLayers; }
    const Colour& getColour() const { return m_colour; }
    float getXMin() const { return m_xMin; }
    float getXMax() const { return m_xMax; }
    void setXRange(float min, float max) { m_xMin = min, m_xMax = max; }
    float getYMin() const { return m_yMin; }
    float getYMax() const { return m_yMax; }
    /// The limits of what `evaluate` gives; the nodes stay.
    void setYRange(float min, float max) { m_yMin = min, m_yMax = max; }
    int getInterpolation() const { return m_interpolation; }
    /// One of `Interpolation`; any other makes the curve 0 throughout.
    void setInterpolation(int interpolation) { m_interpolation = interpolation; }
    int getSamples() const { return m_samples; }
    /// Sets how many samples the reduced form has, within `MIN_SAMPLES` to `MAX_SAMPLES`.
    void setSamples(int samples);
    /// True where the record read last has a number of samples beyond those limits; `clear` makes it false.
    bool wereSamplesLimited() const { return m_samplesLimited; }

    const Nodes& getNodes() const { return m_nodes; }
    /// A host that changes nodes keeps them in ascending x.
    Nodes& accessNodes() { return m_nodes; }
    /// Puts the node ahead of the first one whose x is at least as large, or at the end.
    void addNode(const U_GraphEditNode& node);
    /// Empties the nodes, sets view, interpolation and samples back and tells the host. Labels, layers, ranges and
    /// settings stay.
    void clear();
    /// Multiplies the layer's value (0 to 2) of every node and limits it to the y range. True where a value changed.
    bool scaleLayer(int layer, double factor);
    /// The curve at `x` in a layer (0 to 2), within the y range: 0 nodes give 0, one node its value, and beyond the last
    /// node the last piece goes on. What is no number is the range's minimum, or 0. Walks the nodes up to `x`.
    float evaluate(float x, int layer) const;

    /// The curve in evenly spaced samples over the x range: what a play-back reads.
    U_Graph sampled() const;

    /// Reads versions 1 to 3. Of any other version only the head is taken and the curve stays as it is. Throws an
    /// `F_Exception*` on damage: what was read until then stays, but nodes cut short are dropped.
    friend F_MemoryFile& operator>>(F_MemoryFile& file, U_GraphEdit& graph);
    friend F_MemoryFile& operator<<(F_MemoryFile& file, const U_GraphEdit& graph);

  private:
    const U_GraphEditNode* pieceAt(float x, const U_GraphEditNode* from) const;
    float evaluateFrom(const U_GraphEditNode* node, float x, int layer) const;
    float sampleX(int sample) const;
    float limited(double value) const;
    void loadNodes(F_MemoryFile& file);
    void saveNodes(F_MemoryFile& file) const;

    CString m_xLabel = "t"; ///< horizontal axis
    CString m_yLabel;       ///< vertical axis
    int m_layers;           ///< values of a node that count
    int m_sortLayers;       ///< not 0: samples are sorted over the layers
    Colour m_colour;        ///< of the curve
    int m_viewState1 = 0;   ///< a view setting of the host, as are the others
    int m_viewState2 = -1;
    int m_viewState3 = 1;
    int m_viewState4 = 1;
    int m_viewState5 = 2;
    float m_xMin = 0, m_xMax = 1;      ///< horizontal range
    float m_yMin = 0, m_yMax = 1;      ///< vertical range, which limits every value
    int m_interpolation = CATMULL_ROM; ///< between the nodes
    int m_viewState6 = 0;
    int m_setting;                 ///< kept and stored, no meaning here
    int m_samples = 16;            ///< of the reduced form
    bool m_samplesLimited = false; ///< the record had another number
    Changed m_changed;             ///< may be empty
    Nodes m_nodes;                 ///< in ascending x
    unsigned int m_extra = 0;      ///< kept and stored, no meaning here
};

} // namespace cairn
