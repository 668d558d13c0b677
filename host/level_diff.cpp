#include "host/level_diff.h"

#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/foundation/checksum.h"
#include "host/console.h"
#include "host/entity_facts.h"
#include "host/entity_matching.h"
#include "host/entity_text.h"

#include <fmt/format.h>

#include <array>
#include <map>
#include <unordered_map>

namespace cairn::host {

namespace {

using Level = EntityMatching::Level;
constexpr Level FIRST = EntityMatching::FIRST, SECOND = EntityMatching::SECOND;
constexpr int NONE = EntityMatching::NONE;

/// Pairs of polygons of the meshes that stand for one another, by the mesh of the second level; none for those whose
/// polygons have kept their places.
using PolygonPairs = std::unordered_map<const CN_Mesh*, Alignment>;

/// Knows the entities and polygons of one level by the partners that they have in the other.
class PairIdentities : public Identities {
  public:
    PairIdentities(const EntityMatching& matching, const PolygonPairs& polygons, Level level)
        : m_matching(matching), m_polygons(polygons), m_level(level) {}

    std::string of(const CN_LevelEntity& entity) const override {
        const int number = m_matching.find(m_level, &entity);
        if (number == NONE)
            return "elsewhere";
        const int partner = m_matching.partner(m_level, number);
        return partner == NONE ? alone(number) : std::to_string(m_level == SECOND ? number : partner);
    }
    std::string of(const CN_Polygon& polygon) const override {
        const CN_Mesh& mesh = *polygon.getParent();
        const int place = mesh.getPolygonList().indexOf(&polygon);
        if (place < 0)
            return "elsewhere";
        const int number = m_matching.find(m_level, &mesh);
        const int partner = number == NONE ? NONE : m_matching.partner(m_level, number);
        if (partner == NONE)
            return std::to_string(place);
        const auto pairs = m_polygons.find(dynamic_cast<const CN_Mesh*>(
            m_matching.entities(SECOND)[static_cast<std::size_t>(m_level == SECOND ? number : partner)]));
        if (pairs == m_polygons.end())
            return std::to_string(place);
        const Alignment& alignment = pairs->second;
        const int other = (m_level == SECOND ? alignment.toFirst : alignment.toSecond)[static_cast<std::size_t>(place)];
        return other < 0 ? alone(place) : std::to_string(m_level == SECOND ? place : other);
    }

  private:
    std::string alone(int number) const { return fmt::format("{}{}", m_level == FIRST ? '<' : '>', number); }

    const EntityMatching& m_matching;
    const PolygonPairs& m_polygons;
    Level m_level;
};

template <class Elements> const auto& elementAt(const Elements& elements, int place) { return elements[place]; }
template <class Element> const Element& elementAt(const std::vector<Element>& elements, int place) {
    return elements[static_cast<std::size_t>(place)];
}

/// Compares the trees of two levels.
class TreeDiff {
  public:
    TreeDiff(CN_Document& first, CN_Document& second, ChangeList& changes)
        : m_documents{&first, &second}, m_matching(*first.getLevel(), *second.getLevel()), m_changes(changes) {}

    void run() {
        for (int i = 0; i < static_cast<int>(m_matching.entities(FIRST).size()); ++i)
            if (m_matching.partner(FIRST, i) == NONE)
                tellAlone(FIRST, i);
        for (int i = 0; i < static_cast<int>(m_matching.entities(SECOND).size()); ++i) {
            Progress::count();
            if (m_matching.partner(SECOND, i) == NONE)
                tellAlone(SECOND, i);
            else
                comparePair(m_matching.partner(SECOND, i), i);
        }
    }

  private:
    const CN_LevelEntity& entity(Level level, int number) const {
        return *m_matching.entities(level)[static_cast<std::size_t>(number)];
    }

    void tellAlone(Level level, int number) {
        const CN_LevelEntity& alone = entity(level, number);
        m_changes.setEntity(qualifiedName(alone));
        const std::optional<std::string> kind = kindName(alone.getEntityId());
        if (level == FIRST)
            m_changes.add(LevelChange::REMOVED, "kind", kind, std::nullopt);
        else
            m_changes.add(LevelChange::ADDED, "kind", std::nullopt, kind);
    }

    void comparePair(int first, int second) {
        const CN_LevelEntity &a = entity(FIRST, first), &b = entity(SECOND, second);
        m_changes.setEntity(qualifiedName(b));
        comparePath(first, second);
        const std::size_t before = m_changes.size();
        compareChildren(first, second);
        const Polygons polygons = pairPolygons(a, b);
        compareFacts(a, b);
        compareMessages(a.getFSM(), b.getFSM());
        comparePolygons(a, b, polygons);
        compareTriangles(a, b);
        if (m_changes.size() == before)
            compareRest(a, b);
    }

