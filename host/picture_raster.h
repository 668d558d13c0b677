#pragma once

#include "cairn/imaging/image.h"
#include "host/picture_labels.h"

#include <memory>

namespace cairn::host {

/// What a picture is painted with, pixels or strokes.
struct PicturePalette {
    I_Color background, wire, exit, trigger, route;

    /// A dark ground for a view into the level, paper for a plan.
    static PicturePalette forView(const PictureView& view);
    I_Color lineColor(PictureFaceKind kind) const {
        return kind == PictureFaceKind::EXIT ? exit : kind == PictureFaceKind::TRIGGER ? trigger : wire;
    }
};

/// Draws the faces by a depth buffer: of faces that cover a pixel's middle the nearest is seen, of equally near ones the
/// first. `wire` draws the edges of surfaces, too. The same scene gives the same pixels everywhere.
std::unique_ptr<I_Image> drawRaster(const PictureView& view, const std::vector<SeenFace>& faces,
                                    const PictureLabels& labels, bool wire);

} // namespace cairn::host
