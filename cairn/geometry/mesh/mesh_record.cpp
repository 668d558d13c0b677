#include "cairn/animation/keyframes.h"
#include "cairn/document/document.h"
#include "cairn/foundation/system.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/polygon/polygon_reader.h"
#include "cairn/platform/handlers.h"

namespace cairn {

namespace {

constexpr std::size_t VERTEX_BYTES = F_MemoryFile::CHUNK_HEADER_SIZE + 3 * sizeof(double);
/// The least that a polygon takes: normals, legacy matrix, two spaces and a point are 52 doubles.
constexpr std::size_t LEAST_POLYGON_BYTES = F_MemoryFile::CHUNK_HEADER_SIZE + 52 * sizeof(double);
/// What a quad of two triangles with a material takes: the hint by which a save makes room.
constexpr std::size_t USUAL_POLYGON_BYTES = 700;
/// Versions of the chunk.
constexpr int LAST_WITHOUT_TRIGGER = 2, LAST_WITH_PAINTED_TRIGGERS = 6, LAST_WITHOUT_CRITICAL = 7,
              LAST_WITH_ONE_COLLISION = 8;

constexpr const char* VERTEX_FAULT = "one of its vertices is at no finite place";

string polygonFault(int place, const string& fault) { return formatText("its polygon at %d ", place) + fault; }

} // namespace

// Version 9: bool faces flipped, unsigned vertex count, vertices, unsigned polygon count (of those with edges), polygons,
//            bool dynamic, animations of a dynamic mesh, settings, bool is a trigger, settings of a trigger.
// Version 8: collideA of a mesh that stands still goes for collideB and collideC, too.
// Version 7: a dynamic mesh, a trigger and a mesh with exits are gameplay critical.
// Version 6: polygons of a trigger have the default material.
// Version 2: no trigger.
// The settings of versions 1 to 5 stand without a chunk of their own.

void CN_Mesh::saveEntitySpecificData(F_MemoryFile& file) {
    file.reserve(static_cast<std::size_t>(m_vertexList.count()) * VERTEX_BYTES +
                 static_cast<std::size_t>(m_polygonList.count()) * USUAL_POLYGON_BYTES);
    file.createChunk(0, CAIRN_MESH_VERSION);
    file << m_facesFlipped;
    file.writeCount(static_cast<std::size_t>(m_vertexList.count()));
    for (const CN_Vertex& vertex : m_vertexList) {
        if (!vertex.local.isFinite())
            refuseSave(VERTEX_FAULT);
        file << vertex;
    }
    file.writeCounted([&] { return savePolygons(file); });
    file << m_dynamic;
    if (m_dynamic)
        m_animation.saveAnimations(file);
    m_meshProperties.save(file);
    file << isTrigger();
    if (isTrigger())
        m_triggerProperties->save(file);
    file.closeChunk();
}

void CN_Mesh::loadEntitySpecificData(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    const int version = chunk.getVersion();

    in >> m_facesFlipped;
    dropPolygons();
    m_triggerProperties.reset();
    m_vertexList.clear();
    const std::size_t vertices = in.readCount(VERTEX_BYTES);
    m_vertexList.reserve(static_cast<int>(vertices));
    for (std::size_t left = vertices; left > 0; --left)
        in >> m_vertexList.emplace();
    const bool hasExit = loadPolygons(in);
    in >> m_dynamic;
    if (m_dynamic)
        loadAnimation(in);
    else
        m_animation = CN_Animation();
    m_meshProperties.load(in, version);
    if (m_dynamic)
        m_meshProperties.setAndCheckPhysicalMaterial();
    else
        m_meshProperties.physicalMaterial.clear();
    if (version > LAST_WITHOUT_TRIGGER)
        loadTrigger(in, version);
    if (version <= LAST_WITHOUT_CRITICAL && (m_dynamic || isTrigger() || hasExit))
        m_generalProperties.setGameplayCritical(true);
    if (!m_dynamic && version <= LAST_WITH_ONE_COLLISION)
        m_meshProperties.initStaticMeshCollisionFlags();
    if (hasExit)
        m_meshProperties.collideA = m_meshProperties.collideB = m_meshProperties.collideC = true;
    file.skipChunk();
}

/// Gives the count of those that were written.
std::size_t CN_Mesh::savePolygons(F_MemoryFile& file) const {
    std::size_t written = 0;
    int place = 0;
    for (const CN_Polygon& polygon : m_polygonList) {
        if (!polygon.getEdgeList().empty()) {
            if (const string fault = polygon.findRecordFault(); !fault.empty())
                refuseSave(polygonFault(place, fault));
            polygon.save(file);
            ++written;
        }
        ++place;
    }
    return written;
}

/// Gives whether one of the polygons is an exit, with edges or without.
bool CN_Mesh::loadPolygons(F_MemoryFile& file) {
    bool hasExit = false;
    CN_Polygon::Reader reader(*this);
    const std::size_t count = file.readCount(LEAST_POLYGON_BYTES);
    m_polygonList.reserve(static_cast<int>(count));
    for (std::size_t left = count; left > 0; --left) {
        hasExit |= reader.read(*addPolygon(), file);
    }
    setGeometryDirty();
    return hasExit;
}

void CN_Mesh::loadAnimation(F_MemoryFile& file) {
    m_animation.loadAnimations(file);
    CN_Document* const document = CN_Document::isAlive(getDocument()) ? getDocument() : nullptr;
    if (const string repairs = m_animation.describeLoadRepairs(); document && !repairs.empty())
        document->accessLoadReport().add("repaired", this, -1, repairs);
    const CN_Keyframes& keyframes = *m_animation.getKeyframes();
    for (const CN_Keyframe* keyframe = keyframes.getFirst(); keyframe; keyframe = keyframes.getNext()) {
        const M_Matrix4x3Template<double>& matrix = keyframe->getMatrix();
        if (matrix.rotation.determinant() != 0)
            continue;
        const std::string name = getLoadPath();
        F_System::verbose("%s\n", name.c_str());
        for (const Vector& row :
             {matrix.rotation.row(0), matrix.rotation.row(1), matrix.rotation.row(2), matrix.translation})
            F_System::verbose("(%7.3f %7.3f %7.3f)\n", row.x, row.y, row.z);
        const std::string text =
            formatText("Entity : %s has a broken keyframe matrix! Contact a programmer immediately!!", name.c_str());
        AfxMessageBox(text);
        if (document)
            document->accessLoadReport().add("broken-keyframe", this, -1, text);
    }
    if (!hasFSM()) {
        const std::string text =
            formatText("The mesh : %s is dynamic but no FSM was stored with it! Creating an empty FSM for it!",
                       getName().GetString());
        AfxMessageBox(text);
        if (document)
            document->accessLoadReport().add("repaired", this, -1, text);
        createFSM();
    }
    m_fsm->createMessageHandler("DO_MovedToInvalidPositionEnds");
}

void CN_Mesh::loadTrigger(F_MemoryFile& file, int version) {
    bool trigger = false;
    file >> trigger;
    if (!trigger)
        return;
    m_triggerProperties = std::make_unique<CN_TriggerProperties>();
    m_triggerProperties->load(file);
    CN_Document* const document = CN_Document::isAlive(getDocument()) ? getDocument() : nullptr;
    if (version > LAST_WITH_PAINTED_TRIGGERS || !document)
        return;
    for (CN_Polygon& polygon : m_polygonList)
        if (polygon.getPolyMode() != PT_EXIT) // an exit never has a material
            polygon.setMaterial(document->accessMaterials().getDefaultMaterial());
}

string CN_Mesh::findRecordFault() const {
    for (const CN_Vertex& vertex : m_vertexList)
        if (!vertex.local.isFinite())
            return VERTEX_FAULT;
    int place = 0;
    for (const CN_Polygon& polygon : m_polygonList) {
        if (!polygon.getEdgeList().empty())
            if (const string fault = polygon.findRecordFault(); !fault.empty())
                return polygonFault(place, fault);
        ++place;
    }
    return findFaultAhead();
}

string CN_Mesh::findFaultAhead() const { return m_dynamic ? m_animation.findRecordFault() : string(); }

} // namespace cairn
