// The memory that commands take for whole levels of generated rooms, from the file to the result, beside the file's size. Each
// number is that of a process of its own: the most that it had in memory, less what it had before. Before is after the
// same was done for a small level, so that the code is there.
#include "bench/support/level_works.h"
#include "bench/support/report.h"
#include "cairn/foundation/file.h"

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

using namespace cairn;

constexpr int SMALL = 10; ///< rooms

/// Runs in a process of its own and gives what comes back, 0 where that ended badly.
double inChild(const std::function<double()>& run) {
    int ends[2] = {};
    if (pipe(ends) != 0)
        return 0;
    const pid_t child = fork();
    if (child == 0) {
        const double result = run();
        _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
    }
    close(ends[1]);
    double result = 0;
    const bool isWhole = read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0 && isWhole ? result : 0;
}

/// A number of bytes that the system knows of this process, such as "VmHWM".
double ownMemory(const std::string& name) {
    std::string word;
    for (std::ifstream status("/proc/self/status"); status >> word;)
        if (double kilobytes = 0; word == name + ':' && status >> kilobytes)
            return 1024 * kilobytes;
    return 0;
}

/// A folder with the files of levels, which goes at the end.
class Files {
  public:
    Files() {
        std::string folder = (std::filesystem::temp_directory_path() / "cairn_bench_XXXXXX").string();
        if (!mkdtemp(folder.data()))
            std::abort();
        m_folder = folder;
    }
    ~Files() {
        std::error_code ignored; // nothing is left to do about it
        std::filesystem::remove_all(m_folder, ignored);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    /// The file of a level of so many rooms, made by another process: no memory of this one has held it.
    std::string ofRooms(int rooms) const {
        const std::filesystem::path file = m_folder / fmt::format("{}.cairn", rooms);
        if (!std::filesystem::exists(file))
            inChild([&] {
                F_File::replace(file.string(), bench::roomBytes(rooms));
                return 1;
            });
        return file.string();
    }

  private:
    std::filesystem::path m_folder;
};

/// What a process takes for opening a level and the work on it.
double peakOf(const std::string& small, const std::string& file,
              const std::function<double(host::OpenedLevel&)>& work) {
    const auto run = [&work](const std::string& name) {
        host::OpenedLevel level = bench::levelSession().open(name);
        if (!level.isWhole())
            std::abort();
        if (work)
            work(level);
    };
    return inChild([&] {
        run(small);
#ifdef __GLIBC__
        malloc_trim(0);
#endif
        std::ofstream("/proc/self/clear_refs") << "5\n"; // the most so far becomes what there is now
        const double before = ownMemory("VmRSS");
        run(file);
        return std::max(1.0, ownMemory("VmHWM") - before);
    });
}

} // namespace

static void measure(bench::Report& report) {
    const auto files = std::make_shared<Files>();
    std::vector<bench::LevelWork> works{{"load", nullptr}};
    works.insert(works.end(), bench::levelWorks().begin(), bench::levelWorks().end());
    for (const bench::LevelWork& work : works) {
        const std::string name = fmt::format("peak of {}", work.name);
        for (const int n : bench::sizes({10, 100, 1000, 10000}, 100)) {
            report.addBytes(name, "the file", n,
                            [files, n] { return static_cast<double>(std::filesystem::file_size(files->ofRooms(n))); });
            report.addBytes(name, "cairn", n, [files, n, run = work.run] {
                return peakOf(files->ofRooms(SMALL), files->ofRooms(n), run);
            });
        }
        report.limitRatio(name, "cairn", 8);
        report.reason(name, "cairn",
                      "the heap grows by whole steps, of which a small level fills the last one in part");
    }
}

static const bench::Scene SCENE("level_memory",
                                "Memory that commands take for whole levels, by the number of their rooms.", measure);
