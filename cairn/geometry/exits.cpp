#include "cairn/geometry/exits.h"

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/for_each.h"
#include "cairn/entities/portal.h"
#include "cairn/foundation/system.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/platform/handlers.h"

#include <cstdint>

namespace cairn {

namespace {

CN_Mesh* asMesh(CN_LevelEntity* entity) {
    return entity->getEntityId() == CN_KIND_MESH ? dynamic_cast<CN_Mesh*>(entity) : nullptr;
}

void giveNumber(CN_Polygon& polygon) {
    polygon.setPolygonIndex(CN_Polygon::m_suiRunningDocIndex++);
    CN_Polygon::s_uiTriangleIndex += static_cast<unsigned int>(polygon.getTriangleList().count());
}

void resetCounts() { CN_Polygon::m_suiRunningDocIndex = CN_Polygon::s_uiTriangleIndex = 0; }

/// Numbers the polygons of each mesh entity, and lists them.
class ForEach_EnumeratePolygons : public CN_ForEach {
  public:
    explicit ForEach_EnumeratePolygons(std::vector<CN_Polygon*>* list) : m_list(list) {}
    void operator()(CN_LevelEntity* entity) override {
        CN_Mesh* const mesh = asMesh(entity);
        if (!mesh)
            return;
        for (CN_Polygon& polygon : mesh->accessPolygonList()) {
            giveNumber(polygon);
            if (m_list)
                m_list->push_back(&polygon);
        }
    }

  private:
    std::vector<CN_Polygon*>* m_list; ///< not owned: may be null
};

/// An address in the width that log lines have for it.
unsigned int shownAddress(const void* address) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(address));
}

/// Tells the load report of the exit's document.
void report(const CN_Polygon& exit, const std::string& text) {
    const CN_Mesh* const mesh = exit.getParent();
    CN_Document* const document = mesh ? mesh->getDocument() : nullptr;
    if (CN_Document::isAlive(document))
        document->accessLoadReport().add("repaired", mesh, mesh->findPolygonIndex(&exit), text);
}

/// The number of each polygon's partner: the one it holds, or that of the partner it is bound to. `polygons` have their places
/// as numbers.
std::vector<int> findDestinations(const std::vector<CN_Polygon*>& polygons) {
    std::vector<int> numbers;
    numbers.reserve(polygons.size());
    for (const CN_Polygon* const polygon : polygons) {
        const CN_Polygon* const partner = polygon->getExitDestination();
        if (!partner) {
            numbers.push_back(polygon->getExitDestinationIndex());
            continue;
        }
        // One of another document has a number that nobody has here.
        const std::size_t number = partner->getPolygonIndex();
        const bool isListed = number < polygons.size() && polygons[number] == partner;
        numbers.push_back(static_cast<int>(isListed ? number : polygons.size()));
    }
    return numbers;
}

/// Makes polygons solid that do not lead to each other, and their numbers those of no exit.
void repairDestinations(const std::vector<CN_Polygon*>& polygons, std::vector<int>& numbers) {
    const auto solidify = [&](std::size_t place) {
        polygons[place]->setPolyMode(PT_SOLID);
        numbers[place] = CN_Polygon::NON_EXIT_INDEX;
    };
    for (std::size_t i = 0; i < polygons.size(); ++i) {
        const int number = numbers[i];
        if (number == CN_Polygon::NON_EXIT_INDEX)
            continue;
        const auto partner = static_cast<std::size_t>(number); // a negative number is beyond the list
        const bool isThere = partner < polygons.size();
        if (!isThere || numbers[partner] == CN_Polygon::NON_EXIT_INDEX) {
            AfxMessageBox(formatText("Exit %d pointing to non-exit %d!\nSolidifying.", static_cast<int>(i), number));
            solidify(i);
            if (isThere)
                solidify(partner);
        } else if (numbers[partner] != static_cast<int>(i)) {
            AfxMessageBox("Non-cross-linked exits!");
            solidify(i);
            solidify(partner);
        }
    }
}

} // namespace

CN_ExitDestinationPointerDeserializationException::CN_ExitDestinationPointerDeserializationException(int index)
    : F_Exception(formatText("Exit destination pointer was serialized with an index %d.No such index was found during "
                             "deserialisation!!",
                             index)) {}

CN_PolygonValidator* CN_PolygonValidator::instance() {
    static CN_PolygonValidator validator;
    return &validator;
}

