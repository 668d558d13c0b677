#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace cairn {

/// A chunk, or what is left of one, among bytes that may be damaged: one that stands in no other.
struct F_FoundChunk {
    enum class State {
        WHOLE,          ///< header and body are as they were written
        BODY_DAMAGED,   ///< the header is whole, and so is the length that it tells
        CUT,            ///< the header is whole, but the bytes end within the body
        HEADER_DAMAGED, ///< the mark stands, the rest of the header is damaged: nothing is known but the place
    };

    State state = State::HEADER_DAMAGED;
    std::size_t offset = 0; ///< of the header
    /// Behind the body; where the length is not known or leads beyond what was found next, the begin of that.
    std::size_t end = 0;
    int version = 0; ///< 0 where the header is damaged

    bool isWhole() const { return state == State::WHOLE; }
};

/// The outermost chunks in `bytes`, in their order; they do not overlap. A chunk that stands in a damaged one is found only where
/// it carries a checksum of its body, which none does that was written there. Behind a chunk whose body alone is damaged the
/// search goes on at its end, where something like a chunk follows as in a level file, else within it. Time is linear in
/// the bytes, whatever they are: once very many bodies have been summed in vain further ones count as damaged.
std::vector<F_FoundChunk> F_findChunks(std::span<const unsigned char> bytes);

/// True where the mark of a chunk stands at `offset`, one of its bytes perhaps damaged.
bool F_looksLikeChunk(std::span<const unsigned char> bytes, std::size_t offset);

} // namespace cairn
