#include "cairn/document/selection.h"

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/for_each.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/foundation/memory_file.h"

#include <vector>

namespace cairn {

namespace {

/// What stands ahead of the record: nothing is selected, or a chunk follows. Any other number is an older form.
constexpr unsigned char MARKER_EMPTY = 0, MARKER_CHUNK = 2;

/// Calls `visit(entity)` for the root and all below it in the order of their numbers, as long as it gives true: a
/// parent ahead of its children, the last child first. Without `all` those that a save leaves out have no number.
template <class Visit> void forEachNumbered(CN_LevelEntity* root, bool all, Visit&& visit) {
    std::vector<CN_LevelEntity*> pending;
    if (root)
        pending.push_back(root);
    while (!pending.empty()) {
        CN_LevelEntity* const entity = pending.back();
        pending.pop_back();
        if (!all && CN_VirtualNode::isLeftOut(entity))
            continue;
        if (!visit(entity))
            return;
        pending.insert(pending.end(), entity->getChildren().begin(), entity->getChildren().end());
    }
}

std::vector<unsigned int> readNumbers(F_MemoryFile& file) {
    std::vector<unsigned int> numbers(file.readTaggedCount(F_MemoryFile::TAG_VECTOR, sizeof(unsigned int)));
    for (unsigned int& number : numbers)
        file >> number;
    return numbers;
}

} // namespace

CN_Selection::CN_Selection(const CN_Selection& other) : m_observers(other.m_observers), m_selected(other.m_selected) {
    buildIndex();
}

CN_Selection& CN_Selection::operator=(const CN_Selection& other) {
    if (this == &other)
        return *this;
    CN_Selection copy(other);
    m_observers.swap(copy.m_observers);
    m_selected.swap(copy.m_selected); // places in a list go along
    m_index.swap(copy.m_index);
    return *this;
}

void CN_Selection::buildIndex() {
    m_index.clear();
    for (auto at = m_selected.begin(); at != m_selected.end(); ++at)
        m_index.emplace(*at, at);
}

void CN_Selection::add(CN_LevelEntity* entity) {
    if (!entity || isInSelection(entity))
        return;
    if (!takeContent(true, entity))
        return;
    auto place = m_selected.begin();
    if (const CN_LevelEntity* parent = CN_HierarchyUtils::getFirstSelectedParent(entity, this))
        place = std::next(m_index.at(parent));
    place = m_selected.insert(place, entity);
    try {
        m_index.emplace(entity, place);
    } catch (...) {
        m_selected.erase(place); // nobody would find it when the entity dies
        throw;
    }
}

void CN_Selection::remove(CN_LevelEntity* entity) {
    const auto found = m_index.find(entity);
    if (found == m_index.end() || !takeContent(false, entity))
        return;
    m_selected.erase(found->second);
    m_index.erase(found);
}

/// Adds or removes the content of a prefab ahead of the prefab itself. False where that is under way already: prefabs
/// that were assigned to each other may hold one another in their contents.
bool CN_Selection::takeContent(bool add, CN_LevelEntity* entity) {
    struct Taking {
        std::set<const CN_LevelEntity*>& prefabs;
        const CN_LevelEntity* prefab;
        bool first = prefabs.insert(prefab).second;
        ~Taking() {
            if (first)
                prefabs.erase(prefab);
        }
    };
    // An entity that died may still be selected, and is to be removed.
    auto* const prefab = CN_LevelEntity::isAlive(entity) && entity->getEntityId() == CN_KIND_PREFAB
                             ? dynamic_cast<CN_LevelEntityPrefab*>(entity)
                             : nullptr;
    if (!prefab)
        return true;
    const Taking taking{m_takingContent, prefab};
    if (taking.first)
        prefab->addContentToSelection(add, this);
    return taking.first;
}

void CN_Selection::clear() {
    m_selected.clear();
    m_index.clear();
}

void CN_Selection::addSubTrees(bool add, CN_LevelEntity* entity) {
    if (!entity)
        return;
    CN_PreIterator it = entity->createIterator();
    for (it.begin(); !it.end(); ++it) {
        if (add)
            this->add(*it);
        else
            remove(*it);
    }
}

bool CN_Selection::isInSelection(const CN_LevelEntity* entity) const { return m_index.count(entity) > 0; }

CN_SelectionIterator CN_Selection::createIterator() { return CN_SelectionIterator(m_selected); }

CN_ConstSelectionIterator CN_Selection::createConstIterator() const { return CN_ConstSelectionIterator(m_selected); }

void CN_Selection::forEachSelected(CN_ForEach* forEach) {
    for (CN_LevelEntity* entity : m_selected)
        (*forEach)(entity);
}

void CN_Selection::registerObserver(CN_SelectionObserver* observer) {
    if (observer)
        m_observers.push_back(observer);
}

void CN_Selection::notifyObservers(CN_SelectionObserver* cause) {
    for (CN_SelectionObserver* observer : m_observers)
        observer->selectionChanged(cause);
}

void CN_Selection::getListOfNonSelectedChildren(List& list) const {
    list.clear();
    for (const CN_LevelEntity* entity : m_selected)
        for (CN_LevelEntity* child : entity->getChildren())
            if (!isInSelection(child) && !dynamic_cast<CN_VirtualNode*>(child))
                list.push_back(child);
}

bool CN_Selection::areAllSelectedParantedToSelectedRoom() const {
    for (const CN_LevelEntity* entity : m_selected) {
        const CN_LevelEntityMesh* room = CN_HierarchyUtils::getRoomContaining(entity);
        if (!room || !isInSelection(room))
            return false;
    }
    return true;
}

// A marker byte, 2, then the chunk.
// Version 1: a byte, 1 if there are numbers; the numbers; a byte, 1 if children are selected with their parents.
// Older: a marker 0 and nothing more, or any other marker and the numbers without a chunk.

void CN_Selection::save(F_MemoryFile& file, CN_Document* document) const {
    std::vector<unsigned int> numbers;
    if (!m_selected.empty())
        forEachNumbered(document->accessLevel(), false, [&, number = 0u](const CN_LevelEntity* entity) mutable {
            if (isInSelection(entity))
                numbers.push_back(number);
            ++number;
            return true;
        });

    file << MARKER_CHUNK;
    file.createChunk(0, CAIRN_SELECTION_VERSION);
    file << static_cast<unsigned char>(numbers.empty() ? 0 : 1);
    if (!numbers.empty()) {
        file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, numbers.size());
        for (const unsigned int number : numbers)
            file << number;
    }
    file << static_cast<unsigned char>(document->getAutoSelectChildren() ? 1 : 0);
    file.closeChunk();
}

