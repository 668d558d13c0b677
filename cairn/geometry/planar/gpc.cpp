#include "cairn/geometry/planar/gpc.h"

#include "cairn/foundation/exception.h"

#include <polyclipping/clipper.hpp>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

namespace cairn {

namespace {

using Contour = std::vector<gpc_vertex>;

/// The grid of integers that a call works on: the operands' box from its middle, in steps of a power of two.
class Grid {
  public:
    /// False where the operands have no extent, or none that can be told in numbers.
    bool fit(const gpc_polygon& subject, const gpc_polygon& clip) {
        gpc_vertex low{HUGE_VAL, HUGE_VAL}, high{-HUGE_VAL, -HUGE_VAL};
        for (const gpc_polygon* const operand : {&subject, &clip}) {
            if (!gpc_is_finite(operand))
                return false;
            for (int c = 0; c < operand->num_contours; ++c) {
                for (int i = 0; i < operand->contour[c].num_vertices; ++i) {
                    const gpc_vertex& corner = operand->contour[c].vertex[i];
                    low = {std::min(low.x, corner.x), std::min(low.y, corner.y)};
                    high = {std::max(high.x, corner.x), std::max(high.y, corner.y)};
                }
            }
        }
        m_extent = std::max(high.x - low.x, high.y - low.y);
        if (!(m_extent > 0) || !std::isfinite(m_extent))
            return false;
        m_middle = {low.x + (high.x - low.x) / 2, low.y + (high.y - low.y) / 2};
        m_exponent = BITS - std::ilogb(m_extent);
        return true;
    }
    double extent() const { return m_extent; }

    static constexpr double SLIVER = 0x1p52; ///< area of what is as long as the extent and some steps wide

    ClipperLib::Path place(const gpc_vertex_list& contour) {
        ClipperLib::Path path;
        path.reserve(static_cast<std::size_t>(contour.num_vertices));
        for (int i = 0; i < contour.num_vertices; ++i) {
            const gpc_vertex& corner = contour.vertex[i];
            path.emplace_back(std::llround(std::scalbn(corner.x - m_middle.x, m_exponent)),
                              std::llround(std::scalbn(corner.y - m_middle.y, m_exponent)));
            m_corners.emplace(path.back(), corner); // the first of those that share a point
        }
        return path;
    }
    /// A corner of an operand exactly as it was, else the point itself.
    gpc_vertex restore(const ClipperLib::IntPoint& point) const {
        const auto it = m_corners.find(point);
        if (it != m_corners.end())
            return it->second;
        return {m_middle.x + std::scalbn(static_cast<double>(point.X), -m_exponent),
                m_middle.y + std::scalbn(static_cast<double>(point.Y), -m_exponent)};
    }

  private:
    static constexpr int BITS =
        48; // of the extent: fine enough, and what Clipper computes in `double` keeps its digits

    struct Hash {
        std::size_t operator()(const ClipperLib::IntPoint& point) const {
            const auto x = static_cast<std::uint64_t>(point.X), y = static_cast<std::uint64_t>(point.Y);
            const std::uint64_t hash = (x ^ std::rotl(y, 32)) * 0x9E3779B97F4A7C15u;
            return static_cast<std::size_t>(hash ^ (hash >> 32));
        }
    };

    double m_extent = 0;
    gpc_vertex m_middle{};
    int m_exponent = 0; ///< a step is two to the minus this
    std::unordered_map<ClipperLib::IntPoint, gpc_vertex, Hash> m_corners;
};

/// True where one of the contours has an area.
bool addPaths(ClipperLib::Clipper& clipper, Grid& grid, const gpc_polygon& operand, ClipperLib::PolyType type) {
    bool any = false;
    for (int c = 0; c < operand.num_contours; ++c)
        if (operand.contour[c].num_vertices >= 3)
            any |= clipper.AddPath(grid.place(operand.contour[c]), type, true);
    return any;
}

ClipperLib::ClipType typeOf(gpc_op operation) {
    switch (operation) {
    case GPC_DIFF:
        return ClipperLib::ctDifference;
    case GPC_INT:
        return ClipperLib::ctIntersection;
    case GPC_XOR:
        return ClipperLib::ctXor;
    case GPC_UNION:
        break;
    }
    return ClipperLib::ctUnion;
}

/// Keeps some memory back for Clipper, which loses objects where it has none and tells nobody: it gets that when there is no
/// other, for the life of the watch.
class MemoryWatch {
  public:
    explicit MemoryWatch(std::size_t bytes) : m_reserve(std::malloc(bytes)) {
        if (!m_reserve)
            throw new F_MemoryException_Allocation;
        m_outer = std::exchange(s_innermost, this);
        m_before = std::set_new_handler(&MemoryWatch::give);
    }
    ~MemoryWatch() {
        std::set_new_handler(m_before);
        s_innermost = m_outer;
        std::free(m_reserve);
    }
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;

    /// True where there was no other memory, and perhaps too little of this.
    bool hasLacked() const { return !m_reserve; }

