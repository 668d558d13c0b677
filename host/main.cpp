#include "host/commands.h"

int main(int argc, char** argv) {
    cairn::host::keepExitCodeWithoutMemory();
    return cairn::host::runProgram(argc, argv);
}
