#pragma once

#include "tests/support/old_records.h"

#include <string>

/// Writers of the own records of characters, state machine entities and prefabs, in all their forms.
namespace cairn::test {

/// The chunk with the name in the content database and the radius.
void writeSphere(F_MemoryFile& file, const std::string& sharedDBName, double radius);
/// The sphere's record and, above version 0, a chunk.
void writeOldEnemy(F_MemoryFile& file, int version, const std::string& group, const std::string& animation);
void writeOldPlayer(F_MemoryFile& file, const std::string& group);
void writeOldFSMEntity(F_MemoryFile& file, double radius);
void writeOldPrefab(F_MemoryFile& file, int version, const std::string& type, bool editable, double radius);
/// The chunk without a meaning that contents had.
void writeOldPrefabContent(F_MemoryFile& file);

} // namespace cairn::test
