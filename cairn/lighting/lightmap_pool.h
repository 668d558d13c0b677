#pragma once

#include "cairn/lighting/lightmap_curve.h"
#include "cairn/lighting/lightmap_pool_interface.h"

#include <map>
#include <memory>

namespace cairn {

/// Version of the chunk that holds the pool.
inline constexpr int CAIRN_LIGHTMAP_POOL_VERSION = 1;

/// Holds the lightmaps of a document, and the curve they are shown with.
class CN_LightmapPool : public CN_LightmapPoolInterface {
  public:
    CN_LightmapPool() = default;
    CN_LightmapPool(const CN_LightmapPool&) = delete;
    CN_LightmapPool& operator=(const CN_LightmapPool&) = delete;

    void construct() override;
    void destruct() override;
    bool isConstructed() const override { return m_constructed; }
    const CN_Lightmap* getLightmap(unsigned long id) const override;
    CN_Lightmap* getLightmap(unsigned long id) override;
    void referenceLightmap(unsigned long id) override;
    void dereferenceLightmap(unsigned long id) override;
    const CN_LightmapCurve& getLightmapCurve() const override { return m_curve; }
    CN_LightmapCurve& getLightmapCurve() override { return m_curve; }
    /// Adds what `save` wrote, or the older form without a chunk, which has no curve: it keeps its values then. No
    /// lightmap has a user yet. Throws an `F_Exception*` where an id is twice there or none; the pool is unchanged then.
    void load(F_MemoryFile& file) override;
    void save(F_MemoryFile& file) override;
    void debugCheck() override;
    std::size_t getLightmapCount() const override { return m_lightmaps.size(); }
    std::vector<unsigned long> getLightmapIDs() const override;

    /// A new lightmap without pixels and users, owned by the pool. Throws an `F_Exception*` where the id is in use or
    /// none.
    CN_Lightmap* allocateNew(unsigned long id);
    /// Deletes a lightmap, whoever still uses it; nothing for an id that is not there.
    void deleteLightmap(unsigned long id) { m_lightmaps.erase(id); }
    /// The largest id and 1, 0 for an empty pool; where that is no id any more, the lowest one that is free.
    unsigned long getNextFreeID() const;
    /// Has all render textures made anew when they are next asked for: the curve changed.
    void setDirtyFlags();

  private:
    using Lightmaps = std::map<unsigned long, std::unique_ptr<CN_Lightmap>>;

    static Lightmaps readLightmaps(F_MemoryFile& file);
    CN_Lightmap& requireLightmap(unsigned long id);
    void add(F_MemoryFile& file, Lightmaps&& lightmaps);

    bool m_constructed = false; ///< in use
    Lightmaps m_lightmaps;      ///< by id
    CN_LightmapCurve m_curve;
};

} // namespace cairn
