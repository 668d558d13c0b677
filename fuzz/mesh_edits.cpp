#include "tests/support/mesh_edits.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

// A script of edits to a mesh of the shelf: what was closed and flat stays so, and what is refused changes nothing. The first
// byte chooses the mesh; six make an edit.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cairn::test;
    constexpr std::size_t MOST = 20;
    static const std::vector<ShelfMesh> meshes = editableMeshes();
    if (size == 0)
        return 0;
    std::vector<MeshEdit> edits;
    for (const std::uint8_t* at = data + 1; at + 6 <= data + size && edits.size() < MOST; at += 6)
        edits.push_back({static_cast<MeshEdit::Kind>(at[0] % MeshEdit::KINDS), at[1], at[2],
                         static_cast<std::int8_t>(at[3]), static_cast<std::int8_t>(at[4]),
                         static_cast<std::int8_t>(at[5])});
    // Chosen against us, thousandths add up.
    constexpr double TOLERANCE = 0.05;
    if (const std::string fault = findMeshEditFault(meshes[data[0] % meshes.size()], edits, TOLERANCE);
        !fault.empty()) {
        std::fprintf(stderr, "%s", fault.c_str());
        std::abort();
    }
    return 0;
}
