#include "host/commands.h"
#include "host/console.h"
#include "host/failure.h"

#include <cassert>
#include <cstdlib>
#include <new>

/// Takes the place of the C library's: a check within another library that does not hold, as where its own clearing up has run
/// out of memory, ends the program with its exit code and one line, not by a signal.
extern "C" void __assert_fail(const char* assertion, const char*, unsigned int, const char*) noexcept {
    try {
        cairn::host::Console::complain("internal fault", assertion);
    } catch (const std::bad_alloc&) {
        cairn::host::Console::complainOfMemory();
    }
    std::_Exit(static_cast<int>(cairn::host::ExitCode::INTERNAL));
}

int main(int argc, char** argv) {
    cairn::host::keepExitCodeWithoutMemory();
    return cairn::host::runProgram(argc, argv);
}
