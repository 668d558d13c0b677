#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

/// What the benchmarks share: contenders that do the same work side by side, and one report of their ratios and growth.
///
/// A program registers its rows, tells its limits and ends in `run`:
///
///     int main(int argc, char** argv) {
///         cairn::bench::Report report("dl_list");
///         for (int n : cairn::bench::sizes({100, 10000, 1000000})) {
///             report.add("walk", "std::vector", n, [n] { return walkVector(n); });
///             report.add("walk", "F_DLList", n, [n] { return walkList(n); });
///         }
///         report.limitRatio("walk", "F_DLList", 2.5, 0, 10000);
///         report.limitGrowth("walk", "F_DLList", 1.1);
///         return report.run(argc, argv);
///     }
///
/// The first contender added to a case is its reference. Quote ratios from one run only; nanoseconds differ between machines
/// and hours.
namespace cairn::bench {

/// True when CAIRN_BENCH_QUICK is set to anything but "" or "0": small sizes and few repetitions, to see that it runs.
bool quick();

/// The sizes to run: all of them, or in a quick run those up to `quickLimit`.
std::vector<int> sizes(std::vector<int> all, int quickLimit = 1000);

/// Keeps freed memory in the process: otherwise every iteration of the large sizes, and of these alone, has the kernel
/// fault its pages in anew, which costs many times what is measured. For the first line of a program.
void keepFreedMemory();

/// The time that this thread has had of the processor; wall time where the system does not tell.
std::chrono::steady_clock::duration processorTime();

/// Adds up the parts of an iteration that count; handed to the work of `Report::addTimed`.
class Watch {
  public:
    /// Runs a part and counts its time: that of the processor, as others at work on the machine count less then, but no more
    /// than passed on the wall, which short parts are measured by. Gives what the part gives.
    template <class Part> auto timed(Part&& part) {
        struct Stop {
            Watch& watch;
            std::chrono::steady_clock::duration processor = processorTime();
            std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
            ~Stop() {
                const std::chrono::steady_clock::duration wall = std::chrono::steady_clock::now() - start;
                watch.m_time += std::min(wall, processorTime() - processor);
            }
        } stop{*this};
        return part();
    }
    /// The time counted since the last call, in seconds.
    double take() {
        const std::chrono::duration<double> seconds = m_time;
        m_time = {};
        return seconds.count();
    }

  private:
    std::chrono::steady_clock::duration m_time{}; ///< counted and not yet taken
};

/// The rows of a benchmark program, their limits, and the report of a run.
class Report {
  public:
    /// `program` heads the report.
    explicit Report(std::string program);

    /// Registers the row "scene/contender/n". `work` is one iteration; it returns a number that says what it computed, which
    /// must be that of the reference: a row that differs did other work and is marked.
    template <class Work> void add(const std::string& scene, const std::string& contender, double n, Work work) {
        addRow(scene, contender, n, [work](benchmark::State& state) mutable {
            double witness = 0;
            for ([[maybe_unused]] auto iteration : state) {
                witness = static_cast<double>(work());
                benchmark::DoNotOptimize(std::as_const(witness)); // the form for variables loses constants under g++ 12
            }
            state.counters["witness"] = witness;
        });
    }

    /// Like `add`, for work with parts that don't count, such as making what it destroys: `work` gets a `Watch&`, and only
    /// what runs in its `timed` counts.
    template <class Work> void addTimed(const std::string& scene, const std::string& contender, double n, Work work) {
        addRow(scene, contender, n, [work](benchmark::State& state) mutable {
            double witness = 0;
            Watch watch;
            for ([[maybe_unused]] auto iteration : state) {
                witness = static_cast<double>(work(watch));
                benchmark::DoNotOptimize(std::as_const(witness)); // the form for variables loses constants under g++ 12
                state.SetIterationTime(watch.take());
            }
            state.counters["witness"] = witness;
        })->UseManualTime();
    }

    /// Registers a row that drives the benchmark's state itself. Its counters show in the report's CSV and JSON only.
    benchmark::internal::Benchmark* addRow(const std::string& scene, const std::string& contender, double n,
                                           std::function<void(benchmark::State&)> body);

    /// States how a contender may compare with the reference of its case, for sizes from `from` to `to`.
    void limitRatio(const std::string& scene, const std::string& contender, double ratio, double from = 0,
                    double to = std::numeric_limits<double>::infinity());

    /// The same in comparison with another contender than the reference; it need not be in the run, and then nothing is said.
    void limitRatioTo(const std::string& peer, const std::string& scene, const std::string& contender, double ratio,
                      double from = 0, double to = std::numeric_limits<double>::infinity());

    /// States the exponent e up to which a contender's time may grow with n^e.
    void limitGrowth(const std::string& scene, const std::string& contender, double exponent);

    /// The same for the contender's time as a multiple of the time of `peer`, a plain read of the same memory in the same order:
    /// what one element more costs because small sizes lie in the caches and large ones do not is the machine's, and counts
    /// for neither. `exponent` is told as of time, so that 1 says that both grow alike. The exponent itself stands beside.
    void limitGrowthBeside(const std::string& peer, const std::string& scene, const std::string& contender,
                           double exponent);

    /// States that a contender's exponent may be no larger than that of another one.
    void limitGrowthTo(const std::string& peer, const std::string& scene, const std::string& contender);

    /// Runs what the command line asks for (all options of Google Benchmark) with random interleaving and prints the report:
    /// the median of the repetitions, its ratio to the reference at the same size, the growth exponent by least squares, and
    /// each stated limit with "ok" or "MISSED". Gives the exit code: 0, or 1 when an option was not understood, a row failed
    /// or computed something else, or, with CAIRN_BENCH_STRICT=1, a limit was missed.
    int run(int argc, char** argv);

  private:
    struct Row {
        std::string scene, contender, name;
        double n;
    };
    struct RatioLimit {
        std::string scene, contender;
        double ratio, from, to;
        std::string peer; ///< empty for the reference
    };
    struct GrowthLimit {
        std::string scene, contender;
        double exponent;  ///< 0 where it is the peer's
        std::string peer; ///< whose exponent it is, or beside whose it is told; empty for none
    };
    class Collector;

    std::vector<Row> rowsByScene() const;

    std::string m_program;                   ///< heads the report
    std::vector<Row> m_rows;                 ///< in the order they were added
    std::vector<RatioLimit> m_ratioLimits;   ///< as stated
    std::vector<GrowthLimit> m_growthLimits; ///< as stated
};

} // namespace cairn::bench
