#pragma once

namespace cairn {

class CN_LevelEntity;
class CN_LevelEntityRadiosityLight;
class CN_Mesh;

/// A polygon of a mesh.
class CN_Polygon {
  public:
    explicit CN_Polygon(CN_Mesh* parent) : m_parent(parent) {}
    /// A copy is of the same mesh and has no entity attached and no number.
    CN_Polygon(const CN_Polygon& other) : m_parent(other.m_parent) {}
    CN_Polygon& operator=(const CN_Polygon&) = delete;

    CN_Mesh* getParent() const { return m_parent; }
    /// For the mesh, which takes over the polygons of a copy.
    void setParent(CN_Mesh* parent) { m_parent = parent; }
    /// The portal or radiosity light that stands for this polygon, or null.
    CN_LevelEntity* getAttachedEntity() const { return m_attachedEntity; }
    void setAttachedEntity(CN_LevelEntity* entity) { m_attachedEntity = entity; }
    /// True if a radiosity light stands on this polygon.
    bool isLight() const { return getRadiosityLight() != nullptr; }
    /// That light, or null. An attached entity that is no longer alive counts as none.
    CN_LevelEntityRadiosityLight* getRadiosityLight() const;
    /// The number that `CN_PolygonValidator::enumeratePolygons` gave it; -1 before.
    int getPolygonIndex() const { return m_polygonIndex; }
    void setPolygonIndex(int index) { m_polygonIndex = index; }

  private:
    CN_Mesh* m_parent;                          ///< not owned: the mesh it is of
    CN_LevelEntity* m_attachedEntity = nullptr; ///< not owned: a child of the mesh
    int m_polygonIndex = -1;                    ///< in the whole level, in the save under way
};

} // namespace cairn
