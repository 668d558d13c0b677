#include "cairn/document/preferences.h"
#include "cairn/document/save_features.h"
#include "cairn/foundation/memory_file.h"
#include "tests/support/old_records.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

using test::failureText;
using test::OldPreferences;

string bytesOf(const CN_DocumentPreferences& preferences) {
    F_MemoryFile file;
    preferences.saveDocumentPreferences(file);
    return {static_cast<const char*>(file.getAddress()), file.getSize()};
}

void loadOld(CN_DocumentPreferences& preferences, int version, const OldPreferences& old = {}) {
    F_MemoryFile file;
    test::writeOldPreferences(file, version, old);
    file.toRead();
    preferences.loadDocumentPreferences(file);
    EXPECT_EQ(file.getRemaining(), 0u);
    EXPECT_EQ(file.getUnreadBytes(), 0u);
}

TEST(Preferences, JudgeStepValues) {
    for (const char* good : {"1;2;4", "1", "0.5;1.0", "0.25;1;512"})
        EXPECT_TRUE(CN_DocumentPreferences::checkStepValues(good)) << good;
    for (const char* bad :
         {"2;4;8", "1;1;2", "0;1", "1;2;a", "", "1;", ";1", "1;;2", "1;0.5", "-1;1", "1 ;2", "1e0", "0.5;2"})
        EXPECT_FALSE(CN_DocumentPreferences::checkStepValues(bad)) << bad;
}

TEST(Preferences, ReadEveryVersion) {
    for (int version = 0; version <= CAIRN_DOC_PREFERENCES_VERSION; ++version) {
        SCOPED_TRACE(version);
        CN_DocumentPreferences p;
        const CN_DocumentPreferences defaults;
        loadOld(p, version);
        EXPECT_EQ(p.getBackplane(), 500);
        EXPECT_FALSE(p.isExitAcceleration());
        EXPECT_EQ(p.getRenderingMode(), RENDER_DIFFUSE_TIMES_LIGHTMAP);
        EXPECT_EQ(p.getAngleSnap(), 7.5);
        EXPECT_EQ(p.getAngleSnapSteps(), version > 4 ? std::vector<double>({1, 7.5}) : defaults.getAngleSnapSteps());
        EXPECT_EQ(p.getGridScaleSteps(), (std::vector<double>{0.5, 1, 2}));
        EXPECT_EQ(p.getViewportSize(), 128u);
        EXPECT_EQ(p.getGlobalLightmapRes(), 50);
        EXPECT_EQ(p.getDefaultLightColor(), 0x102030ul);
        EXPECT_EQ(p.getGISStopAtEnergy(), 1.0f);
        EXPECT_EQ(p.getGISIgnorePortals(), version > 2);
        EXPECT_EQ(p.getExportParams().GetSize(), version > 3 ? 4 : 0);
        EXPECT_EQ(p.getBGColor(), version > 5 ? I_Color(1, 2, 3, 4) : I_Color(0, 0, 0, 255));

        F_MemoryFile saved;
        p.saveDocumentPreferences(saved);
        saved.toRead();
        CN_DocumentPreferences again;
        again.loadDocumentPreferences(saved);
        EXPECT_EQ(bytesOf(again), bytesOf(p));
    }
}

TEST(Preferences, OldRecordsKeepWhatTheyLackButForIgnorePortals) {
    CN_DocumentPreferences p;
    loadOld(p, 6);
    ASSERT_TRUE(p.getGISIgnorePortals());
    loadOld(p, 2);
    EXPECT_FALSE(p.getGISIgnorePortals());
    EXPECT_EQ(p.getAngleSnapSteps(), (std::vector<double>{1, 7.5}));
    EXPECT_EQ(p.getBGColor(), I_Color(1, 2, 3, 4));
}

TEST(Preferences, SplitTheTwoKindsOfText) {
    CN_DocumentPreferences p;
    loadOld(p, 6, {.angleSteps = "", .exportParams = "a  b"});
    EXPECT_EQ(p.getAngleSnapSteps(), std::vector<double>{0});
    ASSERT_EQ(p.getExportParams().GetSize(), 3);
    EXPECT_EQ(p.getExportParams()[1], "");
    loadOld(p, 6, {.angleSteps = "1;x;", .exportParams = ""});
    EXPECT_EQ(p.getAngleSnapSteps(), (std::vector<double>{1, 0, 0}));
    EXPECT_TRUE(p.getExportParams().IsEmpty());
}

TEST(Preferences, RefuseWithoutAnyChange) {
    CN_DocumentPreferences p;
    const string before = bytesOf(p);
    EXPECT_NE(failureText([&] { loadOld(p, 6, {.exportParams = string(0x10001, ' ')}); }).find("65537"), string::npos);

    const string record = bytesOf(p);
    F_MemoryFile noChunk(record.data() + F_MemoryFile::CHUNK_HEADER_SIZE, 100, false);
    EXPECT_NE(failureText([&] { p.loadDocumentPreferences(noChunk); }).find("No chunk"), string::npos);
    EXPECT_EQ(bytesOf(p), before);
}

TEST(Preferences, ReplaceNumbersThatAreNotFinite) {
    CN_DocumentPreferences p;
    EXPECT_EQ(p.repairNumbers(), "");
    loadOld(p, 6,
            {.backplane = std::numeric_limits<double>::infinity(),
             .lightIntensity = std::numeric_limits<float>::quiet_NaN()});
    EXPECT_EQ(p.repairNumbers(), "back plane, default light intensity");
    EXPECT_EQ(p.getBackplane(), 1000);
    EXPECT_EQ(p.getDefaultLightIntensity(), 100.0f);
}

TEST(Preferences, NameTheRenderingModes) {
    const CN_DocumentPreferences p;
    CString name = "unchanged";
    for (const int none : {-1, 4}) {
        EXPECT_FALSE(p.getRenderingModeString(none, name));
        EXPECT_EQ(name, "unchanged");
    }
    EXPECT_TRUE(p.getRenderingModeString(2, name));
    EXPECT_EQ(name, "Diffuse * Lightmap");
}

TEST(SaveFeatures, ReadTwelveNumbersInOrderOrNone) {
    F_MemoryFile file;
    for (unsigned int i = 1; i <= 12; ++i)
        file << i;
    file.toRead();
    CN_SaveFeatures features;
    features.loadFeatures(file);
    EXPECT_EQ(features.getLevelSaveFeat(), 1u);
    EXPECT_EQ(features.getEnemySaveFeat(), 8u);
    EXPECT_EQ(features.getPortalSaveFeat(), 12u);
    F_MemoryFile saved;
    features.saveFeatures(saved);
    ASSERT_EQ(saved.getSize(), 48u);
    EXPECT_EQ(std::memcmp(saved.getAddress(), file.getAddress(), 48), 0);

    F_MemoryFile shortFile(file.getAddress(), 47, false);
    CN_SaveFeatures untouched;
    EXPECT_NE(failureText([&] { untouched.loadFeatures(shortFile); }).find("ends"), string::npos);
    EXPECT_EQ(untouched.getLevelSaveFeat(), 0u);
}

} // namespace
} // namespace cairn
