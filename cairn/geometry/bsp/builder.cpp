#include "cairn/geometry/bsp/builder.h"

#include "cairn/foundation/system.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace cairn {

namespace {

using Vector = CN_Ngon::Vector;
using Plane = CN_Ngon::Plane;

constexpr double SNAP = 0.001;   // a point nearer than half of it lies in a plane
constexpr double SLIVER = 0.001; // pieces as thin as this lie in no half-space
constexpr double PI = 3.141592654;
constexpr double DEGREE = 0.017453292522222223;
constexpr double FAR = 1e100; // where products of two coordinates are numbers yet, and differences of those
// Shorter lists are counted piece by piece.
constexpr std::size_t FEW = 16;

/// True for a plane that has a place and a direction.
bool divides(const Plane& plane) {
    return plane.getNormal().isFinite() && plane.getPoint().isFinite() && !(plane.getNormal() == Vector());
}

/// True where a piece with the plane `other` lies in `plane`, by its point, and faces against it within a degree.
bool isOpposite(const Plane& plane, const Plane& other) {
    if (snapToGrid((other.getPoint() - plane.getPoint()).dot(plane.getNormal()), SNAP) != 0)
        return false;
    constexpr double NEARLY = -0.99; // the cosine of a degree less than half a turn is -0.9998
    const double cosine = plane.getNormal().dot(other.getNormal());
    return cosine < NEARLY && std::fabs(PI - std::acos(std::max(cosine, -1.0))) < DEGREE;
}

/// How many pieces a list may differ from its parent's by and have its counts mended.
std::size_t mendableDifference(std::size_t pieces) { return FEW + pieces / 64; }

} // namespace

std::size_t CN_BSPBuilder::PlaneHash::operator()(const PlaneKey& key) const {
    std::size_t hash = 0;
    for (const double number : key)
        hash = (hash ^ std::hash<double>()(number)) * 0x9E3779B97F4A7C15U + (hash >> 29);
    return hash;
}

CN_BSPBuilder::CN_BSPBuilder(CN_BSPTree::NgonList& ngons) : m_list(ngons) {
    m_pieces.reserve(static_cast<std::size_t>(ngons.count()));
    for (const CN_Ngon& ngon : ngons) {
        const bool continues = !m_pieces.empty() &&
                               m_pieces.back().ngon->getPlane().getNormal() == ngon.getPlane().getNormal() &&
                               m_pieces.back().ngon->getPlane().getPoint() == ngon.getPlane().getPoint();
        const Id plane = continues ? m_pieces.back().plane : findPlane(ngon.getPlane());
        m_pieces.push_back({&ngon, nullptr, plane, ngon.linear(SLIVER) != 0, 0});
    }
}

CN_BSPBuilder::Id CN_BSPBuilder::findPlane(const Plane& plane) {
    const Vector &n = plane.getNormal(), &p = plane.getPoint();
    if (!divides(plane)) {
        m_planes.push_back({plane, NONE, 0});
        return static_cast<Id>(m_planes.size() - 1);
    }
    const auto [known, isNew] =
        m_planeIds.try_emplace({n.x, n.y, n.z, p.x, p.y, p.z}, static_cast<Id>(m_planes.size()));
    if (isNew)
        m_planes.push_back({plane, findClass(plane), 0});
    return known->second;
}

// A coordinate of the point that the normal has no part of takes no part in any distance: the walls along an axis are of few
// classes.
CN_BSPBuilder::Id CN_BSPBuilder::findClass(const Plane& plane) {
    const Vector &n = plane.getNormal(), &p = plane.getPoint();
    PlaneKey key{n.x, n.y, n.z};
    for (int axis = 0; axis < 3; ++axis)
        key[static_cast<std::size_t>(axis) + 3] = n[axis] == 0 && std::fabs(p[axis]) <= FAR ? 0 : p[axis];
    const auto [known, isNew] = m_classIds.try_emplace(key, static_cast<Id>(m_classes.size()));
    if (isNew)
        m_classes.emplace_back();
    return known->second;
}

