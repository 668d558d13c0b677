#include "cairn/document/entity_factory.h"
#include "cairn/entities/level_entity.h"
#include "host/catalogue.h"
#include "host/level_session.h"
#include "tests/host/program_run.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>

namespace cairn::host {
namespace {

namespace fs = std::filesystem;

const std::string SHIPPED = test::projectFile("host/data/messages.txt").string();

/// Stands in an empty folder.
class CatalogueTest : public test::ProgramTest {
  protected:
    CatalogueTest() { fs::current_path(path("")); }
    ~CatalogueTest() override { fs::current_path(m_before); }

    const fs::path m_before = fs::current_path();
};

TEST_F(CatalogueTest, IsTheNamedFileElseThatOfTheWorkingDirectoryElseTheOneThatShips) {
    fs::create_directories(path("prefix/bin"));
    fs::create_directories(path("prefix/share/cairn"));
    const fs::path program = path("prefix/bin");
    EXPECT_EQ(findCatalogue("", program), "");
    EXPECT_EQ(findCatalogue("", {}), "");
    write("prefix/share/cairn/messages.txt", "");
    EXPECT_EQ(findCatalogue("", program), path("prefix/share/cairn/messages.txt").string());
    write("prefix/bin/messages.txt", "");
    EXPECT_EQ(findCatalogue("", program), path("prefix/bin/messages.txt").string());
    write("messages.txt", "");
    EXPECT_EQ(findCatalogue("", program), "messages.txt");
    EXPECT_EQ(findCatalogue("other", program), "other");
    EXPECT_FALSE(findCatalogue("", fs::path(test::programFile()).parent_path()).empty());
}

TEST_F(CatalogueTest, SessionReadsItAndTellsWhatIsWrong) {
    const Console console;
    const LevelSession session(console, "");
    const CN_FSMMessageInfoProvider* const shipped = session.readCatalogue(SHIPPED);
    ASSERT_TRUE(shipped);
    const struct {
        const char* name;
        bool takes0, takes1, takes2, takes9;
        std::vector<unsigned> receivers;
    } cases[] = {
        {"FSM_Switch", false, true, false, false, {100, 104, 105, 106, 107, 108, 109, 110, 111, 116, 117, 118}},
        {"EnableExit", false, false, true, false, {100}},
        {"AI_SetTargetGroups", false, true, true, false, {110, 116}},
        {"AI_PushPatrolCommand", false, true, true, true, {110, 116}},
        {"DO_AbortAnimation", true, false, false, false, {100, 117}},
        {"REM", true, true, true, true, {0}},
    };
    for (const auto& c : cases) {
        const auto* const message = shipped->getMessageInfo(c.name);
        ASSERT_TRUE(message) << c.name;
        EXPECT_EQ(message->name, c.name);
        const ArgumentCount count = countArguments(*message);
        for (const auto& [arguments, taken] : {std::pair(0, c.takes0), {1, c.takes1}, {2, c.takes2}, {9, c.takes9}})
            EXPECT_EQ(count.contains(static_cast<std::size_t>(arguments)), taken) << c.name << arguments;
        std::vector<unsigned> receivers;
        for (const auto& receiver : message->receivers)
            receivers.push_back(receiver.type);
        EXPECT_EQ(receivers, c.receivers) << c.name;
    }

    write("messages.txt", "go {");
    for (const auto& [named, subject, why] :
         {std::tuple("", "messages.txt", "line 1, column 1: the block \"go\" is not closed"),
          {"missing.txt", "missing.txt", "No such file"}}) {
        try {
            session.readCatalogue(named);
            ADD_FAILURE();
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), ExitCode::INPUT);
            EXPECT_EQ(failure.subject(), subject);
            EXPECT_NE(std::string(failure.what()).find(why), std::string::npos) << failure.what();
        }
    }
}

TEST_F(CatalogueTest, ShippedOneKnowsEachMessageByItsBlocksNameAndOnlyRealKinds) {
    CN_FSMMessageInfoProvider catalogue;
    catalogue.read(SHIPPED);
    for (const auto& [key, message] : catalogue.getMessages()) {
        EXPECT_EQ(key, toIString(message.name));
        for (const auto& receiver : message.receivers) {
            const int kind = static_cast<int>(receiver.type);
            if (kind == 0 || kind == CN_KIND_PLAYER)
                continue;
            EXPECT_EQ(receiver.name, CN_EntityFactory::instance()->getEntityTypeName(kind)) << message.name;
        }
        bool mayBeLeftOut = false;
        for (const auto& argument : message.arguments) {
            EXPECT_TRUE(!mayBeLeftOut || argument.format.starts_with('['))
                << message.name << ": stands behind one that may";
            mayBeLeftOut = argument.format.starts_with('[');
        }
    }
}

TEST_F(CatalogueTest, IsNoBusinessOfACommandThatNeedsNone) {
    ASSERT_EQ(run({"new", "a.cairn"}).code, 0);
    const std::string output = run({"info", "a.cairn"}).output;
    write("messages.txt", "go {");
    for (const std::vector<std::string>& words : {std::vector<std::string>{"info", "a.cairn"}, {"new", "b.cairn"}}) {
        const test::ProgramRun done = run(words);
        EXPECT_EQ(done.code, 0);
        EXPECT_EQ(done.error, "");
        EXPECT_EQ(done.output, words[0] == "info" ? output : "");
    }
}

} // namespace
} // namespace cairn::host
