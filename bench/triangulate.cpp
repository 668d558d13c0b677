#include "bench/support/report.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/geometry/planar/triangulator.h"

#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

#ifdef CAIRN_BENCH_WITH_CGAL
#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_face_base_with_info_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>
#endif
#ifdef CAIRN_BENCH_WITH_GEOS
#include <geos_c.h>
#endif
#include <triangle.h> // last: it defines short macros and global types

// Triangulating one flat polygon: a ragged star, a comb on the grid, a square with square holes. All take loops of points and
// give triples of their places, and making the form they read counts. The first of each scene is the bare call of Triangle on
// arrays that are ready, which fills holes: it shows what its one caller adds. "triangulize" is a polygon of a mesh, from edges
// to triangles.

namespace {

using namespace cairn;

using Point = M_Vector2Template<double>;
using Loop = std::vector<Point>;

/// Loops, the outline first: clockwise, and holes the other way.
struct Shape {
    std::vector<Loop> loops;

    std::size_t corners() const {
        std::size_t n = 0;
        for (const Loop& loop : loops)
            n += loop.size();
        return n;
    }
    std::size_t triangles() const { return corners() + 2 * loops.size() - 4; }
};

Shape star(int n) {
    if (n == 4)
        return {{{{1, 0}, {-1, -1}, {-0.375, 0}, {-1, 1}}}};
    std::mt19937 random(5);
    std::uniform_real_distribution<double> shift(-0.2, 0.2), low(0.55, 0.75), high(0.9, 1.1);
    Loop loop;
    for (int i = 0; i < n; ++i) {
        const double angle = -2 * 3.141592653589793 * (i + shift(random)) / n;
        const double radius = i % 2 ? low(random) : high(random);
        loop.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
    }
    return {{loop}};
}

Shape comb(int n) {
    const int teeth = n / 4;
    Loop loop{{0, 0}};
    for (int t = 0; t < teeth; ++t) {
        if (t > 0) {
            loop.emplace_back(2 * t - 1, 1);
            loop.emplace_back(2 * t, 1);
        }
        loop.emplace_back(2 * t, 3);
        loop.emplace_back(2 * t + 1, 3);
    }
    loop.emplace_back(2 * teeth - 1, 0);
    return {{loop}};
}

Shape windows(int holes) {
    const int side = static_cast<int>(std::ceil(std::sqrt(holes)));
    const double s = side;
    Shape shape{{{{0, 0}, {0, s}, {s, s}, {s, 0}}}};
    for (int i = 0; i < holes; ++i) {
        const double x = i % side + 0.25, y = i / side + 0.25;
        shape.loops.push_back({{x, y}, {x + 0.5, y}, {x + 0.5, y + 0.5}, {x, y + 0.5}});
    }
    return shape;
}

/// The library as it is, on arrays that are ready.
struct Bare {
    std::vector<double> points;
    std::vector<int> segments;
    std::size_t count;

