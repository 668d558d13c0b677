#include "cairn/document/camera.h"
#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/lighting/lightmap_curve.h"
#include "cairn/lighting/lightmap_pool_interface.h"
#include "cairn/materials/material.h"
#include "tests/support/level_bytes.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;
using test::loadLevel;
using test::makeLevel;
using test::OldEntity;
using test::OldLevel;
using test::saveLevel;

constexpr std::size_t CAMERA_BYTES = 3 * 8 + 3 * 4 + 8;
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

CN_LevelEntity* addEntity(CN_Document& document, CN_LevelEntity* parent, int kind, const char* name) {
    CN_LevelEntity* entity = CN_EntityFactory::instance()->createEntity(kind, &document);
    entity->setName(name, false);
    parent->add(entity, false);
    return entity;
}

OldLevel levelOf(std::vector<OldEntity> children) {
    OldLevel level;
    level.root.children = std::move(children);
    return level;
}

std::vector<string> childNames(CN_Document& document) {
    std::vector<string> names;
    for (CN_LevelEntity* child : document.getLevel()->getChildren())
        names.push_back(toString(child->getName()));
    return names;
}

/// Catches the version of a refused file format; 99 where none was.
int refusedFormat(const Bytes& image) {
    CN_Document document;
    try {
        loadLevel(document, image);
    } catch (CN_Document_Exception_InvalidFileFormat* e) {
        const F_ExceptionGuard guard(e);
        return e->getVersion();
    }
    return 99;
}

class DocumentTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_TRUE(CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.empty()); }

    test::ProcessStateGuard m_process;
};

TEST_F(DocumentTest, ANewLevelComesBackAsItWas) {
    CN_Document document;
    EXPECT_TRUE(document.isConstructed());
    document.createCairnLevelEntities();
    document.createCairnLevelEntities();
    document.setInfoDocumentCreatedWithBuild("Build 25");
    document.setAutoSelectChildren(false);
    document.accessLightmaps()->getLightmapCurve().set(1, 2, 3, 4);
    const Bytes saved = saveLevel(document);
    EXPECT_EQ(saveLevel(document), saved);

    CN_Document loaded;
    loadLevel(loaded, saved);
    EXPECT_EQ(loaded.accessLevel()->getName(), "World_Group");
    EXPECT_EQ(childNames(loaded), std::vector<string>{"player"});
    EXPECT_EQ(loaded.getPlayer(), loaded.getLevel()->getChildren().front());
    EXPECT_EQ(loaded.getInfoDocumentCreatedWithBuild(), "Build 25");
    EXPECT_FALSE(loaded.getAutoSelectChildren());
    EXPECT_EQ(loaded.getLightmaps()->getLightmapCurve().getEqualization(), 4);
    EXPECT_EQ(test::reportCodes(loaded), "");
    EXPECT_EQ(saveLevel(loaded), saved);
}

TEST_F(DocumentTest, TellsWhatIsNoLevelFile) {
    EXPECT_EQ(refusedFormat(makeLevel({.sentinel = "CAIRN1.0"})), 3);
    EXPECT_EQ(refusedFormat(makeLevel({.sentinel = "cairn1.1"})), 3);
    EXPECT_EQ(refusedFormat(makeLevel({.formatVersion = 4})), 4);
    EXPECT_EQ(refusedFormat(makeLevel({.versionChunk = false, .formatVersion = 2})), 2);
    EXPECT_EQ(refusedFormat({}), -1);
    EXPECT_EQ(refusedFormat({'P', 'K', 3, 4, 0xFF, 0xFF, 0xFF, 0xFF}), -1);

    CN_Document old;
    loadLevel(old, makeLevel({.versionChunk = false}));
    EXPECT_EQ(old.getInfoDocumentCreatedWithBuild(), "Before Build 22");
}

