#include "cairn/document/document.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/planar_space_record.h"
#include "cairn/geometry/polygon/polygon_reader.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "cairn/platform/handlers.h"

#include <cmath>
#include <utility>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;
using PlanarSpace = M_PlanarSpace3Template<double>;

constexpr std::size_t EDGE_BYTES = 2 * sizeof(int);
/// A normal in a file that is shorter was never set.
constexpr double LEAST_NORMAL_LENGTH = 0.5;
/// A normal whose length is so near to 1 is left as it is, so that loading and saving again changes no bit.
constexpr double UNIT_TOLERANCE = 1e-9;
/// Extra texture spaces whose third row's dot product with that of space 0 is below this have drifted from the plane.
constexpr double SAME_PLANE = 0.9999;
/// A shorter row of a texture matrix is none, and gets an x of `ROW_SUBSTITUTE`.
constexpr double LEAST_ROW_LENGTH = 0.0001;
constexpr double ROW_SUBSTITUTE = 0.001;

/// A texture matrix in the plane of `normal` with its first row along `direction`, or along the plane where the direction
/// is none; the default one without a normal.
Matrix matrixOnPlane(const Vector& normal, const Vector& direction) {
    const Vector n = normal.normalized();
    const Vector along = n.cross(std::abs(n.x) < std::abs(n.y) ? Vector(1, 0, 0) : Vector(0, 1, 0));
    for (const Vector& u : {direction.normalized(), along.normalized()})
        if (const Matrix matrix = Matrix(u, n.cross(u), n).orthonormalized(); matrix.isInvertible())
            return matrix;
    return PlanarSpace().getMatrix();
}

/// True for the keys of spaces that textures use: where space 0 is none, none of them is kept.
bool isRebuilt(int key) { return key >= 0 && key <= 2; }

enum class Mended { SOUND, CHANGED, BROKEN };

/// Gives rows without length one; `BROKEN`, and the space as it was, where the matrix has no inverse then.
Mended mendRows(PlanarSpace& space) {
    Matrix matrix = space.getMatrix();
    bool isShort = false;
    for (Vector& row : matrix.rows) {
        if (!(row.length() < LEAST_ROW_LENGTH))
            continue;
        row.x = ROW_SUBSTITUTE;
        isShort = true;
    }
    if (!isShort)
        return Mended::SOUND;
    if (!matrix.isInvertible())
        return Mended::BROKEN;
    space.setMatrix(matrix);
    return Mended::CHANGED;
}

} // namespace

// Version 3: unsigned index, int edge count, 3 double normal, 3 double reference normal, 9 double (legacy: the identity is
//            written, nobody reads it), texture space 0, 3 double point on plane, int hole count, lightmap mapping,
//            unsigned mode, int index of the exit's partner or -1, text category and text name of the material (both empty
//            for none), edges (2 int each), int triangle count, triangles, extra texture spaces.
// Version 2: four float behind the texture spaces, dropped, where `PF_OLD_EXTENT` is set.
// Version 1: no index (polygons number themselves), and a text behind the partner's index, dropped.
//
// A triangle: 3 double world normal (dropped on reading) unless `PF_NO_TRIANGLE_NORMALS` is set; int corner count, which is
// always written, but read with `PF_TRIANGLE_CORNERS` only, else it is 3; int vertex for each corner.
// Extra spaces, with `PF_UV_SPACES`: unsigned count of all spaces, then those but space 0, each led by its int key with
// `PF_UV_SPACE_KEYS`. Without that bit they are the keys 1, 2, ...: 1 and 2 are written, space 0 for a missing one.