  private:
    static void give() {
        if (void* const reserve = std::exchange(s_innermost->m_reserve, nullptr))
            return std::free(reserve);
        if (!s_innermost->m_before)
            throw std::bad_alloc();
        s_innermost->m_before();
    }

    static thread_local MemoryWatch* s_innermost;
    void* m_reserve;                     ///< owned: null once it was given
    MemoryWatch* m_outer = nullptr;      ///< not owned: null for none
    std::new_handler m_before = nullptr; ///< the host's, or null
};

thread_local MemoryWatch* MemoryWatch::s_innermost = nullptr;

/// Clipper leaves its outlines behind where an exception comes out of it.
class Clipper : public ClipperLib::Clipper {
  public:
    Clipper() = default;
    Clipper(const Clipper&) = delete;
    Clipper& operator=(const Clipper&) = delete;
    ~Clipper() override { DisposeAllOutRecs(); }
};

std::size_t cornersOf(const gpc_polygon& area) {
    std::size_t count = 0;
    for (int i = 0; i < area.num_contours; ++i)
        count += static_cast<std::size_t>(std::max(area.contour[i].num_vertices, 0));
    return count;
}

struct Result {
    Contour corners;
    bool hole;
};

/// A point close by the middle of the longest edge, on the inner side: `isForward` for contours that run counter-clockwise.
gpc_vertex pointBeside(const Contour& contour, bool isForward) {
    constexpr double MIDDLE = 0.4877,
                     OFFSET = 0x1p-20; // of the edge: about there, where another contour's corner is not
    gpc_vertex point{}, along{};
    double longest = -1;
    for (std::size_t i = 0; i < contour.size(); ++i) {
        const gpc_vertex &from = contour[i], &to = contour[(i + 1) % contour.size()];
        const gpc_vertex edge{to.x - from.x, to.y - from.y};
        if (const double length = std::hypot(edge.x, edge.y); length > longest) {
            longest = length;
            point = from;
            along = edge;
        }
    }
    const double inward = isForward ? OFFSET : -OFFSET;
    return {point.x + MIDDLE * along.x - inward * along.y, point.y + MIDDLE * along.y + inward * along.x};
}

/// True where the point lies within an odd number of contours.
bool holds(const gpc_polygon& area, const gpc_vertex& point) {
    bool inside = false;
    for (int c = 0; c < area.num_contours; ++c) {
        const gpc_vertex_list& contour = area.contour[c];
        for (int i = 0; i < contour.num_vertices; ++i) {
            const gpc_vertex &a = contour.vertex[i], &b = contour.vertex[(i + 1) % contour.num_vertices];
            if ((a.y > point.y) != (b.y > point.y) && a.x + (point.y - a.y) / (b.y - a.y) * (b.x - a.x) > point.x)
                inside = !inside;
        }
    }
    return inside;
}

bool holds(gpc_op operation, const gpc_polygon& subject, const gpc_polygon& clip, const gpc_vertex& point) {
    const bool first = holds(subject, point), second = holds(clip, point);
    switch (operation) {
    case GPC_DIFF:
        return first && !second;
    case GPC_INT:
        return first && second;
    case GPC_XOR:
        return first != second;
    case GPC_UNION:
        break;
    }
    return first || second;
}

/// What an operation gives, and how far its operands reach.
std::vector<Result> clipAreas(gpc_op operation, const gpc_polygon& subject, const gpc_polygon& clip, double& extent) {
    std::vector<Result> results;
    Grid grid;
    if (!grid.fit(subject, clip))
        return results;
    extent = grid.extent();
    constexpr std::size_t ROOM = 16 * 1024, ROOM_A_CORNER = 512;
    const MemoryWatch memory(ROOM + ROOM_A_CORNER * (cornersOf(subject) + cornersOf(clip)));
    Clipper clipper;
    // Corners on straight lines are whose business it is that reads the contours.
    clipper.PreserveCollinear(true);
    bool any = addPaths(clipper, grid, subject, ClipperLib::ptSubject);
    any |= addPaths(clipper, grid, clip, ClipperLib::ptClip);
    ClipperLib::PolyTree tree;
    // It fails for nothing to clip, too.
    if (!clipper.Execute(typeOf(operation), tree, ClipperLib::pftEvenOdd, ClipperLib::pftEvenOdd) && any) {
        if (memory.hasLacked())
            throw new F_MemoryException_Allocation;
        throw new F_Exception("Two areas cannot be clipped");
    }
    for (const ClipperLib::PolyNode* node = tree.GetFirst(); node; node = node->GetNext()) {
        Result result{{}, node->IsHole()};
        for (const ClipperLib::IntPoint& point : node->Contour)
            result.corners.push_back(grid.restore(point));
        // Clipper's outlines run counter-clockwise, these clockwise. Among contours that run along themselves are some against
        // their flag, of which either may be wrong, and areas told to be holes.
        // A sliver stays what it is told to be: its inside cannot be told from its outside.
        const double area = ClipperLib::Area(node->Contour);
        const bool isForward = area > 0;
        if ((result.hole || !isForward) && std::fabs(area) > Grid::SLIVER)
            result.hole = !holds(operation, subject, clip, pointBeside(result.corners, isForward));
        if (isForward != result.hole)
            std::reverse(result.corners.begin(), result.corners.end());
        results.push_back(std::move(result));
    }
    return results;
}

/// Starts the contour at its lowest corner, the leftmost of those that are as low.
void rotateToLowest(const gpc_vertex_list& contour, double tolerance) {
    gpc_vertex *const begin = contour.vertex, *const end = contour.vertex + contour.num_vertices;
    double lowest = HUGE_VAL;
    for (const gpc_vertex* corner = begin; corner != end; ++corner)
        lowest = std::min(lowest, corner->y);
    gpc_vertex* first = end;
    for (gpc_vertex* corner = begin; corner != end; ++corner)
        if (corner->y <= lowest + tolerance && (first == end || corner->x < first->x - tolerance))
            first = corner;
    std::rotate(begin, first, end);
}

/// The highest corner of a contour, the leftmost of those that are as high.
gpc_vertex topOf(const gpc_vertex_list& contour, double tolerance) {
    gpc_vertex top{HUGE_VAL, -HUGE_VAL};
    for (int i = 0; i < contour.num_vertices; ++i)
        top.y = std::max(top.y, contour.vertex[i].y);
    for (int i = 0; i < contour.num_vertices; ++i)
        if (contour.vertex[i].y >= top.y - tolerance)
            top.x = std::min(top.x, contour.vertex[i].x);
    return top;
}

template <class T> T* grown(T* room, int count) {
    void* const larger = std::realloc(static_cast<void*>(room), static_cast<std::size_t>(count) * sizeof(T));
    if (!larger)
        throw new F_MemoryException_Allocation;
    return static_cast<T*>(larger);
}

} // namespace

gpc_polygon::~gpc_polygon() { gpc_free_polygon(this); }

void gpc_add_contour(gpc_polygon* polygon, const gpc_vertex_list* contour, int hole) {
    gpc_vertex* const corners = grown<gpc_vertex>(nullptr, std::max(contour->num_vertices, 1));
    std::copy_n(contour->vertex, std::max(contour->num_vertices, 0), corners);
    try {
        polygon->hole = grown(polygon->hole, polygon->num_contours + 1);
        polygon->contour = grown(polygon->contour, polygon->num_contours + 1);
    } catch (...) {
        std::free(corners);
        throw;
    }
    polygon->hole[polygon->num_contours] = hole;
    polygon->contour[polygon->num_contours] = {std::max(contour->num_vertices, 0), corners};
    ++polygon->num_contours;
}

void gpc_arrange(gpc_polygon* polygon, double tolerance) {
    struct Place {
        gpc_vertex_list contour;
        int hole;
        gpc_vertex top;
    };
    F_withFoundationExceptions([&] {
        std::vector<Place> places;
        for (int c = 0; c < polygon->num_contours; ++c) {
            rotateToLowest(polygon->contour[c], tolerance);
            places.push_back({polygon->contour[c], polygon->hole[c], topOf(polygon->contour[c], tolerance)});
        }
        std::stable_sort(places.begin(), places.end(),
                         [](const Place& a, const Place& b) { return a.top.y > b.top.y; });
        for (auto first = places.begin(); first != places.end();) {
            auto last = first + 1;
            while (last != places.end() && (last - 1)->top.y - last->top.y <= tolerance)
                ++last;
            std::stable_sort(first, last, [](const Place& a, const Place& b) { return a.top.x < b.top.x; });
            first = last;
        }
        for (std::size_t c = 0; c < places.size(); ++c) {
            polygon->contour[c] = places[c].contour;
            polygon->hole[c] = places[c].hole;
        }
    });
}

void gpc_free_polygon(gpc_polygon* polygon) {
    for (int i = 0; i < polygon->num_contours; ++i)
        std::free(polygon->contour[i].vertex);
    std::free(polygon->contour);
    std::free(polygon->hole);
    polygon->contour = nullptr;
    polygon->hole = nullptr;
    polygon->num_contours = 0;
}

bool gpc_is_finite(const gpc_polygon* polygon) {
    for (int c = 0; c < polygon->num_contours; ++c)
        for (int i = 0; i < polygon->contour[c].num_vertices; ++i)
            if (!std::isfinite(polygon->contour[c].vertex[i].x) || !std::isfinite(polygon->contour[c].vertex[i].y))
                return false;
    return true;
}

void gpc_polygon_clip(gpc_op operation, const gpc_polygon* subject, const gpc_polygon* clip, gpc_polygon* result) {
    constexpr double SAME = 1e-9; // of the extent: as low, as far left
    double extent = 0;
    const std::vector<Result> areas =
        F_withFoundationExceptions([&] { return clipAreas(operation, *subject, *clip, extent); });
    gpc_free_polygon(result);
    for (const Result& area : areas) {
        Contour corners = area.corners;
        const gpc_vertex_list contour{static_cast<int>(corners.size()), corners.data()};
        gpc_add_contour(result, &contour, area.hole ? 1 : 0);
    }
    gpc_arrange(result, SAME * extent);
}

} // namespace cairn
