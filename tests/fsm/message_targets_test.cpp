#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/fsm/fsm.h"
#include "tests/support/naive_paths.h"

#include <gtest/gtest.h>

using namespace cairn;

namespace {

/// A level of entities with machines:
///
///     player
///     Hall: Door, door2 below it Bolt
///     Yard: Door
struct Level {
    Level() {
        document.createCairnLevelEntities();
        root = document.accessLevel();
        player = document.accessPlayer();
        hall = add(root, "Hall");
        door = add(hall, "Door");
        door2 = add(hall, "door2");
        bolt = add(door2, "Bolt");
        yard = add(root, "Yard");
        yardDoor = add(yard, "Door");
    }
    CN_LevelEntity* add(CN_LevelEntity* parent, const char* name) {
        auto made = std::make_unique<CN_LevelEntityFSM>();
        CN_LevelEntity* const entity = made.get();
        made->setDocument(&document);
        made->setName(name, false);
        parent->addOwned(std::move(made), false);
        return entity;
    }

    CN_Document document;
    CN_LevelEntity *root, *player, *hall, *door, *door2, *bolt, *yard, *yardDoor;
};

} // namespace

TEST(Paths, LeadToEntities) {
    Level l;
    const struct {
        const CN_LevelEntity* base;
        const char* path;
        const CN_LevelEntity *end, *deepest;
    } cases[] = {
        {l.bolt, "This", l.bolt, l.bolt},
        {l.bolt, "", l.bolt, l.bolt},
        {l.bolt, "parent", l.door2, l.door2},
        {l.bolt, "PARENT::parent::DOOR", l.door, l.door},
        {l.bolt, "parent::parent::parent", l.root, l.root},
        {l.bolt, "parent::parent::parent::parent", nullptr, nullptr},
        {l.bolt, "this::parent", nullptr, l.bolt},
        {l.bolt, "::Hall::Door2::bolt", l.bolt, l.bolt},
        {l.bolt, "::Hall::Door2::bol", nullptr, l.door2},
        {l.bolt, "::Hall::Door2::bolts", nullptr, l.door2},
        {l.bolt, "::Hall::", nullptr, l.hall},
        {l.bolt, "::", nullptr, l.root},
        {l.bolt, "Hall", nullptr, l.bolt},
        {l.bolt, "player", nullptr, l.bolt},
        {l.root, "Hall::Door", l.door, l.door}, // on the root every path is absolute
        {l.root, "::Hall::Door", l.door, l.door},
        {l.root, "parent", nullptr, nullptr},
        {l.hall, "Door::parent::door2", l.door2, l.door2},
    };
    for (const auto& c : cases) {
        const unsigned calls = CN_HierarchyUtils::getMapNameCalls();
        const CN_LevelEntity* deepest = l.player;
        EXPECT_EQ(c.base->mapNameToObject(c.path, &deepest), c.end) << c.path;
        EXPECT_EQ(deepest, c.deepest) << c.path;
        EXPECT_EQ(CN_HierarchyUtils::getMapNameCalls(), calls + 1);
        const CN_LevelEntity* naiveDeepest = nullptr;
        EXPECT_EQ(test::naiveMapNameToObject(c.path, naiveDeepest, c.base), c.end) << c.path;
        EXPECT_EQ(naiveDeepest, c.deepest) << c.path;
    }
    EXPECT_EQ(CN_HierarchyUtils::mapNameToObject("x", nullptr, nullptr), nullptr);
    CN_LevelEntityFSM alone;
    EXPECT_EQ(alone.mapNameToObject("x", nullptr), nullptr); // in no level
    EXPECT_EQ(alone.mapNameToObject("this", nullptr), &alone);
}

