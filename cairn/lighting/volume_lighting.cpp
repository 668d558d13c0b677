#include "cairn/lighting/volume_lighting.h"

#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace cairn {

namespace {

using Vector = M_Vector3Template<float>;

constexpr float TO_UNIT = 0.003921569f;    ///< from a scale of 0 to 255 to one of 0 to 1
constexpr float INTERVAL_MARGIN = 0.0001f; ///< keeps a clamped coordinate below the last point, so that one follows it
constexpr float HELD = 0.001f;             ///< a squared distance below which a grid holds a place for certain
constexpr std::size_t GRID_HEADER_BYTES = 36; ///< three counts, two corners

/// Whether `limit` points or fewer make up a grid of these counts, which must be positive.
bool isWithin(const std::array<int, 3>& n, std::size_t limit) {
    for (const int count : n) {
        if (count <= 0)
            return false;
        limit /= static_cast<std::size_t>(count);
    }
    return limit > 0;
}

/// Where a place lies on one axis of a grid: between which points, and how far from the first to the second.
struct AxisPlace {
    std::size_t cell[2] = {0, 0};
    float weight[2] = {1, 0};

    AxisPlace(float position, float min, float max, float low, float high, int n) {
        if (n == 1 || max == min)
            return;
        float g = (position - min) * static_cast<float>(n - 1) / (max - min);
        if (std::isnan(g))
            g = 0;
        g = std::min(std::max(g, low), high);
        const float first = std::floor(g);
        // The highest coordinate of an axis of thousands of points rounds up to the last one, which none follows.
        const auto last = static_cast<std::size_t>(n - 1);
        cell[0] = std::min(static_cast<std::size_t>(first), last);
        cell[1] = std::min(cell[0] + 1, last);
        weight[1] = g - first;
        weight[0] = 1 - weight[1];
    }
};

float clampedOffset(float offset, float extent) { return std::max(0.0f, std::min(offset, extent)); }

} // namespace

I_FColor LightingData::getAmbient() const { return {floatAt(0), floatAt(4), floatAt(8), floatAt(12)}; }

void LightingData::setAmbient(const I_FColor& color) {
    setFloatAt(0, color.red);
    setFloatAt(4, color.green);
    setFloatAt(8, color.blue);
    setFloatAt(12, color.alpha);
}

M_Vector3Template<float> LightingData::getDirection() const {
    const auto component = [](unsigned char byte) { return (static_cast<float>(byte) - 128.0f) / 128.0f; };
    return {component(b[18]), component(b[19]), component(b[20])};
}

void LightingData::setDirectional(unsigned char hue, unsigned char saturation,
                                  const std::array<unsigned char, 3>& direction) {
    b[16] = hue;
    b[17] = saturation;
    std::copy(direction.begin(), direction.end(), b + 18);
}

/// Little-endian, as the file has it.
float LightingData::floatAt(std::size_t offset) const {
    std::uint32_t bits = 0;
    for (unsigned i = 0; i < 4; ++i)
        bits |= static_cast<std::uint32_t>(b[offset + i]) << (8 * i);
    return std::bit_cast<float>(bits);
}

void LightingData::setFloatAt(std::size_t offset, float number) {
    const auto bits = std::bit_cast<std::uint32_t>(number);
    for (unsigned i = 0; i < 4; ++i)
        b[offset + i] = static_cast<unsigned char>(bits >> (8 * i));
}

CN_VolumeLighting::CN_VolumeLighting(const CN_VolumeLighting& other) : CN_VolumeLighting() { *this = other; }

CN_VolumeLighting& CN_VolumeLighting::operator=(const CN_VolumeLighting& other) {
    if (this != &other) {
        std::vector<Grid> grids = other.m_grids;
        m_grids.swap(grids);
        initializeIntervals();
        m_constructed = !m_grids.empty();
    }
    return *this;
}

void CN_VolumeLighting::destruct() {
    m_grids.clear();
    m_constructed = false;
}

void CN_VolumeLighting::initializeIntervals() {
    for (Grid& grid : m_grids)
        initializeIntervals(grid);
}

void CN_VolumeLighting::initializeIntervals(Grid& grid) {
    for (std::size_t axis = 0; axis < 3; ++axis)
        grid.intervals[axis] = {0, static_cast<float>(grid.n[axis] - 1) - INTERVAL_MARGIN};
}

void CN_VolumeLighting::addGrid(const Vector& min, const Vector& max, int nx, int ny, int nz,
                                const LightingData* data) {
    Grid grid;
    grid.min = min;
    grid.max = max;
    grid.n = {nx, ny, nz};
    if (!isWithin(grid.n, grid.data.max_size()))
        throw new F_Exception(formatText("No grid of light has %d x %d x %d points", nx, ny, nz));
    grid.data.assign(data,
                     data + static_cast<std::size_t>(nx) * static_cast<std::size_t>(ny) * static_cast<std::size_t>(nz));
    initializeIntervals(grid);
    m_grids.push_back(std::move(grid));
    m_constructed = true;
}

