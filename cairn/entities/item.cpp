#include "cairn/entities/item.h"

#include "cairn/document/shared_db.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityItem::CN_LevelEntityItem() : CN_UISphereEntity(CN_KIND_ITEM, 14) { initializeMembers(); }

CN_LevelEntityItem::CN_LevelEntityItem(const CN_LevelEntityItem& other) : CN_UISphereEntity(other) {
    requestSphereRenderer();
}

CN_LevelEntityItem& CN_LevelEntityItem::operator=(const CN_LevelEntityItem& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityItem::initializeMembers() { setRadius(CN_SMALL_SPHERE_RADIUS); }

CN_LevelEntity* CN_LevelEntityItem::clone() { return new CN_LevelEntityItem(*this); }

void CN_LevelEntityItem::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_ItemACVisitor>(visitor, *this);
}

void CN_LevelEntityItem::loadEntitySpecificData(F_MemoryFile& file) {
    CN_UISphereEntity::loadEntitySpecificData(file);
    setRadius(CN_SMALL_SPHERE_RADIUS);
}

I_Color CN_LevelEntityItem::getColor() { return I_Color(255, 255, 0); }

bool CN_LevelEntityItem::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

void CN_LevelEntityItem::getItemsArray(CStringArray& names) const {
    if (const CN_SharedDB* const database = CN_SharedDB::instance())
        for (const istring& name : database->getLevelItems())
            names.Add(toCString(name));
}

} // namespace cairn
