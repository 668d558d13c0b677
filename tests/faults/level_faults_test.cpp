#include "cairn/content/shared_db.h"
#include "cairn/content/shared_db_writer.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/file.h"
#include "cairn/geometry/validate.h"
#include "cairn/imaging/image.h"
#include "host/level_session.h"
#include "tests/faults/fault_loop.h"
#include "tests/support/full_level.h"
#include "tests/support/level_bytes.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_data.h"

#include <filesystem>
#include <memory>
#include <set>

using namespace cairn;
using namespace cairn::test;

namespace {

/// The root, the player and one more.
std::unique_ptr<CN_Document> makeSmallLevel() {
    auto document = std::make_unique<CN_Document>();
    document->createCairnLevelEntities();
    CN_LevelEntity* const waypoint = CN_EntityFactory::instance()->createEntity(CN_KIND_WAYPOINT, document.get());
    waypoint->setName("Waypoint", false);
    document->accessLevel()->addOwned(std::unique_ptr<CN_LevelEntity>(waypoint), true);
    return document;
}

Bytes sealedBytes(CN_Document& document) {
    F_MemoryFile file;
    CN_LevelFile::write(document, file);
    return bytesOf(file);
}

class LevelFaults : public testing::Test {
  protected:
    FaultCounts load(const Bytes& bytes, FaultChoice choice) {
        return forEachFault(
            choice, [] { return std::make_unique<CN_Document>(); },
            [&](CN_Document& document) { CN_LevelFile::load(document, bytes); },
            [&](CN_Document& document, bool failed, FaultCounts& counts) {
                EXPECT_EQ(document.mustBeDiscarded(), failed);
                counts.discarded += failed;
                if (failed)
                    EXPECT_TRUE(document.getLoadReport().getFindings().size() < 100);
                else
                    EXPECT_EQ(sealedBytes(document), bytes);
            });
    }
    FaultCounts save(const Bytes& bytes, FaultChoice choice) {
        const TemporaryFolder folder;
        const string path = folder.path("a.cairn").string(), old = "what was there";
        return forEachFault(
            choice,
            [&] {
                F_File::replace(path, {reinterpret_cast<const unsigned char*>(old.data()), old.size()});
                auto document = std::make_unique<CN_Document>();
                CN_LevelFile::load(*document, bytes);
                return document;
            },
            [&](CN_Document& document) { CN_LevelFile::save(document, path); },
            [&](CN_Document& document, bool failed, FaultCounts&) {
                const auto left = F_File::readAll(path);
                EXPECT_EQ(left, failed ? Bytes(old.begin(), old.end()) : bytes);
                EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("")), {}), 1);
                EXPECT_FALSE(document.mustBeDiscarded());
                EXPECT_EQ(sealedBytes(document), bytes) << "a save that fails can be tried again";
            });
    }

    host::Console m_console;
    host::LevelSession m_session{m_console, ""}; ///< with a content database, which some kinds ask for
};

TEST_F(LevelFaults, LoadingAndSavingASmallLevel) {
    const Bytes bytes = sealedBytes(*makeSmallLevel());
    fmt::print("load: {}\n", load(bytes, FaultChoice::ALL).text());
    fmt::print("save: {}\n", save(bytes, FaultChoice::ALL).text());
}

TEST_F(LevelFaults, LoadingAndSavingALevelOfAllKinds) {
    const auto document = makeEveryKind();
    std::set<int> missing;
    for (int kind = CN_KIND_MESH; kind <= CN_KIND_VOL_LIGHTING_BOX; ++kind)
        if (std::unique_ptr<CN_LevelEntity>(CN_EntityFactory::instance()->createEntity(kind, document.get())))
            missing.insert(kind);
    missing.erase(CN_KIND_LEVEL);
    CN_PreIterator it = document->accessLevel()->createIterator();
    for (it.begin(); !it.end(); ++it)
        missing.erase((*it)->getEntityId());
    EXPECT_TRUE(missing.empty()) << testing::PrintToString(missing);
    const Bytes bytes = sealedBytes(*document);
    fmt::print("load: {}\n", load(bytes, FaultChoice::SOME).text());
    fmt::print("save: {}\n", save(bytes, FaultChoice::SOME).text());
}

TEST_F(LevelFaults, DISABLED_LoadingAndSavingALevelOfAllKindsWithManyFaults) {
    const Bytes bytes = sealedBytes(*makeEveryKind());
    fmt::print("load: {}\n", load(bytes, FaultChoice::ALL).text());
    fmt::print("save: {}\n", save(bytes, FaultChoice::ALL).text());
}

TEST_F(LevelFaults, DecodingImages) {
    FaultCounts all;
    for (const char* name : {"runs.tga", "grid.jpg", "map.pcx", "cube.scx", "grid.png", "map.bmp"}) {
        SCOPED_TRACE(name);
        const Bytes bytes = F_File::readAll(projectFile(std::string("fuzz/seeds/image_decode/") + name).string());
        all += forEachFault(
            FaultChoice::ALL, [] { return std::make_unique<I_Image>(1, 1); },
            [&](I_Image& image) {
                image.construct(I_Image::determineImageFormat(name), reinterpret_cast<const char*>(bytes.data()),
                                static_cast<int>(bytes.size()));
            },
            [](I_Image& image, bool failed, FaultCounts&) { EXPECT_EQ(image.getWidth() == 1, failed); });
    }
    fmt::print("{}\n", all.text());
}

TEST_F(LevelFaults, OpeningAContentDatabaseWithItsCheck) {
    const TemporaryFolder folder;
    const string path = folder.path("a.db").string();
    Y_SharedDBWriter::create(path);
    {
        Y_SharedDBWriter writer(path);
        writer.add(Y_SharedDBKind::SKIN, string(3000, 'a')); // on pages of its own
        writer.commit();
    }
    const FaultCounts counts = forEachFault(
        FaultChoice::ALL, [] { return std::make_unique<std::unique_ptr<Y_SharedDB>>(); },
        [&](std::unique_ptr<Y_SharedDB>& database) { database = std::make_unique<Y_SharedDB>(path, true); },
        [](std::unique_ptr<Y_SharedDB>& database, bool failed, FaultCounts&) { EXPECT_EQ(!database, failed); });
    fmt::print("{}\n", counts.text());
}

} // namespace
