#include "cairn/geometry/validate.h"
#include "tests/support/full_level.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/level_bytes.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace cairn {
namespace {

using test::Bytes;

/// What is found in the document, a line each.
std::string findingsOf(const CN_Document& document, double tolerance) {
    std::string text;
    for (const CN_Finding& finding : CN_validateDocument(document, tolerance))
        text += std::string(finding.code) + " " + toString(finding.entity->getQualifiedName()) + "\n";
    return text;
}

/// The bytes of the document, once it has been seen that they load without repair to an equal one.
Bytes roundTrip(CN_Document& document, double tolerance = 1e-9) {
    const Bytes saved = test::saveLevel(document);
    CN_Document read;
    test::loadLevel(read, saved);
    EXPECT_EQ(test::reportCodes(read), "");
    EXPECT_EQ(findingsOf(read, tolerance), findingsOf(document, tolerance));
    EXPECT_EQ(test::saveLevel(read), saved);
    return saved;
}

TEST(FullLevel, EveryMeshComesBackByteForByte) {
    const test::ProcessStateGuard process;
    const std::unique_ptr<CN_Document> full = test::makeFullLevel();
    EXPECT_EQ(findingsOf(*full, 1e-9), "mesh-open ::Door\nmesh-open ::Gate\n");
    roundTrip(*full);
    for (const test::ShelfMesh& sample : test::meshShelf()) {
        SCOPED_TRACE(sample.name);
        test::ShelfDocument document;
        sample.build(document);
        roundTrip(document, sample.tolerance);
    }
    EXPECT_EQ(process.boxes(), std::vector<test::ShownBox>());
}

TEST(FullLevel, EveryDamageIsRefusedOrLoadsToASoundLevel) {
    const test::ProcessStateGuard process;
    constexpr std::size_t STEP = 127; // the kinds' records have their own tests of each byte
    const Bytes level = test::saveLevel(*test::makeFullLevel());
    const auto result = test::driveHostileBytes(
        level,
        [](std::span<const unsigned char> bytes) {
            CN_Document document;
            test::loadLevel(document, bytes);
            for (const CN_Finding& finding : CN_validateDocument(document, CN_LEVEL_TOLERANCE))
                if (finding.internal)
                    throw std::logic_error(std::string(finding.code) + ": " + finding.message);
            const Bytes saved = test::saveLevel(document);
            CN_Document again;
            test::loadLevel(again, saved);
            if (test::saveLevel(again) != saved)
                throw std::logic_error("a level that loads does not come back from its save as it was");
        },
        STEP);
    EXPECT_EQ(result.text(), "");
    EXPECT_GT(result.taken, 0u);
    EXPECT_GT(result.refused, 0u);
}

} // namespace
} // namespace cairn
