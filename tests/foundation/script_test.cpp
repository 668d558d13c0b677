#include "cairn/foundation/script.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

namespace cairn {
namespace {

using test::failureText;

/// The text of the variable V of the block A at the top of the script.
string valueIn(std::string_view text) {
    const F_Script script(text, "s");
    char value[F_Script::STRING_SIZE] = {};
    const F_Script::Variables rows[] = {{"V", value, "(default)", F_Script::t_string}, {}};
    script.parse(rows, "A", 0, true);
    return value;
}

/// The names of all blocks, each with what is in it in parentheses.
string shape(F_Script& script) {
    string text;
    for (unsigned int i = 0; i < script.count(); ++i) {
        const F_ScriptLock lock(&script, i);
        text += script.getBlockName() + '(' + shape(script) + ')';
    }
    return text;
}

TEST(Script, ReadsValues) {
    const string longText(300, 'x');
    const struct {
        string text, value;
    } cases[] = {
        {"A { V = word }", "word"},
        {"a{v=w}", "w"},
        {"A { }", "(default)"},
        {"\xEF\xBB\xBF# first\r\nA # behind\r\n{\r\n\tV=\f\"two words\"\r\n}", "two words"},
        {R"(A { V = "# { } = no comment" })", "# { } = no comment"},
        {R"(A { V = "\"\\\n\t\x01\xfF" })", "\"\\\n\t\x01\xFF"},
        {"A { V = \"\" }", ""},
        {"A { V = \xC3\xBC%s/-1.5 }", "\xC3\xBC%s/-1.5"},
        {"A { V = one#two\n }", "one"},
        {"A { B { V = inner } V = outer } A { V = other }", "outer"},
        {"A { V = \"" + longText + "\" }", longText.substr(0, 255)},
    };
    for (const auto& c : cases)
        EXPECT_EQ(valueIn(c.text), c.value) << c.text;
}

TEST(Script, RefusesWhatIsNoScriptWithItsPlace) {
    const struct {
        std::string_view text, failure;
    } cases[] = {
        {"A {\n  B {\n}", "line 1, column 1: the block \"A\" is not closed"},
        {"A {\n  B {", "line 2, column 3: the block \"B\" is not closed"},
        {"A { }\n}", "line 2, column 1: '}' closes no block"},
        {"{{{{", "line 1, column 1: a name or '}' expected, found '{'"},
        {"A", "line 1, column 2: '{' or '=' expected, the file ends"},
        {"A B {}", "line 1, column 3: '{' or '=' expected, found 'B'"},
        {"A { \x01 }", "line 1, column 5: a name or '}' expected, found the byte 0x01"},
        {"V = 1", "line 1, column 1: the variable \"V\" stands in no block"},
        {"A { V = }", "line 1, column 9: a value expected, found '}'"},
        {"A { V =", "line 1, column 8: a value expected, the file ends"},
        {"A {\n V = \"x\n\" }", "line 2, column 6: the quote is not closed on its line"},
        {"A { V = \"x\\\"", "line 1, column 9: the quote is not closed on its line"},
        {R"(A { V = "\q" })", "line 1, column 10: a backslash begins none of"},
        {R"(A { V = "\x0g" })", "line 1, column 10: a backslash begins none of"},
        {R"(A { V = "\x00" })", "line 1, column 10: a backslash begins none of"},
        {{"A { }\n#\0", 8}, "line 2, column 2: a script has no NUL bytes"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(failureText([&] { F_Script(c.text, "s"); }).find("Cannot read \"s\": " + string(c.failure)), 0u)
            << c.text << "\n"
            << failureText([&] { F_Script(c.text, "s"); });
}

TEST(Script, EachCutIsReadOrRefused) {
    const string text = "A { B { V = \"\\x41\\\"\" W = w } } # end\nC { }\n";
    std::size_t read = 0;
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const auto bytes = std::make_unique<char[]>(size); // a block of its size shows a look beyond the end
        std::copy_n(text.begin(), size, bytes.get());
        const string failure = failureText([&] { F_Script({bytes.get(), size}, "s"); });
        if (failure == "(nothing thrown)")
            ++read;
        EXPECT_TRUE(failure == "(nothing thrown)" || failure.starts_with("Cannot read \"s\": line "))
            << size << failure;
    }
    EXPECT_EQ(read, 11u) << "nothing, A with each cut of what is behind it, C";
}

TEST(Script, TakesMuchAndRefusesTooMuch) {
    string nested, many;
    for (int i = 0; i < 1'000'000; ++i) {
        nested += "a{";
        many += i % 2 == 0 ? "a{}" : "B{}";
    }
    EXPECT_EQ(failureText([&] { F_Script(nested, "s"); }),
              "Cannot read \"s\": line 1, column 129: blocks stand more than 64 deep in one another");
    EXPECT_EQ(failureText([&] { F_Script("a { " + string(F_Script::MAX_BYTES, ' ') + "}", "s"); }),
              "Cannot read \"s\": it is longer than 16777216 bytes");
    F_Script script(many, "s");
    EXPECT_EQ(script.count(), 1'000'000u);
    for (unsigned int i = 0; i < script.count("b"); ++i)
        const F_ScriptLock lock(&script, "b", i);
    EXPECT_EQ(script.count("b"), 500'000u);
}

TEST(Script, LocksEnterBlocksAndGoBack) {
    F_Script script("A { x { V = 1 } Y { } X { V = 2 } }\nB { }", "s");
    EXPECT_EQ(shape(script), "A(x()Y()X())B()");
    EXPECT_EQ(script.getBlockName(), "");
    {
        const F_ScriptLock inA(&script, "a", 0);
        EXPECT_EQ(script.count(), 3u);
        EXPECT_EQ(script.count("X"), 2u);
        EXPECT_EQ(script.count("B"), 0u);
        const F_ScriptLock second(&script, "x", 1);
        EXPECT_EQ(script.getBlockName(), "X");
        EXPECT_EQ(failureText([&] { F_ScriptLock(&script, 0); }),
                  "Cannot read \"s\": line 1, column 23: \"X\" has no block 0");
        EXPECT_EQ(script.getBlockName(), "X");
    }
    EXPECT_EQ(script.count(), 2u);
    EXPECT_EQ(failureText([&] { F_ScriptLock(&script, "a", 1); }),
              "Cannot read \"s\": line 1, column 1: \"\" has no block \"a\" 1");
}

TEST(Script, ChecksBlocks) {
    F_Script script("Top {\n A { } a { }\n B { }\n}", "s");
    const F_ScriptLock lock(&script, 0u);
    const auto check = [&script](std::vector<F_Script::Blocks> rows, bool othersAllowed) {
        rows.push_back({});
        const string failure = failureText([&] { script.blockCheck(rows.data(), othersAllowed); });
        return failure.substr(failure.starts_with("Cannot read \"s\": ") ? 17 : 0);
    };
    EXPECT_EQ(check({{"A", 1, 2}, {"b", 0, 1}, {"C", 0, 0}}, false), "(nothing thrown)");
    EXPECT_EQ(check({{"A", 2, 2}}, true), "(nothing thrown)");
    EXPECT_EQ(check({{"A", 2, 2}}, false), "line 3, column 2: the block \"B\" does not belong into \"Top\"");
    EXPECT_EQ(check({{"A", 1, 1}}, true), "line 1, column 1: \"Top\" has 2 blocks \"A\" where 1 to 1 belong");
    EXPECT_EQ(check({{"C", 1, 0x7FFFFFFF}}, true),
              "line 1, column 1: \"Top\" has 0 blocks \"C\" where 1 to any number belong");
}

TEST(Script, ChecksVariables) {
    const struct {
        const char* text;
        bool onlyThese;
        const char* failure; ///< or the number read
    } cases[] = {
        {"A { N = 4294967295 }", true, "4294967295"},
        {"A { n = \"0\" Other = 1 }", false, "0"},
        {"A { N = 1 Other = 1 }", true, "line 1, column 11: the variable \"Other\" does not belong into \"A\""},
        {"A { N = 4294967296 }", true, "line 1, column 9: \"4294967296\" is no whole number from 0 to 4294967295"},
        {"A { N = -1 }", true, "line 1, column 9: \"-1\" is no whole number from 0 to 4294967295"},
        {"A { N = 1x }", true, "line 1, column 9: \"1x\" is no whole number from 0 to 4294967295"},
        {"A { N = \"\" }", true, "line 1, column 10: \"\" is no whole number from 0 to 4294967295"},
        {"A { N = 1 n = 1 }", true, "line 1, column 11: \"A\" has the variable \"n\" already"},
        {"\nA { Other = 1 }", false, "line 2, column 1: \"A\" has no variable \"N\""},
        {"B { N = 1 }", true, "line 1, column 1: \"\" has no block \"A\" 0"},
    };
    for (const auto& c : cases) {
        const F_Script script(c.text, "s");
        unsigned int number = 7;
        const F_Script::Variables rows[] = {{"N", &number, nullptr, F_Script::t_unsigned}, {}};
        const string failure = failureText([&] { script.parse(rows, "A", 0, c.onlyThese); });
        EXPECT_EQ(failure == "(nothing thrown)" ? std::to_string(number) : failure.substr(17), c.failure) << c.text;
    }
}

TEST(Script, ReadsRegularFilesOnly) {
    const test::TemporaryFolder folder;
    std::ofstream(folder.path("good")) << "A { }";
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    F_Script script(folder.path("good").c_str());
    EXPECT_EQ(script.count(), 1u);
    for (const char* name : {"none", "pipe", "."})
        EXPECT_NE(failureText([&] { F_Script(folder.path(name).c_str()); }).find(folder.path(name).string()),
                  string::npos);
}

} // namespace
} // namespace cairn
