#pragma once

#include "cairn/foundation/memory_file.h"
#include "tests/support/old_records.h"

#include <filesystem>
#include <string>
#include <vector>

/// Writers of the records of animations as older versions wrote them, which no save makes any more.
namespace cairn::test {

/// What stands in the graphs where their version stores it.
inline constexpr int OLD_GRAPH_VIEW_STATE_2 = 7, OLD_GRAPH_SETTING = 9, OLD_GRAPH_SAMPLES = 4;

/// An entity's animations as they shall stand in a file: keyframes "a" at the origin and "b" at (3, 4, 0) turned about
/// y, and an animation "Move" of length 2 between them.
struct OldAnimations {
    bool chunk = true;          ///< else no lighting keyframe
    bool animationChunk = true; ///< else with a number and three lists that have no use
    int graphVersion = 3;
    std::string lighting = "b";
    std::string start = "a";         ///< the keyframe that "Move" starts at
    int samples = OLD_GRAPH_SAMPLES; ///< of the graphs, where their version stores it
    bool twice = false;              ///< each entry once more, of another letter case where that makes no difference
};

/// The nodes are (0, 0), (0.5, `end` / 4) and (1, `end`) in a y range up to `end`.
void writeOldGraph(F_MemoryFile& file, int version, float end, int samples = OLD_GRAPH_SAMPLES);
void writeOldAnimations(F_MemoryFile& file, const OldAnimations& animations);

/// A form of which one record by itself is stored in tests/data/records.
struct StoredAnimations {
    std::string name; ///< of the file, without its ending
    OldAnimations animations;

    std::filesystem::path path() const;
    Bytes bytes() const;
};

/// Every stored form, the newest one included.
std::vector<StoredAnimations> storedAnimations();

} // namespace cairn::test