TEST_F(DocumentTest, ReportsWhatANewerVersionWrote) {
    const Bytes level = makeLevel({});
    std::uint64_t bodyLength = 0;
    std::memcpy(&bodyLength, level.data() + 12, 8);
    F_MemoryFile newer;
    newer.createChunk(0, 2);
    newer << "CAIRN1.1" << 3 << "Build 99" << 1.0;
    newer.closeChunk();
    const std::size_t rest = 28 + static_cast<std::size_t>(bodyLength);
    newer.write(level.data() + rest, static_cast<int>(level.size() - rest));
    newer.toRead();

    CN_Document document;
    document.load(newer);
    ASSERT_EQ(test::reportCodes(document), "newer-data repaired");
    EXPECT_NE(document.getLoadReport().getFindings()[0].text.find("8 bytes"), string::npos);
}

TEST_F(DocumentTest, FindsOrMakesThePlayer) {
    struct Case {
        std::vector<OldEntity> children;
        std::vector<string> names;
        int kind;
    };
    const std::vector<Case> cases = {
        {{{.name = "A"}, {.name = "B"}}, {"A", "B", "player"}, CN_KIND_PLAYER},
        {{{.name = "PLAYER"}, {.name = "B"}}, {"PLAYER", "B"}, CN_KIND_WAYPOINT},
        {{{.kind = CN_KIND_PLAYER, .name = "hero"}}, {"hero", "player"}, CN_KIND_PLAYER},
    };
    for (const Case& c : cases) {
        CN_Document document;
        loadLevel(document, makeLevel(levelOf(c.children)));
        EXPECT_EQ(childNames(document), c.names);
        ASSERT_TRUE(document.accessPlayer());
        EXPECT_EQ(document.accessPlayer()->getName().CompareNoCase("player"), 0);
        EXPECT_EQ(document.getPlayer()->getEntityId(), c.kind);
    }
}

TEST_F(DocumentTest, KeepsGroupNamesAndTheTwoDefaults) {
    const auto groupsOf = [](const OldLevel& level) {
        CN_Document document;
        loadLevel(document, makeLevel(level));
        std::vector<string> names;
        for (const auto& [name, count] : document.getAICharacterGroups())
            names.push_back(toString(name) + "=" + std::to_string(count));
        return names;
    };
    EXPECT_EQ(groupsOf({.groupNames = false}), (std::vector<string>{"=0", "PLAYER_GROUP=0"}));
    EXPECT_EQ(groupsOf({.groups = {"player_group", "Zombies", "guards", "ZOMBIES"}}),
              (std::vector<string>{"=0", "guards=0", "PLAYER_GROUP=0", "Zombies=0"}));
}

TEST_F(DocumentTest, FindsThePlayerBeforeItTellsOfBrokenRotations) {
    OldLevel level = levelOf({{.name = "Way"}});
    level.root.children[0].rotation.row(0).x = 2;
    level.selected = {1};
    static CN_Document* s_document;
    static bool s_playerStood;
    static int s_selected;
    CN_Document document;
    s_document = &document;
    const MessageBoxHandler before = setMessageBoxHandler([](const CString&, unsigned) {
        s_playerStood = s_document->getPlayer() != nullptr;
        s_selected = static_cast<int>(s_document->getSelection()->getCount());
    });
    loadLevel(document, makeLevel(level));
    setMessageBoxHandler(before);
    EXPECT_TRUE(s_playerStood);
    EXPECT_EQ(s_selected, 0);
    EXPECT_EQ(document.getSelection()->getCount(), 1);
}

