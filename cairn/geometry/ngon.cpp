#include "cairn/geometry/ngon.h"

#include "cairn/foundation/system.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cairn {

namespace {

using Vector = CN_Ngon::Vector;
using Plane = CN_Ngon::Plane;

constexpr double IN_PLANE = 0.001;  // corners nearer than this lie in a plane
constexpr double NO_LENGTH = 1e-12; // edges shorter than this have no direction
constexpr double NO_AREA = 1e-12;   // pieces smaller than this are lines
constexpr double BEYOND = -0.0001;  // a corner this far beyond a line still counts as on it
constexpr double LARGEST = std::numeric_limits<double>::max();

std::size_t placeOf(int i) { return static_cast<std::size_t>(i); }

/// The distance of a point from the line through `a` along a unit vector.
double distanceFromLine(const Vector& point, const Vector& a, const Vector& unit) {
    return (point - a).cross(unit).length();
}

/// Appends a corner unless it is the one that was given last.
void append(std::vector<Vector>& corners, const Vector& corner) {
    if (corners.empty() || !(corners.back() == corner))
        corners.push_back(corner);
}

} // namespace

void CN_Ngon::construct(const CN_Triangle* triangle, int local) {
    CN_Polygon* const polygon = triangle->getParent();
    const int corners = static_cast<int>(triangle->getVertices().size());
    std::vector<Vector> vertices;
    vertices.reserve(placeOf(corners));
    for (int i = 0; i < corners; ++i)
        vertices.push_back(local ? triangle->getVertexLocal(i) : triangle->getVertex(i));
    if (local) {
        m_plane = polygon->getPlane();
    } else {
        m_plane.setNormal(triangle->getNormal());
        m_plane.setPoint(polygon->getParent()->worldTransform(polygon->getPointOnPlane()));
    }
    m_vertices = std::move(vertices);
    m_local = local != 0;
    m_sourcePolygon = polygon;
}

void CN_Ngon::copy(const CN_Ngon* other) {
    if (other != this)
        m_vertices = other->m_vertices;
    m_plane = other->m_plane;
    m_edgeCursor = 0;
    m_sourcePolygon = other->m_sourcePolygon;
    m_convexFlag = other->m_convexFlag;
    m_local = other->m_local;
    m_classification = other->m_classification;
    m_forcedClassification = other->m_forcedClassification;
}

int CN_Ngon::hasVertex(const Vector& point) const {
    const auto it = std::find(m_vertices.begin(), m_vertices.end(), point);
    return it == m_vertices.end() ? -1 : static_cast<int>(it - m_vertices.begin());
}

void CN_Ngon::firstEdge(Vector& a, Vector& b) {
    a = m_vertices.at(0);
    b = m_vertices.at(1);
    m_edgeCursor = 1;
}

int CN_Ngon::edge(Vector& a, Vector& b) {
    if (m_edgeCursor < 0 || m_edgeCursor >= size())
        return 0;
    const bool closing = m_edgeCursor + 1 == size();
    a = b;
    b = m_vertices[closing ? 0 : placeOf(m_edgeCursor + 1)];
    m_edgeCursor = closing ? -1 : m_edgeCursor + 1;
    return 1;
}

double CN_Ngon::area() const {
    double sum = 0;
    for (std::size_t i = 2; i < m_vertices.size(); ++i)
        sum += (m_vertices[i - 1] - m_vertices[0]).cross(m_vertices[i] - m_vertices[0]).length();
    return sum / 2;
}

void CN_Ngon::flip() {
    m_plane.setNormal(-m_plane.getNormal());
    std::reverse(m_vertices.begin(), m_vertices.end());
    m_edgeCursor = 0;
}

int CN_Ngon::degenerate() const {
    const std::size_t n = m_vertices.size();
    Vector first;
    for (std::size_t i = 0; i < n; ++i) {
        const Vector direction = m_vertices[(i + 1) % n] - m_vertices[i];
        if (direction.length() == 0) // of a corner that is there twice
            continue;
        if (first.length() == 0)
            first = direction;
        const auto cosine = static_cast<float>(first.dot(direction) / (first.length() * direction.length()));
        // Written so that a cosine which is no number ends here, too.
        if (!(snapToGrid(std::fabs(static_cast<double>(cosine)), 1e-5) == 1.0))
            return 0;
    }
    return 1;
}