bool CN_BSPBuilder::build(CN_BSPNode& root) {
    std::vector<Id> all(m_pieces.size());
    for (Id i = 0; i < all.size(); ++i)
        all[i] = i;
    m_open.push_back(makeTask(std::move(all), nullptr, true));
    while (!m_open.empty()) {
        Task task = std::move(m_open.back());
        m_open.pop_back();
        CN_BSPNode* node = &root;
        if (task.parent) {
            std::unique_ptr<CN_BSPNode>& child = task.parent->child(task.isInside);
            child = CN_BSPNode::make();
            node = child.get();
        }
        if (!step(task, *node))
            return false;
    }
    return true;
}

CN_BSPBuilder::Task CN_BSPBuilder::makeTask(std::vector<Id> pieces, CN_BSPNode* parent, bool isInside) {
    Task task{std::move(pieces), {}, {}, parent, isInside};
    const unsigned list = ++m_lists;
    for (const Id piece : task.pieces) {
        const Id planeClass = m_planes[at(piece).plane].planeClass;
        if (at(piece).isLinear || planeClass == NONE || m_classes[planeClass].list == list)
            continue;
        m_classes[planeClass].list = list;
        task.candidates.push_back(piece);
    }
    return task;
}

bool CN_BSPBuilder::step(Task& task, CN_BSPNode& node) {
    ++m_node;
    countSides(task);
    const Id winner = choose(task);
    if (winner == NONE) {
        report(task);
        return false;
    }
    node.m_plane = at(winner).ngon->getPlane();
    node.m_insideChild.reset();
    node.m_outsideChild.reset();
    Division division = divide(task, node, winner);
    std::optional<Task> children[2];
    for (const bool isInside : {false, true}) {
        std::vector<Id>& own = isInside ? division.inside : division.outside;
        if (own.empty())
            continue;
        Task& child = children[isInside ? 1 : 0].emplace(makeTask(own, &node, isInside));
        mendCounts(child, division, isInside ? division.outside : division.inside);
    }
    for (std::optional<Task>& child : children)
        if (child)
            m_open.push_back(std::move(*child));
    if (!task.parent) // the list keeps what is left to the subtrees
        for (const Id piece : division.gone)
            m_list.remove(at(piece).ngon);
    release(division.gone);
    release(division.cut);
    return true;
}

void CN_BSPBuilder::countSides(const Task& task) {
    const bool isKnown = !task.counts.empty(), isLong = task.pieces.size() > FEW;
    if (!isKnown && isLong) {
        std::vector<const CN_Ngon*> ngons;
        ngons.reserve(task.pieces.size());
        for (const Id piece : task.pieces)
            ngons.push_back(at(piece).ngon);
        m_boxes.build(ngons);
    }
    for (std::size_t i = 0; i < task.candidates.size(); ++i) {
        const KnownPlane& known = m_planes[at(task.candidates[i]).plane];
        CN_SideCounts& counts = m_classes[known.planeClass].counts;
        if (isKnown) {
            counts = task.counts[i];
        } else if (isLong) {
            counts = m_boxes.count(known.plane);
        } else {
            counts = {};
            for (const Id piece : task.pieces)
                counts.add(sideOf(piece, known.plane));
        }
    }
}

/// The piece whose plane divides the list best, or `NONE`.
CN_BSPBuilder::Id CN_BSPBuilder::choose(const Task& task) {
    m_present.clear();
    for (const Id piece : task.pieces) {
        KnownPlane& known = m_planes[at(piece).plane];
        if (known.node != m_node)
            m_present.push_back(at(piece).plane);
        known.node = m_node;
    }
    Id best = NONE;
    int bestScore = std::numeric_limits<int>::max();
    for (const Id candidate : task.candidates) {
        const KnownPlane& known = m_planes[at(candidate).plane];
        PlaneClass& planeClass = m_classes[known.planeClass];
        const int score = planeClass.counts.score();
        if (score >= bestScore || isBlocked(planeClass, known.plane))
            continue;
        best = candidate;
        bestScore = score;
    }
    return best;
}

/// True where a piece of the list lies in the plane and faces against it.
bool CN_BSPBuilder::isBlocked(PlaneClass& planeClass, const Plane& plane) {
    // Mostly it is what blocked it at a node above.
    if (planeClass.blocker != NONE && m_planes[planeClass.blocker].node == m_node)
        return true;
    for (const Id present : m_present)
        if (isOpposite(plane, m_planes[present].plane)) {
            planeClass.blocker = present;
            return true;
        }
    return false;
}

