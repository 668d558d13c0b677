#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/validate.h"
#include "cairn/materials/materials_category.h"
#include "cairn/platform/handlers.h"
#include "fuzz/support/bytes.h"
#include "host/explain.h"
#include "host/mesh_builder.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <vector>

// Exits that hold any numbers, under any numbers, with portals wherever, are bound, sealed or made solid: whatever they are
// then asked, edited and saved ends, and no exit leads out of the level.
//
// The first byte tells how the exits are bound. Each three that follow set up an exit of one of three rooms, up to sixteen;
// the rest are commands of three bytes.

namespace {

using namespace cairn;

using Vector = CN_LevelEntity::Vector;

using fuzz::Bytes;

void require(bool holds) {
    if (!holds)
        std::abort();
}

/// Three rooms in a row.
struct Rooms {
    CN_Document document;
    std::vector<CN_LevelEntityMesh*> meshes;

    Rooms() {
        document.createCairnLevelEntities();
        document.accessMaterials().addCategory(&document.accessTextures(), "Default")->add(0, "", nullptr);
        for (int i = 0; i < 3; ++i) {
            CN_LevelEntityMesh* const mesh = document.accessLevel()->getNewMesh();
            mesh->setPosition({i * 4.0, 0, 0});
            host::MeshBuilder builder(*mesh);
            builder.addBox({}, {4, 4, 4}, true, document.getMaterials().getDefaultMaterial());
            builder.finish();
            meshes.push_back(mesh);
        }
    }
    /// All polygons, in the order of their numbers.
    std::vector<CN_Polygon*> polygons() {
        std::vector<CN_Polygon*> list;
        CN_PolygonValidator::instance()->enumeratePolygons(&document, &list);
        return list;
    }
};

/// A number of an exit: of a polygon, none, or one that nobody has.
int exitNumber(int byte) {
    return byte < 24 ? byte : byte < 32 ? CN_Polygon::NON_EXIT_INDEX : (byte - 128) * 0x1000000 - byte;
}

void setUp(Rooms& rooms, Bytes& bytes) {
    const std::vector<CN_Polygon*> polygons = rooms.polygons();
    for (int i = 0; i < 16 && !bytes.empty(); ++i) {
        const int at = bytes.next(), to = bytes.next(), look = bytes.next();
        CN_Polygon& exit = *polygons[static_cast<std::size_t>(at) % polygons.size()];
        exit.setExitDestinationIndex(exitNumber(to));
        if (look & 1) {
            exit.setPolyMode(PT_EXIT);
            exit.setMaterial(nullptr);
        }
        if (look & 2) {
            auto portal = std::make_unique<CN_LevelEntityPortal>();
            portal->setDocument(&rooms.document);
            CN_LevelEntityPortal& made = *portal;
            exit.getParent()->addOwned(std::move(portal), false);
            if (!(look & 4))
                made.setPortalPolygon(&exit);
        }
        if (look & 8)
            exit.setPolygonIndex(static_cast<unsigned int>(look >> 4));
        if (!(look & 128) && exit.getExitDestinationIndex() != CN_Polygon::NON_EXIT_INDEX)
            CN_ExitDestinationPointerDeserializer::instance()->addRelocatableExitPolygon(&exit);
    }
}

void bind(Rooms& rooms, int how) {
    auto& deserializer = *CN_ExitDestinationPointerDeserializer::instance();
    if (how & 1)
        CN_PolygonValidator::instance()->validateExitDestinations(&rooms.document);
    try {
        deserializer.deserialize(rooms.document.accessLevel(),
                                 how & 2 ? nullptr : rooms.document.getMaterials().getDefaultMaterial());
    } catch (F_Exception* e) {
        require(how & 2);
        e->Delete();
    }
    deserializer.reset();
    for (CN_Polygon* const polygon : rooms.polygons())
        if (!polygon->isExitPolygon())
            polygon->setExitDestinationIndex(CN_Polygon::NON_EXIT_INDEX);
}

void run(Rooms& rooms, Bytes& bytes) {
    const int command = bytes.next(), a = bytes.next(), b = bytes.next();
    const std::vector<CN_Polygon*> polygons = rooms.polygons();
    CN_Polygon &first = *polygons[static_cast<std::size_t>(a) % polygons.size()],
               &second = *polygons[static_cast<std::size_t>(b) % polygons.size()];
    CN_Mesh& mesh = *first.getParent();
    switch (command % 9) {
    case 0:
        first.setExitDestination(b & 128 ? nullptr : &second);
        break;
    case 1:
        first.sealExit(b & 1 ? rooms.document.getMaterials().getDefaultMaterial() : nullptr);
        break;
    case 2:
        if (mesh.getPolygonList().count() > 1)
            mesh.deletePolygon(&first);
        break;
    case 3: {
        CN_Polygon& exit = *mesh.addPolygon();
        F_DLListInit<Vector> contour;
        for (const int corner : {0, 1, 3, 2})
            contour.add({(a % 17) * 0.25, (corner & 1) * (1.0 + b % 3), (corner / 2) * (b % 7) * 0.5});
        const M_PlanarSpace3Template<double> space(CN_LevelEntity::Matrix({0, 0, 1}, {0, -1, 0}, {1, 0, 0}),
                                                   mesh.worldTransform(*contour.first()), {});
        exit.createExitPolygon(contour, (b & 8) != 0, (b & 16) != 0, &space);
        exit.setExitDestination(&second);
        exit.setPolyMode(PT_EXIT);
        break;
    }
    case 4:
        host::explainMesh(mesh, b & 1 ? &first : nullptr);
        host::explainExit(first);
        break;
    case 5:
        mesh.findPassages();
        first.jumpable(&second);
        mesh.createBoundingBSP();
        break;
    case 6: {
        CN_LevelEntityPolygonGroup model;
        model.setSmooth(true);
        CN_LevelEntityPolygonGroup& group = *mesh.addNewPolygroup(&model, false);
        group.addPolygon(&first);
        if (second.getParent() == &mesh)
            group.addPolygon(&second);
        std::map<CN_Polygon*, CN_Mesh::VertexNormals> normals;
        mesh.calculateVertexNormals(normals, (b & 1) != 0);
        break;
    }
    case 7: {
        CN_LevelEntityMesh copy = dynamic_cast<CN_LevelEntityMesh&>(mesh);
        copy.getNextExitName();
        copy.updateMaterialRefCounts(false); // what the level has is counted below
        break;
    }
    default:
        CN_PolygonValidator::instance()->validateExitDestinations(&rooms.document);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    setVerboseHandler([](const std::string&) {});
    setProcessEndHandler([](int) { throw new F_Exception("the library ended the process"); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    Rooms rooms;
    const int how = bytes.next();
    setUp(rooms, bytes);
    bind(rooms, how);
    for (int i = 0; i < 16 && !bytes.empty(); ++i)
        run(rooms, bytes);

    const std::vector<CN_Polygon*> polygons = rooms.polygons();
    const std::set<const CN_Polygon*> known(polygons.begin(), polygons.end());
    for (const CN_Polygon* const polygon : polygons)
        require(!polygon->isExitPolygon() || known.contains(polygon->getExitDestination()));
    for (const CN_Finding& finding : CN_validateDocument(rooms.document, CN_LEVEL_TOLERANCE))
        if (finding.internal) {
            std::fprintf(stderr, "%s: %s\n", finding.code, finding.message.c_str());
            std::abort();
        }
    try {
        F_MemoryFile saved, savedAgain;
        rooms.document.save(saved);
        saved.toRead();
        CN_Document loaded, again;
        loaded.load(saved);
        loaded.save(savedAgain);
        savedAgain.toRead();
        again.load(savedAgain);
        F_MemoryFile third;
        again.save(third);
        require(third.getSize() == savedAgain.getSize() &&
                std::memcmp(third.getAddress(), savedAgain.getAddress(), third.getSize()) == 0);
    } catch (F_Exception* e) {
        e->Delete(); // a save may refuse
    }
    return 0;
}
