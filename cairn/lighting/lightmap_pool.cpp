#include "cairn/lighting/lightmap_pool.h"

#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"

namespace cairn {

namespace {

void requireNoLightmap(unsigned long id) {
    if ((id & NO_LIGHTMAP) != NO_LIGHTMAP)
        throw new F_Exception(formatText("The pool has no lightmap of the id %lu", id));
}

void readNoLightmaps(F_MemoryFile& file) {
    int count = 0;
    file >> count;
    if (count != 0)
        file.fail(formatText("The level has %d lightmaps; lightmaps are not supported by this version", count));
}

} // namespace

void CN_LightmapPool::construct() {
    destruct();
    m_constructed = true;
}

void CN_LightmapPool::destruct() { m_constructed = false; }

void CN_LightmapPool::referenceLightmap(unsigned long id) { requireNoLightmap(id); }

void CN_LightmapPool::dereferenceLightmap(unsigned long id) { requireNoLightmap(id); }

// Version 1: int count, the lightmaps in the order of their ids, the curve.
// Without a chunk: int count, the lightmaps; no curve.

void CN_LightmapPool::save(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_LIGHTMAP_POOL_VERSION);
    file << 0;
    m_curve.save(file);
    file.closeChunk();
}

void CN_LightmapPool::load(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (!chunk.isValid()) {
        readNoLightmaps(file);
        return;
    }
    readNoLightmaps(chunk.getMemoryFile());
    m_curve.load(chunk.getMemoryFile());
    file.skipChunk();
}

} // namespace cairn
