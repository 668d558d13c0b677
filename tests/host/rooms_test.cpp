#include "cairn/document/level_file.h"
#include "cairn/entities/cairn_level.h"
#include "host/exit_link.h"
#include "host/mesh_builder.h"
#include "host/picture_raster.h"
#include "host/picture_svg.h"
#include "tests/host/program_run.h"
#include "tests/support/mesh_shelf.h"

#include <gmock/gmock.h>

#include <algorithm>

using namespace cairn;
using namespace cairn::host;
using namespace cairn::test;

namespace {

using Vector = M_Vector3Template<double>;
using testing::HasSubstr;

enum Side { FLOOR, CEILING, LEAST_X, GREATEST_Z, GREATEST_X, LEAST_Z };

/// Four rooms in a ring around the origin, A, B, C and D; A has a block in its middle, and over D is a hatch of one face. A mesh
/// apart leads to itself alone.
struct Ring : ShelfDocument {
    Ring() {
        const std::vector<Vector> none;
        CN_LevelEntityMesh& a = add("A", {-8, 0, -6}, {{-5, 1, -4}});
        CN_LevelEntityMesh &b = add("B", {0, 0, -6}, none), &c = add("C", {0, 0, 0}, none),
                           &d = add("D", {-8, 0, 0}, none);
        CN_LevelEntityMesh& hatch = *addFixture(*this, "Hatch");
        MeshBuilder lid(hatch);
        for (const Vector& corner : {Vector(-8, 4, 0), Vector(0, 4, 0), Vector(0, 4, 6), Vector(-8, 4, 6)})
            lid.addVertex(corner);
        lid.addPolygon({{0, 3, 2, 1}}, nullptr);
        lid.finish();
        CN_LevelEntityMesh& closet = add("Closet", {20, 0, 0}, none);
        link(a, GREATEST_X, b, LEAST_X, "East");
        link(b, GREATEST_Z, c, LEAST_Z, "\"\\\xff");
        link(c, LEAST_X, d, GREATEST_X, "West");
        link(d, LEAST_Z, a, GREATEST_Z, "South");
        link(d, CEILING, hatch, 0, "Up");
        link(closet, FLOOR, closet, CEILING, "Loop");
    }

