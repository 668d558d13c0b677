#include "cairn/entities/flare.h"

#include "cairn/document/shared_db.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityFlare::CN_LevelEntityFlare() : CN_UISphereEntity(CN_KIND_FLARE, 21) { initializeMembers(); }

CN_LevelEntityFlare::CN_LevelEntityFlare(const CN_LevelEntityFlare& other) : CN_UISphereEntity(other) {
    requestSphereRenderer();
}

CN_LevelEntityFlare& CN_LevelEntityFlare::operator=(const CN_LevelEntityFlare& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityFlare::initializeMembers() { setRadius(0.25); }

CN_LevelEntity* CN_LevelEntityFlare::clone() { return new CN_LevelEntityFlare(*this); }

void CN_LevelEntityFlare::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_FlareACVisitor>(visitor, *this);
}

// Version 1: an empty chunk behind the record of the sphere.

void CN_LevelEntityFlare::saveEntitySpecificData(F_MemoryFile& file) {
    CN_UISphereEntity::saveEntitySpecificData(file);
    file.createChunk(0, CAIRN_LVL_ENTITY_FLARE_VERSION);
    file.closeChunk();
}

void CN_LevelEntityFlare::loadEntitySpecificData(F_MemoryFile& file) {
    CN_UISphereEntity::loadEntitySpecificData(file);
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    file.skipChunk();
}

I_Color CN_LevelEntityFlare::getColor() { return I_Color(240, 240, 130); }

bool CN_LevelEntityFlare::onCanAdd(int) { return false; }

void CN_LevelEntityFlare::getFlareArray(CStringArray& names) const {
    if (const CN_SharedDB* const database = CN_SharedDB::instance())
        for (const istring& name : database->getFlares())
            names.Add(toCString(name));
}

} // namespace cairn
