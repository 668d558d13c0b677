#include "cairn/geometry/welding.h"

#include "cairn/geometry/plane_line.h"
#include "cairn/math/matrix3.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>

namespace cairn {

std::map<CN_Vertex*, std::vector<int>> weldGroups;
std::map<CN_Polygon*, CN_Polygon*> polygonReplacements;
unsigned int maxWeldGroupSize = 0;

namespace {

using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;

constexpr double GRID = 0.0125;

/// The plane with a normal made unit; a weld's mean normals are none.
Plane unit(const Plane& plane) { return {plane.getNormal().normalized(), plane.getPoint()}; }

void goOntoLine(const Plane& a, const Plane& b, Vector& position) {
    CN_Line line;
    if (CN_findPlaneLine(unit(a), unit(b), line))
        position = line.point + line.direction * (position - line.point).dot(line.direction);
}

/// The point in which the planes meet. False where they are too nearly along one line, and where it is not finite.
bool findCommonPoint(const Plane& a, const Plane& b, const Plane& c, Vector& point) {
    constexpr double LEAST_DETERMINANT = 0.01;
    const Vector bc = b.getNormal().cross(c.getNormal()), ca = c.getNormal().cross(a.getNormal()),
                 ab = a.getNormal().cross(b.getNormal());
    const double determinant = a.getNormal().dot(bc);
    if (!(std::abs(determinant) > LEAST_DETERMINANT))
        return false;
    const auto height = [](const Plane& plane) { return plane.getNormal().dot(plane.getPoint()); };
    const Vector common = (bc * height(a) + ca * height(b) + ab * height(c)) / determinant;
    if (!common.isFinite())
        return false;
    point = common;
    return true;
}

void goToMeanOfTriples(const std::vector<Plane>& planes, Vector& position) {
    Vector sum, point;
    double triples = 0;
    for (std::size_t i = 0; i < planes.size(); ++i)
        for (std::size_t j = i + 1; j < planes.size(); ++j)
            for (std::size_t k = j + 1; k < planes.size(); ++k)
                if (findCommonPoint(planes[i], planes[j], planes[k], point)) {
                    sum += point;
                    ++triples;
                }
    if (triples > 0)
        position = sum / triples;
}

bool isAlongAxis(const Plane& plane) {
    constexpr double ALONG_AXIS = 0.9999;
    return maxAbsComponent(plane.getNormal()) > ALONG_AXIS;
}

} // namespace

void fitToPlanes(const std::vector<Plane>& planes, Vector& position) {
    constexpr double NEAR_GRID = 0.0001, NEAR_GRID_OF_AXES = 0.001;
    switch (planes.size()) {
    case 0:
        return;
    case 1: {
        const Plane plane = unit(planes[0]);
        position -= plane.getNormal() * plane.distance(position);
        return;
    }
    case 2:
        goOntoLine(planes[0], planes[1], position);
        return;
    case 3:
        findCommonPoint(planes[0], planes[1], planes[2], position);
        snapVector(position, GRID,
                   std::all_of(planes.begin(), planes.end(), isAlongAxis) ? NEAR_GRID_OF_AXES : NEAR_GRID);
        return;
    default:
        goToMeanOfTriples(planes, position);
        snapVector(position, GRID, NEAR_GRID);
    }
}

} // namespace cairn
