#pragma once

#include <cstdint>

namespace cairn {

/// Measures spans of time and can add them up.
class CN_PerfCounter {
  public:
    /// Starts the first span. At its end the object adds what is left of the last one to `accumulator` (not owned; may
    /// be null), in microseconds.
    explicit CN_PerfCounter(std::uint64_t* accumulator = nullptr);
    ~CN_PerfCounter();
    CN_PerfCounter(const CN_PerfCounter&) = delete;
    CN_PerfCounter& operator=(const CN_PerfCounter&) = delete;

    /// The microseconds since the last call, or since the construction, in 32 bits; the next span starts.
    unsigned int getElapsedTime();

  private:
    std::int64_t m_frequency;   ///< counts a second
    std::int64_t m_lastReading; ///< of the counter
    std::uint64_t* m_accumulator;
};

} // namespace cairn
