#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/lighting/volume_lighting.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

// Any bytes are a pool of lightmaps, grids of light, or an exception; what loads can be shown, sampled and copied, and
// comes back from its save as it was. Seeds are the stored record forms.

namespace {

using namespace cairn;

/// False where the bytes are no such record.
template <class Light> bool load(Light& light, const void* data, std::size_t size) {
    F_MemoryFile file(data, size, false);
    try {
        F_withFoundationExceptions([&] { light.load(file); });
    } catch (F_Exception* e) {
        e->Delete();
        return false;
    }
    return true;
}

template <class Light> void saveTwice(Light& light) {
    F_MemoryFile saved, savedAgain;
    light.save(saved);
    Light again;
    if (!load(again, saved.getAddress(), saved.getSize()))
        std::abort();
    again.save(savedAgain);
    if (saved.getSize() != savedAgain.getSize() ||
        std::memcmp(saved.getAddress(), savedAgain.getAddress(), saved.getSize()) != 0)
        std::abort();
}

/// Shows a copy of each of the first lightmaps, which then takes what is shown.
void showCopies(const CN_LightmapPool& pool) {
    for (unsigned long id = 0; id < pool.getNextFreeID() && id < 16; ++id)
        if (const CN_Lightmap* lightmap = pool.getLightmap(id); lightmap && lightmap->getPixelCount() > 0) {
            CN_Lightmap copy(*lightmap);
            I_Image* const image = copy.getImage(&pool.getLightmapCurve());
            copy.set8BitMap(*image);
            copy.freeImage(image);
            for (int x = 0; x < copy.width(); ++x)
                copy.setPixel(x, 0, copy.getPixel(x, copy.height() - 1));
            try {
                copy.getRenderTexture(&pool.getLightmapCurve());
            } catch (F_Exception* e) { // the device takes no such size
                e->Delete();
            }
        }
}

void sampleAround(const CN_VolumeLighting& lighting) {
    M_Vector3Template<float> ambient, directional, direction;
    for (const float place : {-1e30f, -1.0f, 0.0f, 0.5f, 1.0f, 2.5f, 1e30f})
        lighting.sample({place, place, place}, ambient, directional, direction);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CN_LightmapPool pool;
    if (load(pool, data, size)) {
        showCopies(pool);
        saveTwice(pool);
    }
    CN_VolumeLighting lighting;
    if (load(lighting, data, size)) {
        sampleAround(lighting);
        saveTwice(lighting);
        CN_VolumeLighting copy(lighting);
        sampleAround(copy);
        saveTwice(copy);
    }
    return 0;
}
