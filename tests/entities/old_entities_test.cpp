#include "cairn/document/document.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/player.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/entities/trigger.h"
#include "cairn/foundation/file.h"
#include "cairn/fsm/fsm.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_entities.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/test_data.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;

/// The entity is made here, as the factory makes no enemy without a content database.
std::unique_ptr<CN_LevelEntity> make(int kind) {
    switch (kind) {
    case CN_KIND_ENEMY:
        return std::make_unique<CN_LevelEntityEnemy>();
    case CN_KIND_PLAYER:
        return std::make_unique<CN_LevelEntityPlayer>();
    case CN_KIND_FSM:
        return std::make_unique<CN_LevelEntityFSM>();
    case CN_KIND_TRIGGER:
        return std::make_unique<CN_LevelEntityTrigger>();
    case CN_KIND_PREFAB:
        return std::make_unique<CN_LevelEntityPrefab>();
    default:
        return std::make_unique<CN_LevelEntityPrefabContent>();
    }
}

/// What a record says of the entity.
std::string textOf(const CN_LevelEntity& entity) {
    std::string text;
    if (const auto* const enemy = dynamic_cast<const CN_LevelEntityEnemy*>(&entity))
        text = fmt::format("{} group {} animation {} ", enemy->getSharedDBName(), view(enemy->getGroup()),
                           view(enemy->getCustomAnimationName()));
    if (const auto* const player = dynamic_cast<const CN_LevelEntityPlayer*>(&entity))
        text = fmt::format("group {}", view(player->getGroup()));
    if (const auto* const prefab = dynamic_cast<const CN_LevelEntityPrefab*>(&entity))
        text = fmt::format("type {} {}", view(prefab->getPrefabType()), prefab->isEditable() ? "editable " : "");
    if (const auto* const sphere = dynamic_cast<const CN_UISphereEntity*>(&entity))
        text += fmt::format("radius {:.17}", sphere->getRadius());
    return text;
}

Bytes ownRecordOf(CN_LevelEntity& entity) {
    F_MemoryFile file;
    entity.saveEntitySpecificData(file);
    return test::bytesOf(file);
}

/// Reads the own record, all of it, and nothing in it as a newer version's.
void readOwnRecord(CN_LevelEntity& entity, const Bytes& record) {
    F_MemoryFile file(record.data(), record.size(), false);
    entity.loadEntitySpecificData(file);
    EXPECT_EQ(file.getRemaining(), 0u);
    EXPECT_EQ(file.getUnreadBytes(), 0u);
}

/// The whole entity as it comes back from `old`, in `document`.
std::unique_ptr<CN_LevelEntity> read(const test::OldEntity& old, CN_Document* document = nullptr) {
    F_MemoryFile file;
    test::writeOldEntity(file, old);
    file.toRead();
    int kind = 0;
    file >> kind;
    auto entity = make(kind);
    entity->setDocument(document);
    entity->load(file);
    return entity;
}

/// The entity as it comes back from its own save.
std::unique_ptr<CN_LevelEntity> savedAndRead(CN_LevelEntity& entity) {
    F_MemoryFile file;
    entity.save(file);
    file.toRead();
    int kind = 0;
    file >> kind;
    auto again = make(kind);
    again->load(file);
    return again;
}

TEST(OldEntities, EveryStoredFormLoadsAndSavesInTheNewest) {
    struct Case {
        const char* name;
        int kind;
        const char* expected; ///< null: it is refused
    };
    for (const auto& [name, kind, expected] : std::initializer_list<Case>{
             {"enemy_bare", CN_KIND_ENEMY, "Brute group  animation Default radius 2"},
             {"enemy_1", CN_KIND_ENEMY, "Brute group Guards animation Default radius 2"},
             {"enemy_2", CN_KIND_ENEMY, "Brute group Guards animation Wave radius 2"},
             {"player_1", CN_KIND_PLAYER, "group PLAYER_GROUP"},
             {"fsm_entity_1", CN_KIND_FSM, "radius 0.05000000074505806"},
             {"prefab_2", CN_KIND_PREFAB, nullptr},
             {"prefab_3", CN_KIND_PREFAB, "type Crane radius 3"},
             {"prefab_content_1", CN_KIND_PREFAB_CONTENT, ""},
         }) {
        SCOPED_TRACE(name);
        const Bytes stored =
            F_File::readAll(test::projectFile("tests/data/records/" + std::string(name) + ".record").string());
        const auto entity = make(kind), again = make(kind);
        if (!expected) {
            EXPECT_EQ(failureText([&, e = entity.get()] { readOwnRecord(*e, stored); }),
                      "Invalid prefab format. Was expecting version [3] got [2]!");
            continue;
        }
        readOwnRecord(*entity, stored);
        EXPECT_EQ(textOf(*entity), expected);
        const Bytes newest = ownRecordOf(*entity);
        EXPECT_EQ(newest == stored, name == std::string("enemy_2") || name == std::string("prefab_3"));
        readOwnRecord(*again, newest);
        EXPECT_EQ(textOf(*again), textOf(*entity));
        EXPECT_EQ(ownRecordOf(*again), newest);
    }
}