TEST_F(DocumentTest, ShowsBrokenRotationsOnceAndKeepsThem) {
    OldLevel level = levelOf({{.kind = CN_KIND_VOL_LIGHTING_BOX,
                               .name = "Outer",
                               .ownRecord = test::volLightingBoxRecord(1, 1),
                               .children = {{.name = "Inner"}}}});
    level.root.children[0].children[0].rotation.row(0).x = 2;
    level.root.rotation.row(1).y = NOT_A_NUMBER;
    CN_Document document;
    loadLevel(document, makeLevel(level));
    ASSERT_EQ(m_process.boxes().size(), 1u);
    const string& text = m_process.boxes()[0].text;
    EXPECT_EQ(text.substr(text.find('\n')).find("::Outer::Inner"), 1 + text.substr(text.find('\n') + 1).find("::"));
    EXPECT_EQ(text.find("The following entities have a broken rotation matrix! Contact a programmer immediately!!\n"),
              0u);
    EXPECT_EQ(test::reportCodes(document), "repaired broken-rotation broken-rotation");
    EXPECT_EQ(document.getLevel()->getChildren().front()->getChildren().front()->getRotation().row(0).x, 2);

    CN_Document again;
    const Bytes saved = saveLevel(document);
    loadLevel(again, saved);
    EXPECT_EQ(saveLevel(again), saved);
}

TEST_F(DocumentTest, ReportsTheTreeBeforeItReadsTheSelection) {
    OldLevel level = levelOf({{.name = "Way"}});
    level.root.children[0].rotation.row(0).x = 2;
    level.selection = OldLevel::Selection::NOTHING;
    level.groupNames = false;
    Bytes image = makeLevel(level);
    image.resize(image.size() - CAMERA_BYTES - 1);
    CN_Document document;
    EXPECT_NE(failureText([&] { loadLevel(document, image); }).find("a byte"), string::npos);
    EXPECT_EQ(m_process.boxes().size(), 1u);
    EXPECT_TRUE(document.getPlayer());
    EXPECT_EQ(test::reportCodes(document), "repaired broken-rotation");
    EXPECT_EQ(document.getLoadReport().getFindings()[1].entity, "::Way");
}

TEST_F(DocumentTest, RepairsSettingsThatAreNotFinite) {
    Bytes image = makeLevel({.groupNames = false});
    std::memcpy(image.data() + image.size() - CAMERA_BYTES, &NOT_A_NUMBER, sizeof NOT_A_NUMBER);
    CN_Document document;
    loadLevel(document, image);
    EXPECT_EQ(test::reportCodes(document), "repaired repaired");
    EXPECT_EQ(document.getCNCamera()->pos(), CN_Camera().pos());
}

/// What the cursor callback, which is a plain function, does and saw.
struct Cursor {
    static inline std::vector<int> steps;
    static inline std::size_t throwAt = 0;
    static inline const CN_LevelEntity* watched = nullptr;
    static inline std::uint32_t watchedNumber = 0;

    static void step(int what) {
        steps.push_back(what);
        watchedNumber = watched ? CN_LevelEntity::getSerialisationId(watched) : 0;
        if (steps.size() == throwAt)
            throwIt();
    }
    static void throwFoundation() { throw new F_Exception("stopped by the host"); }
    static inline void (*throwIt)() = &throwFoundation;
    static void reset(const CN_LevelEntity* watch = nullptr, std::size_t throwsAt = 0) {
        steps.clear();
        watched = watch;
        throwAt = throwsAt;
    }
};

TEST_F(DocumentTest, CallsTheCursorOncePerEntity) {
    CN_Document document;
    document.setCursorCallback(&Cursor::step);
    Cursor::reset();
    loadLevel(document, makeLevel(levelOf({{.name = "A"}, {.name = "B"}})));
    EXPECT_EQ(Cursor::steps, std::vector<int>({3, 3, 3})) << "not for the player that was made";
    Cursor::reset();
    saveLevel(document);
    document.startWaitCursor();
    document.stopWaitCursor();
    EXPECT_EQ(Cursor::steps, std::vector<int>({3, 3, 3, 3, 1, 2}));
}