void CN_PolygonValidator::enumeratePolygons(CN_Document* document, std::vector<CN_Polygon*>* list) {
    resetCounts();
    CN_LevelEntity* const level = document ? document->accessLevel() : nullptr;
    if (!level)
        return;
    ForEach_EnumeratePolygons enumerate(list);
    level->forEachEntity(&enumerate);
}

void CN_PolygonValidator::enumerateWrittenPolygons(std::span<CN_LevelEntity* const> entities) {
    resetCounts();
    for (const bool written : {true, false})
        for (CN_LevelEntity* const entity : entities)
            if (CN_Mesh* const mesh = asMesh(entity))
                for (CN_Polygon& polygon : mesh->accessPolygonList())
                    if (polygon.getEdgeList().empty() != written)
                        giveNumber(polygon);
}

void CN_PolygonValidator::validateExitDestinations(CN_Document* document) {
    std::vector<CN_Polygon*> polygons;
    enumeratePolygons(document, &polygons);
    // No load waits for what is bound here.
    for (const CN_Polygon* const polygon : polygons)
        CN_ExitDestinationPointerDeserializer::instance()->forget(polygon);
    std::vector<int> numbers = findDestinations(polygons);
    repairDestinations(polygons, numbers);
    for (std::size_t i = 0; i < polygons.size(); ++i) {
        CN_Polygon& polygon = *polygons[i];
        const bool leads = numbers[i] != CN_Polygon::NON_EXIT_INDEX;
        polygon.setExitDestination(leads ? polygons[static_cast<std::size_t>(numbers[i])] : nullptr);
        polygon.setExitDestinationIndex(CN_Polygon::NON_EXIT_INDEX);
        if (leads)
            polygon.setPolyMode(PT_EXIT);
    }
}

CN_ExitDestinationPointerDeserializer* CN_ExitDestinationPointerDeserializer::instance() {
    static CN_ExitDestinationPointerDeserializer deserializer;
    return &deserializer;
}

void CN_ExitDestinationPointerDeserializer::reset() {
    m_relocatablePolygons.clear();
    m_numbers.clear();
    m_doubles.clear();
    m_doublePlaces.clear();
}

void CN_ExitDestinationPointerDeserializer::addRelocatableExitPolygon(CN_Polygon* polygon) {
    const int number = static_cast<int>(polygon->getPolygonIndex());
    drop(polygon); // it may have waited under this number or another one
    // Wherever that ends for want of memory, no polygon is listed that could not be found when it dies.
    m_numbers[polygon] = number;
    CN_Polygon*& entry = m_relocatablePolygons[number];
    if (entry) {
        m_doubles.push_back(nullptr);
        m_doublePlaces[entry] = m_doubles.size() - 1;
        m_doubles.back() = entry;
    }
    entry = polygon;
}

void CN_ExitDestinationPointerDeserializer::drop(const CN_Polygon* polygon) {
    const auto known = m_numbers.find(polygon);
    if (known == m_numbers.end())
        return;
    if (const auto it = m_relocatablePolygons.find(known->second);
        it != m_relocatablePolygons.end() && it->second == polygon)
        m_relocatablePolygons.erase(it);
    if (const auto place = m_doublePlaces.find(polygon); place != m_doublePlaces.end()) {
        m_doubles[place->second] = nullptr;
        m_doublePlaces.erase(place);
    }
    m_numbers.erase(known);
}

void CN_ExitDestinationPointerDeserializer::deserialize(CN_LevelEntity* root, CN_Material* material) {
    CN_PreIterator it = root->createIterator();
    deserialize(&it, material);
}

void CN_ExitDestinationPointerDeserializer::deserializePart(CN_LevelEntity* root, CN_Material* material) {
    m_isPart = true;
    deserialize(root, material);
}

void CN_ExitDestinationPointerDeserializer::deserialize(CN_EntityIterator* it, CN_Material* material) {
    struct Serving {
        CN_ExitDestinationPointerDeserializer& deserializer;
        ~Serving() {
            deserializer.m_sealMaterial = nullptr;
            deserializer.m_isPart = false;
            deserializer.m_broken.clear();
            deserializer.reset();
        }
    } const serving{*this};
    m_sealMaterial = material;
    reportDoubles();
    findBroken();
    for (it->begin(); !it->end(); ++*it)
        if (CN_LevelEntity* const entity = **it)
            entity->acceptACVisitor(*this);
    bindOthers();
}

