#pragma once

#include "bench/support/results.h"
#include "bench/support/scene.h"

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
/// A scene adds its rows and tells its limits:
///
///     static void measure(cairn::bench::Report& report) {
///         report.peers({"std::vector"});
///         for (int n : cairn::bench::sizes({100, 10000, 1000000})) {
///             report.add("walk", "std::vector", n, [n] { return walkVector(n); });
///             report.add("walk", "F_DLList", n, [n] { return walkList(n); });
///         }
///         report.limitRatio("walk", "F_DLList", 2.5, 0, 10000);
///         report.limitGrowth("walk", "F_DLList", 1.1);
///     }
///
///     static const cairn::bench::Scene SCENE("dl_list", "Lists beside a std::vector.", measure);
///
/// The first contender added to a work is its reference. Each scene runs in a process of its own. Quote ratios from one run
/// only; nanoseconds differ between machines and hours.
namespace cairn::bench {

/// True when CAIRN_BENCH_QUICK is set to anything but "" or "0": small sizes and few repetitions, to see that it runs.
bool quick();

/// The sizes to run: all of them, or in a quick run those up to `quickLimit`.
std::vector<int> sizes(std::vector<int> all, int quickLimit = 1000);

/// Keeps freed memory in the process: otherwise every iteration of the large sizes, and of these alone, has the kernel
/// fault its pages in anew, which costs many times what is measured. For the first line of a scene.
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

/// The rows of a scene, their limits, and what a run of them finds. Works are named by what is done.
class Report {
  public:
    /// Names the contenders that are not ours: ours are told beside each of them that does the same work. Where a scene names
    /// none, the reference of each work is its peer.
    void peers(std::vector<std::string> contenders) { m_peers = std::move(contenders); }

    /// Registers the row "work/contender/n". `body` is one iteration; it returns a number that says what it computed, which
    /// must be that of the reference: a row that differs did other work and is marked. Gives the benchmark, for options of its
    /// own.
    template <class Body>
    benchmark::internal::Benchmark* add(const std::string& work, const std::string& contender, double n, Body body) {
        return addRow(work, contender, n, [body](benchmark::State& state) mutable {
            double witness = 0;
            for ([[maybe_unused]] auto iteration : state) {
                witness = static_cast<double>(body());
                benchmark::DoNotOptimize(std::as_const(witness)); // the form for variables loses constants under g++ 12
            }
            state.counters["witness"] = witness;
        });
    }

    /// Like `add`, for work with parts that don't count, such as making what it destroys: `body` gets a `Watch&`, and only
    /// what runs in its `timed` counts.
    template <class Body>
    benchmark::internal::Benchmark* addTimed(const std::string& work, const std::string& contender, double n,
                                             Body body) {
        return addRow(work, contender, n,
                      [body](benchmark::State& state) mutable {
                          double witness = 0;
                          Watch watch;
                          for ([[maybe_unused]] auto iteration : state) {
                              witness = static_cast<double>(body(watch));
                              benchmark::DoNotOptimize(
                                  std::as_const(witness)); // the form for variables loses constants under g++ 12
                              state.SetIterationTime(watch.take());
                          }
                          state.counters["witness"] = witness;
                      })
            ->UseManualTime();
    }

    /// Registers a row of bytes in place of time: `body` runs once and returns them, above 0.
    void addBytes(const std::string& work, const std::string& contender, double n, std::function<double()> body);

    /// Registers a row that drives the benchmark's state itself.
    benchmark::internal::Benchmark* addRow(const std::string& work, const std::string& contender, double n,
                                           std::function<void(benchmark::State&)> body);

    /// States how a contender may compare with the reference of its work, for sizes from `from` to `to`.
    void limitRatio(const std::string& work, const std::string& contender, double ratio, double from = 0,
                    double to = std::numeric_limits<double>::infinity());

    /// The same in comparison with another contender than the reference; it need not be in the run, and then nothing is said.
    void limitRatioTo(const std::string& peer, const std::string& work, const std::string& contender, double ratio,
                      double from = 0, double to = std::numeric_limits<double>::infinity());

    /// States the exponent e up to which a contender's time may grow with n^e.
    void limitGrowth(const std::string& work, const std::string& contender, double exponent);

    /// The same for the contender's time as a multiple of the time of `peer`, a plain read of the same memory in the same order:
    /// what one element more costs because small sizes lie in the caches and large ones do not is the machine's, and counts
    /// for neither. `exponent` is told as of time, so that 1 says that both grow alike. The exponent itself stands beside.
    void limitGrowthBeside(const std::string& peer, const std::string& work, const std::string& contender,
                           double exponent);

    /// States that a contender's exponent may be no larger than that of another one.
    void limitGrowthTo(const std::string& peer, const std::string& work, const std::string& contender);

    /// Says what keeps a contender from a limit of its work, for those that are known to be missed: it stands beside the
    /// limit where a run misses it.
    void reason(const std::string& work, const std::string& contender, std::string text);

    /// The same of limits that are about that peer alone.
    void reasonTo(const std::string& peer, const std::string& work, const std::string& contender, std::string text);

    /// Sets how often a row is repeated, for scenes of slow rows. A quick run has repetitions of its own.
    void repeat(int repetitions) { m_repetitions = repetitions; }

    /// Runs the rows with random interleaving, with these options of Google Benchmark, and gives the lines: the median of the
    /// repetitions, its ratio to each peer at the same size, the growth exponent by least squares, and how each limit stands.
    /// The result is failed where an option was not understood or a row failed.
    SceneResult run(const std::vector<std::string>& options);

  private:
    struct Row {
        std::string work, contender, name;
        double n;
        const char* unit;
    };
    struct RatioLimit {
        std::string work, contender;
        double ratio, from, to;
        std::string peer; ///< empty for the reference
    };
    struct GrowthLimit {
        std::string work, contender;
        double exponent;  ///< 0 where it is the peer's
        std::string peer; ///< whose exponent it is, or beside whose it is told; empty for none
    };
    struct Reason {
        std::string work, contender, text;
        std::string peer; ///< empty for all limits that have no reason of their own
    };
    class Collector;
    class Findings;

    std::vector<std::string> m_peers;        ///< named as such
    std::vector<Row> m_rows;                 ///< in the order they were added
    std::vector<RatioLimit> m_ratioLimits;   ///< as stated
    std::vector<GrowthLimit> m_growthLimits; ///< as stated
    std::vector<Reason> m_reasons;           ///< as told
    int m_repetitions = 5;                   ///< of each row
};

} // namespace cairn::bench
