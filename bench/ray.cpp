#include "bench/support/floor_mesh.h"
#include "bench/support/report.h"
#include "cairn/geometry/ray_tree.h"
#include "tests/support/facets.h"

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef CAIRN_BENCH_WITH_EMBREE
#include <embree3/rtcore.h>
#endif

// The nearest hit of rays in closed meshes of triangles: from one eye through the points of a picture, and from anywhere in
// all directions. Embree, with single rays, works in single precision. "every polygon" is the mesh's own walk, up to the size
// that it can be waited for. A witness is the number of rays that meet something.

namespace {

using namespace cairn;

using Vector = CN_RayTree::Vector;

struct Ray {
    Vector origin, direction;
};

/// A mesh of triangles and what looks into it.
struct Room {
    bench::MeshLevel level;
    std::unique_ptr<CN_RayTree> tree;

    explicit Room(const test::Facets& facets) {
        for (const test::Facets::Piece& piece : facets.getPieces()) {
            CN_Polygon& polygon = *level.mesh->addPolygon();
            for (const Vector& corner : piece.corners)
                polygon.addVertex(corner);
            polygon.constructEdges();
            polygon.setNormal(
                (piece.corners[1] - piece.corners[0]).cross(piece.corners[2] - piece.corners[0]).normalized());
            polygon.updatePointOnPlane();
            // U of its texture must not run along the normal.
            polygon.editUVSpace(0).setMatrix(
                {(piece.corners[1] - piece.corners[0]).normalized(),
                 polygon.getNormal().cross(piece.corners[1] - piece.corners[0]).normalized(), polygon.getNormal()});
        }
        level.mesh->calculateBoundingBox();
        tree = std::make_unique<CN_RayTree>(*level.mesh);
    }
};

#ifdef CAIRN_BENCH_WITH_EMBREE
/// The same triangles, for Embree.
class PeerScene {
  public:
    explicit PeerScene(const test::Facets& facets)
        : m_device(rtcNewDevice("threads=1")), m_scene(rtcNewScene(m_device)) {
        rtcSetSceneFlags(m_scene, RTC_SCENE_FLAG_ROBUST);
        const RTCGeometry geometry = rtcNewGeometry(m_device, RTC_GEOMETRY_TYPE_TRIANGLE);
        const std::size_t count = facets.getPieces().size();
        auto* corner = static_cast<float*>(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0,
                                                                   RTC_FORMAT_FLOAT3, 3 * sizeof(float), 3 * count));
        auto* index = static_cast<unsigned*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 3 * sizeof(unsigned), count));
        unsigned number = 0;
        for (const test::Facets::Piece& piece : facets.getPieces())
            for (const Vector& place : piece.corners) {
                for (int axis = 0; axis < 3; ++axis)
                    *corner++ = static_cast<float>(place[axis]);
                *index++ = number++;
            }
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(m_scene, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(m_scene);
    }
    PeerScene(const PeerScene&) = delete;
    PeerScene& operator=(const PeerScene&) = delete;
    ~PeerScene() {
        rtcReleaseScene(m_scene);
        rtcReleaseDevice(m_device);
    }
    bool meets(const Ray& ray) const {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        RTCRayHit hit{};
        hit.ray.org_x = static_cast<float>(ray.origin.x);
        hit.ray.org_y = static_cast<float>(ray.origin.y);
        hit.ray.org_z = static_cast<float>(ray.origin.z);
        hit.ray.dir_x = static_cast<float>(ray.direction.x);
        hit.ray.dir_y = static_cast<float>(ray.direction.y);
        hit.ray.dir_z = static_cast<float>(ray.direction.z);
        hit.ray.tfar = 1e30f;
        hit.ray.mask = ~0u;
        hit.hit.geomID = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(m_scene, &context, &hit);
        return hit.hit.geomID != RTC_INVALID_GEOMETRY_ID;
    }

  private:
    RTCDevice m_device;
    RTCScene m_scene;
};
#endif

/// Counts the rays for which `meets` holds.
template <class Meets> int count(const std::vector<Ray>& rays, const Meets& meets) {
    int met = 0;
    for (const Ray& ray : rays)
        met += meets(ray) ? 1 : 0;
    return met;
}

/// Rays from an eye through a picture of so many points across.
std::vector<Ray> picture(const Vector& eye, const Vector& ahead, int across) {
    std::vector<Ray> rays;
    const Vector aside = ahead.cross({0, 0, 1}).normalized(), upward = aside.cross(ahead).normalized();
    for (int y = 0; y < across; ++y)
        for (int x = 0; x < across; ++x)
            rays.push_back(
                {eye,
                 (ahead + aside * ((x + 0.37) / across - 0.5) + upward * ((y + 0.41) / across - 0.5)).normalized()});
    return rays;
}

