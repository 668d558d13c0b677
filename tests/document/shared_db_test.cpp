#include "cairn/content/shared_db_writer.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/mesh_interface.h"
#include "cairn/entities/mesh_properties.h"
#include "cairn/entities/trigger_properties.h"
#include "tests/content/content_files.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/old_mesh_entities.h"
#include "tests/support/process_state_guard.h"

#include <gmock/gmock.h>

namespace cairn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

CString databasePath;
CString& givePath() { return databasePath; }

/// What the remap callback is to do, and what it was asked.
struct Remapping {
    string answer; ///< empty: leaves the replacement as it is
    std::vector<string> asked;
    std::vector<string> held; ///< what the replacement held at each call
    std::vector<string> candidates;
};
Remapping remapping;

void remap(const string& name, string& replacement, std::vector<string, F_Allocator<string>>& candidates) {
    remapping.asked.push_back(name);
    remapping.held.push_back(replacement);
    remapping.candidates = candidates;
    if (!remapping.answer.empty())
        replacement = remapping.answer;
}

class SharedDBFacade : public testing::Test {
  protected:
    SharedDBFacade() {
        CN_LevelFileLibrary::setSharedDBPathCallback(givePath);
        remapping = {};
        databasePath = CString(m_folder.path("content.db"));
        Y_SharedDBWriter::create(toString(databasePath));
    }
    ~SharedDBFacade() override {
        CN_SharedDB::deleteInstance();
        CN_LevelFileLibrary::setSharedDBPathCallback(nullptr);
        databasePath.Empty();
    }

    void add(Y_SharedDBKind kind, std::initializer_list<const char*> names,
             const Y_SharedDBEntryOptions& options = {}) {
        Y_SharedDBWriter writer(toString(databasePath));
        for (const char* name : names)
            writer.add(kind, name, options);
        writer.commit();
    }
    std::string boxText(const char* details) {
        return "Unable to create shared database from location " + databasePath.str() + "\n\nDetails:\n" + details;
    }

    test::ProcessStateGuard m_process;
    test::ContentFolder m_folder;
};

std::vector<string> spelled(const std::set<istring>& names) {
    std::vector<string> result;
    for (const istring& name : names)
        result.push_back(toString(name));
    return result;
}

string checked(int kind, const string& name) {
    string out = "what stood there";
    CN_SharedDB::instance()->getCheckedSharedDBName(kind, name, out);
    return out;
}

TEST_F(SharedDBFacade, GathersTheNamesOfEachKind) {
    const struct {
        Y_SharedDBKind kind;
        const std::set<istring>& (CN_SharedDB::*names)() const;
    } cases[] = {
        {Y_SharedDBKind::CAMERA_PATH, &CN_SharedDB::getCameraPaths},
        {Y_SharedDBKind::STORY_PAGE, &CN_SharedDB::getStoryPages},
        {Y_SharedDBKind::LEVEL, &CN_SharedDB::getLevels},
        {Y_SharedDBKind::MESSAGE_BATCH, &CN_SharedDB::getMessageBatches},
        {Y_SharedDBKind::MUSIC, &CN_SharedDB::getMusic},
        {Y_SharedDBKind::PARTICLE, &CN_SharedDB::getParticles},
        {Y_SharedDBKind::PROJECTILE, &CN_SharedDB::getProjectiles},
        {Y_SharedDBKind::WEAPON, &CN_SharedDB::getWeapons},
        {Y_SharedDBKind::SKIN, &CN_SharedDB::getSkins},
        {Y_SharedDBKind::SOUND_CATEGORY, &CN_SharedDB::getSoundCategories},
        {Y_SharedDBKind::SOUND_ENVIRONMENT, &CN_SharedDB::getSoundEnvironments},
        {Y_SharedDBKind::LEVEL_ITEM, &CN_SharedDB::getLevelItems},
        {Y_SharedDBKind::STORY_EVENT, &CN_SharedDB::getStoryEvents},
        {Y_SharedDBKind::FLARE, &CN_SharedDB::getFlares},
        {Y_SharedDBKind::PHYSICAL_MATERIAL, &CN_SharedDB::getPhysicalMaterials},
        {Y_SharedDBKind::UPPER_BODY_BONE, &CN_SharedDB::getOneHandedUpperBodyBones},
        {Y_SharedDBKind::LOWER_BODY_BONE, &CN_SharedDB::getOneHandedLowerBodyBones},
    };
    for (const auto& c : cases)
        add(c.kind, {"z", getSharedDBKindInfo(c.kind).name});
    add(Y_SharedDBKind::SKELETON, {"second"});
    add(Y_SharedDBKind::UPPER_BODY_BONE, {"not of the first skeleton"}, {.skeleton = "second"});

    ASSERT_NE(CN_SharedDB::createInstance(), nullptr);
    for (const auto& c : cases)
        EXPECT_THAT(spelled((CN_SharedDB::instance()->*c.names)()), ElementsAre(getSharedDBKindInfo(c.kind).name, "z"));
    EXPECT_THAT(m_process.boxes(), IsEmpty());
}

