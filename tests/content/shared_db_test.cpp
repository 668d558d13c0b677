#include "cairn/content/shared_db.h"
#include "cairn/content/shared_db_writer.h"
#include "tests/content/content_files.h"
#include "tests/support/process_state_guard.h"

#include <gmock/gmock.h>

namespace cairn {
namespace {

using test::ContentFolder;
using test::failureText;
using test::OtherProgram;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* OURS = "PRAGMA application_id = 0x43524E43; PRAGMA user_version = 1;";

string failureOfReading(const string& path, bool verify = true) {
    return failureText([&] { Y_SharedDB(path, verify); });
}

TEST(SharedDB, InMemoryIsEmpty) {
    for (const char* path : {"", ":memory:"}) {
        const Y_SharedDB database(path, true);
        for (const Y_SharedDBKindInfo& info : getSharedDBKinds())
            EXPECT_THAT(database.getNames(info.kind), IsEmpty()) << info.name;
        ASSERT_NE(database.getSkeletonContainer(), nullptr);
        EXPECT_EQ(database.getSkeletonContainer()->getItem(0), nullptr);
    }
}

TEST(SharedDB, ReadsWhatOtherProgramsWrote) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    OtherProgram(path).run(string("PRAGMA encoding = 'UTF-16';") + OURS +
                           "CREATE TABLE Weapon (name); CREATE TABLE skin (name); CREATE TABLE animation (skin, name);"
                           "INSERT INTO weapon (rowid, name) VALUES (9, 'later'), (4, 'text \xC3\xA4'), (5, NULL),"
                           " (6, x'00FF41'), (7, 12);"
                           "INSERT INTO skin VALUES ('a'), ('b');"
                           "INSERT INTO animation VALUES (2, 'walk'), (2, 'run'), (2, 'walk');");
    const Y_SharedDB database(path, true);
    EXPECT_THAT(database.getNames(Y_SharedDBKind::WEAPON), ElementsAre("text \xC3\xA4", "",
                                                                       string("\0\xFF"
                                                                              "A",
                                                                              3),
                                                                       "12", "later"));
    EXPECT_EQ(database.getSkinContainer()->getItem(0)->getAnimationContainer(), nullptr);
    EXPECT_EQ(database.getSkinContainer()->getItem(1)->getAnimationContainer()->getReferenceMap().size(), 2u);
    EXPECT_THAT(database.getNames(Y_SharedDBKind::ANIMATION), ElementsAre("walk", "run"));
}

TEST(SharedDB, LacksNoContainerForAMissingTableButSkinsAndSkeletons) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    OtherProgram(path).run(string(OURS) + "CREATE TABLE other (name)");
    const Y_SharedDB database(path, true);
    EXPECT_EQ(database.getSkinContainer(), nullptr);
    EXPECT_EQ(database.getSkeletonContainer(), nullptr);
    EXPECT_EQ(database.getSurfaceMaterialContainer()->getCount(), 0);
    for (const Y_SharedDBKindInfo& info : getSharedDBKinds())
        EXPECT_THAT(database.getNames(info.kind), IsEmpty()) << info.name;
}

TEST(SharedDB, RefusesWhatIsNoContentDatabase) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    const struct {
        const char* sql;
        const char* reason;
    } cases[] = {
        {"CREATE TABLE skin (name)", "no content database"},
        {"PRAGMA application_id = 0x43524E43; PRAGMA user_version = 2; CREATE TABLE skin (name)", "form 2"},
        {"PRAGMA application_id = 0x43524E43; CREATE TABLE skin (name)", "form 0"},
        {"PRAGMA application_id = 0x43524E43; PRAGMA user_version = 1; CREATE TABLE t (name);"
         "CREATE VIEW skin AS WITH RECURSIVE r (name) AS (SELECT 1 UNION ALL SELECT name FROM r) SELECT name FROM r",
         "no plain table"},
        {"PRAGMA application_id = 0x43524E43; PRAGMA user_version = 1; CREATE VIRTUAL TABLE flare USING fts5 (name)",
         "no plain table"},
        {"PRAGMA application_id = 0x43524E43; PRAGMA user_version = 1; CREATE TABLE flare (title)", "name"},
        {"PRAGMA application_id = 0x43524E43; PRAGMA user_version = 1;"
         "CREATE TABLE flare (a, name AS (hex(zeroblob(30000)))); INSERT INTO flare (a) VALUES (1)",
         "more than its pages can hold"},
        {"PRAGMA application_id = 0x43524E43; PRAGMA user_version = 1; CREATE TABLE skin (name);"
         "CREATE TABLE animation (skin, name); INSERT INTO animation VALUES (1, 'run')",
         "belongs to no skin"},
    };
    for (const auto& c : cases) {
        OtherProgram(path).run(c.sql);
        EXPECT_THAT(failureOfReading(path), testing::AllOf(HasSubstr(c.reason), HasSubstr(path))) << c.sql;
        std::filesystem::remove(path);
    }

    EXPECT_THAT(failureOfReading(path), HasSubstr("no such file"));
    EXPECT_THAT(failureOfReading(path + '\0' + "b"), HasSubstr("NUL"));
    EXPECT_THAT(failureOfReading(std::filesystem::path(path).parent_path().string()), HasSubstr("it is no file"));
    for (const char* bytes :
         {"", "a text, and not a short one either, so that SQLite would find a head of 100 bytes in "
              "it if one were there to be found in it at all."}) {
        test::writeBytes(path, bytes);
        EXPECT_THAT(failureOfReading(path), HasSubstr("database"));
    }
}

