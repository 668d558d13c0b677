#include "cairn/animation/animation.h"
#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

// Any bytes are the animations of an entity or an exception; animations come back from their save as they were, copies are
// saved alike, and can be asked for any time. Seeds are the stored forms.

namespace {

using namespace cairn;

bool load(CN_Animation& animation, const void* data, std::size_t size) {
    F_MemoryFile file(data, size, false);
    try {
        animation.loadAnimations(file);
        return true;
    } catch (F_Exception* e) {
        e->Delete();
        return false;
    }
}

void play(const CN_MeshAnimations& animations) {
    for (const CN_MeshAnimation* animation = animations.getFirst(); animation; animation = animations.getNext())
        for (const double part : {0.0, 0.3, 0.99})
            animation->getMatrixAt(static_cast<float>(animation->getLength() * part));
}

void requireEqual(const F_MemoryFile& a, const F_MemoryFile& b) {
    if (a.getSize() != b.getSize() || std::memcmp(a.getAddress(), b.getAddress(), a.getSize()) != 0)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CN_Animation animation, again;
    if (!load(animation, data, size))
        return 0;
    play(*animation.getAnimations());
    F_MemoryFile saved, savedAgain, savedCopy;
    animation.saveAnimations(saved);
    CN_Animation copy(animation);
    play(*copy.getAnimations());
    copy.saveAnimations(savedCopy);
    requireEqual(saved, savedCopy);
    if (!load(again, saved.getAddress(), saved.getSize()))
        std::abort();
    again.saveAnimations(savedAgain);
    requireEqual(saved, savedAgain);
    return 0;
}
