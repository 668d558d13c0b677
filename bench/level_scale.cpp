// Whole levels of generated rooms, by their number: what commands do with one, beside a copy of the bytes of its file. A load into
// the memory that a level of the same size has just left shows what of a load is the kernel's handing out of pages.
#include "bench/support/level_works.h"
#include "bench/support/report.h"
#include "cairn/entities/cairn_level.h"

#include <cstring>
#include <memory>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

using namespace cairn;

constexpr const char* COPY = "memcpy of the file";
constexpr const char* READ = "plain read";

/// A level that is open, and its file.
struct Rooms {
    explicit Rooms(int rooms) : bytes(bench::roomBytes(rooms)), level(bench::openLevel(bytes)), copy(bytes.size()) {}

    std::vector<unsigned char> bytes;
    host::OpenedLevel level;
    std::vector<unsigned char> copy;
};

/// Gives the memory that was freed back to the system.
void returnMemory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

double load(bench::Watch& watch, const Rooms& rooms) {
    host::OpenedLevel level = watch.timed([&] { return bench::openLevel(rooms.bytes); });
    return static_cast<double>(level.bytes);
}

void addLoads(bench::Report& report, int n, const std::shared_ptr<Rooms>& rooms) {
    const auto addCopy = [&](const char* work) {
        report.add(work, COPY, n, [rooms] {
            std::memcpy(rooms->copy.data(), rooms->bytes.data(), rooms->bytes.size());
            benchmark::DoNotOptimize(rooms->copy.data());
            return rooms->bytes.size();
        });
    };
    addCopy("load");
    report.addTimed("load", "cairn", n, [rooms](bench::Watch& watch) {
        returnMemory();
        return load(watch, *rooms);
    });
    addCopy("load after one is destroyed");
    report.addTimed("load after one is destroyed", "cairn", n, [rooms](bench::Watch& watch) {
        bench::openLevel(rooms->bytes).document.reset();
        return load(watch, *rooms);
    });
    report.addTimed("destroy", "cairn", n, [rooms](bench::Watch& watch) {
        host::OpenedLevel level = bench::openLevel(rooms->bytes);
        watch.timed([&] { level.document.reset(); });
        return level.bytes;
    });
}

/// The work, beside a plain read of the same level where there is one.
void addWork(bench::Report& report, int n, const std::shared_ptr<Rooms>& rooms, const bench::LevelWork& work) {
    report.add(work.name, "cairn", n, [rooms, run = work.run] { return run(rooms->level); });
    if (work.read)
        report.addRow(work.name, READ, n, [rooms, read = work.read](benchmark::State& state) {
            for ([[maybe_unused]] auto iteration : state) {
                const std::size_t sum = read(rooms->level);
                benchmark::DoNotOptimize(sum);
            }
        });
}

} // namespace

static void measure(bench::Report& report) {
    bench::keepFreedMemory();
    report.peers({COPY, READ});
    report.repeat(3);
    for (const int n : bench::sizes({10, 100, 1000, 10000}, 100)) {
        const auto rooms = std::make_shared<Rooms>(n);
        addLoads(report, n, rooms);
        report.add("generate", "cairn", n, [n] { return bench::generateRooms(n)->getLevel()->getChildren().size(); });
        for (const bench::LevelWork& work : bench::levelWorks())
            addWork(report, n, rooms, work);
    }
    constexpr double GROWTH = 1.1;
    for (const char* const work : {"destroy", "export OBJ"})
        report.reason(work, "cairn", "small levels lie in the caches, large ones do not");
    for (const char* const work : {"load", "load after one is destroyed", "destroy", "generate"})
        report.limitGrowth(work, "cairn", GROWTH);
    for (const bench::LevelWork& work : bench::levelWorks()) {
        report.limitGrowth(work.name, "cairn", GROWTH);
        if (work.read)
            report.reason(
                work.name, "cairn",
                "a plain read of the same memory in the same order grows so, too: small levels lie in the caches");
    }
    report.limitRatio("load after one is destroyed", "cairn", 2);
    report.reason(
        "load after one is destroyed", "cairn",
        "a level in memory is 3.8 times its file, in many pieces: taking and linking them, and checksums and the look "
        "for faults on the way, are all of the time; pages of the kernel are none of it");
}

static const bench::Scene SCENE("level_scale", "What commands do with whole levels, by the number of their rooms.",
                                measure);
