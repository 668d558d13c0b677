#pragma once

#include <list>

namespace cairn {

class CN_Material;

/// Walks the materials of a category:
/// `for (CN_MatIterator it = category.createMaterialIterator(); it != it.end(); ++it) it->name();`, or in a range-for.
/// The category must not lose the material that the walk stands at.
class CN_MatIterator {
  public:
    /// Stands at the first material.
    explicit CN_MatIterator(std::list<CN_Material*>& materials) : CN_MatIterator(materials, materials.begin()) {}
    virtual ~CN_MatIterator() = default;

    CN_MatIterator begin() const { return CN_MatIterator(*m_materials, m_materials->begin()); }
    CN_MatIterator end() const { return CN_MatIterator(*m_materials, m_materials->end()); }
    /// To the next material; not at the end.
    CN_MatIterator& operator++() {
        ++m_at;
        return *this;
    }
    /// The material; not at the end.
    CN_Material* operator*() const { return *m_at; }
    CN_Material* operator->() const { return *m_at; }
    bool operator!=(const CN_MatIterator& other) const { return m_at != other.m_at; }

  private:
    CN_MatIterator(std::list<CN_Material*>& materials, std::list<CN_Material*>::iterator at)
        : m_materials(&materials), m_at(at) {}

    std::list<CN_Material*>* m_materials; ///< not owned
    std::list<CN_Material*>::iterator m_at;
};

} // namespace cairn
