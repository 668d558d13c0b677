#pragma once

#include "cairn/lighting/lightmap_pool_interface.h"
#include "cairn/math/planar_space3.h"

namespace cairn {

class CN_Polygon;
class F_MemoryFile;

/// How a polygon lies on its lightmap: the space of the lightmap, the resolution wanted and the lightmap's id.
class CN_LightmapMapping : public M_PlanarSpace3Template<double> {
  public:
    using Space = M_PlanarSpace3Template<double>;

    /// Texels for a unit of length.
    float getResolution() const { return m_resolution; }
    /// For the next fit: the mapping stays as it is. A number that is not finite is not kept by a file.
    void setResolution(float resolution) { m_resolution = resolution; }
    /// The mapping as the space it is.
    const Space& getPhysicalSpace() const { return *this; }
    Space& getPhysicalSpace() { return *this; }
    /// True where a lightmap has been assigned and the fit still holds. Of a polygon that was loaded it is false where
    /// the document has no lightmap of the id, which stays as a number.
    bool isLightmapValid() const { return m_lightmapValid; }
    /// The lightmap's id in the pool, `NO_LIGHTMAP` for none. Whoever holds the mapping counts the reference.
    unsigned long getLightmapID() const { return m_lightmapID; }
    /// The point's coordinates in this space.
    M_Vector2Template<float> getRenderingUV(const M_Vector3Template<double>& point) const;

    /// How large a lightmap the polygon needs at that resolution: powers of two from 4 to 256 a side. `space` becomes
    /// the polygon's space along its longest edge, `min` and `max` the extent of its corners there, all in the mesh's
    /// space. False, and nothing changed, where the polygon has no edge that has a length or no normal across it.
    static bool determineLightmapSize(CN_Polygon* polygon, float resolution, int& width, int& height, Space& space,
                                      M_Vector2Template<double>& min, M_Vector2Template<double>& max);
    /// Fits the mapping to the polygon, so that the texels of its lightmap cover it with a margin. The lightmap stays
    /// assigned by its id but is not valid any more. With `keepScale` the coordinates count pairs of texels, without it
    /// they are plain distances. A polygon that gives no space, or has no width for the scale, leaves it as it was.
    void initialFitLightmap(CN_Polygon* polygon, bool keepScale);

    /// Reads what `<<` wrote. A space that is singular or not finite becomes the default one, and so does a resolution
    /// that is not finite: false then. Throws an `F_Exception*` where the file ends.
    bool load(F_MemoryFile& file);
    friend F_MemoryFile& operator<<(F_MemoryFile& file, const CN_LightmapMapping& mapping);
    /// `load`, whatever it had to mend.
    friend F_MemoryFile& operator>>(F_MemoryFile& file, CN_LightmapMapping& mapping);

  private:
    friend class CN_Polygon;

    /// Assigns the lightmap and marks it valid. The reference is the caller's to count.
    void setValidLightmapID(unsigned long id);
    /// Takes over another mapping's space.
    void setLightmapping(const Space& space);

    float m_resolution = 4.0f;                ///< texels for a unit of length
    bool m_lightmapValid = false;             ///< a lightmap has been assigned
    unsigned long m_lightmapID = NO_LIGHTMAP; ///< in the document's pool
};

} // namespace cairn
