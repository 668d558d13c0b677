#include "cairn/document/entity_factory.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/load_report.h"
#include "cairn/document/name_validator.h"
#include "cairn/document/shared_db.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/process_state_guard.h"

#include <gmock/gmock.h>

namespace cairn::test {
namespace {

TEST(EntityFactory, KnowsItsKindsAndNoOther) {
    CN_EntityFactory* factory = CN_EntityFactory::instance();
    for (int id = 99; id <= 121; ++id) {
        const bool known = id >= 100 && id <= 120 && id != 101 && id != 102;
        EXPECT_EQ(factory->isKnown(id), known) << id;
        EXPECT_EQ(getEntityClassName(id).empty(), !known) << id;
        if (id == CN_KIND_ITEM || id == CN_KIND_ENEMY || id == CN_KIND_FLARE) // made with a database only
            continue;
        const auto entity = makeEntity(id);
        ASSERT_EQ(entity != nullptr, known) << id;
        EXPECT_EQ(known ? entity->getEntityId() : id, id);
        const string typeName = factory->getEntityTypeName(id);
        EXPECT_EQ(factory->getEntityType(typeName), typeName.empty() ? 0 : id);
    }
    EXPECT_EQ(factory->getEntityType("mesh"), 0);
}

TEST(EntityFactory, MakesContentKindsWithADatabaseOnly) {
    const test::ProcessStateGuard process;
    static CString inMemory;
    CN_EntityFactory* factory = CN_EntityFactory::instance();
    for (const auto& [id, what] :
         {std::pair{CN_KIND_ITEM, "level item"}, {CN_KIND_ENEMY, "enemy"}, {CN_KIND_FLARE, "flare"}}) {
        // Another test may have made the prototype, with which no database is asked for any more.
        CN_SharedDB::deleteInstance();
        CN_LevelFileLibrary::setSharedDBPathCallback(nullptr);
        const std::size_t before = process.boxes().size();
        const std::unique_ptr<CN_LevelEntity> without(factory->createEntity(id, nullptr));
        if (!without) {
            ASSERT_EQ(process.boxes().size(), before + 2);
            EXPECT_NE(process.boxes()[before].text.find("Unable to create shared database"), string::npos);
            EXPECT_EQ(process.boxes()[before + 1].text,
                      string("Can't create ") + what + ", because shared database is not set!");
        }
        CN_LevelFileLibrary::setSharedDBPathCallback([]() -> CString& { return inMemory; });
        const std::unique_ptr<CN_LevelEntity> with(factory->createEntity(id, nullptr));
        ASSERT_NE(with, nullptr);
        CN_SharedDB::deleteInstance();
        CN_LevelFileLibrary::setSharedDBPathCallback(nullptr);
        const std::size_t quiet = process.boxes().size();
        EXPECT_NE(std::unique_ptr<CN_LevelEntity>(factory->createEntity(id, nullptr)), nullptr);
        EXPECT_EQ(process.boxes().size(), quiet);
    }
}

TEST(NameValidator, SaysWhatIsWrongWithAName) {
    struct Row {
        const char *name, *fault;
    };
    CN_NameValidator* validator = CN_NameValidator::instance();
    for (const auto& [name, fault] : std::initializer_list<Row>{
             {"a\tb c", "Naming Error! The name \"a\tb c\" has a space character which is illegal in a name!"},
             {"a\tb", "Naming Error! The name \"a\tb\" has a tab character which is illegal in a name!"},
             {"-a", "Naming Error! The name \"-a\" has illegal character(s) in it!"},
             {"a\xE4", "Naming Error! The name \"a\xE4\" has illegal character(s) in it!"},
             {"", "Naming Error! The name \"\" has illegal character(s) in it!"},
             {"PLAYER", "Naming Error! \"PLAYER\" is a reserved keyword!"},
             {"This", "Naming Error! \"This\" is a reserved keyword!"},
             {"7-a+b_c", ""}}) {
        EXPECT_EQ(validator->isValidEntityName(name), *fault == '\0') << name;
        EXPECT_EQ(validator->getLastNameFaultDescription(), fault);
        EXPECT_EQ(validator->isValidEntityName(CString(name)), *fault == '\0');
    }
}

TEST(LevelFileLibrary, GathersTheGroupsOfCharacters) {
    LevelDocument document;
    CN_LevelFileLibrary* library = CN_LevelFileLibrary::instance();
    library->cacheTargetGroups(&document, true);
    EXPECT_THAT(library->getTargetGroups(), testing::ElementsAre(istring("PLAYER_GROUP")));
    library->cacheTargetGroups(nullptr, false);
    EXPECT_TRUE(library->getTargetGroups().empty());
}

TEST(LoadReport, NamesEntitiesAtTheEndAndKeepsALimit) {
    auto root = makeEntity(CN_KIND_LEVEL);
    CN_LevelEntity* a = addChild(*root, CN_KIND_MESH, "a");
    CN_LevelEntity* b = addChild(*root, CN_KIND_MESH, "b");
    CN_LoadReport report;
    report.add("repaired", a, 3, "text");
    report.add("message", nullptr, -1, "box");
    report.add("newer-data", root.get(), -1, "");
    report.add("newer-data", b, -1, "");
    a->setName("c", false);
    root->remove(b);
    delete b;
    report.resolve();
    const auto& findings = report.getFindings();
    EXPECT_EQ(findings[0].entity, "::c");
    EXPECT_EQ(findings[0].polygon, 3);
    EXPECT_FALSE(findings[1].hasEntity);
    EXPECT_EQ(findings[2].entity, "::");
    EXPECT_FALSE(findings[3].hasEntity) << "it died meanwhile";
    for (int i = 0; i < 20000; ++i)
        report.add("message", nullptr, -1, "again");
    EXPECT_EQ(findings.size() + report.getDropped(), 20004u);
    EXPECT_LE(findings.size(), 10000u);
    report.clear();
    EXPECT_EQ(findings.size() + report.getDropped(), 0u);
}

} // namespace
} // namespace cairn::test
