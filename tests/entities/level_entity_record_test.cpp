#include "cairn/document/load_report.h"
#include "cairn/entities/enemy.h"
#include "cairn/fsm/change_manager.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/old_records.h"
#include "tests/support/process_state_guard.h"

#include <gmock/gmock.h>

#include <limits>

namespace cairn::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

/// Loads the record as whoever creates entities does.
std::unique_ptr<CN_LevelEntity> loadEntity(const std::function<void(F_MemoryFile&)>& write,
                                           CN_Document* document = nullptr) {
    F_MemoryFile file;
    write(file);
    file.toRead();
    int kind = 0;
    file >> kind;
    // The factory makes no enemy without a database.
    auto entity = kind == CN_KIND_ENEMY ? std::unique_ptr<CN_LevelEntity>(std::make_unique<CN_LevelEntityEnemy>())
                                        : makeEntity(kind, document);
    entity->load(file);
    EXPECT_EQ(file.getRemaining(), 0u);
    return entity;
}

std::unique_ptr<CN_LevelEntity> loadOld(const OldEntity& entity, CN_Document* document = nullptr) {
    return loadEntity([&](F_MemoryFile& file) { writeOldEntity(file, entity); }, document);
}

/// For the kinds that have no record of their own.
OldEntity bare(int kind, const std::string& name, std::vector<OldEntity> children = {}) {
    return {.kind = kind, .name = name, .children = std::move(children)};
}

struct LevelEntityRecord : testing::Test {
    ~LevelEntityRecord() override { loaded().clear(); }
    static std::unordered_map<unsigned int, CN_LevelEntity*>& loaded() {
        return CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;
    }
    ProcessStateGuard guard;
};

TEST_F(LevelEntityRecord, ComesBackAsItWasSaved) {
    auto root = makeEntity(CN_KIND_LEVEL);
    CN_LevelEntity* a = addChild(*root, CN_KIND_MESH, "a");
    addChild(*a, CN_KIND_MESH, "b")->setVisible(false);
    a->setPosition({1, 2, 3});
    a->setRotation(CN_LevelEntity::Matrix::rotationY(1));
    root->handleParenting(false);
    a->createFSM();
    a->accessGeneralProperties().setReserved(true);
    const auto back = loadEntity([&](F_MemoryFile& file) { root->save(file); });
    ASSERT_EQ(back->getChildren().size(), 1u);
    CN_LevelEntity* a2 = back->getChildren().front();
    EXPECT_EQ(a2->getGeneralProperties(), a->getGeneralProperties());
    EXPECT_EQ(a2->getWorldRotation(), a->getWorldRotation());
    EXPECT_EQ(a2->getBoundingMin(), a->getBoundingMin());
    EXPECT_TRUE(a2->hasFSM());
    CN_LevelEntity* b2 = a2->getChildren().front();
    EXPECT_EQ(qualifiedName(b2), "::a::b");
    EXPECT_EQ(b2->getWorldPosition(), CN_LevelEntity::Vector(1, 2, 3)) << "also of the invisible";
    EXPECT_EQ(loaded().at(CN_LevelEntity::getSerialisationId(a)), a2);
}

TEST_F(LevelEntityRecord, OldVersionsGetTheDefaultsOfTheirTime) {
    for (const int kind :
         {CN_KIND_MESH, CN_KIND_PREFAB, CN_KIND_FSM, CN_KIND_TRIGGER, CN_KIND_ENEMY, CN_KIND_TRIMESH, CN_KIND_AI_NODE})
        for (const int version : {1, 2, 3, 4}) {
            OldEntity old = bare(kind, "e");
            old.version = version;
            old.identity = 77;
            old.exportRegrouping = true;
            old.critical = false;
            const auto entity = loadOld(old);
            EXPECT_EQ(loaded().count(77), version > 1 ? 1u : 0u);
            EXPECT_EQ(entity->isExportRegroupingEnabled(), version > 2);
            const bool ownFlag =
                kind == CN_KIND_MESH || kind == CN_KIND_PREFAB || kind == CN_KIND_TRIMESH || kind == CN_KIND_AI_NODE;
            EXPECT_EQ(entity->getGeneralProperties().isGameplayCritical(), version < 4 && !ownFlag) << kind;
        }
    EXPECT_TRUE(loaded().empty()) << "an entity that dies leaves the map";
}

TEST_F(LevelEntityRecord, FirstOfAnIdentityKeepsIt) {
    OldEntity old = bare(CN_KIND_LEVEL, "r", {bare(CN_KIND_MESH, "a"), bare(CN_KIND_MESH, "b")});
    old.children[0].identity = old.children[1].identity = 9;
    const auto root = loadOld(old);
    EXPECT_EQ(loaded().at(9), root->getChildren().front());
    EXPECT_EQ(loaded().count(0), 0u);
}

