#pragma once

#include "cairn/entities/child_names.h"

#include <map>
#include <string_view>

namespace cairn {

/// Knows which of the names "[1]base", "[2]base", ... of a base are held, without regard to the base's case.
class CN_NumberedNames {
  public:
    /// A name came to be held; one that is no numbered name doesn't matter.
    void add(std::string_view name);
    /// A name that was added is held once less.
    void remove(std::string_view name);
    /// The first of the base's names that nothing holds.
    string firstFree(std::string_view base) const;

  private:
    std::map<istring, CN_UsedNumbers> m_numbers; ///< by base
};

} // namespace cairn
