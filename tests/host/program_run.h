#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace cairn::test {

/// Where the program stands that these tests run.
std::string programFile();

/// What a run of the program left.
struct ProgramRun {
    int code = -1; ///< exit code; 1000 and the signal's number where one ended it
    std::string output, error;
};

/// Runs the program `cairn` in a new folder that goes away with the test.
class ProgramTest : public testing::Test {
  protected:
    ProgramTest() {
        std::string folder = (std::filesystem::temp_directory_path() / "cairn_program_XXXXXX").string();
        m_folder = ::mkdtemp(folder.data());
    }
    ~ProgramTest() override { std::filesystem::remove_all(m_folder); }

    std::filesystem::path path(const std::string& name) const { return m_folder / name; }
    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }

    ProgramRun run(const std::vector<std::string>& arguments, const std::string& input = "") const {
        std::string words;
        for (const std::string& argument : arguments)
            words += ' ' + quoted(argument);
        write(".in", input);
        return runInShell(words, "<.in");
    }
    /// `redirection` is the shell's, and comes behind the program and its words; `before` comes ahead of them.
    ProgramRun runInShell(const std::string& words, const std::string& redirection,
                          const std::string& before = "") const {
        const std::string script = "cd " + quoted(m_folder.string()) + " && " + before + quoted(programFile()) + ' ' +
                                   words + ' ' + redirection;
        const std::string command =
            "bash -c " + quoted(script) + " >" + quoted(path(".out").string()) + " 2>" + quoted(path(".err").string());
        const int status = std::system(command.c_str());
        ProgramRun run;
        run.code = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
        run.output = read(".out");
        run.error = read(".err");
        return run;
    }

  private:
    static std::string quoted(const std::string& word) {
        std::string text = "'";
        for (const char c : word)
            text += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return text + '\'';
    }

    std::filesystem::path m_folder;
};

} // namespace cairn::test
