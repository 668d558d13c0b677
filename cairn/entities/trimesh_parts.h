#pragma once

#include "cairn/math/vector2.h"
#include "cairn/math/vector3.h"

#include <utility>

namespace cairn {

class CN_LevelEntityTriMesh;
class CN_Material;
class F_MemoryFile;

/// Versions of the chunks that hold a vertex and a triangle of a triangle mesh.
inline constexpr int CAIRN_TMVERTEX_VERSION = 1;
inline constexpr int CAIRN_TMTRIANGLE_VERSION = 2;

/// A vertex of a triangle mesh, in the entity's own space.
struct CN_TMVertex {
    CN_TMVertex() = default;
    CN_TMVertex(const CN_TMVertex&) = default;
    CN_TMVertex& operator=(const CN_TMVertex&) = default;
    virtual ~CN_TMVertex() = default;

    void save(F_MemoryFile& file) const;
    /// Throws where a place is not finite.
    void load(F_MemoryFile& file);
    /// True if both places can be stored.
    bool isFinite() const { return position.isFinite() && secondPosition.isFinite(); }

    M_Vector3Template<double> position;
    M_Vector3Template<double> secondPosition; ///< of the tool that made the mesh; moves with it
    unsigned char color[4] = {0, 0, 0, 255};  ///< red, green, blue, alpha; the last one is not stored
    M_Vector2Template<double> uv;             ///< of the tool that made the mesh
};

/// A triangle of a triangle mesh: three places in its vertex list and a material. Any number may stand for a place: what
/// asks for the corners of one that is beyond the list gets nothing.
class CN_TMTriangle {
  public:
    using Vector = M_Vector3Template<double>;

    CN_TMTriangle() = default;
    /// A copy belongs to the same mesh; the material's use is not counted.
    CN_TMTriangle(const CN_TMTriangle&) = default;
    CN_TMTriangle& operator=(const CN_TMTriangle&) = default;
    /// The material's use count is `CN_LevelEntityTriMesh::updateMaterialRefCounts`'s.
    virtual ~CN_TMTriangle() = default;

    /// @name Record
    /// @{
    void save(F_MemoryFile& file) const;
    /// Takes the material from the document of the parent, which must be set: its default one where it lacks it. False
    /// where the record names a material that it lacks.
    bool load(F_MemoryFile& file);
    /// @}

    int getVertex(int corner) const { return m_vertices[corner]; }
    void setVertex(int corner, int index) { m_vertices[corner] = index; }
    const M_Vector2Template<float>& getCornerUV(int corner) const { return m_cornerUV[corner]; }
    void setCornerUV(int corner, const M_Vector2Template<float>& uv) { m_cornerUV[corner] = uv; }
    CN_Material* getMaterial() const { return m_material; }
    /// Takes the material, which may be null, and counts its use instead of the old one's.
    void setMaterial(CN_Material* material);
    /// A number of the tool that made the mesh.
    int getExtraValue() const { return m_extraValue; }
    void setExtraValue(int value) { m_extraValue = value; }
    CN_LevelEntityTriMesh* getParent() const { return m_parent; }
    void setParent(CN_LevelEntityTriMesh* parent) { m_parent = parent; }

    /// The places of the three corners in the mesh's own space. False, and the corners stay, without a parent or where an
    /// index is beyond its vertices.
    bool getCorners(Vector (&corners)[3]) const;
    /// The mean of the corners, in world space; it stays where there are no corners.
    void getCenter(Vector& center) const;
    /// (B - A) x (C - A) in the mesh's own space, not of length 1; it stays where there are no corners.
    void getNormal(Vector& normal) const;
    /// The two corners of the edge that `point`, in world space, is nearest to among those with the foot of the point
    /// between their ends; -1, -1 where there is none.
    std::pair<int, int> getClosestEdge(const Vector& point) const;

  private:
    int m_vertices[3] = {0, 0, 0};             ///< places in the mesh's vertex list, as they were given
    M_Vector2Template<float> m_cornerUV[3];    ///< per corner
    CN_Material* m_material = nullptr;         ///< counted: by use, not owned
    int m_extraValue = 0;                      ///< kept and stored
    CN_LevelEntityTriMesh* m_parent = nullptr; ///< not owned
};

} // namespace cairn
