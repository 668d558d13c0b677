#include "cairn/document/change_scope.h"
#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/host_interfaces.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/system.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/mesh/polygon_copies.h"
#include "cairn/geometry/vertex_finder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>

namespace cairn {

namespace {

using Passages = std::vector<std::pair<CN_Polygon*, CN_Polygon*>>;

/// Some polygons of a mesh, and the mesh that is made of them. That dies with what was made for it unless it is kept.
class Half {
  public:
    explicit Half(F_DLList<CN_Polygon*>& sources) : m_sources(sources) {
        int place = 0;
        for (const CN_Polygon* const source : sources)
            m_places.emplace(source, place++);
    }
    Half(const Half&) = delete;
    Half& operator=(const Half&) = delete;
    ~Half() {
        if (!m_mesh)
            return;
        m_mesh->updateMaterialRefCounts(false);
        if (CN_LevelEntity* const parent = m_mesh->getParent())
            parent->remove(m_mesh);
        delete m_mesh;
    }
    void build(CN_Mesh& whole) {
        m_mesh = dynamic_cast<CN_Mesh*>(CN_EntityFactory::instance()->createEntity(CN_KIND_MESH, whole.getDocument()));
        m_mesh->buildFrom(&whole, m_sources);
    }
    /// Makes a group like that one of its members in this half; none where there is no member.
    void copyGroup(const CN_LevelEntityPolygonGroup& group) {
        std::vector<CN_Polygon*> members;
        for (const CN_Polygon* const member : group.getSet())
            if (CN_Polygon* const own = copyOf(member))
                members.push_back(own);
        if (members.empty())
            return;
        CN_LevelEntityPolygonGroup* const made = m_mesh->addNewPolygroup(&group, false);
        for (CN_Polygon* const member : members)
            made->addPolygon(member);
    }
    void settle(const CN_Mesh& whole, double grid) {
        m_mesh->relocateCenter(grid);
        m_mesh->calculateBoundingBox();
        m_mesh->handleOwnHierarchy();
        m_mesh->setMeshProperties(whole.getMeshProperties());
    }
    /// Leads the copies of exits where these lead, and back. Two exits of this half that lead to each other find each other in
    /// turn: the first one's copy leads to the second, and the second to that copy when it is its turn.
    void linkExits(const Half& other) {
        for (CN_Polygon* const source : m_sources) {
            CN_Polygon* const partner = source->getExitDestination();
            if (!partner)
                continue;
            CN_Polygon* const own = copyOf(source);
            if (CN_Polygon* const across = other.copyOf(partner)) {
                own->setExitDestination(across);
                continue;
            }
            own->setExitDestination(partner);
            partner->setExitDestination(own);
        }
    }
    /// The mesh, for the caller or its parent to own; null where none was built.
    CN_Mesh* keep() { return std::exchange(m_mesh, nullptr); }

  private:
    /// The copy of that polygon; null for one that is not of this half.
    CN_Polygon* copyOf(const CN_Polygon* source) const {
        const auto found = m_places.find(source);
        return found == m_places.end() ? nullptr : &m_mesh->accessPolygonList()[found->second];
    }

