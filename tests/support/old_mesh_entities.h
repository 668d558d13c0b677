#pragma once

#include "tests/support/old_records.h"

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

/// The newest own record of an entity as it is made (an enemy's of another radius); nothing for the kinds that have none
/// and for those whose records have writers in old_records.h.
void writeOwnRecordOfNew(F_MemoryFile& file, int kind);

} // namespace cairn::test
