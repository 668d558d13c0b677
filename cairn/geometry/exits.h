#pragma once

#include <span>
#include <vector>

namespace cairn {

class CN_Document;
class CN_LevelEntity;
class CN_Material;
class CN_Polygon;

/// Numbers the polygons of a level.
class CN_PolygonValidator {
  public:
    static CN_PolygonValidator* instance();
    CN_PolygonValidator(const CN_PolygonValidator&) = delete;
    CN_PolygonValidator& operator=(const CN_PolygonValidator&) = delete;

    /// Gives the polygons of all mesh entities their numbers from 0, in pre-order and list order, and appends them to
    /// `list`, which may be null. Nothing happens for a document that is null or has no level.
    void enumeratePolygons(CN_Document* document, std::vector<CN_Polygon*>* list);
    /// The same for entities that the caller gives in pre-order.
    void enumeratePolygons(std::span<CN_LevelEntity* const> entities, std::vector<CN_Polygon*>* list);

  private:
    CN_PolygonValidator() = default;
};

/// Turns the numbers by which exits name their partners in a file into pointers. No polygon has an exit yet, so that
/// there is nothing to turn.
class CN_ExitDestinationPointerDeserializer {
  public:
    static CN_ExitDestinationPointerDeserializer* instance();
    CN_ExitDestinationPointerDeserializer(const CN_ExitDestinationPointerDeserializer&) = delete;
    CN_ExitDestinationPointerDeserializer& operator=(const CN_ExitDestinationPointerDeserializer&) = delete;

    /// Forgets all polygons that were registered.
    void reset() {}
    /// Binds the exits below `root`; one whose partner is missing is sealed with the material.
    void deserialize(CN_LevelEntity*, CN_Material*) {}

  private:
    CN_ExitDestinationPointerDeserializer() = default;
};

} // namespace cairn
