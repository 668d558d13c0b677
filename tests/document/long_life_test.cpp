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
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

/// A process that has done nothing yet, and waits for one level to load.
class FreshProcess {
  public:
    FreshProcess() {
        int in[2] = {}, out[2] = {};
        EXPECT_TRUE(::pipe(in) == 0 && ::pipe(out) == 0);
        m_child = ::fork();
        if (m_child == 0) {
            std::uint64_t size = 0; // later children keep the pipe open
            ::read(in[0], &size, sizeof size) == sizeof size ? void() : ::_exit(1);
            const std::unique_ptr<Outcome> outcome = load(read(in[0], size));
            size = outcome->saved.size();
            writeAll(out[1], &size, sizeof size);
            writeAll(out[1], outcome->saved.data(), outcome->saved.size());
            writeAll(out[1], outcome->derived.data(), outcome->derived.size());
            ::_exit(0);
        }
        ::close(in[0]);
        ::close(out[1]);
        m_in = in[1];
        m_out = out[0];
    }
    Outcome loadThere(const Bytes& level) {
        std::uint64_t size = level.size();
        writeAll(m_in, &size, sizeof size);
        writeAll(m_in, level.data(), level.size());
        ::close(m_in);
        const Bytes answer = read(m_out, SIZE_MAX);
        ::close(m_out);
        ::waitpid(m_child, nullptr, 0);
        Outcome outcome;
        if (answer.size() < sizeof size)
            return outcome;
        std::memcpy(&size, answer.data(), sizeof size);
        const auto begin = answer.begin() + sizeof size, middle = begin + static_cast<std::ptrdiff_t>(size);
        outcome.saved.assign(begin, middle);
        outcome.derived.assign(middle, answer.end());
        return outcome;
    }

  private:
    /// So many bytes, or all up to the end.
    static Bytes read(int file, std::size_t size) {
        Bytes bytes, part(1 << 16);
        for (ssize_t count = 0; bytes.size() < size && (count = ::read(file, part.data(), part.size())) > 0;)
            bytes.insert(bytes.end(), part.begin(), part.begin() + count);
        return bytes;
    }
    static void writeAll(int file, const void* data, std::size_t size) {
        for (const char* at = static_cast<const char*>(data); size > 0;) {
            const ssize_t count = ::write(file, at, size);
            if (count <= 0)
                return;
            at += count;
            size -= static_cast<std::size_t>(count);
        }
    }

    pid_t m_child = 0;
    int m_in = -1, m_out = -1; ///< to it and from it
};

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
    std::array<FreshProcess, 3> fresh;
    std::vector<Bytes> levels{test::saveLevel(*test::makeFullLevel())};
    for (const char* const stored : {"scripted_entities", "joined_rooms"}) {
        CN_Document document;
        CN_LevelFile::load(document, test::projectFile(std::string("tests/data/levels/") + stored + ".cairn").string());
        levels.push_back(test::saveLevel(document));
    }
    std::vector<Outcome> first;
    for (std::size_t i = 0; i < levels.size(); ++i)
        first.push_back(fresh[i].loadThere(levels[i]));
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
            ASSERT_TRUE(*load(levels[which]) == first[which]) << "load " << i << " of level " << which;
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
