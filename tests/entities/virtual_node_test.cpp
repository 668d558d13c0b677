#include "cairn/document/selection.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/foundation/file.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_mesh_entities.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/sample_mesh.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>

namespace cairn {
namespace {

/// A room "Room" of four polygons, of which the second has no edges and so no place in a file.
struct NodeLevel : test::LevelDocument {
    NodeLevel() : room(dynamic_cast<CN_LevelEntityMesh&>(*test::addChild(root(), CN_KIND_MESH, "Room"))) {
        test::addTriangles(room, 1);
        room.addPolygon();
        test::addTriangles(room, 2);
        setErrorCallback([](int severity, const CString& text) {
            EXPECT_EQ(severity, 2);
            s_messages.push_back(text.str());
        });
        s_messages.clear();
    }
    CN_Polygon* polygon(int i) { return &room.accessPolygonList()[i]; }
    template <class Node> Node* add(int kind, const char* name) {
        return dynamic_cast<Node*>(test::addChild(room, kind, name));
    }
    CN_LevelEntityPortal* addPortal(const char* name) { return add<CN_LevelEntityPortal>(CN_KIND_PORTAL, name); }
    CN_LevelEntityRadiosityLight* addLight(const char* name) {
        return add<CN_LevelEntityRadiosityLight>(CN_KIND_RADIOSITY_LIGHT, name);
    }
    CN_LevelEntityPolygonGroup* addGroup(const char* name) {
        return add<CN_LevelEntityPolygonGroup>(CN_KIND_POLYGON_GROUP, name);
    }