void CN_Polygon::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_POLYGON_VERSION);
    {
        F_MemoryFile::Run out(file, CN_PLANAR_SPACE_BYTES + 3 * sizeof(int) + (3 * 3 + 9) * sizeof(double));
        out << m_polygonIndex << m_edgeList.count();
        out << m_normal << m_referenceNormal << Matrix();
        CN_savePlanarSpace(out, getUVSpace(0));
        out << m_pointOnPlane << m_numHoles;
    }
    file << m_lightmapMapping << m_polyMode;
    const CN_Polygon* const partner = findWrittenPartner();
    file << (partner ? static_cast<int>(partner->m_polygonIndex) : NON_EXIT_INDEX);
    static const CString none;
    const CN_MaterialsCategory* const category = m_material ? m_material->getParent() : nullptr;
    file << (category ? category->name() : none) << (m_material ? m_material->name() : none);
    {
        F_MemoryFile::Run out(file, EDGE_BYTES * static_cast<std::size_t>(m_edgeList.count()) + sizeof(int));
        for (const CN_Edge& edge : m_edgeList)
            out << edge.index(0) << edge.index(1);
        out << m_triangleList.count();
    }
    for (const CN_Triangle& triangle : m_triangleList) {
        const std::vector<int>& corners = triangle.getVertices();
        F_MemoryFile::Run out(file, sizeof m_worldNormal + (1 + corners.size()) * sizeof(int));
        if (!(m_saveFeatures & PF_NO_TRIANGLE_NORMALS))
            out << m_worldNormal;
        out << static_cast<int>(corners.size());
        for (const int corner : corners)
            out << corner;
    }

    if (m_saveFeatures & PF_UV_SPACES)
        saveExtraSpaces(file);
    file.closeChunk();
}

void CN_Polygon::saveExtraSpaces(F_MemoryFile& file) const {
    if (!(m_saveFeatures & PF_UV_SPACE_KEYS)) {
        file << 3u;
        CN_savePlanarSpace(file, getUVSpace(1));
        CN_savePlanarSpace(file, getUVSpace(2));
        return;
    }
    file << static_cast<unsigned int>(m_uvSpaces.size() + (hasUVSpace(0) ? 0 : 1));
    m_uvSpaces.forEach([&file](int key, const CN_UVSpace& space) {
        if (key == 0)
            return;
        file << key;
        CN_savePlanarSpace(file, space.space);
    });
}

/// The partner of an exit if a load will find it: it stands in the same tree, is written, and is an exit itself.
CN_Polygon* CN_Polygon::findWrittenPartner() const {
    const auto rootOf = [](const CN_LevelEntity* entity) {
        while (entity && entity->getParent())
            entity = entity->getParent();
        return entity;
    };
    CN_Polygon* const partner = m_exitDestination;
    const bool found = partner && !partner->m_edgeList.empty() && partner->m_exitDestination &&
                       rootOf(partner->m_parent) == rootOf(m_parent);
    return found ? partner : nullptr;
}

/// Why `load` would refuse what `save` writes, as the end of a sentence; empty where it would not.
string CN_Polygon::findRecordFault() const {
    if (!m_normal.isFinite() || !m_pointOnPlane.isFinite())
        return "has a plane that is not finite";
    if (m_numHoles < 0 || m_numHoles > m_edgeList.count())
        return formatText("has %d holes", m_numHoles);
    if (m_uvSpaces.size() > MAX_UV_SPACES)
        return formatText("has more than %d texture spaces", MAX_UV_SPACES);
    const int count = requireMesh().getVertexList().count();
    const auto isVertex = [count](int index) { return index >= 0 && index < count; };
    for (const CN_Edge& edge : m_edgeList)
        if (!isVertex(edge.index(0)) || !isVertex(edge.index(1)))
            return "has an edge that ends at no vertex";
    for (const CN_Triangle& triangle : m_triangleList)
        for (const int corner : triangle.getVertices())
            if (!isVertex(corner))
                return "has a triangle with a corner at no vertex";
    return {};
}

void CN_Polygon::load(F_MemoryFile& file) { Reader(requireMesh()).read(*this, file); }

CN_Polygon::Reader::Reader(CN_Mesh& mesh)
    : m_mesh(mesh), m_document(CN_Document::isAlive(mesh.getDocument()) ? mesh.getDocument() : nullptr),
      m_defaultMaterial(m_document ? m_document->getMaterials().getDefaultMaterial() : nullptr),
      m_vertexCount(mesh.getVertexList().count()) {}

bool CN_Polygon::Reader::read(CN_Polygon& polygon, F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    m_polygon = &polygon;
    m_in = &chunk.getMemoryFile();
    m_version = chunk.getVersion();
    m_namesPartner = m_spacesInvalid = false;

    forgetExit();
    // The repairs build on one another: their order is part of the format.
    const int edges = readHead();
    repairReferenceNormal();
    readBaseSpace();
    readLightmap();
    readExit();
    readMaterial();
    readEdges(edges);
    readTriangles();
    if (!(m_loadFeatures & PF_EDGES))
        polygon.constructEdges();
    polygon.m_worldNormal = polygon.m_normal;
    if (m_spacesInvalid)
        rebuildSpaces();
    if (m_loadFeatures & PF_UV_SPACES)
        readExtraSpaces();
    mendShortRows();
    if (m_version <= 2 && (m_loadFeatures & PF_OLD_EXTENT)) {
        float dropped = 0;
        for (int i = 0; i < 4; ++i)
            *m_in >> dropped;
    }
    file.skipChunk();
    return m_namesPartner;
}

