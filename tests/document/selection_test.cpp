#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/for_each.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <climits>
#include <typeinfo>

namespace cairn {
namespace {

using test::failureText;

/// A level of boxes: A with A1 and A2, B with B1; behind the player.
class SelectionTest : public testing::Test {
  protected:
    SelectionTest() {
        m_document.createCairnLevelEntities();
        m_a = add(m_document.accessLevel(), "A");
        m_b = add(m_document.accessLevel(), "B");
        m_a1 = add(m_a, "A1");
        m_a2 = add(m_a, "A2");
        m_b1 = add(m_b, "B1");
    }
    CN_LevelEntity* add(CN_LevelEntity* parent, const char* name) {
        CN_LevelEntity* box = CN_EntityFactory::instance()->createEntity(CN_KIND_VOL_LIGHTING_BOX, &m_document);
        box->setName(name, false);
        parent->add(box, false);
        return box;
    }
    static string names(const CN_Selection& selection) {
        string text;
        CN_ConstSelectionIterator it = selection.createConstIterator();
        for (it.begin(); !it.end(); ++it)
            text += (text.empty() ? "" : " ") + toString(const_cast<CN_LevelEntity*>(*it)->getName());
        return text;
    }
    CN_Selection& selection() { return *m_document.accessSelection(); }