TEST_F(LevelEntityRecord, SiblingsAlikeAreRenamedAndReported) {
    LevelDocument document;
    const auto root = loadOld(bare(CN_KIND_LEVEL, "r",
                                   {bare(CN_KIND_MESH, "a"), bare(CN_KIND_MESH, "A"), bare(CN_KIND_MESH, ""),
                                    bare(CN_KIND_MESH, "this", {bare(CN_KIND_MESH, "x")})}),
                              &document);
    std::vector<std::string> names;
    for (const CN_LevelEntity* child : root->getChildren())
        names.push_back(child->getName().str());
    EXPECT_THAT(names, testing::ElementsAre("a", "A01", "Mesh_00", "this"));
    EXPECT_EQ(qualifiedName(root->getChildren().back()), "") << "a name that setName refuses";
    document.accessLoadReport().resolve();
    const auto& findings = document.getLoadReport().getFindings();
    ASSERT_EQ(findings.size(), 2u);
    EXPECT_EQ(findings[0].code, "repaired");
    EXPECT_EQ(findings[0].entity, "::A01");
    EXPECT_THAT(findings[0].text, AllOf(HasSubstr("\"A\""), HasSubstr("\"A01\"")));
}

TEST_F(LevelEntityRecord, BrokenRotationsAreLoggedAndKept) {
    OldEntity old = bare(CN_KIND_MESH, "skew");
    old.rotation.at(2, 2) = 5; // not looked at
    EXPECT_EQ(loadOld(old)->getRotation(), old.rotation);
    EXPECT_EQ(guard.log(), "");
    for (const double element : {0.5, NaN}) {
        guard.clear();
        old.rotation.at(0, 1) = element;
        EXPECT_EQ(loadOld(old)->getRotation().at(2, 2), 5);
        EXPECT_THAT(guard.log(), AllOf(HasSubstr("AAt = ("), HasSubstr("skew = (  0.000   1.000   0.000)")));
    }
}

TEST_F(LevelEntityRecord, RefusesWhatCannotStandWhereItIs) {
    struct Row {
        OldEntity entity;
        const char *first, *second;
    };
    OldEntity far = bare(CN_KIND_MESH, "far");
    far.position.y = NaN;
    OldEntity round = bare(CN_KIND_MESH, "round");
    round.boundingRadius = std::numeric_limits<double>::infinity();
    for (const auto& [entity, first, second] :
         std::vector<Row>{{bare(CN_KIND_LEVEL, "r", {bare(CN_KIND_MESH, "a", {bare(101, "odd")})}), "\"::a\"", "101"},
                          {bare(CN_KIND_LEVEL, "r", {bare(CN_KIND_LEVEL, "odd")}), "\"::\"", "103"},
                          {bare(CN_KIND_LEVEL, "r", {bare(CN_KIND_PORTAL, "odd")}), "\"::\"", "114"},
                          {bare(CN_KIND_LEVEL, "r", {far}), "\"::far\"", "position"},
                          {bare(CN_KIND_LEVEL, "r", {round}), "\"::round\"", "bounding radius"}})
        EXPECT_THAT(failureText([&, e = &entity] { loadOld(*e); }), AllOf(HasSubstr(first), HasSubstr(second)));
    EXPECT_TRUE(loaded().empty());
    EXPECT_EQ(qualifiedName(loadOld(bare(CN_KIND_LEVEL, "r", {bare(CN_KIND_MESH, "a")}))->getChildren().front()), "::a")
        << "a refused load leaves nothing behind";
}

TEST_F(LevelEntityRecord, NamesAreRightWhereALoadStops) {
    F_MemoryFile file;
    writeOldEntity(file, bare(CN_KIND_LEVEL, "r",
                              {bare(CN_KIND_MESH, "Room", {bare(CN_KIND_MESH, "Box", {bare(CN_KIND_MESH, "Lid")})}),
                               bare(CN_KIND_MESH, "Next", {bare(101, "odd")})}));
    file.toRead();
    int kind = 0;
    file >> kind;
    auto root = makeEntity(kind);
    EXPECT_THAT(failureText([&] { root->load(file); }), HasSubstr("101"));
    ASSERT_EQ(root->getChildren().size(), 1u);
    const CN_LevelEntity* box = root->getChildren().front()->getChildren().front();
    EXPECT_EQ(qualifiedName(box), "::Room::Box");
    EXPECT_EQ(qualifiedName(box->getChildren().front()), "::Room::Box::Lid");
}

TEST_F(LevelEntityRecord, SavesWhatItLoadsAndNothingDeeper) {
    auto root = makeEntity(CN_KIND_LEVEL);
    CN_LevelEntity* at = root.get();
    for (int i = 1; i < CN_MAX_ENTITY_DEPTH; ++i)
        at = addChild(*at, CN_KIND_MESH, "m");
    EXPECT_EQ(failureText([&] { loadEntity([&](F_MemoryFile& file) { root->save(file); }); }), "(nothing thrown)");
    addChild(*at, CN_KIND_MESH, "deep");
    F_MemoryFile file;
    EXPECT_THAT(failureText([&] { root->save(file); }), AllOf(HasSubstr("::m::deep"), HasSubstr("1024")));
    EXPECT_EQ(file.getSize(), 0u);
}

TEST_F(LevelEntityRecord, RefusesToSaveWhatWouldNotLoad) {
    auto root = makeEntity(CN_KIND_LEVEL);
    F_MemoryFile file;
    addChild(*root, CN_KIND_PORTAL, "door");
    EXPECT_THAT(failureText([&] { root->save(file); }), AllOf(HasSubstr("\"::door\""), HasSubstr("mesh")));
    EXPECT_EQ(file.getSize(), 0u);
}

} // namespace
} // namespace cairn::test
