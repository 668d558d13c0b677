#include "host/picture_view.h"

#include "cairn/foundation/exception.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace cairn::host {

namespace {

using Vector = PictureView::Vector;

constexpr double HALF_VIEW = 0.55;      // tangent of half the angle of view across the picture's shorter side
constexpr double NEAR = 1e-5;           // nothing nearer is drawn
constexpr double MARGIN = 1.02;         // faces are cut a little outside of the picture, where the cuts don't show
constexpr double PLAN_FILL = 0.9;       // of the picture, by a level from above
constexpr double AMBIENT = 0.5;         // what the light leaves to a face that looks away from it
const Vector TO_LIGHT(0.4, 0.8, -0.45); // not along an axis, so that the six sides of a room differ

/// What holds of places on one side of a plane: normal times place is at least `distance`.
struct HalfSpace {
    Vector normal;
    double distance;
};

/// The corners of a box along one axis of the picture, in halves of the picture at the distance 1.
class BoxSpan {
  public:
    void add(int corner, double at, double depth) { m_corners[static_cast<std::size_t>(corner)] = {at, depth}; }

    double nearest() const {
        return std::min_element(m_corners.begin(), m_corners.end(),
                                [](const Corner& a, const Corner& b) { return a.depth < b.depth; })
            ->depth;
    }
    /// How far back the picture's two sides want the viewer, who stands half-way between what they want.
    double distance() const {
        double more = -std::numeric_limits<double>::infinity(), less = more;
        for (const Corner& corner : m_corners) {
            more = std::max(more, corner.at - corner.depth);
            less = std::max(less, -corner.at - corner.depth);
        }
        return (more + less) / 2;
    }
    /// Where the viewer stands that far back, so that the box ends as far from the one side as from the other.
    double middle(double away) const {
        double low = 0, high = 0;
        for (const Corner& corner : m_corners) {
            low = std::min(low, corner.at);
            high = std::max(high, corner.at);
        }
        constexpr int HALVINGS = 40; // far less than a pixel
        for (int i = 0; i < HALVINGS; ++i) {
            const double middle = (low + high) / 2;
            double least = std::numeric_limits<double>::infinity(), most = -least;
            for (const Corner& corner : m_corners) {
                const double seen = (corner.at - middle) / (corner.depth + away);
                least = std::min(least, seen);
                most = std::max(most, seen);
            }
            (least + most > 0 ? low : high) = middle;
        }
        return (low + high) / 2;
    }

  private:
    struct Corner {
        double at, depth;
    };
    std::array<Corner, 8> m_corners{};
};

I_Color lit(const I_Color& color, const Vector& normal) {
    const double light = AMBIENT + (1 - AMBIENT) * (0.5 + 0.5 * normal.dot(TO_LIGHT.normalized()));
    const auto channel = [&](unsigned char c) { return static_cast<unsigned char>(c * light + 0.5); };
    return {channel(color.red), channel(color.green), channel(color.blue)};
}

} // namespace

PictureLoop cutLoop(const PictureLoop& loop, const Vector& normal, double distance) {
    PictureLoop kept;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const PictureCorner &from = loop[i], &to = loop[i + 1 < loop.size() ? i + 1 : 0];
        const double a = normal.dot(from.at) - distance, b = normal.dot(to.at) - distance;
        if (a >= 0)
            kept.push_back(from);
        if ((a >= 0) == (b >= 0))
            continue;
        // From the inner to the outer end, whichever way the edge runs: faces that share it are cut at one place.
        const Vector &inner = a >= 0 ? from.at : to.at, &outer = a >= 0 ? to.at : from.at;
        const double inside = a >= 0 ? a : b, outside = a >= 0 ? b : a;
        kept.push_back({inner + (outer - inner) * (inside / (inside - outside)), a < 0 && from.isEdge});
    }
    return kept;
}

PictureView::PictureView(const E_BBox<double>& box, int width, int height) : m_width(width), m_height(height) {
    const Vector half(box.maxX / 2 - box.minX / 2, box.maxY / 2 - box.minY / 2, box.maxZ / 2 - box.minZ / 2);
    const double longest = std::max({half.x, half.y, half.z});
    m_scale = longest > 0 ? longest : 1;
    m_focus = std::min(width, height) / (2 * HALF_VIEW);
    const Vector middle(box.minX / 2 + box.maxX / 2, box.minY / 2 + box.maxY / 2, box.minZ / 2 + box.maxZ / 2);
    m_eye = middle / m_scale;
}

/// Looks along a unit vector, with the world's up as far up as it goes.
void PictureView::turnTo(const Vector& forward) {
    const Vector up = std::abs(forward.y) < 1 - 1e-12 ? Vector(0, 1, 0) : Vector(0, 0, 1);
    m_forward = forward;
    m_right = up.cross(forward).normalized({1, 0, 0});
    m_up = forward.cross(m_right);
}

PictureView PictureView::between(const PictureScene& scene, const Vector& from, const Vector& to, int width,
                                 int height) {
    PictureView view(scene.box, width, height);
    view.m_eye = from / view.m_scale;
    const Vector forward = (to / view.m_scale - view.m_eye).normalized();
    if (!view.m_eye.isFinite() || !(forward.length() > 0))
        throw new F_Exception("there is no direction from one place to the other");
    view.turnTo(forward);
    return view;
}

