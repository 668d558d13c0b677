#include "host/explain.h"

#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/portal.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/open_edges.h"
#include "cairn/geometry/point_tree.h"
#include "cairn/geometry/validate.h"
#include "host/entity_text.h"
#include "host/exit_link.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace cairn::host {

namespace {

using Vector = CN_LevelEntity::Vector;

std::string polygonName(const CN_Polygon& polygon) {
    const CN_Mesh& mesh = *polygon.getParent();
    return fmt::format("{}#{}", toShownText(qualifiedName(mesh)), mesh.findPolygonIndex(&polygon));
}

Vector middleOf(const CN_Polygon& polygon) {
    Vector sum;
    for (const CN_Edge& edge : polygon.getEdgeList())
        sum += edge.getWorld(0);
    const int corners = polygon.getEdgeList().count();
    return corners > 0 ? sum / static_cast<double>(corners) : sum;
}

/// The loops of a boundary, in the mesh's space.
std::vector<std::vector<Vector>> contoursOf(const CN_Polygon& polygon) {
    std::vector<std::vector<Vector>> contours;
    int end = -1;
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        if (contours.empty() || edge.index(0) != end)
            contours.emplace_back();
        contours.back().push_back(edge.getLocal(0));
        end = edge.index(1);
    }
    return contours;
}

void explainHanging(CN_Polygon& exit, std::vector<Reason>& reasons) {
    CN_Mesh& mesh = *exit.getParent();
    F_DLList<CN_Polygon*> touched;
    bool hangs = false;
    int edges = 0; // of the contours before
    for (const std::vector<Vector>& corners : contoursOf(exit)) {
        F_DLListInit<Vector> contour;
        for (const Vector& corner : corners)
            contour.add(corner);
        for (const CN_HangingStretch& stretch : mesh.findHangingStretches(contour, touched, &exit)) {
            const double length = (stretch.end - stretch.start).length();
            reasons.push_back({"exit-hangs",
                               fmt::format("{:g} of edge {} of the contour lies on no polygon of the mesh", length,
                                           edges + stretch.edge),
                               {mesh.worldTransform(stretch.start), mesh.worldTransform(stretch.end)},
                               length});
            hangs = true;
        }
        edges += static_cast<int>(corners.size());
    }
    if (!hangs)
        return;
    std::vector<std::string> names;
    for (const CN_Polygon* const polygon : touched)
        names.push_back(polygonName(*polygon));
    reasons.push_back({"exit-touches",
                       names.empty() ? "the contour lies on no polygon at all"
                                     : fmt::format("the contour lies on {}", fmt::join(names, ", ")),
                       {},
                       {}});
}

void explainPair(const CN_Polygon& exit, const CN_Polygon& partner, std::vector<Reason>& reasons) {
    const ExitPair pair = compareExits(exit, partner);
    const std::vector<Vector> middles{middleOf(exit), middleOf(partner)};
    const std::string other = polygonName(partner);
    if (pair.isAskew())
        reasons.push_back(
            {"exit-facing", fmt::format("it and {} do not face each other: {}", other, pair.angleText()), middles, {}});
    if (pair.isApart())
        reasons.push_back({"exit-plane",
                           fmt::format("it and {} lie in two planes: {}", other, pair.gapText()),
                           {pair.gapFrom, pair.gapTo},
                           pair.gap});
    if (pair.isUneven())
        reasons.push_back(
            {"exit-area", fmt::format("it and {} do not cover the same: {}", other, pair.areaText()), middles, {}});
}

/// Finds for open stretches of edges those that might close them.
class NearestStretches {
  public:
    struct Nearest {
        int stretch = -1; ///< place in the list, -1 for none
        double distance = 0;
    };

    explicit NearestStretches(const std::vector<CN_OpenEdge>& open) : m_open(open), m_nearest(open.size()) {
        std::vector<CN_PointTree::Entry> ends;
        for (std::size_t i = 0; i < open.size(); ++i) {
            ends.push_back({open[i].from, static_cast<int>(2 * i)});
            ends.push_back({open[i].to, static_cast<int>(2 * i + 1)});
        }
        m_ends = CN_PointTree(std::move(ends));
        for (std::size_t i = 0; i < open.size(); ++i)
            search(i);
    }
    /// The open stretch of another polygon along this one, or that this one lies along: the one whose ends are the least
    /// way off, as long as that is less than the length.
    const Nearest& of(std::size_t stretch) const { return m_nearest[stretch]; }

