#include "bench/support/report.h"

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace cairn::bench {
namespace {

constexpr const char* USAGE =
    "cairn_bench [NAME...] [--json FILE] [--benchmark_OPTION...]   runs all scenes, or those named\n"
    "cairn_bench --list                                            what the scenes measure\n"
    "cairn_bench --markdown FILE                                   the tables of a run that --json wrote, for a "
    "document\n"
    "\n"
    "CAIRN_BENCH_QUICK=1: small sizes and few repetitions. CAIRN_BENCH_STRICT=1: exit code 1 where a limit is "
    "missed.\n";

struct Options {
    std::vector<const Scene*> scenes;
    std::vector<std::string> benchmark; ///< for Google Benchmark
    std::string json;                   ///< file to write; empty for none
};

/// The processor and the compiler.
std::string describeMachine() {
    std::string processor = "an unknown processor", line;
    for (std::ifstream file("/proc/cpuinfo"); std::getline(file, line);)
        if (line.starts_with("model name"))
            processor = line.substr(line.find(':') + 2);
#ifdef __clang__
    const std::string compiler = fmt::format("clang {}", __clang_major__);
#else
    const std::string compiler = fmt::format("g++ {}", __GNUC__);
#endif
    return fmt::format("{} x {}, {}", std::thread::hardware_concurrency(), processor, compiler);
}

constexpr int RESULT =
    3; ///< descriptor that a scene's process writes to: the library itself has lines for standard output

/// Runs a scene in this process and writes what it finds to its descriptor.
int runHere(const Scene& scene, const std::vector<std::string>& options) {
    Report report;
    scene.addTo(report);
    const std::string json = toJson(report.run(options));
    std::FILE* const file = fdopen(RESULT, "w");
    return file && std::fputs(json.c_str(), file) >= 0 && std::fclose(file) == 0 ? 0 : 1;
}

/// Starts this program with those words and gives what it wrote to the descriptor; `ok` is whether it ended well.
std::string outputOf(std::vector<std::string> words, bool& ok) {
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    int ends[2] = {};
    if (pipe(ends) != 0)
        std::perror("pipe"), std::exit(2);
    const pid_t child = fork();
    if (child == 0) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        close(ends[0]);
        if (ends[1] != RESULT) {
            dup2(ends[1], RESULT);
            close(ends[1]);
        }
        execv("/proc/self/exe", pointers.data());
        std::perror("exec");
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    char part[1 << 16];
    for (ssize_t size = 0; (size = read(ends[0], part, sizeof part)) > 0;)
        output.append(part, static_cast<std::size_t>(size));
    close(ends[0]);
    int status = 0;
    ok = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return output;
}

/// Runs a scene in a process of its own, so that the memory and the settings of one do not reach the next.
SceneResult runApart(const Scene& scene, const std::vector<std::string>& options) {
    fmt::print(stderr, "== {}\n", scene.name());
    std::vector<std::string> words{"cairn_bench", "--run", scene.name()};
    words.insert(words.end(), options.begin(), options.end());
    const auto start = std::chrono::steady_clock::now();
    bool ok = false;
    const std::string output = outputOf(words, ok);
    SceneResult result;
    try {
        result = readScene(output);
    } catch (const std::exception&) {
        ok = false;
    }
    result.name = scene.name();
    result.about = scene.about();
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.failed |= !ok;
    return result;
}

int runAll(const Options& options) {
    RunResult run{describeMachine(), quick(), {}};
    bool faulty = false;
    for (const Scene* const scene : options.scenes) {
        run.scenes.push_back(runApart(*scene, options.benchmark));
        faulty |= isFaulty(run.scenes.back());
    }
    std::fputs(toTable(run).c_str(), stdout);
    if (!options.json.empty()) {
        std::ofstream file(options.json, std::ios::binary);
        file << toJson(run);
        file.close();
        if (!file) {
            fmt::print(stderr, "cairn_bench: {} cannot be written\n", options.json);
            return 2;
        }
    }
    const char* const strict = std::getenv("CAIRN_BENCH_STRICT");
    const bool isStrict = strict && *strict != '\0' && std::string_view(strict) != "0";
    return faulty || (isStrict && countLimits(run).missed > 0) ? 1 : 0;
}

int printMarkdown(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    const std::string json{std::istreambuf_iterator<char>(file), {}};
    try {
        std::fputs(toMarkdown(readRun(json)).c_str(), stdout);
        return 0;
    } catch (const std::exception&) {
        fmt::print(stderr, "cairn_bench: {} is no result of a run\n", name);
        return 2;
    }
}

int printList() {
    for (const Scene* const scene : Scene::all())
        fmt::print("{:<16} {}\n", scene->name(), scene->about());
    return 0;
}

int refuse(const std::string& what) {
    fmt::print(stderr, "cairn_bench: {}\n{}", what, USAGE);
    return 2;
}

int main(const std::vector<std::string>& words) {
    Options options;
    bool isHere = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        const bool takesOne = word == "--json" || word == "--markdown";
        if (takesOne && i + 1 == words.size())
            return refuse(word + " needs a file");
        if (word == "--help")
            return std::fputs(USAGE, stdout) < 0;
        if (word == "--list")
            return printList();
        if (word == "--markdown")
            return printMarkdown(words[i + 1]);
        if (word == "--json")
            options.json = words[++i];
        else if (word == "--run")
            isHere = true;
        else if (word.starts_with("--benchmark_"))
            options.benchmark.push_back(word);
        else if (const Scene* const scene = Scene::find(word))
            options.scenes.push_back(scene);
        else
            return refuse(fmt::format("there is no scene or option \"{}\"", word));
    }
    if (isHere)
        return options.scenes.size() == 1 ? runHere(*options.scenes.front(), options.benchmark)
                                          : refuse("--run takes one scene");
    if (options.scenes.empty())
        options.scenes = Scene::all();
    return runAll(options);
}

} // namespace
} // namespace cairn::bench

int main(int argc, char** argv) { return cairn::bench::main({argv + 1, argv + argc}); }