    F_DLList<CN_Polygon*>& m_sources;
    std::unordered_map<const CN_Polygon*, int>
        m_places;              ///< in the list of the sources, and of the copies in their mesh
    CN_Mesh* m_mesh = nullptr; ///< owned by this or by its parent
};

/// Throws unless all are of the mesh, and each is there once.
void requireParts(const CN_Mesh& mesh, const F_DLList<CN_Polygon*>& reached, const F_DLList<CN_Polygon*>& rest) {
    std::vector<bool> isKnown(static_cast<std::size_t>(mesh.getPolygonList().count()));
    for (const F_DLList<CN_Polygon*>* const half : {&reached, &rest})
        for (const CN_Polygon* const polygon : *half) {
            const int place = mesh.findPolygonIndex(polygon);
            if (place < 0 || isKnown[static_cast<std::size_t>(place)])
                throw new F_Exception("A mesh is separated into polygons of its own, each of them once");
            isKnown[static_cast<std::size_t>(place)] = true;
        }
}

/// Where the passages of each polygon begin, by its place in the mesh, and the end of the last one's.
std::vector<std::size_t> findBegins(const CN_Mesh& mesh, const Passages& passages) {
    std::vector<std::size_t> begins;
    std::size_t at = 0;
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        begins.push_back(at);
        while (at < passages.size() && passages[at].first == &polygon)
            ++at;
    }
    begins.push_back(at);
    return begins;
}

/// Appends copies of the polygons, all or none; `addEdge(copy, edge)` makes the copy of an edge. True where the mapping of one
/// was stale ahead of its own.
template <class Sources, class AddEdge> bool appendCopies(CN_Mesh& mesh, const Sources& sources, AddEdge&& addEdge) {
    const int polygons = mesh.getPolygonList().count(), vertices = mesh.getVertexList().count();
    bool isMappingDirty = false;
    try {
        for (const CN_Polygon* const source : sources) {
            CN_Polygon& copy = *mesh.addPolygon();
            copy.copyPropertiesLocal(source);
            isMappingDirty = isMappingDirty || copy.isMappingDirty();
            for (const CN_Edge& edge : source->getEdgeList())
                addEdge(copy, edge);
            CN_copyLightmapMapping(copy, *source);
            copy.triangulize(true);
        }
    } catch (...) {
        CN_takeBack(mesh, polygons, vertices);
        throw;
    }
    return isMappingDirty;
}

} // namespace

void CN_copyLightmapMapping(CN_Polygon& copy, const CN_Polygon& source) {
    const CN_LightmapMapping& mapping = source.getLightmapMapping();
    const unsigned long id = mapping.getLightmapID();
    CN_Document* const document = copy.getParent()->getDocument();
    if (id != NO_LIGHTMAP && CN_Document::isAlive(document) && document->getLightmaps()->getLightmap(id))
        copy.setLightmap(id);
    copy.accessLightmapMapping() = mapping;
}

void CN_takeBack(CN_Mesh& mesh, int polygons, int vertices) {
    CN_Mesh::PolygonList& list = mesh.accessPolygonList();
    while (list.count() > polygons) {
        list.last()->setMaterial(nullptr);
        list.removeLast();
    }
    while (mesh.getVertexList().count() > vertices)
        mesh.accessVertexList().removeLast();
}

bool CN_Mesh::separated(CN_Polygon* start, F_DLList<CN_Polygon*>& reached, F_DLList<CN_Polygon*>& rest) {
    if (findPolygonIndex(start) < 0)
        throw new F_Exception("The walk over a mesh starts at a polygon that it does not have");
    transform();
    for (CN_Polygon& polygon : m_polygonList) {
        polygon.buildBoundingBox(true);
        polygon.setVisited(false);
    }
    const CN_Polygon* const destination = start->getExitDestination();
    const Passages passages = findPassages();
    const std::vector<std::size_t> begins = findBegins(*this, passages);
    std::vector<CN_Polygon*> queue{start};
    start->setVisited(true);
    for (std::size_t next = 0; next < queue.size(); ++next) {
        CN_Polygon* const polygon = queue[next];
        reached.add(polygon);
        if (polygon == destination)
            return false;
        const auto place = static_cast<std::size_t>(findPolygonIndex(polygon));
        for (std::size_t i = begins[place]; i < begins[place + 1]; ++i) {
            CN_Polygon* const neighbor = passages[i].second;
            if (neighbor->getExitDestination() == polygon || neighbor->isVisited())
                continue;
            if (neighbor == destination) {
                F_System::verbose("Reached dest from poly %d\n", static_cast<int>(polygon->getPolygonIndex()));
                return false;
            }
            neighbor->setVisited(true);
            queue.push_back(neighbor);
        }
    }
    if (!destination && queue.size() == static_cast<std::size_t>(m_polygonList.count()))
        return false;
    for (CN_Polygon& polygon : m_polygonList)
        if (!polygon.isVisited())
            rest.add(&polygon);
    return true;
}

