#pragma once

#include "cairn/materials/material.h"
#include "host/label_font.h"

#include <cstdint>
#include <vector>

namespace cairn::host {

/// How a sheet of a level's icons is laid out: a heading for each category, its materials in rows below, each over its
/// name. All sizes are in pixels.
struct SheetLayout {
    static constexpr int GAP = 8;
    static constexpr int CELL_WIDTH = 14 * LabelFont::WIDTH + GAP; ///< a label takes up to 14 characters
    static constexpr int CELL_HEIGHT = CN_Material::THUMB_SIZE + LabelFont::HEIGHT + GAP;
    static constexpr int HEADING_HEIGHT = LabelFont::HEIGHT + GAP;

    int columns = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;

    /// The rows that a category of so many materials takes.
    int rowsOf(int materials) const { return (materials + columns - 1) / columns; }
    /// False where no picture is that large.
    bool fits() const;
};

/// Lays out the materials of categories, whose numbers are given: eight columns, more where the sheet would be higher
/// than wide, as long as it fits and some category fills them, and fewer where only that makes it fit. Without categories
/// there is room for one heading.
SheetLayout layOutSheet(const std::vector<int>& categories);

} // namespace cairn::host
