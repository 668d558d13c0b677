#include "cairn/lighting/lightmap_pool.h"

#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/platform/handlers.h"

#include <limits>

namespace cairn {

namespace {

constexpr std::size_t LEAST_LIGHTMAP_BYTES = 12; ///< an id and the size of a lightmap without pixels

bool isNone(unsigned long id) { return CN_lightmapID(id) == NO_LIGHTMAP; }

} // namespace

void CN_LightmapPool::construct() {
    destruct();
    m_constructed = true;
}

void CN_LightmapPool::destruct() {
    m_lightmaps.clear();
    m_constructed = false;
}

const CN_Lightmap* CN_LightmapPool::getLightmap(unsigned long id) const {
    const auto found = m_lightmaps.find(id);
    return found == m_lightmaps.end() ? nullptr : found->second.get();
}

CN_Lightmap* CN_LightmapPool::getLightmap(unsigned long id) {
    return const_cast<CN_Lightmap*>(std::as_const(*this).getLightmap(id));
}

std::vector<unsigned long> CN_LightmapPool::getLightmapIDs() const {
    std::vector<unsigned long> ids;
    ids.reserve(m_lightmaps.size());
    for (const auto& [id, lightmap] : m_lightmaps)
        ids.push_back(id);
    return ids;
}

CN_Lightmap& CN_LightmapPool::requireLightmap(unsigned long id) {
    CN_Lightmap* const lightmap = getLightmap(id);
    if (!lightmap)
        throw new F_Exception(formatText("The pool has no lightmap of the id %lu", id));
    return *lightmap;
}

void CN_LightmapPool::referenceLightmap(unsigned long id) {
    if (!isNone(id))
        requireLightmap(id).incrementRefCount();
}

void CN_LightmapPool::dereferenceLightmap(unsigned long id) {
    if (isNone(id))
        return;
    CN_Lightmap& lightmap = requireLightmap(id);
    if (lightmap.getRefCount() == 0)
        return;
    lightmap.decrementRefCount();
    if (lightmap.getRefCount() == 0)
        deleteLightmap(id);
}

CN_Lightmap* CN_LightmapPool::allocateNew(unsigned long id) {
    if (isNone(id))
        throw new F_Exception(formatText("No lightmap can have the id %lu", id));
    const auto [place, isNew] = m_lightmaps.try_emplace(id);
    if (!isNew)
        throw new F_Exception(formatText("The pool has a lightmap of the id %lu already", id));
    try {
        place->second = std::make_unique<CN_Lightmap>(id);
    } catch (...) {
        m_lightmaps.erase(place);
        throw;
    }
    return place->second.get();
}

unsigned long CN_LightmapPool::getNextFreeID() const {
    const unsigned long next = m_lightmaps.empty() ? 0 : m_lightmaps.rbegin()->first + 1;
    if (!isNone(next))
        return next;
    unsigned long free = 0;
    for (const auto& [id, lightmap] : m_lightmaps) {
        if (id != free)
            break;
        ++free;
    }
    return free;
}

void CN_LightmapPool::setDirtyFlags() {
    for (const auto& [id, lightmap] : m_lightmaps)
        lightmap->setDirty();
}

// Version 1: int count, id and lightmap each, in the order of the ids, the curve.
// Without a chunk: int count, id and lightmap each; no curve.

void CN_LightmapPool::save(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_LIGHTMAP_POOL_VERSION);
    file << static_cast<int>(m_lightmaps.size());
    for (const auto& [id, lightmap] : m_lightmaps) {
        file << id;
        lightmap->save(file);
    }
    m_curve.save(file);
    file.closeChunk();
}

void CN_LightmapPool::load(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (!chunk.isValid()) {
        add(file, readLightmaps(file));
        return;
    }
    F_MemoryFile& body = chunk.getMemoryFile();
    Lightmaps lightmaps = readLightmaps(body);
    CN_LightmapCurve curve = m_curve;
    curve.load(body);
    file.skipChunk();
    add(file, std::move(lightmaps));
    m_curve = curve;
}

/// Ids that stand twice in the record are refused here, those that the pool has already in `add`.
CN_LightmapPool::Lightmaps CN_LightmapPool::readLightmaps(F_MemoryFile& file) {
    Lightmaps lightmaps;
    int count = 0;
    file >> count;
    if (count < 0 || static_cast<std::size_t>(count) > file.getRemaining() / LEAST_LIGHTMAP_BYTES)
        file.fail(formatText("%d lightmaps do not fit into the %zu bytes that are left", count, file.getRemaining()));
    for (int i = 0; i < count; ++i) {
        unsigned long id = NO_LIGHTMAP;
        file >> id;
        if (isNone(id))
            file.fail("A lightmap has the id that stands for none");
        auto lightmap = std::make_unique<CN_Lightmap>(id);
        lightmap->load(file);
        if (!lightmaps.try_emplace(id, std::move(lightmap)).second)
            file.fail(formatText("There are two lightmaps of the id %lu", id));
    }
    return lightmaps;
}

void CN_LightmapPool::add(F_MemoryFile& file, Lightmaps&& lightmaps) {
    for (const auto& [id, lightmap] : lightmaps)
        if (m_lightmaps.contains(id))
            file.fail(formatText("The pool has a lightmap of the id %lu already", id));
    m_lightmaps.merge(lightmaps);
}

void CN_LightmapPool::debugCheck() {
    string unused;
    for (auto at = m_lightmaps.begin(); at != m_lightmaps.end();) {
        if (at->second->getRefCount() > 0) {
            ++at;
            continue;
        }
        unused += formatText(unused.empty() ? "%d" : ", %d", static_cast<int>(at->first));
        at = m_lightmaps.erase(at);
    }
    if (!unused.empty())
        AfxMessageBox(CString("REPORT THIS TO PROGRAMMERS: Lightmaps with zero refcount loaded: " + unused));
}

} // namespace cairn
