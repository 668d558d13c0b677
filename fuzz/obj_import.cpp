#include "host/obj_import.h"

#include "cairn/foundation/exception.h"
#include "fuzz/support/imported_level.h"

// Any bytes are an object, of which a level is made, or are refused with a line; and any bytes are a file of materials, those of
// the object. A level that is made is consistent and comes back from its save as it was.

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    cairn::fuzz::prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cairn;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    host::ObjImages textures;
    for (const host::MtlMaterial& material : host::readMtl(text))
        textures.emplace(material.name, material.image);
    return fuzz::importAndCheck([&](CN_Document& document) {
        const host::ImportImages images;
        host::ImportMaterials materials(document, "object", 1, images);
        host::importObj(host::readObj(text), textures, "object", 1, materials, document);
    });
}
