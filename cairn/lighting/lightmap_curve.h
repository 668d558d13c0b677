#pragma once

namespace cairn {

class F_MemoryFile;

/// Version of the chunk that holds a curve.
inline constexpr int CAIRN_LIGHTMAP_CURVE_VERSION = 1;

/// The tone curve that turns stored light into colours for display: its settings, as a level stores them.
class CN_LightmapCurve {
  public:
    /// The input at which the straight part of the curve ends.
    float getMiddle() const { return m_middle; }
    /// The output at the input 0.
    float getOutputMin() const { return m_outputMin; }
    /// The limit of the output.
    float getOutputMax() const { return m_outputMax; }
    /// The weight of the equalization, 0 for none.
    float getEqualization() const { return m_equalization; }
    void set(float middle, float outputMin, float outputMax, float equalization);

    void save(F_MemoryFile& file) const;
    void load(F_MemoryFile& file);

  private:
    float m_middle = 128.0f;
    float m_outputMin = 0.0f;
    float m_outputMax = 255.0f;
    float m_equalization = 0.0f;
};

} // namespace cairn
