#include "host/picture_roofs.h"

#include "cairn/geometry/validate.h"
#include "host/console.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <unordered_map>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double LEAST_SLANT = 1e-6; // of a normal's height: a steeper face is a wall

/// A range of the plan along an axis.
struct Range {
    double least, most;
};

/// Faces by where they stand on the plan. Each lies in the up to four cells that it touches of the grid whose cells are as
/// large as it is, so that large faces do not fill the cells of small ones.
class PlanIndex {
  public:
    explicit PlanIndex(const PictureScene& scene) {
        for (const double side : {scene.box.maxX - scene.box.minX, scene.box.maxZ - scene.box.minZ})
            m_widest = std::max(m_widest, side);
        m_origin = Vector(scene.box.minX, 0, scene.box.minZ);
    }
    void add(std::size_t face, const Range& x, const Range& z) {
        const double size = std::max(x.most - x.least, z.most - z.least);
        int level = 0;
        while (level < LEVELS && cellSize(level + 1) >= size)
            ++level;
        m_isUsed[level] = true;
        for (std::int64_t i = cellOf(x.least - m_origin.x, level); i <= cellOf(x.most - m_origin.x, level); ++i)
            for (std::int64_t k = cellOf(z.least - m_origin.z, level); k <= cellOf(z.most - m_origin.z, level); ++k)
                m_cells[{level, i, k}].push_back(face);
    }
    /// Calls `visit` with each face that may stand over the place.
    template <class Visit> void visitAt(const Vector& place, Visit&& visit) const {
        for (int level = 0; level <= LEVELS; ++level) {
            if (!m_isUsed[level])
                continue;
            const auto cell =
                m_cells.find({level, cellOf(place.x - m_origin.x, level), cellOf(place.z - m_origin.z, level)});
            if (cell != m_cells.end())
                std::for_each(cell->second.begin(), cell->second.end(), visit);
        }
    }

  private:
    static constexpr int LEVELS = 16;
    using Cell = std::tuple<int, std::int64_t, std::int64_t>;
    struct CellHash {
        std::size_t operator()(const Cell& cell) const {
            const auto& [level, i, k] = cell;
            const std::uint64_t mixed = (static_cast<std::uint64_t>(i) << 32) ^ static_cast<std::uint64_t>(k) ^
                                        (static_cast<std::uint64_t>(level) << 58);
            return static_cast<std::size_t>(mixed * 0x9E3779B97F4A7C15u >> 16);
        }
    };

    double cellSize(int level) const { return std::ldexp(m_widest, -level); }
    std::int64_t cellOf(double at, int level) const {
        return m_widest > 0 ? static_cast<std::int64_t>(std::floor(at / cellSize(level))) : 0;
    }

    double m_widest = 0;
    Vector m_origin;
    bool m_isUsed[LEVELS + 1] = {};
    std::unordered_map<Cell, std::vector<std::size_t>, CellHash> m_cells; ///< never walked
};

/// True where the place lies within an odd number of the face's loops, seen from above.
bool isOver(const PictureFace& face, const Vector& place) {
    bool inside = false;
    for (const PictureLoop& loop : face.loops) {
        const Vector* from = &loop.back().at;
        for (const PictureCorner& corner : loop) {
            const Vector& to = corner.at;
            if ((from->z > place.z) != (to.z > place.z) &&
                place.x < from->x + (to.x - from->x) * ((place.z - from->z) / (to.z - from->z)))
                inside = !inside;
            from = &to;
        }
    }
    return inside;
}

/// Where the vertical through the place meets the face's plane.
double heightAt(const PictureFace& face, const Vector& place) {
    const Vector& on = face.loops.front().front().at;
    return on.y - ((place.x - on.x) * face.normal.x + (place.z - on.z) * face.normal.z) / face.normal.y;
}

Vector middleOf(const PictureFace& face) {
    Vector sum;
    const PictureLoop& outer = face.loops.front();
    for (const PictureCorner& corner : outer)
        sum += corner.at / static_cast<double>(outer.size());
    return sum;
}

/// Looks up from the floors.
class RoofFinder {
  public:
    explicit RoofFinder(PictureScene& scene) : m_scene(scene), m_index(scene) {
        for (std::size_t i = 0; i < scene.faces.size(); ++i) {
            const PictureFace& face = scene.faces[i];
            if (!face.isSolid || std::abs(face.normal.y) < LEAST_SLANT)
                continue;
            m_faces.push_back(i);
            E_BBox<double> box;
            for (const PictureLoop& loop : face.loops)
                for (const PictureCorner& corner : loop)
                    box.expand(corner.at);
            m_index.add(i, {box.minX, box.maxX}, {box.minZ, box.maxZ});
        }
    }

    std::size_t mark() {
        for (const std::size_t face : m_faces)
            if (m_scene.faces[face].normal.y > 0) {
                lookUpFrom(middleOf(m_scene.faces[face]));
                Progress::count();
            }
        return m_count;
    }

  private:
    struct Crossing {
        double height;
        std::size_t face;
        bool isTop; ///< of a solid
    };

    /// Goes down a vertical, through solids that touch, and marks their tops where another one follows below a space.
    void lookUpFrom(const Vector& place) {
        m_crossings.clear();
        m_index.visitAt(place, [&](std::size_t i) {
            const PictureFace& face = m_scene.faces[i];
            if (isOver(face, place))
                m_crossings.push_back({heightAt(face, place), i, face.normal.y > 0});
        });
        std::sort(m_crossings.begin(), m_crossings.end(), [](const Crossing& a, const Crossing& b) {
            return std::tie(b.height, a.face) < std::tie(a.height, b.face);
        });
        const auto next = m_crossings.begin() + static_cast<std::ptrdiff_t>(countOfHighest());
        if (next == m_crossings.end())
            return;
        for (auto crossing = m_crossings.begin(); crossing != next; ++crossing)
            if (crossing->isTop && !m_scene.faces[crossing->face].isRoof) {
                m_scene.faces[crossing->face].isRoof = true;
                ++m_count;
            }
    }

    /// How many crossings there are of the highest solids that touch each other.
    std::size_t countOfHighest() const {
        int solids = 0;           // that the vertical is in
        double leftAt = HUGE_VAL; // height of the last bottom
        for (std::size_t i = 0; i < m_crossings.size(); ++i) {
            const Crossing& crossing = m_crossings[i];
            if (i > 0 && crossing.isTop && solids <= 0 && leftAt - crossing.height > CN_LEVEL_TOLERANCE)
                return i;
            solids += crossing.isTop ? 1 : -1;
            if (solids <= 0)
                leftAt = crossing.height;
        }
        return m_crossings.size();
    }

    PictureScene& m_scene;
    PlanIndex m_index;
    std::vector<std::size_t> m_faces; ///< of solids, walls aside
    std::vector<Crossing> m_crossings;
    std::size_t m_count = 0;
};

} // namespace

std::size_t markRoofs(PictureScene& scene) {
    const auto isRoom = [](const PictureMark& mark) { return mark.kind == PictureMark::ROOM; };
    if (std::any_of(scene.marks.begin(), scene.marks.end(), isRoom))
        return 0;
    return RoofFinder(scene).mark();
}

} // namespace cairn::host
