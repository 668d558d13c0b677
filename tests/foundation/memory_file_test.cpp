#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "tests/support/allocation_meter.h"
#include "tests/support/chunk_repair.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <optional>

namespace cairn {
namespace {

using Bytes = std::vector<unsigned char>;
using Chunk = F_MemoryFile::Chunk;
using test::failureText;

constexpr std::size_t HEADER = F_MemoryFile::CHUNK_HEADER_SIZE;

Bytes bytesOf(const F_MemoryFile& file) {
    const auto* first = static_cast<const unsigned char*>(file.getAddress());
    return first ? Bytes(first, first + file.getSize()) : Bytes();
}

template <class... Values> Bytes written(const Values&... values) {
    F_MemoryFile file;
    (file << ... << values);
    return bytesOf(file);
}

/// The bytes of a chunk with `body` in it.
Bytes chunkOf(int id, int version, const std::function<void(F_MemoryFile&)>& body) {
    F_MemoryFile file;
    file.createChunk(id, version);
    body(file);
    file.closeChunk();
    return bytesOf(file);
}

/// A file for reading over a copy of `bytes`.
std::unique_ptr<F_MemoryFile> reading(const Bytes& bytes) {
    return std::make_unique<F_MemoryFile>(bytes.data(), bytes.size(), true);
}

TEST(MemoryFile, ValuesStandInTheirLittleEndianForm) {
    const std::pair<Bytes, Bytes> cases[] = {
        {written(-2), {0xFE, 0xFF, 0xFF, 0xFF}},
        {written(0x01020304u), {4, 3, 2, 1}},
        {written(0x01020304ul), {4, 3, 2, 1}},
        {written(static_cast<unsigned char>(200)), {200}},
        {written(true, false), {1, 0}},
        {written(1.0f), {0, 0, 0x80, 0x3F}},
        {written(-2.0), {0, 0, 0, 0, 0, 0, 0, 0xC0}},
        {written("ab"), {2, 0, 0, 0, 'a', 'b'}},
        {written(static_cast<const char*>(nullptr)), {0, 0, 0, 0}},
        {written(CString("ab")), written("ab")},
        {written(istring("ab")), written(string("ab"))},
        {written(M_Vector3Template<float>(1, 2, 3)), written(1.0f, 2.0f, 3.0f)},
        {written(M_Matrix4x3Template<double>({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {10, 11, 12})),
         written(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0, 10.0, 11.0, 12.0)},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].first, cases[i].second) << "case " << i;
}

/// One value of each type, in an order that leaves most of them unaligned.
struct AllTypes {
    bool flag = false;
    int i = 0;
    unsigned char byte = 0;
    unsigned int u = 0;
    unsigned long ul = 0;
    float f = 0;
    double d = 0;
    CString c;
    string s;
    istring n;
    M_Vector2Template<float> v2;
    M_Vector3Template<float> v3;
    M_Vector3Template<double> w3;
    M_Matrix3Template<double> m3;
    M_Matrix4x3Template<float> m4;

