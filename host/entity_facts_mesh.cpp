#include "cairn/entities/portal.h"
#include "cairn/foundation/checksum.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "host/entity_facts.h"
#include "host/entity_text.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;

/// Any values as bytes, to compare by.
class Bytes {
  public:
    template <class... Values> void add(const Values&... values) {
        (m_bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
    }
    void add(const Vector& v) { add(v.x, v.y, v.z); }
    const std::string& get() const { return m_bytes; }

  private:
    std::string m_bytes;
};

std::string materialText(const CN_Material* material) {
    if (!material)
        return "none";
    const CN_MaterialsCategory* const category = material->getParent();
    return fmt::format("{}/{}", category ? category->name().view() : "", material->name().view());
}

void describeSpace(std::string_view name, const M_PlanarSpace3Template<double>& space, FactSink& facts) {
    const auto& [u, v, n] = space.getMatrix().rows;
    const Vector& p = space.getPoint();
    facts.numbers(
        name, {p.x, p.y, p.z, u.x, u.y, u.z, v.x, v.y, v.z, n.x, n.y, n.z, space.getOffset().x, space.getOffset().y});
}

/// The places of the corners, in the mesh's space.
std::string cornersText(const CN_Polygon& polygon) {
    std::string text;
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        const Vector& p = edge.getLocal(0);
        text += fmt::format("{}({} {} {})", text.empty() ? "" : " ", toNumberText(p.x), toNumberText(p.y),
                            toNumberText(p.z));
    }
    return text;
}

/// The pieces by the edges that their corners begin: the same while only vertices move or get other numbers.
std::string triangulationKey(const CN_Polygon& polygon) {
    std::unordered_map<int, int> edgeAt; // by the vertex that it begins at
    int place = 0;
    for (const CN_Edge& edge : polygon.getEdgeList())
        edgeAt.emplace(edge.index(0), place++);
    Bytes key;
    for (const CN_Triangle& triangle : polygon.getTriangleList()) {
        key.add(triangle.getVertices().size());
        for (const int vertex : triangle.getVertices()) {
            const auto found = edgeAt.find(vertex);
            key.add(found == edgeAt.end() ? -1 - vertex : found->second);
        }
    }
    return key.get();
}

void describeShape(const CN_Polygon& polygon, FactSink& facts) {
    facts.take("corners", cornersKey(polygon), false, [&] { return cornersText(polygon); });
    facts.take("triangulation", triangulationKey(polygon), false,
               [&] { return fmt::format("{} pieces", polygon.getTriangleList().count()); });
    const Vector &n = polygon.getNormal(), &p = polygon.getPointOnPlane(), &r = polygon.getReferenceNormal();
    facts.numbers("plane", {n.x, n.y, n.z, p.x, p.y, p.z});
    facts.numbers("reference normal", {r.x, r.y, r.z});
}

/// An exit is the same while it leads through the same portal, else while it leads to the same polygon.
void describeExit(const CN_Polygon& polygon, const Identities& identities, FactSink& facts) {
    const CN_Polygon* const partner = polygon.getExitDestination();
    const CN_Mesh* const mesh = partner ? partner->getParent() : nullptr;
    if (!mesh)
        return facts.word("exit", "none");
    const CN_LevelEntityPortal* const portal = partner->getLevelEntityPortal();
    const std::string key = identities.of(*mesh) + (portal ? " " + identities.of(*portal) : cornersKey(*partner));
    facts.take("exit", key, true,
               [&] { return fmt::format("{} {}", qualifiedName(*mesh), portal ? portal->getName().view() : ""); });
}

void describeLightmap(const CN_LightmapMapping& mapping, FactSink& facts) {
    const unsigned long id = mapping.getLightmapID();
    facts.word("lightmap", id == NO_LIGHTMAP ? std::string("none")
                                             : fmt::format("{}{}", id, mapping.isLightmapValid() ? "" : ", not valid"));
    facts.numbers("lightmap resolution", {mapping.getResolution()});
    describeSpace("lightmap space", mapping.getPhysicalSpace(), facts);
}

} // namespace

std::string cornersKey(const CN_Polygon& polygon) {
    Bytes key;
    key.add(polygon.getNumHoles());
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        key.add(edge.getLocal(0));
        key.add(edge.getLocal(1));
    }
    return key.get();
}

void describePolygon(const CN_Polygon& polygon, const Identities& identities, FactSink& facts) {
    describeShape(polygon, facts);
    facts.word("material", materialText(polygon.getMaterial()));
    facts.word("mode", std::to_string(polygon.getPolyMode()));
    describeExit(polygon, identities, facts);
    polygon.getUVSpaces().forEach([&](int key, const CN_UVSpace& space) {
        describeSpace(fmt::format("texture space {}", key), space.space, facts);
    });
    describeLightmap(polygon.getLightmapMapping(), facts);
}

void describeVertex(const CN_TMVertex& vertex, FactSink& facts) {
    const Vector &p = vertex.position, &q = vertex.secondPosition;
    facts.numbers("position", {p.x, p.y, p.z});
    facts.numbers("second position", {q.x, q.y, q.z});
    facts.word("color", fmt::format("{},{},{}", vertex.color[0], vertex.color[1], vertex.color[2]));
    facts.numbers("coordinates", {vertex.uv.x, vertex.uv.y});
}

void describeTriangle(const CN_TMTriangle& triangle, FactSink& facts) {
    facts.word("corners", fmt::format("{} {} {}", triangle.getVertex(0), triangle.getVertex(1), triangle.getVertex(2)));
    const auto &a = triangle.getCornerUV(0), &b = triangle.getCornerUV(1), &c = triangle.getCornerUV(2);
    facts.numbers("coordinates", {a.x, a.y, b.x, b.y, c.x, c.y});
    facts.word("material", materialText(triangle.getMaterial()));
    facts.word("extra value", std::to_string(triangle.getExtraValue()));
}

std::uint64_t vertexNumbering(const CN_Mesh& mesh) {
    Bytes bytes;
    for (const CN_Vertex& vertex : mesh.getVertexList())
        bytes.add(vertex.local);
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        for (const CN_Edge& edge : polygon.getEdgeList())
            bytes.add(edge.index(0), edge.index(1));
        for (const CN_Triangle& triangle : polygon.getTriangleList())
            for (const int vertex : triangle.getVertices())
                bytes.add(vertex);
    }
    return checksum64(bytes.get().data(), bytes.get().size());
}

} // namespace cairn::host
