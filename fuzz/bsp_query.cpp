#include "cairn/platform/handlers.h"
#include "fuzz/support/bytes.h"
#include "tests/support/naive_bsp.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

// Any pieces build the tree that the rule tells, or none, and every query of it ends: the block that points are asked of
// answers as its nodes do.
//
// The first byte tells how the others are read: as small whole numbers, as small numbers that differ by less than what counts
// as one place, or as any doubles. A piece is a byte for its number of corners and the side that it looks to, and its corners.

namespace {

using namespace cairn;

using Vector = CN_Ngon::Vector;

/// Numbers on a grid of 16, close beside one of 8, or any.
struct Bytes : fuzz::Bytes {
    using fuzz::Bytes::Bytes;
    double number(int kind) {
        if (kind == 0)
            return next() % 16;
        if (kind == 1) {
            const int whole = next();
            return whole % 8 + (whole / 8 - 16) * 0.0001;
        }
        return fuzz::Bytes::number();
    }
    Vector point(int kind) {
        const double x = number(kind), y = number(kind);
        return {x, y, number(kind)};
    }
};

void require(bool holds) {
    if (!holds)
        std::abort();
}

/// A piece of up to five corners, which need not lie in its plane.
CN_Ngon readPiece(Bytes& bytes, int kind) {
    const int head = bytes.next();
    CN_Ngon piece;
    for (int i = 0; i < head % 6; ++i)
        piece.addVertex(bytes.point(kind));
    const std::vector<Vector>& corners = piece.getVertices();
    Vector normal = head & 64 ? bytes.point(kind) : Vector(0, 0, 1);
    if (corners.size() > 2 && !(head & 64))
        normal = (corners[1] - corners[0]).cross(corners[2] - corners[0]).normalized();
    piece.setPlane({head & 128 ? -normal : normal, corners.empty() ? Vector() : corners[0]});
    return piece;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setVerboseHandler([](const std::string&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const int kind = bytes.next() % 3;
    CN_BSPTree::NgonList ngons;
    while (!bytes.empty() && ngons.count() < 80)
        ngons.add(readPiece(bytes, kind));
    CN_BSPTree::NgonList given = ngons;

    CN_BSPTree tree;
    test::NaiveBSPNode told;
    const bool isTold = test::naiveBSP(test::asPieces(given), told);
    require(tree.build(given) == (isTold ? 1 : 0));
    require(test::isSameBSP(tree.getRoot(), &told));

    std::set<CN_BSPNode*> nodes;
    CN_BSPTree::NgonList parts;
    CN_BSPTree::PlaneList planes;
    for (const CN_Ngon& piece : ngons) {
        for (const Vector& corner : piece.getVertices())
            for (const Vector& point : {corner, corner + piece.getPlane().getNormal() * 0.0005,
                                        corner - piece.getPlane().getNormal() * 0.0005}) {
                require(tree.inside(point) == tree.inside(tree.getRoot(), point, false));
                require(tree.strictlyInside(point) == tree.inside(tree.getRoot(), point, true));
                tree.gatherSplitPlanes(point, 0.001, nodes, nullptr);
            }
        tree.inside(&piece);
        tree.isInsideSubtree(tree.getRoot(), &piece);
        tree.getsSplit(&piece);
        for (const int alreadyCoplanar : {0, 1})
            tree.classify2(tree.getRoot(), &piece, alreadyCoplanar);
        if (planes.count() < 8)
            planes.add(piece.getPlane());
    }
    // Afterwards, as a tree that has grown answers node by node.
    for (const CN_Ngon& piece : ngons)
        tree.insertBounding(tree.accessRoot(), &piece);
    if (!ngons.empty())
        tree.insertSplit(parts, *ngons.first(), planes, planes.first());
    return 0;
}
