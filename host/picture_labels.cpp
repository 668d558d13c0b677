#include "host/picture_labels.h"

#include "host/label_font.h"

#include <cmath>
#include <set>
#include <utility>

namespace cairn::host {

namespace {

constexpr int LONGEST = 24; ///< characters of a name
/// Dots alone have the colours of what they stand for: pale ones make no readable text.
constexpr I_Color TEXT_COLOR(20, 20, 24);
constexpr int DOT_SPACE = 5; ///< pixels from the middle of a dot to its name

/// Which cells of the picture, each as large as a character, have one.
class TakenCells {
  public:
    /// Takes the cells of a text that stands there; false, and nothing taken, where one is taken already.
    bool take(int left, int top, int characters) {
        const int firstX = cellOf(left, LabelFont::WIDTH),
                  lastX = cellOf(left + characters * LabelFont::WIDTH - 1, LabelFont::WIDTH);
        const int firstY = cellOf(top, LabelFont::HEIGHT),
                  lastY = cellOf(top + LabelFont::HEIGHT - 1, LabelFont::HEIGHT);
        for (int y = firstY; y <= lastY; ++y)
            for (int x = firstX; x <= lastX; ++x)
                if (m_cells.contains({x, y}))
                    return false;
        for (int y = firstY; y <= lastY; ++y)
            for (int x = firstX; x <= lastX; ++x)
                m_cells.insert({x, y});
        return true;
    }

  private:
    static int cellOf(int at, int size) { return at >= 0 ? at / size : (at + 1) / size - 1; }

    std::set<std::pair<int, int>> m_cells;
};

} // namespace

PictureLabels placeLabels(const PictureScene& scene, const PictureView& view) {
    PictureLabels placed;
    for (const PictureRoute& route : scene.routes) {
        std::vector<PicturePoint>& points = placed.routes.emplace_back();
        for (const PictureView::Vector& point : route)
            points.push_back(view.project(view.toViewer(point)));
    }
    TakenCells taken;
    for (const PictureMark::Kind kind : {PictureMark::ROOM, PictureMark::ENTITY, PictureMark::EXIT, PictureMark::LIGHT})
        for (const PictureMark& mark : scene.marks) {
            if (mark.kind != kind)
                continue;
            const PicturePoint at = view.project(view.toViewer(mark.at));
            const std::string text = LabelFont::shorten(mark.name, LONGEST);
            const int length = LabelFont::countCharacters(text);
            const bool isRoom = kind == PictureMark::ROOM;
            if (!isRoom)
                placed.dots.push_back({at.x, at.y, mark.color});
            const int left = static_cast<int>(std::floor(at.x)) + (isRoom ? -length * LabelFont::WIDTH / 2 : DOT_SPACE);
            const int top = static_cast<int>(std::floor(at.y)) - LabelFont::HEIGHT / 2;
            if (taken.take(left, top, length))
                placed.labels.push_back({left, top, text, TEXT_COLOR});
            else
                ++placed.leftOut;
        }
    return placed;
}

} // namespace cairn::host
