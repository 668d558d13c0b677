#include "cairn/foundation/script.h"
#include "cairn/fsm/message_info_provider.h"
#include "cairn/platform/handlers.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace cairn {
namespace {

/// Each test stands in a folder of its own, and the lines for the console are collected.
class MessageInfoProviderTest : public testing::Test {
  protected:
    MessageInfoProviderTest() {
        std::filesystem::current_path(m_folder.path(""));
        m_console = setConsoleLineHandler([this](const std::string& line) { m_lines.push_back(line); });
    }
    ~MessageInfoProviderTest() override {
        setConsoleLineHandler(std::move(m_console));
        std::filesystem::current_path(m_before);
    }

    static void writeFile(const string& text) { std::ofstream("messages.txt", std::ios::binary) << text; }

    const std::filesystem::path m_before = std::filesystem::current_path();
    test::TemporaryFolder m_folder;
    ConsoleLineHandler m_console; ///< the one before
    std::vector<std::string> m_lines;
};

/// A catalogue as one text, an entry a line.
string textOf(const CN_FSMMessageInfoProvider& catalogue) {
    std::ostringstream text;
    for (const auto& [key, message] : catalogue.getMessages()) {
        text << key << ' ' << message.name;
        for (const auto& argument : message.arguments) {
            text << " (" << argument.format << ' ' << argument.type << " '" << argument.description << '\'';
            for (const auto& value : argument.values)
                text << ' ' << value.text << '=' << value.dependentType;
            text << ')';
        }
        for (const auto& receiver : message.receivers)
            text << ' ' << receiver.type << '[' << receiver.name << ']';
        text << '\n';
    }
    text << "names:";
    for (const auto& [name, value] : catalogue.getReceiverNames())
        text << ' ' << name << '=' << value;
    return text.str();
}

constexpr const char* GO = "go { Msg { Name = Go } Receiver { Type = 1 Name = One } }\n";

TEST_F(MessageInfoProviderTest, ReadsWhatAMessageIs) {
    const struct {
        const char *what, *text, *catalogue;
        const char* failure = "(nothing thrown)";
    } cases[] = {
        {"everything",
         R"(FSM_Switch { Msg { Name = "FSM switch" }
              Argument { General { Format = "%s" Type = 4 Description = "a state" }
                         Value { String = "on top" DependentType = 9 } Value { String = off } }
              Receiver { Type = 105 Name = Machine }
              Argument { General { Description = "" Format = "[%d]" } }
              Receiver { Type = 106 } })",
         "fsm_switch FSM switch (%s 4 'a state' on top=9 off=0) ([%d] 0 '') 105[Machine] 106[]\nnames: =0 Machine=0"},
        {"a second block of a name takes the place of the first, whose receivers' names stay",
         R"(go { Msg { Name = Go } Argument { General { Format = a Description = a } Value { String = v } }
                 Receiver { Type = 1 Name = One } Receiver { Type = 2 Name = Two } }
            GO { Msg { Name = Went } Receiver { Type = 3 Name = one } })",
         "go Went 3[one]\nnames: One=0 Two=0"},
        {"no receiver, which ends the reading",
         "go { Msg { Name = Go } Receiver { Type = 1 Name = One } } b { Msg { Name = B } } "
         "c { Msg { Name = C } Receiver { Type = 1 } }",
         "go Go 1[One]\nnames: One=0",
         "Cannot read \"c\": line 1, column 59: \"b\" has 0 blocks \"Receiver\" where 1 to any number belong"},
        {"a fault further in leaves what was read of the message",
         "b { Msg { Name = B } Argument { General { Format = a Type = 5 Description = d } }\n"
         "Argument { General { Type = 6 Description = d } } Receiver { Type = 1 } }",
         "b B (a 5 'd') ( 0 '')\nnames:",
         "Cannot read \"c\": line 2, column 12: \"General\" has no variable \"Format\""},
        {"an unknown block", "b { Msg { Name = B } Receiver { Type = 1 } Note { } }",
         "names:", "Cannot read \"c\": line 1, column 44: the block \"Note\" does not belong into \"b\""},
    };
    for (const auto& c : cases) {
        F_Script script(c.text, "c");
        CN_FSMMessageInfoProvider catalogue;
        EXPECT_EQ(test::failureText([&] { catalogue.read(script); }), c.failure) << c.what;
        EXPECT_EQ(textOf(catalogue), c.catalogue) << c.what;
    }
}

TEST_F(MessageInfoProviderTest, ReadsTheFileOfTheWorkingDirectory) {
    CN_FSMMessageInfoProvider catalogue;
    EXPECT_EQ(m_lines, std::vector<std::string>{"Cannot look at \"messages.txt\": No such file or directory"});
    EXPECT_TRUE(catalogue.isEmpty());
    m_lines.clear();

    writeFile(GO);
    catalogue.reset();
    const CN_FSMMessageInfoProvider copy = catalogue;
    EXPECT_TRUE(m_lines.empty());
    ASSERT_TRUE(copy.getMessageInfo("gO"));
    EXPECT_EQ(copy.getMessageInfo("gO")->name, "Go");
    EXPECT_EQ(copy.getMessageInfo("gone"), nullptr);

    writeFile(string("other { Msg { Name = Other } Receiver { Type = 2 Name = Two } }\n") + GO + "broken { }");
    catalogue.reset();
    EXPECT_EQ(textOf(catalogue), "go Go 1[One]\nother Other 2[Two]\nnames: One=0 Two=0");
    EXPECT_EQ(m_lines,
              std::vector<std::string>{"Cannot read \"messages.txt\": line 3, column 1: \"broken\" has 0 blocks "
                                       "\"Msg\" where 1 to 1 belong"});

    writeFile(string(GO) + "}");
    catalogue.reset();
    EXPECT_EQ(textOf(catalogue), "names:") << "what is no script at all has no entries";
    EXPECT_EQ(textOf(copy), "go Go 1[One]\nnames: One=0");
}

} // namespace
} // namespace cairn