  private:
    void search(std::size_t at) {
        const CN_OpenEdge& own = m_open[at];
        const double length = (own.to - own.from).length();
        if (!(length > 0))
            return;
        const Vector along = (own.to - own.from) / length;
        // Gives true where a stretch has both ends within the reach, a box around the line.
        const auto lookWithin = [&](double reach) {
            bool found = false;
            std::unordered_map<int, int> seen; // looked up only
            const auto visit = [&](const CN_PointTree::Entry& end, double) {
                const int other = end.number / 2;
                if (m_open[static_cast<std::size_t>(other)].polygon == own.polygon || ++seen[other] != 2)
                    return;
                offer(at, static_cast<std::size_t>(other));
                found = true;
            };
            m_ends.visitNear(own.from - along * reach, own.to + along * reach, reach, visit);
            return found;
        };
        constexpr double STEP = 4;
        for (double radius = CN_LEVEL_TOLERANCE;; radius *= STEP) {
            if (lookWithin(std::min(radius, length))) {
                lookWithin(std::min(m_nearest[at].distance, length)); // one in the box's corner is not the nearest yet
                return;
            }
            if (radius >= length)
                return;
        }
    }
    /// The first of two stretches has the ends of the second beside it.
    void offer(std::size_t a, std::size_t b) {
        const double distance = std::max(distanceTo(m_open[a], m_open[b].from), distanceTo(m_open[a], m_open[b].to));
        for (const auto& [from, to] : {std::pair(a, b), std::pair(b, a)}) {
            Nearest& nearest = m_nearest[from];
            const int number = static_cast<int>(to);
            if (nearest.stretch < 0 || distance < nearest.distance ||
                (distance == nearest.distance && number < nearest.stretch))
                nearest = {number, distance};
        }
    }
    static double distanceTo(const CN_OpenEdge& stretch, const Vector& point) {
        const Vector line = stretch.to - stretch.from;
        const double t = std::clamp((point - stretch.from).dot(line) / line.dot(line), 0.0, 1.0);
        return (stretch.from + line * t - point).length();
    }

    const std::vector<CN_OpenEdge>& m_open;
    std::vector<Nearest> m_nearest;
    CN_PointTree m_ends;
};

Reason explainEdge(const CN_Mesh& mesh, const std::vector<CN_OpenEdge>& open, std::size_t at,
                   const NearestStretches& nearest) {
    const CN_OpenEdge& edge = open[at];
    Reason reason{"edge-open",
                  fmt::format("no polygon follows {} here", polygonName(*edge.polygon)),
                  {mesh.worldTransform(edge.from), mesh.worldTransform(edge.to)},
                  (edge.to - edge.from).length()};
    if (edge.partners > 0) {
        reason.kind = "edge-crowded";
        reason.message = fmt::format("{} polygons follow {} here", edge.partners, polygonName(*edge.polygon));
        return reason;
    }
    const NearestStretches::Nearest candidate = nearest.of(at);
    if (candidate.stretch < 0) {
        reason.message += ", and none is open beside it";
        return reason;
    }
    const CN_OpenEdge& other = open[static_cast<std::size_t>(candidate.stretch)];
    reason.message +=
        fmt::format("; the nearest open one is {}, {:g} off", polygonName(*other.polygon), candidate.distance);
    if ((other.to - other.from).dot(edge.to - edge.from) > 0)
        reason.message += ", which runs the same way: one of them looks the wrong way";
    return reason;
}

} // namespace

bool isOpening(const CN_Polygon& polygon) {
    return polygon.isExitPolygon() || (polygon.getPolyMode() == PT_EXIT && !polygon.getMaterial());
}

std::vector<Reason> explainExit(CN_Polygon& exit) {
    std::vector<Reason> reasons;
    if (!exit.getLevelEntityPortal())
        reasons.push_back({"exit-no-portal", "it has no portal", {middleOf(exit)}, {}});
    const CN_Polygon* const partner = exit.getExitDestination();
    if (!partner || partner->getExitDestination() != &exit)
        reasons.push_back(
            {"exit-unpaired",
             partner ? fmt::format("its partner {} does not lead back", polygonName(*partner)) : "it has no partner",
             {middleOf(exit)},
             {}});
    if (exit.getPolyMode() != PT_EXIT || exit.getMaterial())
        reasons.push_back({"exit-mode",
                           exit.getMaterial() ? "it has a material, as walls have" : "its mode is not that of an exit",
                           {middleOf(exit)},
                           {}});
    explainHanging(exit, reasons);
    if (partner)
        explainPair(exit, *partner, reasons);
    return reasons;
}

std::vector<Reason> explainMesh(CN_Mesh& mesh, const CN_Polygon* only) {
    std::vector<Reason> reasons;
    if (mesh.getPolygonList().empty())
        reasons.push_back({"mesh-empty", "the mesh has no polygons", {mesh.getWorldPosition()}, {}});
    const std::vector<CN_OpenEdge> open = CN_findOpenEdges(mesh, CN_LEVEL_TOLERANCE);
    const auto* const room = dynamic_cast<const CN_LevelEntityMesh*>(&mesh);
    if (!only && open.empty() && room && room->isRoom() && CN_volume(mesh) < 0)
        reasons.push_back(
            {"room-outward", "its faces look outward: nothing is inside the room", {mesh.getWorldPosition()}, {}});
    const NearestStretches nearest(open);
    for (std::size_t i = 0; i < open.size(); ++i)
        if (!only || open[i].polygon == only)
            reasons.push_back(explainEdge(mesh, open, i, nearest));
    if (only)
        return reasons;
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        if (isOpening(polygon))
            for (Reason& reason : explainExit(polygon)) {
                reason.message = fmt::format("exit {}: {}", polygonName(polygon), reason.message);
                reasons.push_back(std::move(reason));
            }
    return reasons;
}

} // namespace cairn::host
