#include "cairn/foundation/script.h"

#include "cairn/foundation/exception.h"
#include "cairn/fsm/message_info_provider.h"
#include "cairn/platform/handlers.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

// Any bytes are a script, whose blocks written anew are the same blocks, or are refused with a place; and any script is a
// message catalogue, or is refused with a place.

namespace {

using namespace cairn;

constexpr const char* NAME = "fuzzed";

/// Runs `work`; false where it is refused, which must name the place.
template <class Work> bool isTaken(Work&& work) {
    try {
        work();
        return true;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        if (!e->getErrorMessage().starts_with("Cannot read \"fuzzed\": line "))
            std::abort();
        return false;
    }
}

/// Writes the blocks of the scope, each of which must be found by its name as well.
void writeBlocks(F_Script& script, string& text) {
    for (unsigned int i = 0; i < script.count(); ++i) {
        string name;
        {
            const F_ScriptLock inBlock(&script, i);
            name = script.getBlockName();
            text += name + '{';
            writeBlocks(script, text);
            text += '}';
        }
        const unsigned int held = script.count(name.c_str());
        if (held == 0)
            std::abort();
        const F_ScriptLock last(&script, name.c_str(), held - 1);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setConsoleLineHandler([](const std::string&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CN_FSMMessageInfoProvider catalogue;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    isTaken([bytes] {
        F_Script script(bytes, NAME);
        string text = " ", again = " "; // or a name that begins like a byte order mark would be taken for one
        writeBlocks(script, text);
        F_Script rewritten(text, NAME);
        writeBlocks(rewritten, again);
        if (text != again)
            std::abort();
        catalogue.read(script);
    });
    return 0;
}
