#pragma once

#include "cairn/entities/virtual_node.h"

#include <list>
#include <set>

namespace cairn {

/// Version of the chunk with the group's members and settings.
inline constexpr int CAIRN_LVL_ENTITY_POLYGROUP_VERSION = 2;

/// How the polygons of a group are smoothed and lit.
class CN_PolygroupProperties {
  public:
    CN_PolygroupProperties() = default;
    CN_PolygroupProperties(const CN_PolygroupProperties&) = default;
    CN_PolygroupProperties& operator=(const CN_PolygroupProperties&) = default;
    virtual ~CN_PolygroupProperties() = default;
    bool operator==(const CN_PolygroupProperties& o) const {
        return smooth == o.smooth && smoothGeometry == o.smoothGeometry && edgeLengthLimit == o.edgeLengthLimit &&
               maxAngle == o.maxAngle && freezeLightmaps == o.freezeLightmaps && extraFlag == o.extraFlag;
    }

    /// Clears all.
    void initialize() { *this = CN_PolygroupProperties(); }

    bool smooth = false;          ///< corners shade with the mean of the members' normals
    bool smoothGeometry = false;  ///< the same for geometry
    float edgeLengthLimit = 0;    ///< of geometry smoothing
    float maxAngle = 0;           ///< of geometry smoothing
    bool freezeLightmaps = false; ///< the members keep their lightmaps
    bool extraFlag = false;       ///< kept and stored for the game
};

/// A named set of polygons of its parent mesh. Members and group know each other: a polygon that dies leaves its groups, a
/// group that dies its members.
class CN_LevelEntityPolygonGroup : public CN_VirtualNode {
  public:
    using PolygonSet = std::set<CN_Polygon*>;

    CN_LevelEntityPolygonGroup();
    /// A copy has the settings and the stored indices, and no members.
    CN_LevelEntityPolygonGroup(const CN_LevelEntityPolygonGroup& other);
    /// Takes settings and stored indices over; the members stay.
    CN_LevelEntityPolygonGroup& operator=(const CN_LevelEntityPolygonGroup& other);
    ~CN_LevelEntityPolygonGroup() override;

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    /// Writes the places that the members have among the polygons that are written, rising; a member that is not written
    /// is left out. Throws without a mesh as parent.
    void saveEntitySpecificData(F_MemoryFile& file) override;
    /// Adds the polygons at the stored indices to the members and empties the indices. One beyond the parent's polygons is
    /// told in a message box and ends the process. Throws without a mesh as parent.
    void generatePointersFromPolygonIndices() override;
    /// Replaces the stored indices by the places of the members in the parent's list, rising; the members stay. Throws
    /// without a mesh as parent.
    void generatePolygonIndicesFromPointers() override;
    /// Always: a group of none is one.
    bool isStorable() const override { return true; }

    /// @name Members
    /// @{
    const PolygonSet& getSet() const { return m_polygons; }
    void addPolygon(CN_Polygon* polygon);
    /// Nothing happens for a polygon that is no member.
    void removePolygon(CN_Polygon* polygon);
    bool isMember(CN_Polygon* polygon) const { return m_polygons.count(polygon) > 0; }
    void removeAll();
    /// The stored indices: of a record that was read, or of `generatePolygonIndicesFromPointers`.
    const std::list<unsigned int>& getPolygonIndices() const { return m_polygonIndices; }
    void clearPolygonIndices() { m_polygonIndices.clear(); }
    /// @}

    const CN_PolygroupProperties& getPolygroupProperties() const { return m_properties; }
    void setPolygroupProperties(const CN_PolygroupProperties& properties) { m_properties = properties; }
    bool isSmooth() const { return m_properties.smooth; }
    void setSmooth(bool smooth) { m_properties.smooth = smooth; }
    bool isSmoothGeometry() const { return m_properties.smoothGeometry; }
    void setSmoothGeometry(bool smooth) { m_properties.smoothGeometry = smooth; }
    float getEdgeLengthLimit() const { return m_properties.edgeLengthLimit; }
    void setEdgeLengthLimit(float limit) { m_properties.edgeLengthLimit = limit; }
    float getMaxAngle() const { return m_properties.maxAngle; }
    void setMaxAngle(float angle) { m_properties.maxAngle = angle; }
    bool isFreezeLightmaps() const { return m_properties.freezeLightmaps; }
    void setFreezeLightmaps(bool freeze) { m_properties.freezeLightmaps = freeze; }

  protected:
    bool onCanAdd(int entityId) override;
    bool mayStandBelow(const CN_LevelEntity& parent) const override;

  private:
    PolygonSet m_polygons;                    ///< not owned: the members, of the parent mesh
    std::list<unsigned int> m_polygonIndices; ///< places in the parent's list
    CN_PolygroupProperties m_properties;      ///< of the group
};

} // namespace cairn
