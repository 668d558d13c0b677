#include "cairn/lighting/lightmap_curve.h"

#include "cairn/foundation/memory_file.h"

namespace cairn {

void CN_LightmapCurve::set(float middle, float outputMin, float outputMax, float equalization) {
    m_middle = middle;
    m_outputMin = outputMin;
    m_outputMax = outputMax;
    m_equalization = equalization;
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
