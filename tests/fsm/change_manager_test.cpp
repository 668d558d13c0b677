#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/fsm/change_manager.h"

#include <gtest/gtest.h>

using namespace cairn;

TEST(ChangeManager, RenewsQualifiedNamesOnceTheTreeChanged) {
    CN_FSMChangeManager* const manager = CN_FSMChangeManager::instance();
    CN_Document document;
    document.createCairnLevelEntities();
    auto* const room = new CN_LevelEntityMesh;
    auto* const part = new CN_LevelEntityMesh;
    room->setName("Room", false);
    part->setName("Part", false);
    room->add(part, false);
    document.accessLevel()->add(room, false);
    document.accessLevel()->remove(room); // detached: the names of both stay as they were
    room->setName("Hall", false);
    manager->updateMessages(); // no document is in use: what changed before is still to be done

    manager->documentChangedNotification(nullptr, &document, nullptr);
    manager->setHierarchyHasChanged();
    manager->documentUpdatedNotification(nullptr);
    document.accessLevel()->add(room, false);
    manager->setHierarchyHasChanged();
    manager->documentUpdatedNotification(nullptr);
    EXPECT_EQ(toString(part->getQualifiedName()), "::Hall::Part");

    manager->forgetDocument(&document);
    EXPECT_EQ(manager->getDocument(), nullptr);
    manager->setHierarchyHasChanged();
    manager->documentUpdatedNotification(nullptr);
}
