#include "cairn/document/document.h"
#include "cairn/document/level_file.h"
#include "cairn/foundation/exception.h"
#include "fuzz/support/imported_level.h"
#include "host/editor.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

// Any bytes are an edit script for a small level, or are refused with a line. After each command, done or refused, the level
// is consistent; in the end it comes back from its save as it was.

namespace {

using namespace cairn;

constexpr std::size_t MOST_COMMANDS = 40;

/// Runs a command; one that is refused is fine.
void run(host::Editor& editor, const host::EditLine& line) {
    try {
        editor.run(line.words);
    } catch (const host::EditRefusal&) {
    } catch (F_Exception* e) {
        e->Delete();
    }
}

/// Two rooms with a door, a guard with a machine, and a lamp.
constexpr std::string_view LEVEL = "box :: Hall 0 0 0 8 4 8\n"
                                   "box :: Den 8 0 0 8 4 8\n"
                                   "exit ::Hall#4 ::Den#2 Door\n"
                                   "add enemy ::Hall Guard 2 0 2\n"
                                   "add dynamic_pointlight :: Lamp 1 2 3\n"
                                   "fsm-state ::Hall::Guard idle\n"
                                   "fsm-send ::Hall::Guard OnUse after \"::Hall->EnableExit(1, Door);\"\n";

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<host::EditLine> lines;
    try {
        lines = host::readEditScript({reinterpret_cast<const char*>(data), size});
    } catch (const host::EditRefusal& refusal) {
        if (std::string_view(refusal.what()).substr(0, 5) != "line ")
            std::abort();
        return 0;
    }
    return fuzz::importAndCheck([&](CN_Document& document) {
        host::Editor editor(document);
        for (const host::EditLine& line : host::readEditScript(LEVEL))
            editor.run(line.words);
        for (const host::EditLine& line : std::span(lines).first(std::min(lines.size(), MOST_COMMANDS))) {
            run(editor, line);
            if (!document.mustBeDiscarded() && !CN_isConsistent(document))
                std::abort();
        }
        editor.finish();
    });
}
