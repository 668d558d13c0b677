#include "host/commands.h"

int main(int argc, char** argv) { return cairn::host::runProgram(argc, argv); }
