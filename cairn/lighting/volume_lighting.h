#pragma once

#include "cairn/imaging/color.h"
#include "cairn/math/vector3.h"

#include <array>
#include <cstddef>
#include <vector>

namespace cairn {

class F_MemoryFile;

/// The light at one point of a grid: a colour from all sides, and one with its direction. Held as the 25 bytes that a
/// file has of it, so that nothing is lost between them.
struct LightingData {
    unsigned char b[25] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x7F, 0x43, 0, 0, 128, 128, 128}; ///< dark

    /// The colour from all sides, on a scale of 0 to 255.
    I_FColor getAmbient() const;
    /// The directional colour's hue in degrees and its saturation, 0 to 1.
    float getHue() const { return static_cast<float>(b[16]) * 1.4117647f; }
    float getSaturation() const { return static_cast<float>(b[17]) / 255.0f; }
    /// Where the directional light goes, -1 to 1 a component, not of length 1.
    M_Vector3Template<float> getDirection() const;
    /// What the directional colour is multiplied by.
    float getIntensity() const { return floatAt(21); }

    void setAmbient(const I_FColor& color);
    /// The stored bytes of hue, saturation and direction.
    void setDirectional(unsigned char hue, unsigned char saturation, const std::array<unsigned char, 3>& direction);
    void setIntensity(float intensity) { setFloatAt(21, intensity); }

  private:
    float floatAt(std::size_t offset) const;
    void setFloatAt(std::size_t offset, float number);
};
static_assert(sizeof(LightingData) == 25);

/// The light of a room in three-dimensional grids, computed elsewhere, to be sampled at any place.
class CN_VolumeLighting {
  public:
    static constexpr int CAIRN_VOLUME_LIGHTING_VERSION = 1;

    CN_VolumeLighting() { initializeMembers(); }
    CN_VolumeLighting(const CN_VolumeLighting& other);
    /// Takes copies of the other one's grids in place of its own.
    CN_VolumeLighting& operator=(const CN_VolumeLighting& other);
    ~CN_VolumeLighting() = default;

    /// Drops the grids.
    void destruct();
    bool isConstructed() const { return m_constructed; }
    std::size_t getGridCount() const { return m_grids.size(); }

    /// The light at a place, on a scale of 0 to 1 though not limited to it: the colours (x red, y green, z blue) from
    /// all sides and from `direction`, which is a weighted mean, not of length 1. Between points of the grid the light
    /// is mixed, outside every grid it is that of the nearest place in one. All three are 0 without a grid.
    void sample(const M_Vector3Template<float>& position, M_Vector3Template<float>& ambient,
                M_Vector3Template<float>& directional, M_Vector3Template<float>& direction) const;

    void save(F_MemoryFile& file) const;
    /// Adds the grids of a record as `save` writes it, or of the older form. Throws an `F_Exception*` where a grid's
    /// counts are not positive or the bytes that are left cannot hold it, nothing added.
    void load(F_MemoryFile& file);

  protected:
    void initializeMembers() { m_constructed = false; }
    void initializeIntervals();
    /// The index of the grid nearest to a place, the earlier one of two; 0 where none is nearer than any number tells.
    unsigned int selectGrid(const M_Vector3Template<float>& position) const;
    /// Adds the light of one grid, which must be there, to all three.
    void sample(unsigned int grid, const M_Vector3Template<float>& position, M_Vector3Template<float>& ambient,
                M_Vector3Template<float>& directional, M_Vector3Template<float>& direction) const;
    /// Adds a grid of the box between two corners with copies of nx x ny x nz points, x fastest, then y. Throws an
    /// `F_Exception*` where a count is not positive or the points are too many.
    void addGrid(const M_Vector3Template<float>& min, const M_Vector3Template<float>& max, int nx, int ny, int nz,
                 const LightingData* data);

  private:
    struct Interval {
        float low = 0, high = 0;
    };
    struct Grid {
        M_Vector3Template<float> min, max; ///< opposite corners of the box
        std::array<Interval, 3> intervals; ///< derived: what grid coordinates are clamped to, per axis
        std::array<int, 3> n{};            ///< points per axis
        std::vector<LightingData> data;    ///< the points, x fastest, then y
    };

    static void initializeIntervals(Grid& grid);
    static void readGrid(F_MemoryFile& file, Grid& grid);

    std::vector<Grid> m_grids; ///< in file order
    bool m_constructed;        ///< grids were loaded or added
};

} // namespace cairn
