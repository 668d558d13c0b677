#pragma once

#include "cairn/entities/visitors.h"
#include "cairn/foundation/exception.h"
#include "cairn/math/vector3.h"

#include <map>
#include <set>
#include <span>
#include <unordered_map>
#include <vector>

namespace cairn {

class CN_Document;
class CN_EntityIterator;
class CN_Material;
class CN_Polygon;

/// A stretch of an exit's contour that lies on no polygon.
struct CN_HangingStretch {
    int edge;                             ///< of the contour, by the place of the corner it begins at
    M_Vector3Template<double> start, end; ///< in the mesh's space
};

/// An exit whose partner is not in the file.
class CN_ExitDestinationPointerDeserializationException : public F_Exception {
  public:
    explicit CN_ExitDestinationPointerDeserializationException(int index);
};

/// Numbers the polygons of a level, and checks by their numbers that exits lead to one another.
class CN_PolygonValidator {
  public:
    static CN_PolygonValidator* instance();
    CN_PolygonValidator(const CN_PolygonValidator&) = delete;
    CN_PolygonValidator& operator=(const CN_PolygonValidator&) = delete;

    /// Gives the polygons of all mesh entities their numbers from 0, in pre-order and list order, counts their triangles
    /// (`CN_Polygon::s_uiTriangleIndex`) and appends them to `list`, which may be null. For a document that is null or
    /// has no level only the counts go back to 0.
    void enumeratePolygons(CN_Document* document, std::vector<CN_Polygon*>* list);
    /// What a save does, for entities that the caller gives in pre-order: the polygons that are written get the first
    /// numbers, without a gap, those without edges the numbers behind them.
    void enumerateWrittenPolygons(std::span<CN_LevelEntity* const> entities);
    /// Numbers the polygons of the document and turns the partners' numbers that its exits hold into pointers. An exit that is
    /// bound already counts with the number of its partner. One whose partner is no exit, or not in the document, becomes
    /// solid, and so do two that do not lead to each other; a message box tells of each. Nothing happens for a document that
    /// is null or has no level.
    void validateExitDestinations(CN_Document* document);

  private:
    CN_PolygonValidator() = default;
};

/// Turns the numbers by which exits name their partners in a file into pointers. It serves one load at a time.
class CN_ExitDestinationPointerDeserializer : public CN_AcyclicLevelVisitor, public CN_PortalACVisitor {
  public:
    static CN_ExitDestinationPointerDeserializer* instance();
    CN_ExitDestinationPointerDeserializer(const CN_ExitDestinationPointerDeserializer&) = delete;
    CN_ExitDestinationPointerDeserializer& operator=(const CN_ExitDestinationPointerDeserializer&) = delete;

    /// Forgets all polygons that were registered.
    void reset();
    /// Enters an exit polygon under its number; a number that it has later plays no part. One that had the number is bound
    /// like others, but nobody is led there.
    void addRelocatableExitPolygon(CN_Polygon* polygon);
    /// Forgets a polygon that dies or waits no more.
    void forget(const CN_Polygon* polygon) {
        if (!m_numbers.empty())
            drop(polygon);
    }
    /// Binds the exits of all portals below `root`; one whose partner is missing is sealed with the material. Exits that no
    /// portal stands for are bound, too, and lead nowhere where the partner is missing. Forgets all polygons afterwards.
    /// Throws a `CN_ExitDestinationPointerDeserializationException*` where a partner is missing and the material is null.
    void deserialize(CN_LevelEntity* root, CN_Material* material);
    /// The same for what was read of a level before a fault: without a material, exits are sealed and have none.
    void deserializePart(CN_LevelEntity* root, CN_Material* material);
    /// The same for the portals that the iterator, which may be at any place, walks over.
    void deserialize(CN_EntityIterator* it, CN_Material* material);

  private:
    CN_ExitDestinationPointerDeserializer() = default;
    void visit(CN_LevelEntityPortal& portal) override;
    void drop(const CN_Polygon* polygon);
    void reportDoubles();
    void findBroken();
    bool bind(CN_Polygon& exit);
    void bindOthers();
    void bindOther(CN_Polygon& exit);

    std::map<int, CN_Polygon*> m_relocatablePolygons;     ///< not owned: exit polygons read, by their number
    std::unordered_map<const CN_Polygon*, int> m_numbers; ///< the number under which each of all was entered
    std::vector<CN_Polygon*> m_doubles; ///< not owned: those whose number another one took, null for dead
    std::unordered_map<const CN_Polygon*, std::size_t> m_doublePlaces; ///< in that list
    std::set<const CN_Polygon*> m_broken;  ///< not owned: those of them that lead to no exit that stays one
    CN_Material* m_sealMaterial = nullptr; ///< not owned: for exits whose partner is missing
    bool m_isPart = false;                 ///< what is missing may have been lost with the rest
};

} // namespace cairn
