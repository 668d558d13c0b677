#pragma once

#include "host/picture_scene.h"

namespace cairn::host {

/// A place of a picture in pixels, from its upper left corner. Of places of one plane `nearness`, which grows towards the
/// viewer, runs evenly over the picture.
struct PicturePoint {
    double x, y, nearness;
};

/// A face as the viewer sees it: before the near plane, within the picture, its front towards the viewer.
struct SeenFace {
    std::vector<PictureLoop> loops;   ///< in the viewer's space
    M_Vector3Template<double> normal; ///< in the viewer's space, unit, towards the viewer
    double distance = 0;              ///< normal times a place of the plane
    I_Color color;                    ///< lit
    PictureFaceKind kind = PictureFaceKind::SURFACE;
};

/// The part of a loop where normal times place is at least `distance`, after I. Sutherland and G. Hodgman, "Reentrant
/// Polygon Clipping", 1974. Where a loop falls apart, its parts stay joined along the plane, which an area of odd numbers of
/// loops does not see; cuts are no edges.
PictureLoop cutLoop(const PictureLoop& loop, const M_Vector3Template<double>& normal, double distance);

/// A camera: turns places of the world into those of a picture.
///
/// The viewer's space has x to the right, y up and z away from the viewer, in units of half the longest side of a
/// box of the scene, so that numbers stay moderate whatever the level's size.
class PictureView {
  public:
    using Vector = M_Vector3Template<double>;

    /// From a place of the world towards another one. Throws an `F_Exception*` where there is no direction between them.
    static PictureView between(const PictureScene& scene, const Vector& from, const Vector& to, int width, int height);
    /// From in front and above, so far away that the box of the scene's faces fills the picture, with as much room beside
    /// it on the left as on the right and above as below. Without faces it is the box of the marks.
    static PictureView ofScene(const PictureScene& scene, int width, int height);
    /// From above, without perspective: +X runs to the right and +Z up the picture.
    static PictureView fromAbove(const PictureScene& scene, int width, int height);

    int getWidth() const { return m_width; }
    int getHeight() const { return m_height; }
    bool isFromAbove() const { return m_flat; }

    /// A place of the world in the viewer's space.
    Vector toViewer(const Vector& world) const;
    /// Where a place of the viewer's space stands in the picture; with perspective it must be before the viewer.
    PicturePoint project(const Vector& viewer) const;
    /// The coefficients of the nearness of the face's plane: nearness = x * a.x + y * a.y + a.z at a place of the picture.
    Vector nearnessOf(const SeenFace& face) const;
    /// True where a plane of the viewer's space has its front towards the viewer.
    bool isFront(const Vector& normal, double distance) const {
        return m_flat ? normal.z < -LEAST_SLANT : distance < -LEAST_SLANT;
    }

    /// The faces of the scene that can be seen, in their order, cut to the picture and lit by one far light. From above
    /// exits and triggers are seen from all sides, and roofs are not.
    std::vector<SeenFace> look(const PictureScene& scene) const;

  private:
    static constexpr double LEAST_SLANT = 1e-9; ///< a face nearer to edge-on covers no pixel

    /// `box` gives the units and where the viewer stands at first.
    PictureView(const E_BBox<double>& box, int width, int height);
    void turnTo(const Vector& forward);
    bool clip(std::vector<PictureLoop>& loops) const;

    Vector m_right, m_up, m_forward; ///< unit, in the world
    Vector m_eye;                    ///< in the world, divided by the scale
    double m_scale;                  ///< units of the world to one of the viewer's space
    double m_focus = 1;              ///< pixels to a unit at the distance 1, or at any where the view is flat
    int m_width, m_height;
    bool m_flat = false; ///< without perspective
};

} // namespace cairn::host