TEST_F(DocumentTest, LetsWhatTheHostThrowsOut) {
    const Bytes image = makeLevel(levelOf({{.name = "A"}, {.name = "B"}}));
    const auto load = [&image] {
        CN_Document document;
        document.setCursorCallback(&Cursor::step);
        Cursor::reset(nullptr, 2);
        loadLevel(document, image);
    };
    Cursor::throwIt = [] { throw std::runtime_error("stopped"); };
    EXPECT_EQ(failureText(load), "stopped");

    CN_Document document;
    loadLevel(document, image);
    document.setCursorCallback(&Cursor::step);
    Cursor::reset(nullptr, 2);
    F_MemoryFile file;
    file << 1;
    EXPECT_EQ(failureText([&] { document.save(file); }), "stopped");
    EXPECT_EQ(file.getSize(), sizeof(int)) << "nothing of the level stands in it";

    Cursor::throwIt = [] { throw 7; };
    EXPECT_THROW(load(), int) << "what is no exception of the standard library goes on as it is";
    Cursor::throwIt = &Cursor::throwFoundation;
}

TEST_F(DocumentTest, NumbersEntitiesForTheTimeOfASave) {
    CN_Document document;
    document.createCairnLevelEntities();
    CN_LevelEntity* box = addEntity(document, document.accessLevel(), CN_KIND_VOL_LIGHTING_BOX, "Box");
    addEntity(document, box, CN_KIND_VOL_LIGHTING_BOX, "Inner");
    const CN_LevelEntity* last = addEntity(document, document.accessLevel(), CN_KIND_WAYPOINT, "Last");
    const std::uint32_t unique = CN_LevelEntity::getSerialisationId(last);
    EXPECT_GE(unique, 0x80000000u);

    document.setCursorCallback(&Cursor::step);
    for (const std::size_t throwAt : {0u, 3u}) {
        Cursor::reset(last, throwAt);
        EXPECT_EQ(failureText([&] { saveLevel(document); }), throwAt ? "stopped by the host" : "(nothing thrown)");
        EXPECT_EQ(Cursor::watchedNumber, 5u) << "root, player, box, inner, last";
        EXPECT_EQ(CN_LevelEntity::getSerialisationId(last), unique);
    }
}

TEST_F(DocumentTest, LeavesNothingBehindWhenALoadStops) {
    OldLevel level = levelOf({{.name = "A", .identity = 7}, {.name = "B", .identity = 8}});
    level.root.children[0].rotation.row(0).x = 2;
    CN_Document document;
    document.setCursorCallback(&Cursor::step);
    Cursor::reset(nullptr, 3);
    EXPECT_EQ(failureText([&] { loadLevel(document, makeLevel(level)); }), "stopped by the host");
    EXPECT_TRUE(CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.empty());
    EXPECT_FALSE(document.isLoading());
    EXPECT_TRUE(m_process.boxes().empty());
    document.addBrokenEntity(document.getLevel()); // nothing outside a load

    Cursor::reset();
    CN_Document next;
    loadLevel(next, makeLevel(levelOf({})));
    EXPECT_TRUE(m_process.boxes().empty());
}

