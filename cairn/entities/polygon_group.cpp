#include "cairn/entities/polygon_group.h"

#include "cairn/entities/visitors.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>

namespace cairn {

CN_LevelEntityPolygonGroup::CN_LevelEntityPolygonGroup() : CN_VirtualNode(CN_KIND_POLYGON_GROUP, 4) {}

CN_LevelEntityPolygonGroup::CN_LevelEntityPolygonGroup(const CN_LevelEntityPolygonGroup& other)
    : CN_VirtualNode(other), m_polygonIndices(other.m_polygonIndices), m_properties(other.m_properties) {}

CN_LevelEntityPolygonGroup& CN_LevelEntityPolygonGroup::operator=(const CN_LevelEntityPolygonGroup& other) {
    if (this != &other) {
        CN_VirtualNode::operator=(other);
        m_polygonIndices = other.m_polygonIndices;
        m_properties = other.m_properties;
    }
    return *this;
}

CN_LevelEntityPolygonGroup::~CN_LevelEntityPolygonGroup() { removeAll(); }

CN_LevelEntity* CN_LevelEntityPolygonGroup::clone() { return new CN_LevelEntityPolygonGroup(*this); }

void CN_LevelEntityPolygonGroup::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PolygonGroupACVisitor>(visitor, *this);
}

// Versions:
//   2: the extra flag
//   1: the rest

void CN_LevelEntityPolygonGroup::saveEntitySpecificData(F_MemoryFile& file) {
    std::vector<int> places = findWrittenPlaces({m_polygons.begin(), m_polygons.end()});
    std::erase(places, -1);
    std::sort(places.begin(), places.end());

    file.createChunk(0, CAIRN_LVL_ENTITY_POLYGROUP_VERSION);
    file.writeCount(places.size());
    for (const int place : places)
        file << static_cast<unsigned int>(place);
    file << m_properties.smooth;
    file << m_properties.smoothGeometry;
    file << m_properties.maxAngle;
    file << m_properties.edgeLengthLimit;
    file << m_properties.freezeLightmaps;
    file << m_properties.extraFlag;
    file.closeChunk();
}

void CN_LevelEntityPolygonGroup::loadEntitySpecificData(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    CN_PolygroupProperties read;
    std::list<unsigned int> indices(in.readCount(sizeof(unsigned int)));
    for (unsigned int& index : indices)
        in >> index;
    in >> read.smooth;
    in >> read.smoothGeometry;
    in >> read.maxAngle;
    in >> read.edgeLengthLimit;
    in >> read.freezeLightmaps;
    if (chunk.getVersion() > 1)
        in >> read.extraFlag;
    file.skipChunk();
    removeAll();
    m_polygonIndices.swap(indices);
    m_properties = read;
}

void CN_LevelEntityPolygonGroup::generatePointersFromPolygonIndices() {
    CN_Mesh::PolygonList& polygons = accessParentMesh()->accessPolygonList();
    const auto count = static_cast<unsigned int>(polygons.count());
    for (const unsigned int index : m_polygonIndices) {
        if (index >= count)
            endOnMissingPolygon("Polygroup polyidx", index);
        addPolygon(&polygons[static_cast<int>(index)]);
    }
    m_polygonIndices.clear();
}

void CN_LevelEntityPolygonGroup::generatePolygonIndicesFromPointers() {
    const CN_Mesh* const mesh = accessParentMesh();
    std::vector<unsigned int> indices;
    for (const CN_Polygon* const polygon : m_polygons)
        if (const int index = mesh->findPolygonIndex(polygon); index >= 0)
            indices.push_back(static_cast<unsigned int>(index));
    std::sort(indices.begin(), indices.end());
    m_polygonIndices.assign(indices.begin(), indices.end());
}

void CN_LevelEntityPolygonGroup::addPolygon(CN_Polygon* polygon) {
    const bool isNew = m_polygons.insert(polygon).second;
    try {
        polygon->joinGroup(this);
    } catch (...) {
        if (isNew)
            m_polygons.erase(polygon); // it would not tell the group when it dies
        throw;
    }
}

void CN_LevelEntityPolygonGroup::removePolygon(CN_Polygon* polygon) {
    if (m_polygons.erase(polygon) > 0)
        polygon->leaveGroup(this);
}

void CN_LevelEntityPolygonGroup::removeAll() {
    for (CN_Polygon* const polygon : m_polygons)
        polygon->leaveGroup(this);
    m_polygons.clear();
}

bool CN_LevelEntityPolygonGroup::mayStandBelow(const CN_LevelEntity& parent) const {
    const auto* const mesh = dynamic_cast<const CN_Mesh*>(&parent);
    return std::all_of(m_polygons.begin(), m_polygons.end(),
                       [mesh](const CN_Polygon* polygon) { return polygon->getParent() == mesh; });
}

bool CN_LevelEntityPolygonGroup::onCanAdd(int) { return false; }

} // namespace cairn
