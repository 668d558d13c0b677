#include "host/entity_matching.h"

#include "cairn/foundation/checksum.h"
#include "cairn/foundation/strings.h"
#include "host/entity_facts.h"
#include "host/entity_text.h"
#include "host/machine_walk.h"

#include <algorithm>
#include <tuple>

namespace cairn::host {

namespace {

std::uint64_t mix(std::initializer_list<std::uint64_t> numbers) {
    return checksum64(numbers.begin(), numbers.size() * sizeof(std::uint64_t));
}

/// The same for names that differ in case alone.
std::uint64_t nameHash(std::string_view name) { return asciiHashNoCase(name); }

/// The name without the number that makes it unique.
std::uint64_t stemHash(const CN_LevelEntity& entity) {
    std::string stem, number;
    int digits = 0;
    CN_LevelEntity::splitName(plainName(entity), stem, number, digits);
    return nameHash(stem);
}

std::uint64_t kindOf(const CN_LevelEntity& entity) { return static_cast<std::uint64_t>(entity.getEntityId()); }

} // namespace

EntityMatching::EntityMatching(const CN_LevelEntity& first, const CN_LevelEntity& second)
    : m_trees{readTree(first), readTree(second)} {
    pairByPath();
    pairByQualifiedName();
    readContents(FIRST);
    readContents(SECOND);
    for (int i = 0; i < static_cast<int>(m_trees[FIRST].entities.size()); ++i)
        if (partner(FIRST, i) != NONE)
            m_fresh.emplace_back(i, partner(FIRST, i));
    pairBelow();
    for (const Criterion criterion :
         {&EntityMatching::byNameAndSubtree, &EntityMatching::byNameAndMovedSubtree, &EntityMatching::bySubtree,
          &EntityMatching::byNameAndMovedContent, &EntityMatching::byContent})
        pairAlike(criterion, withoutPartner(FIRST), withoutPartner(SECOND), true);
}

EntityMatching::Tree EntityMatching::readTree(const CN_LevelEntity& root) {
    Tree tree;
    forEachEntityOf(root, [&tree](const CN_LevelEntity& entity) {
        const auto parent = tree.numbers.find(entity.getParent());
        tree.parents.push_back(parent == tree.numbers.end() ? NONE : parent->second);
        tree.numbers.emplace(&entity, static_cast<int>(tree.entities.size()));
        tree.entities.push_back(&entity);
    });
    tree.partners.assign(tree.entities.size(), NONE);
    tree.contents.resize(tree.entities.size());
    tree.sizes.assign(tree.entities.size(), 1);
    for (std::size_t i = tree.entities.size(); i-- > 1;)
        tree.sizes[index(tree.parents[i])] += tree.sizes[i];
    return tree;
}

int EntityMatching::find(Level level, const CN_LevelEntity* entity) const {
    const auto found = m_trees[level].numbers.find(entity);
    return found == m_trees[level].numbers.end() ? NONE : found->second;
}

std::vector<int> EntityMatching::children(Level level, int number) const {
    const Tree& tree = m_trees[level];
    std::vector<int> children;
    const int end = number + tree.sizes[index(number)];
    for (int child = number + 1; child < end; child += tree.sizes[index(child)])
        children.push_back(child);
    return children;
}

void EntityMatching::pair(int first, int second) {
    m_trees[FIRST].partners[index(first)] = second;
    m_trees[SECOND].partners[index(second)] = first;
    m_fresh.emplace_back(first, second);
}

std::vector<int> EntityMatching::withoutPartner(Level level) const {
    std::vector<int> numbers;
    for (int i = 0; i < static_cast<int>(m_trees[level].entities.size()); ++i)
        if (partner(level, i) == NONE)
            numbers.push_back(i);
    return numbers;
}

std::vector<int> EntityMatching::withoutPartner(Level level, int parent) const {
    std::vector<int> numbers = children(level, parent);
    std::erase_if(numbers, [&](int number) { return partner(level, number) != NONE; });
    return numbers;
}

/// The names of the path from the root are compared one by one: a name may hold what stands between the names of a path.
void EntityMatching::pairByPath() {
    pair(0, 0);
    while (!m_fresh.empty()) {
        const auto [first, second] = m_fresh.back();
        m_fresh.pop_back();
        pairAlike(&EntityMatching::byName, children(FIRST, first), children(SECOND, second), false);
    }
}

/// For what stands below an entity that has become another kind.
void EntityMatching::pairByQualifiedName() {
    pairAlike(&EntityMatching::byNameInFull, withoutPartner(FIRST), withoutPartner(SECOND), false);
    m_fresh.clear();
}

/// Pairs the children of all fresh pairs that have no partner, and theirs.
void EntityMatching::pairBelow() {
    for (std::size_t i = 0; i < m_fresh.size(); ++i) {
        const auto [first, second] = m_fresh[i];
        for (const Criterion criterion :
             {&EntityMatching::byName, &EntityMatching::bySubtree, &EntityMatching::byContent,
              &EntityMatching::byWhatIsBelow, &EntityMatching::byPlacedContent}) {
            const std::vector<int> ofFirst = withoutPartner(FIRST, first), ofSecond = withoutPartner(SECOND, second);
            if (ofFirst.empty() || ofSecond.empty())
                break;
            pairAlike(criterion, ofFirst, ofSecond, false);
        }
    }
    m_fresh.clear();
}

/// The keys of the entities that have one, larger subtrees first, equal ones in pre-order.
EntityMatching::Keys EntityMatching::keysOf(Criterion criterion, Level level, const std::vector<int>& numbers) const {
    Keys keys;
    for (const int number : numbers) {
        Key key{0, 0, number};
        if ((this->*criterion)(level, number, key))
            keys.push_back(key);
    }
    std::sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) {
        return std::tuple(-a.size, a.hash, a.number) < std::tuple(-b.size, b.hash, b.number);
    });
    return keys;
}

