#pragma once

#include "cairn/entities/ui_sphere_entity.h"

namespace cairn {

/// Version of the chunk with the light's settings, behind the sphere's record.
inline constexpr int CAIRN_LVL_ENTITY_DYNPOINTLIGHT_VERSION = 1;

/// The settings of a dynamic point light.
class CN_DynPointlightProperties {
  public:
    CN_DynPointlightProperties() = default;
    CN_DynPointlightProperties(const CN_DynPointlightProperties&) = default;
    CN_DynPointlightProperties& operator=(const CN_DynPointlightProperties&) = default;
    virtual ~CN_DynPointlightProperties() = default;
    bool operator==(const CN_DynPointlightProperties& other) const {
        return color == other.color && intensity == other.intensity && falloff == other.falloff;
    }

    /// Sets all to the defaults.
    void initialize() { *this = CN_DynPointlightProperties(); }

    I_FColor color{255, 255, 255, 255}; ///< light may go beyond 255
    float intensity = 1;                ///< factor on the colour
    float falloff = 10;                 ///< distance at which the light ends
};

/// A light that the game computes as it runs.
class CN_LevelEntityDynPointlight : public CN_UISphereEntity {
  public:
    CN_LevelEntityDynPointlight();
    CN_LevelEntityDynPointlight(const CN_LevelEntityDynPointlight& other);
    CN_LevelEntityDynPointlight& operator=(const CN_LevelEntityDynPointlight& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;

    const CN_DynPointlightProperties& getDynLightProperties() const { return m_properties; }
    void setDynLightProperties(const CN_DynPointlightProperties& properties) { m_properties = properties; }
    /// The light's colour in bytes: each channel clamped, then truncated.
    I_Color getColor() override;
    void setColor(I_Color color) { m_properties.color = I_FColor(color); }
    /// Has no effect: which colour a light takes from the meshes around it is not settled.
    void getColorFromSurroundings() {}
    float getIntensity() const { return m_properties.intensity; }
    void setIntensity(float intensity) { m_properties.intensity = intensity; }
    float getFalloff() const { return m_properties.falloff; }
    void setFalloff(float falloff) { m_properties.falloff = falloff; }

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();
    void requestRenderer();

    CN_DynPointlightProperties m_properties; ///< of the light
};

} // namespace cairn