void CN_Selection::load(F_MemoryFile& file, CN_Document* document) {
    clear();
    unsigned char marker = 0;
    file >> marker;
    if (marker == MARKER_EMPTY)
        return;

    std::vector<unsigned int> numbers;
    if (marker == MARKER_CHUNK) {
        F_MemoryFile::Chunk chunk;
        file.openChunk(chunk, 0);
        unsigned char hasNumbers = 0, autoSelectChildren = 0;
        chunk.getMemoryFile() >> hasNumbers;
        if (hasNumbers == 1)
            numbers = readNumbers(chunk.getMemoryFile());
        chunk.getMemoryFile() >> autoSelectChildren;
        file.skipChunk();
        document->setAutoSelectChildren(autoSelectChildren == 1);
    } else {
        numbers = readNumbers(file);
    }

    // The numbers rise as the walk does: one that does not is never met, and neither are those behind it.
    auto next = numbers.begin();
    forEachNumbered(document->accessLevel(), true, [&, number = 0u](CN_LevelEntity* entity) mutable {
        if (next == numbers.end())
            return false;
        if (*next == number) {
            add(entity);
            ++next;
        }
        ++number;
        return true;
    });
}

void CN_SelectionIterator::begin() { m_at = m_list->begin(); }

CN_SelectionIterator& CN_SelectionIterator::operator++() {
    if (m_at != m_list->end())
        ++m_at;
    return *this;
}

CN_LevelEntity* CN_SelectionIterator::operator*() { return m_at == m_list->end() ? nullptr : *m_at; }

bool CN_SelectionIterator::operator!=(const CN_EntityIterator& other) const {
    return m_at != dynamic_cast<const CN_SelectionIterator&>(other).m_at;
}

CN_SelectionIterator CN_SelectionIterator::getEnd() const { return CN_SelectionIterator(*m_list); }

void CN_ConstSelectionIterator::begin() { m_at = m_list->begin(); }

CN_ConstSelectionIterator& CN_ConstSelectionIterator::operator++() {
    if (m_at != m_list->end())
        ++m_at;
    return *this;
}

const CN_LevelEntity* CN_ConstSelectionIterator::operator*() { return m_at == m_list->end() ? nullptr : *m_at; }

bool CN_ConstSelectionIterator::operator!=(const CN_ConstEntityIterator& other) const {
    return m_at != dynamic_cast<const CN_ConstSelectionIterator&>(other).m_at;
}

CN_ConstSelectionIterator CN_ConstSelectionIterator::getEnd() const { return CN_ConstSelectionIterator(*m_list); }

} // namespace cairn
