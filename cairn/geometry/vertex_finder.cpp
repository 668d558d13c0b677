#include "cairn/geometry/vertex_finder.h"

#include "cairn/geometry/mesh/mesh.h"

#include <cmath>
#include <functional>

namespace cairn {

CN_VertexFinder::CN_VertexFinder(CN_Mesh& mesh) : m_mesh(mesh) {
    const auto count = static_cast<std::size_t>(mesh.getVertexList().count());
    m_before.reserve(count);
    m_last.reserve(count);
    int number = 0;
    for (const CN_Vertex& vertex : mesh.getVertexList())
        enter(vertex.local, number++);
}

int CN_VertexFinder::findOrAdd(const Vector& place) {
    if (const int found = find(place); found >= 0)
        return found;
    const int number = m_mesh.getVertexList().count();
    m_mesh.addVertex(place);
    enter(place, number);
    return number;
}

std::size_t CN_VertexFinder::CellHash::operator()(const Cell& cell) const {
    constexpr std::size_t MIX = 0x9E3779B97F4A7C15u; // 2^64 over the golden ratio
    std::size_t hash = 0;
    for (const double number : cell)
        hash = (hash ^ std::hash<double>()(number)) * MIX + (hash >> 32);
    return hash;
}

/// Rises with the coordinate. Cells are wide beside the tolerance, and places on the grids that levels are drawn on lie well
/// inside of them.
double CN_VertexFinder::cellOf(double coordinate) {
    constexpr double CELLS = 32768; // a unit of length
    return std::floor(coordinate * CELLS + 0.5);
}

void CN_VertexFinder::enter(const Vector& place, int number) {
    m_before.push_back(-1);
    if (!place.isFinite()) // near nothing
        return;
    const auto [entry, isNew] = m_last.try_emplace({cellOf(place.x), cellOf(place.y), cellOf(place.z)}, number);
    if (!isNew)
        m_before.back() = std::exchange(entry->second, number);
}

int CN_VertexFinder::find(const Vector& place) const {
    if (!place.isFinite())
        return -1;
    constexpr double REACH = 2 * SAME_CORNER; // covers the rounding of the bounds
    Cell low, high;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = cellOf(place[static_cast<int>(axis)] - REACH);
        high[axis] = cellOf(place[static_cast<int>(axis)] + REACH);
    }
    int first = -1;
    for (unsigned corner = 0; corner < 8; ++corner) {
        Cell cell = low;
        bool isOwn = true; // not one that another corner stands for
        for (std::size_t axis = 0; axis < 3; ++axis)
            if ((corner >> axis & 1) != 0) {
                cell[axis] = high[axis];
                isOwn = isOwn && high[axis] != low[axis];
            }
        const auto found = isOwn ? m_last.find(cell) : m_last.end();
        for (int i = found == m_last.end() ? -1 : found->second; i >= 0; i = m_before[static_cast<std::size_t>(i)])
            if ((m_mesh.getVertexList()[i].local - place).length() < SAME_CORNER && (first < 0 || i < first))
                first = i;
    }
    return first;
}

} // namespace cairn
