#pragma once

#include "cairn/entities/virtual_node.h"
#include "cairn/imaging/color.h"

namespace cairn {

/// Version of the chunk with the light's settings and polygon index.
inline constexpr int CAIRN_LVL_ENTITY_RADIOSITYLIGHT_VERSION = 1;

/// The settings of a light that a polygon gives off.
class CN_RLightProperties {
  public:
    CN_RLightProperties() = default;
    CN_RLightProperties(const CN_RLightProperties&) = default;
    CN_RLightProperties& operator=(const CN_RLightProperties&) = default;
    virtual ~CN_RLightProperties() = default;
    bool operator==(const CN_RLightProperties& other) const {
        return color == other.color && intensity == other.intensity && hotspotAngle == other.hotspotAngle &&
               falloffAngle == other.falloffAngle;
    }

    /// Sets all to the defaults but the colour's alpha, which stays.
    void initialize();

    I_Color color{255, 255, 255, 255}; ///< of the light
    float intensity = 100;             ///< of the light
    float hotspotAngle = 180;          ///< degrees: full light within
    float falloffAngle = 180;          ///< degrees: no light beyond
};

/// Makes one polygon of its parent mesh a light.
class CN_LevelEntityRadiosityLight : public CN_PolygonNode {
  public:
    CN_LevelEntityRadiosityLight();
    CN_LevelEntityRadiosityLight(const CN_LevelEntityRadiosityLight& other);
    CN_LevelEntityRadiosityLight& operator=(const CN_LevelEntityRadiosityLight& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    /// Throws where the light is not storable.
    void saveEntitySpecificData(F_MemoryFile& file) override;

    const CN_RLightProperties& getRLightProperties() const { return m_properties; }
    void setRLightProperties(const CN_RLightProperties& properties) { m_properties = properties; }
    I_Color getColor() const { return m_properties.color; }
    void setColor(I_Color color) { m_properties.color = color; }
    float getIntensity() const { return m_properties.intensity; }
    void setIntensity(float intensity) { m_properties.intensity = intensity; }
    float getHotspotAngle() const { return m_properties.hotspotAngle; }
    void setHotspotAngle(float degrees) { m_properties.hotspotAngle = degrees; }
    float getFalloffAngle() const { return m_properties.falloffAngle; }
    void setFalloffAngle(float degrees) { m_properties.falloffAngle = degrees; }
    CN_Polygon* getRadiosityPolygon() const { return getPolygon(); }
    /// Stores the polygon, which may be null, and makes this its light.
    void setRadiosityPolygon(CN_Polygon* polygon) { setPolygon(polygon); }

    /// Settings that a host may change and use as a template; the library takes nothing from them.
    static CN_RLightProperties& getDefaultRLightProperties() { return m_sRDefaultLightProperties; }
    static CN_RLightProperties m_sRDefaultLightProperties;

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();

    CN_RLightProperties m_properties; ///< of the light
};

} // namespace cairn
