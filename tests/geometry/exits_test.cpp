#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/portal.h"
#include "cairn/geometry/exits.h"
#include "cairn/materials/material.h"
#include "tests/support/level_bytes.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/old_mesh_entities.h"
#include "tests/support/old_meshes.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;
using test::OldEntity;
using test::OldLevel;

/// A level of one mesh of exits: exit i has the number i, or `numbers[i]` where there are such, and leads to `partners[i]`;
/// those of `portals` have one.
OldLevel levelOfExits(const std::vector<int>& partners, const std::vector<unsigned int>& portals,
                      const std::vector<unsigned int>& numbers = {}, int polygonVersion = 3,
                      unsigned int mode = PT_EXIT) {
    test::OldMesh mesh{.polygonVersion = polygonVersion, .polygons = {}};
    for (const int partner : partners) {
        const std::size_t place = mesh.polygons.size();
        const auto number = numbers.empty() ? static_cast<unsigned int>(place) : numbers[place];
        mesh.polygons.push_back({.index = number, .mode = mode, .exit = partner});
    }
    OldLevel level;
    level.root.children = {{.kind = CN_KIND_MESH, .name = "Room", .critical = false}};
    level.root.children[0].ownRecord = [mesh](F_MemoryFile& file) { test::writeOldMesh(file, mesh); };
    for (const unsigned int polygon : portals)
        level.root.children[0].children.push_back(
            {.kind = CN_KIND_PORTAL,
             .name = "Portal " + std::to_string(level.root.children[0].children.size()),
             .ownRecord = [polygon](F_MemoryFile& file) { test::writeOldPortal(file, 3, polygon); }});
    return level;
}

/// What became of the exits: the place of the partner, "-" for none, each with "s" where it is a wall.
std::string exitsOf(const CN_LevelEntityMesh& mesh) {
    std::string text;
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        const CN_Polygon* const partner = polygon.getExitDestination();
        text += (partner ? std::to_string(mesh.findPolygonIndex(partner)) : "-") +
                (polygon.getPolyMode() == PT_SOLID ? "s " : " ");
    }
    return text;
}

std::string exitsOf(CN_Document& document) {
    return exitsOf(dynamic_cast<CN_LevelEntityMesh&>(*document.accessLevel()->getChildren().front()));
}

