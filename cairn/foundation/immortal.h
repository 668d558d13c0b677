#pragma once

#include <cstddef>
#include <new>

namespace cairn {

/// Room in itself for an object of static life that is never destroyed: for what is still asked at the very end of the process.
/// Making it takes no memory unless the object's own constructor does, so that destructors may ask for it, too.
template <class T> class F_Immortal {
  public:
    F_Immortal() { ::new (static_cast<void*>(m_room)) T; }
    F_Immortal(const F_Immortal&) = delete;
    F_Immortal& operator=(const F_Immortal&) = delete;

    T& get() noexcept { return *std::launder(reinterpret_cast<T*>(m_room)); }

  private:
    alignas(T) std::byte m_room[sizeof(T)];
};

} // namespace cairn
