#include "cairn/document/save_features.h"

#include "cairn/foundation/memory_file.h"

namespace cairn {

void CN_SaveFeatures::saveFeatures(F_MemoryFile& file) const {
    file << m_level << m_mesh << m_prefab << m_fsm << m_trigger << m_waypoint;
    file << m_jumppoint << m_enemy << m_dynLight << m_polyGroup << m_radiosityLight << m_portal;
}

void CN_SaveFeatures::loadFeatures(F_MemoryFile& file) {
    CN_SaveFeatures read;
    file >> read.m_level >> read.m_mesh >> read.m_prefab >> read.m_fsm >> read.m_trigger >> read.m_waypoint;
    file >> read.m_jumppoint >> read.m_enemy >> read.m_dynLight >> read.m_polyGroup;
    file >> read.m_radiosityLight >> read.m_portal;
    *this = read;
}

} // namespace cairn
