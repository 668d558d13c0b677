#include "cairn/foundation/exception.h"
#include "cairn/fsm/fsm.h"

#include <gtest/gtest.h>

#include <functional>

using namespace cairn;

namespace {

std::vector<std::string> handlersOf(const E_FSM& fsm) {
    std::vector<std::string> names;
    for (const istring& name : fsm.getMessageHandlers())
        names.push_back(toString(name));
    return names;
}

/// What a record holds beside the names of handlers.
struct Held {
    int states = 0, events = 0, before = 0, onState = 0, after = 0, timers = 0;
};

/// Writes a machine with the handler "Use" in the form of version 0, or of version 1 with a chunk.
void writeMachine(F_MemoryFile& file, int version, const Held& held) {
    if (version > 0)
        file.createChunk(0, version);
    file << 29 << held.states << "none" << 29 << held.events;
    file << 31 << 1 << "Use" << 28 << held.before << 31 << held.onState << 28 << held.after;
    file << false << false;
    if (version > 0) {
        file << 31 << held.timers;
        if (held.timers > 0)
            file << "timer";
        file.closeChunk();
    }
}

} // namespace

TEST(FSM, BeginsWithOneHandlerAndKeepsEachNameOnce) {
    E_FSM fsm(nullptr, true, false);
    EXPECT_EQ(handlersOf(fsm), std::vector<std::string>{"Startup"});
    EXPECT_TRUE(fsm.userCanAddStates());
    EXPECT_FALSE(fsm.userCanAddCustomStrings());
    fsm.createMessageHandler("STARTUP");
    fsm.createMessageHandler("OnUse");
    EXPECT_EQ(handlersOf(fsm), (std::vector<std::string>{"OnUse", "Startup"}));
    fsm.deleteMessageHandler("onuse");
    fsm.deleteMessageHandler("absent");
    EXPECT_EQ(fsm.getMessageHandlerCount(), 1);
}

TEST(FSM, SavesAndLoadsTheNamesOfHandlers) {
    E_FSM fsm(nullptr, false, false), loaded(nullptr, false, false);
    fsm.createMessageHandler("OnUse");
    loaded.createMessageHandler("OnDeath");
    F_MemoryFile file;
    fsm.save(file);
    file << 7;
    file.toRead();
    loaded.load(file);
    EXPECT_EQ(handlersOf(loaded), handlersOf(fsm));
    EXPECT_TRUE(loaded.userCanAddStates());
    EXPECT_TRUE(loaded.userCanAddCustomStrings());
    int behind = 0;
    file >> behind;
    EXPECT_EQ(behind, 7);
}

TEST(FSM, ReadsRecordsWithAndWithoutAChunk) {
    for (const int version : {0, 1}) {
        F_MemoryFile file;
        writeMachine(file, version, {});
        file.toRead();
        E_FSM fsm(nullptr, true, true);
        fsm.load(file);
        EXPECT_EQ(handlersOf(fsm), std::vector<std::string>{"Use"});
        EXPECT_EQ(file.getRemaining(), 0u) << version;
    }
}

TEST(FSM, RefusesWhatItCannotKeepAndStaysAsItWas) {
    const Held held[] = {{.states = 1}, {.events = 1}, {.before = 1}, {.onState = 1}, {.after = 1}, {.timers = 1}};
    for (const Held& h : held) {
        F_MemoryFile file;
        writeMachine(file, 1, h);
        file.toRead();
        E_FSM fsm(nullptr, true, true);
        try {
            fsm.load(file);
            ADD_FAILURE();
        } catch (F_Exception* e) {
            F_ExceptionGuard guard(e);
            EXPECT_NE(e->getErrorMessage().find("not supported by this version"), string::npos) << e->getErrorMessage();
        }
        EXPECT_EQ(handlersOf(fsm), std::vector<std::string>{"Startup"});
    }
}
