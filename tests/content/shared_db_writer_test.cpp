#include "cairn/content/shared_db.h"
#include "cairn/content/shared_db_writer.h"
#include "tests/content/content_files.h"
#include "tests/support/process_state_guard.h"

#include <gmock/gmock.h>

namespace cairn {
namespace {

using test::bytesOf;
using test::ContentFolder;
using test::failureText;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const string NOTHING = "(nothing thrown)";

TEST(SharedDBWriter, WritesEveryKindAsItIsReadBack) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    const string wild("a\0b\xFF\xFE'\"\n;--", 11);
    Y_SharedDBWriter::create(path);
    {
        Y_SharedDBWriter writer(path);
        for (const Y_SharedDBKindInfo& info : getSharedDBKinds()) {
            EXPECT_EQ(findSharedDBKind(info.name), &info);
            for (const string& name : {string("z ") + info.name, wild, string(info.table)})
                writer.add(info.kind, name);
        }
        writer.commit();
    }
    const Y_SharedDB database(path, true);
    for (const Y_SharedDBKindInfo& info : getSharedDBKinds())
        EXPECT_THAT(database.getNames(info.kind), ElementsAre(string("z ") + info.name, wild, info.table));
    EXPECT_EQ(findSharedDBKind("nonsense"), nullptr);
}

TEST(SharedDBWriter, PutsOptionsWhereTheyBelong) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    Y_SharedDBWriter::create(path);
    {
        Y_SharedDBWriter writer(path);
        writer.add(Y_SharedDBKind::LOWER_BODY_BONE, "Foot"); // makes the first skeleton
        writer.add(Y_SharedDBKind::SKELETON, "dog");
        writer.add(Y_SharedDBKind::UPPER_BODY_BONE, "Ear", {.skeleton = "DOG"});
        writer.add(Y_SharedDBKind::SKIN, "Guard");
        writer.add(Y_SharedDBKind::SKIN, "Rat");
        writer.commit();
        writer.add(Y_SharedDBKind::ANIMATION, "run", {.skin = "rat"});
        writer.add(Y_SharedDBKind::ANIMATION, "run");
        writer.add(Y_SharedDBKind::SURFACE_MATERIAL, "clip", {.drawPolygons = false});
        writer.add(Y_SharedDBKind::SURFACE_MATERIAL, "wall");
        writer.commit();
    }
    const Y_SharedDB database(path, true);
    EXPECT_THAT(database.getNames(Y_SharedDBKind::SKELETON), ElementsAre("Default", "dog"));
    const Y_SharedDBSkeleton& first = *database.getSkeletonContainer()->getItem(0);
    ASSERT_EQ(first.getOneHandedLowerBodyBoneCount(), 1);
    EXPECT_EQ(first.getOneHandedLowerBodyBoneName(0), "Foot");
    EXPECT_EQ(first.getOneHandedUpperBodyBoneCount(), 0);
    EXPECT_EQ(database.getSkeletonContainer()->getItem(1)->getOneHandedUpperBodyBoneName(0), "Ear");
    for (int skin = 0; skin < 2; ++skin)
        EXPECT_EQ(database.getSkinContainer()->getItem(skin)->getAnimationContainer()->getReferenceMap().size(), 1u);
    EXPECT_FALSE(database.getSurfaceMaterialContainer()->getItem(0)->drawPolygons());
    EXPECT_TRUE(database.getSurfaceMaterialContainer()->getItem(1)->drawPolygons());
}

TEST(SharedDBWriter, RefusesAndGoesOn) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    Y_SharedDBWriter::create(path);
    {
        Y_SharedDBWriter writer(path);
        writer.add(Y_SharedDBKind::FLARE, "Sun");
        writer.commit();
    }
    Y_SharedDBWriter writer(path);
    const auto refusal = [&](Y_SharedDBKind kind, const char* name, const Y_SharedDBEntryOptions& options = {}) {
        return failureText([&] { writer.add(kind, name, options); });
    };
    EXPECT_THAT(refusal(Y_SharedDBKind::FLARE, "sUN"), HasSubstr("there is a flare \"sUN\" already"));
    EXPECT_THAT(refusal(Y_SharedDBKind::FLARE, ""), HasSubstr("must not be empty"));
    EXPECT_THAT(refusal(Y_SharedDBKind::ANIMATION, "run"), HasSubstr("belongs to a skin"));
    EXPECT_EQ(refusal(Y_SharedDBKind::SKIN, "Guard"), NOTHING);
    EXPECT_THAT(refusal(Y_SharedDBKind::ANIMATION, "run", {.skin = "Cat"}), HasSubstr("no skin \"Cat\""));
    EXPECT_EQ(refusal(Y_SharedDBKind::ANIMATION, "run"), NOTHING);
    EXPECT_THAT(refusal(Y_SharedDBKind::ANIMATION, "RUN", {.skin = "guard"}), HasSubstr("already"));
    EXPECT_EQ(refusal(Y_SharedDBKind::UPPER_BODY_BONE, "Hand"), NOTHING);
    EXPECT_EQ(refusal(Y_SharedDBKind::LOWER_BODY_BONE, "Hand"), NOTHING);
    EXPECT_THAT(refusal(Y_SharedDBKind::SKELETON, "default"), HasSubstr("already"));
    writer.commit();

    const Y_SharedDB database(path, true);
    EXPECT_THAT(database.getNames(Y_SharedDBKind::FLARE), ElementsAre("Sun"));
    EXPECT_THAT(database.getNames(Y_SharedDBKind::ANIMATION), ElementsAre("run"));
}