    void comparePath(int first, int second) {
        const CN_LevelEntity &a = entity(FIRST, first), &b = entity(SECOND, second);
        const int parent = m_matching.parent(FIRST, first);
        const bool sameParent =
            parent == NONE || m_matching.partner(FIRST, parent) == m_matching.parent(SECOND, second);
        if (sameParent ? plainName(a) == plainName(b) : qualifiedName(a) == qualifiedName(b))
            return;
        m_changes.add(sameParent ? LevelChange::RENAMED : LevelChange::MOVED, sameParent ? "name" : "parent",
                      qualifiedName(a), qualifiedName(b));
    }

    /// The order of children that were and are here.
    void compareChildren(int first, int second) {
        const auto ordered = [&](Level level, int number) {
            ChangeList::Ordered list;
            for (const int child : m_matching.children(level, number))
                if (const int partner = m_matching.partner(level, child); partner != NONE)
                    list.emplace_back(std::to_string(level == SECOND ? child : partner),
                                      plainName(entity(level, child)));
            return list;
        };
        m_changes.compareOrder("order of children", ordered(FIRST, first), ordered(SECOND, second));
    }

    void describe(Level level, const CN_LevelEntity& entity, bool withMachine, FactSink& facts) const {
        describePlace(entity, facts);
        facts.flag("selected", m_documents[level]->getSelection()->isInSelection(&entity));
        describeSettings(entity, m_identities[level], facts);
        if (const E_FSM* const machine = withMachine ? entity.getFSM() : nullptr)
            describeMachine(*machine, facts);
    }

    void compareFacts(const CN_LevelEntity& a, const CN_LevelEntity& b) {
        const bool withMachine = a.hasFSM() && b.hasFSM(); // one that came or went is told as a whole
        FactHash hashOfA, hashOfB;
        describe(FIRST, a, withMachine, hashOfA);
        describe(SECOND, b, withMachine, hashOfB);
        if (hashOfA.get() == hashOfB.get())
            return;
        FactList factsOfA, factsOfB;
        describe(FIRST, a, withMachine, factsOfA);
        describe(SECOND, b, withMachine, factsOfB);
        m_changes.compareFacts(factsOfA.get(), factsOfB.get());
    }

    /// @name Messages
    /// @{
    ElementList elementsOf(Level level, const E_FSM::MessageList& messages) const {
        ElementList list;
        for (const E_FSM::Message& message : messages) {
            const std::string key = messageKey(message, m_identities[level]);
            const std::string address = fmt::format(
                "{} {}", message.m_target ? m_identities[level].of(*message.m_target) : "", view(message.m_name));
            list.keys.push_back({checksum64(key.data(), key.size()), checksum64(address.data(), address.size())});
        }
        list.describe = [&messages](int place, FactSink& facts) {
            const E_FSM::Message& message = messages[static_cast<std::size_t>(place)];
            facts.word("", view(message.m_text));
            facts.word("refers to", referencesText(message));
        };
        return list;
    }

    static std::string referencesText(const E_FSM::Message& message) {
        std::string names = message.m_target ? qualifiedName(*message.m_target) : "";
        for (std::size_t i = 0; i < message.m_objectArguments.size(); ++i)
            if (const CN_LevelEntity* const object = message.getObjectArgument(i))
                names += (names.empty() ? "" : " ") + qualifiedName(*object);
        return names;
    }

    void compareMessages(const E_FSM* a, const E_FSM* b) {
        if (!a || !b)
            return;
        static const E_FSM::MessageList none;
        std::map<std::string, std::array<const E_FSM::MessageList*, 2>> lists;
        const auto gather = [&lists](Level level, const E_FSM& machine) {
            forEachMessageList(machine, [&](const std::string& name, const E_FSM::MessageList& messages) {
                lists.try_emplace(name, std::array{&none, &none}).first->second[level] = &messages;
            });
        };
        gather(FIRST, *a);
        gather(SECOND, *b);
        for (const auto& [name, sides] : lists)
            m_changes.compareEach("message " + name, elementsOf(FIRST, *sides[FIRST]),
                                  elementsOf(SECOND, *sides[SECOND]));
    }
    /// @}

    /// @name Geometry
    /// @{
    struct Polygons {
        ElementList first, second;
        Alignment alignment;
    };

    /// Elements that are known by what `tell` says of them, and as alike by what `likeness` gives.
    template <class Elements, class Describe, class Likeness>
    static ElementList elementsOf(const Elements& elements, Describe tell, Likeness likeness) {
        ElementList list;
        for (const auto& element : elements) {
            FactHash hash;
            tell(element, hash);
            const std::string key = likeness(element);
            list.keys.push_back({hash.get(), checksum64(key.data(), key.size())});
        }
        list.describe = [&elements, tell](int place, FactSink& facts) { tell(elementAt(elements, place), facts); };
        return list;
    }

