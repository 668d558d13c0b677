#include "cairn/document/selection.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/entities/ui_sphere_entity.h"
#include "tests/entities/entity_tree.h"

#include <gtest/gtest.h>

namespace cairn::test {
namespace {

using Vector = CN_LevelEntity::Vector;

struct Prefab : testing::Test {
    LevelDocument document;
    CN_LevelEntityPrefab& prefab = addPrefab(document.root(), "crane");

    static CN_LevelEntityPrefab& addPrefab(CN_LevelEntity& parent, const char* name) {
        return dynamic_cast<CN_LevelEntityPrefab&>(*addChild(parent, CN_KIND_PREFAB, name));
    }
    static CN_LevelEntityPrefabContent& fill(CN_LevelEntityPrefab& prefab) {
        prefab.createPrefabContent();
        return *prefab.accessPrefabContent();
    }
    /// The names of the selected entities, in order.
    std::string selected() {
        std::string text;
        CN_SelectionIterator it = document.accessSelection()->createIterator();
        for (it.begin(); !it.end(); ++it)
            text += (text.empty() ? "" : " ") + toString(it->getName());
        return text;
    }
};

TEST_F(Prefab, MakesItsContentInItsOwnPlace) {
    prefab.setPosition({1, 2, 3});
    prefab.accessGeneralProperties().setReserved(true);
    CN_LevelEntityPrefabContent& content = fill(prefab);
    EXPECT_EQ(content.getParent(), &prefab);
    EXPECT_EQ(content.getPosition(), Vector());
    EXPECT_EQ(content.getWorldPosition(), prefab.getWorldPosition());
    EXPECT_TRUE(content.getGeneralProperties().isReserved());
    EXPECT_EQ(qualifiedName(&content), "::crane::prefab");
    EXPECT_EQ(fill(prefab).getName(), "prefab01");

    F_MemoryFile file;
    prefab.save(file);
    file.toRead();
    int id = 0;
    file >> id;
    CN_LevelEntityPrefab loaded;
    loaded.setDocument(&document);
    loaded.load(file);
    ASSERT_TRUE(loaded.getPrefabContent());
    EXPECT_EQ(loaded.getPrefabContent(), loaded.getChildren().front()) << "the first of the contents";
}

TEST_F(Prefab, NamesItsContentAsLongAsThatLives) {
    CN_LevelEntityPrefab other(prefab), assigned;
    prefab.setPrefabType("Crane");
    prefab.setEditable(false);
    CN_LevelEntityPrefabContent* const content = &fill(prefab);
    const std::unique_ptr<CN_LevelEntity> cloned(prefab.clone());
    const auto& copy = dynamic_cast<const CN_LevelEntityPrefab&>(*cloned);
    EXPECT_EQ(copy.getPrefabType(), "Crane");
    EXPECT_TRUE(copy.isEditable());
    EXPECT_EQ(copy.getPrefabContent(), nullptr);
    assigned = prefab;
    EXPECT_FALSE(assigned.isEditable());
    EXPECT_EQ(assigned.getPrefabContent(), content);

    prefab.remove(content);
    EXPECT_EQ(prefab.getPrefabContent(), content);
    delete content;
    EXPECT_EQ(prefab.getPrefabContent(), nullptr);
    EXPECT_EQ(assigned.getPrefabContent(), nullptr);
}

TEST_F(Prefab, BoundsItsContentByAllBelow) {
    CN_LevelEntityPrefabContent& content = fill(prefab);
    content.calculateBoundingBox();
    EXPECT_EQ(content.getBoundingMin().x, CN_UNSET_BOUND) << "nothing below";
    EXPECT_EQ(content.getBoundingMax().x, -CN_UNSET_BOUND);

    CN_LevelEntity* const mesh = addChild(content, CN_KIND_MESH, "unset");
    for (const Vector& place : {Vector(1, 2, 3), Vector(-4, 5, 6)})
        addChild(*mesh, CN_KIND_WAYPOINT, "way")->setPosition(place);
    struct LargeNode : CN_LevelEntityPolygonGroup {
        LargeNode() { m_boundingMax = -(m_boundingMin = Vector(-100, -100, -100)); }
    };
    mesh->addOwned(std::make_unique<LargeNode>(), false);
    content.calculateBoundingBox();
    EXPECT_EQ(content.getBoundingMin(), Vector(-4.5, 1.5, 2.5));
    EXPECT_EQ(content.getBoundingMax(), Vector(1.5, 5.5, 6.5));
}

TEST_F(Prefab, TakesItsContentIntoTheSelectionAndOut) {
    CN_LevelEntityPrefabContent& content = fill(prefab);
    CN_LevelEntityPrefab& inner = addPrefab(content, "inner");
    addChild(fill(inner), CN_KIND_WAYPOINT, "way");
    CN_Selection& selection = *document.accessSelection();

    selection.add(&prefab);
    EXPECT_EQ(selected(), "crane prefab") << "an editable prefab brings its content alone";
    selection.add(&inner);
    selection.remove(&inner);
    EXPECT_EQ(selected(), "crane prefab");
    selection.clear();
    selection.add(&content);
    selection.remove(&prefab);
    EXPECT_EQ(selected(), "prefab") << "a prefab that is not selected changes nothing";

    selection.clear();
    prefab.setEditable(false);
    selection.add(&prefab);
    EXPECT_EQ(selected(), "crane prefab inner prefab way");
    selection.remove(&prefab);
    EXPECT_EQ(selected(), "");
    prefab.addContentToSelection(true, nullptr);
}

TEST_F(Prefab, ThatHoldsAnotherWithItsOwnContentIsSelectedOnce) {
    prefab.setEditable(false);
    CN_LevelEntityPrefab& inner = addPrefab(fill(prefab), "inner");
    inner = prefab; // and so its content is the one that it stands in
    CN_Selection& selection = *document.accessSelection();
    selection.add(&inner);
    EXPECT_EQ(selection.getCount(), 2);
    selection.add(&prefab);
    EXPECT_EQ(selection.getCount(), 3);
    selection.remove(&inner);
    EXPECT_EQ(selection.getCount(), 1);
}

TEST_F(Prefab, OfAStoredSelectionBringsWhatStandsInIt) {
    prefab.setEditable(false);
    addChild(fill(prefab), CN_KIND_WAYPOINT, "way");
    CN_Selection& selection = *document.accessSelection();
    F_MemoryFile file;
    file << static_cast<unsigned char>(1);
    file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, 1);
    file << 1u; // the prefab: the root is 0 and the player comes last
    file.toRead();
    selection.load(file, &document);
    EXPECT_EQ(selected(), "crane prefab way");

    F_MemoryFile saved;
    selection.save(saved, &document);
    saved.toRead();
    selection.load(saved, &document);
    EXPECT_EQ(selection.getCount(), 3);
}

} // namespace
} // namespace cairn::test
