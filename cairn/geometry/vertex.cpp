#include "cairn/geometry/vertex.h"

#include "cairn/foundation/memory_file.h"

namespace cairn {

// Version 1: x, y, z of the place in the mesh's space.

F_MemoryFile& operator<<(F_MemoryFile& file, const CN_Vertex& vertex) {
    file.createChunk(0, CAIRN_VERTEX_VERSION);
    file << vertex.local;
    file.closeChunk();
    return file;
}

F_MemoryFile& operator>>(F_MemoryFile& file, CN_Vertex& vertex) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    in >> vertex.local;
    if (!vertex.local.isFinite())
        in.fail("The place of a vertex is not finite");
    file.skipChunk();
    return file;
}

} // namespace cairn