/// Before they had records of their own.
TEST(OldEntities, LevelsOfTheFirstVersionsLoad) {
    for (const int kind : {CN_KIND_ENEMY, CN_KIND_PLAYER, CN_KIND_FSM, CN_KIND_PREFAB}) {
        const auto entity = read({.kind = kind, .name = "e", .ownRecord = [](F_MemoryFile&) {}});
        EXPECT_EQ(ownRecordOf(*entity), ownRecordOf(*make(kind))) << kind;
        if (kind == CN_KIND_FSM || kind == CN_KIND_PREFAB) { // whose newest record sets the bound
            EXPECT_EQ(entity->getBoundingRadius(), savedAndRead(*entity)->getBoundingRadius()) << kind;
        }
    }
}

TEST(OldEntities, ARadiusThatIsNoneIsRefused) {
    F_MemoryFile file;
    test::writeOldPrefab(file, 3, "", true, std::numeric_limits<double>::infinity());
    file.toRead();
    EXPECT_NE(failureText([&] { CN_LevelEntityPrefab().loadEntitySpecificData(file); }).find("radius"),
              std::string::npos);
}

TEST(Enemy, OfAFileWithoutItsChunkHasTheGroupThatItsNameTells) {
    const std::pair<const char*, const char*> groups[] = {
        {"guard_g3x", "3"},
        {"boss_g0", "PLAYER_GROUP"},
        {"guard_G007", "7"},
        {"_g1", "1"},
        {"a_g1_g20_gx", "20"},
        {"_g99999999999", "2147483647"},
        {"g1", ""},
        {"a_g", ""},
        {"_gx", ""},
        {"", ""},
    };
    for (const auto& [name, group] : groups) {
        SCOPED_TRACE(name);
        CN_Document document;
        document.accessAICharacterGroups().clear();
        const auto enemy = read({.kind = CN_KIND_ENEMY,
                                 .name = name,
                                 .ownRecord = [](F_MemoryFile& file) { test::writeOldEnemy(file, 0, "", ""); }},
                                &document);
        EXPECT_EQ(dynamic_cast<CN_LevelEntityEnemy&>(*enemy).getGroup(), group);
        const CN_Document::GroupMap expected = *group ? CN_Document::GroupMap{{group, 0}} : CN_Document::GroupMap{};
        EXPECT_EQ(document.getAICharacterGroups(), expected);
    }
}

TEST(OldEntities, StoredMachinesGetTheHandlersOfTheirKind) {
    CN_LevelEntityEnemy enemy;
    enemy.accessFSM()->createMessageHandler("OnSpecial");
    enemy.accessFSM()->deleteMessageHandler("OnUse");
    const auto enemyAgain = savedAndRead(enemy);
    EXPECT_FALSE(enemyAgain->getFSM()->hasMessageHandler("OnSpecial"));
    EXPECT_TRUE(enemyAgain->getFSM()->hasMessageHandler("OnUse"));
    CN_LevelEntityPlayer player;
    player.accessFSM()->deleteMessageHandler("OnDeath");
    EXPECT_TRUE(savedAndRead(player)->getFSM()->hasMessageHandler("OnDeath"));
    CN_LevelEntityTrigger trigger;
    trigger.accessFSM()->deleteMessageHandler("T_Activate");
    EXPECT_FALSE(savedAndRead(trigger)->getFSM()->hasMessageHandler("T_Activate")) << "a trigger keeps what was stored";
}

TEST(Player, OfAFileIsVisibleAndInItsOwnGroup) {
    CN_Document document;
    document.accessAICharacterGroups().clear();
    const auto player = read({.kind = CN_KIND_PLAYER,
                              .name = "player",
                              .visible = false,
                              .ownRecord = [](F_MemoryFile& file) { test::writeOldPlayer(file, "Guards"); }},
                             &document);
    EXPECT_TRUE(player->isVisible());
    EXPECT_EQ(document.getAICharacterGroups(), (CN_Document::GroupMap{{"PLAYER_GROUP", 0}}));
}

} // namespace
} // namespace cairn
