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

std::string rowName(const std::string& work, const std::string& contender, double n) {
    return fmt::format("{}/{}/{:.0f}", work, contender, n);
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

benchmark::internal::Benchmark* Report::addRow(const std::string& work, const std::string& contender, double n,
                                               std::function<void(benchmark::State&)> body) {
    m_rows.push_back({work, contender, rowName(work, contender, n), n, "ns"});
    return benchmark::RegisterBenchmark(m_rows.back().name.c_str(), std::move(body));
}

void Report::addBytes(const std::string& work, const std::string& contender, double n, std::function<double()> body) {
    // A byte goes through as a nanosecond.
    const auto run = [body](benchmark::State& state) {
        for ([[maybe_unused]] auto iteration : state)
            state.SetIterationTime(body() / 1e9);
    };
    addRow(work, contender, n, run)->UseManualTime()->Iterations(1)->Repetitions(1);
    m_rows.back().unit = "bytes";
}

void Report::limitRatio(const std::string& work, const std::string& contender, double ratio, double from, double to) {
    m_ratioLimits.push_back({work, contender, ratio, from, to, ""});
}

void Report::limitRatioTo(const std::string& peer, const std::string& work, const std::string& contender, double ratio,
                          double from, double to) {
    m_ratioLimits.push_back({work, contender, ratio, from, to, peer});
}

void Report::limitGrowth(const std::string& work, const std::string& contender, double exponent) {
    m_growthLimits.push_back({work, contender, exponent, ""});
}

void Report::limitGrowthBeside(const std::string& peer, const std::string& work, const std::string& contender,
                               double exponent) {
    m_growthLimits.push_back({work, contender, exponent, peer});
}

void Report::limitGrowthTo(const std::string& peer, const std::string& work, const std::string& contender) {
    m_growthLimits.push_back({work, contender, 0, peer});
}

void Report::reason(const std::string& work, const std::string& contender, std::string text) {
    m_reasons.push_back({work, contender, std::move(text), ""});
}

void Report::reasonTo(const std::string& peer, const std::string& work, const std::string& contender,
                      std::string text) {
    m_reasons.push_back({work, contender, std::move(text), peer});
}

namespace {

/// Runs the registered benchmarks into a reporter; the options come after our defaults and win. False where one was not
/// understood.
bool runInto(benchmark::BenchmarkReporter& reporter, int repetitions, const std::vector<std::string>& options) {
    std::vector<std::string> words{"cairn_bench", "--benchmark_enable_random_interleaving=true",
                                   fmt::format("--benchmark_repetitions={}", quick() ? 1 : repetitions),
                                   quick() ? "--benchmark_min_time=0.001" : "--benchmark_min_time=0.05"};
    words.insert(words.end(), options.begin(), options.end());
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

/// Makes the lines of a report of what was measured.
class Report::Findings {
  public:
    Findings(const Report& report, const Collector& collector) : m_report(report) {
        for (const Row& row : report.m_rows)
            if (const auto found = collector.results.find(row.name); found != collector.results.end())
                m_measured.push_back({&row, &found->second, median(found->second.times)});
    }

    std::vector<Line> lines() const {
        std::vector<std::string> works;
        for (const Measured& each : m_measured)
            if (std::find(works.begin(), works.end(), each.row->work) == works.end())
                works.push_back(each.row->work);
        std::vector<Line> lines;
        for (const std::string& work : works)
            for (const Measured& ours : m_measured)
                if (ours.row->work == work && isOurs(ours))
                    addLines(ours, lines);
        return lines;
    }

  private:
    struct Measured {
        const Row* row;
        const Collector::Result* result;
        double value; ///< the median
    };

    /// The one of a work and size that was added first.
    const Measured& referenceOf(const Row& row) const {
        return *std::find_if(m_measured.begin(), m_measured.end(), [&row](const Measured& other) {
            return other.row->work == row.work && other.row->n == row.n;
        });
    }
    const Measured* find(const std::string& work, const std::string& contender, double n) const {
        const auto found = std::find_if(m_measured.begin(), m_measured.end(), [&](const Measured& other) {
            return other.row->work == work && other.row->contender == contender && other.row->n == n;
        });
        return found == m_measured.end() ? nullptr : &*found;
    }

    bool isNamedPeer(const std::string& contender) const {
        return std::find(m_report.m_peers.begin(), m_report.m_peers.end(), contender) != m_report.m_peers.end();
    }
    /// The reference of a work that others do, too, where none are named.
    bool isPeer(const Measured& measured) const {
        if (!m_report.m_peers.empty())
            return isNamedPeer(measured.row->contender);
        const auto isOther = [&measured](const Measured& other) {
            return other.row->work == measured.row->work && other.row->contender != measured.row->contender;
        };
        const auto first = std::find_if(m_measured.begin(), m_measured.end(), [&measured](const Measured& other) {
            return other.row->work == measured.row->work;
        });
        return first->row->contender == measured.row->contender &&
               std::any_of(m_measured.begin(), m_measured.end(), isOther);
    }
    bool isOurs(const Measured& measured) const { return !isPeer(measured); }

    const RatioLimit* findLimit(const Measured& ours, const Measured& other) const {
        const Row& row = *ours.row;
        for (const RatioLimit& limit : m_report.m_ratioLimits) {
            const std::string& peer = limit.peer.empty() ? referenceOf(row).row->contender : limit.peer;
            if (limit.work == row.work && limit.contender == row.contender && peer == other.row->contender &&
                row.n >= limit.from && row.n <= limit.to)
                return &limit;
        }
        return nullptr;
    }

    /// Of a limit of the row that is about the peer; empty for none.
    std::string reasonOf(const Row& row, const std::string& peer) const {
        std::string text;
        for (const Reason& reason : m_report.m_reasons)
            if (reason.work == row.work && reason.contender == row.contender) {
                if (reason.peer == peer)
                    return reason.text;
                if (reason.peer.empty())
                    text = reason.text;
            }
        return text;
    }

    /// A line for each peer of the same work and size, and for what a limit is about; one without where there is none.
    void addLines(const Measured& ours, std::vector<Line>& lines) const {
        const Row& row = *ours.row;
        Line line{row.work, row.n, row.unit, row.contender, ours.value, spread(ours.result->times), "",
                  0,        0,     {},       false,         {}};
        if (isLargest(row))
            line.growth = findGrowth(row);
        const std::size_t before = lines.size();
        for (const Measured& other : m_measured) {
            if (other.row->work != row.work || other.row->n != row.n || other.row == &row)
                continue;
            const RatioLimit* const limit = findLimit(ours, other);
            if (!limit && !isPeer(other))
                continue;
            Line beside = line;
            beside.peer = other.row->contender;
            beside.peerValue = other.value;
            beside.ratio = ours.value / other.value;
            if (limit)
                beside.bound = Bound{beside.ratio, limit->ratio, "", reasonOf(row, beside.peer)};
            beside.differs = ours.result->witness && other.result->witness &&
                             !sameWitness(*ours.result->witness, *other.result->witness);
            lines.push_back(std::move(beside));
            line.growth.reset();
        }
        if (lines.size() == before)
            lines.push_back(std::move(line));
    }

    bool isLargest(const Row& row) const {
        return std::none_of(m_measured.begin(), m_measured.end(), [&row](const Measured& other) {
            return other.row->work == row.work && other.row->contender == row.contender && other.row->n > row.n;
        });
    }

    std::vector<std::pair<double, double>> curveOf(const std::string& work, const std::string& contender) const {
        std::vector<std::pair<double, double>> curve;
        for (const Measured& each : m_measured)
            if (each.row->work == work && each.row->contender == contender)
                curve.emplace_back(each.row->n, each.value);
        return curve;
    }

    std::optional<Growth> findGrowth(const Row& row) const {
        const auto curve = curveOf(row.work, row.contender);
        if (curve.size() < 2)
            return std::nullopt;
        Growth growth{growthExponent(curve), {}};
        for (const GrowthLimit& limit : m_report.m_growthLimits) {
            if (limit.work != row.work || limit.contender != row.contender)
                continue;
            if (limit.peer.empty()) {
                growth.bound = Bound{growth.exponent, limit.exponent, "", reasonOf(row, "")};
            } else if (const auto peer = curveOf(row.work, limit.peer); peer.size() == curve.size()) {
                const double theirs = growthExponent(peer);
                growth.bound =
                    limit.exponent > 0
                        ? Bound{growth.exponent - theirs + 1, limit.exponent, limit.peer, reasonOf(row, limit.peer)}
                        : Bound{growth.exponent, theirs, limit.peer, reasonOf(row, limit.peer)};
            }
        }
        return growth;
    }

    const Report& m_report;
    std::vector<Measured> m_measured; ///< in the order of the rows
};

SceneResult Report::run(const std::vector<std::string>& options) {
    Collector collector;
    SceneResult result;
    result.failed = !runInto(collector, m_repetitions, options) || collector.failed;
    result.lines = Findings(*this, collector).lines();
    return result;
}

} // namespace cairn::bench