/// Ends what the polygon was as an exit, while it still has the number that it is registered under.
void CN_Polygon::Reader::forgetExit() {
    m_polygon->setExitDestination(nullptr);
    if (m_polygon->m_exitDestinationIndex != NON_EXIT_INDEX)
        CN_ExitDestinationPointerDeserializer::instance()->forget(m_polygon);
    m_polygon->m_exitDestinationIndex = NON_EXIT_INDEX;
}

/// Reads what stands ahead of the texture spaces; gives the count of edges.
int CN_Polygon::Reader::readHead() {
    if (m_version > 1)
        *m_in >> m_polygon->m_polygonIndex;
    else
        m_polygon->m_polygonIndex = m_suiRunningDocIndex++;
    int edges = 0;
    *m_in >> edges;
    if (edges < 0 || static_cast<std::size_t>(edges) > m_in->getRemaining() / EDGE_BYTES)
        fail(formatText("has %d edges", edges));
    m_polygon->m_numVertices = edges;
    *m_in >> m_polygon->m_normal >> m_polygon->m_referenceNormal;
    if (!m_polygon->m_normal.isFinite())
        fail("has a normal that is not finite");
    return edges;
}

void CN_Polygon::Reader::repairReferenceNormal() {
    Vector& reference = m_polygon->m_referenceNormal;
    const double length = reference.length();
    if (!reference.isFinite() || !std::isfinite(length) || length < LEAST_NORMAL_LENGTH) {
        const bool changes = !(reference == m_polygon->m_normal);
        reference = m_polygon->m_normal;
        if (changes)
            repaired("The reference normal was none; it is the polygon's normal now");
    }
    if (std::abs(reference.length() - 1) > UNIT_TOLERANCE)
        reference = reference.normalized(reference);
}

void CN_Polygon::Reader::readBaseSpace() {
    Matrix legacy;
    *m_in >> legacy;
    m_spacesInvalid = !CN_loadPlanarSpace(*m_in, m_polygon->m_uvSpaces[0].space);
    if (!m_spacesInvalid)
        return;
    const std::string text = formatText("Polygon %d has an invalid texture space. Resetting...",
                                        static_cast<int>(m_polygon->m_polygonIndex));
    AfxMessageBox(text);
    repaired(text);
}

void CN_Polygon::Reader::readLightmap() {
    *m_in >> m_polygon->m_pointOnPlane >> m_polygon->m_numHoles;
    if (!m_polygon->m_pointOnPlane.isFinite())
        fail("has a point on its plane that is not finite");
    if (m_polygon->m_numHoles < 0 || m_polygon->m_numHoles > m_polygon->m_numVertices)
        fail(formatText("has %d holes", m_polygon->m_numHoles));
    if (!m_polygon->m_lightmapMapping.load(*m_in))
        repaired("The lightmap's space or resolution was invalid; it is the default one now");
    const std::uint32_t before = std::exchange(m_polygon->m_countedLightmap, NO_INDEX);
    if (s_bLightmapIDsAreValidAtLoadTime)
        m_polygon->referenceLightmap();
    // The new reference is taken first, so that a lightmap that the polygon had before lives on.
    const std::uint32_t now = std::exchange(m_polygon->m_countedLightmap, before);
    m_polygon->dereferenceLightmap();
    m_polygon->m_countedLightmap = now;
    if (!s_bLightmapIDsAreValidAtLoadTime)
        return;
    const unsigned long id = m_polygon->m_lightmapMapping.getLightmapID();
    if (id == m_polygon->m_countedLightmap)
        return;
    m_polygon->m_lightmapMapping.m_lightmapValid = false;
    writeVerbose(formatText("Polygon %d names the lightmap %lu, which is not there\n",
                            static_cast<int>(m_polygon->m_polygonIndex), id));
}

