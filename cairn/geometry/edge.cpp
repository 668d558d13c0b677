#include "cairn/geometry/edge.h"

#include "cairn/foundation/exception.h"
#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

const CN_Vertex& CN_Edge::getVertex(int i) const {
    const CN_Mesh* const mesh = m_parent ? m_parent->getParent() : nullptr;
    if (!mesh)
        throw new F_Exception("An edge of no mesh has no corners");
    return mesh->getVertexList()[m_index[i]];
}

const CN_Edge::Vector& CN_Edge::getLocal(int i) const { return getVertex(i).local; }

const CN_Edge::Vector& CN_Edge::getWorld(int i) const { return getVertex(i).world; }

CN_Edge::Vector CN_Edge::dir() const { return getLocal(1) - getLocal(0); }

CN_Edge::Vector CN_Edge::dirWorld() const { return getWorld(1) - getWorld(0); }

int CN_Edge::findSelectedVertex(const Vector& point) const {
    return (getWorld(1) - point).lengthSquared() < (getWorld(0) - point).lengthSquared() ? 1 : 0;
}

} // namespace cairn
