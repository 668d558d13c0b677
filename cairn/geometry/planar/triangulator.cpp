#include "cairn/geometry/planar/triangulator.h"

#include "cairn/foundation/exception.h"

#include <dlfcn.h>
#include <triangle.h> // last: it defines short macros and global types

#include <algorithm>
#include <bit>
#include <cmath>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory_resource>
#include <utility>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CAIRN_KEEPS_BLOCKS 1
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define CAIRN_KEEPS_BLOCKS 1
#endif
#ifdef CAIRN_KEEPS_BLOCKS
#include <sanitizer/asan_interface.h>
#endif

namespace {

#ifdef CAIRN_KEEPS_BLOCKS

/// Where blocks come from under AddressSanitizer, which has the system map each large one and take it back: nine tenths of the
/// time of a call. The last large ones are kept for the next call, and may not be touched until then.
class BlockStore {
  public:
    ~BlockStore() {
        for (const Spare& spare : m_spares)
            drop(spare);
    }
    static void* take(std::size_t size) {
        for (Spare& spare : s_store.m_spares)
            if (spare.room && spare.size == size) {
                ASAN_UNPOISON_MEMORY_REGION(spare.room, size);
                return std::exchange(spare.room, nullptr);
            }
        return std::malloc(size);
    }
    static void give(void* room, std::size_t size) {
        if (size < LARGE) {
            std::free(room);
            return;
        }
        ASAN_POISON_MEMORY_REGION(room, size);
        const Spare oldest = std::exchange(s_store.m_spares[s_store.m_next], {room, size});
        s_store.m_next = (s_store.m_next + 1) % SPARES;
        drop(oldest);
    }

  private:
    struct Spare {
        void* room = nullptr;
        std::size_t size = 0;
    };

    static void drop(const Spare& spare) {
        if (!spare.room)
            return;
        ASAN_UNPOISON_MEMORY_REGION(spare.room, spare.size);
        std::free(spare.room);
    }

    static constexpr std::size_t LARGE = 65536, SPARES = 8;
    static thread_local BlockStore s_store;
    Spare m_spares[SPARES];
    std::size_t m_next = 0; ///< whose turn it is to be replaced
};

thread_local BlockStore BlockStore::s_store;

#else

/// Where blocks come from.
struct BlockStore {
    static void* take(std::size_t size) { return std::malloc(size); }
    static void give(void* room, std::size_t) { std::free(room); }
};

#endif

/// Header of a block that Triangle took, ahead of what it uses.
struct alignas(std::max_align_t) Block {
    Block* prev;
    Block* next;
    std::size_t size; ///< of the whole
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
        void* const room = BlockStore::take(sizeof(Block) + size);
        if (!room)
            leave(OUT_OF_MEMORY);
        Block* const block = static_cast<Block*>(room);
        block->size = sizeof(Block) + size;
        block->prev = &m_blocks;
        block->next = m_blocks.next;
        block->next->prev = m_blocks.next = block;
        return block + 1;
    }
    /// True where what the library took came from here.
    bool hasTaken() const { return m_blocks.next != &m_blocks; }
    void give(void* room) { release(static_cast<Block*>(room) - 1); }