void CN_ExitDestinationPointerDeserializer::visit(CN_LevelEntityPortal& portal) {
    CN_Polygon* const exit = portal.getPortalPolygon();
    // A second portal on one exit finds it bound.
    if (!exit || exit->isExitPolygon() || bind(*exit))
        return;
    const int number = exit->getExitDestinationIndex();
    // An exit that never had a partner, or whose partner has lost its own, needs no material to become a wall.
    if (!m_sealMaterial && !m_isPart && number != CN_Polygon::NON_EXIT_INDEX && !m_relocatablePolygons.contains(number))
        throw new CN_ExitDestinationPointerDeserializationException(number);
    F_System::verbose("LevelLoader      : Sealed exit %d", number);
    F_System::verbose(" with name(%s)\n", toString(portal.getQualifiedName()).c_str());
    F_System::verbose("CN_ExitDestinationPointerDeserializer::visit : portal@%8X polygon@%8X\n", shownAddress(&portal),
                      shownAddress(exit));
    if (number != CN_Polygon::NON_EXIT_INDEX)
        report(*exit, formatText("Sealed an exit: its partner, polygon %d, is not there or leads nowhere", number));
    else if (exit->getPolyMode() == PT_EXIT)
        report(*exit, "Sealed an exit that has no partner");
    else if (exit->getPolyMode() != PT_SOLID) // else it is a wall already, as a load before this one left it
        report(*exit, formatText("A portal stands on a polygon of mode %u, which is no exit: made solid",
                                 exit->getPolyMode()));
    exit->sealExit(m_sealMaterial);
}

void CN_ExitDestinationPointerDeserializer::reportDoubles() {
    for (const CN_Polygon* const exit : m_doubles)
        if (exit)
            report(*exit, formatText("Two exits have the number %d", m_numbers.at(exit)));
}

/// Finds the exits without a partner, and those whose partner turns out to be none because of that, and so on.
void CN_ExitDestinationPointerDeserializer::findBroken() {
    std::multimap<int, CN_Polygon*> sources;
    std::vector<CN_Polygon*> next;
    for (const auto& [own, exit] : m_relocatablePolygons) {
        sources.emplace(exit->getExitDestinationIndex(), exit);
        if (!m_relocatablePolygons.contains(exit->getExitDestinationIndex()))
            next.push_back(exit);
    }
    while (!next.empty()) {
        CN_Polygon* const exit = next.back();
        next.pop_back();
        m_broken.insert(exit);
        const auto [first, last] = sources.equal_range(m_numbers.at(exit));
        for (auto it = first; it != last; ++it)
            if (!m_broken.contains(it->second))
                next.push_back(it->second);
    }
}

/// Makes the exit lead to the polygon of its number; false where there is none.
bool CN_ExitDestinationPointerDeserializer::bind(CN_Polygon& exit) {
    const auto it = m_relocatablePolygons.find(exit.getExitDestinationIndex());
    if (exit.getExitDestinationIndex() == CN_Polygon::NON_EXIT_INDEX || it == m_relocatablePolygons.end() ||
        m_broken.contains(it->second))
        return false;
    exit.setExitDestination(it->second);
    exit.setExitDestinationIndex(CN_Polygon::NON_EXIT_INDEX);
    return true;
}

/// Binds the exits that no portal stands for.
void CN_ExitDestinationPointerDeserializer::bindOthers() {
    for (const auto& [own, exit] : m_relocatablePolygons)
        bindOther(*exit);
    for (CN_Polygon* const exit : m_doubles)
        if (exit)
            bindOther(*exit);
}

void CN_ExitDestinationPointerDeserializer::bindOther(CN_Polygon& exit) {
    const int number = exit.getExitDestinationIndex();
    if (number == CN_Polygon::NON_EXIT_INDEX)
        return;
    const bool bound = bind(exit);
    exit.setExitDestinationIndex(CN_Polygon::NON_EXIT_INDEX);
    F_System::verbose("Exit %d without a portal %s polygon %d\n", static_cast<int>(exit.getPolygonIndex()),
                      bound ? "leads to" : "does not find", number);
    if (!bound)
        report(exit,
               formatText("An exit without a portal leads nowhere: its partner, polygon %d, is not there", number));
}

} // namespace cairn
