#include "cairn/geometry/bsp/piece_boxes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace cairn {

namespace {

using Vector = CN_Ngon::Vector;

constexpr double IN_PLANE = 0.001;
constexpr double LARGEST = std::numeric_limits<double>::max();
// Boxes nearer than this are opened: more than what is in the plane, so that their pieces are clear of it.
constexpr double CLEAR = 1.1 * IN_PLANE;
// Rounding of a distance, against the sum of the sizes of its terms; generous.
constexpr double ROUNDING = 16 * std::numeric_limits<double>::epsilon();
// Coordinates beyond it, and those that are no numbers, stay out of the boxes.
constexpr double FAR = 1e100;
constexpr std::uint32_t LEAF = 4;

/// True for a piece that a box can hold.
bool isBoxable(const CN_Ngon& piece) {
    return !piece.getVertices().empty() &&
           std::all_of(piece.getVertices().begin(), piece.getVertices().end(), [](const Vector& corner) {
               return std::fabs(corner.x) <= FAR && std::fabs(corner.y) <= FAR && std::fabs(corner.z) <= FAR;
           });
}

Vector sizes(const Vector& v) { return {std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)}; }

} // namespace

CN_SideCounts::Side CN_SideCounts::sideOf(const Vector* corners, std::size_t count, const Vector& normal,
                                          double offset) {
    double min = LARGEST, max = -LARGEST;
    for (std::size_t i = 0; i < count; ++i) {
        const double distance = corners[i].dot(normal) - offset;
        min = std::min(min, distance);
        max = std::max(max, distance);
        if (min < 0 && max > 0)
            break;
    }
    if (min > -IN_PLANE && max < IN_PLANE)
        return COPLANAR;
    return min >= 0 && max >= 0 ? FRONT : min <= 0 && max <= 0 ? BACK : SPANNING;
}

int CN_SideCounts::score() const {
    return std::abs(counts[FRONT] - counts[BACK]) + 4 * (counts[SPANNING] - counts[COPLANAR]);
}

void CN_PieceBoxes::build(const std::vector<const CN_Ngon*>& pieces) {
    m_order.clear();
    m_starts.clear();
    m_corners.clear();
    m_boxes.clear();
    m_extent = 0;
    for (std::uint32_t i = 0; i < pieces.size(); ++i)
        if (isBoxable(*pieces[i]))
            m_order.push_back(i);
    const auto boxed = static_cast<std::uint32_t>(m_order.size());
    if (boxed > 0) {
        m_boxes.push_back({{}, {}, 0, boxed, 0});
        // Children stand behind their parents, so that this reaches all of them.
        for (std::size_t i = 0; i < m_boxes.size(); ++i)
            divide(i, pieces);
    }
    for (const std::uint32_t place : m_order)
        addPiece(*pieces[place]);
    for (const CN_Ngon* const piece : pieces)
        if (boxed < pieces.size() && !isBoxable(*piece))
            addPiece(*piece);
    m_starts.push_back(static_cast<std::uint32_t>(m_corners.size()));
}

void CN_PieceBoxes::addPiece(const CN_Ngon& piece) {
    m_starts.push_back(static_cast<std::uint32_t>(m_corners.size()));
    m_corners.insert(m_corners.end(), piece.getVertices().begin(), piece.getVertices().end());
    if (isBoxable(piece))
        for (const Vector& corner : piece.getVertices())
            m_extent = std::max({m_extent, std::fabs(corner.x), std::fabs(corner.y), std::fabs(corner.z)});
}

void CN_PieceBoxes::bound(Box& box, const std::vector<const CN_Ngon*>& pieces) const {
    Vector low(LARGEST, LARGEST, LARGEST), high(-LARGEST, -LARGEST, -LARGEST);
    for (std::uint32_t i = box.first; i < box.last; ++i)
        for (const Vector& corner : pieces[m_order[i]]->getVertices())
            for (int axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], corner[axis]);
                high[axis] = std::max(high[axis], corner[axis]);
            }
    box.center = (low + high) * 0.5;
    box.half = (high - low) * 0.5;
}

/// Halves the pieces of a box along its longest side.
void CN_PieceBoxes::divide(std::size_t at, const std::vector<const CN_Ngon*>& pieces) {
    Box& box = m_boxes[at];
    bound(box, pieces);
    if (box.last - box.first <= LEAF)
        return;
    const Vector half = box.half;
    const int axis = half.x >= half.y && half.x >= half.z ? 0 : half.y >= half.z ? 1 : 2;
    const std::uint32_t first = box.first, last = box.last, middle = (first + last) / 2;
    const auto place = m_order.begin();
    std::nth_element(place + first, place + middle, place + last, [&](std::uint32_t a, std::uint32_t b) {
        return pieces[a]->getVertices().front()[axis] < pieces[b]->getVertices().front()[axis];
    });
    box.children = static_cast<std::uint32_t>(m_boxes.size());
    m_boxes.push_back({{}, {}, first, middle, 0}); // the reference is not used from here on
    m_boxes.push_back({{}, {}, middle, last, 0});
}

void CN_PieceBoxes::countPieces(std::uint32_t first, std::uint32_t last, const Vector& normal, double offset,
                                CN_SideCounts& counts) const {
    for (std::uint32_t i = first; i < last; ++i)
        counts.add(
            CN_SideCounts::sideOf(m_corners.data() + m_starts[i], m_starts[i + 1] - m_starts[i], normal, offset));
}

CN_SideCounts CN_PieceBoxes::count(const CN_Ngon::Plane& plane) const {
    const Vector normal = plane.getNormal(), size = sizes(normal), point = plane.getPoint();
    const double offset = point.dot(normal);
    // No number at all where the plane is out of all bounds: then no box is clear of it.
    const double clear = CLEAR + ROUNDING * (m_extent * (size.x + size.y + size.z) + sizes(point).dot(size));
    CN_SideCounts counts;
    constexpr std::size_t DEPTH = 64; // halving leaves one open box a level, and there are fewer than 32 of them
    std::uint32_t open[DEPTH];
    std::size_t top = 0;
    if (!m_boxes.empty())
        open[top++] = 0;
    while (top > 0) {
        const Box& box = m_boxes[open[--top]];
        const double distance = box.center.dot(normal) - offset, reach = box.half.dot(size) + clear;
        if (distance > reach) {
            counts.counts[CN_SideCounts::FRONT] += static_cast<int>(box.last - box.first);
        } else if (distance < -reach) {
            counts.counts[CN_SideCounts::BACK] += static_cast<int>(box.last - box.first);
        } else if (box.children > 0) {
            open[top++] = box.children;
            open[top++] = box.children + 1;
        } else {
            countPieces(box.first, box.last, normal, offset, counts);
        }
    }
    countPieces(static_cast<std::uint32_t>(m_order.size()), static_cast<std::uint32_t>(m_starts.size() - 1), normal,
                offset, counts);
    return counts;
}

} // namespace cairn
