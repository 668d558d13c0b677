#include "cairn/document/change_scope.h"
#include "cairn/geometry/convex_region.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/ngon.h"
#include "cairn/geometry/planar/polygon2d.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <queue>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double SNAP_TOLERANCE = 1e-5; // corners nearer than this are one for the planar polygon

/// Merges the pieces of a triangulation.
///
/// The rule is a walk that starts anew after every merge: the first piece T in list order, with the first other piece U that
/// fits it. A pair that was refused is refused for ever, as pieces never change. So the pairs that share an edge are kept in
/// the order in which that walk meets them, and each is tried once. Edges keep their identity and what lies across them when
/// pieces merge. Corners are numbered within the polygon.
class ConvexMerge {
  public:
    ConvexMerge(CN_Polygon& polygon, const CN_Mesh& mesh, CN_Polygon::TriangleList& list)
        : m_polygon(polygon), m_mesh(mesh), m_list(list) {}

    void run() {
        const CN_Polygon::PlanarSpace space = m_polygon.getSpace();
        for (CN_Triangle& triangle : m_list)
            addTriangle(triangle, space);
        findOpposites();
        for (int piece = 0; piece < static_cast<int>(m_pieces.size()); ++piece)
            addPairs(piece, false);
        Pair last{-1, -1, 0};
        while (!m_pairs.empty()) {
            const Pair pair = m_pairs.top();
            m_pairs.pop();
            // Of several edges that two pieces share the first one counts.
            const bool isNew = pair.piece != last.piece || pair.other != last.other;
            last = pair;
            if (isNew && fits(pair))
                merge(pair);
        }
        writeBack();
    }

  private:
    struct Piece {
        CN_Triangle* triangle = nullptr; ///< in the list; null for one that was merged
        std::vector<int> corners, sides; ///< a side begins at each corner
        double area = 0;
        bool isGone = false; ///< part of another
    };
    /// Two pieces by number, which is their order in the list, and the first one's corner where an edge they share begins.
    struct Pair {
        int piece, other, corner;
        bool operator>(const Pair& b) const {
            return std::tie(piece, other, corner) > std::tie(b.piece, b.other, b.corner);
        }
    };
    /// An edge of a piece.
    struct Side {
        int piece, corner; ///< where it is now
        int opposite;      ///< the first side that runs back along it, -1 for none
        int next;          ///< another one between the same corners, -1 for none
        std::uint64_t key; ///< the corners it runs between
    };

    static std::uint64_t keyOf(int from, int to) {
        return std::uint64_t{static_cast<std::uint32_t>(from)} << 32 | static_cast<std::uint32_t>(to);
    }
    Piece& pieceAt(int number) { return m_pieces[static_cast<std::size_t>(number)]; }
    Side& sideAt(int number) { return m_sides[static_cast<std::size_t>(number)]; }

    void addTriangle(CN_Triangle& triangle, const CN_Polygon::PlanarSpace& space) {
        const int number = static_cast<int>(m_pieces.size());
        Piece& piece = m_pieces.emplace_back();
        piece.triangle = &triangle;
        for (const int vertex : triangle.getVertices()) {
            const auto [entry, isNew] = m_numberOf.try_emplace(vertex, static_cast<int>(m_vertices.size()));
            if (isNew) {
                const Vector& place = m_mesh.getVertexList()[vertex].local;
                m_vertices.push_back(vertex);
                m_places.push_back(place);
                m_points.push_back(space.toUV(place));
            }
            piece.corners.push_back(entry->second);
        }
        for (std::size_t i = 0; i < piece.corners.size(); ++i) {
            const int from = piece.corners[i], to = piece.corners[(i + 1) % piece.corners.size()];
            piece.sides.push_back(static_cast<int>(m_sides.size()));
            m_sides.push_back({number, static_cast<int>(i), -1, -1, keyOf(from, to)});
        }
        piece.area = areaOf(piece.corners);
    }

