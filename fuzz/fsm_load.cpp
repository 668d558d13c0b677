#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/fsm_entity.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/fsm.h"
#include "cairn/platform/handlers.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

// Any bytes are a state machine's record or an exception; what loads can be bound to its level, exported and edited, and
// comes back from its save as it was. Seeds are the stored forms.

namespace {

using namespace cairn;

/// A level with one entity, whose machine reads the records.
struct Level {
    Level() {
        document.createCairnLevelEntities();
        auto owned = std::make_unique<CN_LevelEntityFSM>();
        entity = owned.get();
        entity->setDocument(&document);
        document.accessLevel()->addOwned(std::move(owned), false);
    }
    bool load(const void* data, std::size_t size) {
        F_MemoryFile file(data, size, false);
        try {
            entity->accessFSM()->load(file);
        } catch (F_Exception* e) {
            e->Delete();
            return false;
        }
        CN_FSMChangeManager::instance()->deserializeFSMs(document.accessLevel(), false);
        return true;
    }
    void save(F_MemoryFile& file) { entity->getFSM()->save(file); }

    CN_Document document;
    CN_LevelEntityFSM* entity;
};

/// Words that a load takes out of names in one pass: what is left may have become such a word and goes at the next load.
bool holdsWordsOfThePast(const F_MemoryFile& file) {
    const std::string text =
        asciiLowered({static_cast<const char*>(file.getAddress()), static_cast<std::size_t>(file.getSize())});
    return text.find("player.ai") != std::string::npos || text.find(".trigger") != std::string::npos;
}

void exportAll(const E_FSM& machine) {
    std::ostringstream out;
    machine.dumpXML(out, "", nullptr);
    machine.dumpXML(out, "a", nullptr);
    machine.forEachMessage([](const E_FSM::Message& message) {
        std::string line;
        if (message.isToBeExported(false))
            message.exportTo(line);
    });
}

void edit(E_FSM& machine) {
    machine.renameState(machine.getDefaultState(), "fuzzed");
    if (!machine.getCustomStrings().empty())
        machine.renameCustomEvent(istring(*machine.getCustomStrings().begin()), "fuzzed");
    if (!machine.getTimers().empty())
        machine.renameTimer(istring(machine.getTimers().begin()->first), "fuzzed");
    machine.deleteState("fuzzed");
    machine.deleteCustomEvent("fuzzed");
    machine.deleteTimer("fuzzed");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Level level;
    if (!level.load(data, size))
        return 0;
    F_MemoryFile saved, savedAgain;
    level.save(saved);
    // By the same machine: a message to its own entity is saved with that one's number.
    if (!level.load(saved.getAddress(), saved.getSize()))
        std::abort();
    level.save(savedAgain);
    if (!holdsWordsOfThePast(saved) && (saved.getSize() != savedAgain.getSize() ||
                                        std::memcmp(saved.getAddress(), savedAgain.getAddress(), saved.getSize()) != 0))
        std::abort();
    exportAll(*level.entity->getFSM());
    edit(*level.entity->accessFSM());
    return 0;
}