int CN_Ngon::linear(double tolerance) const {
    const std::size_t n = m_vertices.size();
    if (n < 3 || area() < NO_AREA)
        return 1;
    for (std::size_t i = 0; i < n; ++i) {
        const Vector direction = m_vertices[(i + 1) % n] - m_vertices[i];
        if (direction.length() == 0)
            continue;
        double farthest = 0;
        for (const Vector& corner : m_vertices)
            farthest = std::max(farthest, distanceFromLine(corner, m_vertices[i], direction.normalized()));
        if (farthest < tolerance)
            return 1;
    }
    return 0;
}

double CN_Ngon::aspectRatio() const {
    double smallest = LARGEST, largest = 0;
    const std::size_t n = m_vertices.size();
    for (std::size_t i = 0; i < n; ++i) {
        const Vector direction = m_vertices[(i + 1) % n] - m_vertices[i];
        if (!(direction.length() >= NO_LENGTH))
            continue;
        const Plane across(m_plane.getNormal().cross(direction).normalized(), m_vertices[i]);
        double height = 0;
        for (const Vector& corner : m_vertices)
            height = std::max(height, std::fabs(across.distance(corner)));
        smallest = std::min(smallest, height);
        largest = std::max(largest, height);
    }
    return largest > 0 ? smallest / largest : 0;
}

bool CN_Ngon::intersects(const Plane& plane, const Vector& a, const Vector& b) {
    const double da = snapToGrid(plane.distance(a), IN_PLANE), db = snapToGrid(plane.distance(b), IN_PLANE);
    return !((da > 0 && db > 0) || (da < 0 && db < 0));
}

bool CN_Ngon::isInside(const Plane& plane, const Vector& a, const Vector& b) {
    return snapToGrid(plane.distance(a), IN_PLANE) >= 0 && snapToGrid(plane.distance(b), IN_PLANE) >= 0;
}

int CN_Ngon::isInside(const Plane& plane) const {
    return std::all_of(m_vertices.begin(), m_vertices.end(),
                       [&](const Vector& corner) { return plane.distance(corner) > -IN_PLANE; })
               ? 1
               : 0;
}

int CN_Ngon::contained(const Plane& plane) const {
    return std::all_of(m_vertices.begin(), m_vertices.end(),
                       [&](const Vector& corner) { return std::fabs(plane.distance(corner)) < IN_PLANE; })
               ? 1
               : 0;
}

void CN_Ngon::calcMinMax(const Plane& plane, double& min, double& max, bool full, const Vector& offset) const {
    min = LARGEST;
    max = -LARGEST;
    for (const Vector& corner : m_vertices) {
        const double distance = plane.distance(corner + offset);
        min = std::min(min, distance);
        max = std::max(max, distance);
        if (!full && min < 0 && max > 0)
            return;
    }
}

// Side of an edge's ends      start goes to   cut point
//   front, front              inside          none
//   behind, behind            outside         none
//   front, behind             inside          to both
//   behind, front             outside         to both
// In the plane is in front.
void CN_Ngon::split(const Plane& plane, CN_Ngon& inside, CN_Ngon& outside) const {
    std::vector<Vector> in, out;
    const std::size_t n = m_vertices.size();
    double d0 = n > 0 ? plane.distance(m_vertices[0]) : 0;
    for (std::size_t i = 0; i < n; ++i) {
        const Vector &start = m_vertices[i], &end = m_vertices[(i + 1) % n];
        const double d1 = static_cast<double>(static_cast<float>(plane.distance(end)));
        append(d0 >= 0 ? in : out, start);
        if ((d0 >= 0) != (d1 >= 0)) {
            const double share = d0 >= 0 ? d0 / (d0 - d1) : -d0 / (d1 - d0);
            const double t = static_cast<double>(static_cast<float>(std::clamp(share, 0.0, 1.0)));
            // The corner itself at the ends, where the sum below might miss it by a bit.
            const Vector cut = t == 1 ? end : start + (end - start) * t;
            append(in, cut);
            append(out, cut);
        }
        d0 = d1;
    }
    CN_Ngon piece;
    piece.m_plane = m_plane;
    piece.m_sourcePolygon = m_sourcePolygon;
    piece.m_forcedClassification = m_forcedClassification;
    piece.m_local = m_local;
    inside = piece;
    inside.m_vertices = std::move(in);
    outside = piece;
    outside.m_vertices = std::move(out);
}