    ElementList polygonsOf(Level level, const CN_Mesh& mesh) const {
        const Identities& identities = m_identities[level];
        return elementsOf(
            mesh.getPolygonList(),
            [&identities](const CN_Polygon& polygon, FactSink& facts) { describePolygon(polygon, identities, facts); },
            cornersKey);
    }

    /// To be done before anything that stands on the polygons is compared.
    Polygons pairPolygons(const CN_LevelEntity& a, const CN_LevelEntity& b) {
        const auto *first = dynamic_cast<const CN_Mesh*>(&a), *second = dynamic_cast<const CN_Mesh*>(&b);
        if (!first || !second)
            return {};
        Polygons polygons{polygonsOf(FIRST, *first), polygonsOf(SECOND, *second), {}};
        polygons.alignment = align(polygons.first.keys, polygons.second.keys, Leftovers::AT_SAME_PLACE);
        for (std::size_t i = 0; i < polygons.alignment.toFirst.size(); ++i)
            if (polygons.alignment.toFirst[i] != static_cast<int>(i)) {
                m_polygonPairs.emplace(second, polygons.alignment);
                break;
            }
        return polygons;
    }

    void comparePolygons(const CN_LevelEntity& a, const CN_LevelEntity& b, const Polygons& polygons) {
        const auto *first = dynamic_cast<const CN_Mesh*>(&a), *second = dynamic_cast<const CN_Mesh*>(&b);
        if (!first || !second)
            return;
        const std::size_t before = m_changes.size();
        m_changes.compareGrouped("polygon", polygons.first, polygons.second, polygons.alignment);
        if (m_changes.size() == before && first->getVertexList().count() == second->getVertexList().count() &&
            vertexNumbering(*first) != vertexNumbering(*second))
            m_changes.addChanged("numbering of vertices", std::nullopt, std::nullopt);
    }

    void compareTriangles(const CN_LevelEntity& a, const CN_LevelEntity& b) {
        const auto *first = dynamic_cast<const CN_LevelEntityTriMesh*>(&a),
                   *second = dynamic_cast<const CN_LevelEntityTriMesh*>(&b);
        if (!first || !second)
            return;
        const auto compare = [&](const char* noun, const auto& ofFirst, const auto& ofSecond, auto tell) {
            const auto likeness = [](const auto&) { return std::string(); };
            const ElementList before = elementsOf(ofFirst, tell, likeness),
                              after = elementsOf(ofSecond, tell, likeness);
            m_changes.compareGrouped(noun, before, after, align(before.keys, after.keys, Leftovers::AT_SAME_PLACE));
        };
        compare("vertex", first->getVertices(), second->getVertices(), describeVertex);
        compare("triangle", first->getTriangles(), second->getTriangles(), describeTriangle);
    }
    /// @}

    /// What no other part tells: bounds, unless they only follow where the entity stands, and whatever else is in the record
    /// of a kind that refers to no polygons.
    void compareRest(const CN_LevelEntity& a, const CN_LevelEntity& b) {
        if (a.getWorldPosition() == b.getWorldPosition() && a.getWorldRotation() == b.getWorldRotation() &&
            !(a.getBoundingMin() == b.getBoundingMin() && a.getBoundingMax() == b.getBoundingMax() &&
              a.getBoundingRadius() == b.getBoundingRadius()))
            m_changes.addChanged("bounds", boundsText(a), boundsText(b));
        if (dynamic_cast<const CN_MeshInterface*>(&a) || dynamic_cast<const CN_VirtualNode*>(&a))
            return;
        if (recordOf(a) != recordOf(b))
            m_changes.addChanged("record", std::nullopt, std::nullopt);
    }

    static std::string boundsText(const CN_LevelEntity& entity) {
        const CN_LevelEntity::Vector &min = entity.getBoundingMin(), &max = entity.getBoundingMax();
        return toNumbersText(std::array{min.x, min.y, min.z, max.x, max.y, max.z, entity.getBoundingRadius()});
    }

    static std::string recordOf(const CN_LevelEntity& entity) {
        F_MemoryFile file;
        const_cast<CN_LevelEntity&>(entity).saveEntitySpecificData(file); // which changes nothing
        return {static_cast<const char*>(file.getAddress()), file.getSize()};
    }

    std::array<CN_Document*, 2> m_documents; ///< not owned
    EntityMatching m_matching;
    PolygonPairs m_polygonPairs;
    std::array<PairIdentities, 2> m_identities{PairIdentities(m_matching, m_polygonPairs, FIRST),
                                               PairIdentities(m_matching, m_polygonPairs, SECOND)};
    ChangeList& m_changes;
};

} // namespace

std::vector<LevelChange> compareLevels(CN_Document& first, CN_Document& second) {
    ChangeList changes;
    TreeDiff(first, second, changes).run();
    changes.setEntity(std::nullopt);
    compareDocuments(first, second, changes);
    if (changes.size() == 0)
        compareBytes(first, second, changes);
    return changes.take();
}

} // namespace cairn::host
