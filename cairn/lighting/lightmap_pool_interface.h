#pragma once

#include <cstddef>
#include <vector>

namespace cairn {

class CN_Lightmap;
class CN_LightmapCurve;
class F_MemoryFile;

/// The id of no lightmap. In memory a lightmap id never has more bits than these 32.
inline constexpr unsigned long NO_LIGHTMAP = 0xFFFFFFFFul;

/// What a document knows of its lightmaps: looked up by id, counted by those who use them, stored with the level.
class CN_LightmapPoolInterface {
  public:
    virtual ~CN_LightmapPoolInterface() = default;
    /// Makes the pool ready for use and empty.
    virtual void construct() = 0;
    /// Deletes the lightmaps and takes the pool out of use; the curve keeps its values.
    virtual void destruct() = 0;
    virtual bool isConstructed() const = 0;
    /// The lightmap of that id, or null.
    virtual const CN_Lightmap* getLightmap(unsigned long id) const = 0;
    virtual CN_Lightmap* getLightmap(unsigned long id) = 0;
    /// Counts one more user. Nothing for `NO_LIGHTMAP`; an id that is not there throws.
    virtual void referenceLightmap(unsigned long id) = 0;
    /// Counts one user less; the last one takes the lightmap with it. Nothing for `NO_LIGHTMAP` and for a lightmap
    /// that has no user; an id that is not there throws.
    virtual void dereferenceLightmap(unsigned long id) = 0;
    virtual const CN_LightmapCurve& getLightmapCurve() const = 0;
    virtual CN_LightmapCurve& getLightmapCurve() = 0;
    virtual void load(F_MemoryFile& file) = 0;
    virtual void save(F_MemoryFile& file) = 0;
    /// Drops lightmaps that nobody uses and says so in a message box.
    virtual void debugCheck() = 0;
    virtual std::size_t getLightmapCount() const = 0;
    /// The ids of all lightmaps, ascending.
    virtual std::vector<unsigned long> getLightmapIDs() const = 0;
};

} // namespace cairn
