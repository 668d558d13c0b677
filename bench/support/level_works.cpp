#include "bench/support/level_works.h"

#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/fsm.h"
#include "host/export_gltf.h"
#include "host/export_machines.h"
#include "host/export_obj.h"
#include "host/generate_level.h"
#include "host/problems.h"

#include <cmath>

namespace cairn::bench {

host::LevelSession& levelSession() {
    static const host::Console console;
    static host::LevelSession session(console, "");
    return session;
}

std::unique_ptr<CN_Document> generateRooms(int rooms) {
    constexpr std::uint64_t SEED = 1;
    auto document = levelSession().createDocument();
    document->createCairnLevelEntities();
    host::generateLevel(*document, rooms, SEED);
    return document;
}

std::vector<unsigned char> roomBytes(int rooms) {
    F_MemoryFile file;
    CN_LevelFile::write(*generateRooms(rooms), file);
    const auto* const bytes = static_cast<const unsigned char*>(file.getAddress());
    return {bytes, bytes + file.getSize()};
}

host::OpenedLevel openLevel(const std::vector<unsigned char>& bytes) {
    host::OpenedLevel level;
    level.document = levelSession().createDocument();
    level.bytes = bytes.size();
    level.sealed = CN_LevelFile::load(*level.document, bytes);
    level.hasTree = true;
    return level;
}

namespace {

double save(host::OpenedLevel& level) {
    F_MemoryFile file;
    CN_LevelFile::write(*level.document, file);
    return static_cast<double>(file.getSize());
}

/// The catalogue that ships, as `check` reads it.
const CN_FSMMessageInfoProvider* catalogue() {
    static const CN_FSMMessageInfoProvider* const messages =
        levelSession().readCatalogue(CAIRN_BENCH_SOURCE_DIR "/host/data/messages.txt");
    return messages;
}

double check(host::OpenedLevel& level) {
    return static_cast<double>(host::findProblems(level, false, catalogue(), false).size());
}

/// Renames the first room to and fro, so that each line that names it is written anew and all others are looked at.
double update(host::OpenedLevel& level) {
    CN_LevelEntity& room = *level.document->accessLevel()->getChildren().back();
    CN_FSMChangeManager& manager = *CN_FSMChangeManager::instance();
    manager.documentChangedNotification(nullptr, level.document.get(), nullptr);
    const CString before = room.getName();
    room.setName("Hall", false);
    manager.updateMessages();
    const auto length = static_cast<double>(room.getQualifiedName().size());
    room.setName(before, false);
    manager.updateMessages();
    return length;
}

double exportGltf(host::OpenedLevel& level) {
    host::ExportScene scene = host::makeExportScene(*level.document->getLevel(), {});
    return static_cast<double>(host::writeGltf(scene, false, "rooms.gltf").size());
}

double exportObj(host::OpenedLevel& level) {
    host::ExportScene scene = host::makeExportScene(*level.document->getLevel(), {});
    return static_cast<double>(host::writeObj(scene, "rooms.obj").back().bytes.size());
}

double exportScript(host::OpenedLevel& level) {
    return static_cast<double>(host::makeScript(*level.document, {}).text.size());
}

template <class Visit> void forEachEntity(const host::OpenedLevel& level, Visit&& visit) {
    CN_ConstPreIterator it = level.document->getLevel()->createConstIterator();
    for (it.begin(); !it.end(); ++it)
        visit(**it);
}

std::size_t last(const istring& text) { return text.empty() ? 0 : static_cast<unsigned char>(text.back()); }

/// What an update reads: all texts of a message, and its target's name.
std::size_t readMachines(const host::OpenedLevel& level) {
    std::size_t sum = 0;
    forEachEntity(level, [&sum](const CN_LevelEntity& entity) {
        if (const E_FSM* const machine = entity.getFSM())
            machine->forEachMessage([&sum](const E_FSM::Message& message) {
                sum += last(message.m_text) + last(message.m_targetName) + last(message.m_targetPath);
                for (const istring& argument : message.m_arguments)
                    sum += last(argument);
                if (message.m_target)
                    sum += last(message.m_target->getQualifiedName());
            });
    });
    return sum;
}

/// What a save reads: a number of each vertex, polygon, edge and triangle, and the machines.
std::size_t readAll(const host::OpenedLevel& level) {
    double sum = 0;
    forEachEntity(level, [&sum](const CN_LevelEntity& entity) {
        const auto* const mesh = dynamic_cast<const CN_LevelEntityMesh*>(&entity);
        if (!mesh)
            return;
        for (const CN_Vertex& vertex : mesh->getVertexList())
            sum += vertex.local.x;
        for (const CN_Polygon& polygon : mesh->getPolygonList()) {
            sum += polygon.getNormal().x;
            for (const CN_Edge& edge : polygon.getEdgeList())
                sum += edge.index(0);
            for (const CN_Triangle& triangle : polygon.getTriangleList()) {
                sum += triangle.getVertices().front();
                sum += triangle.getUV().empty() ? 0 : double{triangle.getUV().front().x};
            }
        }
    });
    return readMachines(level) + static_cast<std::size_t>(std::fabs(sum));
}

} // namespace

const std::vector<LevelWork>& levelWorks() {
    static const std::vector<LevelWork> WORKS = {
        {"save", save, readAll},     {"check", check},          {"update", update, readMachines},
        {"export glTF", exportGltf}, {"export OBJ", exportObj}, {"export script", exportScript, readMachines}};
    return WORKS;
}

} // namespace cairn::bench
