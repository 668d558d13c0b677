#include "bench/support/level_works.h"

#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/fsm/change_manager.h"
#include "host/export_gltf.h"
#include "host/export_machines.h"
#include "host/export_obj.h"
#include "host/generate_level.h"
#include "host/problems.h"

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

} // namespace

const std::vector<LevelWork>& levelWorks() {
    static const std::vector<LevelWork> WORKS = {{"save", save},
                                                 {"check", check},
                                                 {"update", update},
                                                 {"export glTF", exportGltf},
                                                 {"export OBJ", exportObj},
                                                 {"export script", exportScript}};
    return WORKS;
}

} // namespace cairn::bench