bool CN_Ngon::sharesEdge(const CN_Ngon& other, Vector* a, Vector* b) const {
    const std::vector<Vector>& theirs = other.m_vertices;
    for (std::size_t i = 0; i < m_vertices.size(); ++i) {
        const Vector &start = m_vertices[i], &end = m_vertices[(i + 1) % m_vertices.size()];
        for (std::size_t j = 0; j < theirs.size(); ++j) {
            if (!(theirs[j] == end && theirs[(j + 1) % theirs.size()] == start))
                continue;
            if (a)
                *a = start;
            if (b)
                *b = end;
            return true;
        }
    }
    return false;
}

bool CN_Ngon::formsConvexRegion(const CN_Ngon& other) const {
    Vector sharedStart, sharedEnd;
    if (!m_sourcePolygon || !sharesEdge(other, &sharedStart, &sharedEnd))
        return false;
    const M_PlanarSpace3Template<double> space = m_sourcePolygon->getSpace();
    for (std::size_t i = 0; i < m_vertices.size(); ++i) {
        const Vector &start = m_vertices[i], &end = m_vertices[(i + 1) % m_vertices.size()];
        if (start == sharedStart && end == sharedEnd)
            continue;
        const M_Vector2Template<double> from = space.toUV(start), direction = space.toUV(end) - from;
        const double length = direction.length();
        if (length == 0)
            continue;
        for (const Vector& corner : other.m_vertices)
            if (!((space.toUV(corner) - from).cross(direction) / length >= BEYOND))
                return false;
    }
    return true;
}

void CN_Ngon::unify(const CN_Ngon& a, const CN_Ngon& b) {
    const std::size_t most = a.m_vertices.size() + b.m_vertices.size();
    std::vector<Vector> outline;
    const auto own = std::find_if(a.m_vertices.begin(), a.m_vertices.end(),
                                  [&](const Vector& corner) { return b.hasVertex(corner) < 0; });
    if (own != a.m_vertices.end()) {
        const CN_Ngon *walked = &a, *other = &b;
        std::size_t place = static_cast<std::size_t>(own - a.m_vertices.begin());
        do {
            const Vector& corner = walked->m_vertices[place];
            outline.push_back(corner);
            if (const int shared = other->hasVertex(corner); shared >= 0) {
                std::swap(walked, other);
                place = placeOf(shared);
            }
            place = (place + 1) % walked->m_vertices.size();
        } while (!(walked->m_vertices[place] == outline.front()) && outline.size() <= most);
    }
    const bool closed = !outline.empty() && outline.size() <= most;
    const bool local = a.m_local;
    CN_Polygon* const source = a.m_sourcePolygon;
    std::vector<Vector> corners = closed ? std::move(outline) : a.m_vertices;
    m_vertices = std::move(corners);
    m_edgeCursor = 0;
    m_local = local;
    m_sourcePolygon = source;
}

void CN_Ngon::dump() const {
    const int number = m_sourcePolygon ? static_cast<int>(m_sourcePolygon->getPolygonIndex()) : -1;
    const CN_Mesh* const mesh = m_sourcePolygon ? m_sourcePolygon->getParent() : nullptr;
    F_System::verbose("CN_Ngon dump, from poly %d, index %d", number,
                      mesh ? mesh->findPolygonIndex(m_sourcePolygon) : -1);
    for (const Vector& corner : m_vertices)
        F_System::verbose("%.8lf, %.8lf, %.8lf\n", corner.x, corner.y, corner.z);
}

} // namespace cairn
