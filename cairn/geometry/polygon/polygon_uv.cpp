#include "cairn/document/document.h"
#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/materials/material.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Coordinate = M_Vector2Template<float>;
using PlanarSpace = CN_Polygon::PlanarSpace;

constexpr double EDGE_ON = 1.5533430344777779; // 89 degrees: a space that the polygon faces away from is not mapped

/// How far coordinates reach; without any it is the extent of a space that has none.
struct Extent {
    Coordinate min = CN_UVSpace().min, max = CN_UVSpace().max;

    void widen(const Coordinate& c) {
        min = {std::min(min.x, c.x), std::min(min.y, c.y)};
        max = {std::max(max.x, c.x), std::max(max.y, c.y)};
    }
    /// The whole number of repeats that the middle is away from 0.
    M_Vector2Template<double> center() const { return {centerOf(min.x, max.x), centerOf(min.y, max.y)}; }

  private:
    static double centerOf(float low, float high) {
        const double a = static_cast<double>(low), b = static_cast<double>(high);
        return std::floor(a + (b - a) / 2);
    }
};

Coordinate toCoordinate(const M_Vector2Template<double>& uv) { return {CN_toFloat(uv.x), CN_toFloat(uv.y)}; }

Coordinate moved(const Coordinate& c, const M_Vector2Template<double>& by) {
    return toCoordinate({static_cast<double>(c.x) - by.x, static_cast<double>(c.y) - by.y});
}

/// The space with its axes at the length that one repeat of a detail texture takes; as it is for a scale that gives none.
PlanarSpace detailSpace(const PlanarSpace& space, double scale, const Vector& origin) {
    PlanarSpace detail = space;
    M_Matrix3Template<double> matrix = space.getMatrix();
    for (int axis = 0; axis < 2; ++axis)
        matrix.row(axis) *= 1 / scale / matrix.row(axis).length();
    if (matrix.isInvertible())
        detail.setMatrix(matrix);
    detail.setPoint(origin);
    return detail;
}

} // namespace

const CN_Polygon::PlanarSpace& CN_Polygon::getUVSpace(int key) const {
    static const PlanarSpace none;
    const CN_UVSpace* space = m_uvSpaces.find(key);
    if (!space)
        space = m_uvSpaces.find(0);
    return space ? space->space : none;
}

CN_Polygon::PlanarSpace& CN_Polygon::editUVSpace(int key) {
    markUVDirty();
    m_uvCalculated = false;
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

void CN_Polygon::calculateUVCoordinates() {
    const int key = getUVSpaceID();
    CN_UVSpace& shown = m_uvSpaces[key];
    Extent extent, lightmapExtent;
    shown.min = extent.min;
    shown.max = extent.max;
    m_uvCalculated = false;
    markUVDirty();
    if (m_triangleList.empty())
        return;

    std::optional<PlanarSpace> detail;
    if (m_material && m_material->getBlendType() == CN_Material::BLEND_DETAIL && !m_edgeList.empty())
        detail = detailSpace(getUVSpace(0), m_material->getDetailScale(), m_edgeList.first()->getLocal(0));
    for (CN_Triangle& triangle : m_triangleList) {
        const std::size_t corners = triangle.getVertices().size();
        triangle.accessUV().resize(corners);
        triangle.accessLightmapUV().resize(corners);
        triangle.accessDetailUV().resize(detail ? corners : 0);
        for (std::size_t i = 0; i < corners; ++i) {
            const Vector& place = triangle.getVertexLocal(static_cast<int>(i));
            extent.widen(triangle.accessUV()[i] = toCoordinate(shown.space.toUV(place)));
            lightmapExtent.widen(triangle.accessLightmapUV()[i] = m_lightmapMapping.getRenderingUV(place));
            if (detail)
                triangle.accessDetailUV()[i] = toCoordinate(detail->toUV(place));
        }
        if (!detail)
            triangle.accessDetailUV().shrink_to_fit();
    }

    // Whole repeats change nothing to be seen, and small numbers lose less in single precision.
    const M_Vector2Template<double> center = extent.center(), lightmapCenter = lightmapExtent.center();
    shown.space.setOffset(shown.space.getOffset() - center);
    for (CN_Triangle& triangle : m_triangleList) {
        for (Coordinate& uv : triangle.accessUV())
            uv = moved(uv, center);
        for (Coordinate& uv : triangle.accessLightmapUV())
            uv = moved(uv, lightmapCenter);
    }
    shown.min = moved(extent.min, center);
    shown.max = moved(extent.max, center);
    m_uvCalculated = true;
}

void CN_Polygon::planarMap(const PlanarSpace& space) {
    const CN_Mesh& mesh = requireMesh();
    Matrix matrix = space.getMatrix() * mesh.getInvWorldRotation();
    const Vector along = matrix.row(2);
    const double turned = std::acos(std::clamp(m_normal.dot(along.normalized()), -1.0, 1.0));
    if (!(turned < EDGE_ON))
        return;
    Vector origin = mesh.worldToObject(space.getPoint());
    projectAlong(origin, along);
    for (int axis = 0; axis < 2; ++axis)
        projectAlongGeneral(matrix.row(axis), along, m_normal, {});
    matrix.row(2) = m_normal;
    PlanarSpace mapped = space;
    mapped.setMatrix(matrix);
    mapped.setPoint(origin);
    editUVSpace(getUVSpaceID()) = mapped;
}

void CN_Polygon::copyProperties(const CN_Polygon* source, bool local) {
    if (source == this)
        return;
    UVSpaces spaces = source->m_uvSpaces;
    if (local) {
        m_normal = source->m_normal;
        m_worldNormal = source->m_worldNormal;
        m_pointOnPlane = source->m_pointOnPlane;
        m_referenceNormal = source->m_referenceNormal;
    } else {
        const CN_Mesh& mesh = source->requireMesh();
        spaces.forEach([&mesh](int, CN_UVSpace& space) {
            space.space.setMatrix(space.space.getMatrix() * mesh.getWorldRotation());
            space.space.setPoint(mesh.worldTransform(space.space.getPoint()));
        });
        m_normal = source->m_worldNormal;
        m_pointOnPlane = mesh.worldTransform(source->m_pointOnPlane);
        m_referenceNormal = source->m_referenceNormal * mesh.getWorldRotation();
    }
    m_uvSpaces = std::move(spaces);
    m_uvCalculated = false;
    markUVDirty();
    setMaterial(source->m_material);
    m_polyMode = source->m_polyMode;
    setExitDestination(source->m_exitDestination);
    m_attachedEntity = source->m_attachedEntity;
    m_attachedNumber = source->m_attachedNumber;
    m_polygonIndex = source->m_polygonIndex;
    m_numHoles = source->m_numHoles;
    m_numVertices = source->m_numVertices;
}

} // namespace cairn