    void findOpposites() {
        std::unordered_map<std::uint64_t, int> firstOf;
        firstOf.reserve(m_sides.size());
        for (int i = 0; i < static_cast<int>(m_sides.size()); ++i) {
            const auto [entry, isNew] = firstOf.try_emplace(sideAt(i).key, i);
            if (!isNew)
                sideAt(i).next = std::exchange(entry->second, i);
        }
        for (Side& side : m_sides)
            if (const auto found = firstOf.find(side.key << 32 | side.key >> 32); found != firstOf.end())
                side.opposite = found->second;
    }

    /// The pairs of a piece with its neighbours; with `bothWays` theirs with it, too.
    void addPairs(int number, bool bothWays) {
        for (const int own : pieceAt(number).sides)
            for (int other = sideAt(own).opposite; other >= 0; other = sideAt(other).next) {
                const Side& side = sideAt(other);
                if (side.piece == number)
                    continue;
                m_pairs.push({number, side.piece, sideAt(own).corner});
                if (bothWays)
                    m_pairs.push({side.piece, number, side.corner});
            }
    }

    // The sum of areas keeps pieces without any apart.
    bool fits(const Pair& pair) {
        const Piece &piece = pieceAt(pair.piece), &other = pieceAt(pair.other);
        return !piece.isGone && !other.isGone && piece.area + other.area > 0 &&
               CN_formsConvexRegion(piece.corners, other.corners, pair.corner,
                                    [this](int corner) { return m_points[static_cast<std::size_t>(corner)]; });
    }
    /// As `CN_Triangle::area` has it.
    double areaOf(const std::vector<int>& corners) const {
        const auto place = [&](std::size_t i) { return m_places[static_cast<std::size_t>(corners[i])]; };
        double sum = 0;
        for (std::size_t i = 2; i < corners.size(); ++i)
            sum += (place(i - 1) - place(0)).cross(place(i) - place(0)).length();
        return sum / 2;
    }

    void merge(const Pair& pair) {
        const int number = static_cast<int>(m_pieces.size());
        m_pieces.emplace_back();
        Piece &made = m_pieces.back(), &a = pieceAt(pair.piece), &b = pieceAt(pair.other);
        enter(a.corners, m_placeInA);
        enter(b.corners, m_placeInB);
        const auto find = [](const std::vector<int>& placeIn) {
            return [&placeIn](int corner) { return placeIn[static_cast<std::size_t>(corner)]; };
        };
        bool isContained = false;
        for (const CN_OutlinePlace& at :
             CN_uniteOutlines(a.corners, b.corners, find(m_placeInA), find(m_placeInB), isContained)) {
            const Piece& source = at.isOfFirst ? a : b;
            Side& side = sideAt(source.sides[at.corner]);
            side.piece = number;
            side.corner = static_cast<int>(made.corners.size());
            made.corners.push_back(source.corners[at.corner]);
            made.sides.push_back(source.sides[at.corner]);
        }
        leave(a.corners, m_placeInA);
        leave(b.corners, m_placeInB);
        if (isContained)
            tellOfContained(a, b);
        made.area = areaOf(made.corners);
        for (Piece* const gone : {&a, &b}) {
            gone->isGone = true;
            if (gone->triangle)
                m_list.remove(std::exchange(gone->triangle, nullptr));
            gone->corners = gone->sides = {};
        }
        addPairs(number, true);
    }
    void enter(const std::vector<int>& corners, std::vector<int>& placeIn) const {
        placeIn.resize(m_vertices.size(), -1);
        for (std::size_t i = corners.size(); i-- > 0;)
            placeIn[static_cast<std::size_t>(corners[i])] = static_cast<int>(i);
    }
    static void leave(const std::vector<int>& corners, std::vector<int>& placeIn) {
        for (const int corner : corners)
            placeIn[static_cast<std::size_t>(corner)] = -1;
    }
    /// Lets the triangles tell what they tell when they are made one.
    void tellOfContained(const Piece& a, const Piece& b) const {
        CN_Triangle first, second, made;
        setVertices(first, a);
        setVertices(second, b);
        made.unify(first, second);
    }
    void setVertices(CN_Triangle& triangle, const Piece& piece) const {
        triangle.setParent(&m_polygon);
        for (const int corner : piece.corners)
            triangle.accessVertices().push_back(m_vertices[static_cast<std::size_t>(corner)]);
    }

