#include "host/sheet_layout.h"

#include <algorithm>

namespace cairn::host {

namespace {

constexpr int USUAL_COLUMNS = 8;

SheetLayout withColumns(const std::vector<int>& categories, int columns) {
    SheetLayout layout;
    layout.columns = columns;
    layout.width = SheetLayout::GAP + std::int64_t{columns} * SheetLayout::CELL_WIDTH;
    layout.height = SheetLayout::GAP + (categories.empty() ? SheetLayout::HEADING_HEIGHT : 0);
    for (const int materials : categories)
        layout.height +=
            SheetLayout::HEADING_HEIGHT + std::int64_t{layout.rowsOf(materials)} * SheetLayout::CELL_HEIGHT;
    return layout;
}

} // namespace

bool SheetLayout::fits() const { return height <= static_cast<std::int64_t>(I_Image::MAX_PIXELS) / width; }

SheetLayout layOutSheet(const std::vector<int>& categories) {
    SheetLayout layout = withColumns(categories, USUAL_COLUMNS);
    while (!layout.fits() && layout.columns > 1)
        layout = withColumns(categories, layout.columns - 1);
    const int most = categories.empty() ? 0 : *std::max_element(categories.begin(), categories.end());
    while (layout.columns < most && layout.height > layout.width) {
        const SheetLayout wider = withColumns(categories, layout.columns + 1);
        if (!wider.fits())
            break;
        layout = wider;
    }
    return layout;
}

} // namespace cairn::host
