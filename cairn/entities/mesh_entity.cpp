#include "cairn/entities/mesh_entity.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"
#include "cairn/lighting/volume_lighting.h"

namespace cairn {

namespace {

constexpr int RECORD_CHUNK_ID = 1;

std::unique_ptr<CN_VolumeLighting> copyOf(const CN_VolumeLighting* lighting) {
    return lighting ? std::make_unique<CN_VolumeLighting>(*lighting) : nullptr;
}

} // namespace

CN_LevelEntityMesh::CN_LevelEntityMesh() : CN_Mesh(CN_KIND_MESH, 17, nullptr) {}

CN_LevelEntityMesh::CN_LevelEntityMesh(const CN_LevelEntityMesh& other)
    : CN_Mesh(other), m_volumeLighting(copyOf(other.getVolumeLighting())) {
    requestRenderer();
}

CN_LevelEntityMesh& CN_LevelEntityMesh::operator=(const CN_LevelEntityMesh& other) {
    if (this != &other) {
        CN_Mesh::operator=(other);
        m_volumeLighting = copyOf(other.getVolumeLighting());
        requestRenderer();
    }
    return *this;
}

CN_LevelEntityMesh::~CN_LevelEntityMesh() = default;

void CN_LevelEntityMesh::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createMeshRenderer(this));
}

CN_LevelEntity* CN_LevelEntityMesh::clone() { return new CN_LevelEntityMesh(*this); }

void CN_LevelEntityMesh::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_MeshACVisitor>(visitor, *this);
}

// Chunk 1, version 0: the mesh's record, whether there is volume lighting, the volume lighting. Before there was that
// chunk, the mesh's record stood alone, which begins with a chunk 0.

void CN_LevelEntityMesh::saveEntitySpecificData(F_MemoryFile& file) {
    const CN_VolumeLighting* const lighting = getVolumeLighting();
    const bool lit = lighting != nullptr;
    file.createChunk(RECORD_CHUNK_ID, CAIRN_LVL_ENTITY_MESH_VERSION);
    CN_Mesh::saveEntitySpecificData(file);
    file << lit;
    if (lit)
        lighting->save(file);
    file.closeChunk();
}

void CN_LevelEntityMesh::loadEntitySpecificData(F_MemoryFile& file) {
    std::unique_ptr<CN_VolumeLighting> lighting;
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (chunk.isValid() && chunk.getID() == RECORD_CHUNK_ID) {
        F_MemoryFile& in = chunk.getMemoryFile();
        CN_Mesh::loadEntitySpecificData(in);
        bool lit = false;
        in >> lit;
        if (lit) {
            lighting = std::make_unique<CN_VolumeLighting>();
            lighting->load(in);
        }
        file.skipChunk();
    } else {
        CN_Mesh::loadEntitySpecificData(file);
    }
    m_volumeLighting = std::move(lighting);
}

const CN_VolumeLighting* CN_LevelEntityMesh::getVolumeLighting() const {
    return m_volumeLighting && m_volumeLighting->getGridCount() > 0 ? m_volumeLighting.get() : nullptr;
}

void CN_LevelEntityMesh::replaceVolumeLighting(CN_VolumeLighting* lighting) {
    if (lighting != m_volumeLighting.get())
        m_volumeLighting.reset(lighting);
}

bool CN_LevelEntityMesh::isRoom() const {
    const CN_LevelEntity* const parent = getParent();
    return parent && !parent->getParent() && hasExits();
}

bool CN_LevelEntityMesh::onCanAdd(int entityId) { return CN_isChildOfMesh(entityId); }

} // namespace cairn
