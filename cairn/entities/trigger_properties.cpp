#include "cairn/entities/trigger_properties.h"

#include "cairn/entities/record_parts.h"
#include "cairn/foundation/memory_file.h"

namespace cairn {

bool CN_TriggerProperties::operator==(const CN_TriggerProperties& o) const {
    return playerTrigger == o.playerTrigger && useTrigger == o.useTrigger && enemyTrigger == o.enemyTrigger &&
           bulletTrigger == o.bulletTrigger && lookAtTrigger == o.lookAtTrigger &&
           visibilityTrigger == o.visibilityTrigger && radius == o.radius && animationName == o.animationName;
}

void CN_TriggerProperties::initialize() { *this = CN_TriggerProperties(); }

// Versions:
//   3: the visibility trigger
//   2: the name of the animation
//   1: the rest

void CN_TriggerProperties::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_LVL_ENTITY_TRIGGER_VERSION);
    file << playerTrigger << useTrigger << enemyTrigger << bulletTrigger << lookAtTrigger;
    file << visibilityTrigger;
    file << animationName;
    file.closeChunk();
}

void CN_TriggerProperties::load(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    const int version = chunk.getVersion();

    CN_TriggerProperties read(*this);
    in >> read.playerTrigger >> read.useTrigger >> read.enemyTrigger >> read.bulletTrigger >> read.lookAtTrigger;
    if (version > 2)
        in >> read.visibilityTrigger;
    if (version > 1)
        read.animationName = CN_readUseAnimName(in);
    file.skipChunk();
    *this = read;
}

} // namespace cairn
