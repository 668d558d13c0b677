#pragma once

#include <cstddef>
#include <vector>

namespace cairn {

class F_MemoryFile;

/// A curve as a play-back reads it: evenly spaced samples of a byte each, a row of them a layer.
class U_Graph {
  public:
    static constexpr int MAX_LAYERS = 3;

    /// A graph without layers.
    U_Graph() = default;

    int getLayers() const { return static_cast<int>(m_layers.size()); }
    /// Samples of each layer.
    int getSamples() const { return m_samples; }
    /// Writes the value of each layer at `t`, linear between its samples; `out` has room for `MAX_LAYERS` values. `t`
    /// is limited to 0 to 1, and no number is 0. A value beyond `float` is 0, and so is that of a layer without samples.
    void sampleLayers(float* out, float t) const;

    /// Reads the record that `operator<<` writes. Throws an `F_Exception*` on damage; the
    /// graph stays as it was then.
    friend F_MemoryFile& operator>>(F_MemoryFile& file, U_Graph& graph);
    friend F_MemoryFile& operator<<(F_MemoryFile& file, const U_Graph& graph);

  private:
    friend class U_GraphEdit;

    /// The samples of one value: sample times step plus minimum.
    struct Layer {
        float minimum = 0;
        float step = 0; ///< of a byte's unit
        std::vector<unsigned char> samples;
    };

    static Layer reduce(const std::vector<float>& values);
    static Layer loadLayer(F_MemoryFile& file, int samples);
    static void saveLayer(F_MemoryFile& file, const Layer& layer);

    int m_samples = 0;           ///< of each layer
    std::vector<Layer> m_layers; ///< at most MAX_LAYERS
};

} // namespace cairn
