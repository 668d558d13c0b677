#pragma once

#include <span>

namespace cairn::test {

/// Makes the checksums of all chunks in the image of a memory file right again, nested ones included, so that a changed
/// byte reaches the readers behind them. Chunks are found by their mark, wherever they stand; a length that leads out of
/// the image is left, and so is the body's sum there.
void repairChunks(std::span<unsigned char> image);

} // namespace cairn::test
