#pragma once

#include "cairn/foundation/exception.h"

#include <cstddef>
#include <vector>

namespace cairn {

class CN_Lightmap;
class CN_LightmapCurve;
class F_MemoryFile;

/// The id of no lightmap. In memory a lightmap id never has more bits than these 32.
inline constexpr unsigned long NO_LIGHTMAP = 0xFFFFFFFFul;

/// The id as it is kept: -1 in any width is `NO_LIGHTMAP`. Throws an `F_Exception*` for any other number of more than 32
/// bits, which no file can hold.
inline unsigned long CN_lightmapID(unsigned long id) {
    if (id == ~0ul)
        return NO_LIGHTMAP;
    if (id > NO_LIGHTMAP)
        throw new F_Exception(formatText("No lightmap can have the id %lu", id));
    return id;
}

/// What a document knows of its lightmaps: looked up by id, counted by those who use them, stored with the level.
class CN_LightmapPoolInterface {
  public:
    virtual ~CN_LightmapPoolInterface() = default;
    /// Makes the pool ready for use and empty.
    virtual void construct() = 0;
    /// Deletes the lightmaps and takes the pool out of use; the curve keeps its values.
    virtual void destruct() = 0;
    /// True from `construct` to `destruct`; a new pool is not constructed yet.
    virtual bool isConstructed() const = 0;
    /// The lightmap of that id, or null.
    virtual const CN_Lightmap* getLightmap(unsigned long id) const = 0;
    virtual CN_Lightmap* getLightmap(unsigned long id) = 0;
    /// Counts one more user. Nothing for `NO_LIGHTMAP` and -1; an id that is not there throws an `F_Exception*`.
    virtual void referenceLightmap(unsigned long id) = 0;
    /// Counts one user less; the last one takes the lightmap with it. Nothing for `NO_LIGHTMAP`, for -1 and for a
    /// lightmap that has no user; an id that is not there throws an `F_Exception*`.
    virtual void dereferenceLightmap(unsigned long id) = 0;
    virtual const CN_LightmapCurve& getLightmapCurve() const = 0;
    virtual CN_LightmapCurve& getLightmapCurve() = 0;
    /// Adds the lightmaps of a record, without users, and takes over its curve where it has one. Throws an
    /// `F_Exception*` on damage and where an id is twice there or none; the pool is unchanged then.
    virtual void load(F_MemoryFile& file) = 0;
    /// Writes the lightmaps in the order of their ids, whether they have users or not, and the curve.
    virtual void save(F_MemoryFile& file) = 0;
    /// Drops lightmaps that nobody uses and says so in a message box.
    virtual void debugCheck() = 0;
    /// How many lightmaps there are, with users or without.
    virtual std::size_t getLightmapCount() const = 0;
    /// The ids of all lightmaps, ascending.
    virtual std::vector<unsigned long> getLightmapIDs() const = 0;
};

} // namespace cairn
