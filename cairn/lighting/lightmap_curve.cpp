#include "cairn/lighting/lightmap_curve.h"

#include "cairn/foundation/memory_file.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/materials/material.h"

#include <cmath>

namespace cairn {

namespace {

constexpr float MIDDLE_OUTPUT = 128.0f; ///< where the straight part of the curve ends
constexpr float FULL = 255.0f;          ///< a channel at its brightest

float numberOr0(float channel) { return std::isnan(channel) ? 0.0f : channel; }

} // namespace

CN_LightmapCurve::CN_LightmapCurve() { set(m_middle, m_outputMin, m_outputMax, m_equalization); }

void CN_LightmapCurve::set(float middle, float outputMin, float outputMax, float equalization) {
    m_middle = middle;
    m_outputMin = outputMin;
    m_outputMax = outputMax;
    m_equalization = equalization;
    m_exponent = m_factor = 0.0f;
    if (outputMax > MIDDLE_OUTPUT) {
        const double slope = (double{MIDDLE_OUTPUT} - outputMin) / middle;
        m_factor = MIDDLE_OUTPUT - outputMax;
        m_exponent = static_cast<float>(slope / m_factor);
    }
}

float CN_LightmapCurve::mapColorExponential(float x) const {
    double y = 0;
    if (x < m_middle)
        y = double{x} / m_middle * (double{MIDDLE_OUTPUT} - m_outputMin) + m_outputMin;
    else {
        // Counted from the middle, so that nothing overflows where the curve is steep.
        const double beyond = double{x} - m_middle;
        y = m_outputMax;
        if (m_factor != 0.0f)
            y += m_factor * (beyond > 0 ? std::exp(beyond * m_exponent) : 1.0);
    }
    const double output = static_cast<float>(y);
    return static_cast<float>(output * m_scale * m_equalization + (1.0 - m_equalization) * output);
}

void CN_LightmapCurve::mapColor(I_Color& out, const II::ColorF& in) const {
    I_FColor color(numberOr0(in.red), numberOr0(in.green), numberOr0(in.blue));
    color.RGBtoHSV();
    float& saturation = color.green;
    float& value = color.blue;
    value = mapColorExponential(value * FULL) / FULL;
    saturation = saturation > 1.0f ? 1.0f : saturation < 0.0f ? 0.0f : saturation;
    if (value > m_outputMax / FULL)
        value = m_outputMax / FULL;
    color.HSVtoRGB();
    ColorMap::mapColor(out, {color.red, color.green, color.blue});
}

float CN_LightmapCurve::getEqualization(const I_FColor& average) {
    const double luminance = (0.3 * average.red + 0.59 * average.green + 0.11 * average.blue) / double{FULL};
    return luminance > 0.5 ? static_cast<float>(1.0 - (luminance - 0.5)) : 1.0f;
}

float CN_LightmapCurve::getEqualization(const CN_Polygon* polygon) {
    const CN_Material* const material = polygon->getMaterial();
    return material ? getEqualization(material->getAverageValue()) : 1.0f;
}

// Version 1: middle, output minimum, output maximum, equalization.

void CN_LightmapCurve::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_LIGHTMAP_CURVE_VERSION);
    file << m_middle << m_outputMin << m_outputMax << m_equalization;
    file.closeChunk();
}

void CN_LightmapCurve::load(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    float middle = 0, outputMin = 0, outputMax = 0, equalization = 0;
    chunk.getMemoryFile() >> middle >> outputMin >> outputMax >> equalization;
    file.skipChunk();
    set(middle, outputMin, outputMax, equalization);
}

} // namespace cairn