    void writeBack() {
        for (const Piece& piece : m_pieces) {
            if (piece.isGone || piece.triangle)
                continue;
            CN_Triangle& made = m_list.emplace();
            setVertices(made, piece);
            made.accessUV().resize(piece.corners.size());
            made.accessLightmapUV().resize(piece.corners.size());
        }
    }

    CN_Polygon& m_polygon;
    const CN_Mesh& m_mesh;
    CN_Polygon::TriangleList& m_list;
    std::unordered_map<int, int> m_numberOf;         ///< of mesh vertices: their numbers here
    std::vector<int> m_vertices;                     ///< the mesh vertices, by number
    std::vector<Vector> m_places;                    ///< in the mesh's space, by number
    std::vector<M_Vector2Template<double>> m_points; ///< in the polygon's plane, by number
    std::vector<Piece> m_pieces;                     ///< by number
    std::vector<Side> m_sides;                       ///< of the triangles, in the order of their corners
    std::vector<int> m_placeInA, m_placeInB;         ///< of the corners of two pieces that merge, -1 for others
    std::priority_queue<Pair, std::vector<Pair>, std::greater<>> m_pairs; ///< not tried yet
};

/// Makes one number of many.
class Digest {
  public:
    void add(int value) { mix(static_cast<std::uint32_t>(value)); }
    void add(const Vector& v) { mix(spread(v.x) + std::rotl(spread(v.y), 21) + std::rotl(spread(v.z), 42)); }
    /// Never 0.
    std::uint64_t value() const { return m_value | 1; }

  private:
    static constexpr std::uint64_t ODD = 0x9E3779B97F4A7C15u;

    /// Round numbers have their digits in the upper half alone.
    static std::uint64_t spread(double number) {
        const std::uint64_t bits = std::bit_cast<std::uint64_t>(number);
        return (bits ^ bits >> 32) * ODD;
    }
    void mix(std::uint64_t value) {
        m_value = (m_value ^ value) * ODD;
        m_value ^= m_value >> 29;
    }

    std::uint64_t m_value = 0;
};

/// Pieces that were merged have four corners at least, and coordinates, which are zero.
bool isMerged(const CN_Triangle& piece) { return piece.getVertices().size() > 3; }

} // namespace

const CN_Polygon::NgonList& CN_Polygon::getNgonList() const { return lists().ngonList; }

CN_Polygon::NgonList& CN_Polygon::accessNgonList() { return accessLists().ngonList; }

/// Makes a planar polygon of the boundary, whatever pieces a classification has left.
CN_2DPolygon CN_Polygon::makePlanar() {
    if (!m_lists || m_lists->ngonList.empty())
        return {this, SNAP_TOLERANCE};
    struct Aside {
        NgonList& list;
        NgonList kept;
        explicit Aside(NgonList& l) : list(l) { list.swap(kept); }
        ~Aside() { list.swap(kept); }
    } const aside(m_lists->ngonList);
    return {this, SNAP_TOLERANCE};
}

