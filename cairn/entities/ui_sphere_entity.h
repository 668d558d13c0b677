#pragma once

#include "cairn/entities/level_entity.h"
#include "cairn/imaging/color.h"

namespace cairn {

/// Version of the chunk with a sphere's shared database name and radius.
inline constexpr int CAIRN_LVL_ENTITY_UISPHERE_VERSION = 1;

/// The single precision value 0.05: the radius that level items and state machine entities always have.
inline constexpr double CN_SMALL_SPHERE_RADIUS = 0.05000000074505806;

/// An entity that is shown and picked as a small sphere about its place.
class CN_UISphereEntity : public CN_LevelEntity {
  public:
    void saveEntitySpecificData(F_MemoryFile& file) override;
    /// Throws where the radius is not finite.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    string findRecordFault() const override;
    /// Brings an invisible sphere up to date as well; `force` is only handed on to the children. The bounding box
    /// follows before the children.
    void handleHierarchy(const Vector& parentPosition, const Matrix& parentRotation, bool force) override;
    /// Meets the sphere of the bounding radius; `cull` and the filter play no part.
    bool intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction, bool cull,
                      bool local, CN_RayFilter filter) override;
    void invalidateObject(bool deep) override;

    /// Stores the radius as that of the bounding sphere, too, and renews the bounding box.
    virtual void setRadius(double radius);
    virtual I_Color getColor() = 0;

    double getRadius() const { return m_radius; }
    /// The entity's name in the content database; empty for none.
    const string& getSharedDBName() const { return m_sharedDBName; }
    /// Stores the name. With `check`, a content database and a name that is not empty, the database decides what is
    /// stored: the host may replace a name that it does not know.
    void setSharedDBName(const string& name, bool check);
    /// The box of the radius about the world position, kept within what a record may hold.
    void calculateBoundingBox();

  protected:
    CN_UISphereEntity(int entityId, int imageIndex);
    CN_UISphereEntity(const CN_UISphereEntity&) = default;
    CN_UISphereEntity& operator=(const CN_UISphereEntity&) = default;
    /// Asks the host for a sphere's renderer where the entity has none. The most derived class calls it last when it
    /// was made or assigned as a copy.
    void requestSphereRenderer();

  private:
    double m_radius = 1;   ///< of the sphere that is shown
    string m_sharedDBName; ///< in the content database
};

} // namespace cairn
