#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace cairn::test {

/// Takes one image; it must return or throw an `F_Exception*`.
using HostileReader = std::function<void(std::span<const unsigned char>)>;

/// What a drive over damaged images came to.
struct HostileBytesResult {
    std::size_t taken = 0;             ///< images that the reader returned from
    std::size_t refused = 0;           ///< images that it refused with an `F_Exception*`
    std::vector<std::string> failures; ///< everything else, at most `MAX_FAILURES` of them
    static constexpr std::size_t MAX_FAILURES = 20;

    /// The failures as one text, empty where there are none.
    std::string text() const;
};

/// Hands `reader` every cut of `image` and the image with every byte set to 0, 255, ^1, ^128 and +1, each change as it
/// is and once more with the chunks' checksums made right. Each comes in a block of exactly its size. Failures are other
/// exceptions and an allocation, or a sum of live ones, beyond 8 times the input plus 16 MiB.
/// About 10 runs a byte; of an image that is too large for that only each `step`-th byte is cut at and changed.
HostileBytesResult driveHostileBytes(std::span<const unsigned char> image, const HostileReader& reader,
                                     std::size_t step = 1);

} // namespace cairn::test
