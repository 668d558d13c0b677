#include "cairn/entities/entity_iterator.h"

#include "cairn/entities/level_entity.h"

#include <algorithm>

namespace cairn {

CN_PlaceStack& CN_PlaceStack::operator=(const CN_PlaceStack& other) {
    if (this == &other)
        return *this;
    m_size = 0; // nothing of the old content needs to survive the growing
    if (other.m_size > m_capacity)
        grow(other.m_capacity);
    std::copy_n(other.places(), other.m_size, places());
    m_size = other.m_size;
    return *this;
}

void CN_PlaceStack::push(Place place) {
    if (m_size == m_capacity)
        grow(m_capacity * 2);
    places()[m_size++] = place;
}

void CN_PlaceStack::grow(std::size_t capacity) {
    auto heap = std::make_unique<Place[]>(capacity);
    std::copy_n(places(), m_size, heap.get());
    m_heap = std::move(heap);
    m_capacity = capacity;
}

template <class Interface, class Entity> Interface& CN_BasicChildIterator<Interface, Entity>::operator++() {
    if (!end())
        ++m_at;
    return *this;
}

template <class Interface, class Entity> Entity* CN_BasicChildIterator<Interface, Entity>::operator*() {
    return end() ? nullptr : *m_at;
}

template <class Interface, class Entity>
bool CN_BasicChildIterator<Interface, Entity>::operator!=(const Interface& other) const {
    return m_at != dynamic_cast<const CN_BasicChildIterator&>(other).m_at;
}

template <class Interface, class Entity> void CN_BasicPreIterator<Interface, Entity>::begin() {
    m_above.clear();
    m_at = m_children->begin();
}

template <class Interface, class Entity> Interface& CN_BasicPreIterator<Interface, Entity>::operator++() {
    if (atEnd())
        return *this;
    const CN_LevelEntity* entity = *m_at;
    if (entity && !entity->getChildren().empty()) {
        m_above.push(m_at);
        m_at = entity->getChildren().begin();
        return *this;
    }
    ++m_at;
    while (m_above.size() > 0 && m_at == (*m_above.top())->getChildren().end()) {
        m_at = m_above.top();
        m_above.pop();
        ++m_at;
    }
    return *this;
}

template <class Interface, class Entity> Entity* CN_BasicPreIterator<Interface, Entity>::operator*() {
    return atEnd() ? nullptr : *m_at;
}

template <class Interface, class Entity>
bool CN_BasicPreIterator<Interface, Entity>::operator!=(const Interface& other) const {
    return entity() != dynamic_cast<const CN_BasicPreIterator&>(other).entity();
}

template class CN_BasicChildIterator<CN_EntityIterator, CN_LevelEntity>;
template class CN_BasicChildIterator<CN_ConstEntityIterator, const CN_LevelEntity>;
template class CN_BasicPreIterator<CN_EntityIterator, CN_LevelEntity>;
template class CN_BasicPreIterator<CN_ConstEntityIterator, const CN_LevelEntity>;

} // namespace cairn
