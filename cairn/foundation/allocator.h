#pragma once

#include <memory>

namespace cairn {

/// The allocator of the system's strings: the standard one, so that `string` is `std::string`.
template <class T> using F_Allocator = std::allocator<T>;

} // namespace cairn
