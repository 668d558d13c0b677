#pragma once

#include "host/facts.h"
#include "host/list_alignment.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cairn::host {

/// A difference between two levels.
struct LevelChange {
    enum Kind { ADDED, REMOVED, RENAMED, MOVED, CHANGED };

    Kind kind = CHANGED;
    std::optional<std::string>
        entity;       ///< qualified name in the second level, of a removed one in the first; none for the level
    std::string what; ///< differs
    std::optional<std::string> from, to; ///< none where there is no value or it is too long for one
};

/// Elements of a list that have no names of their own.
struct ElementList {
    std::vector<ElementKeys> keys;
    std::function<void(int place, FactSink& facts)> describe; ///< the first fact is what people know an element by
};

/// A thing with a name and facts of its own; the first fact is what people know it by.
struct NamedThing {
    std::string name;
    FactList facts;
};

/// Collects what differs, of one entity after the other.
class ChangeList {
  public:
    /// What is added from now on is of this entity; none for the level.
    void setEntity(std::optional<std::string> entity) { m_entity = std::move(entity); }
    void add(LevelChange::Kind kind, std::string what, std::optional<std::string> from, std::optional<std::string> to);
    void addChanged(std::string what, std::optional<std::string> from, std::optional<std::string> to) {
        add(LevelChange::CHANGED, std::move(what), std::move(from), std::move(to));
    }
    /// Adds each fact that differs.
    void compareFacts(const std::vector<Fact>& first, const std::vector<Fact>& second);
    /// Adds each element that differs, by its place. Where the first fact is the same on both sides the last one is told.
    void compareEach(const std::string& noun, const ElementList& first, const ElementList& second);
    /// The same for long lists of like elements ("polygon"): one change for all elements that differ alike. Places are those in
    /// the second list, of elements that are gone in the first.
    void compareGrouped(const std::string& noun, const ElementList& first, const ElementList& second,
                        const Alignment& alignment);
    /// Adds each thing that only one side has, and each fact that differs in one that both have; things are known by name, those
    /// of one name in their order. Tells also where those of both sides stand in another order.
    void compareThings(const std::string& order, const std::vector<NamedThing>& first,
                       const std::vector<NamedThing>& second);
    /// A pair of a key, the same on both sides, and a name.
    using Ordered = std::vector<std::pair<std::string, std::string>>;
    /// Adds a change where what both sides have stands in another order: the names from the first to the last that differ.
    void compareOrder(const std::string& what, const Ordered& first, const Ordered& second);

    std::size_t size() const { return m_changes.size(); }
    std::vector<LevelChange> take() { return std::move(m_changes); }

  private:
    std::optional<std::string> m_entity;
    std::vector<LevelChange> m_changes;
};

} // namespace cairn::host