TEST_F(SharedDBFacade, TakesForUseAnimationsWhatBeginsLikeOne) {
    add(Y_SharedDBKind::SKIN, {"a", "b"});
    add(Y_SharedDBKind::ANIMATION, {"use_door", "USE_Lever", "reuse_door", "use", "use_"}, {.skin = "a"});
    add(Y_SharedDBKind::ANIMATION, {"Use_Door", "run"}, {.skin = "b"});
    CN_SharedDB* const database = CN_SharedDB::createInstance();
    ASSERT_NE(database, nullptr);
    EXPECT_THAT(spelled(database->getUseAnimations()), ElementsAre("Default", "use_", "use_door", "USE_Lever"));

    database->setRemapNameCallback(remap);
    remapping.answer = "Default";
    const struct {
        const char* name;
        const char* out;
    } cases[] = {{"dEFAULT", "dEFAULT"}, {"USE_DOOR", "USE_DOOR"}, {"run", "Default"}, {"RUN", "Default"}};
    for (const auto& c : cases) {
        string out;
        database->getCheckedUseAnimName(c.name, out);
        EXPECT_EQ(out, c.out);
    }
    EXPECT_THAT(remapping.asked, ElementsAre("run"));
}

TEST_F(SharedDBFacade, ChecksEachKindAgainstItsSet) {
    add(Y_SharedDBKind::PHYSICAL_MATERIAL, {"Wood", "Air"});
    add(Y_SharedDBKind::LEVEL_ITEM, {"Key"});
    add(Y_SharedDBKind::SKIN, {"Guard"});
    add(Y_SharedDBKind::FLARE, {"Sun"});
    CN_SharedDB::createInstance()->setRemapNameCallback(remap);
    string first;
    CN_SharedDB::instance()->getDefaultPhysicalMaterial(first);
    EXPECT_EQ(first, "Wood");

    const struct {
        int kind;
        const char* valid;
        const char* spelled;
    } cases[] = {{100, "Wood", "wOOD"}, {109, "Key", "kEY"}, {110, "Guard", "gUARD"}, {119, "Sun", "sUN"}};
    for (const auto& c : cases) {
        EXPECT_EQ(checked(c.kind, c.spelled), c.spelled); // a hit keeps the level's spelling
        EXPECT_THAT(remapping.asked, IsEmpty());
        remapping.answer = c.valid;
        EXPECT_EQ(checked(c.kind, "gone"), c.valid); // each kind remembers for itself
        EXPECT_THAT(remapping.asked, ElementsAre("gone"));
        EXPECT_THAT(remapping.held, ElementsAre("gone"));
        EXPECT_THAT(remapping.candidates, testing::Contains(c.valid));
        remapping = {};
    }
    EXPECT_EQ(checked(104, "anything"), "anything");
    EXPECT_THAT(remapping.asked, IsEmpty());
}

TEST_F(SharedDBFacade, AsksOnceForANameAndDatabase) {
    add(Y_SharedDBKind::FLARE, {"b", "A"});
    CN_SharedDB::createInstance();
    EXPECT_EQ(checked(119, "gone"), "gone"); // without a callback nothing is remembered
    CN_SharedDB::instance()->setRemapNameCallback(remap);
    EXPECT_EQ(checked(119, "gone"), "gone"); // nor is a name lost that the callback leaves
    remapping.answer = "b";
    EXPECT_EQ(checked(119, "GONE"), "gone");
    string both = "lost";
    CN_SharedDB::instance()->getCheckedSharedDBName(119, both, both);
    EXPECT_EQ(both, "b");
    EXPECT_EQ(checked(119, "Lost"), "b");
    EXPECT_THAT(remapping.asked, ElementsAre("gone", "lost"));
    EXPECT_THAT(remapping.candidates, ElementsAre("A", "b"));

    CN_SharedDB::createInstance();
    EXPECT_EQ(checked(119, "lost"), "lost"); // a new database has no callback and remembers nothing
    EXPECT_THAT(remapping.asked, ElementsAre("gone", "lost"));
}

