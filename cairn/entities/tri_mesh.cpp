#include "cairn/entities/tri_mesh.h"

#include "cairn/document/document.h"
#include "cairn/document/host_interfaces.h"
#include "cairn/entities/finite_box.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/materials/material.h"
#include "cairn/platform/handlers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace cairn {

namespace {

/// The least a vertex and a triangle take in a file.
constexpr std::size_t MIN_VERTEX_RECORD = F_MemoryFile::CHUNK_HEADER_SIZE + 67;
constexpr std::size_t MIN_TRIANGLE_RECORD = F_MemoryFile::CHUNK_HEADER_SIZE + 48;

/// The settings of a triangle mesh have their chunk in every version: they stand as in a mesh of this one.
constexpr int VERSION_OF_PROPERTIES = 6;

/// A ray whose direction makes a smaller determinant with the edges of a triangle runs along its plane.
constexpr double PARALLEL_TOLERANCE = 1e-6;

/// Where a ray meets a triangle: the ray's parameter, and the weights of the second and the third corner.
struct TriangleHit {
    double t = 0, u = 0, v = 0;
};

/// The algorithm of Möller and Trumbore ("Fast, Minimum Storage Ray/Triangle Intersection", 1997). With `cull` only the
/// side is met that a loop over the corners runs counter-clockwise on. Comparisons are such that NaN is a miss.
bool meetTriangle(TriangleHit& hit, const M_Vector3Template<double> (&corners)[3],
                  const M_Vector3Template<double>& origin, const M_Vector3Template<double>& direction, bool cull) {
    const auto edge1 = corners[1] - corners[0], edge2 = corners[2] - corners[0];
    const auto p = direction.cross(edge2);
    const double determinant = edge1.dot(p);
    if (!((cull ? determinant : std::abs(determinant)) >= PARALLEL_TOLERANCE))
        return false;
    // A culled triangle is tested ahead of the division.
    const double limit = cull ? determinant : 1, scale = cull ? 1 : 1 / determinant;
    const auto fromCorner = origin - corners[0];
    hit.u = fromCorner.dot(p) * scale;
    if (!(hit.u >= 0 && hit.u <= limit))
        return false;
    const auto q = fromCorner.cross(edge1);
    hit.v = direction.dot(q) * scale;
    if (!(hit.v >= 0 && hit.u + hit.v <= limit))
        return false;
    hit.t = edge2.dot(q) * scale;
    if (cull) {
        hit.t /= determinant;
        hit.u /= determinant;
        hit.v /= determinant;
    }
    return true;
}

} // namespace

CN_LevelEntityTriMesh::CN_LevelEntityTriMesh() : CN_LevelEntity(CN_KIND_TRIMESH, 18) {}

CN_LevelEntityTriMesh::CN_LevelEntityTriMesh(const CN_LevelEntityTriMesh& other)
    : CN_LevelEntity(other), CN_MovableMesh(other) {
    copyFields(other);
    requestRenderer();
}

CN_LevelEntityTriMesh& CN_LevelEntityTriMesh::operator=(const CN_LevelEntityTriMesh& other) {
    if (this != &other) {
        CN_LevelEntity::operator=(other);
        CN_MovableMesh::operator=(other);
        dropTriangles();
        copyFields(other);
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityTriMesh::copyFields(const CN_LevelEntityTriMesh& other) {
    m_localMin = other.m_localMin;
    m_localMax = other.m_localMax;
    m_sourceObjectName = other.m_sourceObjectName;
    m_sourceFileName = other.m_sourceFileName;
    m_vertices = other.m_vertices;
    m_triangles = other.m_triangles;
    m_geometryDirty = true;
    m_lightmapID = other.m_lightmapID;
    m_lastHitTriangle = -1;
    for (CN_TMTriangle& triangle : m_triangles)
        triangle.setParent(this);
    updateMaterialRefCounts(true);
}

void CN_LevelEntityTriMesh::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createTriMeshRenderer(this));
}

CN_LevelEntity* CN_LevelEntityTriMesh::clone() { return new CN_LevelEntityTriMesh(*this); }

