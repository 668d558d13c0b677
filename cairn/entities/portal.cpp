#include "cairn/entities/portal.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/visitors.h"
#include "cairn/foundation/system.h"
#include "cairn/geometry/mesh/mesh.h"

#include <cstdint>

namespace cairn {

namespace {

/// An address as the log shows it: its lower half.
unsigned int shown(const void* address) { return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(address)); }

} // namespace

CN_LevelEntityPortal::CN_LevelEntityPortal() : CN_PolygonNode(CN_KIND_PORTAL, 5, "PortalNode polyidx") {}

CN_LevelEntityPortal::CN_LevelEntityPortal(const CN_LevelEntityPortal& other)
    : CN_PolygonNode(other), m_ignoreInGIS(other.m_ignoreInGIS), m_alwaysClosed(other.m_alwaysClosed) {
    requestRenderer();
}

CN_LevelEntityPortal& CN_LevelEntityPortal::operator=(const CN_LevelEntityPortal& other) {
    if (this != &other) {
        CN_PolygonNode::operator=(other);
        m_ignoreInGIS = other.m_ignoreInGIS;
        m_alwaysClosed = other.m_alwaysClosed;
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityPortal::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createPortalRenderer(this));
}

CN_LevelEntity* CN_LevelEntityPortal::clone() { return new CN_LevelEntityPortal(*this); }

void CN_LevelEntityPortal::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PortalACVisitor>(visitor, *this);
}

// Versions:
//   3: always closed
//   2: ignored in GIS
//   1: the polygon's index

void CN_LevelEntityPortal::saveEntitySpecificData(F_MemoryFile& file) {
    const unsigned int index = findRecordIndex();
    file.createChunk(0, CAIRN_LVL_ENTITY_PORTAL_VERSION);
    file << index;
    file << m_ignoreInGIS;
    file << m_alwaysClosed;
    file.closeChunk();
}

void CN_LevelEntityPortal::loadEntitySpecificData(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    unsigned int index = 0;
    bool ignoreInGIS = false, alwaysClosed = false;
    in >> index;
    if (chunk.getVersion() > 1)
        in >> ignoreInGIS;
    if (chunk.getVersion() > 2)
        in >> alwaysClosed;
    file.skipChunk();
    setPolygon(nullptr);
    setPolygonIndex(index);
    m_ignoreInGIS = ignoreInGIS;
    m_alwaysClosed = alwaysClosed;
}

void CN_LevelEntityPortal::generatePolygonIndicesFromPointers() {
    CN_PolygonNode::generatePolygonIndicesFromPointers();
    const auto* const mesh = dynamic_cast<const CN_Mesh*>(getParent());
    F_System::verbose(
        "generatePolygonIndicesFromPointers 0x%08X : mesh 0x%08X polygon 0x%08X index 0x%08X (size 0x%08X)",
        shown(this), shown(mesh), shown(getPortalPolygon()), getPolygonIndex(),
        mesh ? static_cast<unsigned int>(mesh->getPolygonList().count()) : 0u);
}

bool CN_LevelEntityPortal::onCanAdd(int) { return false; }

} // namespace cairn