TEST(SharedDB, RefusesAFileThatIsBeingWritten) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    Y_SharedDBWriter::create(path);
    OtherProgram other(path);
    other.run("BEGIN EXCLUSIVE");
    EXPECT_THAT(failureOfReading(path), HasSubstr("locked"));
    other.run("ROLLBACK");
    EXPECT_EQ(failureOfReading(path), "(nothing thrown)");
}

TEST(SharedDB, TakesBackWhatAKilledWriterLeft) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    Y_SharedDBWriter::create(path);
    OtherProgram other(path);
    other.run("INSERT INTO flare (name) VALUES ('whole'); PRAGMA cache_size = 1; BEGIN;"
              "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 9999)"
              " INSERT INTO flare (name) SELECT 'half ' || i FROM n");
    const string killed = folder.path("b.db");
    std::filesystem::copy(path, killed);
    std::filesystem::copy(path + "-journal", killed + "-journal");
    ASSERT_GT(std::filesystem::file_size(killed), 50'000u); // the half has reached the file
    EXPECT_THAT(Y_SharedDB(killed, true).getNames(Y_SharedDBKind::FLARE), ElementsAre("whole"));
}

TEST(SharedDB, SurvivesDamage) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    const string damaged = folder.path("b.db");
    Y_SharedDBWriter::create(path);
    {
        Y_SharedDBWriter writer(path);
        for (int i = 0; i < 60; ++i)
            writer.add(Y_SharedDBKind::FLARE, "flare with a name of some length " + std::to_string(i));
        writer.add(Y_SharedDBKind::SKIN, string(5000, 's')); // its pages overflow
        writer.add(Y_SharedDBKind::ANIMATION, "use_door");
        writer.add(Y_SharedDBKind::UPPER_BODY_BONE, "hand");
        writer.commit();
    }
    const string whole = test::bytesOf(path);

    int refused = 0;
    const auto read = [&](const string& bytes) {
        test::writeBytes(damaged, bytes);
        for (const bool verify : {true, false})
            refused += failureOfReading(damaged, verify) != "(nothing thrown)" ? 1 : 0;
    };
    for (std::size_t at = 0; at < whole.size(); at += 64) {
        string bytes = whole;
        bytes[at] = static_cast<char>(~bytes[at]);
        read(bytes);
    }
    EXPECT_GT(refused, 20);

    refused = 0;
    for (const std::size_t length : {0u, 1u, 15u, 16u, 99u, 100u, 1023u, 1024u, 5000u, 20'000u}) {
        ASSERT_LT(length, whole.size());
        read(whole.substr(0, length));
    }
    EXPECT_EQ(refused, 20);
}

TEST(SharedDB, FindsSurfaceMaterialsWithoutRegardToCase) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    OtherProgram(path).run(
        string(OURS) + "CREATE TABLE surface_material (name, draw_polygons);"
                       "INSERT INTO surface_material VALUES ('_under', 1), ('Glass', 0), ('apple', 1), ('GLASS', 1),"
                       " (x'410042', 0)");
    const Y_SharedDB database(path, true);
    const Y_SharedDBSurfaceMaterialContainer& materials = *database.getSurfaceMaterialContainer();
    Y_SharedDBIdentifier identifier;
    const auto find = [&](const auto& name) {
        identifier.setNameString(name);
        return materials.find(identifier);
    };
    ASSERT_EQ(find("gLASS"), materials.getItem(1));
    EXPECT_FALSE(find("glass")->drawPolygons());
    EXPECT_TRUE(find("APPLE")->drawPolygons());
    EXPECT_EQ(find("_UNDER"), materials.getItem(0));
    EXPECT_EQ(find(string("a\0b", 3)), materials.getItem(4));
    for (const char* absent : {"", "a", "glas", "glassy", "zebra"})
        EXPECT_EQ(find(absent), nullptr) << absent;
}

} // namespace
} // namespace cairn