void CN_LevelEntityTriMesh::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_TriMeshACVisitor>(visitor, *this);
}

// Versions:
//   3: as written; before, a mesh that stands still has the one collision flag for all three
//   2: as written; before, a mesh that stands still is gameplay critical
//   1: the rest

void CN_LevelEntityTriMesh::saveEntitySpecificData(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_LVL_ENTITY_TRIMESH_VERSION);
    m_meshProperties.save(file);
    file << m_sourceObjectName;
    file << m_sourceFileName;
    file << m_dynamic;
    if (m_dynamic)
        m_animation.saveAnimations(file);
    file.writeCount(m_vertices.size());
    for (const CN_TMVertex& vertex : m_vertices)
        vertex.save(file);
    file.writeCount(m_triangles.size());
    for (const CN_TMTriangle& triangle : m_triangles)
        triangle.save(file);
    file << m_lightmapID;
    file.closeChunk();
}

void CN_LevelEntityTriMesh::loadEntitySpecificData(F_MemoryFile& file) {
    dropTriangles();
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    m_meshProperties.load(in, VERSION_OF_PROPERTIES);
    in >> m_sourceObjectName;
    in >> m_sourceFileName;
    in >> m_dynamic;
    if (m_dynamic) {
        m_animation.loadAnimations(in);
        if (const string repairs = m_animation.describeLoadRepairs(); !repairs.empty())
            reportRepair(repairs);
        m_meshProperties.setAndCheckPhysicalMaterial();
    } else {
        m_animation = CN_Animation();
        m_meshProperties.physicalMaterial.clear();
    }
    m_geometryDirty = true;
    m_vertices.resize(in.readCount(MIN_VERTEX_RECORD));
    for (CN_TMVertex& vertex : m_vertices)
        vertex.load(in);
    m_triangles.resize(in.readCount(MIN_TRIANGLE_RECORD));
    std::size_t withoutMaterial = 0;
    for (CN_TMTriangle& triangle : m_triangles) {
        triangle.setParent(this);
        if (!triangle.load(in))
            ++withoutMaterial;
    }
    if (withoutMaterial > 0)
        reportRepair(
            formatText("%zu triangles name a material that is not there: they have the default one", withoutMaterial));
    in >> m_lightmapID;
    if (CN_Polygon::s_bLightmapIDsAreValidAtLoadTime)
        referenceLightmap();

    if (chunk.getVersion() <= 1 && !m_dynamic)
        m_generalProperties.setGameplayCritical(true);
    if (chunk.getVersion() <= 2 && !m_dynamic)
        m_meshProperties.initStaticMeshCollisionFlags();
    file.skipChunk();
}

/// Tells the document of what the load has mended.
void CN_LevelEntityTriMesh::reportRepair(const string& text) const {
    if (CN_Document* const document = getDocument(); CN_Document::isAlive(document))
        document->accessLoadReport().add("repaired", this, -1, text);
}

/// Counts the lightmap. A number that the pool lacks is kept: it may be another file's.
void CN_LevelEntityTriMesh::referenceLightmap() const {
    CN_Document* const document = getDocument();
    CN_LightmapPoolInterface* const pool = CN_Document::isAlive(document) ? document->accessLightmaps() : nullptr;
    if (!pool || m_lightmapID == NO_LIGHTMAP)
        return;
    if (pool->getLightmap(m_lightmapID))
        pool->referenceLightmap(m_lightmapID);
    else
        writeVerbose(fmt::format("The triangle mesh \"{}\" has the lightmap {}, which is not there\n", getName().view(),
                                 m_lightmapID));
}

string CN_LevelEntityTriMesh::findRecordFault() const {
    for (std::size_t i = 0; i < m_vertices.size(); ++i)
        if (!m_vertices[i].isFinite())
            return string(fmt::format("its vertex {} is not finite", i));
    return m_dynamic ? m_animation.findRecordFault() : string();
}