TEST_F(SharedDBFacade, GivesTheNamesOfWhatMeshesAndTriggersLoad) {
    add(Y_SharedDBKind::PHYSICAL_MATERIAL, {"Wood", "Air"});
    CN_SharedDB::createInstance()->setRemapNameCallback(remap);
    remapping.answer = "Air";
    F_MemoryFile bare;
    test::writeOldMeshProperties(bare, 5, 0);
    bare.toRead();
    CN_MeshProperties settings;
    settings.load(bare, 5);
    EXPECT_EQ(settings.physicalMaterial, "Wood");

    for (const auto& [kind, unknown] : {std::pair(CN_KIND_MESH, "gone"), std::pair(CN_KIND_TRIMESH, "lost")}) {
        SCOPED_TRACE(kind);
        const std::unique_ptr<CN_LevelEntity> entity = test::makeEntity(kind);
        auto& mesh = dynamic_cast<CN_MeshInterface&>(*entity);
        const auto reloaded = [&](const char* material, bool dynamic) {
            settings.physicalMaterial = material;
            mesh.setMeshProperties(settings);
            mesh.setDynamic(dynamic);
            F_MemoryFile file;
            entity->saveEntitySpecificData(file);
            file.toRead();
            entity->loadEntitySpecificData(file);
            return mesh.getMeshProperties().physicalMaterial;
        };
        mesh.makeDynamic(true);
        EXPECT_EQ(mesh.getMeshProperties().physicalMaterial, "Wood");
        EXPECT_EQ(reloaded("", true), "Wood");
        EXPECT_EQ(reloaded(unknown, true), "Air");
        EXPECT_EQ(reloaded("of no use", false), "");
    }

    F_MemoryFile old;
    test::writeOldTriggerProperties(old, 2);
    old.toRead();
    CN_TriggerProperties trigger;
    trigger.load(old);
    EXPECT_EQ(toString(trigger.animationName), "Air");
    EXPECT_THAT(remapping.asked, ElementsAre("gone", "lost", "Pull"));
}

TEST_F(SharedDBFacade, GoesWithoutADatabaseThatCannotBeOpened) {
    EXPECT_EQ(CN_SharedDB::instance(), nullptr);
    ASSERT_NE(CN_SharedDB::createInstance(), nullptr);
    databasePath = CString(m_folder.path("missing.db"));
    EXPECT_EQ(CN_SharedDB::createInstance(), nullptr);
    EXPECT_EQ(CN_SharedDB::instance(), nullptr); // the old one has gone too
    const std::string details = "Content database \"" + databasePath.str() + "\": there is no such file";
    EXPECT_THAT(m_process.boxes(), ElementsAre(test::ShownBox{boxText(details.c_str()), MB_OK}));

    m_process.clear();
    databasePath.Empty();
    CN_LevelFileLibrary::setSharedDBPathCallback(nullptr);
    EXPECT_EQ(CN_SharedDB::createInstance(), nullptr);
    EXPECT_THAT(m_process.boxes(), ElementsAre(test::ShownBox{boxText("No path callback is set"), MB_OK}));
}

TEST_F(SharedDBFacade, OpensAnEmptyOneInMemory) {
    for (const char* path : {"", ":memory:"}) {
        databasePath = path;
        ASSERT_NE(CN_SharedDB::createInstance(), nullptr);
        EXPECT_EQ(checked(109, "Key"), "Key");
        string material = "what stood there";
        CN_SharedDB::instance()->getDefaultPhysicalMaterial(material);
        EXPECT_EQ(material, "");
        EXPECT_THAT(spelled(CN_SharedDB::instance()->getUseAnimations()), ElementsAre("Default"));
    }
    EXPECT_THAT(m_process.boxes(), IsEmpty());
    CN_SharedDB::deleteInstance();
    EXPECT_EQ(CN_SharedDB::instance(), nullptr);
}

} // namespace
} // namespace cairn