    bool operator==(const AllTypes&) const = default;
    void save(F_MemoryFile& file) const {
        file << flag << i << byte << u << ul << f << d << c << s << n << v2 << v3 << w3 << m3 << m4;
    }
    void load(F_MemoryFile& file) {
        file >> flag >> i >> byte >> u >> ul >> f >> d >> c >> s >> n >> v2 >> v3 >> w3 >> m3 >> m4;
    }
    static AllTypes sample() {
        const std::string_view nul("a\0b", 3);
        return {true,
                std::numeric_limits<int>::min(),
                255,
                0xFFFFFFFF,
                0xFFFFFFFF,
                -0.0f,
                std::numeric_limits<double>::denorm_min(),
                CString(nul),
                string(nul),
                toIString(nul),
                {1, 2},
                {3, 4, 5},
                {6, 7, 8},
                {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}},
                {{{9, 8, 7}, {6, 5, 4}, {3, 2, 1}}, {0.5f, 0.25f, 0.125f}}};
    }
};

TEST(MemoryFile, EveryTypeComesBackFromAGrowingFile) {
    const AllTypes sample = AllTypes::sample();
    for (unsigned int hint : {0u, 1u, 8192u}) {
        F_MemoryFile file(hint);
        for (int k = 0; k < 50; ++k)
            sample.save(file);
        file.toRead();
        for (int round = 0; round < 2; ++round, file.toRead()) {
            for (int k = 0; k < 50; ++k) {
                AllTypes back;
                back.load(file);
                ASSERT_EQ(back, sample);
            }
            EXPECT_EQ(file.getRemaining(), 0u);
        }
    }
}

TEST(MemoryFile, UnsignedLongHasFourBytes) {
    EXPECT_EQ(written(std::numeric_limits<unsigned long>::max()), Bytes(4, 0xFF));
    EXPECT_EQ(written(0xFFFFFFFFul), Bytes(4, 0xFF));
    unsigned long back = 0;
    *reading(Bytes(4, 0xFF)) >> back;
    EXPECT_EQ(back, 0xFFFFFFFFul);
    if constexpr (sizeof(unsigned long) > 4) {
        EXPECT_EQ(failureText([] { written(1ul << 32); }),
                  "The number 4294967296 does not fit into 32 bits (at offset 0)");
    }
}

template <class T>
concept Storable = requires(F_MemoryFile& f, T& v) {
    f << v;
}
|| requires(F_MemoryFile& f, T& v) { f >> v; };
enum class Kind : int { Some };
static_assert(Storable<int> && Storable<istring>);
static_assert(!Storable<short> && !Storable<long long> && !Storable<long> && !Storable<Kind> && !Storable<char> &&
              !Storable<void*> && !Storable<std::string_view>);

TEST(MemoryFile, ReadingBeyondTheEndSaysWhatWasExpectedAndWhere) {
    const auto file = reading({1, 0, 0, 0, 9, 0, 0});
    int i = 0;
    *file >> i;
    EXPECT_EQ(failureText([&] { *file >> i; }),
              "The data ends where an int of 4 bytes was expected; 3 are left (at offset 4)");
    unsigned char raw[4];
    EXPECT_NE(failureText([&] { file->read(raw, 4); }), "(nothing thrown)");
    EXPECT_NE(failureText([&] { file->read(raw, -1); }), "(nothing thrown)");
    file->read(raw, 3);
    EXPECT_EQ(raw[0], 9);
    // A length beyond what is left takes no memory.
    const test::AllocationMeter meter;
    string text;
    EXPECT_NE(failureText([&] { *reading({0xFF, 0xFF, 0xFF, 0xFF, 'x'}) >> text; }), "(nothing thrown)");
    EXPECT_LT(meter.largest(), 10000u);
}

TEST(MemoryFile, AFileIsEitherWrittenOrRead) {
    F_MemoryFile out;
    int i = 0;
    Chunk chunk;
    const std::function<void()> reads[] = {[&] { out >> i; },
                                           [&] { out.read(&i, 0); },
                                           [&] { out.peekChunk(chunk); },
                                           [&] { out.openChunk(chunk, 0); },
                                           [&] { out.skipChunk(); },
                                           [&] { out.readTag(F_MemoryFile::TAG_VECTOR); },
                                           [&] { out.write(&i, -1); },
                                           [&] { out.closeChunk(); }};
    for (std::size_t k = 0; k < std::size(reads); ++k)
        EXPECT_NE(failureText(reads[k]), "(nothing thrown)") << k;
    const auto in = reading({1, 2, 3, 4});
    const std::function<void()> writes[] = {[&] { *in << i; },         [&] { *in << ""; },
                                            [&] { in->write(&i, 0); }, [&] { in->createChunk(0, 1); },
                                            [&] { in->closeChunk(); }, [&] { *in << M_Vector3Template<double>(); }};
    for (std::size_t k = 0; k < std::size(writes); ++k)
        EXPECT_NE(failureText(writes[k]), "(nothing thrown)") << k;
    *in >> i;
    EXPECT_EQ(i, 0x04030201);
    out.createChunk(0, 1);
    EXPECT_NE(failureText([&] { out.toRead(); }), "(nothing thrown)");
}

TEST(MemoryFile, ConstructDropsTheOldContentAndCopiesOnlyWhenAsked) {
    F_MemoryFile file;
    file << 1 << 2;
    Bytes bytes = written(7);
    file.construct(bytes.data(), bytes.size(), false);
    EXPECT_EQ(file.getAddress(), bytes.data());
    file.construct(bytes.data(), bytes.size(), true);
    bytes.assign(4, 0);
    int i = 0;
    file >> i;
    EXPECT_EQ(i, 7);
    EXPECT_EQ(file.getSize(), 4u);
    file.construct(nullptr, 0, true);
    EXPECT_EQ(file.getRemaining(), 0u);
}

TEST(MemoryFile, AWriterThatFailsHalfwayLeavesNothing) {
    F_MemoryFile file;
    file.createChunk(1, 2);
    file << 3;
    const auto write = [&](bool fails) {
        file.writeWhole([&] {
            file.createChunk(4, 5);
            file << string(1000, 'x');
            if (fails)
                file.fail("halfway");
            file.closeChunk();
        });
    };
    EXPECT_EQ(failureText([&] { write(true); }), "halfway (at offset 1064)");
    write(false);
    file.closeChunk();
    EXPECT_EQ(bytesOf(file), chunkOf(1, 2, [](F_MemoryFile& f) {
                  f << 3;
                  f.createChunk(4, 5);
                  f << string(1000, 'x');
                  f.closeChunk();
              }));
    const auto in = reading({1, 2, 3, 4});
    EXPECT_NE(failureText([&] { in->writeWhole([&] { *in << 1; }); }), "(nothing thrown)");
    EXPECT_NE(failureText([&] { *in << 1; }), "(nothing thrown)") << "it is no file for writing now";
}

TEST(Chunks, OpenedAndPeekedOnesStayInPlaceUntilSkipped) {
    F_MemoryFile file;
    file.createChunk(1, 3);
    file << 10 << 11;
    file.createChunk(0, -1);
    file.closeChunk();
    file.closeChunk();
    file << 12;
    file.toRead();
    Chunk chunk;
    int i = 0;
    for (bool peek : {true, false}) {
        peek ? file.peekChunk(chunk) : file.openChunk(chunk, 1);
        EXPECT_TRUE(chunk.isValid());
        EXPECT_EQ(chunk.getID(), 1);
        EXPECT_EQ(chunk.getVersion(), 3);
        EXPECT_EQ(file.getPosition(), 0u);
        chunk.getMemoryFile() >> i;
        EXPECT_EQ(i, 10);
    }
    file.skipChunk();
    file >> i;
    EXPECT_EQ(i, 12);
    file.peekChunk(chunk);
    EXPECT_FALSE(chunk.isValid());
    EXPECT_EQ(chunk.getID(), 0);
    EXPECT_EQ(chunk.getVersion(), 0);
}

TEST(Chunks, OlderDataIsNoChunk) {
    Chunk chunk;
    for (const Bytes& old :
         {Bytes(), written(0), written(29, 3), written("name"), written(1.0, 2.0, 3.0, 4.0), Bytes(100, 0xFF)}) {
        const auto file = reading(old);
        file->peekChunk(chunk);
        EXPECT_FALSE(chunk.isValid());
        EXPECT_EQ(file->getPosition(), 0u);
        EXPECT_EQ(failureText([&] { file->openChunk(chunk, 5); }),
                  "No chunk stands where one with the id 5 was expected (at offset 0)");
        EXPECT_NE(failureText([&] { file->skipChunk(); }), "(nothing thrown)");
    }
}

TEST(Chunks, AViewEndsWithItsBody) {
    F_MemoryFile file;
    file.createChunk(0, 1);
    file.createChunk(0, 2);
    file << 1;
    file.closeChunk();
    file << 2;
    file.closeChunk();
    file << 3;
    file.toRead();
    Chunk outer, inner;
    file.openChunk(outer, 0);
    outer.getMemoryFile().openChunk(inner, 0);
    int i = 0;
    inner.getMemoryFile() >> i;
    EXPECT_EQ(failureText([&] { inner.getMemoryFile() >> i; }),
              "The data ends where an int of 4 bytes was expected; 0 are left (at offset 60)");
    outer.getMemoryFile().skipChunk();
    outer.getMemoryFile() >> i;
    EXPECT_EQ(i, 2);
    EXPECT_NE(failureText([&] { outer.getMemoryFile() >> i; }), "(nothing thrown)");
    file.skipChunk();
    EXPECT_EQ(file.getUnreadBytes(), 0u);
}

TEST(Chunks, DamageIsRefusedWithItsOffset) {
    Bytes good = written(5);
    const Bytes chunk = chunkOf(0, 1, [](F_MemoryFile& f) { f << 1 << 2; });
    good.insert(good.end(), chunk.begin(), chunk.end());
    const auto peek = [](const Bytes& bytes) {
        return failureText([&] {
            const auto file = reading(bytes);
            int i = 0;
            *file >> i;
            Chunk c;
            file->peekChunk(c);
            if (!c.isValid())
                throw new F_Exception("not valid");
        });
    };
    ASSERT_EQ(peek(good), "(nothing thrown)");
    for (std::size_t at = 4; at < good.size(); ++at) {
        Bytes bad = good;
        bad[at] ^= 1;
        const std::string expected = at < 8 ? "not valid"
                                     : at < 4 + HEADER
                                         ? "A chunk's header is damaged: its checksum is wrong (at offset 4)"
                                         : "A chunk of 8 bytes is damaged: the checksum of its body is "
                                           "wrong (at offset 4)";
        EXPECT_EQ(peek(bad), expected) << at;
    }
    for (std::size_t size = 4; size < good.size(); ++size) {
        const std::string text = peek(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)));
        const std::string expected = size == 4           ? "not valid"
                                     : size < 4 + HEADER ? "The data ends within a chunk's header"
                                                         : "The data ends within a chunk: its body of 8 bytes";
        EXPECT_EQ(text.substr(0, expected.size()), expected) << size;
    }
}