void CN_VolumeLighting::sample(const Vector& position, Vector& ambient, Vector& directional, Vector& direction) const {
    const Vector place = position; // which may be one of the results
    ambient = directional = direction = {};
    if (!m_grids.empty())
        sample(m_grids.size() > 1 ? selectGrid(place) : 0, place, ambient, directional, direction);
}

unsigned int CN_VolumeLighting::selectGrid(const Vector& position) const {
    float best = std::numeric_limits<float>::max();
    std::size_t result = 0;
    for (std::size_t i = 0; i < m_grids.size() && !(best < HELD); ++i) {
        const Grid& grid = m_grids[i];
        Vector nearest;
        for (int axis = 0; axis < 3; ++axis)
            nearest[axis] =
                clampedOffset(position[axis] - grid.min[axis], grid.max[axis] - grid.min[axis]) + grid.min[axis];
        if (const float distance = (position - nearest).lengthSquared(); distance < best) {
            best = distance;
            result = i;
        }
    }
    return static_cast<unsigned int>(result);
}

void CN_VolumeLighting::sample(unsigned int grid, const Vector& position, Vector& ambient, Vector& directional,
                               Vector& direction) const {
    const Grid& from = m_grids[grid];
    const auto& [ix, iy, iz] = from.intervals;
    const AxisPlace x(position.x, from.min.x, from.max.x, ix.low, ix.high, from.n[0]);
    const AxisPlace y(position.y, from.min.y, from.max.y, iy.low, iy.high, from.n[1]);
    const AxisPlace z(position.z, from.min.z, from.max.z, iz.low, iz.high, from.n[2]);
    const auto nx = static_cast<std::size_t>(from.n[0]), ny = static_cast<std::size_t>(from.n[1]);
    // Sums of floats differ with their order, which is x fastest, then y.
    for (int corner = 0; corner < 8; ++corner) {
        const int a = corner & 1, b = corner >> 1 & 1, c = corner >> 2;
        const LightingData& point = from.data[(z.cell[c] * ny + y.cell[b]) * nx + x.cell[a]];
        const float weight = x.weight[a] * y.weight[b] * z.weight[c];
        const I_FColor allSides = point.getAmbient();
        ambient += weight * Vector(allSides.red, allSides.green, allSides.blue);
        direction += weight * point.getDirection();
        I_FColor color(point.getHue(), point.getSaturation(), 1.0f);
        color.HSVtoRGB();
        directional += Vector(color.red, color.green, color.blue) * TO_UNIT * point.getIntensity() * weight;
    }
    ambient *= TO_UNIT;
}

// Version 1: unsigned int count of grids; for each: int nx, ny, nz, the corners min and max, the points, 25 bytes each.
// Version 0: no count, one grid.

void CN_VolumeLighting::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_VOLUME_LIGHTING_VERSION);
    file.writeCount(m_grids.size());
    for (const Grid& grid : m_grids) {
        file << grid.n[0] << grid.n[1] << grid.n[2];
        file << grid.min << grid.max;
        file.reserve(grid.data.size() * sizeof(LightingData));
        for (const LightingData& point : grid.data)
            file.write(point.b, sizeof point.b);
    }
    file.closeChunk();
}

void CN_VolumeLighting::load(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& body = chunk.getMemoryFile();
    const std::size_t count = chunk.getVersion() == 0 ? 1 : body.readCount(GRID_HEADER_BYTES + sizeof(LightingData));
    std::vector<Grid> grids(count);
    for (Grid& grid : grids)
        readGrid(body, grid);
    file.skipChunk();
    m_grids.insert(m_grids.end(), std::make_move_iterator(grids.begin()), std::make_move_iterator(grids.end()));
    initializeIntervals();
    m_constructed = true;
}

void CN_VolumeLighting::readGrid(F_MemoryFile& file, Grid& grid) {
    file >> grid.n[0] >> grid.n[1] >> grid.n[2];
    file >> grid.min >> grid.max;
    if (!isWithin(grid.n, file.getRemaining() / sizeof(LightingData)))
        file.fail(formatText("A grid of light of %d x %d x %d points does not fit into the %zu bytes that are left",
                             grid.n[0], grid.n[1], grid.n[2], file.getRemaining()));
    grid.data.resize(static_cast<std::size_t>(grid.n[0]) * static_cast<std::size_t>(grid.n[1]) *
                     static_cast<std::size_t>(grid.n[2]));
    for (LightingData& point : grid.data)
        file.read(point.b, sizeof point.b);
}

} // namespace cairn