std::pair<CN_Mesh*, CN_Mesh*> CN_Mesh::separate(CN_Polygon* polygon, F_DLList<CN_Polygon*>& reached,
                                                F_DLList<CN_Polygon*>& rest, double grid) {
    requireParts(*this, reached, rest);
    if (reached.empty() && rest.empty())
        throw new F_Exception("There are no polygons to separate");
    if (!std::isfinite(grid))
        throw new F_Exception("The grid for the origins of separated meshes is not finite");
    const bool isReached = reached.indexOfValue(polygon) >= 0;
    if (isDynamic() && !isReached && rest.indexOfValue(polygon) < 0)
        throw new F_Exception("The polygon that names the part of a moving mesh is in neither part");

    Half first(isDynamic() && !isReached ? rest : reached), second(rest);
    std::vector<Half*> halves{&first};
    if (!isDynamic())
        halves.push_back(&second);
    for (Half* const half : halves)
        half->build(*this);
    for (CN_LevelEntity* const child : getChildren())
        if (auto* const group = dynamic_cast<CN_LevelEntityPolygonGroup*>(child); m_polygonGroups.contains(group))
            for (Half* const half : halves)
                half->copyGroup(*group);
    for (Half* const half : halves)
        half->settle(*this, grid);
    // What leads into this mesh from elsewhere changes over last.
    const CN_ChangeScope change(getDocument());
    if (!isDynamic()) {
        first.linkExits(second);
        second.linkExits(first);
    }
    CN_Mesh* const made = first.keep();
    return {made, second.keep()};
}

void CN_Mesh::buildFrom(CN_Mesh* source, const F_DLList<CN_Polygon*>& polygons) {
    if (!source || source == this)
        throw new F_Exception("A mesh is built from polygons of another mesh");
    for (const CN_Polygon* const polygon : polygons)
        if (!polygon || polygon->getParent() != source)
            throw new F_Exception("A mesh is built from polygons of one other mesh");
    std::unique_ptr<CN_EntityRendererInterface> renderer = std::move(m_renderer); // it draws this mesh in any case
    CN_LevelEntity::operator=(*source);
    m_renderer = std::move(renderer);
    CN_VertexFinder vertices(*this);
    appendCopies(*this, polygons, [&vertices](CN_Polygon& copy, const CN_Edge& edge) {
        const int start = vertices.findOrAdd(edge.getLocal(0));
        copy.addEdge(start, vertices.findOrAdd(edge.getLocal(1)), false);
    });
    m_facesFlipped = source->m_facesFlipped;
    if (CN_LevelEntity* const parent = source->getParent())
        parent->add(this, true);
}

void CN_Mesh::copyPolygonsLocal(const PolygonList& polygons, int vertexOffset) {
    std::vector<const CN_Polygon*> sources; // the list may be this mesh's own
    for (const CN_Polygon& polygon : polygons) {
        sources.push_back(&polygon);
        for (const CN_Edge& edge : polygon.getEdgeList())
            for (const int end : {0, 1}) {
                const std::int64_t index = std::int64_t{edge.index(end)} + vertexOffset;
                if (index < 0 || index >= m_vertexList.count())
                    throw new F_Exception(formatText("Polygon %d cannot be copied: its corners are not in the mesh",
                                                     static_cast<int>(polygon.getPolygonIndex())));
            }
    }
    const auto addEdge = [vertexOffset](CN_Polygon& copy, const CN_Edge& edge) {
        copy.addEdge(edge.index(0) + vertexOffset, edge.index(1) + vertexOffset, false);
    };
    m_mappingDirty = appendCopies(*this, sources, addEdge);
}

} // namespace cairn
