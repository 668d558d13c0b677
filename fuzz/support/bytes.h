#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace cairn::fuzz {

/// Makes choices and numbers of an input's bytes; zeros once they are used up.
class Bytes {
  public:
    /// The bytes must outlive it.
    Bytes(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}

    bool empty() const { return m_at == m_end; }
    std::uint8_t next() { return empty() ? std::uint8_t{0} : *m_at++; }
    /// A number below the bound: of one byte, or of two where one cannot reach it.
    std::size_t choose(std::size_t below) {
        std::size_t value = next();
        if (below > 256)
            value = value << 8 | next();
        return value % below;
    }
    /// Any double, infinite ones and those that are no number as well.
    double number() {
        std::uint8_t raw[sizeof(double)] = {};
        const std::size_t left = std::min(sizeof raw, static_cast<std::size_t>(m_end - m_at));
        std::copy_n(m_at, left, raw);
        m_at += left;
        double value = 0;
        std::memcpy(&value, raw, sizeof value);
        return value;
    }

  private:
    const std::uint8_t *m_at, *m_end;
};

} // namespace cairn::fuzz