TEST(Paths, FindTheStepThatNamesATarget) {
    Level l;
    const struct {
        const CN_LevelEntity *from, *target;
        const char* text;
        bool found;
        int position, length;
    } cases[] = {
        {l.bolt, l.bolt, "this->Go();", true, 0, 4},
        {l.bolt, l.door2, "parent->Go();", true, 0, 6},
        {l.bolt, l.hall, "parent::parent->Go();", true, 8, 6},
        {l.bolt, l.door, "parent::parent::Door->Go();", true, 16, 4},
        {l.bolt, l.door, "::Hall::Door->Go();", true, 2, 4}, // it lies below the first step's start already
        {l.bolt, l.bolt, "Nobody->Go();", true, 0, 6},       // the search begins with the start itself
        {l.door, l.bolt, "Nobody->Go();", false, 0, 0},
        {l.door, l.yard, "parent::parent::parent->Go();", false, 0, 0},
        {l.door, l.yard, "", false, 0, 0},
    };
    for (const auto& c : cases) {
        int position = -1, length = -1;
        EXPECT_EQ(c.from->getObjectReferenceFromMessageString(c.target, c.text, position, length), c.found) << c.text;
        if (c.found) {
            EXPECT_EQ(position, c.position) << c.text;
            EXPECT_EQ(length, c.length) << c.text;
        }
    }
}

TEST(Targets, LinesShowTheShortestPathOrTheQualifiedName) {
    Level l;
    E_FSM::Message message;
    message.m_name = "Go";
    message.m_arguments = {"a", "b"};
    const struct {
        CN_LevelEntity *owner, *target;
        const char *before, *after;
    } cases[] = {
        {l.bolt, l.bolt, "", "this->Go(a, b);"},
        {l.bolt, l.player, "", "player->Go(a, b);"},
        {l.player, l.player, "", "player->Go(a, b);"},
        {l.bolt, l.door2, "", "parent->Go(a, b);"},
        {l.bolt, l.root, "", "parent::parent::parent->Go(a, b);"},
        {l.door, l.yardDoor, "", "parent::parent::Yard::Door->Go(a, b);"},
        {l.door, l.bolt, "", "parent::door2::Bolt->Go(a, b);"},
        {l.hall, l.bolt, "", "door2::Bolt->Go(a, b);"},
        {l.hall, l.bolt, "::x->y", "::Hall::door2::Bolt->Go(a, b);"},
        {l.hall, nullptr, "DOOR2::bolt->old(", "door2::Bolt->Go(a, b);"},
        {l.hall, nullptr, "->", "this->Go(a, b);"},
        {l.hall, nullptr, "", nullptr},
        {l.hall, nullptr, "nobody->x();", nullptr},
        {l.hall, nullptr, "::Hall->x();", nullptr}, // an absolute line goes by the target's name
        {l.hall, nullptr, "# Door->x();", "# Door->x();"},
    };
    for (const auto& c : cases) {
        E_FSM::Message changed = message;
        changed.m_text = c.before;
        changed.m_target = c.target;
        EXPECT_EQ(changed.updateTargetName(c.owner->accessFSM()), c.after != nullptr) << c.before;
        EXPECT_EQ(changed.m_text, c.after ? c.after : c.before);
        if (c.after && !changed.isCommentMessage()) {
            EXPECT_EQ(changed.m_targetPath, changed.getWrittenPath());
            EXPECT_EQ(changed.m_targetName, changed.m_target->getQualifiedName());
        }
    }
    message.m_text = "::x->y";
    message.m_targetName = "::Yard::door";
    EXPECT_TRUE(message.updateTargetName(l.hall->accessFSM()));
    EXPECT_EQ(message.m_text, "::Yard::Door->Go(a, b);");
    E_FSM::Message global;
    global.m_text = "Print( x )";
    global.m_global = true;
    EXPECT_TRUE(global.updateTargetName(l.hall->accessFSM()));
    EXPECT_EQ(global.m_text, "Print( x )");

    // What has died or stands in no tree of the machine's has no path.
    message.m_text = "parent::Yard->Go();";
    message.m_target = l.yard;
    l.root->remove(l.yard);
    EXPECT_FALSE(message.updateTargetName(l.hall->accessFSM()));
    EXPECT_EQ(message.m_text, "parent::Yard->Go();");
    delete l.yard;
    EXPECT_FALSE(message.updateTargetName(l.hall->accessFSM()));
    EXPECT_EQ(message.m_target, nullptr);
}
