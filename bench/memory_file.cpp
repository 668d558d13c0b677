// Records of mixed fields through F_MemoryFile, beside cereal's binary archive over the same fields and a memcpy of the
// same bytes; and many small chunks, with and without their checksums.
#include "cairn/foundation/memory_file.h"

#include "bench/support/report.h"

#include <array>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef CAIRN_BENCH_WITH_CEREAL
#include <cereal/archives/binary.hpp>
#include <cereal/types/string.hpp>

#include <sstream>
#endif

namespace {

using namespace cairn;

/// 21 fields as a level's records mix them, about 130 bytes in a file.
struct Record {
    int kind = 0, parent = 0, firstChild = 0, numChildren = 0;
    unsigned int identity = 0, flags = 0;
    unsigned char mode = 0, layer = 0;
    bool visible = false, locked = false, castsShadow = false;
    float intensity = 0, falloff = 0, angle = 0;
    double radius = 0, area = 0;
    M_Vector3Template<float> color;
    M_Vector3Template<double> position;
    std::string name, category, material;

    void save(F_MemoryFile& file) const {
        file << kind << parent << firstChild << numChildren << identity << flags << mode << layer << visible << locked
             << castsShadow << intensity << falloff << angle << radius << area << color << position << name << category
             << material;
    }
    void load(F_MemoryFile& file) {
        file >> kind >> parent >> firstChild >> numChildren >> identity >> flags >> mode >> layer >> visible >>
            locked >> castsShadow >> intensity >> falloff >> angle >> radius >> area >> color >> position >> name >>
            category >> material;
    }
#ifdef CAIRN_BENCH_WITH_CEREAL
    template <class Archive> void serialize(Archive& archive) {
        archive(kind, parent, firstChild, numChildren, identity, flags, mode, layer, visible, locked, castsShadow,
                intensity, falloff, angle, radius, area, color.x, color.y, color.z, position.x, position.y, position.z,
                name, category, material);
    }
#endif
};

std::vector<Record> makeRecords(int n) {
    std::mt19937 random(1);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const std::array<const char*, 4> categories{"Walls", "Floors", "Detail", "Props"};
    std::vector<Record> records(static_cast<std::size_t>(n));
    int i = 0;
    for (Record& r : records) {
        r.kind = 100 + below(20);
        r.parent = below(++i);
        r.firstChild = below(n), r.numChildren = below(9);
        r.identity = static_cast<unsigned>(random()), r.flags = static_cast<unsigned>(random());
        r.mode = static_cast<unsigned char>(below(4)), r.layer = static_cast<unsigned char>(below(256));
        r.visible = below(2) == 0, r.locked = below(2) == 0, r.castsShadow = below(2) == 0;
        r.intensity = static_cast<float>(below(1000)), r.falloff = 10, r.angle = 180;
        r.radius = below(1000) * 0.25, r.area = below(1000) * 0.5;
        r.color = {1, 0.5f, 0.25f};
        r.position = {below(4096) * 0.125, below(4096) * 0.125, below(4096) * 0.125};
        r.name = "entity_" + std::to_string(i);
        r.category = categories[static_cast<std::size_t>(below(4))];
        r.material = "brick_" + std::to_string(below(100));
    }
    return records;
}

void saveAll(const std::vector<Record>& records, F_MemoryFile& file) {
    file.writeCount(records.size());
    for (const Record& r : records)
        r.save(file);
}

void loadAll(F_MemoryFile& file, std::vector<Record>& records) {
    benchmark::DoNotOptimize(file.readCount(1));
    for (Record& r : records)
        r.load(file);
}

/// A number that no contender reaches without reading the last field of each record.
double witness(const std::vector<Record>& records) {
    double sum = 0;
    for (const Record& r : records)
        sum += r.kind + static_cast<double>(r.material.size()) + r.position.z;
    return sum;
}

/// What all rows of one size work on.
struct Shelf {
    std::vector<Record> records;
    F_MemoryFile file;
#ifdef CAIRN_BENCH_WITH_CEREAL
    std::string archive;
#endif
    std::vector<unsigned char> target; ///< for the memcpy

