#include "tests/support/mesh_edits.h"

#include <gtest/gtest.h>

#include <random>

namespace cairn {
namespace {

/// Random scripts of 50 edits each, over the meshes of the shelf in turn.
void runScripts(int scripts, unsigned int seed) {
    std::vector<test::ShelfMesh> meshes;
    for (const test::ShelfMesh& shelf : test::meshShelf())
        if (shelf.polygons > 0 && shelf.polygons < 100 && shelf.tolerance < 1e-6)
            meshes.push_back(shelf);
    for (int script = 0; script < scripts; ++script) {
        std::mt19937 random(seed + static_cast<unsigned>(script));
        std::vector<test::MeshEdit> edits(50);
        for (test::MeshEdit& edit : edits) {
            edit.kind = static_cast<test::MeshEdit::Kind>(random() % test::MeshEdit::KINDS);
            edit.polygon = static_cast<std::uint8_t>(random());
            edit.other = static_cast<std::uint8_t>(random());
            for (std::int8_t* const size : {&edit.a, &edit.b, &edit.c})
                *size = static_cast<std::int8_t>(random());
        }
        const test::ShelfMesh& shelf = meshes[static_cast<std::size_t>(script) % meshes.size()];
        ASSERT_EQ(test::findMeshEditFault(shelf, edits), "") << "script " << seed + static_cast<unsigned>(script);
    }
}

TEST(MeshEdits, KeepMeshesClosedAndFlatAndRefusalsChangeNothing) { runScripts(200, 1); }

// Takes minutes.
TEST(MeshEdits, DISABLED_ManyScripts) { runScripts(10000, 1000); }

} // namespace
} // namespace cairn
