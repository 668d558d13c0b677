#include "tests/host/program_run.h"

namespace cairn::test {

std::string programFile() { return CAIRN_PROGRAM; }

} // namespace cairn::test
