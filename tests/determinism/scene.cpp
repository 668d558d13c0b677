// A scripted scene that goes through all the program does: levels are made, imported, edited by every command, saved, shown
// and exported, and what is derived from them is worked out. It prints a hash for each stage, of all bytes that the stage
// made, and one of them all. The hashes depend on nothing but the sources and the C library's mathematics: other compilers
// and levels of optimisation print the same. A second run in the process, on a heap in disorder, must give them again.

#include "cairn/document/level_file.h"
#include "cairn/foundation/checksum.h"
#include "cairn/foundation/file.h"
#include "host/commands.h"
#include "host/demo_map.h"
#include "host/editor.h"
#include "tests/determinism/scene_scripts.h"
#include "tests/support/derived_data.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/redirection.h"
#include "tests/support/temporary_folder.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace cairn::test {

namespace {

namespace fs = std::filesystem;

std::uint64_t hashOf(std::string_view bytes) { return checksum64(bytes.data(), bytes.size()); }

std::string readFile(const fs::path& file) {
    const std::vector<unsigned char> bytes = F_File::readAll(file.string());
    return {bytes.begin(), bytes.end()};
}

void writeFile(const char* name, std::string_view text) {
    F_File::replace(name, {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

/// Blocks of many sizes, of which a half, by chance, was given back in disorder: what is allocated next lies anywhere.
class ScatteredHeap {
  public:
    explicit ScatteredHeap(std::mt19937& chance) {
        constexpr std::size_t BLOCKS = 20000, SMALLEST = 16, SIZES = 512;
        for (std::size_t i = 0; i < BLOCKS; ++i)
            m_blocks.push_back(std::make_unique<char[]>(SMALLEST + chance() % SIZES));
        for (std::size_t i = 0; i < BLOCKS / 2; ++i)
            m_blocks[chance() % BLOCKS].reset();
    }

  private:
    std::vector<std::unique_ptr<char[]>> m_blocks;
};

/// One stage and the hash of what it made.
struct StageHash {
    std::string stage;
    std::uint64_t hash;
    bool operator==(const StageHash&) const = default;
};

/// Goes through the stages in the working folder.
class Scene {
  public:
    /// On a heap in disorder where `scattered` is set.
    explicit Scene(bool scattered) : m_scattered(scattered) {}

    std::vector<StageHash> run() {
        writeFile("cellar.map", host::DEMO_MAP);
        writeFile("sheds.edit", SHEDS);
        writeFile("village.edit", VILLAGE);
        for (const SceneStage& stage : SCENE_STAGES)
            runProgram(stage);
        breakVillage();
        for (const SceneStage& stage : BROKEN_STAGES)
            runProgram(stage);
        for (const char* const level : SCENE_LEVELS)
            derive(level);
        return std::move(m_hashes);
    }

  private:
    using Files = std::map<std::string, std::uint64_t>;

    void scatter() {
        if (m_scattered)
            m_heaps.emplace_back(m_chance);
    }

    static Files files() {
        Files found;
        for (const auto& entry : fs::recursive_directory_iterator("."))
            if (entry.is_regular_file())
                found.emplace(entry.path().string(), hashOf(readFile(entry.path())));
        return found;
    }

    static void breakVillage() {
        std::string bytes = readFile("village.cairn");
        for (std::size_t at = bytes.size() / 8; at < bytes.size(); at += bytes.size() / 4)
            bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
        writeFile("broken.cairn", bytes);
    }

    /// Runs the program with the stage's words; the hash is that of what it says and of all files that it made or changed.
    void runProgram(const SceneStage& stage) {
        scatter();
        std::vector<std::string> words = host::readEditWords(stage.words);
        words.insert(words.begin(), "cairn");
        std::vector<const char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(word.c_str());
        const Files before = files();
        int code = 0;
        {
            const Redirection output(STDOUT_FILENO, "said"), error(STDERR_FILENO, "told");
            code = host::runProgram(static_cast<int>(arguments.size()), arguments.data());
        }
        if (code != stage.code)
            throw std::runtime_error(fmt::format("\"{}\" ended with {}: {}", stage.words, code, readFile("told")));
        std::string made = readFile("said") + '\0' + readFile("told");
        for (const auto& [file, hash] : files())
            if (const auto old = before.find(file); old == before.end() || old->second != hash)
                made += fmt::format("\n{} {}", file, hash);
        m_hashes.push_back({std::string(stage.words), hashOf(made)});
    }

    void derive(const char* level) {
        scatter();
        const ProcessStateGuard process;
        CN_Document document;
        CN_LevelFile::load(document, string(level));
        m_hashes.push_back({fmt::format("derived data of {}", level), hashOf(deriveData(document))});
    }

    bool m_scattered;
    std::mt19937 m_chance;
    std::vector<ScatteredHeap> m_heaps;
    std::vector<StageHash> m_hashes;
};

/// A command of the edit language that comes in no script; empty where all do.
std::string missingCommand() {
    std::set<std::string> used;
    for (const char* const script : {SHEDS, VILLAGE})
        for (const host::EditLine& line : host::readEditScript(script))
            used.insert(line.words.front());
    for (const host::EditCommand& command : host::editCommands())
        if (!used.contains(std::string(command.name)))
            return std::string(command.name);
    return "";
}

/// A command of the program that no stage runs; empty where all are run.
std::string missingProgramCommand() {
    std::set<std::string> used;
    for (const std::span<const SceneStage> stages : {std::span<const SceneStage>(SCENE_STAGES), {BROKEN_STAGES}})
        for (const SceneStage& stage : stages)
            used.insert(host::readEditWords(stage.words).front());
    for (const std::string& name : host::commandNames())
        if (!used.contains(name))
            return name;
    return "";
}

std::vector<StageHash> runScene(bool scattered) {
    const TemporaryFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.path(""));
    std::vector<StageHash> hashes = Scene(scattered).run();
    fs::current_path(before);
    return hashes;
}

void print(const std::vector<StageHash>& hashes) {
    std::string text;
    for (const auto& [stage, hash] : hashes)
        text += fmt::format("{:016x} {}\n", hash, stage);
    fmt::print("{}{:016x} the whole scene\n", text, hashOf(text));
}

int runTwice() {
    if (const std::string command = missingCommand(); !command.empty())
        throw std::runtime_error(fmt::format("no script has the command \"{}\"", command));
    if (const std::string command = missingProgramCommand(); !command.empty())
        throw std::runtime_error(fmt::format("no stage runs \"cairn {}\"", command));
    const std::vector<StageHash> first = runScene(false), second = runScene(true);
    print(first);
    for (std::size_t i = 0; i < first.size(); ++i)
        if (first[i] != second[i]) {
            fmt::print(stderr, "the second run differs in \"{}\"\n", first[i].stage);
            return 1;
        }
    return 0;
}

} // namespace

} // namespace cairn::test

int main() {
    try {
        return cairn::test::runTwice();
    } catch (const std::exception& e) {
        fmt::print(stderr, "{}\n", e.what());
    } catch (cairn::F_Exception* e) {
        const cairn::F_ExceptionGuard guard(e);
        fmt::print(stderr, "{}\n", e->getErrorMessage());
    }
    return 2;
}
