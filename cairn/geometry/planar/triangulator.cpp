#include "cairn/geometry/planar/triangulator.h"

#include "cairn/foundation/exception.h"

#include <dlfcn.h>
#include <triangle.h> // last: it defines short macros and global types

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdlib>

namespace {

/// Header of a block that Triangle took, ahead of what it uses.
struct alignas(std::max_align_t) Block {
    Block* prev;
    Block* next;
};

/// How a call of Triangle ended.
enum CallEnd { FINISHED, CROSSING, OUT_OF_MEMORY, FAULT };

/// A call of Triangle that comes back whatever happens.
///
/// The library ends the process where it finds a fault or no memory, and where segments cross it makes a point there, from
/// which rounding leads it into faults and endless loops. It calls four functions of its own for these ends; the functions of
/// the same names below take their place (the linker prefers them to a shared library's), lead out of a call that runs, and
/// keep what it has taken so that nothing is left behind.
class Call {
  public:
    Call() { m_blocks.prev = m_blocks.next = &m_blocks; }
    ~Call() {
        while (m_blocks.next != &m_blocks)
            release(m_blocks.next);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// Triangulates once. What `output` points to lives as long as the call.
    CallEnd run(triangulateio& input, triangulateio& output) {
        const int end = setjmp(m_wayOut); // NOLINT(cert-err52-cpp): C functions alone are left by the jump
        if (end == FINISHED) {
            s_current = this;
            char switches[] = "pzQ";
            ::triangulate(switches, &input, &output, nullptr);
        }
        s_current = nullptr;
        return static_cast<CallEnd>(end);
    }
    /// The call of this thread that runs, or null.
    static Call* current() { return s_current; }
    [[noreturn]] void leave(CallEnd end) { std::longjmp(m_wayOut, end); } // NOLINT(cert-err52-cpp)

    void* take(std::size_t size) {
        void* const room = std::malloc(sizeof(Block) + size);
        if (!room)
            leave(OUT_OF_MEMORY);
        Block* const block = static_cast<Block*>(room);
        block->prev = &m_blocks;
        block->next = m_blocks.next;
        block->next->prev = m_blocks.next = block;
        return block + 1;
    }
    void give(void* room) { release(static_cast<Block*>(room) - 1); }

  private:
    static void release(Block* block) {
        block->prev->next = block->next;
        block->next->prev = block->prev;
        std::free(block);
    }

    static thread_local Call* s_current;
    std::jmp_buf m_wayOut; ///< into `run`
    Block m_blocks;        ///< what Triangle has taken: a ring
};

thread_local Call* Call::s_current = nullptr;

} // namespace

extern "C" {

void* trimalloc(int size) {
    Call* const call = Call::current();
    if (call)
        return call->take(static_cast<std::size_t>(size));
    void* const room = std::malloc(static_cast<std::size_t>(size));
    if (!room)
        std::exit(1);
    return room;
}

void trifree(void* room) {
    if (Call* const call = Call::current())
        call->give(room);
    else
        std::free(room);
}

void triexit(int status) {
    if (Call* const call = Call::current())
        call->leave(FAULT);
    std::exit(status);
}

void segmentintersection(void* mesh, void* behavior, void* splitTriangle, void* splitSegment, void* endPoint) {
    if (Call* const call = Call::current())
        call->leave(CROSSING);
    // Somebody else's call: the library's own function does its work.
    using Function = void (*)(void*, void*, void*, void*, void*);
    static const Function own = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "segmentintersection"));
    own(mesh, behavior, splitTriangle, splitSegment, endPoint);
}

} // extern "C"

namespace cairn {

namespace {

using Points = std::vector<M_Vector2Template<double>>;

/// Directed segments by the point they start at.
class SegmentSet {
  public:
    SegmentSet(std::size_t points, const std::vector<CN_Segment>& segments) : m_first(points, {-1, -1}) {
        for (const CN_Segment& segment : segments)
            insert(segment[0], segment[1]);
    }
    void insert(int from, int to) {
        Entry& entry = m_first[static_cast<std::size_t>(from)];
        if (entry.to < 0) {
            entry.to = to;
        } else if (!contains(from, to)) {
            m_more.push_back({to, entry.next});
            entry.next = static_cast<int>(m_more.size()) - 1;
        }
    }
    bool contains(int from, int to) const {
        const Entry& entry = m_first[static_cast<std::size_t>(from)];
        if (entry.to == to)
            return true;
        for (int i = entry.next; i >= 0; i = m_more[static_cast<std::size_t>(i)].next)
            if (m_more[static_cast<std::size_t>(i)].to == to)
                return true;
        return false;
    }