  private:
    /// A room of 8 x 4 x 6 with blocks of 2 x 2 x 2.
    CN_LevelEntityMesh& add(const char* name, const Vector& least, const std::vector<Vector>& blocks) {
        CN_LevelEntityMesh* const mesh = addFixture(*this, name);
        MeshBuilder builder(*mesh);
        builder.addBox(least, {8, 4, 6}, true, nullptr);
        for (const Vector& block : blocks)
            builder.addBox(block, {2, 2, 2}, false, nullptr);
        builder.finish();
        return *mesh;
    }
    static void link(CN_LevelEntityMesh& from, int polygon, CN_LevelEntityMesh& to, int other, const char* name) {
        linkExits(from.accessPolygonList()[polygon], to.accessPolygonList()[other], name);
    }
};

class Rooms : public ProgramTest {
  protected:
    Rooms() {
        Ring ring;
        CN_LevelFile::save(ring, path("ring.cairn").string());
        ShelfDocument alone;
        boxRoom(alone);
        CN_LevelFile::save(alone, path("alone.cairn").string());
    }
};

TEST_F(Rooms, WhereTellsTheRoomAndTheWaysToAllOthers) {
    const std::string fromB = R"({"room":"::B","reach":[{"room":"::A","exits":["East"]},)"
                              "{\"room\":\"::C\",\"exits\":[\"\\\"\\\\\xEF\xBF\xBD\"]},"
                              R"({"room":"::D","exits":["East","South"]},)"
                              R"({"room":"::Hatch","exits":["East","South","Up"]}]})";
    const std::string nowhere = R"({"room":null,"reach":[]})";
    const struct {
        const char* file;
        std::vector<std::string> position;
        int code;
        std::string output; ///< its head
    } cases[] = {
        {"ring.cairn", {"1", "1", "-.5"}, 0, fromB + "\n"},
        {"ring.cairn", {"-7.5", "1e0", "-1"}, 0, R"({"room":"::A",)"},
        {"ring.cairn", {"-7", "3", "5"}, 0, R"({"room":"::D",)"},
        {"ring.cairn", {"-4", "2", "-3"}, 1, nowhere}, // in the block
        {"ring.cairn", {"-4", "2", "-1"}, 0, R"({"room":"::A",)"},
        {"ring.cairn", {"1", "-1", "1"}, 1, nowhere},
        {"ring.cairn", {"21", "1", "1"}, 1, nowhere}, // in a mesh that is no room
        {"alone.cairn", {"1", "1", "1"}, 1, nowhere},
    };
    for (const auto& [file, position, code, output] : cases) {
        std::vector<std::string> words{"where", file, "--json"};
        words.insert(words.end(), position.begin(), position.end());
        const ProgramRun done = run(words);
        EXPECT_EQ(done.code, code) << testing::PrintToString(words) << done.error;
        EXPECT_THAT(done.output, testing::StartsWith(output)) << testing::PrintToString(words);
    }
    const ProgramRun text = run({"where", "ring.cairn", "-7", "3", "5"});
    EXPECT_EQ(text.output, "::D\n  ::Hatch by Up\n  ::C by West\n  ::A by South\n  ::B by West, \"\\\\xFF\n");
}

TEST_F(Rooms, ListsRoomsAndEachExitOnce) {
    const std::string odd = "\"\\\"\\\\\xEF\xBF\xBD\"";
    EXPECT_EQ(run({"rooms", "ring.cairn", "--json"}).output,
              R"({"rooms":[{"entity":"::A","volume":184},{"entity":"::B","volume":192},{"entity":"::C","volume":192},)"
              R"({"entity":"::D","volume":192},{"entity":"::Hatch","volume":null}],"exits":[)"
              R"({"name":"South","from":"::A","to":"::D"},{"name":"East","from":"::A","to":"::B"},)"
              R"({"name":"East","from":"::B","to":"::A"},{"name":)" +
                  odd + R"(,"from":"::B","to":"::C"},{"name":"West","from":"::C","to":"::D"},{"name":)" + odd +
                  R"(,"from":"::C","to":"::B"},{"name":"Up","from":"::D","to":"::Hatch"},)"
                  R"({"name":"West","from":"::D","to":"::C"},{"name":"South","from":"::D","to":"::A"},)"
                  R"({"name":"Up","from":"::Hatch","to":"::D"},{"name":"Loop","from":"::Closet","to":"::Closet"},)"
                  R"({"name":"Loop01","from":"::Closet","to":"::Closet"}]})"
                  "\n");
    EXPECT_EQ(run({"rooms", "ring.cairn", "--dot"}).output, R"(digraph rooms {
  m0 [label="::A" shape=box];
  m1 [label="::B" shape=box];
  m2 [label="::C" shape=box];
  m3 [label="::D" shape=box];
  m4 [label="::Hatch" shape=box];
  m5 [label="::Closet" shape=box style=dashed];
  m0 -> m3 [label="South" dir=none];
  m0 -> m1 [label="East" dir=none];
  m1 -> m2 [label=)" + odd + R"( dir=none];
  m2 -> m3 [label="West" dir=none];
  m3 -> m4 [label="Up" dir=none];
  m5 -> m5 [label="Loop / Loop01" dir=none];
}
)");
    EXPECT_THAT(
        run({"rooms", "ring.cairn"}).output,
        testing::EndsWith("::Hatch: open\n  Up to ::D\n::Closet: no room\n  Loop to ::Closet\n  Loop01 to ::Closet\n"));
    EXPECT_EQ(run({"rooms", "alone.cairn", "--json"}).output, "{\"rooms\":[],\"exits\":[]}\n");
}

TEST(RoomsOnAPlan, RoutesRunFromRoomToRoomThroughExits) {
    Ring ring;
    const PictureScene scene = makePictureScene(*ring.accessLevel());
    ASSERT_EQ(scene.routes.size(), 5u); // the closet is no room
    EXPECT_EQ(scene.routes[1], (PictureRoute{{-4, 2, -3}, {0, 2, -3}, {4, 2, -3}}));
    EXPECT_EQ(std::count_if(scene.marks.begin(), scene.marks.end(),
                            [](const PictureMark& mark) { return mark.kind == PictureMark::EXIT; }),
              7); // a pair of one name has one mark

    constexpr int SIZE = 400;
    const PictureView view = PictureView::fromAbove(scene, SIZE, SIZE);
    const PictureLabels labels = placeLabels(scene, view);
    const PicturePalette palette = PicturePalette::forView(view);
    const auto image = drawRaster(view, view.look(scene), labels, true);
    const auto colorAt = [&](const Vector& world, int right) {
        const PicturePoint point = view.project(view.toViewer(world));
        return image->getPixels()[static_cast<int>(point.y) * SIZE + static_cast<int>(point.x) + right];
    };
    for (const int right : {-1, 0, 1})
        EXPECT_EQ(colorAt({0, 0, -5}, right), palette.exit) << right;
    EXPECT_NE(colorAt({0, 0, -5}, 3), palette.exit);
    EXPECT_EQ(colorAt({2, 0, -3}, 0), palette.route);

    const std::string svg = drawSvg(view, view.look(scene), labels, true);
    EXPECT_THAT(svg, HasSubstr("<path fill=\"none\" stroke=\"#e146e1\" d=\"M"));
    EXPECT_THAT(svg, HasSubstr(">East</text>"));
}

} // namespace
