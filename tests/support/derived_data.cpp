#include "tests/support/derived_data.h"

#include "cairn/entities/cairn_level.h"
#include "cairn/geometry/bsp/tree.h"
#include "cairn/geometry/mesh/mesh.h"

#include <type_traits>

namespace cairn::test {

namespace {

class Derivation {
  public:
    std::string of(CN_Document& document) {
        CN_PreIterator it = document.accessLevel()->createIterator();
        for (it.begin(); !it.end(); ++it) {
            m_bytes.append(view((*it)->getQualifiedName())).append("\n");
            addVectors((*it)->getWorldPosition(), (*it)->getBoundingMin(), (*it)->getBoundingMax());
            if (auto* const mesh = dynamic_cast<CN_Mesh*>(*it))
                add(*mesh);
        }
        return std::move(m_bytes);
    }

  private:
    template <class Number> void put(Number number) {
        static_assert(std::is_arithmetic_v<Number>);
        m_bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    template <class... Vectors> void addVectors(const Vectors&... vectors) {
        ((put(vectors.x), put(vectors.y), put(vectors.z)), ...);
    }
    void add(const CN_Triangle::Coordinates& coordinates) {
        for (const auto& uv : coordinates) {
            put(uv.x);
            put(uv.y);
        }
    }

    void add(CN_Mesh& mesh) {
        mesh.triangulizeAll(true);
        for (CN_Polygon& polygon : mesh.accessPolygonList()) {
            polygon.calculateUVCoordinates();
            for (const CN_Triangle& piece : polygon.getTriangleList()) {
                for (const int corner : piece.getVertices())
                    put(corner);
                add(piece.getUV());
                add(piece.getLightmapUV());
                add(piece.getDetailUV());
            }
            addFit(polygon);
        }
        addNormals(mesh);
        addTree(mesh);
        for (const auto& pairs : {mesh.findNeighbors(), mesh.findPassages()})
            for (const auto& [one, other] : pairs) {
                put(mesh.findPolygonIndex(one));
                put(mesh.findPolygonIndex(other));
            }
    }

    void addFit(CN_Polygon& polygon) {
        CN_LightmapMapping mapping = polygon.getLightmapMapping();
        mapping.initialFitLightmap(&polygon, true);
        const auto& rows = mapping.getMatrix().rows;
        addVectors(mapping.getPoint(), rows[0], rows[1], rows[2]);
        put(mapping.getOffset().x);
        put(mapping.getOffset().y);
    }

    void addNormals(CN_Mesh& mesh) {
        const auto ofPolygons = mesh.calculateSharedVertexNormals(false);
        std::map<CN_Triangle*, std::vector<CN_Mesh::Vector>> ofPieces;
        mesh.calculateVertexNormalsForTriangles(ofPieces, false);
        for (CN_Polygon& polygon : mesh.accessPolygonList()) {
            for (const auto& [vertex, normal] : *ofPolygons.at(&polygon)) {
                put(vertex);
                addVectors(normal);
            }
            for (CN_Triangle& piece : polygon.accessTriangleList())
                for (const auto& normal : ofPieces.at(&piece))
                    addVectors(normal);
        }
    }

    void addTree(CN_Mesh& mesh) {
        if (!mesh.createBoundingBSP())
            return;
        CN_BSPTree& tree = *mesh.accessBoundingBSP();
        F_DLList<CN_BSPNode*> nodes;
        tree.enumerateNodes(nodes, tree.accessRoot());
        for (const CN_BSPNode* const node : nodes) {
            put(node->leaf());
            addVectors(node->getPlane().getPoint(), node->getPlane().getNormal());
        }
    }

    std::string m_bytes;
};

} // namespace

std::string deriveData(CN_Document& document) { return Derivation().of(document); }

} // namespace cairn::test
