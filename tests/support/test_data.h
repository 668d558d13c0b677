#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace cairn::test {

/// The folder of shared test data: what the environment variable CAIRN_TEST_DATA names, else `../shared/data` beside
/// the checkout.
inline std::filesystem::path sharedDataFolder() {
    if (const char* named = std::getenv("CAIRN_TEST_DATA"); named && *named)
        return named;
    // The sources' folder is the checkout itself or its tests/.
    std::filesystem::path checkout = std::filesystem::path(CAIRN_TEST_SOURCE_DIR).lexically_normal();
    if (checkout.filename() == "tests")
        checkout = checkout.parent_path();
    return checkout.parent_path() / "shared" / "data";
}

} // namespace cairn::test

/// Puts the path of a file of the shared data into a new variable, or skips the test and says which file is missing.
#define CAIRN_SHARED_DATA_OR_SKIP(variable, file)                                                                      \
    const std::filesystem::path variable = ::cairn::test::sharedDataFolder() / (file);                                 \
    if (!std::filesystem::exists(variable))                                                                            \
    GTEST_SKIP() << "shared test data is absent: " << (variable) << " (CAIRN_TEST_DATA names its folder)"
