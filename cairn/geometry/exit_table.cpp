#include "cairn/geometry/exit_table.h"

#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

const CN_Polygon* CN_ExitTable::find(const CN_Mesh& mesh, const istring& name) {
    const auto [exits, isNew] = m_exits.try_emplace(&mesh);
    if (isNew)
        for (const CN_Polygon& polygon : mesh.getPolygonList())
            if (polygon.isExitPolygon())
                exits->second.insert(view(polygon.getExitName()), &polygon);
    const CN_Polygon* const* const exit = exits->second.find(view(name));
    return exit ? *exit : nullptr;
}

} // namespace cairn
