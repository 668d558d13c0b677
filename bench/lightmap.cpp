// Showing stored light: a lightmap of n x n pixels mapped to colours, and a walk of n samples through a grid of light.
#include "bench/support/report.h"
#include "cairn/lighting/lightmap_curve.h"
#include "cairn/lighting/volume_lighting.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace {

using cairn::CN_Lightmap;
using cairn::I_Color;
using cairn::II::ColorF;
using Vector = cairn::M_Vector3Template<float>;

constexpr int CELLS = 16; ///< points on each axis of the grid

float upTo(float limit, std::mt19937& random) { return static_cast<float>(random() % 65536) * (limit / 65536.0f); }

std::vector<ColorF> makeLight(std::size_t pixels) {
    std::mt19937 random(7);
    std::vector<ColorF> light(pixels);
    for (ColorF& pixel : light)
        pixel = {upTo(400, random), upTo(400, random), upTo(400, random)};
    return light;
}

/// What the curve does to a colour, written down in one piece: the channels are scaled as the largest of them is.
I_Color mapByHand(const ColorF& in) {
    const float most = std::max({in.red, in.green, in.blue});
    if (most <= 0)
        return {0, 0, 0};
    const double mapped = most < 128 ? double{most} : std::exp((double{most} - 128) / -127.0) * -127.0 + 255.0;
    const float scale = static_cast<float>(mapped) / most;
    const auto byte = [scale](float channel) { return static_cast<unsigned char>(std::max(channel, 0.0f) * scale); };
    return {byte(in.red), byte(in.green), byte(in.blue)};
}

/// The mean brightness in steps that rounding in a channel does not reach.
double brightness(const std::vector<I_Color>& pixels) {
    double sum = 0;
    for (const I_Color& pixel : pixels)
        sum += pixel.red + pixel.green + pixel.blue;
    return std::round(sum / static_cast<double>(pixels.size()) / 30);
}

void addMapping(cairn::bench::Report& report, int n) {
    const auto light = std::make_shared<const std::vector<ColorF>>(
        makeLight(static_cast<std::size_t>(n) * static_cast<std::size_t>(n)));
    const auto out = std::make_shared<std::vector<I_Color>>(light->size());
    report.add("map colours", "by hand", n, [light, out] {
        for (std::size_t i = 0; i < light->size(); ++i)
            (*out)[i] = mapByHand((*light)[i]);
        return brightness(*out);
    });
    const auto curve = std::make_shared<const cairn::CN_LightmapCurve>();
    report.add("map colours", "CN_LightmapCurve", n, [light, out, curve] {
        const CN_Lightmap::ColorMap& map = *curve;
        for (std::size_t i = 0; i < light->size(); ++i)
            map.mapColor((*out)[i], (*light)[i]);
        return brightness(*out);
    });
}

/// A grid whose light can be made here.
class Grid : public cairn::CN_VolumeLighting {
  public:
    explicit Grid(const std::vector<cairn::LightingData>& points) {
        constexpr auto EXTENT = static_cast<float>(CELLS - 1);
        addGrid({0, 0, 0}, {EXTENT, EXTENT, EXTENT}, CELLS, CELLS, CELLS, points.data());
    }
};

/// Nine floats a point, mixed between eight points: what a sample must read and weigh at the least.
struct PlainGrid {
    struct Point {
        Vector ambient, directional, direction;
    };
    std::vector<Point> points;

    explicit PlainGrid(const std::vector<cairn::LightingData>& data) {
        for (const cairn::LightingData& from : data) {
            const cairn::I_FColor ambient = from.getAmbient();
            cairn::I_FColor color(from.getHue(), from.getSaturation(), 1);
            color.HSVtoRGB();
            const float scale = from.getIntensity() / 255;
            points.push_back({Vector(ambient.red, ambient.green, ambient.blue) / 255,
                              Vector(color.red, color.green, color.blue) * scale, from.getDirection()});
        }
    }
    Point sample(const Vector& at) const {
        const Vector cell(std::floor(at.x), std::floor(at.y), std::floor(at.z));
        const Vector part = at - cell;
        Point sum;
        for (int corner = 0; corner < 8; ++corner) {
            const int a = corner & 1, b = corner >> 1 & 1, c = corner >> 2;
            const int x = static_cast<int>(cell.x) + a, y = static_cast<int>(cell.y) + b,
                      z = static_cast<int>(cell.z) + c;
            const float weight = (a ? part.x : 1 - part.x) * (b ? part.y : 1 - part.y) * (c ? part.z : 1 - part.z);
            const Point& point = points[static_cast<std::size_t>((z * CELLS + y) * CELLS + x)];
            sum.ambient += point.ambient * weight;
            sum.directional += point.directional * weight;
            sum.direction += point.direction * weight;
        }
        return sum;
    }
};

void addSampling(cairn::bench::Report& report, int n) {
    std::mt19937 random(11);
    std::vector<cairn::LightingData> data(CELLS * CELLS * CELLS);
    for (cairn::LightingData& point : data) {
        const auto byte = [&random] { return static_cast<unsigned char>(random()); };
        point.setAmbient({upTo(255, random), upTo(255, random), upTo(255, random)});
        point.setDirectional(byte(), byte(), {byte(), byte(), byte()});
        point.setIntensity(upTo(2, random));
    }
    std::vector<Vector> places(static_cast<std::size_t>(n));
    for (Vector& place : places)
        place = {upTo(CELLS - 1, random), upTo(CELLS - 1, random), upTo(CELLS - 1, random)};
    const auto walk = std::make_shared<const std::vector<Vector>>(places);
    const auto mean = [](double sum, std::size_t count) { return std::round(10 * sum / static_cast<double>(count)); };

    const auto plain = std::make_shared<const PlainGrid>(data);
    report.add("sample", "decoded floats", n, [walk, plain, mean] {
        double sum = 0;
        for (const Vector& place : *walk) {
            const PlainGrid::Point light = plain->sample(place);
            sum += light.ambient.x + light.directional.y + light.direction.z;
        }
        return mean(sum, walk->size());
    });
    const auto grid = std::make_shared<const Grid>(data);
    report.add("sample", "CN_VolumeLighting", n, [walk, grid, mean] {
        double sum = 0;
        Vector ambient, directional, direction;
        for (const Vector& place : *walk) {
            grid->sample(place, ambient, directional, direction);
            sum += ambient.x + directional.y + direction.z;
        }
        return mean(sum, walk->size());
    });
}

} // namespace

static void measure(cairn::bench::Report& report) {
    for (const int n : cairn::bench::sizes({64, 256}))
        addMapping(report, n);
    for (const int n : cairn::bench::sizes({100, 10000}))
        addSampling(report, n);
    report.limitRatio("map colours", "CN_LightmapCurve", 6.5); // two turns between colour spaces
    report.limitRatio("sample", "CN_VolumeLighting", 9);       // eight points of 25 bytes decoded
    report.reason("sample", "CN_VolumeLighting", "it decodes eight points of 25 bytes, which the peer finds decoded");
}

static const cairn::bench::Scene SCENE(
    "lightmap",
    "Showing stored light: n x n pixels to colours, and n samples of a grid of light, beside the bare arithmetic.",
    measure);