template <class Place> std::vector<Ray> scattered(int rays, const Place& place) {
    std::mt19937 random(17);
    std::uniform_real_distribution<double> number(-1, 1);
    std::vector<Ray> all;
    while (all.size() < static_cast<std::size_t>(rays)) {
        const double x = number(random), y = number(random), z = number(random);
        if (const Vector way(x, y, z); way.length() < 1 && way.length() > 0.1)
            all.push_back({place(random), way.normalized()});
    }
    return all;
}

double numberIn(std::mt19937& random, double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
}

void addRows(bench::Report& report, const std::string& scene, const test::Facets& facets, const std::vector<Ray>& rays,
             const std::shared_ptr<Room>& room) {
    constexpr double WALKED = 2000;
    const double n = facets.size();
#ifdef CAIRN_BENCH_WITH_EMBREE
    const auto peer = std::make_shared<PeerScene>(facets);
    report.add(scene, "Embree", n,
               [peer, rays] { return count(rays, [&](const Ray& ray) { return peer->meets(ray); }); });
#endif
    report.add(scene, "cairn", n, [room, rays] {
        return count(rays, [&](const Ray& ray) {
            Vector point;
            double distance = 1e30;
            return room->tree->findNearest(point, distance, ray.origin, ray.direction, false, true, nullptr) != nullptr;
        });
    });
    if (n <= WALKED)
        report.add(scene, "every polygon", n, [room, rays] {
            return count(rays, [&](const Ray& ray) {
                Vector point;
                double distance = 1e30;
                return room->level.mesh->intersectRay(point, distance, ray.origin, ray.direction, false, true, nullptr);
            });
        });
}

void addRoom(bench::Report& report, const std::string& name, const test::Facets& facets,
             const std::vector<Ray>& coherent, const std::vector<Ray>& random) {
    const auto room = std::make_shared<Room>(facets);
    addRows(report, name + ", picture", facets, coherent, room);
    addRows(report, name + ", anywhere", facets, random, room);
    report.add(name + ", build", "cairn", facets.size(), [room] {
        const CN_RayTree tree(*room->level.mesh);
        return room->level.mesh->getPolygonList().count();
    });
}

} // namespace

static void measure(bench::Report& report) {
    bench::keepFreedMemory();
    report.peers({"Embree"});
    // Otherwise what is next to an edge is met by no ray.
    CN_Polygon::s_dEdgeThickness = 1e-9;
    constexpr int ACROSS = 20;
    for (const int size : bench::sizes({100, 1000, 10000, 100000})) {
        const int cells = size == 100 ? 3 : size == 1000 ? 8 : size == 10000 ? 25 : 79;
        const int bumps = size == 100 ? 7 : size == 1000 ? 22 : size == 10000 ? 70 : 223;
        addRoom(report, "maze", test::maze(cells).facets(), picture({1.5, 1.5, 0.5}, Vector(1, 0.1, 0.02), ACROSS),
                scattered(ACROSS * ACROSS, [cells](std::mt19937& random) {
                    const double x = 2 * std::floor(numberIn(random, 0, cells)) + numberIn(random, 1.1, 1.9);
                    const double y = 2 * std::floor(numberIn(random, 0, cells)) + numberIn(random, 1.1, 1.9);
                    return Vector(x, y, numberIn(random, 0.1, 0.9));
                }));
        addRoom(report, "bumpy room", test::bumpyRoom(bumps),
                picture(Vector(0.5, 0.5, 0.9) * bumps, Vector(0.3, 0.5, -1), ACROSS),
                scattered(ACROSS * ACROSS, [bumps](std::mt19937& random) {
                    const double x = numberIn(random, 0.1, bumps - 0.1), y = numberIn(random, 0.1, bumps - 0.1);
                    return Vector(x, y, numberIn(random, 0.5, bumps - 0.1));
                }));
    }
    for (const char* const rays : {"picture", "anywhere"}) {
        report.limitRatioTo("Embree", std::string("maze, ") + rays, "cairn", 3);
        report.limitRatioTo("Embree", std::string("bumpy room, ") + rays, "cairn", 3);
        report.reason(
            std::string("bumpy room, ") + rays, "cairn",
            "its walls are fans of long triangles, which lie in one another's boxes, and the peer works in single "
            "precision");
        report.reason(std::string("maze, ") + rays, "cairn", "the peer works in single precision: half the memory");
        report.limitGrowth(std::string("maze, ") + rays, "cairn", 0.5);
        report.limitGrowth(std::string("bumpy room, ") + rays, "cairn", 0.5);
    }
    report.limitGrowth("maze, build", "cairn", 1.3);
}

static const bench::Scene
    SCENE("ray", "Nearest hits of rays through a maze and a bumpy room, by the number of triangles.", measure);
