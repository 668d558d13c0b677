#include "cairn/document/mouse_quantizer.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace cairn {

namespace {

void quantize(std::int64_t movement, std::int32_t step, std::int32_t& rest, std::int32_t& pending) {
    using Limits = std::numeric_limits<std::int32_t>;
    const std::int64_t units = rest + movement;
    rest = static_cast<std::int32_t>(units % step);
    pending = static_cast<std::int32_t>(std::clamp<std::int64_t>(pending + units / step, Limits::min(), Limits::max()));
}

} // namespace

void E_MouseQuantizer::setStep(int unitsX, int unitsY) {
    m_stepX = std::max(unitsX, 1);
    m_stepY = std::max(unitsY, 1);
}

void E_MouseQuantizer::add(std::int64_t dx, std::int64_t dy) {
    quantize(dx, m_stepX, m_restX, m_pendingX);
    quantize(dy, m_stepY, m_restY, m_pendingY);
}

void E_MouseQuantizer::addMovement(int dx, int dy) { add(dx, dy); }

void E_MouseQuantizer::moveTo(int x, int y) {
    if (m_hasLast)
        add(std::int64_t{x} - m_lastX, std::int64_t{y} - m_lastY);
    m_lastX = x;
    m_lastY = y;
    m_hasLast = 1;
}

void E_MouseQuantizer::clear() {
    m_pendingX = m_pendingY = m_restX = m_restY = m_lastX = m_lastY = 0;
    m_hasLast = 0;
}

int E_MouseQuantizer::movedX() { return std::exchange(m_pendingX, 0); }

int E_MouseQuantizer::movedY() { return std::exchange(m_pendingY, 0); }

} // namespace cairn
