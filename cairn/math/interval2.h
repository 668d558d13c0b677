#pragma once

namespace cairn {

/// A stretch of a line, from its lower end to its upper one.
template <class T> struct M_Interval2Template { T lower{}, upper{}; };

} // namespace cairn