TEST(Exits, AreBoundToThePartnersOfTheirNumbers) {
    struct Case {
        const char* what;
        std::vector<int> partners;
        std::vector<unsigned int> portals;
        std::string exits;
        std::size_t findings; ///< beside that of the player
        std::vector<unsigned int> numbers = {};
        unsigned int mode = PT_EXIT;
    };
    const Case cases[] = {
        {"a pair", {1, 0}, {0, 1}, "1 0 ", 0},
        {"a pair without portals", {1, 0}, {}, "1 0 ", 0},
        {"two exits to one partner", {1, 0, 1}, {0, 1, 2}, "1 0 1 ", 0},
        {"two portals on one exit", {1, 0}, {0, 0, 1}, "1 0 ", 0},
        {"a partner that is not there", {1, 0, 77}, {0, 1, 2}, "1 0 -s ", 1},
        {"a partner that is no exit", {1, -1}, {0}, "-s - ", 1},
        {"the same without a portal", {77}, {}, "- ", 1},
        {"a portal on what is no exit", {-1}, {0}, "-s ", 1},
        {"a chain that ends nowhere", {1, 2, 77}, {0, 1, 2}, "-s -s -s ", 3},
        {"an exit into itself", {0}, {0}, "0 ", 0},
        {"a portal on a polygon of another mode", {-1}, {0}, "-s ", 1, {}, PT_ADD},
        {"a portal on a wall", {-1}, {0}, "-s ", 0, {}, PT_SOLID},
        {"two exits of one number", {1, 0, 1}, {}, "1 2 1 ", 1, {0, 1, 0}},
        {"the same, and the first leads nowhere", {77, 0, 1}, {}, "- 2 1 ", 2, {0, 1, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const test::ProcessStateGuard process;
        test::ShelfDocument shelf;
        OldLevel level = levelOfExits(c.partners, c.portals, c.numbers, 3, c.mode);
        level.materials = [&shelf](F_MemoryFile& file) { file << shelf.accessMaterials(); };
        CN_Document document;
        test::loadLevel(document, test::makeLevel(level));
        EXPECT_EQ(exitsOf(document), c.exits);
        EXPECT_EQ(document.getLoadReport().getFindings().size(), c.findings + 1);
        if (c.exits == "1 0 -s ") {
            EXPECT_NE(process.log().find("LevelLoader      : Sealed exit 77 with name(::Room::Portal 2)\n"
                                         "CN_ExitDestinationPointerDeserializer::visit : portal@"),
                      std::string::npos)
                << process.log();
        }
        const auto& mesh = dynamic_cast<CN_LevelEntityMesh&>(*document.accessLevel()->getChildren().front());
        for (const CN_Polygon& polygon : mesh.getPolygonList()) {
            const bool wall = polygon.getPolyMode() == PT_SOLID;
            EXPECT_EQ(polygon.getMaterial(), wall ? document.getMaterials().getDefaultMaterial() : nullptr);
        }
        const Bytes saved = test::saveLevel(document);
        CN_Document again;
        test::loadLevel(again, saved);
        EXPECT_EQ(test::saveLevel(again), saved);
    }
}

TEST(Exits, WithoutAMaterialToSealThemAMissingPartnerStopsTheLoad) {
    const test::ProcessStateGuard process;
    CN_Document document;
    EXPECT_EQ(failureText([&] { test::loadLevel(document, test::makeLevel(levelOfExits({77}, {0}))); }),
              "Exit destination pointer was serialized with an index 77.No such index was found during "
              "deserialisation!!");
    CN_Document other;
    test::loadLevel(other, test::makeLevel(levelOfExits({-1}, {0})));
    EXPECT_EQ(exitsOf(other), "-s ");
}

TEST(Exits, OfTheOldestPolygonsAreCountedAnewInEachLoad) {
    const test::ProcessStateGuard process;
    for (int i = 0; i < 2; ++i) {
        CN_Document document;
        test::loadLevel(document, test::makeLevel(levelOfExits({1, 0}, {0, 1}, {}, 1)));
        EXPECT_EQ(exitsOf(document), "1 0 ");
    }
}

TEST(Exits, OnesThatDieBeforeTheyAreBoundAreForgotten) {
    const test::ProcessStateGuard process;
    auto* const deserializer = CN_ExitDestinationPointerDeserializer::instance();
    test::ShelfDocument document;
    {
        CN_LevelEntityMesh mesh;
        F_MemoryFile file;
        test::writeOldMesh(file,
                           {.polygons = {{.exit = 5}, {.index = 1, .exit = 5}, {.exit = 5}}}); // two of one number
        file.toRead();
        mesh.loadEntitySpecificData(file);
        CN_Polygon unnumbered(&mesh);
        mesh.accessPolygonList()[1] = unnumbered; // which takes the number away that it is known by
    }
    deserializer->deserialize(document.accessLevel(), nullptr); // would follow what is gone
    EXPECT_EQ(process.log(), "");
}

TEST(Exits, MayBeEnteredAgainUnderTheirNumberOrAnother) {
    const test::ProcessStateGuard process;
    auto* const deserializer = CN_ExitDestinationPointerDeserializer::instance();
    test::ShelfDocument document;
    CN_LevelEntityMesh* const mesh = test::boxRoom(document);
    CN_Polygon &a = mesh->accessPolygonList()[0], &b = mesh->accessPolygonList()[1];
    for (CN_Polygon* const polygon : {&a, &b}) {
        polygon->setPolygonIndex(7);
        polygon->setExitDestinationIndex(7);
    }
    for (CN_Polygon* const polygon : {&a, &b, &a, &b})
        deserializer->addRelocatableExitPolygon(polygon);
    a.setPolygonIndex(8);
    deserializer->addRelocatableExitPolygon(&a);
    deserializer->deserialize(document.accessLevel(), nullptr);
    EXPECT_EQ(a.getExitDestination(), &b);
    EXPECT_EQ(b.getExitDestination(), &b);
}

TEST(PolygonValidator, BindsExitsThatLeadToEachOtherAndMakesOthersSolid) {
    const std::string notLinked = "Non-cross-linked exits!|";
    const auto toNone = [](int exit, int partner) {
        return "Exit " + std::to_string(exit) + " pointing to non-exit " + std::to_string(partner) + "!\nSolidifying.|";
    };
    struct Case {
        const char* what;
        std::vector<int> numbers;
        std::string exits, messages;
    };
    const Case cases[] = {
        {"a pair", {1, 0, -1}, "1 0 -s ", ""},
        {"an exit into itself", {0, -1}, "0 -s ", ""},
        {"a partner that is none", {1, -1}, "-s -s ", toNone(0, 1)},
        {"a number beyond the level", {77, 2, 1}, "-s 2 1 ", toNone(0, 77)},
        {"a number below none", {-5}, "-s ", toNone(0, -5)},
        {"a ring", {1, 2, 0}, "-s -s -s ", notLinked + toNone(2, 0)},
        {"a third one at a pair, after which one leads to a wall", {1, 0, 0}, "-s 0 -s ", notLinked},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const test::ProcessStateGuard process;
        test::ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Exits");
        for (const int number : c.numbers) {
            CN_Polygon& polygon = *mesh.addPolygon();
            polygon.setExitDestinationIndex(number);
            polygon.setPolyMode(number < 0 ? PT_SOLID : PT_EXIT);
        }
        CN_PolygonValidator::instance()->validateExitDestinations(&document);
        std::string messages;
        for (const test::ShownBox& box : process.boxes())
            messages += box.text + "|";
        EXPECT_EQ(messages, c.messages);
        EXPECT_EQ(exitsOf(mesh), c.exits);
        if (!c.messages.empty())
            continue;
        CN_PolygonValidator::instance()->validateExitDestinations(&document);
        EXPECT_EQ(exitsOf(mesh), c.exits) << "bound ones count by their partner";
    }
    CN_PolygonValidator::instance()->validateExitDestinations(nullptr);
}

TEST(PolygonValidator, NumbersPolygonsInTheTreesOrder) {
    test::ShelfDocument document;
    CN_LevelEntityMesh* const outer = test::splitBox(document, test::Split::SHARED);
    CN_LevelEntityMesh* const last = test::unitFloor(document);
    CN_LevelEntityMesh* const inner = test::unitFloor(document);
    outer->add(inner, false);
    outer->addPolygon();
    outer->accessPolygonList().moveBefore(outer->getPolygonList().last(), outer->getPolygonList().first());
    outer->accessPolygonList()[1].accessTriangleList().addNew();
    std::vector<CN_Polygon*> expected, numbered;
    int pieces = 0;
    for (CN_LevelEntityMesh* const mesh : {outer, inner, last})
        for (CN_Polygon& polygon : mesh->accessPolygonList()) {
            expected.push_back(&polygon);
            pieces += polygon.getTriangleList().count();
        }
    CN_PolygonValidator::instance()->enumeratePolygons(&document, &numbered);
    EXPECT_EQ(numbered, expected);
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(expected[i]->getPolygonIndex(), i);
    EXPECT_EQ(CN_Polygon::m_suiRunningDocIndex, expected.size());
    EXPECT_EQ(CN_Polygon::s_uiTriangleIndex, static_cast<unsigned>(pieces));
    CN_PolygonValidator::instance()->enumeratePolygons(nullptr, &numbered);
    EXPECT_EQ(numbered.size(), expected.size());
    EXPECT_EQ(CN_Polygon::m_suiRunningDocIndex, 0u);

    test::saveLevel(document);
    EXPECT_EQ(expected[1]->getPolygonIndex(), 0u) << "a save numbers what it writes first";
    EXPECT_EQ(expected[0]->getPolygonIndex(), expected.size() - 1);
}

} // namespace
} // namespace cairn
