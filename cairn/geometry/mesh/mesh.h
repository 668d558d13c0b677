#pragma once

#include "cairn/animation/animation.h"
#include "cairn/animation/animation_interface.h"
#include "cairn/containers/dl_list.h"
#include "cairn/entities/level_entity.h"
#include "cairn/entities/mesh_interface.h"
#include "cairn/geometry/polygon/polygon.h"

namespace cairn {

/// An editable mesh: a level entity made of polygons.
class CN_Mesh : public CN_LevelEntity, public CN_MeshInterface, public CN_AnimationInterface {
  public:
    using PolygonList = F_DLListInit<CN_Polygon>;

    /// A machine, of a dynamic mesh with the handlers of dynamic meshes.
    void createFSM() override;
    /// Moves the origin while the children stay, then brings the subtree's world values and the bounding box up to
    /// date. Nothing changes where the rotation has no inverse, nor where a dynamic mesh has keyframes that its own
    /// placement, without inverse, cannot bring along.
    void changeSpaceExplicit(const M_Matrix4x3Template<double>& m) override;

    void setDynamic(bool dynamic) override { m_dynamic = dynamic; }
    bool isDynamic() const override { return m_dynamic; }

    void gotoKeyframe(const string& name) override { m_animation.gotoKeyframe(this, name); }
    bool addKeyframe(const string& name) override { return m_animation.addKeyframe(this, name); }
    void transformKeyframes(const M_Matrix4x3Template<double>& matrix) override {
        m_animation.transformKeyframes(matrix);
    }
    CN_MeshAnimations* accessAnimations() override { return m_animation.accessAnimations(); }
    const CN_MeshAnimations* getAnimations() const override { return m_animation.getAnimations(); }
    CN_Keyframes* accessKeyframes() override { return m_animation.accessKeyframes(); }
    const CN_Keyframes* getKeyframes() const override { return m_animation.getKeyframes(); }
    const string& getCurrentKeyframe() const override { return m_animation.getCurrentKeyframe(); }
    const string& getDefaultKeyframe() const override { return m_animation.getDefaultKeyframe(); }
    const string& getLightingKeyframe() const override { return m_animation.getLightingKeyframe(); }
    void setKeyframes(CN_Keyframes* keyframes) override { m_animation.setKeyframes(keyframes); }
    void setAnimations(CN_MeshAnimations* animations) override { m_animation.setAnimations(animations); }
    void setCurrentKeyframe(const string& name) override { m_animation.setCurrentKeyframe(name); }
    void setDefaultKeyframe(const string& name) override { m_animation.setDefaultKeyframe(name); }
    void setLightingKeyframe(const string& name) override { m_animation.setLightingKeyframe(name); }

    const PolygonList& getPolygonList() const { return m_polygonList; }
    PolygonList& accessPolygonList() { return m_polygonList; }
    /// A new polygon of this mesh at the end of its list; valid until it is removed.
    CN_Polygon* addPolygon();
    /// The place of the polygon in the list, or -1 for one that is not in it.
    int findPolygonIndex(const CN_Polygon* polygon) const { return m_polygonList.indexOf(polygon); }
    /// True if a polygon leads into another mesh.
    bool hasExits() const;
    /// True if the mesh has a trigger's settings: false, as no mesh holds any yet.
    bool isTrigger() const { return false; }
    /// Renews the bounding box and radius; a mesh without polygons has the unset box and the radius 0.
    void calculateBoundingBox();

  protected:
    CN_Mesh(int entityId, int imageIndex, CN_Document* document);
    /// A copy has copies of the polygons, keyframes and animations.
    CN_Mesh(const CN_Mesh& other);
    CN_Mesh& operator=(const CN_Mesh& other);
    bool onCanAdd(int entityId) override;

  private:
    void initializeMembers();
    void adoptPolygons();

    PolygonList m_polygonList; ///< owned
    bool m_dynamic = false;    ///< moves in the game
    CN_Animation m_animation;  ///< keyframes and animations
};

} // namespace cairn