TEST_F(DocumentTest, RefusesBeforeTheFirstByte) {
    CN_Document document;
    F_MemoryFile file;
    EXPECT_NE(failureText([&] { document.save(file); }).find("no level"), string::npos);
    document.createCairnLevelEntities();
    EXPECT_NE(failureText([&] { loadLevel(document, makeLevel({})); }).find("already"), string::npos);
    EXPECT_EQ(childNames(document), std::vector<string>{"player"});
    document.accessPlayer()->setPosition({NOT_A_NUMBER, 0, 0});
    EXPECT_NE(failureText([&] { document.save(file); }).find("::player"), string::npos);
    document.accessPlayer()->setPosition({});

    CN_MaterialsCategory* const walls = document.accessMaterials().addCategory(&document.accessTextures(), "Walls");
    CN_Material* const material = walls->add(0, nullptr, nullptr);
    material->setName("stone");
    CN_Texture* const texture = document.accessTextures().addNew();
    texture->setName("wall.tga");
    EXPECT_NE(failureText([&] { document.save(file); }).find("\"wall.tga\""), string::npos);
    auto* bytes = new unsigned char[1]{};
    texture->setSourceFormat(I_Image::TGA);
    EXPECT_NE(failureText([&] { texture->setSource(bytes, 1, true); }), "(nothing thrown)");
    material->setDiffuseTextures(CN_Material::TextureVector{texture, nullptr});
    EXPECT_NE(failureText([&] { document.save(file); }).find("\"stone\" of the category \"Walls\""), string::npos);
    material->setDiffuseTextures(CN_Material::TextureVector{texture});
    texture->setName("");
    EXPECT_NE(failureText([&] { document.save(file); }).find("\"stone\" of the category \"Walls\""), string::npos);
    EXPECT_EQ(file.getSize(), 0u);
    texture->setName("wall.tga");
    EXPECT_EQ(failureText([&] { document.save(file); }), "(nothing thrown)");

    OldLevel other;
    other.root.kind = CN_KIND_WAYPOINT;
    CN_Document fresh;
    EXPECT_NE(failureText([&] { loadLevel(fresh, makeLevel(other)); }).find("107"), string::npos);
    EXPECT_FALSE(fresh.getLevel());
}

TEST_F(DocumentTest, ForgetsEntitiesThatDie) {
    auto document = std::make_unique<CN_Document>();
    document->createCairnLevelEntities();
    CN_LevelEntity* way = addEntity(*document, document->accessLevel(), CN_KIND_WAYPOINT, "Way");
    document->addToLastHidden(way);
    document->addToLastHidden(document->accessPlayer());
    document->addBrokenFSMDefaultStateEntity(way);
    document->accessLevel()->remove(way);
    delete way;
    EXPECT_EQ(document->getLastHidden().size(), 1u);
    EXPECT_TRUE(document->getBrokenFSMDefaultStateEntityList().empty());
    CN_LevelEntity* player = document->accessPlayer();
    document->accessLevel()->remove(player);
    delete player;
    EXPECT_FALSE(document->getPlayer());

    std::unique_ptr<CN_LevelEntity> orphan(
        CN_EntityFactory::instance()->createEntity(CN_KIND_WAYPOINT, document.get()));
    EXPECT_TRUE(CN_Document::isAlive(document.get()));
    CN_FSMChangeManager::instance()->documentChangedNotification(nullptr, document.get(), nullptr);
    const CN_Document* dead = document.get();
    document.reset();
    EXPECT_FALSE(CN_Document::isAlive(dead));
    EXPECT_FALSE(CN_FSMChangeManager::instance()->getDocument());
}

TEST_F(DocumentTest, HandsMessagesToTheHostAlone) {
    static std::vector<std::pair<int, string>> messages;
    CN_Document document;
    document.showMessage(2, "nobody listens");
    document.setErrorCallback([](int severity, const CString& text) { messages.emplace_back(severity, text.str()); });
    document.showMessage(2, "an edge");
    EXPECT_EQ(messages, (std::vector<std::pair<int, string>>{{2, "an edge"}}));
    EXPECT_TRUE(m_process.boxes().empty());
}

TEST_F(DocumentTest, ANewLevelKnowsNothingOfTheOneBefore) {
    CN_Document document;
    document.accessAICharacterGroups()["host"] = 0;
    document.createCairnLevelEntities();
    EXPECT_TRUE(document.getAICharacterGroups().contains("host"));
    document.accessAICharacterGroups()["guards"] = 3;
    document.accessAICharacterGroups()["PLAYER_GROUP"] = 2;
    document.createCairnLevelEntities();
    EXPECT_EQ(document.getAICharacterGroups(), (CN_Document::GroupMap{{"", 0}, {"PLAYER_GROUP", 0}}));

    delete document.accessLevel();
    EXPECT_EQ(document.getLevel(), nullptr);
}

} // namespace
} // namespace cairn