    explicit Shelf(int n) : records(makeRecords(n)) {
        saveAll(records, file);
        file.toRead();
        target.resize(file.getSize());
#ifdef CAIRN_BENCH_WITH_CEREAL
        std::ostringstream out;
        cereal::BinaryOutputArchive{out}(static_cast<std::uint64_t>(records.size()));
        for (Record& r : records)
            cereal::BinaryOutputArchive{out}(r);
        archive = std::move(out).str();
#endif
    }
};

using SharedShelf = std::shared_ptr<Shelf>;

void addSaving(bench::Report& report, int n, const SharedShelf& shelf) {
#ifdef CAIRN_BENCH_WITH_CEREAL
    report.addTimed("save", "cereal binary", n, [shelf](bench::Watch& watch) {
        std::ostringstream out;
        watch.timed([&] {
            cereal::BinaryOutputArchive archive(out);
            archive(static_cast<std::uint64_t>(shelf->records.size()));
            for (Record& r : shelf->records)
                archive(r);
        });
        return static_cast<double>(shelf->records.size());
    });
#endif
    report.addTimed("save", "F_MemoryFile", n, [shelf](bench::Watch& watch) {
        auto file = std::make_unique<F_MemoryFile>();
        watch.timed([&] { saveAll(shelf->records, *file); });
        benchmark::DoNotOptimize(file->getAddress());
        return static_cast<double>(shelf->records.size());
    });
    report.addTimed("save", "memcpy", n, [shelf](bench::Watch& watch) {
        watch.timed([&] {
            std::memcpy(shelf->target.data(), shelf->file.getAddress(), shelf->target.size());
            benchmark::ClobberMemory();
        });
        return static_cast<double>(shelf->records.size());
    });
}

/// Loads into fresh objects: they are made, and their memory is touched, before the watch runs, as that is the same work
/// for everybody and at a million records most of the time.
void addLoading(bench::Report& report, int n, const SharedShelf& shelf) {
#ifdef CAIRN_BENCH_WITH_CEREAL
    report.addTimed("load", "cereal binary", n, [shelf](bench::Watch& watch) {
        std::istringstream in(shelf->archive);
        std::vector<Record> records(shelf->records.size());
        watch.timed([&] {
            cereal::BinaryInputArchive archive(in);
            std::uint64_t count = 0;
            archive(count);
            for (Record& r : records)
                archive(r);
        });
        return witness(records);
    });
#endif
    report.addTimed("load", "F_MemoryFile", n, [shelf](bench::Watch& watch) {
        std::vector<Record> records(shelf->records.size());
        watch.timed([&] {
            F_MemoryFile file(shelf->file.getAddress(), shelf->file.getSize(), false);
            loadAll(file, records);
        });
        return witness(records);
    });
    report.addTimed("load", "memcpy", n, [shelf, expected = witness(shelf->records)](bench::Watch& watch) {
        watch.timed([&] {
            std::memcpy(shelf->target.data(), shelf->file.getAddress(), shelf->target.size());
            benchmark::ClobberMemory();
        });
        return expected;
    });
}

/// What stands around the small chunks.
enum class Around {
    Nothing, ///< each chunk is an outermost one with a sum of its body
    AChunk,  ///< one chunk around all: they have none, one sum covers them
};

void writeChunks(F_MemoryFile& file, int n, Around around) {
    if (around == Around::AChunk)
        file.createChunk(0, 1);
    for (int i = 0; i < n; ++i) {
        file.createChunk(0, 3);
        file << i << 1.5 << 2.5;
        file.closeChunk();
    }
    if (around == Around::AChunk)
        file.closeChunk();
}

double readChunks(F_MemoryFile& file, int n) {
    F_MemoryFile::Chunk chunk;
    double sum = 0, a = 0, b = 0;
    for (int i = 0; i < n; ++i) {
        int k = 0;
        file.openChunk(chunk, 0);
        chunk.getMemoryFile() >> k >> a >> b;
        sum += k + a + b;
        file.skipChunk();
    }
    return sum;
}

void addChunks(bench::Report& report, int n) {
    const auto alone = std::make_shared<F_MemoryFile>(), nested = std::make_shared<F_MemoryFile>();
    writeChunks(*alone, n, Around::Nothing);
    writeChunks(*nested, n, Around::AChunk);
    alone->toRead(), nested->toRead();
    const auto write = [n](Around around) {
        return [n, around] {
            F_MemoryFile file;
            writeChunks(file, n, around);
            benchmark::DoNotOptimize(file.getAddress());
            return static_cast<double>(n);
        };
    };
    report.add("write chunks", "a sum each", n, write(Around::Nothing));
    report.add("write chunks", "one sum for all", n, write(Around::AChunk));
    report.add("read chunks", "a sum each", n, [alone, n] {
        alone->toRead();
        return readChunks(*alone, n);
    });
    report.add("read chunks", "one sum for all", n, [nested, n] {
        nested->toRead();
        F_MemoryFile::Chunk outer;
        nested->openChunk(outer, 0);
        return readChunks(outer.getMemoryFile(), n);
    });
    report.add("read chunks", "unverified", n, [alone, n] {
        const bool before = F_MemoryFile::setVerifying(false);
        alone->toRead();
        const double sum = readChunks(*alone, n);
        F_MemoryFile::setVerifying(before);
        return sum;
    });
}

} // namespace

static void measure(cairn::bench::Report& report) {
    report.peers({"cereal binary", "memcpy"});
    for (int n : bench::sizes({1000, 10000, 100000, 1000000})) {
        const auto shelf = std::make_shared<Shelf>(n);
        addSaving(report, n, shelf);
        addLoading(report, n, shelf);
    }
    for (int n : bench::sizes({1000, 1000000}))
        addChunks(report, n);
#ifdef CAIRN_BENCH_WITH_CEREAL
    report.limitRatio("save", "F_MemoryFile", 0.25, 1e3, 1e5);
    report.limitRatio("save", "F_MemoryFile", 0.4, 1e6, 1e6);
    report.limitRatio("load", "F_MemoryFile", 0.4, 1e3, 1e6);
    report.reason("save", "F_MemoryFile", "of a million records both wait for the memory that they write to");
    report.reason("load", "F_MemoryFile", "of a million records both wait for the memory that they read from");
#endif
}

static const cairn::bench::Scene SCENE("memory_file",
                                       "Records of mixed fields, beside a binary archive of the same fields and a copy "
                                       "of the bytes; many small chunks and their checksums.",
                                       measure);
