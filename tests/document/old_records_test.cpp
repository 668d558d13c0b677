#include "cairn/document/level_file.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/file.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_records.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <set>

namespace cairn {
namespace {

using test::Bytes;

/// Makes the stored files anew: for a form that is added. Those that are there must not change.
TEST(OldRecords, DISABLED_StoreEveryForm) {
    for (const test::StoredRecord& record : test::storedRecords())
        F_File::replace(test::storedRecordPath(record.name).string(), test::makeLevel(record.level));
}

TEST(OldRecords, EveryStoredFormIsWhatItsWriterMakes) {
    std::set<std::string> names;
    for (const test::StoredRecord& record : test::storedRecords()) {
        EXPECT_EQ(CN_LevelFile::read(test::storedRecordPath(record.name).string()), test::makeLevel(record.level))
            << record.name;
        names.insert(record.name + ".cairn");
    }
    for (const auto& entry : std::filesystem::directory_iterator(test::storedRecordPath("x").parent_path()))
        if (entry.path().extension() == ".cairn") { // else a record by itself, of a room's own test
            EXPECT_TRUE(names.contains(entry.path().filename().string())) << entry.path() << " has no writer";
        }
}

TEST(OldRecords, EveryStoredFormLoadsAndSavesInTheNewest) {
    const test::ProcessStateGuard process;
    for (const test::StoredRecord& record : test::storedRecords()) {
        SCOPED_TRACE(record.name);
        CN_Document document;
        EXPECT_FALSE(CN_LevelFile::load(document, test::storedRecordPath(record.name).string()));
        EXPECT_EQ(test::reportCodes(document), "repaired") << "the player, which no stored file has";
        EXPECT_EQ(document.getInfoDocumentCreatedWithBuild(),
                  record.level.versionChunk ? "Build 25" : "Before Build 22");
        ASSERT_EQ(document.getLevel()->getChildren().size(), 6u);
        EXPECT_EQ(document.getSelection()->getCount(), record.name == "selection_nothing" ? 0 : 2);

        CN_LevelEntity* jump = document.accessLevel()->hasChildNamed("jump");
        ASSERT_TRUE(jump);
        EXPECT_FALSE(jump->isVisible());
        const int version = record.level.root.version;
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
}

} // namespace
} // namespace cairn
