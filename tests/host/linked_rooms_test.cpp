#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/validate.h"
#include "host/exit_link.h"
#include "host/generate_level.h"
#include "host/level_session.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

using namespace cairn;

namespace {

std::string nameOf(const CN_Polygon& exit) {
    const CN_Mesh& mesh = *exit.getParent();
    return toString(mesh.getQualifiedName() + "::" + exit.getExitName());
}

/// From each exit to its partner, by names.
std::map<std::string, std::string> exitsOf(const CN_Document& document) {
    std::map<std::string, std::string> exits;
    for (const CN_LevelEntity* const child : document.getLevel()->getChildren())
        if (const auto* const mesh = dynamic_cast<const CN_LevelEntityMesh*>(child))
            for (const CN_Polygon* const exit : mesh->getExitList())
                exits[nameOf(*exit)] = nameOf(*exit->getExitDestination());
    return exits;
}

class LinkedRooms : public testing::Test {
  protected:
    LinkedRooms() {
        m_document->createCairnLevelEntities();
        host::generateLevel(*m_document, 1000, 11);
        m_document->save(m_file);
    }

    host::Console m_console;
    host::LevelSession m_session{m_console, ""};
    std::unique_ptr<CN_Document> m_document = m_session.createDocument();
    F_MemoryFile m_file;
};

} // namespace

TEST_F(LinkedRooms, KeepEveryPairOfExits) {
    const std::map<std::string, std::string> exits = exitsOf(*m_document);
    EXPECT_EQ(exits.size(), 2u * (31 * 31 + 7 + 30 * 32 + 8)) << "along and between 31 rows of 32 rooms and one of 8";
    for (const auto& [from, to] : exits)
        ASSERT_EQ(exits.at(to), from);
    CN_Document loaded;
    m_file.toRead();
    loaded.load(m_file);
    EXPECT_EQ(exitsOf(loaded), exits);
    EXPECT_TRUE(CN_validateDocument(loaded, CN_LEVEL_TOLERANCE).empty());
    for (CN_LevelEntity* const child : loaded.accessLevel()->getChildren()) {
        const auto* const mesh = dynamic_cast<CN_LevelEntityMesh*>(child);
        for (const CN_Polygon* const exit : mesh ? mesh->getExitList() : std::vector<const CN_Polygon*>()) {
            ASSERT_TRUE(host::compareExits(*exit, *exit->getExitDestination()).matches()) << nameOf(*exit);
        }
    }
}

TEST_F(LinkedRooms, SpeakToTheRoomsBehindTheirDoors) {
    CN_Document loaded;
    m_file.toRead();
    loaded.load(m_file);
    for (CN_LevelEntity* const child : loaded.accessLevel()->getChildren()) {
        const auto* const room = dynamic_cast<CN_LevelEntityMesh*>(child);
        if (!room)
            continue;
        std::multiset<istring> behind, spokenTo;
        for (const CN_Polygon* const exit : room->getExitList())
            behind.insert(exit->getExitDestinationMesh()->getQualifiedName() + "::Light");
        child->mapNameToObject("Light", nullptr)->getFSM()->forEachMessage([&](const E_FSM::Message& message) {
            ASSERT_TRUE(message.m_target) << view(message.m_text);
            if (message.m_name == "FSM_Switch" && message.m_target->getParent() != child)
                spokenTo.insert(message.m_target->getQualifiedName());
        });
        ASSERT_EQ(spokenTo, behind) << view(room->getQualifiedName());
    }
}

TEST_F(LinkedRooms, AreSealedWhereTheRoomBehindIsLost) {
    const std::map<std::string, std::string> exits = exitsOf(*m_document);
    const std::string bytes(static_cast<const char*>(m_file.getAddress()), m_file.getSize());
    const std::size_t cut = bytes.rfind("Room1000"); // the last one: the file ends within its record
    F_MemoryFile part(bytes.data(), cut + 20, false);
    CN_Document loaded;
    try {
        loaded.load(part);
        FAIL() << "a cut file is told";
    } catch (F_Exception* e) {
        e->Delete();
    }
    std::map<std::string, std::string> kept = exits;
    std::erase_if(kept, [](const auto& exit) {
        return exit.first.starts_with("::Room1000::") || exit.second.starts_with("::Room1000::");
    });
    EXPECT_EQ(kept.size(), exits.size() - 4) << "the room has two doors";
    EXPECT_EQ(exitsOf(loaded), kept);
    int told = 0;
    for (const CN_LoadFinding& finding : loaded.getLoadReport().getFindings())
        if (finding.text.find("Sealed an exit") != std::string::npos) {
            ++told;
            const auto& mesh = dynamic_cast<const CN_LevelEntityMesh&>(
                *loaded.accessLevel()->mapNameToObject(toIString(finding.entity), nullptr));
            const CN_Polygon& wall = mesh.getPolygonList()[finding.polygon];
            EXPECT_EQ(wall.getPolyMode(), PT_SOLID);
            EXPECT_FALSE(wall.isExitPolygon());
        }
    EXPECT_EQ(told, 2);
}

TEST_F(LinkedRooms, AreWalledUpWhereTheRoomBehindIsNotInTheFile) {
    CN_LevelEntity* const root = m_document->accessLevel();
    const std::unique_ptr<CN_LevelEntity> lost(root->mapNameToObject("::Room500", nullptr));
    ASSERT_TRUE(lost);
    root->remove(lost.get());
    F_MemoryFile file;
    m_document->save(file);
    file.toRead();
    CN_Document loaded;
    loaded.load(file);
    std::size_t sealed = 0;
    for (const CN_LoadFinding& finding : loaded.getLoadReport().getFindings()) {
        if (finding.text.find("Sealed an exit") == std::string::npos)
            continue;
        ++sealed;
        const auto& mesh = dynamic_cast<const CN_LevelEntityMesh&>(
            *loaded.accessLevel()->mapNameToObject(toIString(finding.entity), nullptr));
        const CN_Polygon& wall = mesh.getPolygonList()[finding.polygon];
        EXPECT_EQ(wall.getPolyMode(), PT_SOLID);
        EXPECT_EQ(wall.getMaterial(), loaded.getMaterials().getDefaultMaterial());
    }
    EXPECT_EQ(sealed, 4u) << "a door to each side";
}