  private:
    struct Entry {
        int to;
        int next; ///< in `m_more`, -1 for none
    };
    std::vector<Entry> m_first; ///< of each point
    std::vector<Entry> m_more;  ///< of points with several segments
};

/// Triangles by their directed sides.
class SideTable {
  public:
    SideTable(const int* corners, int triangles, std::size_t points) : m_begin(points + 1) {
        const std::size_t sides = 3 * static_cast<std::size_t>(triangles);
        for (std::size_t i = 0; i < sides; ++i)
            ++m_begin[static_cast<std::size_t>(corners[i])];
        int sum = 0;
        for (int& begin : m_begin)
            begin = sum += begin;
        m_sides.resize(sides);
        for (std::size_t i = 0; i < sides; ++i) {
            const int to = corners[i % 3 == 2 ? i - 2 : i + 1];
            m_sides[static_cast<std::size_t>(--m_begin[static_cast<std::size_t>(corners[i])])] = {
                to, static_cast<int>(i / 3)};
        }
        for (std::size_t point = 0; point < points; ++point)
            if (m_begin[point + 1] - m_begin[point] > WALKED)
                std::sort(m_sides.begin() + m_begin[point], m_sides.begin() + m_begin[point + 1],
                          [](const Side& a, const Side& b) { return a.to < b.to; });
    }
    /// The triangle with that side, -1 for none.
    int find(int from, int to) const {
        const auto begin = m_sides.begin() + m_begin[static_cast<std::size_t>(from)];
        const auto end = m_sides.begin() + m_begin[static_cast<std::size_t>(from) + 1];
        const auto it = end - begin > WALKED
                            ? std::lower_bound(begin, end, to, [](const Side& side, int key) { return side.to < key; })
                            : std::find_if(begin, end, [to](const Side& side) { return side.to == to; });
        return it != end && it->to == to ? it->triangle : -1;
    }

  private:
    static constexpr int WALKED = 16; ///< sides at a point that need no order

    struct Side {
        int to;
        int triangle;
    };
    std::vector<int> m_begin;  ///< of each point in `m_sides`
    std::vector<Side> m_sides; ///< by the point they start at
};

/// Brings numbers that are very large or very small to where products of four of them are exact to the last bit that
/// matters. Powers of two leave the digits alone, and what is dropped is 1e-30 of the extent.
void scaleToRange(std::vector<double>& coordinates) {
    constexpr double LARGE = 0x1p150, SMALL = 0x1p-100;
    double largest = 0, smallest = LARGE;
    for (const double c : coordinates) {
        const double size = std::fabs(c);
        largest = std::max(largest, size);
        if (size > 0)
            smallest = std::min(smallest, size);
    }
    if (largest == 0 || (largest < LARGE && smallest > SMALL))
        return;
    const int exponent = -std::ilogb(largest);
    for (double& c : coordinates) {
        c = std::scalbn(c, exponent);
        if (std::fabs(c) < SMALL)
            c = 0;
    }
}

/// True unless all points lie on one line, or so near to one that rounding cannot tell.
bool spansArea(const std::vector<double>& c) {
    // The error of the determinant below, relative to the sum of its parts (Shewchuk's orient2d).
    constexpr double ROUNDING = 3.4e-16;
    std::size_t far = 0;
    double distance = 0;
    for (std::size_t i = 2; i < c.size(); i += 2) {
        const double d = std::max(std::fabs(c[i] - c[0]), std::fabs(c[i + 1] - c[1]));
        if (d > distance)
            distance = d, far = i;
    }
    for (std::size_t i = 2; i < c.size(); i += 2) {
        const double left = (c[far] - c[0]) * (c[i + 1] - c[1]), right = (c[far + 1] - c[1]) * (c[i] - c[0]);
        if (std::fabs(left - right) > ROUNDING * (std::fabs(left) + std::fabs(right)))
            return true;
    }
    return false;
}

/// One triangulation.
class Triangulation {
  public:
    Triangulation(const Points& points, const std::vector<CN_Segment>& segments)
        : m_points(points), m_segments(segments), m_coordinates(2 * points.size()) {
        for (std::size_t i = 0; i < points.size(); ++i) {
            m_coordinates[2 * i] = points[i].x;
            m_coordinates[2 * i + 1] = points[i].y;
        }
    }

    void run(std::vector<int>& triangles) {
        if (!isSound())
            return;
        scaleToRange(m_coordinates);
        if (!spansArea(m_coordinates))
            return;
        triangulateio input{};
        input.pointlist = m_coordinates.data();
        input.numberofpoints = static_cast<int>(m_points.size());
        std::vector<int> ends(2 * m_segments.size());
        for (std::size_t i = 0; i < m_segments.size(); ++i) {
            ends[2 * i] = m_segments[i][0];
            ends[2 * i + 1] = m_segments[i][1];
        }
        input.segmentlist = ends.data();
        input.numberofsegments = static_cast<int>(m_segments.size());
        switch (m_call.run(input, m_output)) {
        case FINISHED:
            break;
        case OUT_OF_MEMORY:
            throw new F_MemoryException_Allocation;
        case CROSSING:
        case FAULT:
            return;
        }
        if (m_output.numberofpoints == input.numberofpoints)
            keepInside(triangles);
    }