void CN_Polygon::Reader::readExit() {
    int partner = NON_EXIT_INDEX;
    *m_in >> m_polygon->m_polyMode >> partner;
    if (m_version <= 1) {
        string dropped;
        *m_in >> dropped;
    }
    m_namesPartner = partner != NON_EXIT_INDEX;
    if (!m_namesPartner)
        return;
    // What has no edges is gone with the next save: nobody can be led there.
    if (m_polygon->m_numVertices == 0) {
        repaired(formatText("An exit to polygon %d has no edges: nobody can be led there", partner));
        return;
    }
    m_polygon->m_exitDestinationIndex = partner;
    CN_ExitDestinationPointerDeserializer::instance()->addRelocatableExitPolygon(m_polygon);
}

void CN_Polygon::Reader::readMaterial() {
    *m_in >> m_category >> m_name;
    if (m_polygon->m_polyMode == PT_EXIT) {
        m_polygon->setMaterial(nullptr);
        return;
    }
    if (m_category.IsEmpty() && m_name.IsEmpty()) {
        m_polygon->setMaterial(m_defaultMaterial);
        return;
    }
    if (CN_Material* const material = findMaterial()) {
        if (material->getBlendType() != 0 && m_polygon->m_polyMode != PT_SOLID) {
            repaired(formatText("The mode %u became solid: the material blends by itself", m_polygon->m_polyMode));
            m_polygon->m_polyMode = PT_SOLID;
        }
        m_polygon->setMaterial(material);
        return;
    }
    const std::string text = formatText("Poly %d in mesh %s : Material %s in category %s not found!",
                                        static_cast<int>(m_polygon->m_polygonIndex), m_mesh.getName().GetString(),
                                        m_name.GetString(), m_category.GetString());
    AfxMessageBox(text, MB_TASKMODAL | MB_ICONEXCLAMATION);
    repaired(text);
    m_polygon->setMaterial(m_defaultMaterial);
}

/// The material of the names read last, or null. Neighbours in a mesh mostly have the same one.
CN_Material* CN_Polygon::Reader::findMaterial() {
    if (!m_hasFound || !(m_name == m_foundName) || !(m_category == m_foundCategory)) {
        m_found = m_document ? m_document->getMaterials().find(m_category, m_name) : nullptr;
        m_foundCategory = m_category;
        m_foundName = m_name;
        m_hasFound = true;
    }
    return m_found;
}

void CN_Polygon::Reader::readEdges(int count) {
    const CN_Mesh::VertexList& vertices = m_mesh.getVertexList();
    m_polygon->m_edgeList.clear();
    m_polygon->m_edgeList.reserve(count);
    for (int i = 0; i < count; ++i) {
        int a = 0, b = 0;
        *m_in >> a >> b;
        if (!isVertex(a) || !isVertex(b))
            fail(formatText("has an edge from vertex %d to vertex %d of %d", a, b, m_vertexCount));
        m_polygon->m_edgeList.emplace(a, b).setParent(m_polygon);
        if (a == b || vertices[a] == vertices[b]) {
            const string text = formatText("Polygon %d has a null edge", static_cast<int>(m_polygon->m_polygonIndex));
            AfxMessageBox(text.c_str());
            report("polygon-degenerate", text);
        }
    }
}

void CN_Polygon::Reader::readTriangles() {
    const bool hasNormal = !(m_loadFeatures & PF_NO_TRIANGLE_NORMALS);
    const bool hasCount = m_loadFeatures & PF_TRIANGLE_CORNERS;
    const std::size_t leastBytes = (hasNormal ? 3 * sizeof(double) : 0) + (hasCount ? sizeof(int) : 3 * sizeof(int));
    int count = 0;
    *m_in >> count;
    if (count < 0 || static_cast<std::size_t>(count) > m_in->getRemaining() / leastBytes)
        fail(formatText("has %d triangles", count));
    s_uiTriangleIndex += static_cast<unsigned int>(count);
    m_polygon->m_triangleList.clear();
    m_polygon->m_triangleList.reserve(count);
    for (int i = 0; i < count; ++i) {
        Vector dropped;
        if (hasNormal)
            *m_in >> dropped;
        int corners = 3;
        if (hasCount)
            *m_in >> corners;
        if (corners < 0 || static_cast<std::size_t>(corners) > m_in->getRemaining() / sizeof(int))
            fail(formatText("has a triangle of %d corners", corners));
        CN_Triangle& triangle = m_polygon->m_triangleList.emplace();
        triangle.setParent(m_polygon);
        triangle.accessVertices().resize(static_cast<std::size_t>(corners));
        for (int& corner : triangle.accessVertices()) {
            *m_in >> corner;
            if (!isVertex(corner))
                fail(formatText("has a triangle with a corner at vertex %d of %d", corner, m_vertexCount));
        }
    }
}

