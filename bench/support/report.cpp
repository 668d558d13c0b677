#include "bench/support/report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace cairn::bench {

namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value != '\0' && std::string_view(value) != "0";
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

/// Half the distance between the quartiles, as a part of the median.
double spread(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return (values[values.size() * 3 / 4] - values[values.size() / 4]) / 2 / median(values);
}

/// The e of time ~ n^e by least squares over the logarithms.
double growthExponent(const std::vector<std::pair<double, double>>& timeBySize) {
    double sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    for (auto [n, time] : timeBySize) {
        const double x = std::log(n), y = std::log(time);
        sumX += x, sumY += y, sumXX += x * x, sumXY += x * y;
    }
    const auto count = static_cast<double>(timeBySize.size());
    return (count * sumXY - sumX * sumY) / (count * sumXX - sumX * sumX);
}

bool sameWitness(double a, double b) {
    constexpr double TOLERANCE = 1e-9; // sums in another order
    return std::abs(a - b) <= TOLERANCE * std::max({1.0, std::abs(a), std::abs(b)});
}

std::string timeText(double nanoseconds) {
    if (nanoseconds < 1e3)
        return fmt::format("{:.1f} ns", nanoseconds);
    if (nanoseconds < 1e6)
        return fmt::format("{:.2f} us", nanoseconds / 1e3);
    return fmt::format("{:.2f} ms", nanoseconds / 1e6);
}

std::string sizeText(double n) { return fmt::format("{:.0f}", n); }

std::string rowName(const std::string& scene, const std::string& contender, double n) {
    return fmt::format("{}/{}/{}", scene, contender, sizeText(n));
}

} // namespace

void keepFreedMemory() {
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
#endif
}

std::chrono::steady_clock::duration processorTime() {
#ifdef CLOCK_THREAD_CPUTIME_ID
    if (std::timespec now{}; clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) == 0)
        return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
#endif
    return std::chrono::steady_clock::now().time_since_epoch();
}

bool quick() { return isSet("CAIRN_BENCH_QUICK"); }

std::vector<int> sizes(std::vector<int> all, int quickLimit) {
    if (quick())
        std::erase_if(all, [=](int n) { return n > quickLimit; });
    return all;
}

/// Keeps the time and the witness of every repetition, by the row's name.
class Report::Collector : public benchmark::BenchmarkReporter {
  public:
    struct Result {
        std::vector<double> times;     ///< nanoseconds an iteration, one a repetition
        std::optional<double> witness; ///< what the last repetition computed
    };

    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                fmt::print(stderr, "{}: {}\n", run.benchmark_name(), run.error_message);
                failed = true;
            } else if (run.run_type == Run::RT_Iteration) {
                record(run);
            }
        }
    }

    std::map<std::string, Result> results; ///< by the name without suffixes
    bool failed = false;                   ///< a row reported an error

  private:
    void record(const Run& run) {
        Result& result = results[run.run_name.function_name];
        // Time of the processor: others at work on the machine count less. A watch has seen to that for its parts.
        const bool watched = run.run_name.time_type == "manual_time";
        const double seconds = watched ? run.real_accumulated_time : run.cpu_accumulated_time;
        result.times.push_back(seconds / static_cast<double>(run.iterations) * 1e9);
        const auto witness = run.counters.find("witness");
        if (witness != run.counters.end())
            result.witness = witness->second.value;
    }
};

Report::Report(std::string program) : m_program(std::move(program)) {}

benchmark::internal::Benchmark* Report::addRow(const std::string& scene, const std::string& contender, double n,
                                               std::function<void(benchmark::State&)> body) {
    m_rows.push_back({scene, contender, rowName(scene, contender, n), n});
    return benchmark::RegisterBenchmark(m_rows.back().name.c_str(), std::move(body));
}

void Report::limitRatio(const std::string& scene, const std::string& contender, double ratio, double from, double to) {
    m_ratioLimits.push_back({scene, contender, ratio, from, to, ""});
}

void Report::limitRatioTo(const std::string& peer, const std::string& scene, const std::string& contender, double ratio,
                          double from, double to) {
    m_ratioLimits.push_back({scene, contender, ratio, from, to, peer});
}

void Report::limitGrowth(const std::string& scene, const std::string& contender, double exponent) {
    m_growthLimits.push_back({scene, contender, exponent, ""});
}

void Report::limitGrowthBeside(const std::string& peer, const std::string& scene, const std::string& contender,
                               double exponent) {
    m_growthLimits.push_back({scene, contender, exponent, peer});
}

void Report::limitGrowthTo(const std::string& peer, const std::string& scene, const std::string& contender) {
    m_growthLimits.push_back({scene, contender, 0, peer});
}

