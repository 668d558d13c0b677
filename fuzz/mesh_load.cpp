#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/validate.h"
#include "cairn/materials/materials_category.h"
#include "cairn/platform/handlers.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

// Any bytes are a mesh's record or an exception; what loads has no inner fault and comes back from its save as it was.
// Seeds are the stored forms of meshes.

namespace {

using namespace cairn;

/// A document with a default material and an empty mesh.
struct Level {
    Level() {
        document.createCairnLevelEntities();
        document.accessMaterials().addCategory(&document.accessTextures(), "Default")->add(0, "", nullptr);
        mesh = document.accessLevel()->getNewMesh();
    }
    void load(const void* data, std::size_t size) {
        F_MemoryFile file(data, size, false);
        CN_Polygon::m_suiRunningDocIndex = 0;
        mesh->loadEntitySpecificData(file);
        CN_ExitDestinationPointerDeserializer::instance()->deserialize(document.accessLevel(), nullptr);
        document.accessLevel()->handleParenting(true);
        mesh->calculateBoundingBox();
    }
    void save(F_MemoryFile& file) {
        CN_PolygonValidator::instance()->enumerateWrittenPolygons(document.accessLevel()->checkSavable());
        mesh->saveEntitySpecificData(file);
    }

    CN_Document document;
    CN_LevelEntityMesh* mesh;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    setProcessEndHandler([](int) { throw new F_Exception("the library ended the process"); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Level level, again;
    try {
        level.load(data, size);
    } catch (F_Exception* e) {
        e->Delete();
        return 0;
    }
    for (const CN_Finding& finding : CN_validateDocument(level.document, CN_LEVEL_TOLERANCE))
        if (finding.internal)
            std::abort();
    F_MemoryFile saved, savedAgain;
    level.save(saved);
    again.load(saved.getAddress(), saved.getSize());
    again.save(savedAgain);
    if (saved.getSize() != savedAgain.getSize() ||
        std::memcmp(saved.getAddress(), savedAgain.getAddress(), saved.getSize()) != 0)
        std::abort();
    return 0;
}