TEST(Chunks, OnlyTheOutermostCarriesABodySum) {
    const Bytes bytes = chunkOf(0, 1, [](F_MemoryFile& f) {
        f.createChunk(0, 1);
        f << 1;
        f.closeChunk();
    });
    EXPECT_EQ(Bytes(bytes.begin() + HEADER + 20, bytes.begin() + HEADER + 24), Bytes(4, 0));
    // A nested body that overruns its view is refused though the file goes on behind it.
    Bytes bad = bytes;
    bad[HEADER + 12] = 5;
    bad.resize(bad.size() + 100);
    test::repairChunks(bad);
    Chunk outer, inner;
    const auto file = reading(bad);
    file->openChunk(outer, 0);
    EXPECT_EQ(failureText([&] { outer.getMemoryFile().peekChunk(inner); }),
              "The data ends within a chunk: its body of 5 bytes was expected, 4 are left (at offset 28)");
}

TEST(Chunks, VerifyingCanBeSwitchedOff) {
    Bytes bytes = chunkOf(0, 1, [](F_MemoryFile& f) { f << 1; });
    bytes[HEADER] = 9;
    const bool before = F_MemoryFile::setVerifying(false);
    Chunk chunk;
    int i = 0;
    const auto file = reading(bytes);
    file->openChunk(chunk, 0);
    chunk.getMemoryFile() >> i;
    EXPECT_FALSE(F_MemoryFile::setVerifying(before));
    EXPECT_EQ(i, 9);
}

