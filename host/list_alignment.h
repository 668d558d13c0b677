#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace cairn::host {

/// By what an element of a list without names is found again.
struct ElementKeys {
    std::uint64_t whole;    ///< the same for elements without a difference
    std::uint64_t likeness; ///< the same for elements that are alike in what matters most
};

/// How to pair the elements that no key has paired.
enum class Leftovers {
    AT_SAME_PLACE, ///< those that have the same place in both lists
    IN_ORDER,      ///< the first with the first, and so on
};

/// Which elements of two lists stand for one another.
struct Alignment {
    std::vector<int> toSecond; ///< for each element of the first list its place in the second, -1 for none
    std::vector<int> toFirst;  ///< the other way round
    bool inOrder = true;       ///< those that are paired stand in the same order in both
};

/// Pairs the elements: where the lists begin and end alike those, then what is the same, then what is alike, each in the order
/// of the lists, then what is left. It is the same the other way round. Time grows with the length of the lists.
Alignment align(std::span<const ElementKeys> first, std::span<const ElementKeys> second, Leftovers leftovers);

} // namespace cairn::host