// What lies in the plane, belongs to the winner's polygon or is thin is gone. No polygon is nobody's.
CN_BSPBuilder::Division CN_BSPBuilder::divide(const Task& task, const CN_BSPNode& node, Id winner) {
    const CN_Polygon* const owner = at(winner).ngon->getSourcePolygon();
    Division division;
    for (const Id id : task.pieces) {
        const Piece& piece = at(id);
        const CN_Ngon& ngon = *piece.ngon;
        if (id == winner || (owner && ngon.getSourcePolygon() == owner) || piece.isLinear || node.contained(&ngon)) {
            division.gone.push_back(id);
        } else if (node.intersects(&ngon)) {
            division.cut.push_back(id);
            cut(ngon, node, division);
        } else {
            (node.isInside(&ngon) ? division.inside : division.outside).push_back(id);
        }
    }
    return division;
}

void CN_BSPBuilder::cut(const CN_Ngon& ngon, const CN_BSPNode& node, Division& division) {
    const Id plane = at(division.cut.back()).plane;
    CN_Ngon inside, outside;
    ngon.split(node.getPlane(), inside, outside);
    if (!inside.linear(SLIVER))
        division.inside.push_back(makePiece(inside, plane));
    if (!outside.linear(SLIVER))
        division.outside.push_back(makePiece(outside, plane));
}

CN_BSPBuilder::Id CN_BSPBuilder::makePiece(const CN_Ngon& ngon, Id plane) {
    if (!m_free.empty()) {
        const Id id = m_free.back();
        m_free.pop_back();
        *at(id).made = ngon;
        at(id) = {at(id).made, at(id).made, plane, false, m_node};
        return id;
    }
    CN_Ngon& made = m_made.emplace_back(ngon);
    m_pieces.push_back({&made, &made, plane, false, m_node});
    return static_cast<Id>(m_pieces.size() - 1);
}

/// The child's counts from those of its parent, where that is less work than to count anew: what it did not get goes, the
/// parts that were cut for it come. `others` is the other child's list.
void CN_BSPBuilder::mendCounts(Task& child, const Division& division, const std::vector<Id>& others) {
    const std::size_t most = mendableDifference(child.pieces.size());
    if (child.pieces.size() <= FEW || division.gone.size() + 2 * division.cut.size() + others.size() > most)
        return;
    std::vector<Id> lost = division.gone, gained;
    lost.insert(lost.end(), division.cut.begin(), division.cut.end());
    std::copy_if(others.begin(), others.end(), std::back_inserter(lost),
                 [this](Id piece) { return at(piece).node != m_node; });
    std::copy_if(child.pieces.begin(), child.pieces.end(), std::back_inserter(gained),
                 [this](Id piece) { return at(piece).node == m_node; });
    child.counts.reserve(child.candidates.size());
    for (const Id candidate : child.candidates) {
        const KnownPlane& known = m_planes[at(candidate).plane];
        CN_SideCounts counts = m_classes[known.planeClass].counts;
        for (const Id piece : lost)
            counts.remove(sideOf(piece, known.plane));
        for (const Id piece : gained)
            counts.add(sideOf(piece, known.plane));
        child.counts.push_back(counts);
    }
}

CN_SideCounts::Side CN_BSPBuilder::sideOf(Id piece, const Plane& plane) const {
    const std::vector<Vector>& corners = at(piece).ngon->getVertices();
    return CN_SideCounts::sideOf(corners.data(), corners.size(), plane.getNormal(),
                                 plane.getPoint().dot(plane.getNormal()));
}

void CN_BSPBuilder::release(const std::vector<Id>& pieces) {
    for (const Id piece : pieces)
        if (at(piece).made)
            m_free.push_back(piece);
}

void CN_BSPBuilder::report(const Task& task) const {
    F_System::verbose("Couldn't find proper BSP split plane; ngons from polys:");
    for (const Id piece : task.pieces) {
        const CN_Ngon& ngon = *at(piece).ngon;
        const CN_Polygon* const polygon = ngon.getSourcePolygon();
        const Vector normal = ngon.getPlane().getNormal();
        F_System::verbose("%d (normal = (%.9lf, %.9lf, %.9lf))",
                          polygon ? static_cast<int>(polygon->getPolygonIndex()) : -1, normal.x, normal.y, normal.z);
    }
}

} // namespace cairn
