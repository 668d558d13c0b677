#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/waypoint.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/file.h"
#include "tests/support/level_bytes.h"
#include "tests/support/machine_text.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>

#include <map>

using namespace cairn;
using test::Bytes;
using test::textOf;

namespace {

/// An entity of a level whose machine reads records.
struct Level {
    Level() {
        document.createCairnLevelEntities();
        entity = new CN_LevelEntityFSM;
        entity->setDocument(&document);
        document.accessLevel()->add(entity, false);
    }
    E_FSM& load(const Bytes& bytes) {
        F_MemoryFile file(bytes.data(), bytes.size(), false);
        entity->accessFSM()->load(file);
        EXPECT_EQ(file.getRemaining(), 0u);
        return *entity->accessFSM();
    }
    Bytes save() const {
        F_MemoryFile file;
        entity->getFSM()->save(file);
        return test::bytesOf(file);
    }

    CN_Document document;
    CN_LevelEntityFSM* entity;
};

const char* const GO = "{::Door->DO_Animate(open);|DO_Animate|::Door|open,|with none}";
const char* const GO_BARE = "{::Door->DO_Animate(open);|DO_Animate|::Door|open,}";
const char* const PRINT = "{Print(hello)|Print||hello,|global}";
const char* const NOTE = "{ # note|||}";

Bytes storedMachine(const std::string& name) {
    return F_File::readAll(test::projectFile("tests/data/records/machine_" + name + ".record").string());
}

/// What each stored form loads to: both versions, and one for each thing of the past that a load brings up to date.
std::map<std::string, std::string> outcomes() {
    const auto whole = [](const std::string& go, const char* timer) {
        return "idle Run* ; alarm ; " + std::string(timer) + ";\nFSM_Switch(idle): before" + go + NOTE + " on run" +
               PRINT + " after" + go + "\nStartup:";
    };
    return {
        {"1", whole(GO, "fuse on 2.500000 ")},
        {"bare", whole(GO_BARE, "")},
        {"messages_bare", whole(GO_BARE, "fuse on 2.500000 ")},
        {"state_unknown", "a ; ; ;\nStartup:"},
        {"state_left", "; ; ;\nStartup:"},
        {"activate", std::string("; ; ;\nT_Activate: before") + GO + NOTE},
        {"activate_both", std::string("; ; ;\nt_activate: before") + NOTE},
        {"keyframes", std::string("; ; ;\nAnimation(): on Enter2nd") + NOTE + " on Leave1st" + GO +
                          "\nAnimation(run): before" + NOTE + " on enter1ST" + GO + NOTE + " on Leave1st" + PRINT},
        {"renamed",
         "; ; ;\nStartup: before"
         "{door->DO_InvertAnimation(run);|DO_AbortAnimation|::door|run,}"
         "{door->LI_CreateLevelItemToBone(Enemy_hand, enemy_x);|P_CreateProjectileToBone|::door|hand,enemy_x,}"
         "{door->LI_CreateLevelItemToBone(hand);|LI_CreateLevelItemToBone|::door|hand,}"
         "{door->LI_CreateLevelItemToBone();|LI_CreateLevelItemToBone|::door|}"},
        {"player_ai", "; ; ;\nStartup: before{player->Look(player, a);|Look|::a|player,a,}{# player.ai|||}"
                      "{door->AI_SetTarget(0);|AI_SetTarget|::door|0,x,}"
                      "{door->AI_SetTargetGroups(0,0);|AI_SetTargetGroups|::door|0,0,}"
                      "{door->AI_SetTargetGroups(7,0);|AI_SetTargetGroups|::door|7,0,}"
                      "{door->AI_SetTargetGroups(7, 8);|AI_SetTargetGroups|::door|7,8,}"},
        {"collides", "; ; ;\nStartup:"},
    };
}

} // namespace

TEST(OldMachines, EveryStoredFormLoadsUpToDateAndSavesInTheNewest) {
    for (const auto& [name, expected] : outcomes()) {
        SCOPED_TRACE(name);
        Level level;
        E_FSM& machine = level.load(storedMachine(name));
        EXPECT_EQ(textOf(machine), expected);
        EXPECT_TRUE(machine.userCanAddStates());
        EXPECT_TRUE(machine.userCanAddCustomStrings());
        const bool broken = name == "state_unknown";
        EXPECT_EQ(level.document.getBrokenFSMDefaultStateEntityList().size(), broken ? 1u : 0u);

        const Bytes newest = level.save();
        Level again;
        EXPECT_EQ(textOf(again.load(newest)), textOf(machine));
        EXPECT_EQ(again.save(), newest);
    }
}

TEST(OldMachines, DamageIsRefusedAndLeavesTheMachineAsItWas) {
    for (const auto& [name, expected] : outcomes()) {
        const Bytes bytes = storedMachine(name);
        for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
            F_MemoryFile file(bytes.data(), cut, false);
            E_FSM machine(nullptr, false, true);
            machine.addState("kept");
            try {
                machine.load(file);
                ADD_FAILURE() << name << " cut at " << cut;
            } catch (F_Exception* e) {
                const F_ExceptionGuard guard(e);
                EXPECT_EQ(textOf(machine), "kept* ; ; ;\nFSM_Switch(kept):\nStartup:");
            }
        }
    }
}

TEST(FSMRecord, AnEntityThatIsNoPartOfTheDocumentIsSavedAsNone) {
    Level level;
    auto* const shown = new CN_LevelEntityWaypoint;
    level.document.accessLevel()->add(shown, false);
    E_FSM::MessageList& messages = level.entity->accessFSM()->createMessageHandler("a").m_sendBefore;
    messages.emplace_back().m_text = "x->Look();";
    const auto saveWithTarget = [&](CN_LevelEntity* target) {
        messages[0].m_target = target;
        return test::saveLevel(level.document);
    };
    CN_LevelEntityWaypoint elsewhere; // whatever its number in the process
    EXPECT_EQ(saveWithTarget(&elsewhere), saveWithTarget(nullptr));
    EXPECT_NE(saveWithTarget(&elsewhere), saveWithTarget(shown));
}
