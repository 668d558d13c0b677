#include "cairn/entities/virtual_node.h"

#include "cairn/foundation/exception.h"
#include "cairn/foundation/immortal.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/platform/handlers.h"

#include <algorithm>
#include <unordered_map>

namespace cairn {

namespace {

using StandingNodes = std::unordered_multimap<const CN_Polygon*, CN_PolygonNode*>;

/// Every node that stands on a polygon. A polygon knows one of them at most, and a dead one must leave none behind. Never
/// destroyed: prototypes of nodes die at the very end of the process.
StandingNodes& standingNodes() {
    static F_Immortal<StandingNodes> nodes;
    return nodes.get();
}

} // namespace

bool CN_VirtualNode::isLeftOut(const CN_LevelEntity* entity) {
    const int id = entity ? entity->getEntityId() : -1;
    if (id < CN_KIND_POLYGON_GROUP || id > CN_KIND_PORTAL)
        return false;
    const auto* const node = dynamic_cast<const CN_VirtualNode*>(entity);
    return node && !node->isStorable() && dynamic_cast<const CN_Mesh*>(node->getParent());
}

void CN_VirtualNode::forgetPolygon(const CN_Polygon* polygon) {
    StandingNodes& nodes = standingNodes();
    if (nodes.empty())
        return;
    const auto [first, last] = nodes.equal_range(polygon);
    for (auto it = first; it != last; ++it)
        it->second->m_polygon = nullptr;
    nodes.erase(first, last);
}

CN_VirtualNode::WrittenPlaces::WrittenPlaces(const CN_Mesh& mesh) : m_mesh(mesh) {
    int place = 0;
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        if (polygon.getEdgeList().empty())
            m_edgeless.push_back(place);
        ++place;
    }
    s_innermost = this;
}

CN_VirtualNode::WrittenPlaces::~WrittenPlaces() { s_innermost = m_outer; }

int CN_VirtualNode::WrittenPlaces::find(const CN_Polygon* polygon) const {
    const int place = polygon ? m_mesh.findPolygonIndex(polygon) : -1;
    if (place < 0 || polygon->getEdgeList().empty())
        return -1;
    return place - static_cast<int>(std::lower_bound(m_edgeless.begin(), m_edgeless.end(), place) - m_edgeless.begin());
}

CN_Mesh* CN_VirtualNode::accessParentMesh() const {
    auto* const mesh = dynamic_cast<CN_Mesh*>(getParent());
    if (!mesh)
        throw new F_Exception("The entity \"" + toString(getName()) + "\" is no child of a mesh");
    return mesh;
}

std::vector<int> CN_VirtualNode::findWrittenPlaces(const std::vector<const CN_Polygon*>& polygons) const {
    const auto findAll = [&polygons](const WrittenPlaces& written) {
        std::vector<int> places;
        for (const CN_Polygon* const polygon : polygons)
            places.push_back(written.find(polygon));
        return places;
    };
    const CN_Mesh* const mesh = accessParentMesh();
    const WrittenPlaces* const known = WrittenPlaces::s_innermost;
    return known && &known->m_mesh == mesh ? findAll(*known) : findAll(WrittenPlaces(*mesh));
}

void CN_VirtualNode::endOnMissingPolygon(const char* words, unsigned int index) const {
    CString text;
    text.Format("%s %d not found in parent mesh '%s'. Exiting..", words, static_cast<int>(index),
                getParent()->getName().GetString());
    AfxMessageBox(text);
    terminateAfterMessage(text);
}

CN_PolygonNode::CN_PolygonNode(int entityId, int imageIndex, const char* indexWords)
    : CN_VirtualNode(entityId, imageIndex), m_indexWords(indexWords) {}

CN_PolygonNode::CN_PolygonNode(const CN_PolygonNode& other)
    : CN_VirtualNode(other), m_indexWords(other.m_indexWords), m_polygonIndex(other.m_polygonIndex) {
    standOn(other.m_polygon);
}

CN_PolygonNode& CN_PolygonNode::operator=(const CN_PolygonNode& other) {
    if (this != &other) {
        CN_VirtualNode::operator=(other);
        m_polygonIndex = other.m_polygonIndex;
        if (m_polygon != other.m_polygon)
            standOn(other.m_polygon);
    }
    return *this;
}

CN_PolygonNode::~CN_PolygonNode() { standOn(nullptr); }

/// Moves the node from the polygon it stands on to another one, which learns nothing of it.
void CN_PolygonNode::standOn(CN_Polygon* polygon) {
    StandingNodes& nodes = standingNodes();
    if (polygon)
        nodes.emplace(polygon, this);
    if (m_polygon) {
        if (m_polygon != polygon && m_polygon->getAttachedEntity() == this)
            m_polygon->setAttachedEntity(nullptr);
        const auto [first, last] = nodes.equal_range(m_polygon);
        nodes.erase(std::find_if(first, last, [this](const auto& entry) { return entry.second == this; }));
    }
    m_polygon = polygon;
}

void CN_PolygonNode::setPolygon(CN_Polygon* polygon) {
    standOn(polygon);
    if (polygon)
        polygon->setAttachedEntity(this);
}

void CN_PolygonNode::generatePointersFromPolygonIndices() {
    CN_Mesh::PolygonList& polygons = accessParentMesh()->accessPolygonList();
    if (m_polygonIndex >= static_cast<unsigned int>(polygons.count()))
        endOnMissingPolygon(m_indexWords, m_polygonIndex);
    setPolygon(&polygons[static_cast<int>(m_polygonIndex)]);
}

void CN_PolygonNode::generatePolygonIndicesFromPointers() {
    const CN_Mesh* const mesh = m_polygon ? m_polygon->getParent() : nullptr;
    const int index = mesh ? mesh->findPolygonIndex(m_polygon) : -1;
    if (index >= 0)
        m_polygonIndex = static_cast<unsigned int>(index);
}

bool CN_PolygonNode::mayStandBelow(const CN_LevelEntity& parent) const {
    return !m_polygon || m_polygon->getParent() == dynamic_cast<const CN_Mesh*>(&parent);
}

bool CN_PolygonNode::isStorable() const {
    const auto* const mesh = dynamic_cast<const CN_Mesh*>(getParent());
    return mesh && m_polygon && mesh->findPolygonIndex(m_polygon) >= 0 && !m_polygon->getEdgeList().empty();
}

string CN_PolygonNode::findRecordFault() const {
    return isStorable() ? string() : string("it stands on no polygon that its parent would write");
}

unsigned int CN_PolygonNode::findRecordIndex() const {
    const int place = findWrittenPlaces({m_polygon}).front();
    if (place < 0)
        throw new F_Exception("The entity \"" + toString(getName()) + "\" stands on no polygon that its parent writes");
    return static_cast<unsigned int>(place);
}

} // namespace cairn
