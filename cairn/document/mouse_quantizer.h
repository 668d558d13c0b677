#pragma once

#include <cstdint>

namespace cairn {

/// Gathers the movement of a mouse in whole steps until somebody asks for it.
class E_MouseQuantizer {
  public:
    /// At rest, one step a unit of movement.
    E_MouseQuantizer() = default;
    E_MouseQuantizer& operator=(const E_MouseQuantizer&) = default;

    /// How many units of movement make one step, at least 1: what is less waits for the rest.
    void setStep(int unitsX, int unitsY);
    /// Adds a movement in the mouse's units. What it comes to in whole steps is pending from now on. Amounts beyond
    /// the range of an `int` stay at its end.
    void addMovement(int dx, int dy);
    /// Drops what is pending and what waits.
    void clear();

    /// True where steps along x are pending.
    bool hasMovedX() const { return m_pendingX != 0; }
    bool hasMovedY() const { return m_pendingY != 0; }
    /// The pending steps along x; none are pending afterwards.
    int movedX();
    int movedY();
    /// All units that came in since the last `clear`, in either direction.
    std::uint32_t getTravel() const { return m_travel; }

  private:
    E_MouseQuantizer(const E_MouseQuantizer&) {}

    std::int32_t m_pendingX = 0, m_pendingY = 0; ///< whole steps not yet asked for
    std::int32_t m_restX = 0, m_restY = 0;       ///< units that make no whole step yet
    std::int32_t m_stepX = 1, m_stepY = 1;       ///< units a step
    std::int32_t m_lastX = 0, m_lastY = 0;       ///< the last movement
    std::uint32_t m_travel = 0;                  ///< units since the last clear, of both axes
};

} // namespace cairn
