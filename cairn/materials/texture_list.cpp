#include "cairn/materials/texture_list.h"

#include "cairn/foundation/memory_file.h"

namespace cairn {

void CN_TextureList::construct() {
    destruct();
    m_constructed = true;
}

void CN_TextureList::destruct() { m_constructed = false; }

// Version 1: unsigned int count, then each texture.

F_MemoryFile& operator<<(F_MemoryFile& file, const CN_TextureList&) {
    file.createChunk(0, CAIRN_TEXTURE_LIST_VERSION);
    file.writeCount(0);
    file.closeChunk();
    return file;
}

F_MemoryFile& operator>>(F_MemoryFile& file, CN_TextureList&) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& body = chunk.getMemoryFile();
    unsigned int count = 0;
    body >> count;
    if (count > 0)
        body.fail(formatText("The level has %u textures; textures are not supported by this version", count));
    file.skipChunk();
    return file;
}

} // namespace cairn