    inline static std::vector<std::string> s_messages;
    CN_LevelEntityMesh& room;
};

template <class Node> Node* childNamed(CN_LevelEntity& parent, const char* name) {
    return dynamic_cast<Node*>(parent.hasChildNamed(name));
}

TEST(VirtualNode, StandsBelowTheMeshOfItsPolygonsAlone) {
    NodeLevel level;
    auto& other = dynamic_cast<CN_LevelEntityMesh&>(*test::addChild(level.root(), CN_KIND_MESH, "Other"));
    CN_LevelEntityRadiosityLight* const light = level.addLight("L");
    CN_LevelEntityPolygonGroup* const group = level.addGroup("G");
    EXPECT_TRUE(other.canAdd(light) && other.canAdd(group));
    light->setRadiosityPolygon(level.polygon(0));
    group->addPolygon(level.polygon(2));
    EXPECT_FALSE(other.canAdd(light) || other.canAdd(group));
    EXPECT_TRUE(level.room.canAdd(light) && level.room.canAdd(group));
    EXPECT_TRUE(other.addNewPolygroup(group, true)->getSet().empty());
    EXPECT_EQ(level.room.addNewPolygroup(group, true)->getSet().size(), 1U);
}

TEST(VirtualNode, SavesThePlaceAmongThePolygonsThatAreWritten) {
    NodeLevel level;
    level.addPortal("P")->setPortalPolygon(level.polygon(2));
    level.addLight("L")->setRadiosityPolygon(level.polygon(3));
    test::addChild(level.room, CN_KIND_TRIMESH, "T");
    test::addChild(level.room, CN_KIND_TRIGGER, "S");
    CN_LevelEntityPolygonGroup* const group = level.addGroup("G");
    for (const int i : {3, 1, 0})
        group->addPolygon(level.polygon(i));
    const test::Bytes saved = test::saveLevel(level);
    EXPECT_TRUE(NodeLevel::s_messages.empty());
    if (const char* folder = std::getenv("CAIRN_FUZZ_SEED_DIR")) {
        const std::filesystem::path place = std::filesystem::path(folder) / "document_load";
        std::filesystem::create_directories(place);
        F_File::replace((place / "mesh_nodes.cairn").string(), saved);
    }

    CN_Document again;
    test::loadLevel(again, saved);
    auto& room = *childNamed<CN_LevelEntityMesh>(*again.accessLevel(), "Room");
    ASSERT_EQ(room.getPolygonList().count(), 3);
    CN_Polygon* const second = &room.accessPolygonList()[1];
    CN_Polygon* const third = &room.accessPolygonList()[2];
    EXPECT_EQ(childNamed<CN_LevelEntityPortal>(room, "P")->getPortalPolygon(), second);
    EXPECT_EQ(childNamed<CN_LevelEntityRadiosityLight>(room, "L")->getRadiosityPolygon(), third);
    EXPECT_TRUE(third->isLight());
    EXPECT_EQ(childNamed<CN_LevelEntityPolygonGroup>(room, "G")->getSet(),
              (CN_LevelEntityPolygonGroup::PolygonSet{&room.accessPolygonList()[0], third}));
    EXPECT_EQ(test::saveLevel(again), saved);
}

TEST(VirtualNode, IsLeftOutOfASaveWhereItsPolygonIs) {
    NodeLevel level;
    CN_LevelEntityMesh& other = dynamic_cast<CN_LevelEntityMesh&>(*test::addChild(level.root(), CN_KIND_MESH, "Other"));
    CN_LevelEntityPortal* const foreign = level.addPortal("Foreign");
    foreign->setPortalPolygon(test::addTriangles(other, 1));
    level.addPortal("None");
    level.addLight("Edgeless")->setRadiosityPolygon(level.polygon(1));
    level.addLight("Kept")->setRadiosityPolygon(level.polygon(0));
    level.accessSelection()->add(&other);
    level.accessSelection()->add(foreign);
    level.accessSelection()->add(&level.room);

    const test::Bytes saved = test::saveLevel(level);
    ASSERT_EQ(NodeLevel::s_messages.size(), 3u);
    EXPECT_EQ(NodeLevel::s_messages[0], "\"::Room::Foreign\" is not saved: it stands on no polygon that is saved");
    CN_Document again;
    test::loadLevel(again, saved);
    CN_LevelEntity* const room = again.accessLevel()->hasChildNamed("Room");
    ASSERT_EQ(room->getChildren().size(), 1u);
    EXPECT_EQ(room->getChildren().front()->getName(), "Kept");
    EXPECT_EQ(again.getSelection()->getCount(), 2);
    EXPECT_TRUE(room->selected());
    EXPECT_TRUE(again.accessLevel()->hasChildNamed("Other")->selected());

    F_MemoryFile file;
    EXPECT_EQ(test::failureText([&] { foreign->save(file); }),
              "The entity \"::Room::Foreign\" cannot be saved: it stands on no polygon that its parent would write");
    EXPECT_EQ(file.getSize(), 0u);
}

TEST(VirtualNode, EndsTheProcessOnAnIndexBeyondThePolygons) {
    test::ProcessStateGuard state;
    NodeLevel level;
    const struct {
        CN_VirtualNode* node;
        void (*write)(F_MemoryFile&, unsigned int index);
        const char* words;
    } cases[] = {
        {level.addPortal("P"), [](F_MemoryFile& file, unsigned int index) { test::writeOldPortal(file, 3, index); },
         "PortalNode polyidx "},
        {level.addGroup("G"),
         [](F_MemoryFile& file, unsigned int index) {
             test::writeOldPolygonGroup(file, 2, {0, index});
         },
         "Polygroup polyidx "},
        {level.addLight("L"),
         [](F_MemoryFile& file, unsigned int index) {
             file.createChunk(0, 1);
             file << 0u << 1.0f << 2.0f << 3.0f << index;
             file.closeChunk();
         },
         "RadiosityPolygon idx "},
    };
    for (const auto& [node, write, words] : cases)
        for (const auto& [index, shown] : {std::pair{4u, "4"}, std::pair{0xFFFFFFFFu, "-1"}}) {
            state.clear();
            F_MemoryFile file;
            write(file, index);
            file.toRead();
            node->loadEntitySpecificData(file);
            EXPECT_EQ(test::failureText([&node = node] { node->generatePointersFromPolygonIndices(); }),
                      "the process was ended");
            ASSERT_EQ(state.boxes().size(), 1u);
            EXPECT_EQ(state.boxes()[0].text,
                      words + std::string(shown) + " not found in parent mesh 'Room'. Exiting..");
        }
}

TEST(VirtualNode, KnowsNoPolygonThatHasDiedAndIsKnownByNoneOnceDead) {
    NodeLevel level;
    CN_LevelEntityPortal* const first = level.addPortal("First");
    CN_LevelEntityPortal* const second = level.addPortal("Second");
    CN_LevelEntityPolygonGroup* const group = level.addGroup("G");
    CN_Polygon* const polygon = level.polygon(0);
    first->setPortalPolygon(polygon);
    second->setPortalPolygon(polygon);
    const std::unique_ptr<CN_LevelEntity> copy(first->clone());
    group->addPolygon(polygon);
    EXPECT_EQ(polygon->getAttachedEntity(), second);
    level.room.deletePolygon(polygon);
    EXPECT_EQ(first->getPortalPolygon(), nullptr);
    EXPECT_EQ(second->getPortalPolygon(), nullptr);
    EXPECT_EQ(dynamic_cast<CN_LevelEntityPortal&>(*copy).getPortalPolygon(), nullptr);
    EXPECT_TRUE(group->getSet().empty());

    CN_Polygon* const next = level.polygon(1);
    first->setPortalPolygon(next);
    group->addPolygon(next);
    second->setPortalPolygon(next);
    for (CN_LevelEntity* const node : {static_cast<CN_LevelEntity*>(second), static_cast<CN_LevelEntity*>(group)}) {
        level.room.remove(node);
        delete node;
    }
    EXPECT_EQ(next->getAttachedEntity(), nullptr);
    EXPECT_TRUE(next->getGroups().empty());
    first->setPortalPolygon(next);
    first->setPortalPolygon(level.polygon(2));
    EXPECT_EQ(next->getAttachedEntity(), nullptr);
    EXPECT_EQ(level.polygon(2)->getAttachedEntity(), first);
}

TEST(VirtualNode, IsBoundToTheCopyOfItsMeshByItsIndices) {
    NodeLevel level;
    CN_LevelEntityPortal* const portal = level.addPortal("P");
    portal->setPortalPolygon(level.polygon(3));
    CN_LevelEntityPolygonGroup* const group = level.addGroup("G");
    group->setMaxAngle(5);
    group->addPolygon(level.polygon(3));
    group->addPolygon(level.polygon(1));
    const test::ProcessStateGuard process;
    portal->generatePolygonIndicesFromPointers();
    const auto shown = [](const void* address) {
        return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(address));
    };
    EXPECT_EQ(process.log(),
              formatText("generatePolygonIndicesFromPointers 0x%08X : mesh 0x%08X polygon 0x%08X "
                         "index 0x00000003 (size 0x00000004)",
                         shown(portal), shown(static_cast<CN_Mesh*>(&level.room)), shown(level.polygon(3))));
    group->generatePolygonIndicesFromPointers();
    EXPECT_EQ(group->getPolygonIndices(), (std::list<unsigned int>{1, 3}));

