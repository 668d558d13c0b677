#include "cairn/foundation/file.h"
#include "cairn/foundation/memory_file.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

// The entries of all fuzz targets, which the build gives a name of their own each. Weak: not every target has to prepare.
#define CAIRN_FUZZ_TARGET(name)                                                                                        \
    extern "C" int cairn_fuzz_prepare_##name(int*, char***) __attribute__((weak));                                     \
    extern "C" int cairn_fuzz_run_##name(const std::uint8_t* data, std::size_t size);
#include "fuzz_targets.inc"
#undef CAIRN_FUZZ_TARGET

namespace {

namespace fs = std::filesystem;
using namespace cairn;
using namespace cairn::test;

struct FuzzTarget {
    const char* name;
    int (*prepare)(int*, char***); ///< null for none
    int (*run)(const std::uint8_t* data, std::size_t size);
};

void PrintTo(const FuzzTarget& target, std::ostream* out) { *out << target.name; }

constexpr FuzzTarget TARGETS[] = {
#define CAIRN_FUZZ_TARGET(name) {#name, cairn_fuzz_prepare_##name, cairn_fuzz_run_##name},
#include "fuzz_targets.inc"
#undef CAIRN_FUZZ_TARGET
};

std::vector<fs::path> inputsOf(const std::string& target) {
    std::vector<fs::path> inputs;
    for (const char* const folder : {"fuzz/seeds", "tests/data/fuzz"}) {
        const fs::path place = fs::path(projectFile(folder)) / target;
        if (fs::is_directory(place))
            for (const auto& entry : fs::directory_iterator(place))
                inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

class Corpora : public testing::TestWithParam<FuzzTarget> {};

/// What the fuzzers once found, and what they found worth keeping, without a fuzzer and in every build. A target that finds a
/// fault ends the process.
TEST_P(Corpora, FindNoFault) {
    const FuzzTarget& target = GetParam();
    const auto inputs = inputsOf(target.name);
    ASSERT_FALSE(inputs.empty());
    if (target.prepare)
        target.prepare(nullptr, nullptr);
    for (const fs::path& input : inputs) {
        SCOPED_TRACE(input.string());
        const std::vector<unsigned char> bytes = F_File::readAll(input.string());
        F_MemoryFile::setVerifying(false);
        EXPECT_EQ(target.run(bytes.data(), bytes.size()), 0);
    }
    F_MemoryFile::setVerifying(true);
}

INSTANTIATE_TEST_SUITE_P(Fuzz, Corpora, testing::ValuesIn(TARGETS),
                         [](const auto& instance) { return std::string(instance.param.name); });

} // namespace