  private:
    bool isSound() const {
        constexpr std::size_t MOST =
            100'000'000; // places count in `int`, and so do Triangle's three corners a triangle
        if (m_points.size() < 3 || m_points.size() > MOST || m_segments.size() > MOST)
            return false;
        for (const double c : m_coordinates)
            if (!std::isfinite(c))
                return false;
        for (const CN_Segment& segment : m_segments)
            for (const int end : segment)
                if (end < 0 || static_cast<std::size_t>(end) >= m_points.size())
                    return false;
        return true;
    }

    /// Triangle runs to the left of its sides, so a triangle that runs along a segment lies outside, and so does what it
    /// reaches without crossing one.
    void keepInside(std::vector<int>& triangles) {
        const int count = m_output.numberoftriangles;
        const int* const corners = m_output.trianglelist;
        SegmentSet segments(m_points.size(), m_segments);
        if (!addChains(segments))
            return;
        std::vector<char> outside(static_cast<std::size_t>(count));
        std::vector<int> open;
        for (int t = 0; t < count; ++t) {
            const int* const c = corners + 3 * std::size_t(t);
            if (segments.contains(c[0], c[1]) || segments.contains(c[1], c[2]) || segments.contains(c[2], c[0])) {
                outside[static_cast<std::size_t>(t)] = 1;
                open.push_back(t);
            }
        }
        const std::size_t seeds = open.size();
        if (seeds > 0) {
            const SideTable sides(corners, count, m_points.size());
            while (!open.empty()) {
                const int* const c = corners + 3 * std::size_t(open.back());
                open.pop_back();
                for (int i = 0; i < 3; ++i) {
                    const int from = c[i], to = c[i == 2 ? 0 : i + 1];
                    if (segments.contains(from, to))
                        continue;
                    const int across = sides.find(to, from);
                    if (across < 0 || outside[static_cast<std::size_t>(across)])
                        continue;
                    outside[static_cast<std::size_t>(across)] = 1;
                    open.push_back(across);
                }
            }
        }
        triangles.reserve(3 * static_cast<std::size_t>(count));
        for (int t = 0; t < count; ++t) {
            const int* const c = corners + 3 * std::size_t(t);
            if (!outside[static_cast<std::size_t>(t)])
                for (const int corner : {c[0], c[2], c[1]})
                    triangles.push_back(corner);
        }
    }

    /// Triangle splits a segment at a point that lies on it: its parts stand for it. False where the parts of one are not
    /// to be found.
    bool addChains(SegmentSet& segments) const {
        const int count = m_output.numberofsegments;
        const int* const parts = m_output.segmentlist;
        bool whole = true;
        for (int i = 0; i < count && whole; ++i)
            whole =
                segments.contains(parts[2 * i], parts[2 * i + 1]) || segments.contains(parts[2 * i + 1], parts[2 * i]);
        if (whole)
            return true;
        std::vector<CN_Segment> both; // the parts in both directions, by their start
        for (int i = 0; i < count; ++i) {
            both.push_back({parts[2 * i], parts[2 * i + 1]});
            both.push_back({parts[2 * i + 1], parts[2 * i]});
        }
        std::sort(both.begin(), both.end());
        return std::all_of(m_segments.begin(), m_segments.end(),
                           [&](const CN_Segment& segment) { return addChain(segment, both, segments); });
    }

    bool addChain(const CN_Segment& segment, const std::vector<CN_Segment>& parts, SegmentSet& segments) const {
        if (std::binary_search(parts.begin(), parts.end(), segment))
            return true;
        // The parts lie exactly on the segment, so from each point it goes on by the one that turns least.
        const M_Vector2Template<double> direction = at(segment[1]) - at(segment[0]);
        int from = segment[0];
        for (std::size_t steps = 0; from != segment[1]; ++steps) {
            int best = -1;
            double least = 0;
            for (auto it = std::lower_bound(parts.begin(), parts.end(), CN_Segment{from, -1});
                 it != parts.end() && (*it)[0] == from; ++it) {
                const M_Vector2Template<double> step = at((*it)[1]) - at(from);
                const double turn = std::fabs(std::atan2(direction.cross(step), direction.dot(step)));
                if (best < 0 || turn < least)
                    best = (*it)[1], least = turn;
            }
            if (best < 0 || steps > parts.size())
                return false;
            segments.insert(from, best);
            from = best;
        }
        return true;
    }

    M_Vector2Template<double> at(int point) const {
        return {m_coordinates[2 * static_cast<std::size_t>(point)],
                m_coordinates[2 * static_cast<std::size_t>(point) + 1]};
    }

    const Points& m_points;
    const std::vector<CN_Segment>& m_segments;
    std::vector<double> m_coordinates; ///< x and y of each point, brought to range
    Call m_call;
    triangulateio m_output{}; ///< in the call's memory
};

} // namespace

void CN_triangulateOutlines(const Points& points, const std::vector<CN_Segment>& segments,
                            std::vector<int>& triangles) {
    triangles.clear();
    F_withFoundationExceptions([&] { Triangulation(points, segments).run(triangles); });
}

} // namespace cairn