namespace {

/// Runs the registered benchmarks into a reporter; what the command line says comes after our defaults and wins.
bool runInto(benchmark::BenchmarkReporter& reporter, int argc, char** argv) {
    std::vector<std::string> words{argv[0], "--benchmark_enable_random_interleaving=true"};
    words.push_back(quick() ? "--benchmark_repetitions=3" : "--benchmark_repetitions=9");
    words.push_back(quick() ? "--benchmark_min_time=0.002" : "--benchmark_min_time=0.05");
    words.insert(words.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
        return false;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return true;
}

} // namespace

std::vector<Report::Row> Report::rowsByScene() const {
    std::vector<std::string> scenes;
    for (const Row& row : m_rows)
        if (std::find(scenes.begin(), scenes.end(), row.scene) == scenes.end())
            scenes.push_back(row.scene);
    std::vector<Row> rows;
    for (const std::string& scene : scenes)
        std::copy_if(m_rows.begin(), m_rows.end(), std::back_inserter(rows),
                     [&](const Row& row) { return row.scene == scene; });
    return rows;
}

int Report::run(int argc, char** argv) {
    Collector collector;
    if (!runInto(collector, argc, argv))
        return 1;

    bool differs = false;
    int missed = 0, held = 0;
    const auto verdict = [&](bool ok) {
        ++(ok ? held : missed);
        return ok ? "ok" : "MISSED";
    };

    fmt::print("# {}: median of the repetitions, ratio to the first contender of the same size\n", m_program);
    std::map<std::pair<std::string, double>, const Collector::Result*> references;
    std::map<std::pair<std::string, std::string>, std::vector<std::pair<double, double>>> growth;
    std::vector<std::pair<std::string, std::string>> order;
    for (const Row& row : rowsByScene()) {
        const auto found = collector.results.find(row.name);
        if (found == collector.results.end())
            continue;
        const Collector::Result& result = found->second;
        const double time = median(result.times);
        const Collector::Result& reference = *references.try_emplace({row.scene, row.n}, &result).first->second;
        const double ratio = time / median(reference.times);
        const auto [curve, isNew] = growth.try_emplace({row.scene, row.contender});
        curve->second.emplace_back(row.n, time);
        if (isNew)
            order.emplace_back(row.scene, row.contender);

        std::string line = fmt::format("{:<28} n={:<8} {:<32} {:>11} +-{:4.1f}%  {:7.3f}x", row.scene, sizeText(row.n),
                                       row.contender, timeText(time), 100 * spread(result.times), ratio);
        for (const RatioLimit& limit : m_ratioLimits) {
            if (limit.scene != row.scene || limit.contender != row.contender || row.n < limit.from || row.n > limit.to)
                continue;
            if (limit.peer.empty()) {
                line += fmt::format("  limit {:g}x: {:.2f}x {}", limit.ratio, ratio, verdict(ratio <= limit.ratio));
                continue;
            }
            const auto peer = collector.results.find(rowName(limit.scene, limit.peer, row.n));
            if (peer == collector.results.end())
                continue;
            const double toPeer = time / median(peer->second.times);
            line += fmt::format("  limit {:g}x of {}: {:.2f}x {}", limit.ratio, limit.peer, toPeer,
                                verdict(toPeer <= limit.ratio));
        }
        if (result.witness && reference.witness && !sameWitness(*result.witness, *reference.witness)) {
            differs = true;
            line += fmt::format("  DIFFERS {:.9g} != {:.9g}", *result.witness, *reference.witness);
        }
        fmt::print("{}\n", line);
    }

    fmt::print("\n# growth: exponent e in time ~ n^e\n");
    for (const auto& key : order) {
        const auto& curve = growth[key];
        if (curve.size() < 2)
            continue;
        const double exponent = growthExponent(curve);
        std::string line = fmt::format("{:<28} {:<32} e = {:.2f}  (n {}..{})", key.first, key.second, exponent,
                                       sizeText(curve.front().first), sizeText(curve.back().first));
        for (const GrowthLimit& limit : m_growthLimits) {
            if (limit.scene != key.first || limit.contender != key.second)
                continue;
            if (limit.peer.empty()) {
                line += fmt::format("  limit {:g}: {:.2f} {}", limit.exponent, exponent,
                                    verdict(exponent <= limit.exponent));
            } else if (const auto& peer = growth[{limit.scene, limit.peer}]; peer.size() == curve.size()) {
                const double theirs = growthExponent(peer), beside = exponent - theirs + 1;
                line += limit.exponent > 0
                            ? fmt::format("  limit {:g} beside {} ({:.2f}): {:.2f} {}", limit.exponent, limit.peer,
                                          theirs, beside, verdict(beside <= limit.exponent))
                            : fmt::format("  limit {:.2f} of {}: {}", theirs, limit.peer, verdict(exponent <= theirs));
            }
        }
        fmt::print("{}\n", line);
    }
    fmt::print("\n# limits: {} held, {} missed\n", held, missed);
    const bool strict = isSet("CAIRN_BENCH_STRICT");
    return collector.failed || differs || (strict && missed > 0) ? 1 : 0;
}

} // namespace cairn::bench
