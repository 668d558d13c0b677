#pragma once

#include <cfloat>

namespace cairn {

/// While one lives, `double` is computed at the precision of `double`, which exact predicates rely on. Empty: on the
/// processors built for it always is, and a build for one that computes at a precision of its own (x87) is refused here.
class M_FPUControl {
  public:
    M_FPUControl() { static_assert(FLT_EVAL_METHOD == 0, "double is computed at another precision"); }
};

} // namespace cairn