TEST(SharedDBWriter, GivesASkinNoMoreAnimationsThanCanBeRead) {
    const ContentFolder folder;
    const string path = folder.path("many.db");
    Y_SharedDBWriter::create(path);
    Y_SharedDBWriter writer(path);
    writer.add(Y_SharedDBKind::SKIN, "guard");
    for (std::size_t i = 0; i < Y_SharedDBAnimationContainer::MAX_REFERENCES; ++i)
        writer.add(Y_SharedDBKind::ANIMATION, "use_" + std::to_string(i));
    EXPECT_NE(failureText([&] { writer.add(Y_SharedDBKind::ANIMATION, "one more"); }).find("as many"), string::npos);
    writer.commit();
    EXPECT_EQ(Y_SharedDB(path, true).getNames(Y_SharedDBKind::ANIMATION).size(),
              Y_SharedDBAnimationContainer::MAX_REFERENCES);
}

TEST(SharedDBWriter, LeavesTheFileAsItWasWithoutACommit) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    Y_SharedDBWriter::create(path);
    const string before = bytesOf(path);
    {
        Y_SharedDBWriter writer(path);
        for (int i = 0; i < 1000; ++i)
            writer.add(Y_SharedDBKind::LEVEL_ITEM, "item " + std::to_string(i));
    }
    EXPECT_EQ(bytesOf(path), before);
    EXPECT_EQ(folder.count(), 1);
}

TEST(SharedDBWriter, DropsAllOfATransactionThatFails) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    test::OtherProgram(path).run("PRAGMA application_id = 0x43524E43; PRAGMA user_version = 1;"
                                 "CREATE TABLE flare (name CHECK (length (name) < 9))");
    Y_SharedDBWriter writer(path);
    writer.add(Y_SharedDBKind::WEAPON, "axe");
    EXPECT_THAT(failureText([&] { writer.add(Y_SharedDBKind::FLARE, "a long name"); }), HasSubstr("constraint"));
    writer.add(Y_SharedDBKind::WEAPON, "bow");
    writer.commit();
    EXPECT_THAT(Y_SharedDB(path, true).getNames(Y_SharedDBKind::WEAPON), ElementsAre("bow"));
}

TEST(SharedDBWriter, CreatesAfreshAndSparesWhatIsNotOurs) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    Y_SharedDBWriter::create(path);
    {
        Y_SharedDBWriter writer(path);
        writer.add(Y_SharedDBKind::LEVEL, "one");
        writer.commit();
    }
    Y_SharedDBWriter::create(path);
    EXPECT_THAT(Y_SharedDB(path, true).getNames(Y_SharedDBKind::LEVEL), IsEmpty());

    const string foreign = folder.path("foreign.db");
    test::OtherProgram(foreign).run("CREATE TABLE level (name)");
    const string text = folder.path("text");
    test::writeBytes(text, "a shopping list");
    const string empty = folder.path("empty");
    test::writeBytes(empty, "");
    for (const string& spared : {foreign, text, empty}) {
        const string before = bytesOf(spared);
        EXPECT_THAT(failureText([&] { Y_SharedDBWriter::create(spared); }), HasSubstr(spared));
        EXPECT_THAT(failureText([&] { Y_SharedDBWriter writer(spared); }), HasSubstr(spared));
        EXPECT_EQ(bytesOf(spared), before);
    }
    EXPECT_EQ(folder.count(), 4);
    EXPECT_NE(failureText([&] { Y_SharedDBWriter::create(folder.path("no/such/folder.db")); }), NOTHING);
    EXPECT_NE(failureText([&] { Y_SharedDBWriter writer(folder.path("missing.db")); }), NOTHING);
    EXPECT_NE(failureText([&] { Y_SharedDBWriter::create(":memory:"); }), NOTHING);
}

TEST(SharedDBWriter, RefusesWhereAnotherWrites) {
    const ContentFolder folder;
    const string path = folder.path("a.db");
    Y_SharedDBWriter::create(path);
    Y_SharedDBWriter first(path);
    Y_SharedDBWriter second(path);
    first.add(Y_SharedDBKind::MUSIC, "Calm");
    EXPECT_THAT(failureText([&] { second.add(Y_SharedDBKind::MUSIC, "Storm"); }), HasSubstr("locked"));
    first.commit();
    EXPECT_THAT(failureText([&] { second.add(Y_SharedDBKind::MUSIC, "calm"); }), HasSubstr("already"));
    second.add(Y_SharedDBKind::MUSIC, "Storm");
    second.commit();
    EXPECT_THAT(Y_SharedDB(path, true).getNames(Y_SharedDBKind::MUSIC), ElementsAre("Calm", "Storm"));
}

} // namespace
} // namespace cairn