TEST(Chunks, WhatNoReaderTookIsCounted) {
    F_MemoryFile file;
    file.createChunk(0, 1);
    file << 1;
    file.createChunk(0, 1);
    file << 2 << 3.0;
    file.closeChunk();
    file << true;
    file.closeChunk();
    file.createChunk(7, 1);
    file << 1.0;
    file.closeChunk();
    file.toRead();
    int i = 0;
    {
        Chunk outer, inner;
        file.openChunk(outer, 0);
        outer.getMemoryFile() >> i;
        outer.getMemoryFile().openChunk(inner, 0);
        inner.getMemoryFile() >> i;
        outer.getMemoryFile().skipChunk();
        EXPECT_EQ(file.getUnreadBytes(), 8u);
        file.skipChunk();
        EXPECT_EQ(file.getUnreadBytes(), 9u);
    }
    file.skipChunk();
    EXPECT_EQ(file.getUnreadBytes(), 17u);
    file.toRead();
    EXPECT_EQ(file.getUnreadBytes(), 0u);
    Chunk dropped;
    file.openChunk(dropped, 0);
    dropped.ignoreRest();
    file.skipChunk();
    EXPECT_EQ(file.getUnreadBytes(), 0u);
}

TEST(Chunks, ObjectsAreReusedAndMayOutliveTheirFile) {
    Chunk chunk;
    {
        F_MemoryFile file;
        for (int k = 0; k < 3; ++k) {
            file.createChunk(0, k);
            file << k;
            file.closeChunk();
        }
        file.toRead();
        for (int k = 0; k < 3; ++k) {
            int i = -1;
            file.openChunk(chunk, 0);
            EXPECT_EQ(chunk.getVersion(), k);
            chunk.getMemoryFile() >> i;
            EXPECT_EQ(i, k);
            file.skipChunk();
        }
        EXPECT_EQ(file.getUnreadBytes(), 0u);
        file.toRead();
        file.openChunk(chunk, 0);
    }
    const auto other = reading(chunkOf(4, 1, [](F_MemoryFile&) {}));
    other->peekChunk(chunk);
    EXPECT_EQ(chunk.getID(), 4);
}

