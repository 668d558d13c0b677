#include "cairn/document/document.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/materials/material.h"

namespace cairn {

const CN_Polygon::PlanarSpace& CN_Polygon::getUVSpace(int key) const {
    static const PlanarSpace none;
    const CN_UVSpace* space = m_uvSpaces.find(key);
    if (!space)
        space = m_uvSpaces.find(0);
    return space ? space->space : none;
}

CN_Polygon::PlanarSpace& CN_Polygon::editUVSpace(int key) {
    markUVDirty();
    return m_uvSpaces[key].space;
}

void CN_Polygon::addUVSpace(int key) {
    if (m_uvSpaces.contains(key))
        return;
    const CN_UVSpace base = m_uvSpaces[0];
    m_uvSpaces[key] = base;
}

int CN_Polygon::getUVSpaceID() const {
    const CN_Document* const document = getDocument();
    const bool showsLightLayer = m_material && m_material->hasLightLayer() && document &&
                                 document->getPreferences().getRenderingMode() == RENDER_LIGHT_LAYER;
    return showsLightLayer && hasUVSpace(2) ? 2 : 0;
}

} // namespace cairn