    const std::unique_ptr<CN_LevelEntity> copy(level.room.clone());
    auto& mesh = dynamic_cast<CN_LevelEntityMesh&>(*copy);
    for (CN_VirtualNode* const node : {static_cast<CN_VirtualNode*>(portal), static_cast<CN_VirtualNode*>(group)}) {
        auto* const nodeCopy = dynamic_cast<CN_VirtualNode*>(node->clone());
        mesh.add(nodeCopy, false);
        nodeCopy->generatePointersFromPolygonIndices();
    }
    EXPECT_EQ(childNamed<CN_LevelEntityPortal>(mesh, "P")->getPortalPolygon(), &mesh.accessPolygonList()[3]);
    const auto* const groupCopy = childNamed<CN_LevelEntityPolygonGroup>(mesh, "G");
    EXPECT_EQ(groupCopy->getSet(),
              (CN_LevelEntityPolygonGroup::PolygonSet{&mesh.accessPolygonList()[1], &mesh.accessPolygonList()[3]}));
    EXPECT_EQ(groupCopy->getMaxAngle(), 5);
    EXPECT_EQ(portal->getPortalPolygon(), level.polygon(3));
    EXPECT_EQ(level.polygon(3)->getAttachedEntity(), portal);
    EXPECT_EQ(group->getSet().size(), 2u);
}

} // namespace
} // namespace cairn
