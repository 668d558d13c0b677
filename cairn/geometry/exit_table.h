#pragma once

#include "cairn/containers/name_index.h"
#include "cairn/foundation/strings.h"

#include <unordered_map>

namespace cairn {

class CN_Mesh;
class CN_Polygon;

/// Looks up the exits of many meshes by name: a mesh is walked once, when it is first asked about. No mesh that was may change
/// or die as long as the table is asked.
class CN_ExitTable {
  public:
    /// What `CN_Mesh::findExit` gives.
    const CN_Polygon* find(const CN_Mesh& mesh, const istring& name);

  private:
    std::unordered_map<const CN_Mesh*, F_NameIndex<const CN_Polygon*>> m_exits; ///< looked up, never walked
};

} // namespace cairn
