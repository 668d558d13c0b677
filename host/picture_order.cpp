#include "host/picture_order.h"

#include "host/console.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace cairn::host {

namespace {

using Vector = PictureView::Vector;

constexpr double ON_PLANE = 1e-9; // in units of the viewer's space
constexpr std::size_t PIECES_A_FACE = 16;
constexpr std::size_t CANDIDATES = 8;

/// Where a face lies as to a plane.
struct Span {
    double least = std::numeric_limits<double>::max(), most = -std::numeric_limits<double>::max();
};

Span spanOf(const SeenFace& face, const SeenFace& plane) {
    Span span;
    for (const PictureLoop& loop : face.loops)
        for (const PictureCorner& corner : loop) {
            const double side = plane.normal.dot(corner.at) - plane.distance;
            span.least = std::min(span.least, side);
            span.most = std::max(span.most, side);
        }
    return span;
}

using FaceList = std::vector<SeenFace>;

/// Others are outlines, which hide nothing.
bool isSurface(const SeenFace& face) { return face.kind == PictureFaceKind::SURFACE; }

class PaintingOrder {
  public:
    FaceList order(FaceList faces) {
        m_left = PIECES_A_FACE * faces.size();
        m_open.push_back({std::move(faces), false});
        while (!m_open.empty()) {
            auto [list, isDone] = std::move(m_open.back());
            m_open.pop_back();
            if (isDone || list.size() < 2 || std::none_of(list.begin(), list.end(), isSurface))
                take(std::move(list));
            else
                part(std::move(list));
        }
        return std::move(m_ordered);
    }

  private:
    void take(FaceList faces) {
        for (SeenFace& face : faces) {
            m_ordered.push_back(std::move(face));
            Progress::count();
        }
    }

    /// Parts a list by the plane of one of its surfaces. As all faces are turned to the viewer, what lies on the front side of
    /// the plane is painted over what lies behind it.
    void part(FaceList faces) {
        const SeenFace plane = faces[choosePlane(faces)];
        FaceList behind, on, front;
        for (SeenFace& face : faces) {
            const Span span = spanOf(face, plane);
            if (span.least >= -ON_PLANE && span.most <= ON_PLANE)
                on.push_back(std::move(face));
            else if (span.least >= -ON_PLANE || (m_left == 0 && span.least + span.most >= 0))
                front.push_back(std::move(face));
            else if (span.most <= ON_PLANE || m_left == 0)
                behind.push_back(std::move(face));
            else {
                --m_left;
                SeenFace far = face;
                for (PictureLoop& loop : face.loops)
                    loop = cutLoop(loop, plane.normal, plane.distance);
                for (PictureLoop& loop : far.loops)
                    loop = cutLoop(loop, -plane.normal, -plane.distance);
                addPiece(front, std::move(face));
                addPiece(behind, std::move(far));
            }
        }
        // A plane that its own face is off by more than the tolerance parts nothing.
        const bool parts = !on.empty() || (!behind.empty() && !front.empty());
        m_open.push_back({std::move(front), !parts});
        std::stable_partition(on.begin(), on.end(), isSurface); // outlines lie on their plane's surfaces
        m_open.push_back({std::move(on), true});
        m_open.push_back({std::move(behind), !parts});
    }
    static void addPiece(FaceList& list, SeenFace face) {
        std::erase_if(face.loops, [](const PictureLoop& loop) { return loop.empty(); });
        if (!face.loops.empty())
            list.push_back(std::move(face));
    }

    /// Of a few surfaces the one whose plane cuts the fewest other faces, and of these the one that parts them best.
    static std::size_t choosePlane(const FaceList& faces) {
        std::vector<std::size_t> surfaces;
        for (std::size_t i = 0; i < faces.size(); ++i)
            if (isSurface(faces[i]))
                surfaces.push_back(i);
        std::size_t best = surfaces.front(), bestCost = std::numeric_limits<std::size_t>::max();
        const std::size_t step = std::max<std::size_t>(1, surfaces.size() / CANDIDATES);
        for (std::size_t at = 0; at < surfaces.size(); at += step) {
            const std::size_t candidate = surfaces[at];
            std::size_t behind = 0, front = 0, cuts = 0;
            for (std::size_t i = 0; i < faces.size(); i += std::max<std::size_t>(1, faces.size() / 256)) {
                const Span span = spanOf(faces[i], faces[candidate]);
                const bool isBehind = span.least<-ON_PLANE, isFront = span.most> ON_PLANE;
                cuts += isBehind && isFront;
                behind += isBehind;
                front += isFront;
            }
            const std::size_t cost = 4 * cuts + (behind > front ? behind - front : front - behind);
            if (cost < bestCost) {
                best = candidate;
                bestCost = cost;
            }
        }
        return best;
    }

    struct Open {
        FaceList faces;
        bool isDone; ///< nothing of it hides another
    };
    std::vector<Open> m_open; ///< the one to be painted next last
    FaceList m_ordered;
    std::size_t m_left = 0; ///< cuts that may still be made
};

} // namespace

std::vector<SeenFace> orderForPainting(std::vector<SeenFace> faces) { return PaintingOrder().order(std::move(faces)); }

} // namespace cairn::host
