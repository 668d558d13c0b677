#include "cairn/entities/trimesh_parts.h"

#include "cairn/document/document.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/material_wrapper.h"
#include "cairn/materials/materials_category.h"

#include <limits>

namespace cairn {

// Version 1: place, second place, the colour from blue to red, the coordinates.

void CN_TMVertex::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_TMVERTEX_VERSION);
    file << position;
    file << secondPosition;
    file << color[2] << color[1] << color[0];
    file << uv;
    file.closeChunk();
}

void CN_TMVertex::load(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    in >> position;
    in >> secondPosition;
    if (!isFinite())
        in.fail("A vertex of a triangle mesh is not finite");
    in >> color[2] >> color[1] >> color[0];
    in >> uv;
    file.skipChunk();
}

// Versions:
//   2: six numbers are gone that followed the corners
//   1: the rest

void CN_TMTriangle::save(F_MemoryFile& file) const {
    const CN_MaterialsCategory* const category = m_material ? m_material->getParent() : nullptr;
    file.createChunk(0, CAIRN_TMTRIANGLE_VERSION);
    for (const int vertex : m_vertices)
        file << vertex;
    for (const M_Vector2Template<float>& uv : m_cornerUV)
        file << uv;
    file << (category ? category->name() : CString());
    file << (category ? m_material->name() : CString());
    file << m_extraValue;
    file.closeChunk();
}

bool CN_TMTriangle::load(F_MemoryFile& file) {
    constexpr int DROPPED_NUMBERS = 6;
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    for (int& vertex : m_vertices)
        in >> vertex;
    if (chunk.getVersion() <= 1)
        for (int i = 0, dropped = 0; i < DROPPED_NUMBERS; ++i)
            in >> dropped;
    for (M_Vector2Template<float>& uv : m_cornerUV)
        in >> uv;
    CString category, name;
    in >> category >> name;
    in >> m_extraValue;
    file.skipChunk();

    CN_Document* const document = m_parent ? m_parent->getDocument() : nullptr;
    if (!CN_Document::isAlive(document))
        return true;
    const CN_MaterialWrapper& materials = document->getMaterials();
    CN_Material* const material = materials.find(category, name);
    setMaterial(material ? material : materials.getDefaultMaterial());
    return material || name.view().empty();
}

void CN_TMTriangle::setMaterial(CN_Material* material) {
    if (material)
        material->incrementUseCount();
    if (m_material)
        m_material->decrementUseCount();
    m_material = material;
}

bool CN_TMTriangle::getCorners(Vector (&corners)[3]) const {
    if (!m_parent)
        return false;
    const std::vector<CN_TMVertex>& vertices = m_parent->getVertices();
    for (const int vertex : m_vertices)
        if (vertex < 0 || static_cast<std::size_t>(vertex) >= vertices.size())
            return false;
    for (int i = 0; i < 3; ++i)
        corners[i] = vertices[static_cast<std::size_t>(m_vertices[i])].position;
    return true;
}

void CN_TMTriangle::getCenter(Vector& center) const {
    Vector corners[3];
    if (getCorners(corners))
        center = m_parent->worldTransform((corners[0] + corners[1] + corners[2]) / 3);
}

void CN_TMTriangle::getNormal(Vector& normal) const {
    Vector corners[3];
    if (getCorners(corners))
        normal = (corners[1] - corners[0]).cross(corners[2] - corners[0]);
}

std::pair<int, int> CN_TMTriangle::getClosestEdge(const Vector& point) const {
    std::pair<int, int> closest(-1, -1);
    Vector corners[3];
    if (!getCorners(corners))
        return closest;
    for (Vector& corner : corners)
        corner = m_parent->worldTransform(corner);
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const Vector edge = corners[j] - corners[i];
        const double t = (point - corners[i]).dot(edge) / edge.lengthSquared();
        if (!(t >= 0 && t <= 1)) // an edge without length, too
            continue;
        const double distance = (corners[i] + edge * t - point).length();
        if (distance < least) {
            least = distance;
            closest = {i, j};
        }
    }
    return closest;
}

} // namespace cairn