    explicit Bare(const Shape& shape) : count(shape.triangles()) {
        for (const Loop& loop : shape.loops) {
            const int first = static_cast<int>(points.size() / 2), n = static_cast<int>(loop.size());
            for (int i = 0; i < n; ++i) {
                points.insert(points.end(), {loop[static_cast<std::size_t>(i)].x, loop[static_cast<std::size_t>(i)].y});
                segments.insert(segments.end(), {first + i, first + (i + 1) % n});
            }
        }
    }
    std::size_t operator()() {
        triangulateio in{}, out{};
        in.pointlist = points.data();
        in.numberofpoints = static_cast<int>(points.size() / 2);
        in.segmentlist = segments.data();
        in.numberofsegments = static_cast<int>(segments.size() / 2);
        char switches[] = "pzQ";
        ::triangulate(switches, &in, &out, nullptr);
        std::free(out.pointlist);
        std::free(out.pointmarkerlist);
        std::free(out.trianglelist);
        std::free(out.segmentlist);
        std::free(out.segmentmarkerlist);
        return count; // the holes are filled, so its own number is another
    }
};

std::size_t triangulateShape(const Shape& shape) {
    std::vector<Point> points;
    std::vector<CN_Segment> segments;
    points.reserve(shape.corners());
    segments.reserve(shape.corners());
    for (const Loop& loop : shape.loops) {
        const int first = static_cast<int>(points.size()), n = static_cast<int>(loop.size());
        for (int i = 0; i < n; ++i) {
            points.push_back(loop[static_cast<std::size_t>(i)]);
            segments.push_back({first + i, first + (i + 1) % n});
        }
    }
    std::vector<int> triangles;
    CN_triangulateOutlines(points, segments, triangles);
    return triangles.size() / 3;
}

#ifdef CAIRN_BENCH_WITH_CGAL
using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using VertexBase = CGAL::Triangulation_vertex_base_with_info_2<int, Kernel>;
using FaceBase =
    CGAL::Constrained_triangulation_face_base_2<Kernel, CGAL::Triangulation_face_base_with_info_2<int, Kernel>>;
using Delaunay =
    CGAL::Constrained_Delaunay_triangulation_2<Kernel, CGAL::Triangulation_data_structure_2<VertexBase, FaceBase>,
                                               CGAL::No_constraint_intersection_tag>;

/// CGAL's own way to tell inside: by the number of constraints that lie between a face and the outside.
std::size_t triangulateByCGAL(const Shape& shape) {
    std::vector<std::pair<Kernel::Point_2, int>> points;
    for (const Loop& loop : shape.loops)
        for (const Point& p : loop)
            points.emplace_back(Kernel::Point_2(p.x, p.y), static_cast<int>(points.size()));
    Delaunay delaunay;
    delaunay.insert(points.begin(), points.end());
    std::vector<Delaunay::Vertex_handle> handles(points.size());
    for (auto v = delaunay.finite_vertices_begin(); v != delaunay.finite_vertices_end(); ++v)
        handles[static_cast<std::size_t>(v->info())] = v;
    std::size_t first = 0;
    for (const Loop& loop : shape.loops) {
        for (std::size_t i = 0; i < loop.size(); ++i)
            delaunay.insert_constraint(handles[first + i], handles[first + (i + 1) % loop.size()]);
        first += loop.size();
    }
    for (auto f = delaunay.all_faces_begin(); f != delaunay.all_faces_end(); ++f)
        f->info() = -1;
    std::vector<std::pair<Delaunay::Face_handle, int>> border{{delaunay.infinite_face(), 0}};
    for (std::size_t next = 0; next < border.size(); ++next) {
        const int level = border[next].second;
        std::vector<Delaunay::Face_handle> open{border[next].first};
        while (!open.empty()) {
            const Delaunay::Face_handle face = open.back();
            open.pop_back();
            if (face->info() != -1)
                continue;
            face->info() = level;
            for (int i = 0; i < 3; ++i) {
                const Delaunay::Face_handle across = face->neighbor(i);
                if (across->info() != -1)
                    continue;
                if (face->is_constrained(i))
                    border.emplace_back(across, level + 1);
                else
                    open.push_back(across);
            }
        }
    }
    std::vector<int> triangles;
    for (auto f = delaunay.finite_faces_begin(); f != delaunay.finite_faces_end(); ++f)
        if (f->info() % 2 == 1)
            for (int i = 0; i < 3; ++i)
                triangles.push_back(f->vertex(i)->info());
    return triangles.size() / 3;
}
#endif

#ifdef CAIRN_BENCH_WITH_GEOS
/// Gives geometry, not places.
std::size_t triangulateByGEOS(GEOSContextHandle_t geos, const Shape& shape) {
    std::vector<GEOSGeometry*> rings;
    for (const Loop& loop : shape.loops) {
        GEOSCoordSequence* const ring = GEOSCoordSeq_create_r(geos, static_cast<unsigned>(loop.size() + 1), 2);
        for (std::size_t i = 0; i <= loop.size(); ++i)
            GEOSCoordSeq_setXY_r(geos, ring, static_cast<unsigned>(i), loop[i % loop.size()].x,
                                 loop[i % loop.size()].y);
        rings.push_back(GEOSGeom_createLinearRing_r(geos, ring));
    }
    GEOSGeometry* const polygon =
        GEOSGeom_createPolygon_r(geos, rings[0], rings.data() + 1, static_cast<unsigned>(rings.size() - 1));
    GEOSGeometry* const triangles = GEOSConstrainedDelaunayTriangulation_r(geos, polygon);
    const int count = GEOSGetNumGeometries_r(geos, triangles);
    GEOSGeom_destroy_r(geos, triangles);
    GEOSGeom_destroy_r(geos, polygon);
    return static_cast<std::size_t>(count);
}
#endif

/// A mesh of one polygon.
struct Level {
    CN_Document document;
    CN_LevelEntityMesh* mesh;
    CN_Polygon* polygon;

