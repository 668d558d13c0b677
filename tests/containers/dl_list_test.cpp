#include "cairn/containers/dl_list.h"
#include "cairn/foundation/exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace cairn {
namespace {

/// An element that owns memory: what isn't constructed, or destroyed twice or never, shows.
struct Tracked {
    explicit Tracked(int v = 0) : value(std::make_unique<int>(v)) { ++s_alive; }
    Tracked(const Tracked& other) : Tracked(*other.value) {}
    Tracked& operator=(const Tracked& other) {
        *value = *other.value;
        return *this;
    }
    ~Tracked() { --s_alive; }

    std::unique_ptr<int> value;
    static inline int s_alive = 0;
};

int valueOf(int element) { return element; }
int valueOf(const Tracked& element) { return *element.value; }

template <class List> std::vector<int> values(const List& list) {
    std::vector<int> result;
    for (const auto& element : list)
        result.push_back(valueOf(element));
    return result;
}

/// A list beside a std::list of the values and the addresses they must keep, put through the same edits.
template <class List> class Twin {
  public:
    using Element = typename List::value_type;

    void edit(std::mt19937& random) {
        const unsigned choice = random() % 16;
        const int size = static_cast<int>(m_model.size());
        if (size == 0 || choice < 6) {
            m_model.push_back(made(m_list.add(Element(m_next))));
            return;
        }
        const int index = static_cast<int>(random() % static_cast<unsigned>(size));
        const auto place = std::next(m_model.begin(), index);
        switch (choice) {
        case 6:
            m_model.insert(place, made(m_list.insertBefore(place->element, Element(m_next))));
            break;
        case 7:
            m_model.insert(std::next(place), made(m_list.insertAfter(place->element, Element(m_next))));
            break;
        case 8:
            m_model.push_front(made(m_list.addNewAtHead() = Element(m_next)));
            break;
        case 9:
            m_list.removeAt(index);
            m_model.erase(place);
            break;
        case 10:
            m_list.moveToTail(place->element);
            m_model.splice(m_model.end(), m_model, place);
            break;
        case 11: {
            const auto other = std::next(m_model.begin(), static_cast<int>(random() % static_cast<unsigned>(size)));
            m_list.moveBefore(other->element, place->element);
            if (other != place)
                m_model.splice(place, m_model, other);
            break;
        }
        case 12:
            m_list.removeLast();
            m_model.pop_back();
            break;
        case 13:
            if (random() % 8 == 0) {
                m_list.reverse();
                m_model.reverse();
            }
            break;
        default:
            m_list.remove(place->element);
            m_gone = place->element;
            m_model.erase(place);
        }
    }

    void checkOneIndex(std::mt19937& random) {
        if (m_model.empty())
            return;
        const int index = static_cast<int>(random() % m_model.size());
        const Item& item = *std::next(m_model.begin(), index);
        ASSERT_EQ(&m_list[index], item.element);
        ASSERT_EQ(m_list.indexOf(item.element), index);
    }

    void checkAll() {
        ASSERT_EQ(m_list.count(), static_cast<int>(m_model.size()));
        int index = 0;
        const Element* last = nullptr;
        for (const Item& item : m_model) {
            ASSERT_EQ(&m_list[index], item.element);
            ASSERT_EQ(valueOf(m_list[index]), item.value);
            ASSERT_EQ(m_list.indexOf(item.element), index);
            ASSERT_EQ(m_list.prev(item.element), last);
            last = item.element;
            ++index;
        }
        ASSERT_EQ(m_list.last(), last);
        ASSERT_EQ(values(m_list).size(), m_model.size());
        const bool reused =
            std::any_of(m_model.begin(), m_model.end(), [&](const Item& i) { return i.element == m_gone; });
        if (m_gone && !reused) {
            ASSERT_EQ(m_list.indexOf(m_gone), -1);
        }
    }

  private:
    struct Item {
        Element* element;
        int value;
    };
    Item made(Element& element) { return {&element, m_next++}; }

    List m_list;
    std::list<Item> m_model;
    const Element* m_gone = nullptr; ///< an element removed some time ago
    int m_next = 0;
};

template <class List> class ListTest : public testing::Test {};
using Lists = testing::Types<F_DLList<int>, F_DLListInit<Tracked>>;
TYPED_TEST_SUITE(ListTest, Lists);

TYPED_TEST(ListTest, KeepsOrderAndAddressesThroughRandomEdits) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 random(seed);
        Twin<TypeParam> twin;
        for (int step = 0; step < 400; ++step) {
            twin.edit(random);
            // Edits between accesses leave tables half valid; accesses between edits make them.
            if (random() % 3 == 0) {
                ASSERT_NO_FATAL_FAILURE(twin.checkOneIndex(random)) << "seed " << seed << " step " << step;
            }
            if (step % 40 == 39) {
                ASSERT_NO_FATAL_FAILURE(twin.checkAll()) << "seed " << seed << " step " << step;
            }
        }
    }
    EXPECT_EQ(Tracked::s_alive, 0);
}

TYPED_TEST(ListTest, RefusesPositionsOutside) {
    TypeParam list;
    for (int count : {0, 1, 40}) {
        while (list.count() < count)
            list.addNew();
        for (int index : {-1, count, count + 100, -2147483647 - 1}) {
            try {
                list[index];
                FAIL() << index << " of " << count;
            } catch (F_Exception* e) {
                F_ExceptionGuard guard(e);
                EXPECT_NE(e->getErrorMessage().find(std::to_string(index)), string::npos);
            }
        }
    }
}

