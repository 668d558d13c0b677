#include "tests/support/test_data.h"

#include <cstdlib>

namespace cairn::test {

std::filesystem::path projectFile(const std::string& relative) {
    return std::filesystem::path(CAIRN_PROJECT_DIR).lexically_normal() / relative;
}

std::filesystem::path sharedDataFolder() {
    if (const char* named = std::getenv("CAIRN_TEST_DATA"); named && *named)
        return named;
    return projectFile("").parent_path().parent_path() / "shared" / "data";
}

} // namespace cairn::test
