#include "cairn/document/level_file.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_records.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace cairn {
namespace {

using test::Bytes;

TEST(OldRecords, EveryStoredFormLoadsAndSavesInTheNewest) {
    const test::ProcessStateGuard process;
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(test::storedRecordPath("x").parent_path())) {
        if (entry.path().extension() != ".cairn") // a record by itself, of a room's own test
            continue;
        ++count;
        const std::string name = entry.path().stem().string();
        SCOPED_TRACE(name);
        CN_Document document;
        EXPECT_FALSE(CN_LevelFile::load(document, entry.path().string()));
        EXPECT_EQ(test::reportCodes(document), "repaired") << "the player, which no stored file has";
        EXPECT_EQ(document.getInfoDocumentCreatedWithBuild(), name == "version_bare" ? "Before Build 22" : "Build 25");
        ASSERT_EQ(document.getLevel()->getChildren().size(), 6u);
        EXPECT_EQ(document.getSelection()->getCount(), name == "selection_nothing" ? 0 : 2);

        CN_LevelEntity* jump = document.accessLevel()->hasChildNamed("jump");
        ASSERT_TRUE(jump);
        EXPECT_FALSE(jump->isVisible());
        const int version = name.starts_with("entity_") ? std::stoi(name.substr(7)) : CAIRN_LVL_ENTITY_VERSION;
        EXPECT_EQ(jump->isExportRegroupingEnabled(), version > 2);
        EXPECT_EQ(jump->getGeneralProperties().isGameplayCritical(), version <= 3);
        EXPECT_EQ(document.accessLevel()->hasChildNamed("Node")->getGeneralProperties().isGameplayCritical(),
                  version > 3);
        EXPECT_EQ(document.accessLevel()->hasChildNamed("Box")->getChildren().front()->getQualifiedName(),
                  "::Box::Inner");

        const Bytes saved = test::saveLevel(document);
        CN_Document again;
        test::loadLevel(again, saved);
        EXPECT_EQ(test::reportCodes(again), "");
        EXPECT_EQ(test::saveLevel(again), saved);
    }
    EXPECT_GE(count, 20u) << "a stored form is never given up";
}

} // namespace
} // namespace cairn
