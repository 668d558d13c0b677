#include "cairn/entities/cairn_level.h"
#include "host/picture_order.h"
#include "host/picture_raster.h"
#include "host/picture_roofs.h"
#include "host/picture_svg.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace cairn;
using namespace cairn::host;
using namespace cairn::test;

namespace {

using Vector = M_Vector3Template<double>;

constexpr int SIZE = 200;

/// The picture of one mesh of the shelf.
struct Picture {
    explicit Picture(CN_LevelEntityMesh* (*make)(CN_Document&)) {
        make(document);
        scene = makePictureScene(*document.accessLevel());
    }
    I_Color at(const PictureView& view, const Vector& world) const {
        const auto image = drawRaster(view, view.look(scene), {}, false);
        const PicturePoint point = view.project(view.toViewer(world));
        return image->getPixels()[static_cast<int>(point.y) * SIZE + static_cast<int>(point.x)];
    }

    ShelfDocument document;
    PictureScene scene;
};

/// A block between two corners, as a solid of a level.
void addBlock(PictureScene& scene, const Vector& least, const Vector& most, I_Color color) {
    for (const bool isTop : {false, true}) {
        const double y = isTop ? most.y : least.y;
        PictureFace face;
        face.loops = {{{{least.x, y, least.z}}, {{least.x, y, most.z}}, {{most.x, y, most.z}}, {{most.x, y, least.z}}}};
        face.normal = {0, isTop ? 1.0 : -1.0, 0};
        face.color = color;
        face.isSolid = true;
        scene.faces.push_back(face);
    }
    for (E_BBox<double>* const box : {&scene.box, &scene.faceBox}) {
        box->expand(least);
        box->expand(most);
    }
}

TEST(Picture, APlanFillsConcaveAndHoledFloorsAsTheyAre) {
    const struct {
        CN_LevelEntityMesh* (*make)(CN_Document&);
        std::vector<Vector> inside, outside;
    } cases[] = {
        {lRoom, {{1, 0, 1}, {1, 0, 7}, {7, 0, 1}, {3.75, 0, 3.75}}, {{7, 0, 7}, {4.25, 0, 4.25}}},
        {pillarRoom, {{1, 0, 1}, {3, 0, 1}, {3, 0, 5}, {7, 0, 7}}, {{3, 0, 3}, {2.25, 0, 3.75}}},
    };
    for (const auto& [make, inside, outside] : cases) {
        const Picture picture(make);
        const PictureView view = PictureView::fromAbove(picture.scene, SIZE, SIZE);
        const I_Color ground = PicturePalette::forView(view).background;
        for (const Vector& point : inside)
            EXPECT_NE(picture.at(view, point), ground) << point.x << ' ' << point.z;
        for (const Vector& point : outside)
            EXPECT_EQ(picture.at(view, point), ground) << point.x << ' ' << point.z;
    }
}

TEST(Picture, RunsRightAndUpAsTheWorldDoes) {
    const Picture picture(boxRoom);
    const PictureView plan = PictureView::fromAbove(picture.scene, SIZE, SIZE);
    const PicturePoint corner = plan.project(plan.toViewer({0, 0, 0})), far = plan.project(plan.toViewer({8, 0, 6}));
    EXPECT_LT(corner.x, far.x);
    EXPECT_GT(corner.y, far.y); // +Z runs up, and rows down
    const PictureView view = PictureView::between(picture.scene, {4, 2, 1}, {4, 2, 6}, SIZE, SIZE);
    EXPECT_GT(view.project(view.toViewer({5, 2, 6})).x, SIZE / 2);
    EXPECT_LT(view.project(view.toViewer({4, 3, 6})).y, SIZE / 2);
}

TEST(Picture, ShowsTheNearestFaceWhoseFrontIsSeen) {
    const Picture block(blockRoom);
    // From inside the room: the block's side hides the wall behind it, beside it the wall is seen.
    const PictureView inside = PictureView::between(block.scene, {0.5, 1, 3}, {8, 1, 3}, SIZE, SIZE);
    const I_Color side = block.at(inside, {2, 1, 3});
    EXPECT_NE(side, PicturePalette::forView(inside).background);
    // Both faces look along -X, so that what differs is what is in front: the block looks at the viewer as the far wall does.
    const std::vector<SeenFace> seen = inside.look(block.scene);
    EXPECT_EQ(std::count_if(seen.begin(), seen.end(), [](const SeenFace& f) { return f.distance > 0; }), 0);
    // From outside one looks through the near wall at the far one.
    const PictureView outside = PictureView::between(block.scene, {-9, 3, 4}, {8, 3, 4}, SIZE, SIZE);
    EXPECT_EQ(block.at(outside, {8, 3, 4}), side);
}

TEST(Picture, TheWholeLevelIsInTheMiddle) {
    PictureScene level;
    addBlock(level, {100, 0, 100}, {160, 2, 108}, {});
    level.marks.push_back({{0, 0, 0}, "far off and not drawn", PictureMark::ENTITY, {}});
    level.box.expand(Vector());
    for (const auto& [width, height] : {std::pair(SIZE, SIZE), std::pair(3 * SIZE, SIZE), std::pair(SIZE, 2 * SIZE)}) {
        const PictureView view = PictureView::ofScene(level, width, height);
        double left = width, right = 0, top = height, bottom = 0;
        for (const PictureFace& face : level.faces)
            for (const PictureCorner& corner : face.loops[0]) {
                const PicturePoint seen = view.project(view.toViewer(corner.at));
                left = std::min(left, seen.x);
                right = std::max(right, seen.x);
                top = std::min(top, seen.y);
                bottom = std::max(bottom, seen.y);
            }
        EXPECT_NEAR(left, width - right, 0.01);
        EXPECT_NEAR(top, height - bottom, 0.01);
        EXPECT_GT(std::min(left, top), 0);
        EXPECT_GT(std::max((right - left) / width, (bottom - top) / height), 0.9) << width << ' ' << height;
    }
}

TEST(Picture, ACutLoopKeepsItsAreaOnBothSidesTogether) {
    // A comb of three teeth, cut across them and beside them.
    PictureLoop comb;
    for (const auto& [x, y] : {std::pair<double, double>{0, 0},
                               {0, 4},
                               {1, 4},
                               {1, 1},
                               {2, 1},
                               {2, 4},
                               {3, 4},
                               {3, 1},
                               {4, 1},
                               {4, 4},
                               {5, 4},
                               {5, 0}})
        comb.push_back({{x, y, 0}});
    const auto area = [](const PictureLoop& loop) {
        double sum = 0;
        for (std::size_t i = 0; i < loop.size(); ++i) {
            const Vector &a = loop[i].at, &b = loop[(i + 1) % loop.size()].at;
            sum += (a.x * b.y - a.y * b.x) / 2;
        }
        return sum;
    };
    const auto edges = [](const PictureLoop& loop) {
        return std::count_if(loop.begin(), loop.end(), [](const PictureCorner& c) { return c.isEdge; });
    };
    for (const double height : {-1.0, 0.5, 1.0, 2.5, 4.0, 5.0}) {
        const PictureLoop above = cutLoop(comb, {0, 1, 0}, height), below = cutLoop(comb, {0, -1, 0}, -height);
        EXPECT_DOUBLE_EQ(area(above) + area(below), area(comb)) << height;
    }
    EXPECT_EQ(edges(cutLoop(comb, {0, 1, 0}, 2.5)), 9); // each tooth has its tip and two sides
}

TEST(Picture, PaintsWhatHidesAfterWhatIsHidden) {
    // Everything that the depth buffer shows in front of another face must come later in the order of painting.
    for (CN_LevelEntityMesh* (*make)(CN_Document&) : {blockRoom, pillarRoom, lRoom, tiltedRoof}) {
        const Picture picture(make);
        for (const PictureView& view : {PictureView::ofScene(picture.scene, SIZE, SIZE),
                                        PictureView::between(picture.scene, {0.5, 1, 0.5}, {8, 1, 6}, SIZE, SIZE)}) {
            const std::vector<SeenFace> seen = view.look(picture.scene);
            const auto expected = drawRaster(view, seen, {}, false);
            // Painted one after the other, each over the one before, without depths.
            std::vector<I_Color> painted(SIZE * SIZE, PicturePalette::forView(view).background);
            for (const SeenFace& face : orderForPainting(seen)) {
                const auto alone = drawRaster(view, {face}, {}, false);
                for (std::size_t i = 0; i < painted.size(); ++i)
                    if (alone->getPixels()[i] != PicturePalette::forView(view).background)
                        painted[i] = alone->getPixels()[i];
            }
            std::size_t different = 0;
            for (std::size_t i = 0; i < painted.size(); ++i)
                different += painted[i] != expected->getPixels()[i];
            EXPECT_LE(different, 20u); // along cuts a pixel's middle may fall to either side
        }
    }
}

TEST(Picture, AnSvgNamesRoomsExitsAndEntitiesOnThePlan) {
    ShelfDocument document;
    twoRooms(document)->setName("A<&B", false);
    const PictureScene scene = makePictureScene(*document.accessLevel());
    const PictureView view = PictureView::fromAbove(scene, 400, 300);
    const std::string svg = drawSvg(view, view.look(scene), placeLabels(scene, view), true);
    for (const char* text : {">A&#60;&#38;B</text>", ">Second</text>", ">player</text>", ">ToSecond</text>"})
        EXPECT_NE(svg.find(text), std::string::npos) << text;
    EXPECT_LT(svg.rfind("fill-rule"), svg.find("stroke=\"#009650\"")); // the exit's line lies over both floors
    EXPECT_NE(svg.find("stroke=\"#009650\""), std::string::npos);
}

TEST(Picture, APlanLeavesOutWhatIsOverFloorsWithSpaceBetween) {
    const I_Color floor(200, 0, 0), wall(0, 200, 0), roof(0, 0, 200), ground(250, 249, 245);
    PictureScene scene;
    addBlock(scene, {0, -1, 0}, {8, 0, 8}, floor);
    addBlock(scene, {0, 0, 0}, {1, 4, 8}, wall);
    addBlock(scene, {3, 0, 3}, {4, 1, 4}, wall);     // stands on the floor
    addBlock(scene, {-20, 4, -20}, {9, 5, 9}, roof); // its middle is over nothing
    addBlock(scene, {1, 5, 0}, {8, 6, 8}, roof);     // lies on the other
    addBlock(scene, {12, -1, 0}, {16, 3, 8}, wall);  // alone
    EXPECT_EQ(markRoofs(scene), 2u);
    const PictureView view = PictureView::fromAbove(scene, SIZE, SIZE);
    const auto image = drawRaster(view, view.look(scene), {}, false);
    const struct {
        Vector place;
        int channel; ///< the bright one, -1 for paper
    } cases[] = {{{6, 0, 6}, 0}, {{0.5, 0, 5}, 1}, {{3.5, 0, 3.5}, 1}, {{14, 0, 4}, 1}, {{-10, 0, -10}, -1}};
    for (const auto& [place, channel] : cases) {
        const PicturePoint point = view.project(view.toViewer(place));
        const I_Color seen = image->getPixels()[static_cast<int>(point.y) * SIZE + static_cast<int>(point.x)];
        EXPECT_EQ(seen.red > 99, channel <= 0) << place.x;
        EXPECT_EQ(seen.green > 99, channel != 0) << place.x;
        EXPECT_EQ(seen == ground, channel < 0) << place.x;
    }

    // Rooms look inward: what hangs in one is no roof.
    ShelfDocument document;
    CN_LevelEntityMesh* const upper = boxRoom(document);
    boxRoom(document);
    upper->setPosition({0, 20, 0});
    for (const std::size_t roofs : {std::size_t{0}, std::size_t{1}}) {
        PictureScene stacked = makePictureScene(*document.accessLevel());
        EXPECT_EQ(markRoofs(stacked), roofs);
        CN_PreIterator it = document.accessLevel()->createIterator();
        for (it.begin(); !it.end(); ++it)
            if (auto* mesh = dynamic_cast<CN_LevelEntityMesh*>(*it))
                mesh->flipFaces();
    }
}

TEST(Picture, NamesOfLightsGiveWayToAllOthers) {
    PictureScene scene;
    addBlock(scene, {0, 0, 0}, {8, 4, 6}, {});
    for (const PictureMark::Kind kind : {PictureMark::LIGHT, PictureMark::EXIT, PictureMark::ENTITY, PictureMark::ROOM})
        for (const double x : {1.0, 7.0})
            if (kind != PictureMark::ROOM || x < 2)
                scene.marks.push_back({{x, 0, 3}, "name" + std::to_string(kind), kind, {}});
    std::string names;
    const PictureLabels placed = placeLabels(scene, PictureView::fromAbove(scene, SIZE, SIZE));
    for (const PictureLabel& label : placed.labels)
        names += label.text + ' ';
    EXPECT_EQ(names, "name0 name1 ") << "the room's here, an entity's there";
    EXPECT_EQ(placed.leftOut, 5u);
    EXPECT_EQ(placed.dots.size(), 6u);
}

TEST(Picture, IsDrawnOfWhatHasNoExtent) {
    for (CN_LevelEntityMesh* (*make)(CN_Document&) : {emptyMesh, unitFloor}) {
        const Picture picture(make);
        for (const PictureView& view :
             {PictureView::ofScene(picture.scene, SIZE, SIZE), PictureView::fromAbove(picture.scene, SIZE, SIZE)})
            EXPECT_EQ(drawRaster(view, view.look(picture.scene), placeLabels(picture.scene, view), true)->getWidth(),
                      SIZE);
    }
}

} // namespace
