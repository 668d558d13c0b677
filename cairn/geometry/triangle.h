#pragma once

#include "cairn/math/vector2.h"
#include "cairn/math/vector3.h"

#include <vector>

namespace cairn {

class CN_Polygon;

/// A piece of a polygon's triangulation: a triangle, or a convex fan of more corners.
class CN_Triangle {
  public:
    using Vector = M_Vector3Template<double>;
    using Coordinates = std::vector<M_Vector2Template<float>>;

    CN_Polygon* getParent() const { return m_parent; }
    void setParent(CN_Polygon* parent) { m_parent = parent; }
    /// The corners in order round the piece, as places in the mesh's vertex list.
    const std::vector<int>& getVertices() const { return m_vertices; }
    std::vector<int>& accessVertices() { return m_vertices; }
    /// Coordinates of the base texture, the lightmap and the detail texture: one for each corner, or none.
    const Coordinates& getUV() const { return m_uv; }
    Coordinates& accessUV() { return m_uv; }
    const Coordinates& getLightmapUV() const { return m_lightmapUV; }
    Coordinates& accessLightmapUV() { return m_lightmapUV; }
    const Coordinates& getDetailUV() const { return m_detailUV; }
    Coordinates& accessDetailUV() { return m_detailUV; }

    /// The parent's normal in the world: a piece has none of its own.
    const Vector& getNormal() const;
    /// The place of corner `i` in the world. Throws for a corner that is not there.
    const Vector& getVertex(int i) const;
    /// The same in the mesh's space.
    const Vector& getVertexLocal(int i) const;
    /// The corner that stands on the mesh's vertex `index`, or -1.
    int hasVertex(int index) const;
    /// Turns the piece round: corners, texture and lightmap coordinates in reverse.
    void flip();
    /// True if an edge of this piece, from its corner `a` to its corner `b`, is one of the other from end to start.
    bool sharesEdge(const CN_Triangle& other, int* a, int* b) const;
    /// The sum of the areas of the triangles from the first corner, in the mesh's space; right for a convex piece.
    double area() const;
    /// True if the pieces share an edge and no corner of the other lies beyond the line of another edge of this one, in the
    /// parent's plane and without tolerance. The other's edges are not asked.
    bool formsConvexRegion(const CN_Triangle& other) const;
    /// Clips a stretch of the mesh's space to the piece: true if more than 1e-5 of it, seen along the normal, lies in the piece
    /// or within `thickness` of it; `outStart` and `outEnd` are then the ends of that part, on the parent's plane. A stretch
    /// without length is clipped to itself and is inside if the parent's area holds it (`CN_Polygon::pointInPoly`). The
    /// outputs stay where the answer is false, but for such a stretch; so it is for a parent without a normal. Throws
    /// `M_PlanarSpace3Exception_Singular` where texture space 0 gives no plane.
    bool intersectEdge(Vector& outStart, Vector& outEnd, const Vector& start, const Vector& end,
                       double thickness) const;
    /// Becomes the outline of both, which share an edge, with the parent of `a`. Texture and lightmap coordinates are zero.
    /// Where all corners of `a` are in `b` the document is told and the walk begins at the last one.
    void unify(const CN_Triangle& a, const CN_Triangle& b);

  private:
    std::vector<int> m_vertices;    ///< places in the mesh's vertex list
    Coordinates m_uv;               ///< a corner each
    Coordinates m_lightmapUV;       ///< a corner each
    Coordinates m_detailUV;         ///< a corner each; empty but for a material with a detail texture
    CN_Polygon* m_parent = nullptr; ///< not owned
};

} // namespace cairn
