#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/material_wrapper.h"
#include "cairn/materials/texture_list.h"
#include "cairn/platform/handlers.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

// Any bytes are a list of textures with materials of them or an exception; what is loaded comes back from its save as it
// was, and every reference that a material holds is counted. Seeds are lists of textures with the materials behind them.

namespace {

using namespace cairn;

/// Textures and materials of a document without the rest of it.
struct Sections {
    CN_TextureList textures;
    CN_MaterialWrapper materials; ///< goes first

    Sections() { materials.setList(&textures); }
    void load(const void* data, std::size_t size) {
        F_MemoryFile file(data, size, false);
        file >> textures >> materials;
    }
    void save(F_MemoryFile& file) const { file << textures << materials; }
    int countReferences() const {
        int references = 0;
        for (const CN_Texture& texture : textures.list())
            references += texture.getMaterialRefs();
        return references;
    }
    int countSlots() const {
        int slots = 0;
        for (const CN_MaterialsCategory& category : materials.getCategories())
            for (const CN_Material* material : category.getMaterials()) {
                slots += static_cast<int>(material->getDiffuseTextures().size());
                slots += material->hasLightLayer() + material->hasDetailTexture();
                slots += material->hasReflectionTexture() + material->hasGlossTexture();
            }
        return slots;
    }
};

void require(bool holds) {
    if (!holds)
        std::abort();
}

/// Copies of all textures are equal to them and show the same.
void copyTextures(const CN_TextureList& textures) {
    CN_TextureList copies;
    for (const CN_Texture& texture : textures.list()) {
        copies.add(&texture);
        const CN_Texture* const copy = copies.get(texture.name());
        require(copy);
        if (textures.get(texture.name()) != &texture)
            continue; // another one has its name
        require(*copy == texture);
        if (texture.getWidth() > 0) {
            const std::unique_ptr<I_Image> image(copy->getImage());
            require(copy->getWidth() == image->getWidth() && copy->getHeight() == image->getHeight());
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setMessageBoxHandler([](const CString&, unsigned) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Sections loaded, again;
    try {
        loaded.load(data, size);
    } catch (F_Exception* e) {
        e->Delete();
        return 0;
    }
    require(loaded.countReferences() == loaded.countSlots());
    copyTextures(loaded.textures);
    F_MemoryFile saved, savedAgain;
    loaded.save(saved);
    again.load(saved.getAddress(), saved.getSize());
    again.save(savedAgain);
    require(saved.getSize() == savedAgain.getSize() &&
            std::memcmp(saved.getAddress(), savedAgain.getAddress(), saved.getSize()) == 0);
    return 0;
}
