#pragma once

#include "cairn/lighting/lightmap_curve.h"
#include "cairn/lighting/lightmap_pool_interface.h"

namespace cairn {

/// Version of the chunk that holds the pool.
inline constexpr int CAIRN_LIGHTMAP_POOL_VERSION = 1;

/// Holds the lightmaps of a document, and the curve they are shown with. It holds no lightmap yet: this version keeps
/// the section of the level file in its place and refuses a file that has lightmaps.
class CN_LightmapPool : public CN_LightmapPoolInterface {
  public:
    CN_LightmapPool() = default;
    CN_LightmapPool(const CN_LightmapPool&) = delete;
    CN_LightmapPool& operator=(const CN_LightmapPool&) = delete;

    void construct() override;
    void destruct() override;
    bool isConstructed() const override { return m_constructed; }
    const CN_Lightmap* getLightmap(unsigned long) const override { return nullptr; }
    CN_Lightmap* getLightmap(unsigned long) override { return nullptr; }
    void referenceLightmap(unsigned long id) override;
    void dereferenceLightmap(unsigned long id) override;
    const CN_LightmapCurve& getLightmapCurve() const override { return m_curve; }
    CN_LightmapCurve& getLightmapCurve() override { return m_curve; }
    /// Reads what `save` wrote, and the older form without a chunk, which has no curve: it keeps its values then.
    /// Throws where there is a lightmap.
    void load(F_MemoryFile& file) override;
    void save(F_MemoryFile& file) override;
    void debugCheck() override {}

  private:
    bool m_constructed = true; ///< in use
    CN_LightmapCurve m_curve;
};

} // namespace cairn
