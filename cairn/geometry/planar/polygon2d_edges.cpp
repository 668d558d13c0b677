#include "cairn/geometry/planar/polygon2d.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace cairn {

namespace {

/// How far a walk turns to the left from one direction to another, in radians; the way straight back counts as the farthest.
double turnLeft(const CN_2DEdge::Point& from, const CN_2DEdge::Point& to) {
    constexpr double STRAIGHT_BACK = std::numbers::pi - 1e-9;
    const double turn = std::atan2(from.cross(to), from.dot(to));
    return std::fabs(turn) < STRAIGHT_BACK ? turn : std::numbers::pi;
}

} // namespace

CN_2DEdge* CN_2DPolygon::addEdge(int a, int b, const CN_2DEdge* edge) {
    CN_2DEdge made;
    if (edge)
        made = *edge;
    made.set(a, b, this, edge ? edge->getLassoID() : -1);
    CN_2DEdge* const added = &m_edges.add(made);
    ++m_numEdges;
    if (m_linksMade)
        m_links[static_cast<std::size_t>(a)].push_back({b, added, true});
    return added;
}

void CN_2DPolygon::removeEdge(CN_2DEdge* edge) {
    Links& links = requireLinks()[static_cast<std::size_t>(edge->index(0))];
    auto it =
        std::find_if(links.begin(), links.end(), [&](const Link& link) { return link.counted && link.edge == edge; });
    if (it == links.end()) // its connection was cleared
        it = std::find_if(links.begin(), links.end(),
                          [&](const Link& link) { return link.counted && !link.edge && link.to == edge->index(1); });
    if (it != links.end())
        links.erase(it);
    for (Link& link : links)
        if (link.edge == edge)
            link.edge = nullptr;
    m_edges.remove(edge);
    --m_numEdges;
}

std::vector<CN_2DPolygon::Links>& CN_2DPolygon::requireLinks() const {
    if (!m_linksMade) {
        m_links.assign(m_vertices.size(), {});
        for (const CN_2DEdge& edge : m_edges)
            m_links[static_cast<std::size_t>(edge.index(0))].push_back(
                {edge.index(1), const_cast<CN_2DEdge*>(&edge), true});
        m_linksMade = true;
    }
    return m_links;
}

int CN_2DPolygon::edgeRef(int from, int to) const {
    const Links& links = linksFrom(from);
    return static_cast<int>(
        std::count_if(links.begin(), links.end(), [to](const Link& link) { return link.counted && link.to == to; }));
}

CN_2DEdge* CN_2DPolygon::edge(int from, int to) const {
    const Links& links = linksFrom(from);
    const auto it = std::find_if(links.rbegin(), links.rend(), [to](const Link& link) { return link.to == to; });
    return it == links.rend() ? nullptr : it->edge;
}

void CN_2DPolygon::connect(int from, int to, CN_2DEdge* edge) {
    Links& links = requireLinks().at(static_cast<std::size_t>(from));
    const auto it = std::find_if(links.rbegin(), links.rend(), [to](const Link& link) { return link.to == to; });
    if (it != links.rend())
        it->edge = edge;
    else
        links.push_back({to, edge, false});
}

void CN_2DPolygon::referenceVertices() {
    m_degrees.assign(m_vertices.size(), 0);
    for (const CN_2DEdge& edge : m_edges) {
        ++m_degrees[static_cast<std::size_t>(edge.index(0))];
        ++m_degrees[static_cast<std::size_t>(edge.index(1))];
    }
}

CN_2DEdge* CN_2DPolygon::findSuccessor(const CN_2DEdge* edge, const CN_2DEdge* previous) {
    CN_2DEdge* best = nullptr;
    bool bestIsOwn = false;
    double bestTurn = 0;
    for (const Link& link : linksFrom(edge->index(1))) {
        if (!link.edge || link.edge->getUsed() || link.edge == previous)
            continue;
        const bool own = link.edge->getLassoID() == edge->getLassoID();
        const double turn = turnLeft(edge->getUnitDirection(), link.edge->getUnitDirection());
        if (best && (bestIsOwn != own ? bestIsOwn : bestTurn <= turn))
            continue;
        best = link.edge;
        bestIsOwn = own;
        bestTurn = turn;
    }
    return best;
}

bool CN_2DPolygon::intersects(int a, int b) const {
    if (connected(a, b))
        return false;
    CN_2DEdge trial;
    trial.set(a, b, const_cast<CN_2DPolygon*>(this), -1);
    return std::any_of(m_edges.begin(), m_edges.end(), [&](const CN_2DEdge& edge) { return edge.intersects(trial); });
}

int CN_2DPolygon::checkSimplicity(int closing) const {
    for (const CN_2DEdge* edge = m_edges.first(); edge; edge = m_edges.next(edge))
        for (const CN_2DEdge* other = m_edges.next(edge); other; other = m_edges.next(other))
            if (edge->intersects(*other))
                return 0;
    if (!closing || m_edges.empty() || m_edges.last()->index(1) == m_edges.first()->index(0))
        return 1;
    CN_2DEdge trial;
    trial.set(m_edges.last()->index(1), m_edges.first()->index(0), const_cast<CN_2DPolygon*>(this), -1);
    return std::none_of(m_edges.begin(), m_edges.end(), [&](const CN_2DEdge& edge) { return edge.intersects(trial); })
               ? 1
               : 0;
}

int CN_2DPolygon::checkIncompleteSimplicity(const Vector& point) const {
    if (m_edges.empty())
        return 1;
    const Point from = m_edges.first()->point(0), to = m_space.toUV(point);
    for (const CN_2DEdge* edge = m_edges.next(m_edges.first()); edge; edge = m_edges.next(edge))
        if (edge->intervalIntersects(from, to))
            return 0;
    return 1;
}

} // namespace cairn