PictureView PictureView::ofScene(const PictureScene& scene, int width, int height) {
    const E_BBox<double>& box = scene.faceBox.empty ? scene.box : scene.faceBox;
    PictureView view(box, width, height);
    view.turnTo(Vector(0.5, -0.75, 0.8).normalized());
    constexpr double RIM = 1.05;
    const double spanX = width / (2 * view.m_focus * RIM), spanY = height / (2 * view.m_focus * RIM);
    BoxSpan across, upwards;
    for (int i = 0; i < 8; ++i) {
        const Vector corner =
            view.toViewer({i & 1 ? box.maxX : box.minX, i & 2 ? box.maxY : box.minY, i & 4 ? box.maxZ : box.minZ});
        across.add(i, corner.x / spanX, corner.z);
        upwards.add(i, corner.y / spanY, corner.z);
    }
    constexpr double LEAST_DEPTH = 0.1; // of the nearest corner, where the level is a point or a line
    const double away = std::max({across.distance(), upwards.distance(), LEAST_DEPTH - across.nearest()});
    view.m_eye += view.m_right * (across.middle(away) * spanX) + view.m_up * (upwards.middle(away) * spanY) -
                  view.m_forward * away;
    return view;
}

PictureView PictureView::fromAbove(const PictureScene& scene, int width, int height) {
    PictureView view(scene.box, width, height);
    view.m_flat = true;
    view.turnTo({0, -1, 0});
    const E_BBox<double>& box = scene.box;
    const double x = (box.maxX / 2 - box.minX / 2) / view.m_scale, z = (box.maxZ / 2 - box.minZ / 2) / view.m_scale;
    constexpr double LEAST = 1e-3; // of the level's longest side: one of no width is drawn as a line
    view.m_focus = PLAN_FILL / 2 * std::min(width / std::max(x, LEAST), height / std::max(z, LEAST));
    return view;
}

Vector PictureView::toViewer(const Vector& world) const {
    const Vector at = world / m_scale - m_eye;
    return {at.dot(m_right), at.dot(m_up), at.dot(m_forward)};
}

PicturePoint PictureView::project(const Vector& viewer) const {
    const double focus = m_flat ? m_focus : m_focus / viewer.z;
    return {m_width / 2.0 + viewer.x * focus, m_height / 2.0 - viewer.y * focus, m_flat ? -viewer.z : 1 / viewer.z};
}

Vector PictureView::nearnessOf(const SeenFace& face) const {
    // Flat: -z = (n.x x + n.y y - d) / n.z. With perspective: 1 / z = (n.x x/z + n.y y/z + n.z) / d.
    const double divisor = m_flat ? face.normal.z : face.distance;
    const double x = face.normal.x / divisor / m_focus, y = -face.normal.y / divisor / m_focus;
    const double constant = m_flat ? -face.distance / divisor : face.normal.z / divisor;
    return {x, y, constant - x * m_width / 2.0 - y * m_height / 2.0};
}

/// Cuts loops to what the picture holds. False where nothing is left.
bool PictureView::clip(std::vector<PictureLoop>& loops) const {
    const double x = MARGIN * m_width / (2 * m_focus), y = MARGIN * m_height / (2 * m_focus);
    std::vector<HalfSpace> sides;
    if (m_flat)
        sides = {{{1, 0, 0}, -x}, {{-1, 0, 0}, -x}, {{0, 1, 0}, -y}, {{0, -1, 0}, -y}};
    else
        sides = {{{0, 0, 1}, NEAR}, {{1, 0, x}, 0}, {{-1, 0, x}, 0}, {{0, 1, y}, 0}, {{0, -1, y}, 0}};
    for (const HalfSpace& side : sides)
        for (PictureLoop& loop : loops)
            loop = cutLoop(loop, side.normal, side.distance);
    std::erase_if(loops, [](const PictureLoop& loop) { return loop.empty(); });
    return !loops.empty();
}

std::vector<SeenFace> PictureView::look(const PictureScene& scene) const {
    std::vector<SeenFace> seen;
    for (const PictureFace& face : scene.faces) {
        if (m_flat && face.isRoof)
            continue;
        SeenFace view{face.loops, {}, 0, lit(face.color, face.normal), face.kind};
        for (PictureLoop& loop : view.loops)
            for (PictureCorner& corner : loop)
                corner.at = toViewer(corner.at);
        view.normal = {face.normal.dot(m_right), face.normal.dot(m_up), face.normal.dot(m_forward)};
        view.distance = view.normal.dot(view.loops.front().front().at);
        const bool isOutline = m_flat && face.kind != PictureFaceKind::SURFACE;
        if (!isFront(view.normal, view.distance) && !isOutline) {
            if (!face.doubleSided || !isFront(-view.normal, -view.distance))
                continue;
            view.normal = -view.normal;
            view.distance = -view.distance;
            view.color = lit(face.color, -face.normal);
        }
        if (clip(view.loops))
            seen.push_back(std::move(view));
    }
    return seen;
}

} // namespace cairn::host