void CN_Polygon::triangulize(bool convexify) {
    if (lists().vertexBuffer.empty() && m_edgeList.empty())
        return;
    if (!lists().vertexBuffer.empty())
        constructEdges();
    const CN_ChangeScope change(m_parent ? m_parent->getDocument() : nullptr);
    m_triangleList.clear();
    m_triangulationKey = 0;
    m_uvCalculated = false; // the outline may be another one
    if (m_parent)
        m_parent->setBSPDirty();
    CN_2DPolygon planar = makePlanar();
    if (planar.isClockwise() == 0) {
        if (m_polygonIndex != NO_INDEX)
            AfxMessageBox(formatText("Poly %d was non-clockwise!", static_cast<int>(m_polygonIndex)));
        dump();
        flipVertexOrder();
        planar = makePlanar();
    }
    if (planar.valid())
        planar.triangulate();
    if (!planar.valid() || planar.getNumTriangles() == 0) {
        dump();
        AfxMessageBox(formatText("Triangulation error (poly %d); invalid geometry. Undo last change!",
                                 static_cast<int>(m_polygonIndex)));
        return;
    }
    const std::vector<int>& corners = planar.getTriangles();
    const auto count = static_cast<std::size_t>(planar.getNumTriangles());
    for (std::size_t i = 0; i < count; ++i) {
        CN_Triangle& triangle = m_triangleList.emplace();
        triangle.setParent(this);
        triangle.accessVertices() = {planar.ref(corners[3 * i]), planar.ref(corners[3 * i + 1]),
                                     planar.ref(corners[3 * i + 2])};
    }
    if (!convexify)
        return;
    this->convexify();
    if (std::all_of(m_triangleList.begin(), m_triangleList.end(),
                    [](const CN_Triangle& piece) { return isMerged(piece) != piece.getUV().empty(); }))
        m_triangulationKey = findTriangulationKey();
}

/// Stands for all that a triangulation is made of, and for its pieces.
std::uint64_t CN_Polygon::findTriangulationKey() const {
    Digest digest;
    const Matrix& axes = getUVSpace(0).getMatrix();
    for (const Vector& v : {axes.row(0), axes.row(2), m_normal, m_pointOnPlane})
        digest.add(v);
    for (const CN_Edge* edge = m_edgeList.first(); edge;) {
        const CN_Edge* const next = m_edgeList.next(edge);
        digest.add(edge->index(0));
        digest.add(edge->getLocal(0));
        if (!next || next->index(0) != edge->index(1)) {
            digest.add(edge->index(1));
            digest.add(edge->getLocal(1));
        }
        edge = next;
    }
    for (const CN_Triangle& piece : m_triangleList) {
        digest.add(static_cast<int>(piece.getVertices().size()));
        for (const int corner : piece.getVertices())
            digest.add(corner);
    }
    return digest.value();
}

bool CN_Polygon::isTriangulationCurrent() const {
    return m_triangulationKey != 0 && lists().vertexBuffer.empty() && m_triangulationKey == findTriangulationKey() &&
           std::all_of(m_triangleList.begin(), m_triangleList.end(), [](const CN_Triangle& piece) {
               const std::size_t corners = isMerged(piece) ? piece.getVertices().size() : 0;
               return piece.getUV().capacity() >= corners && piece.getLightmapUV().capacity() >= corners;
           });
}

void CN_Polygon::renewTriangulation() noexcept {
    for (CN_Triangle& piece : m_triangleList) {
        const std::size_t corners = isMerged(piece) ? piece.getVertices().size() : 0;
        piece.accessUV().assign(corners, {});
        piece.accessLightmapUV().assign(corners, {});
        piece.accessDetailUV().clear();
    }
    if (m_lists)
        m_lists->ngonList.clear();
    m_uvCalculated = false;
    if (m_parent)
        m_parent->setBSPDirty();
}

bool CN_Polygon::canTriangulize() const {
    if (m_edgeList.empty())
        return false;
    try {
        CN_2DPolygon planar = const_cast<CN_Polygon*>(this)->makePlanar(); // which leaves the polygon as it was
        if (!planar.valid() || planar.isClockwise() == 0)
            return false;
        planar.triangulate();
        return planar.getNumTriangles() > 0;
    } catch (M_PlanarSpace3Exception_Singular* e) {
        const F_ExceptionGuard guard(e);
        return false;
    }
}

void CN_Polygon::convexify() {
    if (m_lists)
        m_lists->ngonList.clear();
    if (m_triangleList.count() > 1)
        ConvexMerge(*this, requireMesh(), m_triangleList).run();
}

double CN_Polygon::calcArea() const {
    double sum = 0;
    for (const CN_Triangle& triangle : m_triangleList)
        sum += triangle.area();
    return sum;
}

} // namespace cairn