    explicit Level(const Shape& shape) {
        document.createCairnLevelEntities();
        mesh = document.accessLevel()->getNewMesh();
        polygon = mesh->addPolygon();
        for (const Loop& loop : shape.loops) {
            const int first = mesh->getVertexList().count(), n = static_cast<int>(loop.size());
            for (const Point& p : loop)
                mesh->addVertex({p.x, 0, p.y});
            for (int i = 0; i < n; ++i)
                polygon->addEdge(first + i, first + (i + 1) % n, false);
        }
        polygon->setNormal({0, 1, 0});
        polygon->updatePointOnPlane();
    }
};

void addScene(bench::Report& report, const std::string& scene, int n, const Shape& shape) {
    const auto shared = std::make_shared<const Shape>(shape);
    report.add(scene, "Triangle, bare", n, Bare(shape));
    report.add(scene, "cairn", n, [shared] { return triangulateShape(*shared); });
    const auto level = std::make_shared<Level>(shape);
    report.add(scene, "triangulize", n, [level] {
        level->polygon->triangulize(false);
        return level->polygon->getTriangleList().count();
    });
#ifdef CAIRN_BENCH_WITH_CGAL
    report.add(scene, "CGAL", n, [shared] { return triangulateByCGAL(*shared); });
#endif
#ifdef CAIRN_BENCH_WITH_GEOS
    static const GEOSContextHandle_t geos = GEOS_init_r();
    report.add(scene, "GEOS", n, [shared] { return triangulateByGEOS(geos, *shared); });
#endif
}

} // namespace

static void measure(cairn::bench::Report& report) {
    report.peers({"Triangle, bare", "CGAL", "GEOS"});
    for (const int n : bench::sizes({4, 16, 64, 256, 1024, 4096}, 256)) {
        addScene(report, "star", n, star(n));
        addScene(report, "comb", n, comb(n));
    }
    for (const int holes : bench::sizes({1, 16, 256}, 16))
        addScene(report, "holes", holes, windows(holes));
    for (const char* const scene : {"star", "comb"}) {
        report.limitRatio(scene, "cairn", 1.5, 0, 63);
        report.limitRatio(scene, "cairn", 1.15, 64);
        report.limitRatio(scene, "triangulize", 2);
    }
    report.limitRatio("holes", "cairn", 1.15);
    report.limitRatio("holes", "triangulize", 2);
    report.reason("holes", "cairn",
                  "the bare call fills the holes; ours finds what lies in them by a flood over the triangles");
    for (const char* const scene : {"star", "comb", "holes"}) {
        report.limitGrowthTo("Triangle, bare", scene, "cairn");
        for (const char* const peer : {"CGAL", "GEOS"}) {
            report.limitRatioTo(peer, scene, "cairn", 1, std::string_view(scene) == "holes" ? 16 : 64);
            report.reasonTo(peer, scene, "cairn",
                            "nearly all of it is Triangle's time, which bare is more than the peer's, too");
        }
    }
}

static const cairn::bench::Scene SCENE("triangulate",
                                       "One flat polygon to triangles, by its corners or holes, beside the bare call "
                                       "underneath and two geometry libraries.",
                                       measure);