/// Pairs entities of equal keys in their order, and `withChildren` what is below each pair before the next one.
void EntityMatching::pairAlike(Criterion criterion, const std::vector<int>& first, const std::vector<int>& second,
                               bool withChildren) {
    const auto isBefore = [](const Key& a, const Key& b) {
        return std::tuple(-a.size, a.hash) < std::tuple(-b.size, b.hash);
    };
    const Keys ofFirst = keysOf(criterion, FIRST, first), ofSecond = keysOf(criterion, SECOND, second);
    for (auto a = ofFirst.begin(), b = ofSecond.begin(); a != ofFirst.end() && b != ofSecond.end();) {
        if (partner(FIRST, a->number) != NONE || isBefore(*a, *b)) {
            ++a;
        } else if (partner(SECOND, b->number) != NONE || isBefore(*b, *a)) {
            ++b;
        } else {
            pair((a++)->number, (b++)->number);
            if (withChildren)
                pairBelow();
        }
    }
}

void EntityMatching::readContents(Level level) {
    Tree& tree = m_trees[level];
    std::vector<bool> needed(tree.entities.size());
    for (std::size_t i = 1; i < needed.size(); ++i)
        needed[i] = tree.partners[i] == NONE || needed[index(tree.parents[i])];
    for (std::size_t i = needed.size(); i-- > 1;) {
        if (!needed[i])
            continue;
        const CN_LevelEntity& entity = *tree.entities[i];
        FactHash place;
        describePlace(entity, place);
        tree.contents[i].content = mix({kindOf(entity), contentHash(entity)});
        tree.contents[i].place = place.get();
        for (const int child : children(level, static_cast<int>(i))) {
            const Content& content = tree.contents[index(child)];
            tree.contents[i].below =
                mix({tree.contents[i].below, nameHash(tree.entities[index(child)]->getName().view()), content.content,
                     content.place, content.below});
        }
    }
}

bool EntityMatching::byName(Level level, int number, Key& key) const {
    const CN_LevelEntity& entity = *m_trees[level].entities[index(number)];
    key.hash = mix({kindOf(entity), nameHash(entity.getName().view())});
    return true;
}

bool EntityMatching::byNameInFull(Level level, int number, Key& key) const {
    const CN_LevelEntity& entity = *m_trees[level].entities[index(number)];
    key.hash = mix({kindOf(entity), nameHash(view(entity.getQualifiedName()))});
    return true;
}

bool EntityMatching::bySubtree(Level level, int number, Key& key) const {
    const Content& content = m_trees[level].contents[index(number)];
    key.size = m_trees[level].sizes[index(number)];
    key.hash = mix({content.content, content.place, content.below});
    return true;
}

bool EntityMatching::byContent(Level level, int number, Key& key) const {
    const Content& content = m_trees[level].contents[index(number)];
    key.hash = mix({content.content, content.place});
    return true;
}

bool EntityMatching::byWhatIsBelow(Level level, int number, Key& key) const {
    const Tree& tree = m_trees[level];
    key.size = tree.sizes[index(number)];
    key.hash = mix({kindOf(*tree.entities[index(number)]), tree.contents[index(number)].below});
    return key.size > 1;
}

/// What has been renamed, placed elsewhere and furnished anew; with nothing below it is too likely another thing.
bool EntityMatching::byPlacedContent(Level level, int number, Key& key) const {
    key.hash = m_trees[level].contents[index(number)].content;
    return m_trees[level].sizes[index(number)] > 1;
}

bool EntityMatching::byNameAndSubtree(Level level, int number, Key& key) const {
    bySubtree(level, number, key);
    key.hash = mix({key.hash, nameHash(m_trees[level].entities[index(number)]->getName().view())});
    return true;
}

/// A move keeps the place in the world, and so changes that below the parent; it may number the name anew.
bool EntityMatching::byNameAndMovedSubtree(Level level, int number, Key& key) const {
    const Content& content = m_trees[level].contents[index(number)];
    key.size = m_trees[level].sizes[index(number)];
    key.hash = mix({content.content, content.below, stemHash(*m_trees[level].entities[index(number)])});
    return true;
}

bool EntityMatching::byNameAndMovedContent(Level level, int number, Key& key) const {
    key.hash = mix({m_trees[level].contents[index(number)].content, stemHash(*m_trees[level].entities[index(number)])});
    return true;
}

} // namespace cairn::host
