#include "tests/support/mesh_edits.h"
#include "tests/support/random_rooms.h"

#include <gtest/gtest.h>

#include <random>

namespace cairn {
namespace {

/// The mesh of a script: those of the shelf in turn, and between them random rooms.
test::ShelfMesh meshOf(unsigned int script) {
    static const std::vector<test::ShelfMesh> shelf = test::editableMeshes();
    if (script % 2 == 0)
        return shelf[script / 2 % shelf.size()];
    test::ShelfMesh room{"random room " + std::to_string(script), nullptr, 0, 0, 0, true, 0};
    room.build = [script](CN_Document& document) {
        test::RandomPolygons random(script);
        return script % 4 == 1 ? test::randomPrism(document, random, script % 8 == 1)
                               : test::randomCells(document, random);
    };
    return room;
}

/// Random scripts of 50 edits each.
void runScripts(unsigned int scripts, unsigned int seed) {
    for (unsigned int script = seed; script < seed + scripts; ++script) {
        std::mt19937 random(script);
        std::vector<test::MeshEdit> edits(50);
        for (test::MeshEdit& edit : edits) {
            edit.kind = static_cast<test::MeshEdit::Kind>(random() % test::MeshEdit::KINDS);
            edit.polygon = static_cast<std::uint8_t>(random());
            edit.other = static_cast<std::uint8_t>(random());
            for (std::int8_t* const size : {&edit.a, &edit.b, &edit.c})
                *size = static_cast<std::int8_t>(random());
        }
        constexpr double TOLERANCE = 2e-3; // that welds and changes of space leave
        ASSERT_EQ(test::findMeshEditFault(meshOf(script), edits, TOLERANCE), "") << "script " << script;
    }
}

TEST(MeshEdits, KeepMeshesClosedAndFlatAndRefusalsChangeNothing) { runScripts(200, 1); }

// Takes minutes.
TEST(MeshEdits, DISABLED_ManyScripts) { runScripts(10000, 1000); }

} // namespace
} // namespace cairn
