#include "tests/support/old_animations.h"

#include "tests/support/level_bytes.h"
#include "tests/support/test_data.h"

namespace cairn::test {

namespace {

using Matrix = M_Matrix3Template<double>;
using Placement = M_Matrix4x3Template<double>;

/// The rotation by whose sine and cosine (3 and 4 fifths) every form has the same bytes.
const Matrix TURNED({0.8, 0, -0.6}, {0, 1, 0}, {0.6, 0, 0.8});

M_Matrix4x3Template<float> narrow(const Placement& m) {
    const auto narrowed = [](const M_Vector3Template<double>& v) {
        return M_Vector3Template<float>(float(v.x), float(v.y), float(v.z));
    };
    const auto& rows = m.rotation.rows;
    return {{narrowed(rows[0]), narrowed(rows[1]), narrowed(rows[2])}, narrowed(m.translation)};
}

/// One layer of two samples that rises from 0 to `end`.
void writeSamples(F_MemoryFile& file, float end) {
    file << 0x72 << 1 << 1 << 2;
    file << 0x73 << 1 << 2 << 0.0f << end / 255;
    const unsigned char bytes[] = {0, 255};
    file.write(bytes, 2);
}

void writeMove(F_MemoryFile& file, const OldAnimations& animations) {
    const bool chunk = animations.animationChunk;
    if (chunk)
        file.createChunk(0, 1);
    else
        file << 1.5f;
    file << narrow(Placement()) << narrow(Placement(TURNED, {3, 4, 0}));
    if (!chunk)
        for (int list = 0; list < 3; ++list) {
            file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, 2);
            file << "no"
                 << "use";
        }
    writeSamples(file, 5);
    writeSamples(file, 1);
    file << 2.0 << animations.start << "b";
    writeOldGraph(file, animations.graphVersion, 5, animations.samples);
    writeOldGraph(file, animations.graphVersion, 1, animations.samples);
    if (chunk)
        file.closeChunk();
}

} // namespace

void writeOldGraph(F_MemoryFile& file, int version, float end, int samples) {
    file << 0x71 << version << "t"
         << "y" << 1 << 0 << 1;
    if (version > 1)
        file << OLD_GRAPH_VIEW_STATE_2;
    file << 2 << 3 << 4 << 0.0f << 1.0f << 0.0f << end << 255u << 1u << 2u << 0 << 5;
    if (version > 1)
        file << OLD_GRAPH_SETTING;
    if (version > 2)
        file << samples;
    file << 3u;
    for (const float x : {0.0f, 0.5f, 1.0f})
        file << 0x70 << 1 << x << x * x * end << 0.0f << 0.0f;
    file << 11u;
}

void writeOldAnimations(F_MemoryFile& file, const OldAnimations& animations) {
    if (animations.chunk)
        file.createChunk(0, 1);
    file.writeEmbedded([&](F_MemoryFile& sets) {
        sets << (animations.twice ? 4 : 2) << "a" << Placement() << "b" << Placement(TURNED, {3, 4, 0});
        if (animations.twice)
            sets << "b" << Placement() << "a" << Placement(TURNED, {});
        sets << (animations.twice ? 2 : 1) << "Move";
        writeMove(sets, animations);
        if (animations.twice) {
            sets << "MOVE";
            writeMove(sets, animations);
        }
    });
    file << "b"
         << "a";
    if (animations.chunk) {
        file << animations.lighting;
        file.closeChunk();
    }
}

std::filesystem::path StoredAnimations::path() const { return projectFile("tests/data/records/" + name + ".record"); }

Bytes StoredAnimations::bytes() const {
    F_MemoryFile file;
    writeOldAnimations(file, animations);
    return bytesOf(file);
}

std::vector<StoredAnimations> storedAnimations() {
    return {{"animations_newest", {}},
            {"animations_graph_2", {.graphVersion = 2}},
            {"animations_graph_1", {.graphVersion = 1}},
            {"animations_move_bare", {.animationChunk = false}},
            {"animations_bare", {.chunk = false, .animationChunk = false, .graphVersion = 1}}};
}

} // namespace cairn::test
