#pragma once

#include "cairn/entities/level_entity.h"

#include <vector>

namespace cairn {

class CN_Mesh;

/// An entity that stands for polygons of its parent mesh: a file names them by index, memory by pointer.
class CN_VirtualNode : public CN_LevelEntity {
  public:
    /// Takes the polygons at the stored indices from the parent, which must be a mesh with its polygons.
    virtual void generatePointersFromPolygonIndices() = 0;
    /// Stores the places that the polygons have in the parent's list now.
    virtual void generatePolygonIndicesFromPointers() = 0;
    /// True if a record can hold the node: what it stands for is among the polygons that its parent writes. A save leaves
    /// out a node that is not storable and all below it.
    virtual bool isStorable() const = 0;

    /// True if the entity is a node below a mesh that is not storable. Null counts as none. (A node elsewhere is refused by
    /// a save, not left out.)
    static bool isLeftOut(const CN_LevelEntity* entity);
    /// For the polygon's destructor: no portal and no light stands on it afterwards.
    static void forgetPolygon(const CN_Polygon* polygon);

    /// Where the polygons of a mesh stand among those that a save writes, which are those with edges. While one lives the
    /// nodes below its mesh take their places from it, instead of walking the mesh anew each.
    class WrittenPlaces {
      public:
        /// A walk over the polygons. They must stay as they are while the object lives.
        explicit WrittenPlaces(const CN_Mesh& mesh);
        ~WrittenPlaces();
        WrittenPlaces(const WrittenPlaces&) = delete;
        WrittenPlaces& operator=(const WrittenPlaces&) = delete;

        /// The place of the polygon, -1 where it is null, not of the mesh or without edges. Costs the logarithm of the
        /// number of polygons without edges.
        int find(const CN_Polygon* polygon) const;

      private:
        friend class CN_VirtualNode;
        inline static const WrittenPlaces* s_innermost = nullptr; ///< not owned

        const CN_Mesh& m_mesh;
        std::vector<int> m_edgeless;                ///< places of the polygons that are not written, rising
        const WrittenPlaces* m_outer = s_innermost; ///< not owned
    };

  protected:
    using CN_LevelEntity::CN_LevelEntity;

    /// The parent as a mesh; throws where it is none.
    CN_Mesh* accessParentMesh() const;
    /// The written places of the polygons, -1 for one that has none; throws without a mesh as parent.
    std::vector<int> findWrittenPlaces(const std::vector<const CN_Polygon*>& polygons) const;
    /// Tells that the index, which `words` say the meaning of, is not in the parent, and ends the process.
    [[noreturn]] void endOnMissingPolygon(const char* words, unsigned int index) const;
};

/// A node that stands on one polygon: what portals and radiosity lights have in common.
class CN_PolygonNode : public CN_VirtualNode {
  public:
    ~CN_PolygonNode() override;
    /// An index beyond the parent's polygons is told in a message box and ends the process. Throws without a mesh as
    /// parent.
    void generatePointersFromPolygonIndices() override;
    /// The index stays where the node stands on no polygon of a mesh.
    void generatePolygonIndicesFromPointers() override;
    /// False where it stands on no polygon, or on one of another mesh, or on one without edges.
    bool isStorable() const override;
    string findRecordFault() const override;

  protected:
    bool mayStandBelow(const CN_LevelEntity& parent) const override;
    /// `indexWords` are the literal for `endOnMissingPolygon`.
    CN_PolygonNode(int entityId, int imageIndex, const char* indexWords);
    /// A copy stands on the same polygon, whose attached entity stays the one it has.
    CN_PolygonNode(const CN_PolygonNode& other);
    CN_PolygonNode& operator=(const CN_PolygonNode& other);

    CN_Polygon* getPolygon() const { return m_polygon; }
    /// Stores the polygon, which may be null, and attaches this node to it. A polygon it stood on and was attached to
    /// has no attached entity then.
    void setPolygon(CN_Polygon* polygon);
    unsigned int getPolygonIndex() const { return m_polygonIndex; }
    void setPolygonIndex(unsigned int index) { m_polygonIndex = index; }
    /// The index for the record; throws where the node is not storable.
    unsigned int findRecordIndex() const;

  private:
    friend class CN_VirtualNode;
    void standOn(CN_Polygon* polygon);

    const char* m_indexWords;        ///< a literal: what messages call the index
    CN_Polygon* m_polygon = nullptr; ///< not owned: of the parent mesh, which owns it
    unsigned int m_polygonIndex = 0; ///< its place in the mesh when last read or counted
};

} // namespace cairn