TYPED_TEST(ListTest, WalkSurvivesRemovalOfTheCurrentElement) {
    using Element = typename TypeParam::value_type;
    TypeParam list;
    for (int i = 0; i < 30; ++i)
        list.add(Element(i));
    for (auto& element : list) {
        if (valueOf(element) % 3 == 0)
            list.insertBefore(&element, Element(-1));
        list.remove(&element);
    }
    EXPECT_EQ(values(list), std::vector<int>(10, -1));
}

TYPED_TEST(ListTest, CopiesValuesAndMovesElements) {
    using Element = typename TypeParam::value_type;
    TypeParam list;
    for (int i = 0; i < 20; ++i)
        list.add(Element(i));
    const std::vector<int> expected = values(list);
    auto* tenth = &list[10];

    TypeParam copy(list);
    EXPECT_EQ(values(copy), expected);
    EXPECT_EQ(copy.indexOf(tenth), -1);
    copy.removeFirst();
    list.add(list[0]);
    copy = list;
    EXPECT_EQ(copy.count(), 21);

    TypeParam moved(std::move(list));
    EXPECT_EQ(moved.indexOf(tenth), 10);
    copy.swap(moved);
    EXPECT_EQ(copy.indexOf(tenth), 10);
    copy.addNew();
    EXPECT_EQ(&copy[10], tenth);
    moved = TypeParam();
    EXPECT_TRUE(moved.empty());
    EXPECT_EQ(moved.first(), nullptr);
    moved.add(Element(7));
    EXPECT_EQ(values(moved), std::vector<int>{7});
}

TEST(F_DLListTest, PlainElementsBeginAsZeros) {
    F_DLList<int> list;
    list.add(5);
    list.removeFirst();
    EXPECT_EQ(list.addNew(), 0);
    EXPECT_EQ(list.indexOfValue(0), 0);
    EXPECT_EQ(list.indexOfValue(5), -1);
}

TEST(F_DLListInitTest, PassesAsAListOfItsElements) {
    F_DLListInit<Tracked> list;
    F_DLList<Tracked>& face = list;
    face.add(Tracked(1));
    *face.addNew().value = 2;
    EXPECT_EQ(values(list), (std::vector<int>{1, 2}));
    face.clear();
    EXPECT_EQ(Tracked::s_alive, 0);
}

TEST(F_DLListInitTest, ElementThatFailsToComeLeavesTheListAsItWas) {
    struct Picky {
        explicit Picky(int v) : value(v) {
            if (v < 0)
                throw v;
        }
        int value;
    };
    F_DLListInit<Picky> list;
    list.emplace(1);
    EXPECT_THROW(list.emplace(-1), int);
    EXPECT_EQ(list.count(), 1);
    EXPECT_EQ(list.emplaceBefore(list.first(), 3).value, 3);
    EXPECT_THROW(
        {
            try {
                list.addNew();
            } catch (F_Exception* e) {
                F_ExceptionGuard guard(e);
                throw 1;
            }
        },
        int);
}

TEST(F_DLListInitTest, GrowsBeyondWhatWasReserved) {
    F_DLListInit<Tracked> list;
    list.reserve(1);
    for (int i = 0; i < 20; ++i)
        list.emplace(i);
    list.reserve(1000); // too late
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(*list[i].value, i);
        EXPECT_EQ(list.indexOf(&list[i]), i);
    }
}

TEST(F_DLListInitTest, KeepsWideAlignment) {
    struct alignas(128) Wide {
        char bytes[130] = {};
    };
    F_DLListInit<Wide> list;
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&list.addNew()) % 128, 0U);
}

TEST(F_DLListArrayTest, AWalkEndsWhereTheListEndedWhenItBegan) {
    for (const int length : {7, 8, 9}) {
        F_DLListArray<Tracked> list(4);
        for (int i = 0; i < length; ++i)
            list.emplace(i);
        int walked = 0;
        for (const Tracked& element : list) {
            ASSERT_EQ(*element.value, walked++);
            list.emplace(-1);
        }
        EXPECT_EQ(walked, length);
        EXPECT_EQ(list.count(), 2 * length);
    }
}

TEST(F_DLListArrayTest, GrowsAndShrinksAtTheTail) {
    for (int perNode : {0, 1, 3, 16}) {
        F_DLListArray<Tracked> list(perNode);
        std::vector<const Tracked*> model;
        std::mt19937 random(4);
        for (int step = 0; step < 500; ++step) {
            if (model.empty() || random() % 5 < 3) {
                model.push_back(&list.emplace(step));
            } else {
                list.removeLast();
                model.pop_back();
            }
            ASSERT_EQ(list.count(), static_cast<int>(model.size()));
            ASSERT_EQ(list.last(), model.empty() ? nullptr : model.back());
            ASSERT_TRUE(std::equal(list.begin(), list.end(), model.begin(), model.end(),
                                   [](const Tracked& a, const Tracked* b) { return &a == b; }));
            if (!model.empty()) {
                const auto index = random() % model.size();
                ASSERT_EQ(&list[static_cast<int>(index)], model[index]);
            }
        }
        EXPECT_EQ(Tracked::s_alive, list.count());
        try {
            list[list.count()];
            FAIL();
        } catch (F_Exception* e) {
            e->Delete();
        }
    }
    EXPECT_EQ(Tracked::s_alive, 0);
}

} // namespace
} // namespace cairn