    CN_Document m_document;
    CN_LevelEntity *m_a, *m_b, *m_a1, *m_a2, *m_b1;
};

TEST_F(SelectionTest, PutsEntitiesBehindTheirSelectedParentsOrAheadOfAll) {
    selection().add(m_a);
    selection().add(m_b);
    selection().add(m_a1);
    selection().add(m_a2);
    selection().add(m_a1);
    selection().add(nullptr);
    EXPECT_EQ(names(selection()), "B A A2 A1");
    EXPECT_TRUE(m_a1->selected());
    EXPECT_FALSE(selection().isInSelection(nullptr));
    selection().remove(m_a);
    selection().remove(m_b1);
    EXPECT_EQ(names(selection()), "B A2 A1");
    selection().add(m_a); // the child came first: the parent goes to the front
    EXPECT_EQ(names(selection()), "A B A2 A1");
    EXPECT_EQ(selection().getCount(), 4);
}

TEST_F(SelectionTest, TakesSubtreesWithoutTheirRoots) {
    selection().addSubTrees(true, m_document.accessLevel());
    EXPECT_EQ(selection().getCount(), 6);
    selection().addSubTrees(false, m_a);
    EXPECT_EQ(names(selection()), "B B1 A player");
    selection().addSubTrees(true, nullptr);

    CN_Selection::List list{m_a};
    selection().getListOfNonSelectedChildren(list);
    EXPECT_EQ(list, (CN_Selection::List{m_a1, m_a2}));
}

TEST_F(SelectionTest, LetsGoOfEntitiesThatDied) {
    selection().add(m_b);
    selection().add(m_b1);
    m_b->remove(m_b1);
    delete m_b1;
    EXPECT_EQ(selection().getCount(), 2);
    F_MemoryFile file;
    selection().save(file, &m_document); // without it
    file.toRead();
    CN_Selection again;
    again.load(file, &m_document);
    EXPECT_EQ(names(again), "B");
    selection().remove(m_b1);
    EXPECT_EQ(names(selection()), "B");
}

TEST_F(SelectionTest, CopiesStandAlone) {
    selection().add(m_a);
    selection().add(m_b);
    CN_Selection copy(selection());
    copy.add(m_a1);
    copy.remove(m_b);
    EXPECT_EQ(names(copy), "A A1");
    EXPECT_EQ(names(selection()), "B A");
    selection() = copy;
    selection().remove(m_a1);
    EXPECT_EQ(names(selection()), "A");
    EXPECT_EQ(names(copy), "A A1");
}

TEST_F(SelectionTest, WalksByIteratorsAndFunctors) {
    CN_SelectionIterator it = selection().createIterator();
    EXPECT_TRUE(it.end());
    selection().add(m_a);
    selection().add(m_b);
    it.begin();
    EXPECT_EQ(*it, m_b);
    EXPECT_TRUE(it != it.getEnd());
    ++it;
    ++it;
    EXPECT_FALSE(it != it.getEnd());
    EXPECT_EQ(*it, nullptr);
    const CN_ChildIterator other = m_a->createChildIterator();
    EXPECT_THROW(static_cast<void>(it != other), std::bad_cast);

    struct Collect : CN_ForEach {
        void operator()(CN_LevelEntity* entity) override { seen.push_back(entity); }
        std::vector<CN_LevelEntity*> seen;
    } collect;
    selection().forEachSelected(&collect);
    EXPECT_EQ(collect.seen, (std::vector<CN_LevelEntity*>{m_b, m_a}));
}

TEST_F(SelectionTest, TellsItsObserversWhenTheHostSaysSo) {
    struct Observer : CN_SelectionObserver {
        void selectionChanged(CN_SelectionObserver* cause) override { causes.push_back(cause); }
        std::vector<CN_SelectionObserver*> causes;
    } first, second;
    selection().registerObserver(&first);
    selection().registerObserver(nullptr);
    selection().registerObserver(&second);
    selection().add(m_a);
    selection().clear();
    selection().notifyObservers(&first);
    selection().notifyObservers(nullptr);
    EXPECT_EQ(first.causes, (std::vector<CN_SelectionObserver*>{&first, nullptr}));
    EXPECT_EQ(second.causes, first.causes);
}

TEST_F(SelectionTest, StoresNumbersOfTheTree) {
    F_MemoryFile nothing;
    selection().save(nothing, &m_document);
    EXPECT_EQ(nothing.getSize(), 1 + F_MemoryFile::CHUNK_HEADER_SIZE + 2);

    selection().add(m_a);
    selection().add(m_a2);
    F_MemoryFile file;
    selection().save(file, &m_document);
    file.toRead();
    m_document.setAutoSelectChildren(false);
    selection().clear();
    selection().load(file, &m_document);
    EXPECT_EQ(names(selection()), "A A2");
    EXPECT_TRUE(m_document.getAutoSelectChildren());
    EXPECT_EQ(file.getRemaining(), 0u);
}

TEST_F(SelectionTest, ReadsEveryForm) {
    // The last child is numbered first: root 0, B 1, B1 2, A 3, A2 4, A1 5, player 6.
    const auto loadOld = [this](unsigned char marker, std::vector<unsigned int> numbers) {
        F_MemoryFile file;
        file << marker;
        if (marker != 0) {
            file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, numbers.size());
            for (const unsigned int number : numbers)
                file << number;
        }
        file.toRead();
        selection().add(m_a);
        selection().load(file, &m_document);
        EXPECT_EQ(file.getRemaining(), 0u);
        return names(selection());
    };
    EXPECT_EQ(loadOld(0, {}), "");
    EXPECT_EQ(loadOld(1, {1, 2, 5}), "A1 B B1");
    EXPECT_EQ(loadOld(77, {0, 6}), "World_Group player");
    EXPECT_EQ(loadOld(1, {2, 900, 3}), "B1") << "nothing is matched behind a number that no entity has";
    EXPECT_EQ(loadOld(1, {4, 1}), "A2") << "numbers that do not rise";

    F_MemoryFile bomb;
    bomb << static_cast<unsigned char>(1);
    bomb.writeTag(F_MemoryFile::TAG_VECTOR);
    bomb << INT_MAX << 1u;
    bomb.toRead();
    EXPECT_NE(failureText([&] { selection().load(bomb, &m_document); }).find("2147483647"), string::npos);
    EXPECT_EQ(selection().getCount(), 0);
}

} // namespace
} // namespace cairn
