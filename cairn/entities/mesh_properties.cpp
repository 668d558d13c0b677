#include "cairn/entities/mesh_properties.h"

#include "cairn/document/shared_db.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/memory_file.h"

namespace cairn {

namespace {

/// True if the entity stands below a mesh of either kind.
bool hasMeshAncestor(const CN_LevelEntity& entity) {
    for (const CN_LevelEntity* at = entity.getParent(); at; at = at->getParent())
        if (dynamic_cast<const CN_MeshInterface*>(at))
            return true;
    return false;
}

bool isRoom(const CN_LevelEntity& entity) {
    const auto* const mesh =
        entity.getEntityId() == CN_KIND_MESH ? dynamic_cast<const CN_LevelEntityMesh*>(&entity) : nullptr;
    return mesh && mesh->isRoom();
}

} // namespace

bool CN_MeshProperties::operator==(const CN_MeshProperties& o) const {
    return lightDynamic == o.lightDynamic && meshFlagA == o.meshFlagA && meshFlagB == o.meshFlagB &&
           collideA == o.collideA && collideB == o.collideB && collideC == o.collideC && meshFlagD == o.meshFlagD &&
           meshFlagC == o.meshFlagC && meshFlagE == o.meshFlagE && meshFlagF == o.meshFlagF &&
           meshFlagG == o.meshFlagG && meshFlagH == o.meshFlagH && meshFlagI == o.meshFlagI &&
           secondaryName == o.secondaryName && physicalMaterial == o.physicalMaterial &&
           boundingBoxHull == o.boundingBoxHull;
}

// The chunk:
//   6: the bounding box as hull
//   5: flag I
//   4: the physical material
//   3: flag H
//   2: flag G
//   1: the rest
// The mesh's record around it:
//   6: the settings have a chunk; before they stand bare, and end with the secondary name
//   5: the secondary name
//   4: flags E and F
//   2: more than `lightDynamic`

void CN_MeshProperties::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_LVL_MESHPROPERTIES_VERSION);
    file << collideC << lightDynamic << meshFlagA << meshFlagB << collideB << meshFlagC << collideA << meshFlagD;
    file << meshFlagE << meshFlagF;
    file << secondaryName;
    file << meshFlagG;
    file << meshFlagH;
    file << physicalMaterial;
    file << meshFlagI;
    file << boundingBoxHull;
    file.closeChunk();
}

void CN_MeshProperties::load(F_MemoryFile& file, int meshVersion) {
    F_MemoryFile::Chunk chunk;
    if (meshVersion > 5)
        file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.isValid() ? chunk.getMemoryFile() : file;
    const int version = chunk.isValid() ? chunk.getVersion() : 0;

    CN_MeshProperties read;
    if (meshVersion > 1)
        in >> read.collideC;
    in >> read.lightDynamic;
    if (meshVersion > 1)
        in >> read.meshFlagA >> read.meshFlagB >> read.collideB >> read.meshFlagC >> read.collideA >> read.meshFlagD;
    if (meshVersion > 3)
        in >> read.meshFlagE >> read.meshFlagF;
    if (meshVersion > 4)
        in >> read.secondaryName;
    if (version > 1)
        in >> read.meshFlagG;
    if (version > 2)
        in >> read.meshFlagH;
    if (version > 3)
        in >> read.physicalMaterial;
    if (version > 4)
        in >> read.meshFlagI;
    if (version > 5)
        in >> read.boundingBoxHull;
    if (chunk.isValid())
        file.skipChunk();
    *this = read;
    if (physicalMaterial.empty())
        setDefaultPhysicalMaterial();
}

void CN_MeshProperties::initStaticMeshCollisionFlags() { collideB = collideC = collideA; }

void CN_MeshProperties::setDefaultPhysicalMaterial() {
    if (const CN_SharedDB* const database = CN_SharedDB::instance())
        database->getDefaultPhysicalMaterial(physicalMaterial);
}

void CN_MeshProperties::setAndCheckPhysicalMaterial() {
    if (physicalMaterial.empty())
        setDefaultPhysicalMaterial();
    else if (CN_SharedDB* const database = CN_SharedDB::instance())
        database->getCheckedSharedDBName(CN_KIND_MESH, physicalMaterial, physicalMaterial);
}

bool CN_MeshProperties::getBoundingBoxHull(const CN_LevelEntity* entity) const {
    if (entity && (!collideA || !collideC || hasMeshAncestor(*entity) || isRoom(*entity)))
        return false;
    return boundingBoxHull;
}

} // namespace cairn