  private:
    static void release(Block* block) {
        block->prev->next = block->next;
        block->next->prev = block->prev;
        BlockStore::give(block, block->size);
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

using Point = M_Vector2Template<double>;
using Points = std::vector<Point>;
using Room = std::pmr::memory_resource; // what the working sets of a triangulation stand in
using Numbers = std::pmr::vector<int>;

static_assert(sizeof(Point) == 2 * sizeof(double) && sizeof(CN_Segment) == 2 * sizeof(int),
              "read as arrays of numbers");

/// Directed segments by the point they start at.
class SegmentSet {
  public:
    SegmentSet(std::size_t points, const std::vector<CN_Segment>& segments, Room* room)
        : m_first(points, {-1, -1}, room), m_more(room) {
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
    std::pmr::vector<Entry> m_first; ///< of each point
    std::pmr::vector<Entry> m_more;  ///< of points with several segments
};

/// Triangles by their directed sides.
class SideTable {
  public:
    SideTable(const int* corners, int triangles, std::size_t points, Room* room)
        : m_begin(points + 1, room), m_sides(3 * static_cast<std::size_t>(triangles), room) {
        const std::size_t sides = m_sides.size();
        for (std::size_t i = 0; i < sides; ++i)
            ++m_begin[static_cast<std::size_t>(corners[i])];
        int sum = 0;
        for (int& begin : m_begin)
            begin = sum += begin;
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
    Numbers m_begin;                ///< of each point in `m_sides`
    std::pmr::vector<Side> m_sides; ///< by the point they start at
};

/// Brings numbers that are very large or very small to where products of four of them are exact to the last bit that
/// matters, into `scaled`; false where they are there already. Powers of two leave the digits alone, and what is dropped is
/// 1e-30 of the extent.
bool scaleToRange(const Points& points, Points& scaled) {
    constexpr double LARGE = 0x1p150, SMALL = 0x1p-100;
    double largest = 0, smallest = LARGE;
    for (const Point& p : points) {
        for (const double size : {std::fabs(p.x), std::fabs(p.y)}) {
            largest = std::max(largest, size);
            if (size > 0)
                smallest = std::min(smallest, size);
        }
    }
    if (largest == 0 || (largest < LARGE && smallest > SMALL))
        return false;
    const int exponent = -std::ilogb(largest);
    const auto scale = [exponent](double c) {
        const double there = std::scalbn(c, exponent);
        return std::fabs(there) < SMALL ? 0 : there;
    };
    for (const Point& p : points)
        scaled.emplace_back(scale(p.x), scale(p.y));
    return true;
}

/// True where no two points are the same: Triangle leaves out the second one and then fails over the segments that name it.
bool areDistinct(const Points& points, Room* room) {
    constexpr std::size_t COMPARED = 16; // few are compared faster than looked up
    if (points.size() <= COMPARED) {
        for (std::size_t i = 1; i < points.size(); ++i)
            for (std::size_t j = 0; j < i; ++j)
                if (points[i] == points[j])
                    return false;
        return true;
    }
    // Open addressing, at most half full.
    Numbers table(std::bit_ceil(2 * points.size()), -1, room);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double x = points[i].x + 0.0, y = points[i].y + 0.0; // one zero
        std::uint64_t key = std::bit_cast<std::uint64_t>(x) * 0x9E3779B97F4A7C15u ^ std::bit_cast<std::uint64_t>(y);
        key = (key ^ (key >> 32)) * 0xD6E8FEB86659FD93u;
        std::size_t slot = static_cast<std::size_t>(key >> 32) & (table.size() - 1);
        for (; table[slot] >= 0; slot = (slot + 1) & (table.size() - 1))
            if (points[static_cast<std::size_t>(table[slot])] == points[i])
                return false;
        table[slot] = static_cast<int>(i);
    }
    return true;
}

/// True unless all points lie on one line, or so near to one that rounding cannot tell.
bool spansArea(const Points& points) {
    // The error of the determinant below, relative to the sum of its parts (Shewchuk's orient2d).
    constexpr double ROUNDING = 3.4e-16;
    Point far;
    double distance = 0;
    for (const Point& p : points) {
        const Point apart = p - points[0];
        const double d = std::max(std::fabs(apart.x), std::fabs(apart.y));
        if (d > distance)
            distance = d, far = apart;
    }
    return std::any_of(points.begin(), points.end(), [&](const Point& p) {
        const double left = far.x * (p.y - points[0].y), right = far.y * (p.x - points[0].x);
        return std::fabs(left - right) > ROUNDING * (std::fabs(left) + std::fabs(right));
    });
}

/// One triangulation.
class Triangulation {
  public:
    Triangulation(const Points& points, const std::vector<CN_Segment>& segments)
        : m_points(&points), m_segments(segments) {}

    void run(std::vector<int>& triangles) {
        if (!isSound())
            return;
        if (scaleToRange(*m_points, m_scaled))
            m_points = &m_scaled;
        if (!spansArea(*m_points) || !areDistinct(*m_points, &m_room))
            return;
        // What Triangle reads it does not change.
        triangulateio input{};
        input.pointlist = const_cast<double*>(&m_points->front().x);
        input.numberofpoints = static_cast<int>(m_points->size());
        input.segmentlist = const_cast<int*>(m_segments.data()->data());
        input.numberofsegments = static_cast<int>(m_segments.size());
        switch (m_call.run(input, m_output)) {
        case FINISHED:
            if (!m_call.hasTaken()) // its output stands somewhere else
                throw new F_Exception("Triangle is linked in a way that it could end the process");
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
        if (m_points->size() < 3 || m_points->size() > MOST || m_segments.empty() || m_segments.size() > MOST)
            return false;
        for (const Point& p : *m_points)
            if (!std::isfinite(p.x) || !std::isfinite(p.y))
                return false;
        for (const CN_Segment& segment : m_segments)
            for (const int end : segment)
                if (end < 0 || static_cast<std::size_t>(end) >= m_points->size())
                    return false;
        return true;
    }

    /// Triangle runs to the left of its sides, so a triangle that runs along a segment lies outside, and so does what it
    /// reaches without crossing one.
    void keepInside(std::vector<int>& triangles) {
        SegmentSet segments(m_points->size(), m_segments, &m_room);
        if (!addChains(segments))
            return;
        const auto count = static_cast<std::size_t>(m_output.numberoftriangles);
        std::pmr::vector<char> outside(count, &m_room);
        Numbers open(&m_room);
        for (int t = 0; t < m_output.numberoftriangles; ++t) {
            const int* const c = cornersOf(t);
            if (segments.contains(c[0], c[1]) || segments.contains(c[1], c[2]) || segments.contains(c[2], c[0])) {
                outside[static_cast<std::size_t>(t)] = 1;
                open.push_back(t);
            }
        }
        dropSurrounded(segments, open);
        if (!open.empty())
            flood(segments, open, outside);
        triangles.reserve(3 * count);
        for (int t = 0; t < m_output.numberoftriangles; ++t) {
            const int* const c = cornersOf(t);
            if (!outside[static_cast<std::size_t>(t)])
                for (const int corner : {c[0], c[2], c[1]})
                    triangles.push_back(corner);
        }
    }

    const int* cornersOf(int triangle) const { return m_output.trianglelist + 3 * static_cast<std::size_t>(triangle); }

    /// Calls `visit` with the ends of each side of a triangle that is not a segment.
    template <class Visit> void forEachOpenSide(const SegmentSet& segments, int triangle, Visit&& visit) const {
        const int* const c = cornersOf(triangle);
        for (int i = 0; i < 3; ++i)
            if (const int from = c[i], to = c[i == 2 ? 0 : i + 1]; !segments.contains(from, to))
                visit(from, to);
    }

    /// Leaves those of the triangles that may have a neighbour which is not among them: none, where each hole has no
    /// triangle but along its edges, and then there is nothing to look up.
    void dropSurrounded(const SegmentSet& segments, Numbers& open) {
        using Side = std::pair<std::uint64_t, int>; // its ends in order, and the triangle
        std::pmr::vector<Side> sides(&m_room);
        for (const int t : open)
            forEachOpenSide(segments, t, [&](int from, int to) {
                sides.emplace_back(
                    std::uint64_t(std::uint32_t(std::min(from, to))) << 32 | std::uint32_t(std::max(from, to)), t);
            });
        std::sort(sides.begin(), sides.end());
        open.clear();
        for (std::size_t i = 0; i < sides.size(); ++i) {
            if (i + 1 < sides.size() && sides[i].first == sides[i + 1].first)
                ++i;
            else
                open.push_back(sides[i].second);
        }
    }

    void flood(const SegmentSet& segments, Numbers& open, std::pmr::vector<char>& outside) {
        const SideTable sides(m_output.trianglelist, m_output.numberoftriangles, m_points->size(), &m_room);
        while (!open.empty()) {
            const int triangle = open.back();
            open.pop_back();
            forEachOpenSide(segments, triangle, [&](int from, int to) {
                const int across = sides.find(to, from);
                if (across < 0 || outside[static_cast<std::size_t>(across)])
                    return;
                outside[static_cast<std::size_t>(across)] = 1;
                open.push_back(across);
            });
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
        const Point direction = at(segment[1]) - at(segment[0]);
        int from = segment[0];
        for (std::size_t steps = 0; from != segment[1]; ++steps) {
            int best = -1;
            double least = 0;
            for (auto it = std::lower_bound(parts.begin(), parts.end(), CN_Segment{from, -1});
                 it != parts.end() && (*it)[0] == from; ++it) {
                const Point step = at((*it)[1]) - at(from);
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

    const Point& at(int point) const { return (*m_points)[static_cast<std::size_t>(point)]; }

    const Points* m_points; ///< those given, or those brought to range
    const std::vector<CN_Segment>& m_segments;
    Points m_scaled;
    std::byte m_buffer[4096]; ///< enough for the polygons that most levels are made of
    std::pmr::monotonic_buffer_resource m_room{m_buffer, sizeof m_buffer};
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
