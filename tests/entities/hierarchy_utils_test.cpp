#include "cairn/document/load_report.h"
#include "cairn/document/selection.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/fsm/fsm.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn::test {
namespace {

using Utils = CN_HierarchyUtils;

/// root -> mesh -> prefab -> content -> inner (a mesh); player
struct HierarchyUtils : testing::Test {
    LevelDocument document;
    CN_LevelEntity& root = document.root();
    CN_LevelEntity* mesh = addChild(root, CN_KIND_MESH, "mesh");
    CN_LevelEntityPrefab* prefab = dynamic_cast<CN_LevelEntityPrefab*>(addChild(*mesh, CN_KIND_PREFAB, "prefab"));
    CN_LevelEntity* content = makeContent();
    CN_LevelEntity* inner = addChild(*content, CN_KIND_MESH, "inner");

    CN_LevelEntity* makeContent() {
        prefab->createPrefabContent();
        return prefab->accessPrefabContent();
    }
};

TEST_F(HierarchyUtils, FindsTheWayUp) {
    EXPECT_EQ(Utils::getEntityDepth(&root), 0);
    EXPECT_EQ(Utils::getEntityDepth(mesh), 1);
    EXPECT_EQ(Utils::getTopLevelParent(inner), mesh);
    EXPECT_EQ(Utils::getTopLevelParent(mesh), mesh);
    EXPECT_EQ(Utils::getTopLevelParent(&root), nullptr);
    EXPECT_EQ(Utils::getTopLevelParent(nullptr), nullptr);
    auto detached = makeEntity(CN_KIND_MESH);
    EXPECT_EQ(Utils::getTopLevelParent(addChild(*detached, CN_KIND_WAYPOINT, "w")), detached->getParent());
    EXPECT_EQ(Utils::getLevel(inner), &root);
    EXPECT_EQ(Utils::getLevel(detached.get()), nullptr);
    EXPECT_STREQ(Utils::getFullyQualifiedName(prefab), "::mesh::prefab");
    EXPECT_STREQ(Utils::getFullyQualifiedName(&root), "");
    EXPECT_EQ(Utils::getRoomContaining(inner), nullptr) << "a mesh without exits is no room";
    EXPECT_EQ(Utils::getRoomContainingPosition({}, inner), nullptr);

    CN_Selection* selection = document.accessSelection();
    selection->add(prefab);
    EXPECT_EQ(Utils::getFirstSelectedParent(inner, selection), content) << "which a prefab brings";
    EXPECT_EQ(Utils::getFirstSelectedParent(content, selection), prefab);
    EXPECT_EQ(Utils::getFirstSelectedParent(mesh, selection), nullptr);
    EXPECT_EQ(Utils::getFirstNonSelectedParent(content, selection), mesh);
    EXPECT_EQ(Utils::getFirstDynamicParentOrSelf(inner), nullptr);
    dynamic_cast<CN_MeshInterface&>(*mesh).setDynamic(true);
    EXPECT_EQ(Utils::getFirstDynamicParentOrSelf(inner), dynamic_cast<CN_MeshInterface*>(mesh));
}

TEST_F(HierarchyUtils, TellsNamesWithTheirNuls) {
    const std::string name("a\0b", 3), path = "::" + name;
    mesh->setName(CString(name), false);
    EXPECT_EQ(Utils::makeFullyQualifiedName(mesh), path);
    CN_LoadReport report;
    report.add("message", mesh, -1, "");
    report.resolve();
    EXPECT_EQ(std::string_view(report.getFindings().front().entity), path);
    mesh->setPosition({std::numeric_limits<double>::infinity(), 0, 0});
    EXPECT_NE(failureText([&] { mesh->checkSavable(); }).find(path), std::string::npos);
}

TEST_F(HierarchyUtils, FindsPrefabs) {
    for (const CN_LevelEntity* entity : {static_cast<CN_LevelEntity*>(prefab), content, inner})
        EXPECT_EQ(Utils::findParentPrefab(entity), prefab);
    EXPECT_EQ(Utils::findParentPrefab(mesh), nullptr);
    for (const bool editable : {true, false}) {
        prefab->setEditable(editable);
        EXPECT_EQ(Utils::getParentPrefab(inner, editable), prefab);
        EXPECT_EQ(Utils::getParentPrefab(inner, !editable), nullptr);
        EXPECT_TRUE(Utils::isNonEditablePrefabContent(content));
        EXPECT_EQ(Utils::isNonEditablePrefabContent(inner), !editable);
        EXPECT_FALSE(Utils::isNonEditablePrefabContent(prefab));
    }
}

TEST_F(HierarchyUtils, GathersThePrefabsThatMessagesName) {
    const auto addPrefab = [this] { return addChild(root, CN_KIND_PREFAB, "p"); };
    CN_LevelEntity *target = addPrefab(), *argument = addPrefab(), *ofComment = addPrefab(), *ofRoot = addPrefab();
    mesh->createFSM();
    root.createFSM();
    E_FSM::MessageHandler& handler = mesh->accessFSM()->createMessageHandler("Startup");
    handler.m_sendBefore.resize(3); // the last names nothing
    handler.m_sendBefore[0].m_text = "p->Go();";
    handler.m_sendBefore[0].m_target = target;
    handler.m_sendBefore[0].m_objectArguments = {nullptr, inner};
    handler.m_sendBefore[1].m_text = " # p->Go();";
    handler.m_sendBefore[1].m_target = ofComment;
    handler.m_sendOnState["idle"].resize(1);
    handler.m_sendOnState["idle"][0].m_objectArguments = {argument};
    root.accessFSM()->createMessageHandler("Startup").m_sendAfter = handler.m_sendBefore;
    root.accessFSM()->createMessageHandler("Startup").m_sendAfter[0].m_target = ofRoot;

    std::set<const CN_LevelEntity*> prefabs{inner};
    Utils::gatherReferencedPrefabs(&document, prefabs);
    EXPECT_EQ(prefabs, (std::set<const CN_LevelEntity*>{target, argument}));
    Utils::gatherReferencedPrefabs(nullptr, prefabs);
    EXPECT_TRUE(prefabs.empty());
}

TEST_F(HierarchyUtils, GivesIconsAndOverlays) {
    int overlay = -1;
    EXPECT_EQ(Utils::getImageIndex(mesh, true, &overlay), 17);
    EXPECT_EQ(overlay, -1) << "a plain index has none";
    EXPECT_EQ(Utils::getImageIndex(mesh, false, nullptr), 17);
    dynamic_cast<CN_MeshInterface&>(*inner).setDynamic(true);
    inner->setVisible(false);
    EXPECT_EQ(Utils::getImageIndex(inner, false, &overlay), 7 + 23);
    EXPECT_EQ(overlay, 0);
    prefab->setEditable(false);
    mesh->accessGeneralProperties().setExcludedFromGame(true);
    inner->accessGeneralProperties().setExportRegroupingEnabled(true);
    EXPECT_EQ(Utils::getImageIndex(inner, false, &overlay), 7 + 23 + 46);
    EXPECT_EQ(overlay, 2 + 3);
    inner->accessGeneralProperties().setExcludedFromGame(true);
    mesh->accessGeneralProperties().setExportRegroupingEnabled(true);
    Utils::getImageIndex(inner, false, &overlay);
    EXPECT_EQ(overlay, 1 + 3);
    EXPECT_EQ(Utils::getImageIndex(prefab, false, &overlay), 6 + 46);
    EXPECT_EQ(overlay, 2 + 6);
}

TEST_F(HierarchyUtils, SaysWhatKeepsALevelFromExport) {
    string error;
    EXPECT_FALSE(Utils::canExportLevelOrSelection(&document, false, error));
    EXPECT_EQ(error, "Can't export. There are 1 top level entities that are not grouped to a room!");
    EXPECT_TRUE(Utils::canExportLevelOrSelection(&document, true, error)) << "nothing is selected";
    document.accessSelection()->add(inner);
    EXPECT_FALSE(Utils::canExportLevelOrSelection(&document, true, error));
    EXPECT_EQ(error, "Can't export. There are entities selected that are not grouped to a room, which is selected!");
    document.accessSelection()->add(mesh);
    EXPECT_FALSE(Utils::canExportLevelOrSelection(&document, true, error));
    EXPECT_EQ(error, "Can't export. The selection has 1 top level entities that are not grouped to a room!");
}

} // namespace
} // namespace cairn::test
