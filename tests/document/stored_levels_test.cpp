#include "cairn/document/document.h"
#include "cairn/document/level_file.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/geometry/validate.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <vector>

using namespace cairn;

namespace {

std::vector<std::filesystem::path> storedLevels() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(test::projectFile("tests/data/levels")))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<unsigned char> saved(CN_Document& document) {
    F_MemoryFile file;
    CN_LevelFile::write(document, file);
    const auto* const bytes = static_cast<const unsigned char*>(file.getAddress());
    return {bytes, bytes + file.getSize()};
}

/// Levels that earlier versions wrote: each loads whole and sound, and once saved it stays the same.
TEST(StoredLevels, LoadForEver) {
    const std::vector<std::filesystem::path> files = storedLevels();
    EXPECT_FALSE(files.empty());
    for (const std::filesystem::path& file : files) {
        SCOPED_TRACE(file.filename().string());
        CN_Document document;
        EXPECT_TRUE(CN_LevelFile::load(document, file.string()));
        EXPECT_TRUE(document.getLoadReport().getFindings().empty());
        for (const CN_Finding& finding : CN_validateDocument(document, CN_LEVEL_TOLERANCE))
            ADD_FAILURE() << finding.code << ": " << finding.message;
        const std::vector<unsigned char> first = saved(document);
        CN_Document again;
        EXPECT_TRUE(CN_LevelFile::load(again, first));
        EXPECT_EQ(saved(again), first);
    }
}

} // namespace
