#pragma once

#include "cairn/entities/level_entity.h"

namespace cairn {

/// Version of the chunk with size and resolution.
inline constexpr int CAIRN_LVL_ENTITY_VOLLIGHTINGBOX_VERSION = 1;

/// A box in which the light of a room is sampled. It is centred on the entity and turns with it.
class CN_LevelEntityVolLightingBox : public CN_LevelEntity {
  public:
    CN_LevelEntityVolLightingBox();
    CN_LevelEntityVolLightingBox(const CN_LevelEntityVolLightingBox& other);
    CN_LevelEntityVolLightingBox& operator=(const CN_LevelEntityVolLightingBox& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    /// Throws where the size is not finite.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    string findRecordFault() const override;
    /// Meets the turned box; a ray from inside hits where it leaves. The flags and the filter play no part, and
    /// `origin` is always in the world. A box whose place is not finite or whose rotation has a row of no length is never
    /// met. The slab method of T. Kay and J. Kajiya, 1986.
    bool intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction, bool cull,
                      bool local, CN_RayFilter filter) override;

    /// The whole length of the box along each of its axes.
    const Vector& getSize() const { return m_size; }
    /// The bounding box stays until `calculateBoundingBox`.
    void setSize(const Vector& size) { m_size = size; }
    int getResolution() const { return m_resolution; }
    void setResolution(int resolution) { m_resolution = resolution; }
    /// True for a point of the world inside the box; one on a face is outside.
    bool inside(const Vector& point) const;
    /// The box of the eight corners in the world, kept within what a record may hold.
    void calculateBoundingBox();

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();

    Vector m_size{5, 5, 5}; ///< whole lengths
    int m_resolution = 1;   ///< of the samples
};

} // namespace cairn
