#include "cairn/document/level_file.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/geometry/welding.h"
#include "tests/support/allocation_meter.h"
#include "tests/support/chunk_repair.h"
#include "tests/support/derived_data.h"
#include "tests/support/full_level.h"
#include "tests/support/level_bytes.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <random>
#include <tuple>

namespace cairn {
namespace {

using test::Bytes;

/// What a load makes of a level: its bytes when it is saved again, and all that is derived from it.
struct Outcome {
    Bytes saved;
    std::string derived;
    bool operator==(const Outcome&) const = default;
};

std::unique_ptr<Outcome> load(const Bytes& level) {
    const test::ProcessStateGuard process;
    CN_Document document;
    test::loadLevel(document, level);
    auto outcome = std::make_unique<Outcome>();
    outcome->saved = test::saveLevel(document);
    outcome->derived = test::deriveData(document);
    return outcome;
}

/// A level cut short, or with some bytes changed, half of the times with the checksums made right.
Bytes damaged(const Bytes& level, std::mt19937& chance) {
    Bytes bytes = level;
    if (chance() % 4 == 0) {
        bytes.resize(chance() % bytes.size());
        return bytes;
    }
    for (std::size_t changes = 1 + chance() % 8; changes > 0; --changes) {
        const std::size_t at = chance() % bytes.size();
        bytes[at] = static_cast<unsigned char>(bytes[at] ^ (1u << chance() % 8));
    }
    if (chance() % 2 == 0)
        test::repairChunks(bytes);
    return bytes;
}

/// Loads a damaged level, and uses it where it loads. True where it does.
bool loadDamaged(const Bytes& level) {
    try {
        load(level);
        return true;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return false;
    }
}

/// What a load may use of the process, and has to leave as it was.
auto processState() {
    return std::tuple(CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.size(),
                      CN_FSMChangeManager::instance()->getDocument(), weldGroups.size(), polygonReplacements.size(),
                      CN_Polygon::s_dEdgeThickness, CN_Polygon::s_bLightmapIDsAreValidAtLoadTime,
                      CN_Polygon::m_saveFeatures, CN_Polygon::m_loadFeatures);
}

TEST(LongLife, AThousandLoadsLeaveTheProcessAsItWas) {
    std::vector<Bytes> levels{test::saveLevel(*test::makeFullLevel())};
    for (const char* const stored : {"scripted_entities", "joined_rooms"}) {
        CN_Document document;
        CN_LevelFile::load(document, test::projectFile(std::string("tests/data/levels/") + stored + ".cairn").string());
        levels.push_back(test::saveLevel(document));
    }
    std::vector<std::unique_ptr<Outcome>> first; // ahead of all else that the process loads
    for (const Bytes& level : levels)
        first.push_back(load(level));
    const auto state = processState();

    constexpr int LOADS = 1000, WARM_UP = 200; // tables of the process grow to the largest level once
    std::mt19937 chance(20);
    int taken = 0, refused = 0;
    std::ptrdiff_t liveBefore = 0;
    const test::AllocationMeter meter;
    for (int i = 0; i < LOADS; ++i) {
        const std::size_t which = static_cast<std::size_t>(i / 2) % levels.size();
        if (i == WARM_UP)
            liveBefore = meter.live();
        if (i % 2 == 0)
            ++(loadDamaged(damaged(levels[which], chance)) ? taken : refused);
        else
            ASSERT_TRUE(*load(levels[which]) == *first[which]) << "load " << i << " of level " << which;
        ASSERT_EQ(processState(), state) << "load " << i << " of level " << which;
    }
    // The tables of what lives and the texts of last faults keep their room: no more than that.
    constexpr std::ptrdiff_t MOST_KEPT = 4096;
    EXPECT_LE(meter.live() - liveBefore, MOST_KEPT);
    EXPECT_GT(taken, 50);
    EXPECT_GT(refused, 50);
}

} // namespace
} // namespace cairn
