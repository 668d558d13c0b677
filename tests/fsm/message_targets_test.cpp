#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/hierarchy_utils.h"
#include "tests/fsm/message_level.h"
#include "tests/support/naive_targets.h"

#include <gtest/gtest.h>

#include <random>

namespace cairn::test {
namespace {

struct MessageTargets : testing::Test, MessageLevel {
    static NaiveResolution resolve(const std::string& path, const CN_LevelEntity* base) {
        NaiveResolution so;
        so.entity = base->mapNameToObject(toIString(path), &so.deepest);
        return so;
    }
};

TEST_F(MessageTargets, PathsLeadByChildrenAndParents) {
    struct Case {
        const CN_LevelEntity* base;
        const char* path;
        const CN_LevelEntity *entity, *deepest;
    };
    const unsigned callsBefore = CN_HierarchyUtils::getMapNameCalls();
    const std::vector<Case> cases = {
        {door, "this", door, door},
        {door, "", door, door},
        {&root, "", &root, &root},
        {door, "Knob", knob, knob},
        {hall, "DOOR::knob", knob, knob},
        {door, "parent::PARENT", &root, &root},
        {door, "parent::parent::parent", nullptr, nullptr},
        {door, "parent::parent::parent::Hall", nullptr, nullptr},
        {hall, "Door::parent::Doorway", doorway, doorway},
        {&root, "Hall::Door", door, door}, // at the root all paths are absolute
        {&root, "::player", player, player},
        {door, "player", nullptr, door}, // stands in lines only
        {door, "::", nullptr, &root},
        {door, "::Hall::", nullptr, hall},
        {door, "this::Knob", nullptr, door},
        {hall, "Doo", nullptr, hall},
        {hall, "Doorways", nullptr, hall},
        {hall, "Door::Lock::Key", nullptr, door},
    };
    for (const Case& c : cases) {
        const NaiveResolution expected{c.entity, c.deepest};
        EXPECT_EQ(resolve(c.path, c.base), expected) << c.path;
        EXPECT_EQ(naiveMapNameToObject(c.path, c.base), expected) << c.path;
    }
    EXPECT_EQ(CN_HierarchyUtils::getMapNameCalls() - callsBefore, cases.size());
    EXPECT_EQ(knob->mapNameToObject("parent", nullptr), door);
    EXPECT_EQ(CN_HierarchyUtils::mapNameToObject("Hall", nullptr, nullptr), nullptr);

    const auto detached = makeEntity(CN_KIND_FSM);
    EXPECT_EQ(resolve("Hall", detached.get()), NaiveResolution());
    EXPECT_EQ(resolve("this", detached.get()), (NaiveResolution{detached.get(), detached.get()}));
}

TEST_F(MessageTargets, PathsAgreeWithAWalkOfTheSiblings) {
    const unsigned seed = 7;
    std::mt19937 random(seed);
    const auto choose = [&](std::size_t below) { return random() % below; };
    std::vector<CN_LevelEntity*> entities{&root, hall, yard, knob};
    for (int i = 0; i < 400; ++i) {
        CN_LevelEntity* const parent = entities[choose(choose(2) ? 2 : entities.size())]; // two have very many
        const char* const stems[] = {"a", "ab", "AB", "parents"};
        entities.push_back(addChild(*parent, CN_KIND_FSM, CString(stems[choose(4)])));
    }
    const auto assign = [&](CN_LevelEntity* to, CN_LevelEntity* from) {
        dynamic_cast<CN_LevelEntityFSM&>(*to) = dynamic_cast<CN_LevelEntityFSM&>(*from);
    };
    for (int i = 0; i < 20; ++i) // assignment alone gives siblings one name, in a case of its own
        assign(entities[4 + choose(400)], entities[4 + choose(400)]);
    for (int i = 0; i < 5000; ++i) {
        std::string path = choose(2) ? "::" : "";
        for (std::size_t steps = choose(5); steps > 0; --steps) {
            std::string name = choose(4) ? entities[choose(entities.size())]->getName().str() : "parent";
            if (choose(4) == 0)
                name = asciiLowered(name);
            if (choose(10) == 0)
                name.resize(choose(name.size() + 1));
            path += name + (steps > 1 || choose(20) == 0 ? "::" : "");
        }
        const CN_LevelEntity* const base = entities[choose(entities.size())];
        ASSERT_EQ(resolve(path, base), naiveMapNameToObject(path, base)) << path << ", seed " << seed;
    }
}

TEST_F(MessageTargets, FindsTheStepOfALineThatNamesAnEntity) {
    struct Case {
        const CN_LevelEntity *owner, *target;
        const char* text;
        int position, length; ///< -1 where it is not found
    };
    const std::vector<Case> cases = {
        {door, door, "this->Say();", 0, 4},
        {door, hall, "parent->Say();", 0, 6},
        {door, yard, "parent::parent::Yard->Say(Yard);", 16, 4},
        {hall, knob, "Door::Knob->Say();", 6, 4},
        {knob, yard, "::Yard->Say();", 2, 4},
        {&root, yard, "Yard", 0, 4},
        {hall, knob, "Knob->Say();", 0, 4},    // any descendant
        {hall, knob, "Doorway->Say();", 0, 7}, // one that is met on the way to the named one counts
        {hall, doorway, "door->Say();", 0, 4},
        {door, yard, "knob->Say();", -1, -1},   // names have case here
        {door, door, "that->Say(this);", 0, 4}, // the search begins with the entity itself
        {door, yard, "Knob->Say(Yard);", -1, -1},
        {hall, yard, "parent::parent::Yard->Say();", -1, -1},
        {door, player, "player->Say();", -1, -1},
        {door, door, "->Say();", -1, -1},
    };
    for (const Case& c : cases) {
        int position = -1, length = -1;
        const bool found = c.owner->getObjectReferenceFromMessageString(c.target, c.text, position, length);
        EXPECT_EQ(found, c.length >= 0) << c.text;
        if (found) {
            EXPECT_EQ(std::pair(position, length), std::pair(c.position, c.length)) << c.text;
        }
    }
}

TEST_F(MessageTargets, LinesAreRebuiltForTheirTargetsPlace) {
    const auto elsewhere = makeEntity(CN_KIND_FSM);
    CN_LevelEntity* const dead = addChild(*hall, CN_KIND_FSM, "Dead");
    hall->remove(dead);
    delete dead;
    struct Case {
        CN_LevelEntity *owner, *target;
        const char *targetName, *text, *rebuilt; ///< null: it stays as it is, with false
        CN_LevelEntity* found;
    };
    const std::vector<Case> cases = {
        {door, yard, "", "?->Say(a,b);", "parent::parent::Yard->Say(a, b);", yard},
        {knob, player, "", "?", "player->Say(a, b);", player},
        {door, &root, "", "?", "parent::parent->Say(a, b);", &root},
        {door, player, "", "::x->Say();", "::player->Say(a, b);", player},
        {door, &root, "", "::->Say();", "parent::parent->Say(a, b);", &root}, // no absolute path leads there
        {door, nullptr, "::Yard", "KNOB->Say();", "Knob->Say(a, b);", knob},
        {door, nullptr, "", "parent::Door", "this->Say(a, b);", door},
        {door, nullptr, "", "->Say();", "this->Say(a, b);", door},
        {door, dead, "", "Knob->Say();", "Knob->Say(a, b);", knob},
        {door, nullptr, "::yard", "::Hall->Say();", "::Yard->Say(a, b);", yard}, // by the name, not by the line
        {door, nullptr, "", "::Yard->Say();", nullptr, nullptr},
        {door, nullptr, "::gone", "::Yard->Say();", nullptr, nullptr},
        {door, nullptr, "::Yard", "gone->Say();", nullptr, nullptr},
        {door, nullptr, "::Yard", "", nullptr, nullptr},
        {door, dead, "", "Dead->Say();", nullptr, nullptr},
        {door, elsewhere.get(), "", "x->Say();", nullptr, elsewhere.get()},
    };
    for (const Case& c : cases) {
        E_FSM::Message message = makeMessage(c.text, c.target, "Say", {"a", "b"});
        message.m_targetName = c.targetName;
        EXPECT_EQ(message.updateTargetName(c.owner->accessFSM()), c.rebuilt != nullptr) << c.text;
        EXPECT_EQ(message.m_target, c.found) << c.text;
        EXPECT_EQ(view(message.m_text), c.rebuilt ? c.rebuilt : c.text);
        if (!c.rebuilt)
            continue;
        EXPECT_EQ(view(message.m_targetName), naiveQualifiedName(c.found)) << c.text;
        EXPECT_EQ(message.m_targetPath, message.getWrittenPath());
        const E_FSM::Message once = message;
        EXPECT_TRUE(message.updateTargetName(c.owner->accessFSM()));
        EXPECT_EQ(view(message.m_text), view(once.m_text)) << "a second time";
    }

    E_FSM::Message global = makeMessage("Print(a,b);", yard), comment = makeMessage("#", yard);
    global.m_global = true;
    for (E_FSM::Message* const message : {&global, &comment}) {
        const E_FSM::Message before = *message;
        EXPECT_TRUE(message->updateTargetName(door->accessFSM()));
        EXPECT_EQ(view(message->m_text), view(before.m_text));
        EXPECT_TRUE(message->m_targetName.empty());
    }
}

} // namespace
} // namespace cairn::test
