#include "cairn/geometry/plane_mover.h"

namespace cairn {

bool CN_Edge::requestPlaneIntersect(const F_DLList<CN_Polygon*>& group, F_DLList<CN_Edge*>& farEdges, double distance,
                                    const Vector& newNormal, double minEdgeLength) {
    bool isApart = true;
    for (const CN_Polygon* const member : group) {
        if (member->edgeIsInPolygon(this))
            return true;
        isApart = isApart && !member->vertexIsInPolygon(&getLocal(0)) && !member->vertexIsInPolygon(&getLocal(1));
    }
    if (isApart) {
        farEdges.add(this);
        return true;
    }
    const CN_Polygon& first = **group.first();
    const M_Plane3Template<double> newPlane(newNormal, first.getPointOnPlane() + first.getReferenceNormal() * distance);
    return CN_findFollowRefusal(getLocal(0), getLocal(1), first.getPlane(), newPlane, minEdgeLength) ==
           CN_PlaneMoveRefusal::NONE;
}

bool CN_Edge::intersectWithPlane(const F_DLList<CN_Polygon*>& group, const Vector& planePoint,
                                 const Vector& planeNormal, F_DLListInit<Vector>& startOut,
                                 F_DLListInit<Vector>& endOut, F_DLListInit<bool>& changedOut) {
    const Vector a = getLocal(0), b = getLocal(1);
    Vector &start = startOut.add(a), &end = endOut.add(b);
    bool& isChanged = changedOut.add(false);
    bool holdsStart = false, holdsEnd = false;
    for (const CN_Polygon* const member : group) {
        if (member->edgeIsInPolygon(this))
            return false;
        holdsStart = holdsStart || member->vertexIsInPolygon(&a);
        holdsEnd = holdsEnd || member->vertexIsInPolygon(&b);
    }
    const M_Plane3Template<double> plane(planeNormal, planePoint);
    if (holdsStart != holdsEnd)
        isChanged = plane.intersectLine(holdsStart ? start : end, holdsStart ? a : b, b - a);
    return isChanged;
}

} // namespace cairn