void CN_Polygon::Reader::readExtraSpaces() {
    const bool hasKeys = m_loadFeatures & PF_UV_SPACE_KEYS;
    unsigned int count = 0;
    *m_in >> count;
    if (count > static_cast<unsigned int>(MAX_UV_SPACES))
        fail(formatText("has %u texture spaces", count));
    const Vector plane = m_polygon->getUVSpace(0).getMatrix().row(2);
    for (int i = 1; i < static_cast<int>(count); ++i) {
        int key = i;
        if (hasKeys)
            *m_in >> key;
        PlanarSpace space;
        const bool sound = CN_loadPlanarSpace(*m_in, space);
        if (!sound)
            repaired(formatText("The texture space %d was invalid; it is that of the base texture now", key));
        // What has drifted from the polygon's plane goes without a word.
        const bool keeps =
            sound && !(m_spacesInvalid && isRebuilt(key)) && space.getMatrix().row(2).dot(plane) >= SAME_PLANE;
        m_polygon->m_uvSpaces[key].space = keeps ? space : m_polygon->getUVSpace(0);
    }
    if (m_polygon->m_uvSpaces.size() > MAX_UV_SPACES) // the light layer's may have come with the material
        fail(formatText("has %d texture spaces", m_polygon->m_uvSpaces.size()));
}

/// Lays the texture spaces anew along the first edge: those of textures, and others that are not in the plane.
void CN_Polygon::Reader::rebuildSpaces() {
    const CN_Edge* const edge = m_polygon->m_edgeList.first();
    const Matrix matrix = matrixOnPlane(m_polygon->m_normal, edge ? edge->dir() : Vector());
    const PlanarSpace space(matrix, edge ? edge->getLocal(0) : m_polygon->m_pointOnPlane, {});
    m_polygon->m_uvSpaces[0].space = space;
    const Vector plane = matrix.row(2);
    m_polygon->m_uvSpaces.forEach([&](int key, CN_UVSpace& other) {
        if (isRebuilt(key) || !(other.space.getMatrix().row(2).dot(plane) >= SAME_PLANE))
            other.space = space;
    });
    m_polygon->markUVDirty();
}

/// Rows that are too short for coordinates get a length. Where that leaves space 0 without inverse all spaces are laid
/// anew; an extra one is that of the base texture then, and also where space 0 has left its plane.
void CN_Polygon::Reader::mendShortRows() {
    bool changed = false;
    PlanarSpace& base = m_polygon->m_uvSpaces[0].space;
    const Mended baseMended = mendRows(base);
    if (baseMended == Mended::BROKEN)
        rebuildSpaces();
    changed |= baseMended != Mended::SOUND;
    const Vector plane = base.getMatrix().row(2);
    if (m_polygon->m_uvSpaces.size() > 1)
        m_polygon->m_uvSpaces.forEach([&](int key, CN_UVSpace& space) {
            if (key == 0)
                return;
            const Mended mended = mendRows(space.space);
            const bool drifted = changed && space.space.getMatrix().row(2).dot(plane) < SAME_PLANE;
            if (mended == Mended::BROKEN || drifted)
                space.space = base;
            changed |= mended != Mended::SOUND;
        });
    if (changed)
        repaired("A texture space had an axis without length; it has one now");
}

/// Throws with the polygon's number and the mesh's name ahead of `what`.
void CN_Polygon::Reader::fail(const string& what) const {
    m_in->fail(formatText("Polygon %d of the mesh \"", static_cast<int>(m_polygon->m_polygonIndex)) +
               toString(m_mesh.getName()) + "\" " + what);
}

void CN_Polygon::Reader::repaired(const std::string& text) const { report("repaired", text); }

void CN_Polygon::Reader::report(const char* code, const std::string& text) const {
    if (!m_document)
        return;
    const CN_Mesh::PolygonList& polygons = m_mesh.getPolygonList();
    const int place = polygons.last() == m_polygon ? polygons.count() - 1 : polygons.indexOf(m_polygon);
    m_document->accessLoadReport().add(code, &m_mesh, place, text);
}

} // namespace cairn
