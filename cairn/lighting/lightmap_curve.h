#pragma once

#include "cairn/lighting/lightmap.h"

namespace cairn {

class CN_Polygon;

/// Version of the chunk that holds a curve.
inline constexpr int CAIRN_LIGHTMAP_CURVE_VERSION = 1;

/// The tone curve that turns stored light into colours for display. From the output minimum it rises in a straight line
/// to 128 at the middle, goes on from there with the same slope and approaches the output maximum.
class CN_LightmapCurve : public CN_Lightmap::ColorMap {
  public:
    CN_LightmapCurve();

    /// The input at which the straight part of the curve ends.
    float getMiddle() const { return m_middle; }
    /// The output at the input 0.
    float getOutputMin() const { return m_outputMin; }
    /// The limit of the output; at 128 or less the curve jumps to it at the middle.
    float getOutputMax() const { return m_outputMax; }
    /// The weight of the scale, 0 for none.
    float getEqualization() const { return m_equalization; }
    /// Sets all of these, on a scale of 0 to 255 but for the equalization, a share of 0 to 1, and works out the part of the
    /// curve above the middle. Any numbers are taken as they are; the scale stays.
    void set(float middle, float outputMin, float outputMax, float equalization);
    /// What the output is multiplied by, as far as the equalization says: the caller's `getEqualization` of the surface
    /// that is shown. Not stored, and settable on a curve that is only shown with; 1 at first.
    void setScale(float scale) const { m_scale = scale; }

    /// The output for an input level.
    float mapColorExponential(float x) const;
    /// Maps the colour's value, limits it to the output maximum and the saturation to 1, and writes red, green and blue
    /// of `out`, truncated; alpha stays. A channel that is NaN counts as 0, and any number ends in 0 to 255.
    void mapColor(I_Color& out, const II::ColorF& in) const override;

    /// How much light a surface of that average colour needs against others: 1 up to a luminance of a half, then less,
    /// a half for white.
    static float getEqualization(const I_FColor& average);
    /// The same for the polygon's material, of the mean of its last icon; 1 for a polygon without a material.
    static float getEqualization(const CN_Polygon* polygon);

    /// Writes what `set` took; the scale is not stored.
    void save(F_MemoryFile& file) const;
    /// Reads what `save` wrote and sets the curve by it. Throws an `F_Exception*` on damage; the curve stays as it was
    /// then.
    void load(F_MemoryFile& file);

  private:
    float m_middle = 128.0f;
    float m_outputMin = 0.0f;
    float m_outputMax = 255.0f;
    float m_equalization = 0.0f;
    mutable float m_scale = 1.0f; ///< weighed by the equalization
    float m_exponent; ///< derived: of the curve above the middle, for each level of input; 0 without a curve
    float m_factor;   ///< derived: what the output at the middle lacks to its maximum, negative; 0 without
};

} // namespace cairn
