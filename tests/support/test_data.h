#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace cairn::test {

/// A file or folder of this checkout, named from its root.
std::filesystem::path projectFile(const std::string& relative);

/// The folder of shared test data, which the environment variable CAIRN_TEST_DATA names.
std::filesystem::path sharedDataFolder();

} // namespace cairn::test

/// Puts the path of a file of the shared data into a new variable, or skips the test and says which file is missing.
#define CAIRN_SHARED_DATA_OR_SKIP(variable, file)                                                                      \
    const std::filesystem::path variable = ::cairn::test::sharedDataFolder() / (file);                                 \
    if (!std::filesystem::exists(variable))                                                                            \
    GTEST_SKIP() << "shared test data is absent: " << (variable) << " (CAIRN_TEST_DATA names its folder)"
