#include "cairn/geometry/polygon/polygon.h"

#include "cairn/entities/radiosity_light.h"

namespace cairn {

CN_LevelEntityRadiosityLight* CN_Polygon::getRadiosityLight() const {
    return CN_LevelEntity::isAlive(m_attachedEntity) ? dynamic_cast<CN_LevelEntityRadiosityLight*>(m_attachedEntity)
                                                     : nullptr;
}

} // namespace cairn
