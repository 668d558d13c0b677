#include "cairn/document/entity_factory.h"
#include "cairn/document/level_file.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/prefab.h"
#include "cairn/foundation/file.h"
#include "cairn/fsm/change_manager.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_entities.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;
using test::OldEntity;
using test::OldLevel;

/// Loads the bytes as a host would; what loads must save, and load again to the same bytes.
void loadAndSaveTwice(std::span<const unsigned char> bytes) {
    const auto& map = CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;
    CN_Document document;
    try {
        CN_LevelFile::load(document, bytes);
    } catch (F_Exception*) {
        if (!map.empty())
            std::terminate();
        throw;
    }
    const Bytes saved = test::saveLevel(document);
    CN_Document again;
    test::loadLevel(again, saved);
    if (test::saveLevel(again) != saved || !map.empty())
        throw std::logic_error("a level that loads does not come back from its save as it was");
}

OldEntity box(const char* name) {
    return {.kind = CN_KIND_VOL_LIGHTING_BOX, .name = name, .ownRecord = test::volLightingBoxRecord(1, 1)};
}

/// A root with a chain of boxes below it, `depth` entities in all.
OldLevel chain(int depth, const std::string& name) {
    OldLevel level;
    OldEntity top = box(name.c_str());
    for (int i = 2; i < depth; ++i) {
        OldEntity above = box(name.c_str());
        above.children.push_back(std::move(top));
        top = std::move(above);
    }
    level.root.children.push_back(std::move(top));
    return level;
}

string loadFailure(const OldLevel& level) {
    return failureText([&] {
        CN_Document document;
        test::loadLevel(document, test::makeLevel(level));
    });
}

/// Leaves a level as a seed for the fuzz target where a run of all tests asks for them.
void keepSeed(const std::string& name, const Bytes& level) {
    if (const char* folder = std::getenv("CAIRN_FUZZ_SEED_DIR")) {
        const std::filesystem::path place = std::filesystem::path(folder) / "document_load";
        std::filesystem::create_directories(place);
        F_File::replace((place / name).string(), level);
    }
}

/// A level of the newest records.
OldLevel newestLevel() {
    OldLevel newest;
    newest.root.children = {
        {.kind = CN_KIND_PLAYER, .name = "player", .identity = 2},
        {.kind = CN_KIND_DYN_POINTLIGHT, .name = "Light", .ownRecord = test::dynPointlightRecord(1)},
        box("Box")};
    newest.root.children[2].children = {{.name = "Way", .identity = 3}};
    newest.selected = {1};
    return newest;
}

/// The same in the oldest ones.
OldLevel oldestLevel() {
    OldLevel oldest = newestLevel();
    oldest.versionChunk = oldest.lightmapChunk = oldest.groupNames = false;
    oldest.preferencesVersion = 1;
    oldest.root.version = oldest.root.children[1].version = 1;
    oldest.selection = OldLevel::Selection::BARE;
    return oldest;
}

/// A level with an entity of each kind that the other levels here lack, as this version saves it.
Bytes levelOfFurtherKinds() {
    static CString inMemory;
    CN_LevelFileLibrary::setSharedDBPathCallback([]() -> CString& { return inMemory; });
    CN_SharedDB::createInstance();
    CN_Document document;
    document.createCairnLevelEntities();
    for (const int kind : {CN_KIND_JUMPPOINT, CN_KIND_ITEM, CN_KIND_ENEMY, CN_KIND_AI_NODE, CN_KIND_FLARE, CN_KIND_FSM,
                           CN_KIND_TRIGGER, CN_KIND_TRIMESH, CN_KIND_MESH, CN_KIND_PREFAB}) {
        CN_LevelEntity* entity = CN_EntityFactory::instance()->createEntity(kind, &document);
        document.accessLevel()->add(entity, false);
        if (auto* prefab = dynamic_cast<CN_LevelEntityPrefab*>(entity))
            prefab->createPrefabContent();
    }
    return test::saveLevel(document);
}

/// A level of characters and a prefab in old forms, of which the prefab and a character are selected.
Bytes levelOfOldForms() {
    const auto enemy = [](int version) {
        return [version](F_MemoryFile& file) { test::writeOldEnemy(file, version, "Guards", "Wave"); };
    };
    OldLevel level;
    level.root.children = {{.kind = CN_KIND_ENEMY, .name = "guard_g3", .ownRecord = enemy(0)},
                           {.kind = CN_KIND_ENEMY, .name = "guard", .ownRecord = enemy(1)},
                           {.kind = CN_KIND_PLAYER, .name = "player"},
                           {.kind = CN_KIND_PREFAB,
                            .name = "crane",
                            .ownRecord = [](F_MemoryFile& file) { test::writeOldPrefab(file, 3, "Crane", false, 1); },
                            .children = {{.kind = CN_KIND_PREFAB_CONTENT,
                                          .name = "prefab",
                                          .ownRecord = test::writeOldPrefabContent,
                                          .children = {{.name = "Way"}}}}}};
    level.selected = {1, 5};
    return test::makeLevel(level);
}

TEST(HostileLevel, EveryDamageIsRefusedOrLoads) {
    const test::ProcessStateGuard process;
    for (const auto& [name, level] : {std::pair("newest", test::makeLevel(newestLevel())),
                                      {"oldest", test::makeLevel(oldestLevel())},
                                      {"further_kinds", levelOfFurtherKinds()},
                                      {"old_forms", levelOfOldForms()}}) {
        SCOPED_TRACE(name);
        keepSeed(name, level);
        const auto result = test::driveHostileBytes(level, loadAndSaveTwice);
        EXPECT_EQ(result.text(), "");
        EXPECT_GT(result.taken, 0u);
        EXPECT_GT(result.refused, 0u);
    }
}

TEST(HostileLevel, NestingEndsAtItsBound) {
    const test::ProcessStateGuard process;
    loadAndSaveTwice(test::makeLevel(chain(CN_MAX_ENTITY_DEPTH, "Box")));
    EXPECT_NE(loadFailure(chain(CN_MAX_ENTITY_DEPTH + 1, "Box")).find("nested deeper"), string::npos);
    EXPECT_NE(loadFailure(chain(CN_MAX_ENTITY_DEPTH * 4, "Box")).find("nested deeper"), string::npos);
}

TEST(HostileLevel, QualifiedNamesTakeNoMoreThanTheyMay) {
    const test::ProcessStateGuard process;
    const string failure = loadFailure(chain(64, std::string(0x10000, 'n'))); // 128 MiB in all
    EXPECT_NE(failure.find("qualified names"), string::npos);
    EXPECT_LT(failure.size(), 0x400000u);
}

TEST(HostileLevel, CountsAreHeldAgainstTheBytesThatAreLeft) {
    OldLevel children;
    children.root.ownRecord = [](F_MemoryFile& file) { file << 0xFFFFFFFFu; }; // read as the count of children
    EXPECT_NE(loadFailure(children).find("4294967295"), string::npos);

    F_MemoryFile file;
    const Bytes level = test::makeLevel({.groupNames = false});
    file.write(level.data(), static_cast<int>(level.size()));
    file.createChunk(0, 1);
    file << 0x7FFFFFFFu << "guards";
    file.closeChunk();
    file.toRead();
    CN_Document document;
    EXPECT_NE(failureText([&] { document.load(file); }).find("2147483647"), string::npos);
}

} // namespace
} // namespace cairn