// Keyframes stand in the parent's space, so that a point of the mesh must land where it did at each of them.
void CN_LevelEntityTriMesh::changeSpaceExplicit(const M_Matrix4x3Template<double>& m) {
    const M_Matrix4x3Template<double> fromOwn = M_Matrix4x3Template(m_rotation, m_position).inverse();
    const Matrix toNew = m.rotation.inverse();
    if (!toNew.isFinite() || (movesByKeyframes() && !fromOwn.isFinite()))
        return;
    const Vector offset = m_position - m.translation;
    for (CN_TMVertex& vertex : m_vertices)
        for (Vector* const v : {&vertex.position, &vertex.secondPosition})
            *v = (*v * m_rotation + offset) * toNew;
    moveOriginOfKeyframes(m * fromOwn);
    CN_LevelEntity::changeSpaceExplicit(m);
    handleOwnHierarchy();
    calculateBoundingBox();
    setGeometryDirty(true);
}

bool CN_LevelEntityTriMesh::intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction,
                                         bool cull, bool local, CN_RayFilter filter) {
    double entry = 0;
    if (!isVisible() || !rayToBoundingVolume(&entry, origin, direction, local) || !(entry <= distance))
        return false;
    const Vector from = local ? origin : worldToObject(origin);
    const Vector along = local ? direction : vectorWorldToObject(direction);
    bool met = false;
    for (std::size_t i = 0; i < m_triangles.size(); ++i) {
        Vector corners[3];
        TriangleHit hit;
        if ((filter && filter(nullptr, m_triangles[i].getMaterial(), m_dynamic)) ||
            !m_triangles[i].getCorners(corners) || !meetTriangle(hit, corners, from, along, cull))
            continue;
        if (!(hit.t > 0 && hit.t < distance))
            continue;
        met = true;
        distance = hit.t;
        const Vector at = corners[0] * (1 - hit.u - hit.v) + corners[1] * hit.u + corners[2] * hit.v;
        point = local ? at : worldTransform(at);
        m_lastHitTriangle = static_cast<int>(i);
    }
    return met;
}

const CN_TMTriangle* CN_LevelEntityTriMesh::getLastHitTriangle() const {
    const bool there = m_lastHitTriangle >= 0 && static_cast<std::size_t>(m_lastHitTriangle) < m_triangles.size();
    return there ? &m_triangles[static_cast<std::size_t>(m_lastHitTriangle)] : nullptr;
}

void CN_LevelEntityTriMesh::invalidateObject(bool deep) {
    if (deep)
        m_geometryDirty = true;
    CN_LevelEntity::invalidateObject(deep);
}

void CN_LevelEntityTriMesh::createFSM() {
    CN_LevelEntity::createFSM();
    if (isDynamic())
        m_fsm->createDynamicMeshHandlers();
}

void CN_LevelEntityTriMesh::calculateBoundingBox() {
    m_boundingMin = m_localMin = Vector(CN_UNSET_BOUND, CN_UNSET_BOUND, CN_UNSET_BOUND);
    m_boundingMax = m_localMax = -m_localMin;
    double radius = 0;
    for (const CN_TMVertex& vertex : m_vertices) {
        checkBoundingBox(CN_finite(worldTransform(vertex.position)), m_boundingMin, m_boundingMax);
        checkBoundingBox(vertex.position, m_localMin, m_localMax);
        radius = std::max(radius, vertex.position.length());
    }
    m_boundingRadius = static_cast<float>(std::min<double>(radius, std::numeric_limits<float>::max()));
}

void CN_LevelEntityTriMesh::updateMaterialRefCounts(bool add) {
    for (const CN_TMTriangle& triangle : m_triangles)
        if (CN_Material* const material = triangle.getMaterial()) {
            if (add)
                material->incrementUseCount();
            else
                material->decrementUseCount();
        }
}

void CN_LevelEntityTriMesh::dropTriangles() {
    updateMaterialRefCounts(false);
    m_triangles.clear();
}

void CN_LevelEntityTriMesh::discardGeometry(bool withTriangles) {
    m_vertices.clear();
    if (withTriangles)
        dropTriangles();
    m_geometryDirty = true;
    requestRenderer();
}

bool CN_LevelEntityTriMesh::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

} // namespace cairn
