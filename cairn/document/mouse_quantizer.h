#pragma once

#include <cstdint>

namespace cairn {

/// Gathers the movement of a mouse in whole steps until somebody asks for it.
class E_MouseQuantizer {
  public:
    /// At rest; a step is one unit of movement.
    E_MouseQuantizer() = default;
    E_MouseQuantizer& operator=(const E_MouseQuantizer&) = default;

    /// How many units of movement along x and y make one step, each at least 1.
    void setStep(int unitsX, int unitsY);
    /// Adds a movement in the mouse's units. What it comes to in whole steps is pending from now on, the rest waits for
    /// more. Pending steps beyond the range of an `int` stay at its end.
    void addMovement(int dx, int dy);
    /// The mouse is at this position now: adds the movement since the call before. The first one adds nothing.
    void moveTo(int x, int y);
    /// Forgets what is pending, what waits, and where the mouse was.
    void clear();

    /// True where steps along x are pending.
    bool hasMovedX() const { return m_pendingX != 0; }
    /// True where steps along y are pending.
    bool hasMovedY() const { return m_pendingY != 0; }
    /// The pending steps along x; none are pending afterwards.
    int movedX();
    /// The pending steps along y; none are pending afterwards.
    int movedY();

  private:
    E_MouseQuantizer(const E_MouseQuantizer&) {}

    void add(std::int64_t dx, std::int64_t dy);

    std::int32_t m_pendingX = 0, m_pendingY = 0; ///< whole steps not yet asked for
    std::int32_t m_restX = 0, m_restY = 0;       ///< units that make no whole step yet
    std::int32_t m_stepX = 1, m_stepY = 1;       ///< units a step
    std::int32_t m_lastX = 0, m_lastY = 0;       ///< where the mouse was
    std::uint32_t m_hasLast = 0;                 ///< 1 once that is known
};

} // namespace cairn
