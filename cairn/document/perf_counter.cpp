#include "cairn/document/perf_counter.h"

#include <chrono>

namespace cairn {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::int64_t MICROSECONDS_PER_SECOND = 1000000;

std::int64_t readCounter() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

} // namespace

CN_PerfCounter::CN_PerfCounter(std::uint64_t* accumulator)
    : m_frequency(std::nano::den), m_lastReading(readCounter()), m_accumulator(accumulator) {}

CN_PerfCounter::~CN_PerfCounter() {
    if (m_accumulator)
        *m_accumulator += getElapsedTime();
}

unsigned int CN_PerfCounter::getElapsedTime() {
    const std::int64_t now = readCounter();
    const std::int64_t span = now - m_lastReading;
    m_lastReading = now;
    // Seconds and their rest apart: the product of a long span would not fit.
    const std::int64_t microseconds =
        span / m_frequency * MICROSECONDS_PER_SECOND + span % m_frequency * MICROSECONDS_PER_SECOND / m_frequency;
    return static_cast<unsigned int>(microseconds);
}

} // namespace cairn
