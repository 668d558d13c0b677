#include "cairn/entities/record_parts.h"

#include "cairn/document/document.h"
#include "cairn/document/shared_db.h"
#include "cairn/foundation/memory_file.h"

namespace cairn {

istring CN_readUseAnimName(F_MemoryFile& file) {
    string name;
    file >> name;
    if (CN_SharedDB* const database = CN_SharedDB::instance())
        database->getCheckedUseAnimName(name, name);
    return toIString(name);
}

void CN_enterCharacterGroup(CN_Document* document, const istring& group) {
    if (!group.empty() && CN_Document::isAlive(document))
        document->accessAICharacterGroups().emplace(group, 0);
}

} // namespace cairn