TEST(Containers, TagsAndCountsAreCheckedAgainstWhatIsLeft) {
    F_MemoryFile file;
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_SET, 2);
    file << "a"
         << "b";
    EXPECT_EQ(bytesOf(file), written(29, 2, "a", "b"));
    file.toRead();
    EXPECT_EQ(failureText([&] { file.readTag(F_MemoryFile::TAG_VECTOR); }),
              "A container's tag 29 stands where 28 was expected (at offset 0)");
    EXPECT_EQ(file.readTaggedCount(F_MemoryFile::TAG_ISTRING_SET, 4), 2u);
    const struct {
        Bytes bytes;
        std::size_t least;
    } refused[] = {{written(31, -1), 0}, {written(31, 3, 0, 0), 4}, {written(31, 9, 0, 0), 0}, {written(31), 1}};
    for (const auto& r : refused)
        EXPECT_NE(failureText([&] { reading(r.bytes)->readTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, r.least); }),
                  "(nothing thrown)");
    EXPECT_EQ(reading(written(2u, 0, 0))->readCount(4), 2u);
    F_MemoryFile counted;
    counted << 1;
    counted.writeCounted([&] {
        counted << string(1000, 'x');
        return std::size_t(7);
    });
    EXPECT_EQ(bytesOf(counted), written(1, 7u, string(1000, 'x')));
    EXPECT_NE(failureText([] {
                  F_MemoryFile f;
                  f.writeCount(std::size_t(1) << 32);
              }),
              "(nothing thrown)");
    EXPECT_NE(failureText([] {
                  F_MemoryFile f;
                  f.writeTaggedCount(F_MemoryFile::TAG_VECTOR, std::size_t(1) << 31);
              }),
              "(nothing thrown)");
}

TEST(Embedded, AFileInAFileIsASizeAndItsBytes) {
    F_MemoryFile file;
    file << 1;
    file.writeEmbedded([](F_MemoryFile& f) {
        f.createChunk(0, 1);
        f << 2 << 3;
        f.closeChunk();
        f << 4;
    });
    file << 5;
    const Bytes inner = chunkOf(0, 1, [](F_MemoryFile& f) { f << 2 << 3; });
    Bytes expected = written(1, static_cast<unsigned int>(inner.size() + 4));
    expected.insert(expected.end(), inner.begin(), inner.end());
    const Bytes rest = written(4, 5);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(bytesOf(file), expected);
    file.toRead();
    int i = 0;
    file >> i;
    file.readEmbedded([&](F_MemoryFile& f) {
        Chunk chunk;
        f.openChunk(chunk, 0);
        chunk.getMemoryFile() >> i >> i;
        EXPECT_EQ(i, 3);
        f.skipChunk();
        EXPECT_EQ(f.getRemaining(), 4u);
    });
    EXPECT_EQ(file.getUnreadBytes(), 4u);
    file >> i;
    EXPECT_EQ(i, 5);
    EXPECT_NE(failureText([] { reading(written(9u, 0))->readEmbedded([](F_MemoryFile&) {}); }), "(nothing thrown)");
}

/// A record with all that readers meet: chunks in chunks, containers, texts and an embedded file.
struct Record {
    std::vector<string> names;
    AllTypes values;
    std::vector<Record> children;

    void save(F_MemoryFile& file) const {
        file.createChunk(0, 1);
        file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, names.size());
        for (const string& n : names)
            file << n;
        file.writeEmbedded([&](F_MemoryFile& f) { values.save(f); });
        file.writeCount(children.size());
        for (const Record& c : children)
            c.save(file);
        file.closeChunk();
    }
    void load(F_MemoryFile& file, int depth = 0) {
        if (depth > 8)
            file.fail("Records are nested too deep");
        Chunk chunk;
        file.openChunk(chunk, 0);
        F_MemoryFile& body = chunk.getMemoryFile();
        names.resize(body.readTaggedCount(F_MemoryFile::TAG_VECTOR, 4));
        for (string& n : names)
            body >> n;
        body.readEmbedded([&](F_MemoryFile& f) { values.load(f); });
        children.resize(body.readCount(HEADER));
        for (Record& c : children)
            c.load(body, depth + 1);
        file.skipChunk();
    }
};

TEST(HostileBytes, ARecordSurvivesEveryCutAndEveryChangedByte) {
    const Record leaf{{"b"}, AllTypes::sample(), {}};
    const Record record{{"World_Group", "player", ""}, AllTypes::sample(), {leaf, leaf}};
    F_MemoryFile file;
    record.save(file);
    const Bytes image = bytesOf(file);
    const auto result = test::driveHostileBytes(image, [](std::span<const unsigned char> bytes) {
        F_MemoryFile in(bytes.data(), bytes.size(), false);
        Record back;
        back.load(in);
    });
    EXPECT_EQ(result.text(), "");
    EXPECT_GT(result.refused, image.size());
    EXPECT_GT(result.taken, image.size()); // the repaired ones reach the values
}

} // namespace
} // namespace cairn
