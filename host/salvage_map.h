#pragma once

#include "cairn/foundation/chunk_search.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace cairn::host {

/// The records of a level file that are chunks, in their order.
enum class LevelPart {
    VERSION,
    TEXTURES,
    CATEGORY,
    MATERIAL,
    LIGHTMAPS,
    PREFERENCES,
    ENTITY,
    SELECTION,
    GROUPS,
    UNKNOWN
};

/// A chunk ahead of the root or behind the tree, or one of unknown place.
struct SectionRemains {
    LevelPart part = LevelPart::UNKNOWN;
    F_FoundChunk chunk;
};

/// What is left of one entity: its common record, those of its kind, and what stands bare before and behind them.
struct EntityRemains {
    std::optional<F_FoundChunk> common;   ///< none where nothing of it was found
    std::vector<F_FoundChunk> own;        ///< the kind's records
    std::size_t offset = 0, end = 0;      ///< what the records take
    int kind = 0;                         ///< the id as it stands, right or wrong; 0 where it is not to be had
    std::optional<unsigned int> children; ///< the count as it stands, right or wrong; none where it is not to be had
    bool isHoleAhead = false;             ///< between the entity before and this one any number may be missing
    bool isEndKnown = false;              ///< no record of it can be missing behind the last that was found

    bool isWhole() const;
};

/// What is left of a level file, and where.
struct LevelRemains {
    std::vector<SectionRemains> sections; ///< ahead of the root, in order
    std::vector<EntityRemains> entities;  ///< in pre-order
    std::optional<F_FoundChunk> selection, groups;
    std::size_t treeBegin = 0; ///< where the first entity's record begins; the size of all where there is none
    std::size_t treeEnd = 0;   ///< behind the last entity's records
    bool hasRoot = false;      ///< the first entity is the root
    bool hasTreeEnd = false;   ///< what follows the last entity is there: the file was not cut within the tree

    bool isEmpty() const; ///< nothing like a level is there
};

/// Finds out what the chunks in the bytes are, by what they hold, where they stand and what stands between them. Needs
/// the entity factory.
LevelRemains mapRemains(std::span<const unsigned char> bytes);

} // namespace cairn::host
