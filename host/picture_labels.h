#pragma once

#include "host/picture_view.h"

namespace cairn::host {

/// A name written on a plan.
struct PictureLabel {
    int left, top;    ///< of its text, in pixels, in cells of the label font
    std::string text; ///< shortened, as stored
    I_Color color;
};
struct PictureDot {
    double x, y; ///< its middle
    I_Color color;
};

/// The marks and routes of a plan; names where they don't cover each other.
struct PictureLabels {
    std::vector<std::vector<PicturePoint>> routes;
    std::vector<PictureDot> dots; ///< one for each mark but those of rooms
    std::vector<PictureLabel> labels;
    std::size_t leftOut = 0; ///< names without room
};

/// Places the scene's routes and marks on the picture: first the names of rooms, in their middle, then those of entities, of exits
/// and, as there are so many, last of lights beside their dots. What would cover an earlier name is left out, its dot is not.
PictureLabels placeLabels(const PictureScene& scene, const PictureView& view);

} // namespace cairn::host
