#pragma once

#include "tests/support/old_records.h"

#include <filesystem>
#include <string>
#include <vector>

/// Writers of what mesh entities and the nodes below them store, in all its forms. Every number is another than the
/// default, whether the version stores it or not.
namespace cairn::test {

/// The settings of a mesh: in a mesh of version 5 or lower bare, from 6 on in a chunk of `version`.
void writeOldMeshProperties(F_MemoryFile& file, int meshVersion, int version);
/// The chunk of a trigger's settings.
void writeOldTriggerProperties(F_MemoryFile& file, int version);
void writeOldPortal(F_MemoryFile& file, int version, unsigned int polygon);
void writeOldPolygonGroup(F_MemoryFile& file, int version, const std::vector<unsigned int>& polygons);
/// A mesh of four vertices and a triangle over the first three, with the lightmap 9 and settings of the newest version
/// but that only collision A is off.
void writeOldTriMesh(F_MemoryFile& file, int version, int triangleVersion);

/// The newest own record of an entity as it is made (an enemy's of another radius); nothing for the kinds that have none
/// and for those whose records have writers in old_records.h.
void writeOwnRecordOfNew(F_MemoryFile& file, int kind);

/// A form of which one file is stored in tests/data/records.
struct StoredMeshEntity {
    std::string name; ///< of the file, without its ending
    int version;
    Bytes bytes;
};
/// Each form of one record: "mesh_properties" (the version is that of the chunk, or 0 - the mesh's version), "trigger",
/// "portal" (on the polygon 1), "polygroup" (of the polygons 2 and 0), "trimesh", "tmtriangle" (a triangle mesh with
/// triangles of the version).
std::vector<StoredMeshEntity> storedMeshEntities(const std::string& record);
std::filesystem::path storedMeshEntityPath(const std::string& name);

} // namespace cairn::test
